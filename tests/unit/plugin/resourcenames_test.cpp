#include "src/import/modelloading.h"
#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"

#include <QTest>

/// The directory names that models get in a document, and the buffer file of a glTF model.
class ResourceNamesTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void repeatedDirectoryNamesGetTheProcessWideCounter()
    {
        COv3DObject* item = m_fixture->createItem();
        QCOMPARE(item->getDirName(QStringLiteral("chair")), QStringLiteral("chair"));
        QCOMPARE(item->getDirName(QStringLiteral("chair")), QStringLiteral("chair0"));
        QCOMPARE(item->getDirName(QStringLiteral("table")), QStringLiteral("table"));
        QCOMPARE(item->getDirName(QStringLiteral("table")), QStringLiteral("table1"));
        QCOMPARE(item->getDirName(QStringLiteral("chair")), QStringLiteral("chair2"));
        QCOMPARE(g_dirNum, 3);
    }

    void directoryNamesAreSharedByAllItems()
    {
        COv3DObject* first = m_fixture->createItem();
        COv3DObject* second = m_fixture->createItem();
        QCOMPARE(first->getDirName(QStringLiteral("chair")), QStringLiteral("chair"));
        QCOMPARE(second->getDirName(QStringLiteral("chair")), QStringLiteral("chair0"));
    }

    void directoryNamesStayTakenWhenTheirItemIsGone()
    {
        COv3DObject* first = m_fixture->createItem();
        QCOMPARE(first->getDirName(QStringLiteral("chair")), QStringLiteral("chair"));
        m_fixture->release(first);
        QCOMPARE(m_fixture->createItem()->getDirName(QStringLiteral("chair")), QStringLiteral("chair0"));
    }

    void itemKeepsTheDirectoryNameThatItHas()
    {
        COv3DObject* item = m_fixture->createItem();
        item->m_dirName = QStringLiteral("mine");
        QCOMPARE(item->getDirName(QStringLiteral("other")), QStringLiteral("mine"));
        QVERIFY(g_dir_map.isEmpty());
        QCOMPARE(g_dirNum, 0);
    }

    void askingForADirectoryNameDoesNotStoreIt()
    {
        COv3DObject* item = m_fixture->createItem();
        item->getDirName(QStringLiteral("chair"));
        QVERIFY(item->m_dirName.isEmpty());
    }

    void onlyUnchangedNamesAreRecordedEachWithTheValueOne()
    {
        COv3DObject* item = m_fixture->createItem();
        item->getDirName(QStringLiteral("chair"));
        item->getDirName(QStringLiteral("chair"));
        item->getDirName(QStringLiteral("table"));
        QCOMPARE(g_dir_map, (QMap<QString, int>{{QStringLiteral("chair"), 1}, {QStringLiteral("table"), 1}}));
    }

    void numberedNameMayCollideWithAModelOfThatName()
    {
        COv3DObject* item = m_fixture->createItem();
        item->getDirName(QStringLiteral("chair"));
        QCOMPARE(item->getDirName(QStringLiteral("chair")), QStringLiteral("chair0"));
        QCOMPARE(item->getDirName(QStringLiteral("chair0")), QStringLiteral("chair0"));
    }

    void directoryNamesAreCaseSensitive()
    {
        COv3DObject* item = m_fixture->createItem();
        QCOMPARE(item->getDirName(QStringLiteral("Chair")), QStringLiteral("Chair"));
        QCOMPARE(item->getDirName(QStringLiteral("chair")), QStringLiteral("chair"));
    }

    void hostMayContinueTheNumbering()
    {
        COv3DObject* item = m_fixture->createItem();
        g_dir_map.insert(QStringLiteral("chair"), 1);
        g_dirNum = 41;
        QCOMPARE(item->getDirName(QStringLiteral("chair")), QStringLiteral("chair41"));
        QCOMPARE(g_dirNum, 42);
    }

    void emptyDirectoryNameIsANameLikeOthers()
    {
        COv3DObject* item = m_fixture->createItem();
        QCOMPARE(item->getDirName(QString()), QString());
        QCOMPARE(item->getDirName(QString()), QStringLiteral("0"));
    }

    void bufferFileIsTheFirstBuffersUri_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::addColumn<QString>("uri");
        QTest::newRow("one buffer") << QByteArray(R"({"buffers":[{"uri":"model.bin"}]})") << "model.bin";
        QTest::newRow("the first of two") << QByteArray(R"({"buffers":[{"uri":"a.bin"},{"uri":"b.bin"}]})") << "a.bin";
        QTest::newRow("percent signs and folders as they stand")
            << QByteArray(R"({"buffers":[{"uri":"./sub%20folder/../a b.bin"}]})") << "./sub%20folder/../a b.bin";
        QTest::newRow("a data URI as it is")
            << QByteArray(R"({"buffers":[{"uri":"data:application/octet-stream;base64,AAAA"}]})")
            << "data:application/octet-stream;base64,AAAA";
        QTest::newRow("no glTF is needed around it") << QByteArray(R"({"buffers":[{"uri":"x"}],"asset":1})") << "x";
        QTest::newRow("no buffers") << QByteArray(R"({"asset":{"version":"2.0"}})") << "";
        QTest::newRow("an empty list of buffers") << QByteArray(R"({"buffers":[]})") << "";
        QTest::newRow("no uri") << QByteArray(R"({"buffers":[{"byteLength":4}]})") << "";
        QTest::newRow("only the second has a uri")
            << QByteArray(R"({"buffers":[{"byteLength":4},{"uri":"b.bin"}]})") << "";
        QTest::newRow("the first buffer is no object") << QByteArray(R"({"buffers":["a.bin",{"uri":"b"}]})") << "";
        QTest::newRow("buffers is an object") << QByteArray(R"({"buffers":{"uri":"a.bin"}})") << "";
        QTest::newRow("the uri is a number") << QByteArray(R"({"buffers":[{"uri":5}]})") << "";
        QTest::newRow("an empty object") << QByteArray("{}") << "";
    }

    void bufferFileIsTheFirstBuffersUri()
    {
        QFETCH(QByteArray, content);
        QTEST(getBinFileName(m_fixture->writeFile(QStringLiteral("model.gltf"), content)), "uri");
        QVERIFY(messages().isEmpty());
    }

    void unreadableGltfFileIsWarnedAboutByItsQuotedPath()
    {
        const QString path = m_fixture->folder() + QStringLiteral("no such.gltf");
        const QString warning = QStringLiteral("Unable to open the GLTF file: \"%1\"").arg(path);
        expectMessage(warning);
        QVERIFY(getBinFileName(path).isEmpty());
        QCOMPARE(messages(), QStringList{warning});
    }

    void gltfFileThatIsNoObjectIsWarnedAbout_data()
    {
        QTest::addColumn<QByteArray>("content");
        QTest::newRow("a list") << QByteArray(R"([{"buffers":[{"uri":"a.bin"}]}])");
        QTest::newRow("cut off") << QByteArray(R"({"buffers":[{"uri":"a.bin"})");
        QTest::newRow("empty") << QByteArray();
        QTest::newRow("binary") << QByteArray("glTF\x02\0\0\0", 8);
    }

    void gltfFileThatIsNoObjectIsWarnedAbout()
    {
        QFETCH(QByteArray, content);
        const QString warning = QStringLiteral("Invalid JSON format in the GLTF file.");
        expectMessage(warning);
        QVERIFY(getBinFileName(m_fixture->writeFile(QStringLiteral("model.gltf"), content)).isEmpty());
        QCOMPARE(messages(), QStringList{warning});
    }
};

OV3D_TEST_MAIN(ResourceNamesTest)
#include "resourcenames_test.moc"
