#include "tests/support/testmain.h"
#include "tests/unit/host/documenttestbase.h"

#include <QFile>
#include <QJsonArray>
#include <QTest>

/// Files from outside: the copies that a document makes of them, and how names stay apart.
class DocumentStoringTest : public DocumentTestBase
{
    Q_OBJECT

private Q_SLOTS:
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

    void readOnlyOriginalMakesAWritableCopy()
    {
        writeFile(m_source + "/a.stl", "a");
        QVERIFY(QFile::setPermissions(m_source + "/a.stl", QFile::ReadOwner));
        store("/a.stl", "a");
        QVERIFY(QFile::permissions(restore(0)) & QFile::WriteOwner);
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

    void namesWithBlanksPercentSignsAndOtherScriptsWork()
    {
        const QString name = QStringLiteral("/Stuhl 50% Ü 椅子.glb");
        writeFile(m_source + name, "m");
        store(name, QStringLiteral("Stuhl 50% Ü 椅子"));
        QCOMPARE(contentOf(restore(0)), QByteArray("m"));
    }
};

OV3D_TEST_MAIN(DocumentStoringTest)
#include "documentstoring_test.moc"
