#include "src/plugin/ov3dobject.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/itemtestbase.h"
#include "tests/support/testmain.h"

#include <QJsonDocument>
#include <QJsonObject>
#include <QLocale>
#include <QRegularExpression>
#include <QTest>

#include <limits>

namespace {

const QString kDefaultText = QStringLiteral(
    "{             \"reset_camera\":0,\"view_type\":0,\"enable_sky\":0,\"enable_axis\":0,\"enable_ground\":0,"
    "\"bg_color\":[0.2,0.99,0.1],\"enable_ground\":0,\"material_type_a\":0,\"material_type_b\":6,"
    "\"material_color\":[0.99,0.274,0.274],\"material_update\":0,\"raw_mode\":0,\"wireframe\":0,\"hdr_map\":1,"
    "\"hdr_map_type\":2,\"sun_follow\":1,\"ibl_intensity\":46000,\"sun_intensity\":140000,"
    "\"sun_dir\":[0.57,-0.57,-0.57],\"sun_color\":[1,1,1],\"ibl_enabled\":1,\"use_default_ibl\":1,"
    "\"sun_enabled\":1,\"camera_position\":[0,0,0],\"is_history\":0}");

const QString kOtherText = QStringLiteral(
    "{             \"reset_camera\":1,\"view_type\":-7,\"enable_sky\":1,\"enable_axis\":1,\"enable_ground\":1,"
    "\"bg_color\":[0.25,0.5,0.75],\"enable_ground\":1,\"material_type_a\":11,\"material_type_b\":12,"
    "\"material_color\":[0.125,0.0625,1],\"material_update\":1,\"raw_mode\":1,\"wireframe\":1,\"hdr_map\":0,"
    "\"hdr_map_type\":13,\"sun_follow\":0,\"ibl_intensity\":1.5,\"sun_intensity\":-2.5,"
    "\"sun_dir\":[1,2,3],\"sun_color\":[4,5,6],\"ibl_enabled\":0,\"use_default_ibl\":0,"
    "\"sun_enabled\":0,\"camera_position\":[7.5,-8.5,9.5],\"is_history\":1}");

template <typename T> void assign(T (&values)[3], T first, T second, T third)
{
    values[0] = first;
    values[1] = second;
    values[2] = third;
}

/// What stands behind the key, up to the next comma or the end.
QString valueOf(const QString& text, const QString& key)
{
    const QRegularExpression form(QStringLiteral("\"%1\":(\\[[^]]*\\]|[^,}]*)").arg(key));
    return form.match(text).captured(1);
}

} // namespace

class ViewCommandTest : public ItemTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void freshItemYieldsTheDefaultText() { QCOMPARE(m_fixture->createItem()->buildViewCommand(), kDefaultText); }

    void loadedItemWithDefaultsYieldsTheDefaultText()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        QCOMPARE(item->buildViewCommand(), kDefaultText);
    }

    void everySettingStandsBehindItsKey()
    {
        COv3DObject* item = m_fixture->createItem();
        item->m_viewSettings.reset_camera = true;
        item->m_viewSettings.view_type = -7;
        DisplaySettings& display = item->m_displaySettings;
        display.enable_sky = display.enable_axis = display.enable_ground = true;
        assign(display.bg_color, 0.25f, 0.5f, 0.75f);
        MaterialSettings& material = item->m_materialSettings;
        material.material_type_a = 11;
        material.material_type_b = 12;
        assign(material.material_color, 0.125f, 0.0625f, 1.0f);
        material.material_update = material.raw_mode = material.wireframe = true;
        LightingSettings& lighting = item->m_lightingSettings;
        lighting.hdr_map = lighting.sun_follow = false;
        lighting.hdr_map_type = 13;
        lighting.ibl_intensity = 1.5;
        lighting.sun_intensity = -2.5;
        assign(lighting.sun_dir, 1.0f, 2.0f, 3.0f);
        assign(lighting.sun_color, 4.0f, 5.0f, 6.0f);
        lighting.ibl_enabled = lighting.use_default_ibl = lighting.sun_enabled = false;
        assign(item->m_cameraSettings.camera_position, 7.5, -8.5, 9.5);
        item->m_context.is_history = 1;
        QCOMPARE(item->buildViewCommand(), kOtherText);
    }

    void oneFlagChangesItsOwnValueAlone_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<bool>("initially");
        for (const char* key :
             {"reset_camera", "enable_sky", "enable_axis", "material_update", "raw_mode", "wireframe"})
            QTest::newRow(key) << key << false;
        for (const char* key : {"hdr_map", "sun_follow", "ibl_enabled", "use_default_ibl", "sun_enabled"})
            QTest::newRow(key) << key << true;
    }

    void oneFlagChangesItsOwnValueAlone()
    {
        QFETCH(QString, key);
        QFETCH(bool, initially);
        COv3DObject* item = m_fixture->createItem();
        bool* flag = flagOf(*item, key);
        QVERIFY(flag);
        QCOMPARE(*flag, initially);
        *flag = !initially;
        QString expected = kDefaultText;
        const QString form = QStringLiteral("\"%1\":%2");
        expected.replace(form.arg(key).arg(int(initially)), form.arg(key).arg(int(!initially)));
        QCOMPARE(item->buildViewCommand(), expected);
    }

    void groundStandsTwiceWithTheSameValue()
    {
        COv3DObject* item = m_fixture->createItem();
        item->m_displaySettings.enable_ground = true;
        const QString text = item->buildViewCommand();
        const QString ground = QStringLiteral("\"enable_ground\":1");
        QCOMPARE(text.count(ground), 2);
        QCOMPARE(text.count(QStringLiteral("\"enable_ground\":")), 2);
        const int colour = text.indexOf(QStringLiteral("\"bg_color\""));
        QVERIFY(text.indexOf(ground) < colour && colour < text.lastIndexOf(ground));
    }

    void lightProfileAndPointSizeNeverAppear()
    {
        COv3DObject* item = m_fixture->createItem();
        item->m_displaySettings.light_profile = 4711;
        item->m_materialSettings.point_size = 4712;
        item->m_lightingSettings.hdr_path = "4713";
        item->m_cameraSettings.camera_id = 4714;
        item->m_cameraSettings.camera_values[2] = 4715;
        QCOMPARE(item->buildViewCommand(), kDefaultText);
    }

    void numbersHaveSixSignificantDigits_data()
    {
        QTest::addColumn<double>("number");
        QTest::addColumn<QString>("text");
        QTest::newRow("a whole number") << 46000.0 << "46000";
        QTest::newRow("zero") << 0.0 << "0";
        QTest::newRow("minus one") << -1.0 << "-1";
        QTest::newRow("a fraction") << 46000.5 << "46000.5";
        QTest::newRow("rounded to six digits") << 123456.7 << "123457";
        QTest::newRow("the largest fixed form") << 999999.0 << "999999";
        QTest::newRow("a million") << 1000000.0 << "1e+06";
        QTest::newRow("rounded up to a million") << 999999.9 << "1e+06";
        QTest::newRow("seven digits") << 1234567.0 << "1.23457e+06";
        QTest::newRow("the smallest fixed form") << 0.0001 << "0.0001";
        QTest::newRow("below it") << 0.00001 << "1e-05";
        QTest::newRow("1e-7") << 1e-7 << "1e-07";
        QTest::newRow("three exponent digits") << 1e300 << "1e+300";
        QTest::newRow("trailing zeros fall away") << 0.5000001 << "0.5";
        QTest::newRow("infinity") << std::numeric_limits<double>::infinity() << "inf";
        QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN() << "nan";
    }

    void numbersHaveSixSignificantDigits()
    {
        QFETCH(double, number);
        QFETCH(QString, text);
        COv3DObject* item = m_fixture->createItem();
        item->m_lightingSettings.ibl_intensity = number;
        assign(item->m_cameraSettings.camera_position, number, 1.0, number);
        const QString command = item->buildViewCommand();
        QCOMPARE(valueOf(command, QStringLiteral("ibl_intensity")), text);
        QCOMPARE(valueOf(command, QStringLiteral("camera_position")), QStringLiteral("[%1,1,%1]").arg(text));
    }

    void singlePrecisionNumbersAreWidenedAndRounded_data()
    {
        QTest::addColumn<float>("number");
        QTest::addColumn<QString>("text");
        QTest::newRow("0.1234567") << 0.1234567f << "0.123457";
        QTest::newRow("0.2") << 0.2f << "0.2";
        QTest::newRow("a third") << 1.0f / 3.0f << "0.333333";
        QTest::newRow("one") << 1.0f << "1";
        QTest::newRow("16777216") << 16777216.0f << "1.67772e+07";
    }

    void singlePrecisionNumbersAreWidenedAndRounded()
    {
        QFETCH(float, number);
        QFETCH(QString, text);
        COv3DObject* item = m_fixture->createItem();
        item->m_displaySettings.bg_color[1] = number;
        QCOMPARE(valueOf(item->buildViewCommand(), QStringLiteral("bg_color")),
                 QStringLiteral("[0.2,%1,0.1]").arg(text));
    }

    void wholeNumbersAreDecimal()
    {
        COv3DObject* item = m_fixture->createItem();
        item->m_viewSettings.view_type = std::numeric_limits<std::int32_t>::min();
        item->m_lightingSettings.hdr_map_type = std::numeric_limits<std::int32_t>::max();
        const QString text = item->buildViewCommand();
        QCOMPARE(valueOf(text, QStringLiteral("view_type")), QStringLiteral("-2147483648"));
        QCOMPARE(valueOf(text, QStringLiteral("hdr_map_type")), QStringLiteral("2147483647"));
    }

    void hdrMapIsReadFromTheLiveBlock()
    {
        COv3DObject* item = m_fixture->createItem();
        QVERIFY(m_fixture->load(item));
        item->m_drawThread->m_lightingSettings.hdr_map = false;
        QVERIFY(item->m_lightingSettings.hdr_map);
        QCOMPARE(valueOf(item->buildViewCommand(), QStringLiteral("hdr_map")), QStringLiteral("0"));
        item->m_drawThread->m_lightingSettings.hdr_map = true;
        item->m_lightingSettings.hdr_map = false;
        QCOMPARE(valueOf(item->buildViewCommand(), QStringLiteral("hdr_map")), QStringLiteral("1"));
    }

    void allOtherSettingsAreReadFromTheItemsOwnBlocks()
    {
        COv3DObject* item = m_fixture->createItem();
        ItemFixture::makeReady(item);
        CDrawByOpenGL& live = *item->m_drawThread;
        live.m_viewSettings = {true, 9};
        live.m_displaySettings = {true, true, true, {0.5f, 0.5f, 0.5f}, 9};
        live.m_materialSettings = {9, 9, {0.5f, 0.5f, 0.5f}, true, 9, true, true};
        live.m_lightingSettings = {true, 9, false, "x", 9.0, 9.0, {9, 9, 9}, {9, 9, 9}, false, false, false};
        *item->m_context.camera_settings = {9, {9, 9, 9, 9}, {9, 9, 9}};
        QCOMPARE(item->buildViewCommand(), kDefaultText);
    }

    void historyFlagIsReadFromTheContext()
    {
        COv3DObject* item = m_fixture->createItem();
        item->m_context.is_history = 1;
        QVERIFY(item->buildViewCommand().endsWith(QStringLiteral(",\"is_history\":1}")));
    }

    void textIsOneLineWithThirteenBlanksAtItsBegin()
    {
        const QString text = m_fixture->createItem()->buildViewCommand();
        QVERIFY(text.startsWith(QLatin1Char('{') + QString(13, QLatin1Char(' ')) + QLatin1String("\"reset_camera\":")));
        QCOMPARE(text.count(QLatin1Char(' ')), 13);
        QVERIFY(!text.contains(QLatin1Char('\n')));
        QVERIFY(!text.contains(QLatin1Char('\\')));
    }

    void textParsesAsJson()
    {
        QJsonParseError error;
        const QString text = m_fixture->createItem()->buildViewCommand();
        const QJsonObject object = QJsonDocument::fromJson(text.toUtf8(), &error).object();
        QCOMPARE(error.error, QJsonParseError::NoError);
        QCOMPARE(object.size(), 24); // 25 keys, one of them twice
        QCOMPARE(object.value(QStringLiteral("enable_ground")).toInt(-1), 0);
    }

    void decimalCommaOfALocaleChangesNothing()
    {
        const QLocale before;
        QLocale::setDefault(QLocale(QLocale::German, QLocale::Germany));
        const QString text = m_fixture->createItem()->buildViewCommand();
        QLocale::setDefault(before);
        QCOMPARE(text, kDefaultText);
    }

    void buildingTheTextChangesNothing()
    {
        COv3DObject* item = m_fixture->createItem();
        ItemFixture::makeReady(item);
        item->buildViewCommand();
        QCOMPARE(m_fixture->viewer.callCount(), 0);
        QVERIFY(item->m_viewQueue.isEmpty());
        QVERIFY(m_fixture->logEntries().isEmpty());
    }

    void freshBlocksHoldTheDefaults()
    {
        const COv3DObject* item = m_fixture->createItem();
        expectDefaults(item->m_viewSettings, item->m_displaySettings, item->m_materialSettings,
                       item->m_lightingSettings);
        const CameraSettings& camera = item->m_cameraSettings;
        QCOMPARE(camera.camera_id, 0);
        QCOMPARE(camera.camera_values[0], 0.0);
        QCOMPARE(camera.camera_values[1], 90.0);
        QCOMPARE(camera.camera_values[2], 90.0);
        QCOMPARE(camera.camera_values[3], -180.0);
        for (const double component : camera.camera_position)
            QCOMPARE(component, 0.0);
    }

    void threadsFreshBlocksHoldTheDefaults()
    {
        const CDrawByOpenGL* thread = m_fixture->createItem()->m_drawThread;
        expectDefaults(thread->m_viewSettings, thread->m_displaySettings, thread->m_materialSettings,
                       thread->m_lightingSettings);
    }

private:
    static void expectDefaults(const ViewSettings& view, const DisplaySettings& display,
                               const MaterialSettings& material, const LightingSettings& lighting)
    {
        QVERIFY(!view.reset_camera && view.view_type == 0);
        QVERIFY(!display.enable_sky && !display.enable_axis && !display.enable_ground);
        QVERIFY(display.bg_color[0] == 0.2f && display.bg_color[1] == 0.99f && display.bg_color[2] == 0.1f);
        QCOMPARE(display.light_profile, 0);
        QCOMPARE(material.material_type_a, 0);
        QCOMPARE(material.material_type_b, 6);
        QVERIFY(material.material_color[0] == 0.99f && material.material_color[1] == 0.274f &&
                material.material_color[2] == 0.274f);
        QVERIFY(!material.material_update && !material.raw_mode && !material.wireframe);
        QCOMPARE(material.point_size, 3);
        QVERIFY(lighting.hdr_map && lighting.sun_follow);
        QCOMPARE(lighting.hdr_map_type, 2);
        QVERIFY(lighting.hdr_path.empty());
        QVERIFY(lighting.ibl_intensity == 46000.0 && lighting.sun_intensity == 140000.0);
        QVERIFY(lighting.sun_dir[0] == 0.57f && lighting.sun_dir[1] == -0.57f && lighting.sun_dir[2] == -0.57f);
        for (const float component : lighting.sun_color)
            QCOMPARE(component, 1.0f);
        QVERIFY(lighting.ibl_enabled && lighting.use_default_ibl && lighting.sun_enabled);
    }

    static bool* flagOf(COv3DObject& item, const QString& key)
    {
        const QMap<QString, bool*> flags = {
            {QStringLiteral("reset_camera"), &item.m_viewSettings.reset_camera},
            {QStringLiteral("enable_sky"), &item.m_displaySettings.enable_sky},
            {QStringLiteral("enable_axis"), &item.m_displaySettings.enable_axis},
            {QStringLiteral("material_update"), &item.m_materialSettings.material_update},
            {QStringLiteral("raw_mode"), &item.m_materialSettings.raw_mode},
            {QStringLiteral("wireframe"), &item.m_materialSettings.wireframe},
            {QStringLiteral("hdr_map"), &item.m_lightingSettings.hdr_map},
            {QStringLiteral("sun_follow"), &item.m_lightingSettings.sun_follow},
            {QStringLiteral("ibl_enabled"), &item.m_lightingSettings.ibl_enabled},
            {QStringLiteral("use_default_ibl"), &item.m_lightingSettings.use_default_ibl},
            {QStringLiteral("sun_enabled"), &item.m_lightingSettings.sun_enabled},
        };
        return flags.value(key, nullptr);
    }
};

OV3D_TEST_MAIN(ViewCommandTest)
#include "viewcommand_test.moc"
