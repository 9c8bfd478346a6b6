#include "apps/common/plugin.h"
#include "apps/common/workplace.h"
#include "apps/document/itemreaper.h"
#include "apps/document/itemsettings.h"
#include "apps/document/livedocument.h"
#include "apps/document/ov3dservices.h"
#include "apps/document/pagepicture.h"
#include "apps/document/viewercommand.h"
#include "tests/integration/documentsarchive.h"
#include "tests/integration/documentsfixture.h"
#include "tests/integration/documentsmodels.h"
#include "tests/support/testmain.h"
#include "viewer/session/commands.h"

#include <atomic>
#include <thread>
#include <vector>

using namespace ov3d::apps;

/// Documents with the real viewer, mostly through the command line, so that every step is a process of its own.
class Documents : public DocumentsFixture
{
    Q_OBJECT

private Q_SLOTS:
    void initTestCase();
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
    /// The samples, where a person might have them.
    [[nodiscard]] QString copySamples(const QString& below) const;
    /// @return the path of the box; empty when it cannot be written.
    [[nodiscard]] QString makeBox(const QString& name, const QColor& colour) const
    {
        return writeBox(at(name), colour) ? at(name) : QString();
    }
    [[nodiscard]] QImage page(const QString& document, int number = 1) const;
    /// Pages from the first on, a few drawn at once.
    [[nodiscard]] std::vector<QImage> pages(const QString& document, int count) const;
};

namespace {

constexpr double kItemShare = 1280.0 * 960.0 / (1920.0 * 1080.0);
constexpr double kLeastOfAnItem = 0.02;

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

QImage Documents::page(const QString& document, int number) const
{
    const QString picture = at(QStringLiteral("page%1.png").arg(number));
    QFile::remove(picture);
    const ProgramRun drawn = run({QStringLiteral("render"), document, QStringLiteral("--page"), QString::number(number),
                                  QStringLiteral("-o"), picture});
    if (drawn.exitCode != 0)
        qWarning("%d: %s", drawn.exitCode, drawn.errors.constData());
    return QImage(picture);
}

std::vector<QImage> Documents::pages(const QString& document, int count) const
{
    std::vector<QImage> images(static_cast<std::size_t>(count));
    std::atomic<int> next{0};
    const auto work = [&] {
        for (int i = next++; i < count; i = next++)
            images[static_cast<std::size_t>(i)] = page(document, i + 1);
    };
    std::vector<std::thread> threads;
    for (unsigned i = 0; i <= std::thread::hardware_concurrency(); ++i)
        threads.emplace_back(work);
    for (std::thread& thread : threads)
        thread.join();
    return images;
}

void Documents::modelsOfEqualNamesStayApart()
{
    QVERIFY(write3mf(at(QStringLiteral("c/part.3mf")), 4) && write3mf(at(QStringLiteral("d/part.3mf")), 30));
    const QStringList models = {makeBox(QStringLiteral("a/chair.obj"), Qt::red),
                                makeBox(QStringLiteral("b/chair.obj"), Qt::blue),
                                makeBox(QStringLiteral("a/chair0.obj"), QColor(255, 200, 0)),
                                QStringLiteral("c/part.3mf"), QStringLiteral("d/part.3mf")};
    QStringList words{QStringLiteral("new"), QStringLiteral("room.ovb")};
    const ProgramRun made = run(words + models);
    QVERIFY2(made.exitCode == 0, made.errors.constData());
    const std::vector<QImage> before = pages(QStringLiteral("room.ovb"), models.size());
    for (const char* folder : {"a", "b", "c", "d"})
        QVERIFY(QDir(at(QLatin1String(folder))).removeRecursively());

    // Saved once more, by a process that has loaded one of them.
    const ProgramRun set =
        run({QStringLiteral("set"), QStringLiteral("room.ovb"), QStringLiteral("2"), QStringLiteral("point_size=4")});
    QVERIFY2(set.exitCode == 0, set.errors.constData());
    const std::vector<QImage> after = pages(QStringLiteral("room.ovb"), models.size());
    for (std::size_t i = 0; i < after.size(); ++i) {
        const QString name = models[static_cast<int>(i)];
        QVERIFY2(after[i] == before[i], qPrintable(name));
        QVERIFY(opaqueShare(after[i]) / kItemShare > kLeastOfAnItem);
        for (std::size_t other = 0; other < i; ++other)
            QVERIFY2(before[i] != before[other], qPrintable(name + QStringLiteral(" %1").arg(other)));
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
    const std::vector<QImage> images = pages(QStringLiteral("five.ovb"), 5);
    QVERIFY(opaqueShare(images[0]) / kItemShare > kLeastOfAnItem);
    QCOMPARE(images[1], images[0]);
    QVERIFY(images[2] != images[0]);
    QCOMPARE(images[3], images[0]);
    QCOMPARE(images[4], images[0]);
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
    QVERIFY(write(QStringLiteral("two/two.mtl"), "newmtl l\nKd 1 1 1\nmap_Kd left/wood.png\n"
                                                 "newmtl r\nKd 1 1 1\nmap_Kd right/wood.png\n"));
    QVERIFY(write(QStringLiteral("two/two.obj"),
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
    const QString box = makeBox(QStringLiteral("mine/box.obj"), Qt::red);
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
    const QStringList models = {makeBox(QStringLiteral("a/gone.obj"), Qt::red),
                                makeBox(QStringLiteral("a/here.obj"), Qt::red)};
    QCOMPARE(run(QStringList{QStringLiteral("new"), QStringLiteral("two.ovb")} + models).exitCode, 0);
    // The same document without one file of it.
    QVERIFY(copyArchive(at(QStringLiteral("two.ovb")), at(QStringLiteral("less.ovb")),
                        [](const QString& path, QByteArray&) { return !path.endsWith(QLatin1String("/gone.obj")); }));
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
    QVERIFY(!makeBox(QStringLiteral("box.obj"), Qt::red).isEmpty());
    QVERIFY(write(QStringLiteral("text.fbx"), "; FBX 7.4.0 project file\n"));
    QVERIFY(write(QStringLiteral("text.ovb"), "words"));
    QVERIFY(write(QStringLiteral("cut.glb"), "glTF"));
    if (words.contains(QStringLiteral("room.ovb")))
        QCOMPARE(run(QStringLiteral("new room.ovb box.obj")).exitCode, 0);
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
