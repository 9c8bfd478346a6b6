#include "tests/support/testmain.h"
#include "tests/unit/host/documenttestbase.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

/// Paths, names and entries that no well-behaved caller hands over.
class DocumentInputTest : public DocumentTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void folderIsNoFileAndRestoresToNothing()
    {
        writeFile(m_source + "/scene.gltf/scene.gltf", "m");
        store("/scene.gltf/", "scene.gltf");
        QCOMPARE(m_entries.size(), 1);
        QCOMPARE(restore(0, QStringLiteral("before")), QStringLiteral("before"));
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
};

OV3D_TEST_MAIN(DocumentInputTest)
#include "documentinput_test.moc"
