#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/handshake.h"
#include "tests/support/testmain.h"
#include "tests/unit/persist/parametertestbase.h"

#include <QJsonObject>

#include <limits>

/// Which properties an item answers or takes, and when; and what its record says.
class ParameterReadTest : public ParameterTestBase
{
    Q_OBJECT

private Q_SLOTS:
    // Numbers and readiness

    void progressIsAnsweredBeforeTheViewerIsReady_data()
    {
        QTest::addColumn<int>("progress");
        QTest::newRow("none") << 0;
        QTest::newRow("some") << 42;
        QTest::newRow("ended") << 100;
        QTest::newRow("negative") << -5;
    }

    void progressIsAnsweredBeforeTheViewerIsReady()
    {
        QFETCH(int, progress);
        storeRelease(g_progress, progress);
        for (const bool ready : {false, true}) {
            if (ready)
                ItemFixture::makeReady(m_item);
            QByteArray bytes;
            QDataStream out(&bytes, QIODevice::WriteOnly);
            QVERIFY(m_item->GetSpecialProperty(kProgress, out));
            QCOMPARE(bytes.size(), 4);
            qint32 number = 0;
            QDataStream stream(bytes);
            stream >> number;
            QCOMPARE(number, progress);
        }
    }

    void nothingElseIsAnsweredBeforeTheViewerIsReady_data() { addOtherIds(); }
    void nothingElseIsAnsweredBeforeTheViewerIsReady()
    {
        QFETCH(int, id);
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        QVERIFY(!m_item->GetSpecialProperty(id, out));
        QVERIFY(bytes.isEmpty());
    }

    void nothingIsTakenBeforeTheViewerIsReady_data()
    {
        addOtherIds();
        QTest::newRow("the progress") << kProgress;
    }
    void nothingIsTakenBeforeTheViewerIsReady()
    {
        QFETCH(int, id);
        const QByteArray bytes = streamOfText(CEffectLayerParams::toJson(unusualRecord()));
        QDataStream in(bytes);
        QVERIFY(!m_item->SetSpecialProperty(id, in, true));
        QCOMPARE(in.device()->pos(), qint64(0));
        QCOMPARE(SettingsBlocks::ofItem(*m_item).lines(), SettingsBlocks().lines());
        QVERIFY(!m_item->m_paramsApplied);
        QVERIFY(m_fixture->logEntries().isEmpty());
    }

    void unknownNumbersAreAnsweredWithoutData()
    {
        ItemFixture::makeReady(m_item);
        for (const int id : {0, -1, 100, 102, 103, 105, 4711}) {
            QByteArray bytes;
            QDataStream out(&bytes, QIODevice::WriteOnly);
            QVERIFY(m_item->GetSpecialProperty(id, out));
            QVERIFY(bytes.isEmpty());
        }
        QCOMPARE(m_fixture->viewer.callCount(), 0);
        QVERIFY(m_fixture->logEntries().isEmpty());
    }

    void unknownNumbersAreForwardedAndNotTaken()
    {
        ItemFixture::makeReady(m_item);
        const QByteArray bytes = streamOfText(CEffectLayerParams::toJson(unusualRecord()));
        for (const int id : {0, -1, 100, 102, 103, kProgress, 4711}) {
            QDataStream in(bytes);
            QVERIFY(!m_item->SetSpecialProperty(id, in, false));
            QCOMPARE(in.device()->pos(), qint64(0));
        }
        QCOMPARE(m_fixture->logEntries(), QStringList{QStringLiteral("load from change3DState\n")});
        QCOMPARE(m_fixture->viewer.callCount(), 0);
        QCOMPARE(SettingsBlocks::ofItem(*m_item).lines(), SettingsBlocks().lines());
    }

    // Reading

    void recordIsOneText()
    {
        ItemFixture::makeReady(m_item);
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        QVERIFY(m_item->GetSpecialProperty(kParams, out));
        QCOMPARE(bytes, streamOfText(CEffectLayerParams::toJson(m_item->m_params)));
    }

    void recordReportsEveryLiveField()
    {
        ItemFixture::makeReady(m_item);
        setLive(unusualSettings());
        QCOMPARE(read(), jsonOf(unusualRecord()));
    }

    void recordIsFilledFromTheLiveBlocksAndNotTheItems()
    {
        ItemFixture::makeReady(m_item);
        const SettingsBlocks unusual = unusualSettings();
        unusual.putInto(*m_item);
        const QJsonObject record = read();
        QCOMPARE(record.value("view_type").toInt(-1), 0);
        QCOMPARE(record.value("point_size").toInt(), 3);
        QCOMPARE(record.value("ibl_intensity").toInt(), 46000);
        QCOMPARE(record.value("hdr_map").toBool(), true);
        QCOMPARE(record.value("camera_id").toInt(-1), 0);
    }

    void readingChangesNoBlock()
    {
        ItemFixture::makeReady(m_item);
        setLive(unusualSettings());
        read();
        QCOMPARE(SettingsBlocks::ofContext(*m_item).lines(), unusualSettings().lines());
        QCOMPARE(SettingsBlocks::ofItem(*m_item).lines(), SettingsBlocks().lines());
        QCOMPARE(m_fixture->viewer.callCount(), 0);
        QVERIFY(!m_item->m_paramsApplied);
    }

    void intensitiesAreTruncatedTowardZero_data()
    {
        QTest::addColumn<double>("intensity");
        QTest::addColumn<int>("reported");
        QTest::newRow("a fraction") << 46000.7 << 46000;
        QTest::newRow("a negative fraction") << -2.9 << -2;
        QTest::newRow("below one") << 0.99 << 0;
        QTest::newRow("too large") << 1e12 << std::numeric_limits<int>::max();
        QTest::newRow("too small") << -1e12 << std::numeric_limits<int>::min();
        QTest::newRow("no number") << std::numeric_limits<double>::quiet_NaN() << 0;
    }

    void intensitiesAreTruncatedTowardZero()
    {
        QFETCH(double, intensity);
        QFETCH(int, reported);
        ItemFixture::makeReady(m_item);
        LightingSettings& live = *m_item->m_context.lighting_settings;
        live.ibl_intensity = live.sun_intensity = intensity;
        const QJsonObject record = read();
        QCOMPARE(record.value("ibl_intensity").toInt(), reported);
        QCOMPARE(record.value("sun_intensity").toInt(), reported);
        QVERIFY(write(record));
        QCOMPARE(live.ibl_intensity, double(reported));
        QCOMPARE(m_item->m_lightingSettings.sun_intensity, double(reported));
    }

    void readingNotesTheViewTypeWithoutTouchingTheHistory()
    {
        ItemFixture::makeReady(m_item);
        m_item->m_context.view_settings->view_type = 5;
        read();
        QCOMPARE(m_item->m_reportedViewType, 5);
        QCOMPARE(m_item->m_lastViewType, 0);
        m_item->m_context.op = kOperationRedraw;
        m_item->update_view(&m_item->m_context);
        QCOMPARE(m_item->m_viewQueue.size(), 1);
        QCOMPARE(m_item->m_viewQueue.last().frame_height, -5);
    }

private:
    static void addOtherIds()
    {
        QTest::addColumn<int>("id");
        QTest::newRow("the parameters") << kParams;
        QTest::newRow("the load state") << 102;
        QTest::newRow("unknown") << 4711;
        QTest::newRow("negative") << -1;
    }
};

OV3D_TEST_MAIN(ParameterReadTest)
#include "parameterread_test.moc"
