#include "apps/board/boardoptions.h"
#include "apps/board/gesturename.h"
#include "apps/board/placement.h"
#include "apps/board/settingwords.h"
#include "apps/document/itemsettings.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <algorithm>
#include <cmath>

using namespace ov3d::apps;

class BoardWordsTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void dragIsNamedAfterButtonAndModifiers_data();
    void dragIsNamedAfterButtonAndModifiers();
    void wheelIsNamedAfterItsDirection();
    void optionsAndFilesMayMix();
    void wrongOptionsAreRefused();
    void placesLieOnThePageAndApart_data();
    void placesLieOnThePageAndApart();
    void oneModelHasTheUsualSizeInTheMiddle();
    void everySettingOfThePanelHasWordsOfItsOwn();
};

void BoardWordsTest::dragIsNamedAfterButtonAndModifiers_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("modifiers");
    QTest::addColumn<QString>("word");
    const int left = Qt::LeftButton, right = Qt::RightButton, middle = Qt::MiddleButton;
    const int none = int(Qt::NoModifier), shift = int(Qt::ShiftModifier), ctrl = int(Qt::ControlModifier),
              alt = int(Qt::AltModifier);
    QTest::newRow("left turns") << left << none << "Turning";
    QTest::newRow("right shifts") << right << none << "Shifting";
    QTest::newRow("middle may turn the sun") << middle << none << "sun";
    QTest::newRow("ctrl shifts with every button") << left << ctrl << "Shifting";
    QTest::newRow("shift moves the camera") << left << shift << "Moving";
    QTest::newRow("shift and right shifts") << right << shift << "Shifting";
    QTest::newRow("alt rolls") << left << alt << "Rolling";
    QTest::newRow("alt and right shifts") << right << alt << "Shifting";
    QTest::newRow("alt and middle rolls") << middle << alt << "Rolling";
    QTest::newRow("two modifiers are none") << left << (shift | alt) << "Turning";
}

void BoardWordsTest::dragIsNamedAfterButtonAndModifiers()
{
    QFETCH(int, button);
    QFETCH(int, modifiers);
    QFETCH(QString, word);
    const QString name = dragName(static_cast<Qt::MouseButton>(button), Qt::KeyboardModifiers(modifiers));
    QVERIFY2(name.contains(word), qPrintable(name));
}

void BoardWordsTest::wheelIsNamedAfterItsDirection()
{
    QCOMPARE(wheelName(120, Qt::NoModifier), QStringLiteral("Zooming in"));
    QCOMPARE(wheelName(-120, Qt::NoModifier), QStringLiteral("Zooming out"));
    QCOMPARE(wheelName(0, Qt::NoModifier), QStringLiteral("Zooming out")); // the item counts a still wheel as backward
    QCOMPARE(wheelName(120, Qt::ShiftModifier), QStringLiteral("Zooming in finely"));
}

void BoardWordsTest::optionsAndFilesMayMix()
{
    BoardOptions options;
    QString error;
    QVERIFY(parseBoardOptions({QStringLiteral("a b.glb"), QStringLiteral("--screenshot"), QStringLiteral("s.png"),
                               QStringLiteral("--"), QStringLiteral("--help")},
                              options, error));
    QCOMPARE(options.files, QStringList({QStringLiteral("a b.glb"), QStringLiteral("--help")}));
    QCOMPARE(options.screenshot, QStringLiteral("s.png"));
    QVERIFY(!options.help);
}

void BoardWordsTest::wrongOptionsAreRefused()
{
    BoardOptions options;
    QString error;
    QVERIFY(!parseBoardOptions({QStringLiteral("--fast")}, options, error));
    QVERIFY(error.contains(QLatin1String("--fast")));
    QVERIFY(!parseBoardOptions({QStringLiteral("--screenshot")}, options, error));
    QVERIFY(error.contains(QLatin1String("--screenshot")));
    QVERIFY(!parseBoardOptions({QStringLiteral("--screenshot"), QStringLiteral("s.jpg")}, options, error));
    QVERIFY(error.contains(QLatin1String("s.jpg is not the name of a PNG")));
}

void BoardWordsTest::placesLieOnThePageAndApart_data()
{
    QTest::addColumn<int>("count");
    for (const int count : {1, 2, 3, 5, 9, 50})
        QTest::newRow(qPrintable(QString::number(count))) << count;
}

void BoardWordsTest::placesLieOnThePageAndApart()
{
    QFETCH(int, count);
    const auto places = placesOnPage({1920, 1080}, count);
    QCOMPARE(places.size(), count);
    for (int i = 0; i < count; ++i) {
        QVERIFY(QRectF(0, 0, 1920, 1080).contains(places[i]));
        QCOMPARE(std::fmod(places[i].width(), 4), 0.0);
        for (int j = 0; j < i; ++j)
            QVERIFY(!places[i].intersects(places[j]));
    }
}

void BoardWordsTest::oneModelHasTheUsualSizeInTheMiddle()
{
    QCOMPARE(placesOnPage({1920, 1080}, 1).value(0), QRectF(320, 60, 1280, 960));
    QVERIFY(placesOnPage({1920, 1080}, 0).isEmpty());
}

void BoardWordsTest::everySettingOfThePanelHasWordsOfItsOwn()
{
    QStringList titles;
    for (const SettingGroup& group : panelGroups()) {
        QVERIFY(!group.keys.isEmpty());
        for (const QString& key : group.keys) {
            const auto& infos = settingInfos();
            QVERIFY2(std::any_of(infos.begin(), infos.end(),
                                 [&key](const SettingInfo& info) { return key == QLatin1String(info.key); }),
                     qPrintable(key));
            QVERIFY2(!settingLabel(key).isEmpty() && !settingHint(key).isEmpty(), qPrintable(key));
            QVERIFY2(!titles.contains(settingTitle(key)), qPrintable(settingTitle(key)));
            titles << settingTitle(key);
        }
    }
    QVERIFY(titles.size() > 10);
    QVERIFY(settingLabel(QStringLiteral("nothing")).isEmpty());
    QCOMPARE(settingTitle(QStringLiteral("nothing")), QStringLiteral("nothing"));
}

OV3D_TEST_MAIN(BoardWordsTest)
#include "boardwords_test.moc"
