#include "host/document/documentfile.h"
#include "tests/integration/documentsarchive.h"
#include "tests/integration/documentsfixture.h"
#include "tests/support/testmain.h"
#include "viewer/session/ov3dviewer.h"

#include <KZip>

#include <QElapsedTimer>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QProcess>
#include <QRandomGenerator>
#include <QThread>

#include <functional>

/// Documents that are damaged, too large, cut off or edited, and two programs at once: what the commands say then, and
/// that the user's file is whole.
class DocumentsFaults : public DocumentsFixture
{
    Q_OBJECT

private Q_SLOTS:
    void damageIsSaidAndSetLeavesTheFileAlone();
    void refusedSettingsAreSaid();
    void absurdRectangleIsSaid();
    void tooLargePageIsRefusedWithItsSize();
    void changingBesideAReaderWorks();
    void setOnACardNamesDocumentAndItem();
    void folderThatCannotBeMadeIsOneLine();
    void workingFolderThatCannotBeMadeIsNoRefusal();
    void fileSizeLimitLeavesTheOldDocument();
    void previewKeepsItemsThatAreNotLoaded();
    void killedSetLeavesAWholeDocument_data();
    void killedSetLeavesAWholeDocument();
    void copyOfOneProgramIsPastedByAnother();
    void cancelledListingEndsItsRenderer();

private:
    /// Writes the document anew with another document.json.
    void edit(const QString& document, const std::function<void(QJsonObject& page, QJsonObject& item)>& change) const;
    [[nodiscard]] QImage previewOf(const QString& document) const;
    [[nodiscard]] int pointSizeOf(const QString& document) const;
};

void DocumentsFaults::edit(const QString& document,
                           const std::function<void(QJsonObject& page, QJsonObject& item)>& change) const
{
    const QString name = at(document);
    const QString old = name + QStringLiteral(".old");
    QVERIFY(QFile::rename(name, old));
    QVERIFY(copyArchive(old, name, [&change](const QString& path, QByteArray& content) {
        if (path != QLatin1String("document.json"))
            return true;
        QJsonObject root = QJsonDocument::fromJson(content).object();
        QJsonArray pages = root[QLatin1String("pages")].toArray();
        QJsonObject page = pages[0].toObject();
        QJsonArray items = page[QLatin1String("items")].toArray();
        QJsonObject item = items[0].toObject();
        change(page, item);
        items[0] = item;
        page[QLatin1String("items")] = items;
        pages[0] = page;
        root[QLatin1String("pages")] = pages;
        content = QJsonDocument(root).toJson();
        return true;
    }));
}

QImage DocumentsFaults::previewOf(const QString& document) const
{
    KZip zip(at(document));
    if (!zip.open(QIODevice::ReadOnly))
        return {};
    const KArchiveFile* file = zip.directory()->file(QStringLiteral("preview.png"));
    return file ? QImage::fromData(file->data()) : QImage();
}

int DocumentsFaults::pointSizeOf(const QString& document) const
{
    const ProgramRun info = run(QStringLiteral("info --json ") + document);
    if (info.exitCode != 0 || !info.errors.isEmpty()) {
        qWarning("%d: %s", info.exitCode, info.errors.constData());
        return -1;
    }
    const QJsonObject page =
        QJsonDocument::fromJson(info.output).object()[QLatin1String("pages")].toArray()[0].toObject();
    const QJsonObject item = page[QLatin1String("items")].toArray()[0].toObject();
    return item[QLatin1String("settings")].toObject()[QLatin1String("point_size")].toInt();
}

void DocumentsFaults::damageIsSaidAndSetLeavesTheFileAlone()
{
    make(QStringLiteral("a.ovb"), {QStringLiteral("cube.stl"), QStringLiteral("textured.obj")});
    QByteArray bytes = bytesOf(QStringLiteral("a.ovb"));
    // The data of the second item's model.
    const int header = bytes.indexOf("resources/2/textured/textured.obj");
    QVERIFY(header > 0);
    bytes[header + 60] = static_cast<char>(bytes[header + 60] ^ 0x55);
    QVERIFY(write(QStringLiteral("a.ovb"), bytes));
    const QByteArray warning = "ov3d: a.ovb: its entry \"resources/2/textured/textured.obj\" is damaged\n";

    const ProgramRun info = run(QStringLiteral("info a.ovb"));
    QCOMPARE(info.exitCode, 0);
    QCOMPARE(info.errors, warning);
    const ProgramRun drawn = run(QStringLiteral("render a.ovb -o a.png"));
    QCOMPARE(drawn.exitCode, 0);
    QCOMPARE(drawn.errors, warning);
    const ProgramRun extracted = run(QStringLiteral("extract a.ovb 1 out"));
    QCOMPARE(extracted.exitCode, 0);
    QCOMPARE(extracted.errors, warning);
    const ProgramRun set = run(QStringLiteral("set a.ovb 1 point_size=5"));
    QCOMPARE(set.exitCode, 4);
    QCOMPARE(set.errors,
             warning + "ov3d: a.ovb: saving it would lose its damaged file \"resources/2/textured/textured.obj\"\n");
    QCOMPARE(bytesOf(QStringLiteral("a.ovb")), bytes);
}

void DocumentsFaults::refusedSettingsAreSaid()
{
    make(QStringLiteral("a.ovb"), {QStringLiteral("cube.stl")});
    edit(QStringLiteral("a.ovb"), [](QJsonObject&, QJsonObject& item) {
        QJsonObject settings = item[QLatin1String("parameters")].toObject();
        settings[QLatin1String("point_size")] = 1000;
        item[QLatin1String("parameters")] = settings;
    });
    const QByteArray reason = "cube.stl: point_size: \"1000\" is not a whole number from 0 to 100\n";
    const ProgramRun drawn = run(QStringLiteral("render a.ovb -o a.png"));
    QCOMPARE(drawn.exitCode, 0);
    QCOMPARE(drawn.errors, "ov3d: a.ovb: " + reason);
    const ProgramRun set = run(QStringLiteral("set a.ovb 1 wireframe=1"));
    QCOMPARE(set.exitCode, 0);
    QCOMPARE(set.errors, "ov3d: a.ovb: item 1: " + reason);
}

void DocumentsFaults::absurdRectangleIsSaid()
{
    make(QStringLiteral("a.ovb"), {QStringLiteral("cube.stl")});
    edit(QStringLiteral("a.ovb"), [](QJsonObject&, QJsonObject& item) {
        QJsonObject entries = item[QLatin1String("entries")].toObject();
        entries[QLatin1String("obj_rect")] = QJsonArray{320, 60, -5, 60000};
        item[QLatin1String("entries")] = entries;
    });
    const QByteArray warning =
        "ov3d: a.ovb: cube.stl: its rectangle in the document cannot be used; it takes 1280 x 960\n";
    QCOMPARE(run(QStringLiteral("info a.ovb")).errors, warning);
    const ProgramRun drawn = run(QStringLiteral("render a.ovb -o a.png"));
    QCOMPARE(drawn.exitCode, 0);
    QCOMPARE(drawn.errors, warning);
    QVERIFY(opaqueShare(QImage(at(QStringLiteral("a.png")))) > 0.02);
}

void DocumentsFaults::tooLargePageIsRefusedWithItsSize()
{
    make(QStringLiteral("a.ovb"), {QStringLiteral("cube.stl")});
    edit(QStringLiteral("a.ovb"), [](QJsonObject& page, QJsonObject&) { page[QLatin1String("width")] = 20000.5; });
    const ProgramRun drawn = run(QStringLiteral("render a.ovb -o a.png"));
    QCOMPARE(drawn.exitCode, 3);
    QCOMPARE(drawn.errors, QByteArray("ov3d: a.ovb: page 1 has 20000.5 x 1080; a picture has sides from 1 to 8192\n"));
}

void DocumentsFaults::changingBesideAReaderWorks()
{
    make(QStringLiteral("a.ovb"), {QStringLiteral("cube.stl")});
    QString error;
    {
        const auto reader = COvDocumentFile::open(at(QStringLiteral("a.ovb")), error, COvDocumentFile::Access::Reading);
        QVERIFY2(reader, qPrintable(error));
        const ProgramRun set = run(QStringLiteral("set a.ovb 1 point_size=7"));
        QVERIFY2(set.exitCode == 0, set.errors.constData());
    }
    QCOMPARE(pointSizeOf(QStringLiteral("a.ovb")), 7);
    const auto editor = COvDocumentFile::open(at(QStringLiteral("a.ovb")), error);
    QVERIFY2(editor, qPrintable(error));
    QCOMPARE(run(QStringLiteral("render a.ovb -o a.png")).exitCode, 0);
    const ProgramRun refused = run(QStringLiteral("set a.ovb 1 point_size=8"));
    QCOMPARE(refused.exitCode, 4);
    QVERIFY2(refused.errors.contains("open in another"), refused.errors.constData());
}

void DocumentsFaults::setOnACardNamesDocumentAndItem()
{
    QVERIFY(write(QStringLiteral("cut.glb"), "glTF"));
    QCOMPARE(run(QStringLiteral("new a.ovb cut.glb")).exitCode, 1);
    const ProgramRun set = run(QStringLiteral("set a.ovb 1 wireframe=1"));
    QCOMPARE(set.exitCode, 1);
    QVERIFY2(set.errors.startsWith("ov3d: a.ovb: item 1: cut.glb: ") && set.errors.count('\n') == 1,
             set.errors.constData());
}

void DocumentsFaults::folderThatCannotBeMadeIsOneLine()
{
    make(QStringLiteral("a.ovb"), {QStringLiteral("textured.obj")});
    QVERIFY(write(QStringLiteral("file"), "x"));
    const ProgramRun extracted = run(QStringLiteral("extract a.ovb 1 file/below"));
    QCOMPARE(extracted.exitCode, 4);
    QCOMPARE(extracted.errors, "ov3d: " + at(QStringLiteral("file/below")).toUtf8() + ": the folder cannot be made\n");
}

void DocumentsFaults::workingFolderThatCannotBeMadeIsNoRefusal()
{
    make(QStringLiteral("a.ovb"), {QStringLiteral("cube.stl")});
    QVERIFY(write(QStringLiteral("file"), "x"));
    qputenv("XDG_CACHE_HOME", QFile::encodeName(at(QStringLiteral("file"))));
    qputenv("TMPDIR", QFile::encodeName(at(QStringLiteral("file"))));
    const ProgramRun info = run(QStringLiteral("info a.ovb"));
    qunsetenv("TMPDIR");
    QCOMPARE(info.exitCode, 4);
    QVERIFY2(info.errors.startsWith("ov3d: no folder to work in can be made"), info.errors.constData());
}

void DocumentsFaults::fileSizeLimitLeavesTheOldDocument()
{
    // Each texture stays below the limit; both together do not.
    QRandomGenerator random(1);
    for (const char* name : {"one.png", "two.png"}) {
        QImage noise(2048, 2048, QImage::Format_RGB32);
        random.fillRange(reinterpret_cast<quint32*>(noise.bits()), noise.sizeInBytes() / 4);
        QVERIFY(noise.save(at(QLatin1String(name))));
    }
    QVERIFY(write(QStringLiteral("two.mtl"), "newmtl a\nmap_Kd one.png\nnewmtl b\nmap_Kd two.png\n"));
    QVERIFY(write(QStringLiteral("two.obj"),
                  "mtllib two.mtl\nv 0 0 0\nv 1 0 0\nv 1 1 0\nv 0 1 0\nvt 0 0\nvt 1 0\nvt 1 1\n"
                  "usemtl a\nf 1/1 2/2 3/3\nusemtl b\nf 1/1 3/2 4/3\n"));
    const ProgramRun made = run(QStringLiteral("new a.ovb two.obj"));
    QVERIFY2(made.exitCode == 0, made.errors.constData());
    const QByteArray before = bytesOf(QStringLiteral("a.ovb"));
    constexpr int kLimitBytes = 20'000'000;
    constexpr int kBlockBytes = 512; // of the shell's ulimit
    QVERIFY(before.size() > kLimitBytes);
    QVERIFY(QFileInfo(at(QStringLiteral("one.png"))).size() < kLimitBytes);

    const QString command = QStringLiteral("ulimit -f %1; exec \"%2\" set a.ovb 1 point_size=5")
                                .arg(kLimitBytes / kBlockBytes)
                                .arg(QStringLiteral(OV3D_PROGRAM));
    const ProgramRun set = runProgram(QStringLiteral("/bin/sh"), {QStringLiteral("-c"), command}, m_folder->path());
    QVERIFY2(set.exitCode == 4, set.errors.constData());
    QCOMPARE(set.errors, "ov3d: cannot save \"" + at(QStringLiteral("a.ovb")).toUtf8() + "\": File too large\n");
    QVERIFY(bytesOf(QStringLiteral("a.ovb")) == before);
    QCOMPARE(QDir(m_folder->path()).entryList({QStringLiteral("*.saving")}, QDir::Files | QDir::Hidden), QStringList());
}

void DocumentsFaults::previewKeepsItemsThatAreNotLoaded()
{
    make(QStringLiteral("a.ovb"), {QStringLiteral("textured.glb"), QStringLiteral("cube.stl")});
    const QImage before = previewOf(QStringLiteral("a.ovb")).convertToFormat(QImage::Format_RGB32);
    const ProgramRun set = run(QStringLiteral("set a.ovb 2 wireframe=1"));
    QVERIFY2(set.exitCode == 0, set.errors.constData());
    const QImage after = previewOf(QStringLiteral("a.ovb")).convertToFormat(QImage::Format_RGB32);
    QVERIFY(!before.isNull());
    QCOMPARE(after.size(), before.size());
    // Once more scaled than the item itself, so not the same to the bit.
    qint64 difference = 0;
    for (int y = 0; y < before.height(); ++y) {
        for (int x = 0; x < before.width(); ++x)
            difference += std::abs(qGray(before.pixel(x, y)) - qGray(after.pixel(x, y)));
    }
    const double mean = static_cast<double>(difference) / (before.width() * before.height());
    QVERIFY2(mean < 3, qPrintable(QString::number(mean)));
}

void DocumentsFaults::killedSetLeavesAWholeDocument_data()
{
    QTest::addColumn<double>("share");
    QRandomGenerator random(QRandomGenerator::system()->generate());
    for (int i = 0; i < 10; ++i) {
        const double share = 1.1 * random.generateDouble();
        QTest::addRow("%d, after %.4f of a whole run", i + 1, share) << share;
    }
}

void DocumentsFaults::killedSetLeavesAWholeDocument()
{
    QFETCH(double, share);
    make(QStringLiteral("a.ovb"), {QStringLiteral("textured.glb")});
    QElapsedTimer timer;
    timer.start();
    QCOMPARE(run(QStringLiteral("set a.ovb 1 point_size=11")).exitCode, 0);
    // What holds must hold at any moment; the time only spreads the moments.
    const auto moment = static_cast<unsigned long>(share * static_cast<double>(timer.nsecsElapsed()) / 1000);
    QProcess process;
    process.setWorkingDirectory(m_folder->path());
    process.start(QStringLiteral(OV3D_PROGRAM), {QStringLiteral("set"), QStringLiteral("a.ovb"), QStringLiteral("1"),
                                                 QStringLiteral("point_size=12")});
    QVERIFY(process.waitForStarted());
    QThread::usleep(moment);
    process.kill();
    QVERIFY(process.waitForFinished());
    const int found = pointSizeOf(QStringLiteral("a.ovb"));
    QVERIFY2(found == 11 || found == 12, qPrintable(QString::number(found)));
    // And it can be changed again, which leaves nothing of the killed one's.
    QCOMPARE(run(QStringLiteral("set a.ovb 1 point_size=13")).exitCode, 0);
    QCOMPARE(pointSizeOf(QStringLiteral("a.ovb")), 13);
    QCOMPARE(QDir(m_folder->path()).entryList(QDir::Files | QDir::Hidden), QStringList(QStringLiteral("a.ovb")));
}

void DocumentsFaults::copyOfOneProgramIsPastedByAnother()
{
    make(QStringLiteral("a.ovb"), {QStringLiteral("textured.gltf")});
    const ProgramRun set = run(QStringLiteral("set a.ovb 1 orbit=50,20 light_profile=2"));
    QVERIFY2(set.exitCode == 0, set.errors.constData());
    const QString editor = QStringLiteral(OV3D_EDITOR);
    const QString clip = at(QStringLiteral("clip"));
    const ProgramRun copied = runProgram(editor, {QStringLiteral("copy"), at(QStringLiteral("a.ovb")), clip});
    QVERIFY2(copied.exitCode == 0, copied.errors.constData());
    const ProgramRun pasted = runProgram(editor, {QStringLiteral("paste"), clip, at(QStringLiteral("b.ovb"))});
    QVERIFY2(pasted.exitCode == 0, pasted.errors.constData());
    for (const char* name : {"a", "b"}) {
        const ProgramRun drawn = run(QStringLiteral("render %1.ovb -o %1.png").arg(QLatin1String(name)));
        QVERIFY2(drawn.exitCode == 0, drawn.errors.constData());
    }
    const QImage original(at(QStringLiteral("a.png")));
    QVERIFY(opaqueShare(original) > 0.02);
    QCOMPARE(QImage(at(QStringLiteral("b.png"))), original);
}

void DocumentsFaults::cancelledListingEndsItsRenderer()
{
    // A renderer that never answers; only the load's limit would end it, with other words.
    const QString mark = at(QStringLiteral("mark"));
    const QString program = at(QStringLiteral("renderer"));
    QVERIFY(write(QStringLiteral("renderer"), "#!/bin/sh\necho $$ > \"" + mark.toUtf8() + "\"\nexec sleep 1000\n"));
    QVERIFY(QFile::setPermissions(program, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner));
    qputenv("OV3D_RENDERER", QFile::encodeName(program));
    QByteArray reason;
    const bool isListed = ov3dViewerListFiles(
        OV3D_SAMPLES "/cube.stl", {}, [&reason](const char* words) { reason = words; },
        [&mark] { return QFileInfo(mark).size() > 0; });
    qunsetenv("OV3D_RENDERER");
    QVERIFY(!isListed);
    QCOMPARE(reason, QByteArray("was cancelled"));
    const QString process = QStringLiteral("/proc/") + QString::fromUtf8(bytesOf(QStringLiteral("mark")).trimmed());
    QVERIFY(waitFor([&process] { return !QFileInfo::exists(process); }));
}

OV3D_TEST_MAIN(DocumentsFaults)
#include "documentsfaults.moc"
