#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "src/render/handshake.h"
#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/persist/propertystream.h"
#include "tests/unit/persist/settingsblocks.h"

#include <QDataStream>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <limits>
#include <optional>

namespace {

constexpr int kParams = 101;
constexpr int kProgress = 104;

template <typename T, typename Value> void assign(T (&values)[3], Value first, Value second, Value third)
{
    values[0] = static_cast<T>(first);
    values[1] = static_cast<T>(second);
    values[2] = static_cast<T>(third);
}

/// A record that says the same as unusualSettings().
CEL3DObjectParams unusualRecord()
{
    CEL3DObjectParams record;
    record.reset_camera = true;
    record.view_type = 21;
    record.enable_sky = record.enable_axis = record.enable_ground = true;
    assign(record.bg_color, 0.5, 0.25, 0.125);
    record.light_profile = 22;
    record.material_type_a = 23;
    record.material_type_b = 24;
    assign(record.material_color, 0.75, 0.375, 0.0625);
    record.material_update = true;
    record.point_size = 25;
    record.raw_mode = record.wireframe = true;
    record.hdr_map = false;
    record.hdr_map_type = 26;
    record.sun_follow = false;
    record.hdr_path = "sky.hdr";
    record.ibl_intensity = 27;
    record.sun_intensity = 28;
    assign(record.sun_dir, 1.5, 2.5, 3.5);
    assign(record.sun_color, 4.5, 5.5, 6.5);
    record.ibl_enabled = record.use_default_ibl = record.sun_enabled = false;
    record.camera_id = 29;
    const double cameraValues[] = {31.5, 32.5, 33.5, 34.5, 35.5, 36.5};
    std::copy(std::begin(cameraValues), std::end(cameraValues), record.camera_values);
    return record;
}

QJsonObject jsonOf(const CEL3DObjectParams& record)
{
    return QJsonDocument::fromJson(CEffectLayerParams::toJson(record).toUtf8()).object();
}

} // namespace

class ParameterRecordTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_fixture.emplace();
        m_item = m_fixture->createItem();
    }

    void cleanup()
    {
        m_fixture.reset();
        TestBase::cleanup();
    }

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
        m_item->m_viewSettings = unusual.view;
        m_item->m_displaySettings = unusual.display;
        m_item->m_materialSettings = unusual.material;
        m_item->m_lightingSettings = unusual.lighting;
        m_item->m_cameraSettings = unusual.camera;
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

    // Settings mode

    void everyFieldOfTheRecordIsApplied()
    {
        ItemFixture::makeReady(m_item);
        SettingsBlocks expected = unusualSettings();
        expected.lighting.hdr_path.clear();
        expected.camera.camera_values[0] = CameraSettings().camera_values[0];
        std::copy_n(CameraSettings().camera_position, 3, expected.camera.camera_position);
        QVERIFY(write(jsonOf(unusualRecord())));
        QCOMPARE(SettingsBlocks::ofContext(*m_item).lines(), expected.lines());
        QCOMPARE(SettingsBlocks::ofItem(*m_item).lines(), expected.lines());
    }

    void eachFieldGoesIntoItsOwnSetting_data()
    {
        QTest::addColumn<QString>("key");
        const QStringList keys = jsonOf(CEL3DObjectParams()).keys();
        for (const QString& key : keys) {
            if (key != QLatin1String("id") && !key.startsWith(QLatin1String("command")))
                QTest::newRow(qPrintable(key)) << key;
        }
    }

    void eachFieldGoesIntoItsOwnSetting()
    {
        QFETCH(QString, key);
        ItemFixture::makeReady(m_item);
        const QStringList before = SettingsBlocks::ofContext(*m_item).lines();
        QJsonObject record = jsonOf(CEL3DObjectParams());
        record[key] = jsonOf(unusualRecord()).value(key);
        QVERIFY(write(record));

        QStringList expected;
        const QStringList unusual = unusualSettings().lines();
        for (const QString& line : unusual) {
            if (line.startsWith(key + QLatin1Char('=')))
                expected << line;
        }
        if (key == QLatin1String("hdr_path"))
            expected.clear();
        if (key == QLatin1String("camera_values"))
            expected = QStringList{QStringLiteral("camera_values=0 31.5 32.5 33.5")};
        if (key == QLatin1String("raw_mode"))
            expected << QStringLiteral("hdr_map=0");
        QCOMPARE(changedLines(before, SettingsBlocks::ofContext(*m_item).lines()), expected);
        QCOMPARE(changedLines(before, SettingsBlocks::ofItem(*m_item).lines()), expected);
    }

    void recordComesBackAsItWasSet()
    {
        ItemFixture::makeReady(m_item);
        QVERIFY(write(jsonOf(unusualRecord())));
        CEL3DObjectParams expected = unusualRecord();
        expected.hdr_path.clear();
        std::fill_n(expected.camera_values + 3, 3, 0.0);
        QCOMPARE(read(), jsonOf(expected));
    }

    void colourComponentsAreNarrowed()
    {
        ItemFixture::makeReady(m_item);
        QJsonObject record = jsonOf(CEL3DObjectParams());
        record["material_color"] = QJsonArray{0.1, 0.2, 0.3};
        record["sun_dir"] = QJsonArray{0.1, 0.2, 0.3};
        QVERIFY(write(record));
        QVERIFY(m_item->m_materialSettings.material_color[0] == 0.1f);
        QVERIFY(m_item->m_lightingSettings.sun_dir[2] == 0.3f);
        QCOMPARE(read().value("sun_dir").toArray().at(0).toDouble(), double(0.1f));
    }

    void positionIsReportedAndNeverTaken()
    {
        ItemFixture::makeReady(m_item);
        assign(m_item->m_context.camera_settings->camera_position, 1.0, 2.0, 3.0);
        QCOMPARE(read().value("camera_values").toArray(), (QJsonArray{90, 90, -180, 1, 2, 3}));
        QVERIFY(write(jsonOf(unusualRecord())));
        const double* live = m_item->m_context.camera_settings->camera_position;
        QVERIFY(live[0] == 1.0 && live[1] == 2.0 && live[2] == 3.0);
        const double* own = m_item->m_cameraSettings.camera_position;
        QVERIFY(own[0] == 1.0 && own[1] == 2.0 && own[2] == 3.0);
    }

    void wholeLiveCameraBlockBecomesTheItems()
    {
        ItemFixture::makeReady(m_item);
        m_item->m_context.camera_settings->camera_values[0] = 12.0;
        m_item->m_cameraSettings.camera_values[0] = 13.0;
        QVERIFY(write(jsonOf(CEL3DObjectParams())));
        QCOMPARE(m_item->m_cameraSettings.camera_values[0], 12.0);
    }

    void environmentPathAlwaysEndsEmpty()
    {
        ItemFixture::makeReady(m_item);
        m_item->m_context.lighting_settings->hdr_path = "old.hdr";
        m_item->m_lightingSettings.hdr_path = "own.hdr";
        QVERIFY(write(jsonOf(unusualRecord())));
        QVERIFY(m_item->m_context.lighting_settings->hdr_path.empty());
        QVERIFY(m_item->m_lightingSettings.hdr_path.empty());
        QCOMPARE(m_item->m_params.hdr_path, std::string("sky.hdr"));
    }

    void rawModeTurnsTheEnvironmentMapOff()
    {
        ItemFixture::makeReady(m_item);
        QJsonObject record = jsonOf(CEL3DObjectParams());
        record["raw_mode"] = true;
        record["hdr_map"] = true;
        QVERIFY(write(record));
        QVERIFY(!m_item->m_context.lighting_settings->hdr_map);
        QVERIFY(!m_item->m_lightingSettings.hdr_map);
        QVERIFY(m_item->m_params.hdr_map);
        record["raw_mode"] = false;
        QVERIFY(write(record));
        QVERIFY(m_item->m_lightingSettings.hdr_map);
    }

    void viewerIsCalledOnceWithEverythingInPlace()
    {
        ItemFixture::makeReady(m_item);
        QStringList ownAtCall;
        bool wasApplied = false;
        m_fixture->viewer.setOnCall([&](ViewContext&) {
            ownAtCall = SettingsBlocks::ofItem(*m_item).lines();
            wasApplied = m_item->m_paramsApplied;
        });
        QVERIFY(write(jsonOf(unusualRecord())));
        m_fixture->viewer.setOnCall(nullptr);
        QCOMPARE(m_fixture->viewer.callCount(), 1);
        const ScriptedViewer::Call call = m_fixture->viewer.lastCall();
        QCOMPARE(call.argc, 0);
        QCOMPARE(call.context.op, std::int32_t(kOperationRedraw));
        QCOMPARE(call.contextAddress, static_cast<void*>(&m_item->m_context));
        QCOMPARE(call.view.view_type, 21);
        QVERIFY(!call.lighting.hdr_map);
        QVERIFY(wasApplied);
        QCOMPARE(ownAtCall, SettingsBlocks::ofItem(*m_item).lines());
    }

    void flagOfTheCallIsNotUsed()
    {
        ItemFixture::makeReady(m_item);
        for (const bool flag : {false, true}) {
            const QByteArray bytes = streamOfText(CEffectLayerParams::toJson(unusualRecord()));
            QDataStream in(bytes);
            QVERIFY(m_item->SetSpecialProperty(kParams, in, flag));
            QVERIFY(in.atEnd());
            QCOMPARE(m_item->m_viewSettings.view_type, 21);
            m_item->m_viewSettings.view_type = 0;
        }
    }

    void absentKeysKeepTheRecordsPreviousContent()
    {
        ItemFixture::makeReady(m_item);
        QVERIFY(write(jsonOf(unusualRecord())));
        m_item->m_context.view_settings->view_type = 77;
        QVERIFY(write(QJsonObject{{"point_size", 9}}));
        QCOMPARE(m_item->m_viewSettings.view_type, 21);
        QCOMPARE(m_item->m_materialSettings.point_size, 9);
    }

    void malformedTextAppliesTheRecordAsItStands_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << "";
        QTest::newRow("no JSON") << "{{{";
        QTest::newRow("an array") << "[1]";
        QTest::newRow("a record of another kind") << "{\"id\":\"other\",\"view_type\":3}";
    }

    void malformedTextAppliesTheRecordAsItStands()
    {
        QFETCH(QString, text);
        ItemFixture::makeReady(m_item);
        m_item->m_params.view_type = 6;
        QDataStream in(streamOfText(text));
        QVERIFY(m_item->SetSpecialProperty(kParams, in, false));
        QCOMPARE(m_item->m_viewSettings.view_type, 6);
        QCOMPARE(m_fixture->viewer.callCount(), 1);
    }

    void emptyStreamAppliesTheRecordAsItStands()
    {
        ItemFixture::makeReady(m_item);
        m_item->m_params.view_type = 6;
        QDataStream in((QByteArray()));
        QVERIFY(m_item->SetSpecialProperty(kParams, in, false));
        QCOMPARE(m_item->m_viewSettings.view_type, 6);
    }

    void lockedItemTakesSettingsWithoutTellingTheViewer()
    {
        ItemFixture::makeReady(m_item);
        m_item->setLocked(true);
        QVERIFY(write(jsonOf(unusualRecord())));
        m_item->setLocked(false);
        QCOMPARE(m_item->m_viewSettings.view_type, 21);
        QCOMPARE(m_fixture->viewer.callCount(), 0);
    }

    void settingsThatWereSetAreSaved()
    {
        ItemFixture::makeReady(m_item);
        QVERIFY(write(jsonOf(unusualRecord())));
        QVERIFY(m_item->buildViewCommand().contains(QStringLiteral("\"view_type\":21,")));
        QVERIFY(m_item->buildViewCommand().contains(QStringLiteral("\"hdr_map\":0,")));
    }

    void settingsReachARealRun()
    {
        QVERIFY(m_fixture->load(m_item));
        QVERIFY(waitFor([&] { return loadAcquire(m_item->m_viewerReady) != 0; }));
        // A moving run adds requests of its own until its first frame has been taken.
        QVERIFY(write(jsonOf(unusualRecord())));
        QCOMPARE(m_fixture->viewer.lastCall().view.view_type, 21);
        QCOMPARE(m_item->m_drawThread->m_materialSettings.point_size, 25);
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

    void setLive(const SettingsBlocks& blocks)
    {
        ViewContext& context = m_item->m_context;
        *context.view_settings = blocks.view;
        *context.display_settings = blocks.display;
        *context.material_settings = blocks.material;
        *context.lighting_settings = blocks.lighting;
        *context.camera_settings = blocks.camera;
    }

    QJsonObject read()
    {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        if (!m_item->GetSpecialProperty(kParams, out))
            return {};
        return QJsonDocument::fromJson(textOfStream(bytes).toUtf8()).object();
    }

    bool write(const QJsonObject& record)
    {
        QDataStream in(streamOfText(QString::fromUtf8(QJsonDocument(record).toJson())));
        return m_item->SetSpecialProperty(kParams, in, false);
    }

    std::optional<ItemFixture> m_fixture;
    COv3DObject* m_item = nullptr;
};

OV3D_TEST_MAIN(ParameterRecordTest)
#include "parameterrecord_test.moc"
