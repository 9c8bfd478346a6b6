#include "apps/document/itementries.h"
#include "apps/document/itemfolder.h"
#include "apps/document/workingdocument.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QTemporaryDir>

using namespace ov3d::apps;

/// How models come into a document's working folder, and what an item may keep there.
class ItemFolderTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void modelAndSideFilesKeepTheirPlaces();
    void originalsAreOnlyRead();
    void suffixOfTheCopyIsInSmallLetters();
    void everyInsertionHasAFolderOfItsOwn();
    void modelThatCannotBeListedIsCopiedAlone();
    void namesOutsideTheModelsFolderAreNotTaken();
    void refusedModelsLeaveNothing_data();
    void refusedModelsLeaveNothing();
    void missingSideFileLeavesNothing();
    void cancelledInsertionLeavesNothing();
    void longNamesAreShortenedForTheViewer();
    void sideFileOfTheCopysNameKeepsItsName();
    void ownFilesAreNamedInPlace();
    void filesOutsideTheItemAreNotTaken();
    void dataUrisAreNoPaths();
    void modelsThatItemsDoNotHandOverAreAdded();

private:
    QString write(const QString& name, const QByteArray& content = QByteArray("x"))
    {
        const QString path = m_folder.filePath(QStringLiteral("originals/") + name);
        QDir().mkpath(QFileInfo(path).path());
        QFile file(path);
        if (!file.open(QIODevice::WriteOnly) || file.write(content) != content.size())
            qWarning("cannot write %s", qPrintable(path));
        return path;
    }
    QString insert(const QString& model, InsertedModel& inserted, const QStringList& sideFiles = {},
                   bool isListed = true)
    {
        return copyModelIn(
            *m_document, model,
            [&](const QString&, const std::function<void(const QString&)>& file, const std::function<bool()>&) {
                for (const QString& name : sideFiles)
                    file(name);
                return isListed;
            },
            m_cancelled, inserted);
    }
    [[nodiscard]] QStringList itemFolders() const
    {
        return QDir(m_document->root() + QStringLiteral("/resources"))
            .entryList(QDir::AllEntries | QDir::NoDotAndDotDot);
    }
    [[nodiscard]] QByteArray content(const QString& relative) const
    {
        QFile file(m_document->root() + QLatin1Char('/') + relative);
        return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("nothing");
    }
    QJsonArray store(const QStringList& paths, QString directory = QStringLiteral("chair"))
    {
        QJsonArray entries;
        for (QString path : paths)
            m_document->transferResourceFile(entries, path, itemEntriesKey(), true, directory);
        return entries;
    }

    QTemporaryDir m_folder;
    std::unique_ptr<WorkingDocument> m_document;
    std::atomic<bool> m_cancelled{false};

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_cancelled = false;
        QDir(m_folder.path()).removeRecursively();
        QDir().mkpath(m_folder.path());
        m_document = std::make_unique<WorkingDocument>(m_folder.filePath(QStringLiteral("working")));
    }
    void cleanup()
    {
        m_document.reset();
        TestBase::cleanup();
    }
};

void ItemFolderTest::modelAndSideFilesKeepTheirPlaces()
{
    const QString model = write(QStringLiteral("chair.obj"), "v 0 0 0\n");
    write(QStringLiteral("a/wood.png"), "a");
    write(QStringLiteral("b/wood.png"), "b");
    InsertedModel inserted;
    QCOMPARE(insert(model, inserted, {QStringLiteral("a/wood.png"), QStringLiteral("b/wood.png")}), QString());
    QCOMPARE(inserted.model, QStringLiteral("resources/1/chair/chair.obj"));
    QCOMPARE(inserted.files, QStringList({inserted.model, QStringLiteral("resources/1/chair/a/wood.png"),
                                          QStringLiteral("resources/1/chair/b/wood.png")}));
    QCOMPARE(content(inserted.files[1]), QByteArray("a"));
    QCOMPARE(content(inserted.files[2]), QByteArray("b"));
}

void ItemFolderTest::originalsAreOnlyRead()
{
    const QString model = write(QStringLiteral("chair.stl"));
    QFile::setPermissions(model, QFile::ReadOwner);
    const QString folder = QFileInfo(model).path();
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::ExeOwner);
    InsertedModel inserted;
    const QString error = insert(model, inserted);
    QFile::setPermissions(folder, QFile::ReadOwner | QFile::WriteOwner | QFile::ExeOwner);
    QCOMPARE(error, QString());
    QCOMPARE(QDir(folder).entryList(QDir::AllEntries | QDir::NoDotAndDotDot), QStringList(QStringLiteral("chair.stl")));
    // The copy is the document's own to write.
    QVERIFY(QFile(m_document->root() + QLatin1Char('/') + inserted.model).permissions() & QFile::WriteOwner);
}

void ItemFolderTest::suffixOfTheCopyIsInSmallLetters()
{
    InsertedModel inserted;
    QCOMPARE(insert(write(QStringLiteral("Big.GLB")), inserted), QString());
    QCOMPARE(inserted.model, QStringLiteral("resources/1/Big/Big.glb"));
}

void ItemFolderTest::everyInsertionHasAFolderOfItsOwn()
{
    const QString model = write(QStringLiteral("chair.stl"));
    for (int i = 1; i <= 5; ++i) {
        InsertedModel inserted;
        QCOMPARE(insert(model, inserted), QString());
        QCOMPARE(inserted.model, QStringLiteral("resources/%1/chair/chair.stl").arg(i));
    }
}

void ItemFolderTest::modelThatCannotBeListedIsCopiedAlone()
{
    InsertedModel inserted;
    write(QStringLiteral("half.png"));
    QCOMPARE(insert(write(QStringLiteral("broken.glb")), inserted, {QStringLiteral("half.png")}, false), QString());
    QCOMPARE(inserted.files, QStringList(inserted.model));
}

void ItemFolderTest::namesOutsideTheModelsFolderAreNotTaken()
{
    write(QStringLiteral("secret.txt"));
    InsertedModel inserted;
    QCOMPARE(insert(write(QStringLiteral("models/chair.glb")), inserted,
                    {QStringLiteral("../secret.txt"), QStringLiteral("/etc/passwd"), QStringLiteral("chair.glb")}),
             QString());
    QCOMPARE(inserted.files, QStringList(inserted.model));
}

void ItemFolderTest::refusedModelsLeaveNothing_data()
{
    QTest::addColumn<QString>("name");
    QTest::addColumn<QString>("reason");
    QTest::newRow("missing") << "missing.glb"
                             << "No such file";
    QTest::newRow("a folder") << "folder.glb"
                              << "is a folder";
    QTest::newRow("an unknown suffix") << "chair.blend"
                                       << "blend";
    QTest::newRow("a mixed suffix") << "chair.Glb"
                                    << "Glb";
    QTest::newRow("a text FBX") << "text.fbx"
                                << "binary FBX";
}

void ItemFolderTest::refusedModelsLeaveNothing()
{
    QFETCH(QString, name);
    QFETCH(QString, reason);
    write(QStringLiteral("chair.blend"));
    write(QStringLiteral("chair.Glb"));
    write(QStringLiteral("text.fbx"), "; FBX 7.4.0 project file\n");
    write(QStringLiteral("folder.glb/x"));
    InsertedModel inserted;
    const QString path = m_folder.filePath(QStringLiteral("originals/") + name);
    const QString error = insert(path, inserted);
    QVERIFY2(error.startsWith(path + QLatin1String(": ")), qPrintable(error));
    QVERIFY2(error.contains(reason), qPrintable(error));
    QVERIFY(itemFolders().isEmpty());
}

void ItemFolderTest::missingSideFileLeavesNothing()
{
    InsertedModel inserted;
    const QString error = insert(write(QStringLiteral("chair.glb")), inserted, {QStringLiteral("gone.png")});
    QVERIFY2(error.contains(QLatin1String("gone.png")), qPrintable(error));
    QVERIFY(inserted.files.isEmpty());
    QVERIFY(itemFolders().isEmpty());
}

void ItemFolderTest::cancelledInsertionLeavesNothing()
{
    m_cancelled = true;
    InsertedModel inserted;
    QVERIFY(insert(write(QStringLiteral("chair.glb")), inserted).contains(QLatin1String("cancelled")));
    QVERIFY(itemFolders().isEmpty());
}

void ItemFolderTest::longNamesAreShortenedForTheViewer()
{
    const QString name = QString(120, QChar(0x6905)).left(80) + QStringLiteral(".glb"); // 240 bytes of name
    InsertedModel inserted;
    QCOMPARE(insert(write(name), inserted), QString());
    QVERIFY((m_document->root() + QLatin1Char('/') + inserted.model).toLocal8Bit().size() <= 255);
    QVERIFY(QFileInfo(m_document->root() + QLatin1Char('/') + inserted.model).isFile());
    QVERIFY(inserted.model.endsWith(QLatin1String(".glb")));
}

void ItemFolderTest::sideFileOfTheCopysNameKeepsItsName()
{
    const QString model = write(QStringLiteral("a.OBJ"), "v 0 0 0\n");
    write(QStringLiteral("a.obj"), "side");
    InsertedModel inserted;
    QCOMPARE(insert(model, inserted, {QStringLiteral("a.obj")}), QString());
    QCOMPARE(content(QStringLiteral("resources/1/a/a.obj")), QByteArray("side"));
    QCOMPARE(content(inserted.model), QByteArray("v 0 0 0\n"));
}

void ItemFolderTest::ownFilesAreNamedInPlace()
{
    InsertedModel inserted;
    QCOMPARE(insert(write(QStringLiteral("chair.glb")), inserted), QString());
    const QString model = m_document->root() + QLatin1Char('/') + inserted.model;
    QJsonArray entries = store({model});
    QCOMPARE(entryFiles(entries), QStringList(inserted.model));
    QString path;
    QString directory;
    m_document->transferResourceFile(entries, path, itemEntriesKey(), false, directory);
    QCOMPARE(path, model);
    QCOMPARE(itemFolders(), QStringList(QStringLiteral("1")));
}

void ItemFolderTest::filesOutsideTheItemAreNotTaken()
{
    InsertedModel chair;
    InsertedModel table;
    QCOMPARE(insert(write(QStringLiteral("chair.glb")), chair), QString());
    QCOMPARE(insert(write(QStringLiteral("table.glb")), table), QString());
    const QString root = m_document->root() + QLatin1Char('/');
    // What is behind the model here: another user's file, a way out, another item's model, a folder, nothing.
    const QJsonArray entries =
        store({root + chair.model, write(QStringLiteral("secret.txt")),
               root + QStringLiteral("resources/1/chair/../../../../originals/secret.txt"), root + table.model,
               root + QStringLiteral("resources/1/chair/"), root + QStringLiteral("resources/1/chair/gone.png")});
    QCOMPARE(entries.size(), 6);
    QCOMPARE(entryFiles(entries), QStringList(chair.model));
    // Nothing was copied either.
    QCOMPARE(QDir(root + QStringLiteral("resources/1/chair")).entryList(QDir::AllEntries | QDir::NoDotAndDotDot),
             QStringList(QStringLiteral("chair.glb")));
}

void ItemFolderTest::dataUrisAreNoPaths()
{
    InsertedModel inserted;
    QCOMPARE(insert(write(QStringLiteral("chair.gltf"), "{\"asset\":{\"version\":\"2.0\"}}"), inserted), QString());
    const QString model = m_document->root() + QLatin1Char('/') + inserted.model;
    const QString uri = QFileInfo(model).path() + QStringLiteral("/data:application/octet-stream;base64,") +
                        QString(4'000'000, QLatin1Char('A'));
    const QJsonArray entries = store({model, uri});
    QCOMPARE(entries.size(), 2);
    QCOMPARE(entryFiles(entries), QStringList(inserted.model));
    QVERIFY(QJsonDocument(entries).toJson().size() < 1000);
}

void ItemFolderTest::modelsThatItemsDoNotHandOverAreAdded()
{
    InsertedModel inserted;
    QCOMPARE(insert(write(QStringLiteral("part.3MF")), inserted), QString());
    const QString preview = m_document->root() + QStringLiteral("/resources/1/part/_3dpreview.png");
    QFile(preview).open(QIODevice::WriteOnly);
    const QJsonObject text = withItemEntries({}, store({preview}, QString()));
    const QJsonObject readable = readableText(*m_document, text, inserted.model);
    QCOMPARE(entryFiles(itemEntries(readable)).first(), inserted.model);
    QCOMPARE(itemEntries(readable).size(), 2);
    // Where the item has named its model, nothing is added.
    QCOMPARE(readableText(*m_document, readable, inserted.model), readable);
}

OV3D_TEST_MAIN(ItemFolderTest)
#include "itemfolder_test.moc"
