#include "src/render/drawbyopengl.h"
#include "src/render/handshake.h"
#include "tests/support/testmain.h"
#include "tests/unit/persist/parametertestbase.h"

#include <QJsonArray>
#include <QJsonObject>

#include <algorithm>

/// What a record that the host sets does to the settings of an item whose viewer is ready.
class ParameterWriteTest : public ParameterTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        ParameterTestBase::init();
        ItemFixture::makeReady(m_item);
    }

    void everyFieldOfTheRecordIsApplied()
    {
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
        QVERIFY(write(jsonOf(unusualRecord())));
        CEL3DObjectParams expected = unusualRecord();
        expected.hdr_path.clear();
        std::fill_n(expected.camera_values + 3, 3, 0.0);
        QCOMPARE(read(), jsonOf(expected));
    }

    void colourComponentsAreNarrowed()
    {
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
        m_item->m_context.camera_settings->camera_values[0] = 12.0;
        m_item->m_cameraSettings.camera_values[0] = 13.0;
        QVERIFY(write(jsonOf(CEL3DObjectParams())));
        QCOMPARE(m_item->m_cameraSettings.camera_values[0], 12.0);
    }

    void environmentPathAlwaysEndsEmpty()
    {
        m_item->m_context.lighting_settings->hdr_path = "old.hdr";
        m_item->m_lightingSettings.hdr_path = "own.hdr";
        QVERIFY(write(jsonOf(unusualRecord())));
        QVERIFY(m_item->m_context.lighting_settings->hdr_path.empty());
        QVERIFY(m_item->m_lightingSettings.hdr_path.empty());
        QCOMPARE(m_item->m_params.hdr_path, std::string("sky.hdr"));
    }

    void rawModeTurnsTheEnvironmentMapOff()
    {
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
        m_item->m_params.view_type = 6;
        QDataStream in(streamOfText(text));
        QVERIFY(m_item->SetSpecialProperty(kParams, in, false));
        QCOMPARE(m_item->m_viewSettings.view_type, 6);
        QCOMPARE(m_fixture->viewer.callCount(), 1);
    }

    void emptyStreamAppliesTheRecordAsItStands()
    {
        m_item->m_params.view_type = 6;
        QDataStream in((QByteArray()));
        QVERIFY(m_item->SetSpecialProperty(kParams, in, false));
        QCOMPARE(m_item->m_viewSettings.view_type, 6);
    }

    void lockedItemTakesSettingsWithoutTellingTheViewer()
    {
        m_item->setLocked(true);
        QVERIFY(write(jsonOf(unusualRecord())));
        m_item->setLocked(false);
        QCOMPARE(m_item->m_viewSettings.view_type, 21);
        QCOMPARE(m_fixture->viewer.callCount(), 0);
    }

    void settingsThatWereSetAreSaved()
    {
        QVERIFY(write(jsonOf(unusualRecord())));
        QVERIFY(m_item->buildViewCommand().contains(QStringLiteral("\"view_type\":21,")));
        QVERIFY(m_item->buildViewCommand().contains(QStringLiteral("\"hdr_map\":0,")));
    }

    void settingsReachARealRun()
    {
        m_item = m_fixture->createItem(); // not made ready: the run does that
        QVERIFY(m_fixture->load(m_item));
        QVERIFY(waitFor([&] { return loadAcquire(m_item->m_viewerReady) != 0; }));
        // A moving run adds requests of its own until its first frame has been taken.
        QVERIFY(write(jsonOf(unusualRecord())));
        QCOMPARE(m_fixture->viewer.lastCall().view.view_type, 21);
        QCOMPARE(m_item->m_drawThread->m_materialSettings.point_size, 25);
    }
};

OV3D_TEST_MAIN(ParameterWriteTest)
#include "parameterwrite_test.moc"
