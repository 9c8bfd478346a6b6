#include "apps/document/itemsettings.h"
#include "host/framework/framework.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>

using namespace ov3d::apps;

class ItemSettingsTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void everySettingIsAKeyOfTheRecord();
    void everySettingIsDocumented();
    void defaultsOfTheRecordAreAllowed();
    void wordsBecomeValues();
    void hashColoursAreTheSameNumbers();
    void wrongWordsAreRefusedWithTheirKey_data();
    void wrongWordsAreRefusedWithTheirKey();
    void boundsAreInside_data();
    void boundsAreInside();
    void unknownKeysPass();
    void allowedSettingsLeaveOutWhatIsRefused();
    void keptRecordNeverActsByItself();
    void keptRecordHoldsKeysOfOthers();

private:
    static QJsonObject defaultRecord()
    {
        return QJsonDocument::fromJson(CEffectLayerParams::toJson(CEL3DObjectParams()).toUtf8()).object();
    }
};

void ItemSettingsTest::everySettingIsAKeyOfTheRecord()
{
    const QJsonObject record = defaultRecord();
    for (const SettingInfo& info : settingInfos())
        QVERIFY2(record.contains(QLatin1String(info.key)), info.key);
    // What is missing here cannot be set: the kind, the command, and the path that items empty at once.
    QCOMPARE(record.size(), static_cast<int>(settingInfos().size()) + 5);
}

void ItemSettingsTest::everySettingIsDocumented()
{
    QFile file(QStringLiteral(OV3D_SETTINGS_DOC));
    QVERIFY(file.open(QIODevice::ReadOnly));
    const QByteArray text = file.readAll();
    for (const SettingInfo& info : settingInfos())
        QVERIFY2(text.contains(QByteArray("`") + info.key + "`"), info.key);
}

void ItemSettingsTest::defaultsOfTheRecordAreAllowed()
{
    QCOMPARE(whySettingsRefused(defaultRecord()), QString());
}

void ItemSettingsTest::wordsBecomeValues()
{
    QString error;
    const auto settings =
        parseSettings({QStringLiteral("wireframe=on"), QStringLiteral("raw_mode=0"), QStringLiteral("point_size=7"),
                       QStringLiteral("sun_dir=0, -1,0.5"), QStringLiteral("camera_values=45,0,0,1,2,3")},
                      error);
    QVERIFY2(settings, qPrintable(error));
    const QJsonObject expected{{QStringLiteral("wireframe"), true},
                               {QStringLiteral("raw_mode"), false},
                               {QStringLiteral("point_size"), 7},
                               {QStringLiteral("sun_dir"), QJsonArray{0, -1, 0.5}},
                               {QStringLiteral("camera_values"), QJsonArray{45, 0, 0, 1, 2, 3}}};
    QCOMPARE(*settings, expected);
}

void ItemSettingsTest::hashColoursAreTheSameNumbers()
{
    QString error;
    const auto settings = parseSettings({QStringLiteral("material_color=#0a14ff")}, error);
    QVERIFY2(settings, qPrintable(error));
    const QJsonArray colour{10 / 255.0, 20 / 255.0, 1.0};
    QCOMPARE(settings->value(QLatin1String("material_color")).toArray(), colour);
}

void ItemSettingsTest::wrongWordsAreRefusedWithTheirKey_data()
{
    QTest::addColumn<QString>("word");
    QTest::addColumn<QString>("part");
    const auto row = [](const char* name, const char* word, const char* part) {
        QTest::newRow(name) << QString::fromLatin1(word) << QString::fromLatin1(part);
    };
    row("no equals sign", "wireframe", "not key=value");
    row("no key", "=1", "not key=value");
    row("an unknown key", "wirefame=1", "no setting \"wirefame\"");
    row("the command flag is no setting", "command=1", "no setting \"command\"");
    row("a number for a flag", "wireframe=2", "wireframe: \"2\" is not true or false");
    row("an empty value", "point_size=", "point_size: \"\" is not a whole number from 0 to 100");
    row("a fraction for a whole number", "point_size=1.5", "from 0 to 100");
    row("beyond the range", "point_size=101", "from 0 to 100");
    row("below the range", "ibl_intensity=-1", "from 0 to 1000000");
    row("a view that does not exist", "view_type=9", "from 0 to 8");
    row("not a number", "sun_color=1,x,0", "three numbers from 0 to 1");
    row("infinity", "sun_dir=inf,0,0", "3 numbers from -1 to 1");
    row("too few components", "bg_color=1,1", "three numbers");
    row("too many components", "bg_color=1,1,1,1", "three numbers");
    row("a colour beyond one", "bg_color=0,0,1.001", "from 0 to 1");
    row("a short hash colour", "bg_color=#fff", "#RRGGBB");
    row("a sun from nowhere", "sun_dir=0,0,0", "not all zero");
    row("a view too wide", "camera_values=171,0,0,0,0,0", "the first from 10 to 170");
}

void ItemSettingsTest::wrongWordsAreRefusedWithTheirKey()
{
    QFETCH(QString, word);
    QFETCH(QString, part);
    QString error;
    QVERIFY(!parseSettings({QStringLiteral("wireframe=1"), word}, error));
    QVERIFY2(error.contains(part), qPrintable(error));
}

void ItemSettingsTest::boundsAreInside_data()
{
    QTest::addColumn<QString>("word");
    for (const char* word : {"point_size=0", "point_size=100", "view_type=8", "bg_color=0,1,0",
                             "sun_intensity=10000000", "camera_values=10,0,0,0,0,0", "camera_values=170,0,0,0,0,0"})
        QTest::newRow(word) << QString::fromLatin1(word);
}

void ItemSettingsTest::boundsAreInside()
{
    QFETCH(QString, word);
    QString error;
    QVERIFY2(parseSettings({word}, error), qPrintable(error));
}

void ItemSettingsTest::unknownKeysPass()
{
    QCOMPARE(whySettingsRefused({{QStringLiteral("glitter"), QStringLiteral("much")}}), QString());
}

void ItemSettingsTest::allowedSettingsLeaveOutWhatIsRefused()
{
    QStringList refusals;
    const QJsonObject allowed = allowedSettings(
        {{QStringLiteral("point_size"), 1000}, {QStringLiteral("wireframe"), true}, {QStringLiteral("glitter"), 1}},
        refusals);
    QCOMPARE(allowed, (QJsonObject{{QStringLiteral("wireframe"), true}, {QStringLiteral("glitter"), 1}}));
    QCOMPARE(refusals.size(), 1);
    QVERIFY(refusals.first().startsWith(QLatin1String("point_size: \"1000\"")));
}

void ItemSettingsTest::keptRecordNeverActsByItself()
{
    const QJsonObject kept = settingsToKeep({}, {{QStringLiteral("command"), true},
                                                 {QStringLiteral("command_code"), 101},
                                                 {QStringLiteral("command_text"), QStringLiteral("front")},
                                                 {QStringLiteral("reset_camera"), true},
                                                 {QStringLiteral("point_size"), 5}});
    QCOMPARE(kept, (QJsonObject{{QStringLiteral("command"), false},
                                {QStringLiteral("reset_camera"), false},
                                {QStringLiteral("point_size"), 5}}));
}

void ItemSettingsTest::keptRecordHoldsKeysOfOthers()
{
    const QJsonObject kept = settingsToKeep({{QStringLiteral("glitter"), 3}, {QStringLiteral("point_size"), 1}},
                                            {{QStringLiteral("point_size"), 5}});
    QCOMPARE(kept.value(QLatin1String("glitter")).toInt(), 3);
    QCOMPARE(kept.value(QLatin1String("point_size")).toInt(), 5);
}

OV3D_TEST_MAIN(ItemSettingsTest)
#include "itemsettings_test.moc"
