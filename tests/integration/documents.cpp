#include "apps/common/plugin.h"
#include "apps/common/workplace.h"
#include "apps/document/itemreaper.h"
#include "apps/document/itemsettings.h"
#include "apps/document/livedocument.h"
#include "apps/document/ov3dservices.h"
#include "apps/document/pagepicture.h"
#include "apps/document/viewercommand.h"
#include "tests/integration/picturefacts.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/session/commands.h"

#include <KZip>

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>

using namespace ov3d::apps;

/// Documents with the real viewer, mostly through the command line, so that every step is a process of its own.
class Documents : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
    void pageLooksTheSameOnAnotherMachine_data();
    void pageLooksTheSameOnAnotherMachine();
    void modelsOfEqualNamesStayApart();
    void oneModelStandsOnFivePages();
    void texturesOfOneNameInTwoFoldersStayApart();
    void nothingIsWrittenBesideTheOriginal();
    void documentWithAMissingModelStillOpens();
    void extractBringsTheFilesBack();
    void exitCodeTellsWhatWentWrong_data();
    void exitCodeTellsWhatWentWrong();
    void pastedItemLooksLikeItsOriginal();

private:
    [[nodiscard]] QString at(const QString& name) const { return m_folder->filePath(name); }
    [[nodiscard]] ProgramRun run(const QStringList& arguments, const QString& folder = {}) const
    {
        return runProgram(QStringLiteral(OV3D_PROGRAM), arguments, folder.isEmpty() ? m_folder->path() : folder);
    }
    /// The samples, where a person might have them.
    [[nodiscard]] QString copySamples(const QString& below) const;
    [[nodiscard]] QString writeBox(const QString& name, const QColor& colour) const;
    void write3mf(const QString& name, double height) const;
    [[nodiscard]] QImage page(const QString& document, int number = 1, const QString& folder = {}) const;

    std::unique_ptr<QTemporaryDir> m_folder;

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_folder = std::make_unique<QTemporaryDir>();
        // A person's own folders, for the working folders of documents and the program's data.
        qputenv("XDG_CACHE_HOME", QFile::encodeName(at(QStringLiteral("cache"))));
        qputenv("XDG_DATA_HOME", QFile::encodeName(at(QStringLiteral("data"))));
    }
    void cleanup()
    {
        m_folder.reset();
        TestBase::cleanup();
    }
};

namespace {

constexpr double kItemShare = 1280.0 * 960.0 / (1920.0 * 1080.0);
constexpr double kLeastOfAnItem = 0.02;

bool copyFolder(const QString& from, const QString& to)
{
    QDir().mkpath(to);
    const QDir source(from);
    for (const QFileInfo& entry : source.entryInfoList(QDir::AllEntries | QDir::NoDotAndDotDot)) {
        const QString target = to + QLatin1Char('/') + entry.fileName();
        if (entry.isDir() ? !copyFolder(entry.filePath(), target) : !QFile::copy(entry.filePath(), target))
            return false;
    }
    return true;
}

bool writeFile(const QString& path, const QByteArray& content)
{
    QDir().mkpath(QFileInfo(path).path());
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

/// A pyramid: 3MF has millimetres and its own up, so that any picture of it will do here.
QByteArray threeMfModel(double height)
{
    return QByteArray(R"(<?xml version="1.0" encoding="UTF-8"?>
<model unit="millimeter" xml:lang="en-US" xmlns="http://schemas.microsoft.com/3dmanufacturing/core/2015/02">
<resources><object id="1" type="model"><mesh><vertices>
<vertex x="0" y="0" z="0"/><vertex x="10" y="0" z="0"/><vertex x="10" y="10" z="0"/><vertex x="0" y="10" z="0"/>
<vertex x="5" y="5" z=")") +
           QByteArray::number(height) + R"("/></vertices><triangles>
<triangle v1="0" v2="2" v3="1"/><triangle v1="0" v2="3" v3="2"/><triangle v1="0" v2="1" v3="4"/>
<triangle v1="1" v2="2" v3="4"/><triangle v1="2" v2="3" v3="4"/><triangle v1="3" v2="0" v3="4"/>
</triangles></mesh></object></resources><build><item objectid="1"/></build></model>
)";
}

} // namespace

void Documents::initTestCase()
{
    QVERIFY(QFileInfo(QStringLiteral(OV3D_PROGRAM)).isExecutable());
}

QString Documents::copySamples(const QString& below) const
{
    const QString folder = at(below);
    return copyFolder(QStringLiteral(OV3D_SAMPLES), folder) ? folder : QString();
}

void Documents::write3mf(const QString& name, double height) const
{
    QDir().mkpath(QFileInfo(at(name)).path());
    KZip zip(at(name));
    const QByteArray types = R"(<?xml version="1.0" encoding="UTF-8"?>
<Types xmlns="http://schemas.openxmlformats.org/package/2006/content-types">
<Default Extension="rels" ContentType="application/vnd.openxmlformats-package.relationships+xml"/>
<Default Extension="model" ContentType="application/vnd.ms-package.3dmanufacturing-3dmodel+xml"/></Types>
)";
    const QByteArray relations = R"(<?xml version="1.0" encoding="UTF-8"?>
<Relationships xmlns="http://schemas.openxmlformats.org/package/2006/relationships">
<Relationship Target="/3D/3dmodel.model" Id="rel0" Type="http://schemas.microsoft.com/3dmanufacturing/2013/01/3dmodel"/>
</Relationships>
)";
    QVERIFY(zip.open(QIODevice::WriteOnly));
    QVERIFY(zip.writeFile(QStringLiteral("[Content_Types].xml"), types));
    QVERIFY(zip.writeFile(QStringLiteral("_rels/.rels"), relations));
    QVERIFY(zip.writeFile(QStringLiteral("3D/3dmodel.model"), threeMfModel(height)));
    QVERIFY(zip.close());
}

/// A box of one colour, as text.
QString Documents::writeBox(const QString& name, const QColor& colour) const
{
    const QString path = at(name);
    const QString stem = QFileInfo(path).completeBaseName();
    const QByteArray material = QStringLiteral("newmtl paint\nKd %1 %2 %3\n")
                                    .arg(colour.redF())
                                    .arg(colour.greenF())
                                    .arg(colour.blueF())
                                    .toUtf8();
    const QByteArray box =
        "mtllib " + stem.toUtf8() +
        ".mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 0 0 1\nv 1 0 1\nv 1 1 1\nv 0 1 1\nusemtl paint\n"
        "f 1 4 3 2\nf 5 6 7 8\nf 1 2 6 5\nf 4 8 7 3\nf 1 5 8 4\nf 2 3 7 6\n";
    return writeFile(path, box) &&
                   writeFile(QFileInfo(path).path() + QLatin1Char('/') + stem + QLatin1String(".mtl"), material)
               ? path
               : QString();
}

QImage Documents::page(const QString& document, int number, const QString& folder) const
{
    const QString picture = at(QStringLiteral("page.png"));
    QFile::remove(picture);
    const ProgramRun drawn = run({QStringLiteral("render"), document, QStringLiteral("--page"), QString::number(number),
                                  QStringLiteral("-o"), picture},
                                 folder);
    if (drawn.exitCode != 0)
        qWarning("%d: %s", drawn.exitCode, drawn.errors.constData());
    return QImage(picture);
}

void Documents::pageLooksTheSameOnAnotherMachine_data()
{
    QTest::addColumn<QString>("name");
    for (const char* name : {"textured.glb", "textured.gltf", "textured.obj", "cube.stl", "cube.fbx", "part.3mf"})
        QTest::newRow(name) << QString::fromLatin1(name);
}

/// Inserts, turns, changes settings that do not travel in the item's own text, saves; then another process, in another
/// folder, with another working folder and without the original.
void Documents::pageLooksTheSameOnAnotherMachine()
{
    QFETCH(QString, name);
    const QString originals = copySamples(QStringLiteral("originals"));
    write3mf(QStringLiteral("originals/part.3mf"), 12);
    const QString document = QStringLiteral("first.ovb");
    ProgramRun step = run({QStringLiteral("new"), document, originals + QLatin1Char('/') + name});
    QVERIFY2(step.exitCode == 0, step.errors.constData());
    QVERIFY(QDir(originals).removeRecursively());
    const QImage inserted = page(document);

    step = run({QStringLiteral("set"), document, QStringLiteral("1"), QStringLiteral("orbit=35,15"),
                QStringLiteral("light_profile=2"), QStringLiteral("point_size=9"),
                QStringLiteral("material_color=#0a4dfe"), QStringLiteral("sun_color=#ffe0c1"),
                QStringLiteral("wireframe=off")});
    QVERIFY2(step.exitCode == 0, step.errors.constData());
    const QImage turned = page(document);
    QVERIFY(!turned.isNull());
    QVERIFY(turned != inserted);

    QVERIFY(QDir().mkpath(at(QStringLiteral("elsewhere/deep"))));
    QVERIFY(QFile::rename(at(document), at(QStringLiteral("elsewhere/deep/second.ovb"))));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(at(QStringLiteral("another cache"))));
    const QImage carried = page(QStringLiteral("second.ovb"), 1, at(QStringLiteral("elsewhere/deep")));
    QCOMPARE(carried, turned);
    QVERIFY(opaqueShare(carried) / kItemShare > kLeastOfAnItem);

    const ProgramRun info =
        run({QStringLiteral("info"), QStringLiteral("--json"), at(QStringLiteral("elsewhere/deep/second.ovb"))});
    const QJsonObject settings = QJsonDocument::fromJson(info.output)
                                     .object()[QLatin1String("pages")]
                                     .toArray()[0]
                                     .toObject()[QLatin1String("items")]
                                     .toArray()[0]
                                     .toObject()[QLatin1String("settings")]
                                     .toObject();
    QCOMPARE(settings[QLatin1String("light_profile")].toInt(), 2);
    QCOMPARE(settings[QLatin1String("point_size")].toInt(), 9);
    QCOMPARE(static_cast<float>(settings[QLatin1String("material_color")].toArray()[1].toDouble()), 77.0F / 255.0F);
}

void Documents::modelsOfEqualNamesStayApart()
{
    write3mf(QStringLiteral("c/part.3mf"), 4);
    write3mf(QStringLiteral("d/part.3mf"), 30);
    const QStringList models = {writeBox(QStringLiteral("a/chair.obj"), Qt::red),
                                writeBox(QStringLiteral("b/chair.obj"), Qt::blue),
                                writeBox(QStringLiteral("a/chair0.obj"), QColor(255, 200, 0)),
                                QStringLiteral("c/part.3mf"), QStringLiteral("d/part.3mf")};
    QStringList words{QStringLiteral("new"), QStringLiteral("room.ovb")};
    const ProgramRun made = run(words + models);
    QVERIFY2(made.exitCode == 0, made.errors.constData());
    QList<QImage> before;
    for (int i = 1; i <= models.size(); ++i)
        before << page(QStringLiteral("room.ovb"), i);
    for (const char* folder : {"a", "b", "c", "d"})
        QVERIFY(QDir(at(QLatin1String(folder))).removeRecursively());

    // Saved once more, by a process that has loaded one of them.
    const ProgramRun set =
        run({QStringLiteral("set"), QStringLiteral("room.ovb"), QStringLiteral("2"), QStringLiteral("point_size=4")});
    QVERIFY2(set.exitCode == 0, set.errors.constData());
    for (int i = 0; i < models.size(); ++i) {
        const QImage after = page(QStringLiteral("room.ovb"), i + 1);
        QVERIFY2(after == before[i], qPrintable(models[i]));
        QVERIFY(opaqueShare(after) / kItemShare > kLeastOfAnItem);
        for (int other = 0; other < i; ++other)
            QVERIFY2(before[i] != before[other], qPrintable(models[i] + QLatin1Char(' ') + models[other]));
    }
}

void Documents::oneModelStandsOnFivePages()
{
    const QString model = copySamples(QStringLiteral("originals")) + QStringLiteral("/textured.gltf");
    const ProgramRun made = run({QStringLiteral("new"), QStringLiteral("five.ovb"), model, model, model, model, model});
    QVERIFY2(made.exitCode == 0, made.errors.constData());
    QVERIFY(QDir(at(QStringLiteral("originals"))).removeRecursively());
    const ProgramRun set =
        run({QStringLiteral("set"), QStringLiteral("five.ovb"), QStringLiteral("3"), QStringLiteral("view=back")});
    QVERIFY2(set.exitCode == 0, set.errors.constData());
    const QImage first = page(QStringLiteral("five.ovb"), 1);
    QVERIFY(opaqueShare(first) / kItemShare > kLeastOfAnItem);
    QCOMPARE(page(QStringLiteral("five.ovb"), 2), first);
    QVERIFY(page(QStringLiteral("five.ovb"), 3) != first);
    QCOMPARE(page(QStringLiteral("five.ovb"), 5), first);
}

void Documents::texturesOfOneNameInTwoFoldersStayApart()
{
    // The front half in one texture, the right half in the other.
    QImage red(8, 8, QImage::Format_RGB32);
    red.fill(QColor(220, 20, 20));
    QImage blue(8, 8, QImage::Format_RGB32);
    blue.fill(QColor(20, 20, 220));
    QVERIFY(QDir().mkpath(at(QStringLiteral("two/left"))) && QDir().mkpath(at(QStringLiteral("two/right"))));
    QVERIFY(red.save(at(QStringLiteral("two/left/wood.png"))) && blue.save(at(QStringLiteral("two/right/wood.png"))));
    QVERIFY(writeFile(at(QStringLiteral("two/two.mtl")), "newmtl l\nKd 1 1 1\nmap_Kd left/wood.png\n"
                                                         "newmtl r\nKd 1 1 1\nmap_Kd right/wood.png\n"));
    QVERIFY(writeFile(at(QStringLiteral("two/two.obj")),
                      "mtllib two.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nv 2 0 0\nv 2 1 0\nvt 0 0\nvt 1 0\nvt 1 1\n"
                      "usemtl l\nf 1/1 2/2 3/3\nf 1/1 3/3 4/2\nusemtl r\nf 2/1 5/2 6/3\nf 2/1 6/3 3/2\n"));
    const ProgramRun made = run({QStringLiteral("new"), QStringLiteral("two.ovb"), QStringLiteral("two/two.obj")});
    QVERIFY2(made.exitCode == 0, made.errors.constData());
    QVERIFY(QDir(at(QStringLiteral("two"))).removeRecursively());
    const ProgramRun set =
        run({QStringLiteral("set"), QStringLiteral("two.ovb"), QStringLiteral("1"), QStringLiteral("view=front")});
    QVERIFY2(set.exitCode == 0, set.errors.constData());
    const QImage image = page(QStringLiteral("two.ovb"));
    int reds = 0;
    int blues = 0;
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const QColor colour = image.pixelColor(x, y);
            if (colour.alpha() == 0)
                continue;
            reds += colour.red() > 2 * colour.blue() ? 1 : 0;
            blues += colour.blue() > 2 * colour.red() ? 1 : 0;
        }
    }
    constexpr int kEnough = 10000;
    QVERIFY2(reds > kEnough && blues > kEnough, qPrintable(QStringLiteral("%1 %2").arg(reds).arg(blues)));
}

void Documents::nothingIsWrittenBesideTheOriginal()
{
    const QString box = writeBox(QStringLiteral("mine/box.obj"), Qt::red);
    QVERIFY(QDir().mkpath(at(QStringLiteral("documents"))));
    const QString document = at(QStringLiteral("documents/box.ovb"));
    QCOMPARE(run({QStringLiteral("new"), document, box}).exitCode, 0);
    QCOMPARE(run({QStringLiteral("set"), document, QStringLiteral("1"), QStringLiteral("wireframe=1")}).exitCode, 0);
    const auto names = [this](const char* folder) {
        return QDir(at(QLatin1String(folder))).entryList(QDir::AllEntries | QDir::Hidden | QDir::NoDotAndDotDot);
    };
    QCOMPARE(names("mine"), QStringList({QStringLiteral("box.mtl"), QStringLiteral("box.obj")}));
    QCOMPARE(names("documents"), QStringList(QStringLiteral("box.ovb")));
    // No working folder outlives its program.
    const QString working = QStringLiteral("cache/ov3d/documents");
    QVERIFY(QDir(at(working)).entryList(QDir::Dirs | QDir::NoDotAndDotDot).isEmpty());
}

void Documents::documentWithAMissingModelStillOpens()
{
    const QStringList models = {writeBox(QStringLiteral("a/gone.obj"), Qt::red),
                                writeBox(QStringLiteral("a/here.obj"), Qt::red)};
    QCOMPARE(run(QStringList{QStringLiteral("new"), QStringLiteral("two.ovb")} + models).exitCode, 0);
    // The same document without one file of it.
    {
        KZip from(at(QStringLiteral("two.ovb")));
        KZip to(at(QStringLiteral("less.ovb")));
        QVERIFY(from.open(QIODevice::ReadOnly) && to.open(QIODevice::WriteOnly));
        const std::function<void(const KArchiveDirectory*, const QString&)> copy = [&](const KArchiveDirectory* folder,
                                                                                       const QString& path) {
            for (const QString& name : folder->entries()) {
                const KArchiveEntry* entry = folder->entry(name);
                if (entry->isDirectory())
                    copy(static_cast<const KArchiveDirectory*>(entry), path + name + QLatin1Char('/'));
                else if (name != QLatin1String("gone.obj"))
                    to.writeFile(path + name, static_cast<const KArchiveFile*>(entry)->data());
            }
        };
        copy(from.directory(), QString());
    }
    const QString picture = at(QStringLiteral("page.png"));
    const ProgramRun gone = run({QStringLiteral("render"), QStringLiteral("less.ovb"), QStringLiteral("-o"), picture});
    QCOMPARE(gone.exitCode, 1);
    QVERIFY2(gone.errors.contains("gone.obj"), gone.errors.constData());
    // What is missing is said in the picture too.
    QVERIFY(opaqueShare(QImage(picture)) / kItemShare > 0.9);
    QVERIFY(opaqueShare(page(QStringLiteral("less.ovb"), 2)) / kItemShare > kLeastOfAnItem);
    const ProgramRun info = run({QStringLiteral("info"), QStringLiteral("less.ovb")});
    QVERIFY2(info.exitCode == 0 && info.output.contains("without"), info.output.constData());
}

void Documents::extractBringsTheFilesBack()
{
    const QString originals = copySamples(QStringLiteral("originals"));
    const ProgramRun made =
        run({QStringLiteral("new"), QStringLiteral("a.ovb"), originals + QStringLiteral("/textured.obj")});
    QVERIFY2(made.exitCode == 0, made.errors.constData());
    const ProgramRun extracted =
        run({QStringLiteral("extract"), QStringLiteral("a.ovb"), QStringLiteral("1"), QStringLiteral("out")});
    QVERIFY2(extracted.exitCode == 0, extracted.errors.constData());
    for (const char* name : {"textured.obj", "textured.mtl", "textures/quarters.png"}) {
        QFile one(originals + QLatin1Char('/') + QLatin1String(name));
        QFile other(at(QStringLiteral("out/")) + QLatin1String(name));
        QVERIFY2(one.open(QIODevice::ReadOnly) && other.open(QIODevice::ReadOnly), name);
        QCOMPARE(other.readAll(), one.readAll());
    }
    QCOMPARE(QDir(at(QStringLiteral("out"))).entryList(QDir::Files).size(), 2);
    // Nothing of the user's is replaced.
    QCOMPARE(
        run({QStringLiteral("extract"), QStringLiteral("a.ovb"), QStringLiteral("1"), QStringLiteral("out")}).exitCode,
        4);
}

void Documents::exitCodeTellsWhatWentWrong_data()
{
    QTest::addColumn<QStringList>("words");
    QTest::addColumn<int>("exitCode");
    const auto row = [](const char* name, const char* line, int exitCode) {
        QTest::newRow(name) << QString::fromLatin1(line).split(QLatin1Char(' ')) << exitCode;
    };
    row("a model that is missing", "new a.ovb gone.glb", 4);
    row("a model that is refused", "new a.ovb text.fbx", 3);
    row("a folder that is missing", "new gone/a.ovb box.obj", 4);
    row("a document that exists", "new room.ovb box.obj", 4);
    row("a model that cannot be shown", "new a.ovb cut.glb", 1);
    row("info of a missing document", "info gone.ovb", 4);
    row("info of something else", "info text.ovb", 3);
    row("a page that is not there", "render room.ovb --page 2 -o a.png", 2);
    row("an item that is not there", "set room.ovb 2 wireframe=1", 2);
    row("a setting out of range", "set room.ovb 1 point_size=1000", 2);
    row("an environment that is missing", "set room.ovb 1 environment=gone.hdr", 4);
    row("extract of an item that is not there", "extract room.ovb 2 out", 2);
}

void Documents::exitCodeTellsWhatWentWrong()
{
    QFETCH(QStringList, words);
    QFETCH(int, exitCode);
    QVERIFY(!writeBox(QStringLiteral("box.obj"), Qt::red).isEmpty());
    QVERIFY(writeFile(at(QStringLiteral("text.fbx")), "; FBX 7.4.0 project file\n"));
    QVERIFY(writeFile(at(QStringLiteral("text.ovb")), "words"));
    QVERIFY(writeFile(at(QStringLiteral("cut.glb")), "glTF"));
    QCOMPARE(run({QStringLiteral("new"), QStringLiteral("room.ovb"), QStringLiteral("box.obj")}).exitCode, 0);
    const ProgramRun result = run(words);
    QVERIFY2(result.exitCode == exitCode, result.errors + result.output);
    QCOMPARE(result.errors.count('\n'), 1);
}

/// In this process, as the window does it.
void Documents::pastedItemLooksLikeItsOriginal()
{
    const QString model = copySamples(QStringLiteral("originals")) + QStringLiteral("/textured.gltf");
    const QString before = QDir::currentPath();
    Workplace workplace;
    QCOMPARE(workplace.error(), QString());
    Plugin plugin;
    QVERIFY2(plugin.load(QStringLiteral(OV3D_PLUGIN)), qPrintable(plugin.error()));
    plugin.setViewer(&ov3dViewer);
    const auto settle = [] { return waitFor([] { return ov3dViewerPending() == 0; }, 120'000); };
    constexpr QRectF kFrame(0, 0, 640, 480);

    QString error;
    auto source = LiveDocument::create(ov3dServices(plugin), error);
    QVERIFY2(source, qPrintable(error));
    CBaseObject* item = nullptr;
    source->insertModel(*source->addPage(kFrame.size()), model, kFrame,
                        [&item](CBaseObject* arrived, const QString&) { item = arrived; });
    source->loader().finishAll();
    QVERIFY(item);
    QCOMPARE(sendViewerCommand(*item, ov3d::kCommandOrbit, QStringLiteral("60 20")), QString());
    QCOMPARE(changeSettings(*item, {{QStringLiteral("wireframe"), true}}), QString());
    QVERIFY(settle());
    const QImage original = paintPage(*source->pages().page(0), kFrame.size().toSize(), Qt::transparent);
    const QByteArray bytes = source->copyItems({item}, error);
    QVERIFY2(!bytes.isEmpty(), qPrintable(error));
    source.reset();

    auto target = LiveDocument::create(ov3dServices(plugin), error);
    QVERIFY2(target, qPrintable(error));
    COvPage* page = target->addPage(kFrame.size());
    QCOMPARE(target->pasteItems(*page, bytes, {}, {}), QString());
    target->loader().finishAll();
    QVERIFY(settle());
    const QImage pasted = paintPage(*page, kFrame.size().toSize(), Qt::transparent);
    QVERIFY(opaqueShare(pasted) > kLeastOfAnItem);
    QCOMPARE(pasted, original);
    target.reset();
    QVERIFY(waitFor([] { return itemsBeingReaped() == 0; }, 30'000));
    SetFramework(nullptr);
    QDir::setCurrent(before);
}

OV3D_TEST_MAIN(Documents)
#include "documents.moc"
