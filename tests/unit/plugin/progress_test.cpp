#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/handshake.h"
#include "src/render/progress.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"

#include <QDataStream>
#include <QTest>

#include <limits>

class ProgressTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void reportsAreStoredAndLoggedCappedAt95_data()
    {
        QTest::addColumn<int>("reported");
        QTest::addColumn<int>("stored");
        QTest::newRow("zero") << 0 << 0;
        QTest::newRow("in between") << 42 << 42;
        QTest::newRow("the cap itself") << 95 << 95;
        QTest::newRow("just above the cap") << 96 << 95;
        QTest::newRow("a hundred") << 100 << 95;
        QTest::newRow("the largest number") << std::numeric_limits<int>::max() << 95;
        QTest::newRow("negative numbers stay") << -5 << -5;
        QTest::newRow("the smallest number") << std::numeric_limits<int>::min() << std::numeric_limits<int>::min();
    }

    void reportsAreStoredAndLoggedCappedAt95()
    {
        QFETCH(int, reported);
        QFETCH(int, stored);
        QVERIFY(::updateProcess(reported));
        QCOMPARE(g_progress, stored);
        QCOMPARE(m_fixture->logEntries(), QStringList{QStringLiteral("ov3dobject update process %1\n").arg(stored)});
    }

    void progressMayFall()
    {
        ::updateProcess(80);
        ::updateProcess(20);
        QCOMPARE(g_progress, 20);
    }

    void membersReportIsLoggedUncappedAndNotStored_data()
    {
        QTest::addColumn<int>("reported");
        QTest::newRow("above the cap") << 250;
        QTest::newRow("a hundred") << 100;
        QTest::newRow("negative") << -5;
    }

    void membersReportIsLoggedUncappedAndNotStored()
    {
        QFETCH(int, reported);
        COv3DObject* item = m_fixture->createItem();
        g_progress = 33;
        QVERIFY(item->updateProcess(reported));
        QCOMPARE(g_progress, 33);
        QCOMPARE(m_fixture->logEntries(), QStringList{QStringLiteral("ov3dobject update process %1\n").arg(reported)});
    }

    void onlyState102IsLogged_data()
    {
        QTest::addColumn<int>("state");
        QTest::addColumn<QStringList>("entries");
        QTest::newRow("101") << 101 << QStringList();
        QTest::newRow("102") << 102 << QStringList{QStringLiteral("load from change3DState\n")};
        QTest::newRow("103") << 103 << QStringList();
        QTest::newRow("0") << 0 << QStringList();
    }

    void onlyState102IsLogged()
    {
        QFETCH(int, state);
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(item->change3DState(state));
        QTEST(m_fixture->logEntries(), "entries");
    }

    void propertyIdsOtherThan101AnnounceAStateOnceTheViewerIsReady()
    {
        COv3DObject* item = m_fixture->createItem();
        QByteArray bytes;
        QDataStream stream(&bytes, QIODevice::ReadOnly);
        item->SetSpecialProperty(102, stream, false);
        QVERIFY(m_fixture->logEntries().isEmpty());
        ItemFixture::makeReady(item);
        item->SetSpecialProperty(102, stream, false);
        item->SetSpecialProperty(103, stream, false);
        QCOMPARE(m_fixture->logEntries(), QStringList{QStringLiteral("load from change3DState\n")});
    }

    void constructionOfAnyItemResetsTheProgress()
    {
        ::updateProcess(60);
        m_fixture->createItem();
        QCOMPARE(g_progress, 0);
    }

    void property104ReadsTheProgressBeforeTheViewerIsReady()
    {
        COv3DObject* item = m_fixture->createItem();
        ::updateProcess(60);
        QCOMPARE(property104(*item), 60);
    }

    void property104Reads100AfterARefusedFile()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(!item->loadFromFile(QStringLiteral("/no/such/model.txt")));
        QCOMPARE(property104(*item), 100);
    }

    void viewersReportsOfALoadAreCappedAndTheLoadEndsAt100()
    {
        ScriptedViewer::Script script;
        script.progress = {-1, 10, 95, 100, 5000};
        m_fixture->viewer.setScript(script);
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        QCOMPARE(g_progress, 100);
        const QString prefix = QStringLiteral("ov3dobject update process ");
        QCOMPARE(m_fixture->logEntries().filter(prefix),
                 (QStringList{prefix + QStringLiteral("-1\n"), prefix + QStringLiteral("10\n"),
                              prefix + QStringLiteral("95\n"), prefix + QStringLiteral("95\n"),
                              prefix + QStringLiteral("95\n")}));
    }

    void reportAfterTheLoadOverwritesThe100()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        item->m_context.progress_callback(100);
        QCOMPARE(g_progress, 95);
    }

    void progressOfOneLoadIsResetByTheConstructionOfAnotherItem()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        m_fixture->createItem();
        QCOMPARE(property104(*item), 0);
    }

private:
    static int property104(COv3DObject& item)
    {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        if (!item.GetSpecialProperty(104, out) || bytes.size() != 4)
            return std::numeric_limits<int>::min();
        QDataStream in(bytes);
        qint32 value = 0;
        in >> value;
        return value;
    }
};

OV3D_TEST_MAIN(ProgressTest)
#include "progress_test.moc"
