#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/host/testitem.h"

#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonArray>
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

    void restoredModelCanBeStoredAgain()
    {
        writeFile(m_source + "/chair.obj", "model");
        store("/chair.obj", "chair");
        QString path = restore(0);
        QString directory = QStringLiteral("chair");
        QJsonArray again;
        m_document->transferResourceFile(again, path, QStringLiteral("3D_OBJECT_KEY"), true, directory);
        m_entries = again;
        QCOMPARE(contentOf(restore(0)), QByteArray("model"));
        QCOMPARE(restore(0), m_document->root() + "/resources/2/chair/chair.obj");
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
    void store(const QString& name, QString directory)
    {
        QString path = m_source + name;
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
