#include "tests/support/testmain.h"
#include "tests/unit/document/documentfixture.h"
#include "tests/unit/document/zipbuilder.h"

#include <KZip>

#include <QDir>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>

#include <cstdlib>
#include <ctime>

#include <fcntl.h>
#include <sys/stat.h>

Q_DECLARE_METATYPE(OvDocumentContent)

namespace {

QImage picture()
{
    QImage image(40, 30, QImage::Format_ARGB32);
    image.fill(Qt::darkCyan);
    return image;
}

QJsonObject entry(const char* group, const char* directory, const char* file, bool stored = true)
{
    return {{"key", "3D_OBJECT_KEY"}, {"group", group}, {"directory", directory}, {"file", file}, {"stored", stored}};
}

QJsonObject savedWith(const QVector<QJsonArray>& saves)
{
    QJsonArray all;
    for (const QJsonArray& save : saves)
        all.append(save);
    return {{"3D_OBJECT_KEY", all}, {"other", 7}};
}

// Seconds west of Greenwich come into play where a date is written as local time.
void setTimeZone(const char* zone)
{
    qputenv("TZ", zone);
    ::tzset();
}

} // namespace

class RoundTripTest : public DocumentTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void newDocumentHasAnEmptyPrivateWorkingFolderAndNoFile()
    {
        const auto document = create();
        QVERIFY(document->path().isEmpty());
        QVERIFY(!document->isReadOnly());
        QCOMPARE(document->content().pages.size(), 0);
        QVERIFY(namesIn(document->workingFolder()).isEmpty());
        struct stat status
        {
        };
        QCOMPARE(::stat(QFile::encodeName(document->workingFolder()).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777u, 0700u);
        QCOMPARE(::stat(QFile::encodeName(workPlace()).constData(), &status), 0);
        QCOMPARE(status.st_mode & 0777u, 0700u);
    }

    void workingFolderGoesWithTheDocument()
    {
        create();
        QVERIFY(namesIn(workPlace()).isEmpty());
    }

    void everythingComesBack()
    {
        OvDocumentContent content = contentWith({"resources/1/chair/chair.obj", "resources/1/chair/maps/oak.png"});
        content.unknown = {{"theme", "dark"}};
        OvDocumentPage& page = content.pages.first();
        page.unknown = {{"grid", QJsonArray{1, 2.5, "x"}}};
        OvDocumentItem& item = page.items.first();
        item.entries = savedWith({QJsonArray{entry("1", "chair", "chair.obj")}});
        item.parameters = {
            {"light_profile", 3}, {"material_color", QJsonArray{0.1, 101.0 / 255.0, 1.0}}, {"new", true}};
        item.host = {{"locked", true}};
        item.unknown = {{"shadow", QJsonObject{{"depth", 0.25}}}};
        OvDocumentPage second;
        second.size = QSizeF(0.1, 20000.5);
        content.pages.append(second);

        const auto document = create();
        writeFile(document->workingFolder() + "/resources/1/chair/chair.obj", "model");
        writeFile(document->workingFolder() + "/resources/1/chair/maps/oak.png", "oak");
        save(*document, "a.ovb", content);
        QCOMPARE(document->path(), file("a.ovb"));

        const auto opened = open("a.ovb");
        QCOMPARE(opened->warnings(), QStringList());
        QVERIFY(opened->workingFolder() != document->workingFolder());
        QCOMPARE(readFile(opened->workingFolder() + "/resources/1/chair/chair.obj"), QByteArray("model"));
        QCOMPARE(readFile(opened->workingFolder() + "/resources/1/chair/maps/oak.png"), QByteArray("oak"));
        const OvDocumentContent& read = opened->content();
        QCOMPARE(read.unknown, content.unknown);
        QCOMPARE(read.pages.size(), 2);
        QCOMPARE(read.pages[1].size, QSizeF(0.1, 20000.5));
        QCOMPARE(read.pages[0].size, QSizeF(1920.0, 1080.0));
        QCOMPARE(read.pages[0].unknown, page.unknown);
        const OvDocumentItem& back = read.pages[0].items.first();
        QCOMPARE(back.entries, item.entries);
        QCOMPARE(back.parameters, item.parameters);
        QCOMPARE(back.model, item.model);
        QCOMPARE(back.files, item.files);
        QCOMPARE(back.host, item.host);
        QCOMPARE(back.unknown, item.unknown);
    }

    void documentIsAnOrdinaryZipFileWithReadableTextFirst()
    {
        saveOne("a.ovb");
        KZip archive(file("a.ovb"));
        QVERIFY(archive.open(QIODevice::ReadOnly));
        QStringList names = archive.directory()->entries();
        names.sort();
        QCOMPARE(names, QStringList({"document.json", "preview.png", "resources"}));
        const QByteArray json = archive.directory()->file("document.json")->data();
        QVERIFY(json.startsWith("{\n    \"format\": \"ov3d-document\",\n    \"pages\": ["));
        QCOMPARE(archive.directory()->file("resources/1/a/a.stl")->data(), QByteArray("model"));
        const QImage preview = QImage::fromData(archive.directory()->file("preview.png")->data());
        QCOMPARE(preview.convertToFormat(QImage::Format_ARGB32), picture());
        QCOMPARE(readFile(file("a.ovb")).mid(30, 13), QByteArray("document.json"));
    }

    void savingAnUnchangedDocumentTwiceMakesTheSameBytes()
    {
        setTimeZone("UTC");
        saveOne("a.ovb");
        setTimeZone("Pacific/Auckland");
        const auto document = open("a.ovb");
        const QString model = document->workingFolder() + "/resources/1/a/a.stl";
        const timespec past[2] = {{1000000000, 0}, {1000000000, 0}};
        QCOMPARE(::utimensat(AT_FDCWD, QFile::encodeName(model).constData(), past, 0), 0);
        save(*document, "b.ovb", document->content());
        save(*document, "c.ovb", document->content());
        ::unsetenv("TZ");
        ::tzset();
        QVERIFY(readFile(file("a.ovb")).size() > 100);
        QCOMPARE(readFile(file("b.ovb")), readFile(file("a.ovb")));
        QCOMPARE(readFile(file("c.ovb")), readFile(file("a.ovb")));
    }

    void onlyNamedFilesArePacked()
    {
        const auto document = create();
        writeFile(document->workingFolder() + "/resources/1/a/a.stl", "named by the item");
        writeFile(document->workingFolder() + "/resources/2/b/b.png", "named by an entry");
        writeFile(document->workingFolder() + "/resources/2/b/old.png", "named by nothing");
        OvDocumentContent content = contentWith({"resources/1/a/a.stl"});
        content.pages[0].items[0].entries = savedWith({QJsonArray{entry("2", "b", "b.png")}});
        save(*document, "a.ovb", content);
        const auto opened = open("a.ovb");
        QCOMPARE(namesIn(opened->workingFolder() + "/resources/1/a"), QStringList{"a.stl"});
        QCOMPARE(namesIn(opened->workingFolder() + "/resources/2/b"), QStringList{"b.png"});
        QCOMPARE(opened->warnings(), QStringList());
    }

    void newestSaveOfAnItemIsTheOneThatStays()
    {
        const auto document = create();
        writeFile(document->workingFolder() + "/resources/1/a/old.stl", "old");
        writeFile(document->workingFolder() + "/resources/2/a/new.stl", "new");
        OvDocumentContent content = contentWith({});
        const QJsonArray newest{entry("2", "a", "new.stl")};
        content.pages[0].items[0].entries = savedWith({QJsonArray{entry("1", "a", "old.stl")}, newest});
        save(*document, "a.ovb", content);
        QCOMPARE(document->content().pages[0].items[0].entries, savedWith({newest}));
        const auto opened = open("a.ovb");
        QCOMPARE(opened->content().pages[0].items[0].entries, savedWith({newest}));
        QCOMPARE(namesIn(opened->workingFolder() + "/resources"), QStringList{"2"});
    }

    void itemWithoutEntriesOrFilesIsKept()
    {
        const auto document = create();
        save(*document, "a.ovb", contentWith({}));
        const auto opened = open("a.ovb");
        QCOMPARE(opened->content().pages[0].items.size(), 1);
        QVERIFY(opened->content().pages[0].items[0].entries.isEmpty());
    }

    void namesInEveryScriptAndWithEverySignComeBack()
    {
        const QStringList files{QStringLiteral("resources/1/Stuhl 50% Ü/椅子 (1).glb"),
                                QStringLiteral("resources/1/a\\b:c*?.png"),
                                QStringLiteral("resources/1/new\nline\t\x7f.png"), QStringLiteral("resources/1/%2e%2E"),
                                QStringLiteral("resources/1/") + QString(255, QLatin1Char('n'))};
        const auto document = create();
        for (const QString& name : files)
            writeFile(document->workingFolder() + '/' + name, name.toUtf8());
        save(*document, "a.ovb", contentWith(files));
        const auto opened = open("a.ovb");
        QCOMPARE(opened->warnings(), QStringList());
        QCOMPARE(opened->content().pages[0].items[0].files, files);
        for (const QString& name : files)
            QCOMPARE(readFile(opened->workingFolder() + '/' + name), name.toUtf8());
    }

    void emptyAndLargeFilesComeBack()
    {
        const auto document = create();
        const QByteArray large = noise(3 * 1024 * 1024 + 17, 1);
        writeFile(document->workingFolder() + "/resources/1/empty.bin", QByteArray());
        writeFile(document->workingFolder() + "/resources/1/large.bin", large);
        writeFile(document->workingFolder() + "/resources/1/large.png", large);
        save(*document, "a.ovb",
             contentWith({"resources/1/empty.bin", "resources/1/large.bin", "resources/1/large.png"}));
        const auto opened = open("a.ovb");
        QCOMPARE(readFile(opened->workingFolder() + "/resources/1/empty.bin"), QByteArray());
        QVERIFY(readFile(opened->workingFolder() + "/resources/1/large.bin") == large);
        QVERIFY(readFile(opened->workingFolder() + "/resources/1/large.png") == large);
    }

    void filesThatShrinkALotDoNotMakeADocumentThatIsTakenForATrap()
    {
        const auto document = create();
        const QByteArray zeros(70 * 1024 * 1024, 0);
        writeFile(document->workingFolder() + "/resources/1/flat.bin", zeros);
        save(*document, "a.ovb", contentWith({"resources/1/flat.bin"}));
        QVERIFY(QFileInfo(file("a.ovb")).size() > zeros.size());
        const auto opened = open("a.ovb");
        QVERIFY(readFile(opened->workingFolder() + "/resources/1/flat.bin") == zeros);
    }

    void absentResourceIsAWarningAndTheRestOpens()
    {
        const auto document = create();
        writeFile(document->workingFolder() + "/resources/1/a.stl", "a");
        OvDocumentContent content = contentWith({"resources/1/a.stl", "resources/1/gone.png"});
        content.pages[0].items[0].entries = savedWith(
            {QJsonArray{entry("1", "", "lost.png"), entry("1", "", "never there.png", false), entry("..", "", "x")}});
        save(*document, "a.ovb", content);
        const auto opened = open("a.ovb");
        QCOMPARE(opened->warnings(), QStringList({"it lacks the file \"resources/1/gone.png\"",
                                                  "it lacks the file \"resources/1/lost.png\""}));
        QCOMPARE(readFile(opened->workingFolder() + "/resources/1/a.stl"), QByteArray("a"));
    }

    void damagedResourceIsAWarningAndTheRestOpens()
    {
        ZipBuilder zip;
        zip.add("document.json", emptyContentText());
        zip.add("resources/1/a.stl", "one");
        zip.add("resources/1/b.stl", "two").checksum ^= 1;
        zip.add("resources/1/c.stl", QByteArray(1000, 'c'), true).bytes.chop(2);
        zip.add("resources/1/d.stl", "four", true);
        writeFile(file("a.ovb"), zip.build());
        const auto opened = open("a.ovb");
        QCOMPARE(opened->warnings(), QStringList({"its entry \"resources/1/b.stl\" is damaged",
                                                  "its entry \"resources/1/c.stl\" is damaged"}));
        QCOMPARE(namesIn(opened->workingFolder() + "/resources/1"), QStringList({"a.stl", "d.stl"}));
        QCOMPARE(readFile(opened->workingFolder() + "/resources/1/d.stl"), QByteArray("four"));
    }

    void damagedDocumentIsSavedUnderAnotherNameAlone()
    {
        ZipBuilder zip;
        zip.add("document.json", emptyContentText());
        zip.add("resources/1/b.stl", "two").checksum ^= 1;
        writeFile(file("a.ovb"), zip.build());
        const QByteArray before = readFile(file("a.ovb"));
        const auto opened = open("a.ovb");
        QVERIFY(opened->isReadOnly());
        QCOMPARE(opened->readOnlyReason(),
                 QStringLiteral("saving it would lose its damaged file \"resources/1/b.stl\""));
        QString error;
        QVERIFY(!opened->save(file("a.ovb"), opened->content(), QImage(), error));
        QCOMPARE(readFile(file("a.ovb")), before);
        save(*opened, "b.ovb", opened->content());
        QVERIFY(!opened->isReadOnly());
        QCOMPARE(readFile(file("a.ovb")), before);
    }

    void folderEntriesAndFilesOfOthersAreLeftAside()
    {
        ZipBuilder zip;
        zip.add("resources/", QByteArray()).attributes = 0040755u << 16;
        zip.add("document.json", emptyContentText(), true);
        zip.add("notes.txt", "n");
        zip.add("resources/1/", QByteArray()).attributes = 0;
        zip.add("resources/1/a.stl", "a");
        writeFile(file("a.ovb"), zip.build("a comment"));
        const auto opened = open("a.ovb");
        QCOMPARE(namesIn(opened->workingFolder()), QStringList{"resources"});
        QCOMPARE(readFile(opened->workingFolder() + "/resources/1/a.stl"), QByteArray("a"));
    }

    void savingToAnotherNameLeavesTheFirstFileAlone()
    {
        const auto document = saveOne("a.ovb");
        const QByteArray before = readFile(file("a.ovb"));
        save(*document, "b.ovb", OvDocumentContent());
        QCOMPARE(document->path(), file("b.ovb"));
        QCOMPARE(readFile(file("a.ovb")), before);
    }

    void permissionsOfTheOldFileStay_data()
    {
        QTest::addColumn<int>("mode");
        QTest::newRow("private") << 0600;
        QTest::newRow("readable by all") << 0644;
        QTest::newRow("writable by the group") << 0664;
        QTest::newRow("odd") << 0750;
    }

    void permissionsOfTheOldFileStay()
    {
        QFETCH(int, mode);
        const auto document = saveOne("a.ovb");
        QCOMPARE(::chmod(QFile::encodeName(file("a.ovb")).constData(), static_cast<mode_t>(mode)), 0);
        save(*document, "a.ovb", document->content());
        QCOMPARE(modeOf("a.ovb"), mode);
    }

    void newFileGetsWhatTheMaskLeaves()
    {
        const mode_t old = ::umask(027);
        saveOne("a.ovb");
        ::umask(old);
        QCOMPARE(modeOf("a.ovb"), 0640);
    }

    void savingThroughALinkReplacesWhatItLeadsTo()
    {
        QVERIFY(QDir().mkpath(file("real")));
        saveOne("real/a.ovb");
        QVERIFY(QFile::link(file("real/a.ovb"), file("second")));
        QVERIFY(QFile::link("second", file("first")));
        const auto document = open("first");
        save(*document, "first", OvDocumentContent());
        QVERIFY(QFileInfo(file("first")).isSymLink());
        QVERIFY(QFileInfo(file("second")).isSymLink());
        QVERIFY(!QFileInfo(file("real/a.ovb")).isSymLink());
        QCOMPARE(open("real/a.ovb")->content().pages.size(), 0);
        QCOMPARE(namesIn(file("real")), QStringList{"a.ovb"});
    }

    void savingThroughALinkToNothingMakesTheFileThere()
    {
        QVERIFY(QFile::link(file("a.ovb"), file("link")));
        saveOne("link");
        QVERIFY(QFileInfo(file("link")).isSymLink());
        QVERIFY(QFileInfo(file("a.ovb")).isFile());
    }

    void linkOutOfTheWorkingFolderIsNotFollowed()
    {
        writeFile(file("secret"), "s");
        const auto document = create();
        QVERIFY(QDir().mkpath(document->workingFolder() + "/resources/1"));
        QVERIFY(QFile::link(file("secret"), document->workingFolder() + "/resources/1/a.stl"));
        QString error;
        QVERIFY(!document->save(file("a.ovb"), contentWith({"resources/1/a.stl"}), QImage(), error));
        QCOMPARE(error, QStringLiteral("cannot save \"%1\": \"resources/1/a.stl\" is a link out of the document")
                            .arg(file("a.ovb")));
    }

    void contentThatCouldNotBeOpenedAgainIsNotSaved_data()
    {
        QTest::addColumn<OvDocumentContent>("content");
        QTest::addColumn<QString>("reason");
        QTest::newRow("a file outside") << contentWith({"resources/../../x"})
                                        << "page 1: item 1 names the file \"resources/../../x\", which is none of the "
                                           "document's";
        QTest::newRow("an absolute file") << contentWith({"/etc/passwd"})
                                          << "page 1: item 1 names the file \"/etc/passwd\", which is none of the "
                                             "document's";
        OvDocumentContent flat = contentWith({});
        flat.pages[0].size = QSizeF(0.0, 10.0);
        QTest::newRow("a page without size") << flat << "page 1: has no size";
        OvDocumentContent deep = contentWith({});
        QJsonObject nested;
        for (int i = 0; i < 100; ++i)
            nested = QJsonObject{{"n", nested}};
        deep.pages[0].items[0].parameters = nested;
        QTest::newRow("too deep") << deep << "its document.json is nested deeper than 100 levels";
        OvDocumentContent huge = contentWith({});
        huge.pages[0].items[0].host = {{"text", QString(17 * 1024 * 1024, QLatin1Char('x'))}};
        QTest::newRow("too large") << huge << "its document.json is larger than 16 MB";
    }

    void contentThatCouldNotBeOpenedAgainIsNotSaved()
    {
        QFETCH(OvDocumentContent, content);
        QFETCH(QString, reason);
        const auto document = create();
        QString error;
        QVERIFY(!document->save(file("a.ovb"), content, QImage(), error));
        QCOMPARE(error, QStringLiteral("cannot save \"%1\": %2").arg(file("a.ovb"), reason));
        QCOMPARE(namesIn(folder()), QStringList{"cache"});
    }

private:
    std::unique_ptr<COvDocumentFile> create()
    {
        QString error;
        auto document = COvDocumentFile::create(error);
        if (!document)
            qFatal("%s", qUtf8Printable(error));
        return document;
    }

    std::unique_ptr<COvDocumentFile> open(const QString& name)
    {
        QString error;
        auto document = COvDocumentFile::open(file(name), error);
        if (!document)
            qFatal("%s", qUtf8Printable(error));
        return document;
    }

    void save(COvDocumentFile& document, const QString& name, const OvDocumentContent& content)
    {
        QString error;
        if (!document.save(file(name), content, picture(), error))
            QFAIL(qUtf8Printable(error));
        QVERIFY(error.isEmpty());
    }

    std::unique_ptr<COvDocumentFile> saveOne(const QString& name)
    {
        auto document = create();
        writeFile(document->workingFolder() + "/resources/1/a/a.stl", "model");
        save(*document, name, contentWith({"resources/1/a/a.stl"}));
        return document;
    }

    int modeOf(const QString& name)
    {
        struct stat status
        {
        };
        return ::stat(QFile::encodeName(file(name)).constData(), &status) == 0
                   ? static_cast<int>(status.st_mode & 07777u)
                   : -1;
    }
};

OV3D_TEST_MAIN(RoundTripTest)
#include "roundtrip_test.moc"
