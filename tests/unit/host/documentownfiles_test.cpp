#include "tests/support/testmain.h"
#include "tests/unit/host/documenttestbase.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonObject>
#include <QTest>

/// Files that lie in the document already, their entries and their folders.
class DocumentOwnFilesTest : public DocumentTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void fileOfTheDocumentStaysWhereItIs()
    {
        const QString folder = m_document->makeFolder();
        QCOMPARE(folder, m_document->root() + "/resources/1");
        writeFile(folder + "/chair/chair.obj", "model");
        writeFile(folder + "/chair/maps/oak.png", "oak");
        for (int save = 0; save < 3; ++save) {
            m_entries = QJsonArray();
            storePath(folder + "/chair/chair.obj", "chair");
            storePath(folder + "/chair/maps/oak.png", "chair");
            QCOMPARE(restore(0), folder + "/chair/chair.obj");
            QCOMPARE(restore(1), folder + "/chair/maps/oak.png");
        }
        QCOMPARE(QDir(m_document->root() + "/resources").entryList(QDir::Dirs | QDir::NoDotAndDotDot),
                 QStringList{"1"});
    }

    void restoredModelIsStoredAgainInItsPlace()
    {
        writeFile(m_source + "/chair.obj", "model");
        store("/chair.obj", "chair");
        const QString path = restore(0);
        m_entries = QJsonArray();
        storePath(path, "chair");
        QCOMPARE(restore(0), path);
        QCOMPARE(contentOf(path), QByteArray("model"));
    }

    void fileOfTheDocumentIsKnownThroughALink()
    {
        const QString folder = m_document->makeFolder();
        writeFile(folder + "/chair/chair.obj", "model");
        QVERIFY(QFile::link(folder + "/chair", m_folder->path() + "/short"));
        storePath(m_folder->path() + "/short/chair.obj", "chair");
        storePath(m_folder->path() + "/short/gone.png", "chair");
        QCOMPARE(restore(0), folder + "/chair/chair.obj");
        QCOMPARE(restore(1), folder + "/chair/gone.png");
    }

    void absentFileOfTheDocumentStillGetsItsEntry()
    {
        const QString folder = m_document->makeFolder();
        storePath(folder + "/chair/gone.png", "chair");
        QVERIFY(m_document->lastError().contains("gone.png"));
        QCOMPARE(m_entries.first().toObject().value("stored"), QJsonValue(false));
        QCOMPARE(restore(0), folder + "/chair/gone.png");
    }

    void previewLandsInAFolderOfItsDirectoryName()
    {
        // The second of two models of one name: its directory name is none of its folder's.
        const QString folder = m_document->makeFolder();
        writeFile(folder + "/chair/chair.obj", "model");
        writeFile(folder + "/chair/chair0_3dpreview.png", "first");
        writeFile(folder + "/chair/chair0_view.json", "{}");
        storePath(folder + "/chair/chair.obj", "chair0");
        storePath(folder + "/chair/chair0_3dpreview.png", "chair0");
        storePath(folder + "/chair/chair0_view.json", "chair0");
        QCOMPARE(restore(0), folder + "/chair/chair.obj");
        QCOMPARE(restore(1), folder + "/chair0/chair0_3dpreview.png");
        QCOMPARE(restore(2), folder + "/chair/chair0_view.json");

        writeFile(folder + "/chair/chair0_3dpreview.png", "second");
        m_entries = QJsonArray();
        storePath(folder + "/chair/chair.obj", "chair0");
        storePath(folder + "/chair/chair0_3dpreview.png", "chair0");
        QCOMPARE(contentOf(restore(1)), QByteArray("second"));
    }

    void fileFromOutsideJoinsTheDocumentsFiles()
    {
        const QString folder = m_document->makeFolder();
        writeFile(folder + "/chair/chair.obj", "model");
        writeFile(folder + "/chair/oak.png", "inside");
        writeFile(m_source + "/oak.png", "outside");
        writeFile(m_source + "/pine.png", "pine");
        storePath(folder + "/chair/chair.obj", "chair");
        store("/oak.png", "chair");
        store("/pine.png", "chair");
        QCOMPARE(contentOf(restore(1)), QByteArray("inside"));
        QCOMPARE(restore(2), folder + "/chair/pine.png");
        QCOMPARE(contentOf(restore(2)), QByteArray("pine"));
    }

    void entryOfAFileIsWhatStoringItMakes()
    {
        const QString folder = m_document->makeFolder();
        writeFile(folder + "/lamp/lamp.3mf", "model");
        writeFile(folder + "/plain.3mf", "model");
        storePath(folder + "/lamp/lamp.3mf", "lamp");
        QCOMPARE(m_document->entryOf(folder + "/lamp/lamp.3mf", "3D_OBJECT_KEY"), m_entries.first().toObject());
        const QJsonObject plain = m_document->entryOf(folder + "/plain.3mf", "3D_OBJECT_KEY");
        m_entries = QJsonArray{plain};
        QCOMPARE(restore(0), folder + "/plain.3mf");
        QVERIFY(m_document->entryOf(m_source + "/lamp.3mf", "3D_OBJECT_KEY").isEmpty());
        QVERIFY(m_document->entryOf(m_document->root() + "/document.json", "3D_OBJECT_KEY").isEmpty());
    }

    void entryTellsItsFile()
    {
        const QString folder = m_document->makeFolder();
        const QJsonObject entry = m_document->entryOf(folder + "/a/maps/b.png", "3D_OBJECT_KEY");
        QCOMPARE(COvDocument::fileOfEntry(entry), QStringLiteral("resources/1/a/maps/b.png"));
        QCOMPARE(COvDocument::fileOfEntry(QJsonObject{{"group", "1"}, {"directory", ".."}, {"file", "x"}}), QString());
        QCOMPARE(COvDocument::fileOfEntry(QJsonObject{{"group", "1"}, {"directory", "a"}, {"file", "../../2/x"}}),
                 QString());
        QCOMPARE(COvDocument::fileOfEntry(7), QString());
    }

    void newestSaveIsTheOneThatIsKept()
    {
        QJsonArray saves;
        saves.append(QJsonArray{"old"});
        saves.append(QJsonArray{"older than the newest"});
        saves.append(QJsonArray{"newest", "of two entries"});
        QJsonArray newest;
        newest.append(QJsonArray{"newest", "of two entries"});
        QJsonObject item{{"3D_OBJECT_KEY", saves}, {"rect", 1}};
        COvDocument::keepNewestSave(item);
        QCOMPARE(item, (QJsonObject{{"3D_OBJECT_KEY", newest}, {"rect", 1}}));
        COvDocument::keepNewestSave(item);
        QCOMPARE(item.value("3D_OBJECT_KEY").toArray(), newest);
        QJsonObject without{{"rect", 1}};
        COvDocument::keepNewestSave(without);
        QCOMPARE(without, (QJsonObject{{"rect", 1}}));
    }

    void foldersThatNothingUsesAreRemoved()
    {
        QStringList folders;
        for (int i = 0; i < 4; ++i) {
            folders << m_document->makeFolder();
            writeFile(folders.last() + "/a/a.stl", "a");
        }
        writeFile(m_document->root() + "/resources/theme/x", "of nobody's save");
        QCOMPARE(m_document->removeUnusedFolders({"resources/2/a/a.stl", folders[3] + "/a/gone.png"}), 2);
        QVERIFY(!QFileInfo::exists(folders[0]));
        QVERIFY(QFileInfo::exists(folders[1] + "/a/a.stl"));
        QVERIFY(!QFileInfo::exists(folders[2]));
        QVERIFY(QFileInfo::exists(folders[3] + "/a/a.stl"));
        QVERIFY(QFileInfo::exists(m_document->root() + "/resources/theme/x"));
        QCOMPARE(m_document->makeFolder(), folders[0]);
    }

    void folderThatCannotBeMadeIsEmpty()
    {
        writeFile(m_folder->path() + "/plainfile", "x");
        COvDocument document(m_folder->path() + "/plainfile/document");
        QCOMPARE(document.makeFolder(), QString());
    }
};

OV3D_TEST_MAIN(DocumentOwnFilesTest)
#include "documentownfiles_test.moc"
