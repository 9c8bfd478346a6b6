#include "host/framework/framework.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QTest>

#include <algorithm>
#include <cstddef>
#include <limits>

namespace {

QJsonObject jsonOf(const CEffectLayerParams& params)
{
    return QJsonDocument::fromJson(CEffectLayerParams::toJson(params).toUtf8()).object();
}

bool apply(const QJsonObject& object, CEL3DObjectParams& params)
{
    return CEffectLayerParams::fromJson(QString::fromUtf8(QJsonDocument(object).toJson()), params);
}

QJsonArray array(std::initializer_list<double> numbers)
{
    QJsonArray result;
    for (const double number : numbers)
        result.append(number);
    return result;
}

std::ptrdiff_t offsetOf(const CEL3DObjectParams& params, const void* field)
{
    return static_cast<const char*>(field) - reinterpret_cast<const char*>(&params);
}

} // namespace

class ParameterRecordTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void fieldsStandWhereTheBinaryInterfacePutsThem()
    {
        const CEL3DObjectParams params;
        QCOMPARE(sizeof params, std::size_t(328));
        QCOMPARE(offsetOf(params, &params.reset_camera), std::ptrdiff_t(16));
        QCOMPARE(offsetOf(params, &params.material_color), std::ptrdiff_t(56));
        QCOMPARE(offsetOf(params, &params.hdr_path), std::ptrdiff_t(104));
        QCOMPARE(offsetOf(params, &params.camera_values), std::ptrdiff_t(200));
        QCOMPARE(offsetOf(params, &params.command_text), std::ptrdiff_t(256));
        QCOMPARE(offsetOf(params, &params.camera_block), std::ptrdiff_t(264));
    }

    void cameraBlockBeginsWithTheViewersDefaults()
    {
        const CEL3DObjectParams params;
        const CEL3DObjectParams::CameraBlock& block = params.camera_block;
        QCOMPARE(block.camera_id, 0);
        const double values[4] = {0.0, 90.0, 90.0, -180.0};
        QVERIFY(std::equal(std::begin(values), std::end(values), block.camera_values));
        const double position[3] = {0.0, 0.0, 0.0};
        QVERIFY(std::equal(std::begin(position), std::end(position), block.camera_position));
    }

    void recordBeginsWithTheViewersDefaults()
    {
        const QJsonObject defaults = jsonOf(CEL3DObjectParams());
        QJsonObject expected{{"id", "3d_object"},
                             {"reset_camera", false},
                             {"view_type", 0},
                             {"enable_sky", false},
                             {"enable_axis", false},
                             {"enable_ground", false},
                             {"bg_color", array({double(0.2f), double(0.99f), double(0.1f)})},
                             {"light_profile", 0},
                             {"material_type_a", 0},
                             {"material_type_b", 6},
                             {"material_color", array({0.99, 0.274, 0.274})},
                             {"material_update", false},
                             {"point_size", 3},
                             {"raw_mode", false},
                             {"wireframe", false},
                             {"hdr_map", true},
                             {"hdr_map_type", 2},
                             {"sun_follow", true},
                             {"hdr_path", ""},
                             {"ibl_intensity", 46000},
                             {"sun_intensity", 140000},
                             {"sun_dir", array({0.57, -0.57, -0.57})},
                             {"sun_color", array({1.0, 1.0, 1.0})},
                             {"ibl_enabled", true},
                             {"use_default_ibl", true},
                             {"sun_enabled", true},
                             {"camera_id", 0},
                             {"camera_values", array({90.0, 90.0, -180.0, 0.0, 0.0, 0.0})},
                             {"command", false},
                             {"command_code", 0},
                             {"command_text", ""}};
        QCOMPARE(defaults, expected);
    }

    void everyFieldSurvivesTheRoundTrip_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");
        for (const char* flag : {"reset_camera", "enable_sky", "enable_axis", "enable_ground", "material_update",
                                 "raw_mode", "wireframe", "command"})
            QTest::newRow(flag) << flag << QJsonValue(true);
        for (const char* flag : {"hdr_map", "sun_follow", "ibl_enabled", "use_default_ibl", "sun_enabled"})
            QTest::newRow(flag) << flag << QJsonValue(false);
        int number = -1000;
        for (const char* integer : {"view_type", "light_profile", "material_type_a", "material_type_b", "point_size",
                                    "hdr_map_type", "ibl_intensity", "sun_intensity", "camera_id", "command_code"})
            QTest::newRow(integer) << integer << QJsonValue(++number);
        QTest::newRow("bg_color") << "bg_color" << QJsonValue(array({0.25, 0.5, 0.75}));
        QTest::newRow("material_color") << "material_color" << QJsonValue(array({0.1, 0.2, 0.3}));
        QTest::newRow("sun_dir") << "sun_dir" << QJsonValue(array({-1.5, 1e-300, 1e300}));
        QTest::newRow("sun_color") << "sun_color" << QJsonValue(array({0.4, 0.5, 0.6}));
        QTest::newRow("camera_values") << "camera_values" << QJsonValue(array({1.1, 2.2, 3.3, 4.4, 5.5, 6.6}));
        QTest::newRow("hdr_path") << "hdr_path" << QJsonValue(QStringLiteral("/tmp/Über 天空.hdr"));
        QTest::newRow("command_text") << "command_text" << QJsonValue(QStringLiteral("a \"b\"\n\\c 天"));
    }

    void everyFieldSurvivesTheRoundTrip()
    {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        QJsonObject expected = jsonOf(CEL3DObjectParams());
        QVERIFY(expected.contains(key));
        QVERIFY2(expected.value(key) != value, "the row must differ from the default");
        expected.insert(key, value);

        CEL3DObjectParams first;
        QVERIFY(apply({{key, value}}, first));
        QCOMPARE(jsonOf(first), expected);

        CEL3DObjectParams second;
        QVERIFY(CEffectLayerParams::fromJson(CEffectLayerParams::toJson(first), second));
        QCOMPARE(jsonOf(second), expected);
    }

    void everyKeyReachesItsOwnField()
    {
        CEL3DObjectParams params;
        QVERIFY(apply({{"view_type", 5},
                       {"command", true},
                       {"command_code", 17},
                       {"command_text", "spin"},
                       {"camera_id", 9},
                       {"camera_values", array({1, 2, 3, 4, 5, 6})},
                       {"hdr_path", "/h"},
                       {"bg_color", array({0.5, 0.25, 0.125})},
                       {"sun_intensity", 7}},
                      params));
        QCOMPARE(params.view_type, 5);
        QVERIFY(params.command);
        QCOMPARE(params.command_code, 17);
        QCOMPARE(params.command_text, QStringLiteral("spin"));
        QCOMPARE(params.camera_id, 9);
        for (int i = 0; i < 6; ++i)
            QCOMPARE(params.camera_values[i], i + 1.0);
        QCOMPARE(params.hdr_path, std::string("/h"));
        QCOMPARE(params.bg_color[2], 0.125f);
        QCOMPARE(params.sun_intensity, 7);
        QCOMPARE(params.ibl_intensity, 46000);
    }

    void cameraBlockIsNeitherWrittenNorRead()
    {
        CEL3DObjectParams params;
        params.camera_block.camera_id = 77;
        params.camera_block.camera_values[1] = 7.7;
        params.camera_block.camera_position[2] = 7.75;
        QCOMPARE(jsonOf(params), jsonOf(CEL3DObjectParams()));
        QVERIFY(apply({{"camera_id", 1},
                       {"camera_values", array({1, 2, 3, 4, 5, 6})},
                       {"camera_position", array({8, 8, 8})},
                       {"camera_block", QJsonObject{{"camera_id", 8}}}},
                      params));
        QCOMPARE(params.camera_block.camera_id, 77);
        QCOMPARE(params.camera_block.camera_values[1], 7.7);
        QCOMPARE(params.camera_block.camera_position[2], 7.75);
    }

    void absentKeysKeepTheRecordsValues()
    {
        CEL3DObjectParams params;
        params.view_type = 4;
        params.command_text = QStringLiteral("kept");
        params.camera_values[5] = 3.5;
        const QJsonObject before = jsonOf(params);
        QVERIFY(CEffectLayerParams::fromJson(QStringLiteral("{}"), params));
        QCOMPARE(jsonOf(params), before);
    }

    void wrongTypesKeepTheRecordsValues_data()
    {
        QTest::addColumn<QString>("key");
        QTest::addColumn<QJsonValue>("value");
        QTest::newRow("a number for a flag") << "hdr_map" << QJsonValue(0);
        QTest::newRow("a flag for an integer") << "view_type" << QJsonValue(true);
        QTest::newRow("a fraction for an integer") << "view_type" << QJsonValue(1.5);
        QTest::newRow("an integer above 32 bits") << "view_type" << QJsonValue(2147483648.0);
        QTest::newRow("an integer below 32 bits") << "view_type" << QJsonValue(-2147483649.0);
        QTest::newRow("a text for an integer") << "view_type" << QJsonValue("1");
        QTest::newRow("a number for a text") << "command_text" << QJsonValue(3);
        QTest::newRow("a number for a path") << "hdr_path" << QJsonValue(3);
        QTest::newRow("a number for an array") << "sun_dir" << QJsonValue(3);
        QTest::newRow("texts in an array") << "sun_dir" << QJsonValue(QJsonArray{"1", "2", "3"});
        QTest::newRow("a component above the float range") << "bg_color" << QJsonValue(array({1e300}));
        QTest::newRow("null") << "camera_id" << QJsonValue();
        QTest::newRow("a number for the kind of record") << "id" << QJsonValue(3);
    }

    void wrongTypesKeepTheRecordsValues()
    {
        QFETCH(QString, key);
        QFETCH(QJsonValue, value);
        CEL3DObjectParams params;
        QVERIFY(apply({{key, value}, {"point_size", 11}}, params));
        QJsonObject expected = jsonOf(CEL3DObjectParams());
        expected.insert(QStringLiteral("point_size"), 11);
        QCOMPARE(jsonOf(params), expected);
    }

    void arraysKeepWhatIsMissingAndDropWhatIsTooMuch()
    {
        CEL3DObjectParams params;
        QVERIFY(apply({{"sun_dir", array({5.0})}, {"sun_color", array({0.1, 0.2, 0.3, 0.4, 0.5})}}, params));
        QCOMPARE(params.sun_dir[0], 5.0);
        QCOMPARE(params.sun_dir[1], -0.57);
        QCOMPARE(params.sun_color[2], 0.3);
        QVERIFY(params.ibl_enabled);
    }

    void integersReachTheirLimits()
    {
        CEL3DObjectParams params;
        params.camera_id = std::numeric_limits<qint32>::min();
        params.command_code = std::numeric_limits<qint32>::max();
        CEL3DObjectParams read;
        QVERIFY(CEffectLayerParams::fromJson(CEffectLayerParams::toJson(params), read));
        QCOMPARE(read.camera_id, std::numeric_limits<qint32>::min());
        QCOMPARE(read.command_code, std::numeric_limits<qint32>::max());
    }

    void numbersThatJsonCannotHoldKeepTheReadersValues()
    {
        CEL3DObjectParams params;
        params.sun_dir[0] = std::numeric_limits<double>::quiet_NaN();
        params.sun_dir[1] = std::numeric_limits<double>::infinity();
        CEL3DObjectParams read;
        QVERIFY(CEffectLayerParams::fromJson(CEffectLayerParams::toJson(params), read));
        QCOMPARE(read.sun_dir[0], 0.57);
        QCOMPARE(read.sun_dir[1], -0.57);
    }

    void otherTextsAreRefusedAndChangeNothing_data()
    {
        QTest::addColumn<QString>("text");
        QTest::newRow("empty") << "";
        QTest::newRow("not JSON") << "{\"view_type\": 3";
        QTest::newRow("an array") << "[1, 2]";
        QTest::newRow("another kind of record") << "{\"id\": \"shadow\", \"view_type\": 3}";
    }

    void otherTextsAreRefusedAndChangeNothing()
    {
        QFETCH(QString, text);
        CEL3DObjectParams params;
        params.view_type = 4;
        QVERIFY(!CEffectLayerParams::fromJson(text, params));
        QCOMPARE(params.view_type, 4);
    }

    void copiesAreIndependent()
    {
        CEL3DObjectParams first;
        first.hdr_path = "/long enough to leave the small buffer of a string";
        first.camera_block.camera_id = 3;
        CEL3DObjectParams second(first);
        second.hdr_path = "/other";
        QCOMPARE(first.hdr_path, std::string("/long enough to leave the small buffer of a string"));
        QCOMPARE(second.camera_block.camera_id, 3);
        second = first;
        QCOMPARE(jsonOf(second), jsonOf(first));
    }
};

OV3D_TEST_MAIN(ParameterRecordTest)
#include "parameterrecord_test.moc"
