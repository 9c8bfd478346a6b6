#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/host/testitem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTemporaryDir>
#include <QTest>

#include <memory>

namespace {

void writeFile(const QString& path, const QByteArray& bytes)
{
    QVERIFY(QDir().mkpath(QFileInfo(path).absolutePath()));
    QFile file(path);
    QVERIFY(file.open(QIODevice::WriteOnly));
    file.write(bytes);
}

QByteArray contentOf(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray("<no such file>");
}

} // namespace

class DocumentTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_folder = std::make_unique<QTemporaryDir>();
        m_source = m_folder->path() + QStringLiteral("/from");
        m_document = std::make_unique<COvDocument>(m_folder->path() + QStringLiteral("/document"));
        m_entries = QJsonArray();
    }

    void cleanup()
    {
        m_document.reset();
        m_folder.reset();
        TestBase::cleanup();
    }

    void storedFileComesBackAsACopyUnderItsDirectoryName()
    {
        writeFile(m_source + "/chair.obj", "model");
        store("/chair.obj", "chair");
        QCOMPARE(m_entries.size(), 1);
        QVERIFY(m_entries.first().isObject());
        QCOMPARE(m_document->lastError(), QString());
        const QString path = restore(0);
        QCOMPARE(path, m_document->root() + "/resources/1/chair/chair.obj");
        QCOMPARE(contentOf(path), QByteArray("model"));
        QVERIFY(path != m_source + "/chair.obj");
    }

    void absentFileStillGetsItsEntry()
    {
        store("/gone.png", "chair");
        QCOMPARE(m_entries.size(), 1);
        QVERIFY(m_document->lastError().contains("/gone.png"));
        const QString path = restore(0);
        QCOMPARE(path, m_document->root() + "/resources/1/chair/gone.png");
        QVERIFY(!QFile::exists(path));
        QVERIFY(!m_document->lastError().isEmpty());
    }

    void restoringLeavesTheEntriesAlone()
    {
        writeFile(m_source + "/a.stl", "a");
        store("/a.stl", "a");
        store("/b.png", "a");
        const QJsonArray before = m_entries;
        QString path;
        QString directory;
        m_document->transferResourceFile(m_entries, path, QStringLiteral("3D_OBJECT_KEY"), false, directory);
        QCOMPARE(m_entries, before);
        QCOMPARE(directory, QStringLiteral("a"));
    }

    void filesInsideTheFirstFilesFolderKeepTheirRelativePaths()
    {
        writeFile(m_source + "/chair.obj", "model");
        writeFile(m_source + "/maps/wood/oak.png", "oak");
        store("/chair.obj", "chair");
        store("/maps/wood/oak.png", "chair");
        store("/./maps/../maps/wood/oak.png", "chair");
        QCOMPARE(restore(1), m_document->root() + "/resources/1/chair/maps/wood/oak.png");
        QCOMPARE(contentOf(restore(1)), QByteArray("oak"));
        QCOMPARE(restore(2), restore(1));
    }

    void filesOutsideKeepTheirNameAlone()
    {
        writeFile(m_source + "/models/chair.obj", "model");
        writeFile(m_source + "/common/oak.png", "oak");
        store("/models/chair.obj", "chair");
        store("/models/../common/oak.png", "chair");
        QCOMPARE(restore(1), m_document->root() + "/resources/1/chair/oak.png");
        QCOMPARE(contentOf(restore(1)), QByteArray("oak"));
    }

    void folderWithTheFirstFoldersNameAsItsBeginningIsOutside()
    {
        writeFile(m_source + "/models/chair.obj", "model");
        writeFile(m_source + "/models2/oak.png", "oak");
        writeFile(m_source + "/models/..maps/oak.png", "dots");
        store("/models/chair.obj", "chair");
        store("/models2/oak.png", "chair");
        store("/models/..maps/oak.png", "chair");
        QCOMPARE(restore(1), m_document->root() + "/resources/1/chair/oak.png");
        QCOMPARE(restore(2), m_document->root() + "/resources/1/chair/..maps/oak.png");
        QCOMPARE(contentOf(restore(2)), QByteArray("dots"));
    }

    void fileFromOutsideNeverReplacesOneFromInside()
    {
        writeFile(m_source + "/models/chair.obj", "model");
        writeFile(m_source + "/models/oak.png", "inside");
        writeFile(m_source + "/shared/oak.png", "outside");
        store("/models/chair.obj", "chair");
        store("/models/oak.png", "chair");
        store("/shared/oak.png", "chair");
        QCOMPARE(contentOf(restore(1)), QByteArray("inside"));
    }

    void everySaveHasAFolderOfItsOwn()
    {
        writeFile(m_source + "/one/a.stl", "one");
        writeFile(m_source + "/two/a.stl", "two");
        store("/one/a.stl", "a");
        const QString first = restore(0);
        m_entries = QJsonArray();
        store("/two/a.stl", "a");
        const QString second = restore(0);
        QVERIFY(first != second);
        QCOMPARE(contentOf(first), QByteArray("one"));
        QCOMPARE(contentOf(second), QByteArray("two"));
    }

    void savesWhoseFirstFileIsAbsentDoNotShareAFolder()
    {
        writeFile(m_source + "/b.png", "first");
        writeFile(m_source + "/other/b.png", "second");
        store("/gone.obj", "x");
        store("/b.png", "x");
        const QString first = restore(1);
        m_entries = QJsonArray();
        store("/other/gone.obj", "x");
        store("/other/b.png", "x");
        QCOMPARE(contentOf(first), QByteArray("first"));
        QCOMPARE(contentOf(restore(1)), QByteArray("second"));
    }

    void emptyDirectoryNameIsTheSavesOwnFolder()
    {
        writeFile(m_source + "/_3dpreview.png", "p");
        store("/_3dpreview.png", "");
        QCOMPARE(restore(0), m_document->root() + "/resources/1/_3dpreview.png");
    }

    void folderIsNoFileAndRestoresToNothing()
    {
        writeFile(m_source + "/scene.gltf/scene.gltf", "m");
        store("/scene.gltf/", "scene.gltf");
        QCOMPARE(m_entries.size(), 1);
        QCOMPARE(restore(0, QStringLiteral("before")), QStringLiteral("before"));
    }

    void readOnlyOriginalMakesAWritableCopy()
    {
        writeFile(m_source + "/a.stl", "a");
        QVERIFY(QFile::setPermissions(m_source + "/a.stl", QFile::ReadOwner));
        store("/a.stl", "a");
        QVERIFY(QFile::permissions(restore(0)) & QFile::WriteOwner);
    }

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

    void texturesOfOneNameInTwoFoldersStayApart_data()
    {
        QTest::addColumn<bool>("inside");
        QTest::newRow("copied into the document") << false;
        QTest::newRow("in the document already") << true;
    }

    void texturesOfOneNameInTwoFoldersStayApart()
    {
        QFETCH(bool, inside);
        const QString folder = inside ? m_document->makeFolder() + "/chair" : m_source;
        writeFile(folder + "/chair.obj", "model");
        writeFile(folder + "/legs/wood.png", "dark");
        writeFile(folder + "/seat/wood.png", "bright");
        storePath(folder + "/chair.obj", "chair");
        storePath(folder + "/legs/wood.png", "chair");
        storePath(folder + "/seat/wood.png", "chair");
        QCOMPARE(contentOf(restore(1)), QByteArray("dark"));
        QCOMPARE(contentOf(restore(2)), QByteArray("bright"));
    }

    void modelsOfEqualNamesStayApart()
    {
        // Directory names of two items may be equal: a repeated "chair" gets the name that the third has by itself.
        const QStringList directories{"chair", "chair0", "chair0"};
        QStringList restored;
        for (int i = 0; i < 3; ++i) {
            const QByteArray model = "model " + QByteArray::number(i);
            const QString name = i < 2 ? "/chair.obj" : "/chair0.obj";
            writeFile(m_source + QString::number(i) + name, model);
            m_entries = QJsonArray();
            storePath(m_source + QString::number(i) + name, directories[i]);
            restored << restore(0);
            QCOMPARE(contentOf(restore(0)), model);
        }
        QCOMPARE(restored.removeDuplicates(), 0);
        QCOMPARE(contentOf(restored[1]), QByteArray("model 1"));
    }

    void oneModelOnFivePagesIsFiveModels()
    {
        writeFile(m_source + "/chair.glb", "model");
        QStringList restored;
        for (int i = 0; i < 5; ++i) {
            m_entries = QJsonArray();
            store("/chair.glb", "chair");
            restored << restore(0);
        }
        QCOMPARE(restored.removeDuplicates(), 0);
        for (const QString& path : restored)
            QCOMPARE(contentOf(path), QByteArray("model"));
    }

    void anyTextThatIsHandedOverAsAPathIsTaken_data()
    {
        QTest::addColumn<QString>("path");
        QTest::newRow("nothing") << "";
        QTest::newRow("a data URI of megabytes")
            << "/models/data:application/octet-stream;base64," + QString(5 * 1024 * 1024, QLatin1Char('A'));
        QTest::newRow("many separators") << QString(1024 * 1024, QLatin1Char('/')) + "x";
        QTest::newRow("a folder") << "/usr";
        QTest::newRow("the root") << "/";
    }

    void anyTextThatIsHandedOverAsAPathIsTaken()
    {
        QFETCH(QString, path);
        writeFile(m_source + "/scene.gltf", "model");
        store("/scene.gltf", "scene");
        storePath(path, "scene");
        QCOMPARE(m_entries.size(), 2);
        QVERIFY(!m_document->lastError().isEmpty());
        QVERIFY(m_document->lastError().size() < 300);
        QVERIFY(QJsonDocument(m_entries).toJson().size() < 1000);
        QCOMPARE(restore(1, QStringLiteral("before")), QStringLiteral("before"));
        store("/scene.gltf", "scene");
        QCOMPARE(m_document->lastError(), QString());
        QCOMPARE(restore(2), restore(0));
    }

    void shortDataUriIsAFileThatIsNotThere()
    {
        writeFile(m_source + "/scene.gltf", "model");
        store("/scene.gltf", "scene");
        store("/data:application/octet-stream;base64,AAAA", "scene");
        QCOMPARE(m_entries.last().toObject().value("stored"), QJsonValue(false));
        QVERIFY(!QFile::exists(restore(1)));
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

    void namesWithBlanksPercentSignsAndOtherScriptsWork()
    {
        const QString name = QStringLiteral("/Stuhl 50% Ü 椅子.glb");
        writeFile(m_source + name, "m");
        store(name, QStringLiteral("Stuhl 50% Ü 椅子"));
        QCOMPARE(contentOf(restore(0)), QByteArray("m"));
    }

    void directoryNameNeverLeadsOutOfTheDocument_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("parent") << "..";
        QTest::newRow("same") << ".";
        QTest::newRow("a path") << "../../../x";
        QTest::newRow("an absolute path") << "/tmp/x";
    }

    void directoryNameNeverLeadsOutOfTheDocument()
    {
        QFETCH(QString, name);
        writeFile(m_source + "/a.stl", "a");
        store("/a.stl", name);
        const QString path = restore(0);
        QVERIFY(path.startsWith(m_document->root() + "/resources/1/"));
        QVERIFY(!path.contains(QLatin1String("/../")));
        QCOMPARE(contentOf(path), QByteArray("a"));
    }

    void hostileEntryLeavesThePathAlone_data()
    {
        QTest::addColumn<QJsonValue>("entry");
        const auto row = [](const char* name, const char* group, const char* directory, const char* file) {
            QTest::newRow(name) << QJsonValue(QJsonObject{{"group", group}, {"directory", directory}, {"file", file}});
        };
        QTest::newRow("no object") << QJsonValue(5);
        QTest::newRow("an empty object") << QJsonValue(QJsonObject());
        row("a file that climbs out", "1", "a", "../../../../secret");
        row("a file that climbs into another save", "1", "a", "../../2/a/x");
        row("a directory that climbs out", "1", "..", "x");
        row("a directory path", "1", "a/../..", "x");
        row("a group that climbs out", "..", "a", "x");
        row("no group", "", "a", "x");
        row("the folder itself", "1", "a", ".");
    }

    void hostileEntryLeavesThePathAlone()
    {
        QFETCH(QJsonValue, entry);
        m_entries = QJsonArray{entry};
        QCOMPARE(restore(0, QStringLiteral("before")), QStringLiteral("before"));
        QVERIFY(!m_document->lastError().isEmpty());
    }

    void linkThatLeadsOutIsRefused()
    {
        writeFile(m_source + "/a.stl", "a");
        writeFile(m_folder->path() + "/secret", "s");
        store("/a.stl", "a");
        const QString path = restore(0);
        QVERIFY(QFile::remove(path));
        QVERIFY(QFile::link(m_folder->path() + "/secret", path));
        QCOMPARE(restore(0, QStringLiteral("before")), QStringLiteral("before"));
    }

    void noEntriesLeaveThePathAlone()
    {
        QString path = QStringLiteral("before");
        QString directory;
        m_document->transferResourceFile(m_entries, path, QStringLiteral("3D_OBJECT_KEY"), false, directory);
        QCOMPARE(path, QStringLiteral("before"));
    }

    void documentThatCannotBeWrittenStillAnswersEntries()
    {
        writeFile(m_folder->path() + "/plainfile", "x");
        COvDocument document(m_folder->path() + "/plainfile/document");
        writeFile(m_source + "/a.stl", "a");
        QString path = m_source + "/a.stl";
        QString directory = QStringLiteral("a");
        document.transferResourceFile(m_entries, path, QStringLiteral("3D_OBJECT_KEY"), true, directory);
        QCOMPARE(m_entries.size(), 1);
        QVERIFY(document.lastError().contains("a.stl"));
    }

    void pagesReleaseTheirItemsAndKnowTheirDocument()
    {
        COvPage* page = m_document->addPage(QSizeF(800.0, 600.0));
        QCOMPARE(m_document->pageCount(), 1);
        QCOMPARE(m_document->page(0), page);
        QVERIFY(!m_document->page(1));
        QVERIFY(!m_document->page(-1));
        QCOMPARE(page->getDocument(), static_cast<IOvDocument*>(m_document.get()));
        QCOMPARE(page->scene()->sceneRect(), QRectF(0.0, 0.0, 800.0, 600.0));

        bool destroyed = false;
        auto* item = new TestItem;
        item->m_destroyed = &destroyed;
        page->addObject(item);
        QCOMPARE(item->GetPage(), static_cast<IOvPage*>(page));
        QCOMPARE(page->objects(), QList<COVRootObject*>{item});
        m_document->removePage(0);
        QVERIFY(destroyed);
        QCOMPARE(m_document->pageCount(), 0);
        m_document->removePage(0);
    }

private:
    void store(const QString& name, const QString& directory) { storePath(m_source + name, directory); }

    void storePath(QString path, QString directory)
    {
        m_document->transferResourceFile(m_entries, path, QStringLiteral("3D_OBJECT_KEY"), true, directory);
    }

    QString restore(int index, QString path = QString())
    {
        QJsonArray rest;
        for (int i = index; i < m_entries.size(); ++i)
            rest.append(m_entries.at(i));
        QString directory;
        m_document->transferResourceFile(rest, path, QStringLiteral("3D_OBJECT_KEY"), false, directory);
        return path;
    }

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_source;
    std::unique_ptr<COvDocument> m_document;
    QJsonArray m_entries;
};

OV3D_TEST_MAIN(DocumentTest)
#include "document_test.moc"
