#include "apps/common/plugin.h"
#include "apps/common/viewerevents.h"
#include "tests/support/testbase.h"
#include "tests/support/testmain.h"

#include <QTemporaryDir>

using namespace ov3d::apps;

class ViewerEventsTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void eventsComeInOrderAndOnce();
    void notesComeOneByOne();
    void textThatIsNoEventIsLeftOut();
    void missingPluginIsNamed();
    void libraryWithoutTheFactoryIsRefused();
};

void ViewerEventsTest::eventsComeInOrderAndOnce()
{
    ViewerEvents events;
    events.add(R"({"run":3,"model":"/a/ü.glb","event":"missing","reason":"","files":["a.png","b/c.png"]})");
    events.add(R"({"run":3,"model":"/a/ü.glb","event":"card","reason":"is empty","files":[]})");
    const auto taken = events.take();
    QCOMPARE(taken.size(), std::size_t{2});
    QCOMPARE(taken[0].kind, ViewerEvent::Kind::missing);
    QCOMPARE(taken[0].run, 3);
    QCOMPARE(taken[0].model, QStringLiteral("/a/ü.glb"));
    QCOMPARE(taken[0].files, QStringList({QStringLiteral("a.png"), QStringLiteral("b/c.png")}));
    QCOMPARE(taken[1].kind, ViewerEvent::Kind::card);
    QCOMPARE(taken[1].reason, QStringLiteral("is empty"));
    QVERIFY(events.take().empty());
}

void ViewerEventsTest::notesComeOneByOne()
{
    ViewerEvents events;
    events.add(R"({"event":"shown","reason":"a; b","notes":["a","b"]})");
    events.add(R"({"event":"note","reason":"the environment picture is cut short"})");
    const auto taken = events.take();
    QCOMPARE(taken.size(), std::size_t{2});
    QCOMPARE(taken[0].notes, QStringList({QStringLiteral("a"), QStringLiteral("b")}));
    QCOMPARE(taken[1].kind, ViewerEvent::Kind::note);
    QCOMPARE(taken[1].reason, QStringLiteral("the environment picture is cut short"));
}

void ViewerEventsTest::textThatIsNoEventIsLeftOut()
{
    ViewerEvents events;
    for (const char* text : {"", "nonsense", "[]", "{}", R"({"event":"applause"})"})
        events.add(text);
    QVERIFY(events.take().empty());
}

void ViewerEventsTest::missingPluginIsNamed()
{
    Plugin plugin;
    QVERIFY(!plugin.load(QStringLiteral("/nowhere/libov3dobject.so.1")));
    QVERIFY2(plugin.error().contains(QLatin1String("/nowhere/libov3dobject.so.1")), qPrintable(plugin.error()));
}

void ViewerEventsTest::libraryWithoutTheFactoryIsRefused()
{
    Plugin plugin;
    QVERIFY(!plugin.load(QStringLiteral("libm.so.6")));
    QVERIFY2(plugin.error().contains(QLatin1String("createObject")), qPrintable(plugin.error()));
}

OV3D_TEST_MAIN(ViewerEventsTest)
#include "viewerevents_test.moc"
