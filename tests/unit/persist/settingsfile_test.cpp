#include "src/persist/settingsfile.h"

#include "tests/support/itemfixture.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/persist/settingsblocks.h"

#include <QFile>
#include <QTemporaryDir>
#include <QVector>

#include <algorithm>
#include <limits>

namespace {

/// The text of the file in which every setting has another value than by default, and no two numbers are equal.
const QByteArray kCompleteText = R"({
    "reset_camera": 1, "view_type": 21,
    "enable_sky": 1, "enable_axis": 1, "enable_ground": 1, "bg_color": [0.5, 0.25, 0.125], "light_profile": 22,
    "material_type_a": 23, "material_type_b": 24, "material_color": [0.75, 0.375, 0.0625], "material_update": 1,
    "point_size": 25, "raw_mode": 1, "wireframe": 1,
    "hdr_map": 0, "hdr_map_type": 26, "sun_follow": 0, "ibl_intensity": 27, "sun_intensity": 28,
    "sun_dir": [1.5, 2.5, 3.5], "sun_color": [4.5, 5.5, 6.5],
    "ibl_enabled": 0, "use_default_ibl": 0, "sun_enabled": 0,
    "camera_position": [34.5, 35.5, 36.5], "is_history": 1
})";

/// What a file without any key leaves of the unusual settings: scalars are 0, arrays and what no key names stay.
SettingsBlocks withoutKeys()
{
    SettingsBlocks blocks = unusualSettings();
    blocks.view = {false, 0};
    blocks.display.enable_sky = blocks.display.enable_axis = blocks.display.enable_ground = false;
    blocks.display.light_profile = 0;
    MaterialSettings& material = blocks.material;
    material.material_type_a = material.material_type_b = material.point_size = 0;
    material.material_update = material.raw_mode = material.wireframe = false;
    LightingSettings& lighting = blocks.lighting;
    lighting.hdr_map = lighting.sun_follow = false;
    lighting.hdr_map_type = 0;
    lighting.ibl_intensity = lighting.sun_intensity = 0.0;
    lighting.ibl_enabled = lighting.use_default_ibl = lighting.sun_enabled = false;
    return blocks;
}

} // namespace

class SettingsFileTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void everyKeyGoesIntoItsField()
    {
        SettingsBlocks expected = unusualSettings();
        expected.lighting.hdr_path.clear();
        expected.camera.camera_id = 0;
        const CameraSettings defaults;
        std::copy(std::begin(defaults.camera_values), std::end(defaults.camera_values), expected.camera.camera_values);
        SettingsBlocks blocks;
        QVERIFY(read(kCompleteText, blocks));
        QCOMPARE(blocks.lines(), expected.lines());
    }

    void fileWithoutUsableKeysZeroesTheScalars_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::newRow("an empty object") << QByteArray("{}");
        QTest::newRow("an empty file") << QByteArray();
        QTest::newRow("an array") << QByteArray("[1,2]");
        QTest::newRow("no JSON") << QByteArray("view_type = 5");
        QTest::newRow("cut short") << kCompleteText.left(kCompleteText.size() - 1);
        QTest::newRow("an infinite number anywhere") << QByteArray(kCompleteText).replace(": 28", ": inf");
        QTest::newRow("no number anywhere") << QByteArray(kCompleteText).replace(": 28", ": nan");
        QTest::newRow("keys in upper case") << QByteArray("{\"VIEW_TYPE\":5}");
    }

    void fileWithoutUsableKeysZeroesTheScalars()
    {
        QFETCH(QByteArray, text);
        SettingsBlocks blocks = unusualSettings();
        QVERIFY(read(text, blocks));
        QCOMPARE(blocks.lines(), withoutKeys().lines());
    }

    void oneMissingKeyReadsAsZero_data()
    {
        QTest::addColumn<QByteArray>("key");
        for (const char* key :
             {"reset_camera",  "view_type",       "enable_sky",      "enable_axis",     "enable_ground",
              "light_profile", "material_type_a", "material_type_b", "material_update", "point_size",
              "raw_mode",      "wireframe",       "hdr_map",         "hdr_map_type",    "sun_follow",
              "ibl_intensity", "sun_intensity",   "ibl_enabled",     "use_default_ibl", "sun_enabled"})
            QTest::newRow(key) << QByteArray(key);
    }

    void oneMissingKeyReadsAsZero()
    {
        QFETCH(QByteArray, key);
        // Flags that the complete text clears are set here, so that every key is 1 or more before it goes missing.
        QByteArray all = kCompleteText;
        for (const char* cleared : {"hdr_map", "sun_follow", "ibl_enabled", "use_default_ibl", "sun_enabled"})
            all.replace('"' + QByteArray(cleared) + "\": 0", '"' + QByteArray(cleared) + "\": 1");
        SettingsBlocks complete;
        SettingsBlocks lacking;
        QVERIFY(read(all, complete));
        QVERIFY(read(QByteArray(all).replace('"' + key + '"', "\"x\""), lacking));
        QCOMPARE(changedLines(complete.lines(), lacking.lines()), QStringList{QString::fromLatin1(key) + "=0"});
    }

    void onlyWholeNumbersAreRead_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<int>("number");
        QTest::newRow("a whole number") << QByteArray("46000") << 46000;
        QTest::newRow("a negative one") << QByteArray("-3") << -3;
        QTest::newRow("with a zero fraction") << QByteArray("46000.0") << 46000;
        QTest::newRow("with an exponent") << QByteArray("1e+06") << 1000000;
        QTest::newRow("as the settings text rounds it") << QByteArray("1.23457e+06") << 1234570;
        QTest::newRow("a fraction") << QByteArray("46000.5") << 0;
        QTest::newRow("the largest") << QByteArray("2147483647") << std::numeric_limits<int>::max();
        QTest::newRow("the smallest") << QByteArray("-2147483648") << std::numeric_limits<int>::min();
        QTest::newRow("too large") << QByteArray("2147483648") << 0;
        QTest::newRow("true") << QByteArray("true") << 0;
        QTest::newRow("false") << QByteArray("false") << 0;
        QTest::newRow("text") << QByteArray("\"5\"") << 0;
        QTest::newRow("null") << QByteArray("null") << 0;
        QTest::newRow("an array") << QByteArray("[5]") << 0;
        QTest::newRow("an object") << QByteArray("{\"a\":5}") << 0;
    }

    void onlyWholeNumbersAreRead()
    {
        QFETCH(QByteArray, value);
        QFETCH(int, number);
        SettingsBlocks blocks;
        QVERIFY(read("{\"view_type\":" + value + ",\"ibl_intensity\":" + value + ",\"sun_intensity\":" + value +
                         ",\"enable_sky\":" + value + ",\"sun_enabled\":" + value + ",\"point_size\":" + value + "}",
                     blocks));
        QCOMPARE(blocks.view.view_type, number);
        QCOMPARE(blocks.lighting.ibl_intensity, double(number));
        QCOMPARE(blocks.lighting.sun_intensity, double(number));
        QCOMPARE(blocks.display.enable_sky, number != 0);
        QCOMPARE(blocks.lighting.sun_enabled, number != 0);
        QCOMPARE(blocks.material.point_size, number);
    }

    void arraysFillWhatTheyReach_data()
    {
        QTest::addColumn<QByteArray>("value");
        QTest::addColumn<QVector<double>>("components"); // the fields hold 7, 8 and 9 before
        QTest::newRow("complete") << QByteArray("[1,2.5,-3]") << QVector<double>{1, 2.5, -3};
        QTest::newRow("two") << QByteArray("[1,2]") << QVector<double>{1, 2, 9};
        QTest::newRow("one") << QByteArray("[1]") << QVector<double>{1, 8, 9};
        QTest::newRow("none") << QByteArray("[]") << QVector<double>{7, 8, 9};
        QTest::newRow("null") << QByteArray("null") << QVector<double>{7, 8, 9};
        QTest::newRow("a number") << QByteArray("5") << QVector<double>{7, 8, 9};
        QTest::newRow("an object") << QByteArray("{\"0\":5}") << QVector<double>{7, 8, 9};
        QTest::newRow("elements of other types are 0") << QByteArray("[\"1\",true,null]") << QVector<double>{0, 0, 0};
        QTest::newRow("four, of which the last is ignored") << QByteArray("[1,2,3,4]") << QVector<double>{1, 2, 3};
        QTest::newRow("nine") << QByteArray("[1,2,3,4,5,6,10,11,12]") << QVector<double>{1, 2, 3};
    }

    void arraysFillWhatTheyReach()
    {
        QFETCH(QByteArray, value);
        QFETCH(QVector<double>, components);
        SettingsBlocks blocks = unusualSettings();
        SettingsBlocks expected = withoutKeys();
        float* const singles[] = {blocks.display.bg_color, blocks.material.material_color, blocks.lighting.sun_dir,
                                  blocks.lighting.sun_color};
        float* const wanted[] = {expected.display.bg_color, expected.material.material_color, expected.lighting.sun_dir,
                                 expected.lighting.sun_color};
        for (int i = 0; i < 3; ++i) {
            for (int k = 0; k < 4; ++k) {
                singles[k][i] = static_cast<float>(7 + i);
                wanted[k][i] = static_cast<float>(components[i]);
            }
            blocks.camera.camera_position[i] = 7 + i;
            expected.camera.camera_position[i] = components[i];
        }
        QVERIFY(read("{\"bg_color\":" + value + ",\"material_color\":" + value + ",\"sun_dir\":" + value +
                         ",\"sun_color\":" + value + ",\"camera_position\":" + value + "}",
                     blocks));
        QCOMPARE(blocks.lines(), expected.lines());
    }

    void positionsAreDoublesAndTheOthersSingle()
    {
        SettingsBlocks blocks;
        QVERIFY(read("{\"camera_position\":[0.1,1e300,0],\"sun_dir\":[0.1,0,0]}", blocks));
        QCOMPARE(blocks.camera.camera_position[0], 0.1);
        QCOMPARE(blocks.camera.camera_position[1], 1e300);
        QVERIFY(blocks.lighting.sun_dir[0] == 0.1f);
    }

    void laterDuplicateWins()
    {
        SettingsBlocks blocks;
        QVERIFY(read("{\"enable_ground\":0,\"enable_ground\":1}", blocks));
        QVERIFY(blocks.display.enable_ground);
    }

    void historyFlagIsNotRead()
    {
        ItemFixture fixture;
        COv3DObject* item = fixture.createItem();
        QVERIFY(readSettingsFile(fixture.writeFile(QStringLiteral("x.json"), "{\"is_history\":1}"),
                                 item->m_viewSettings, item->m_displaySettings, item->m_materialSettings,
                                 item->m_lightingSettings, item->m_cameraSettings));
        QCOMPARE(int(item->m_context.is_history), 0);
    }

    void commandTextComesBack()
    {
        ItemFixture fixture;
        COv3DObject* item = fixture.createItem();
        SettingsBlocks expected = unusualSettings();
        expected.putInto(*item);
        SettingsBlocks blocks = unusualSettings();
        QVERIFY(read(item->buildViewCommand().toUtf8(), blocks));
        expected.display.light_profile = 0;
        expected.material.point_size = 0;
        QCOMPARE(blocks.lines(), expected.lines());
    }

    void fileThatCannotBeOpenedChangesNothing_data()
    {
        QTest::addColumn<QString>("name");
        QTest::newRow("missing") << "gone.json";
        QTest::newRow("a folder") << ".";
        QTest::newRow("an empty path") << "";
    }

    void fileThatCannotBeOpenedChangesNothing()
    {
        QFETCH(QString, name);
        SettingsBlocks blocks = unusualSettings();
        const QString path = name.isEmpty() ? name : m_folder.filePath(name);
        if (name.isEmpty())
            expectMessage(QStringLiteral("QFSFileEngine::open: No file name specified"));
        QVERIFY(!readSettingsFile(path, blocks.view, blocks.display, blocks.material, blocks.lighting, blocks.camera));
        QCOMPARE(blocks.lines(), unusualSettings().lines());
    }

private:
    bool read(const QByteArray& text, SettingsBlocks& blocks)
    {
        QFile file(m_folder.filePath(QStringLiteral("settings.json")));
        if (!file.open(QIODevice::WriteOnly) || file.write(text) != text.size())
            return false;
        file.close();
        return readSettingsFile(file.fileName(), blocks.view, blocks.display, blocks.material, blocks.lighting,
                                blocks.camera);
    }

    QTemporaryDir m_folder;
};

OV3D_TEST_MAIN(SettingsFileTest)
#include "settingsfile_test.moc"
