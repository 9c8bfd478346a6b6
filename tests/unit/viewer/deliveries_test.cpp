#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/session/deliveries.h"

using ov3d::protocol::Quality;
using ov3d::session::Deliveries;

namespace {

/// Writes and takes frames until none is left. @return how many there were
int writeAll(Deliveries& deliveries)
{
    int count = 0;
    while (deliveries.hasFrame()) {
        deliveries.written();
        deliveries.taken();
        ++count;
    }
    return count;
}

} // namespace

class DeliveriesTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void firstPictureIsOwedFromTheBeginning()
    {
        const Deliveries deliveries;
        QVERIFY(deliveries.owes(false));
        QVERIFY(deliveries.needsPicture(Quality::final));
        QVERIFY(!deliveries.hasFrame());
    }

    void pictureAtRestIsWrittenTwiceAndOwedUntilTakenTwice()
    {
        Deliveries deliveries;
        deliveries.arrived(deliveries.wanted(), Quality::final, false);
        QVERIFY(!deliveries.needsPicture(Quality::final));
        deliveries.written();
        deliveries.taken();
        QVERIFY(deliveries.hasFrame() && deliveries.owes(false));
        deliveries.written();
        QVERIFY(!deliveries.hasFrame());
        QVERIFY2(deliveries.owes(false), "written, but not yet taken");
        deliveries.taken();
        QVERIFY(!deliveries.owes(false));
    }

    void draftIsWrittenOnceAndOwesItsRefinement()
    {
        Deliveries deliveries;
        deliveries.arrived(deliveries.wanted(), Quality::draft, false);
        QCOMPARE(writeAll(deliveries), 1);
        QVERIFY(deliveries.owes(false));
        QVERIFY(!deliveries.needsPicture(Quality::draft));
        QVERIFY(deliveries.needsPicture(Quality::final));
    }

    void pictureThatIsNoLongerWantedIsWrittenOnce()
    {
        Deliveries deliveries;
        const auto older = deliveries.wanted();
        deliveries.change();
        deliveries.arrived(older, Quality::final, false);
        QCOMPARE(writeAll(deliveries), 1);
        QVERIFY(deliveries.owes(false) && deliveries.needsPicture(Quality::final));
    }

    void repeatWritesThePictureAtRestTwiceAgain()
    {
        Deliveries deliveries;
        deliveries.arrived(deliveries.wanted(), Quality::final, false);
        writeAll(deliveries);
        deliveries.repeat();
        QVERIFY(deliveries.owes(false));
        QVERIFY2(!deliveries.needsPicture(Quality::final), "the pixels are still there");
        QCOMPARE(writeAll(deliveries), 2);
        QVERIFY(!deliveries.owes(false));
    }

    void repeatAfterThePixelsWentDrawsAgain()
    {
        Deliveries deliveries;
        deliveries.arrived(deliveries.wanted(), Quality::final, false);
        writeAll(deliveries);
        deliveries.drop();
        QVERIFY2(!deliveries.owes(false), "what has been delivered is not owed again");
        deliveries.repeat();
        QVERIFY(deliveries.needsPicture(Quality::final));
        QVERIFY(deliveries.owes(false));
    }

    void repeatWhileThePictureIsOnItsWayAsksForNothingMore()
    {
        Deliveries deliveries;
        const auto wanted = deliveries.wanted();
        deliveries.repeat();
        QCOMPARE(deliveries.wanted(), wanted);
    }

    void pixelsLostBeforeTheSecondWriteAreDrawnAgain()
    {
        Deliveries deliveries;
        deliveries.arrived(deliveries.wanted(), Quality::final, false);
        deliveries.written();
        deliveries.taken();
        deliveries.drop();
        QVERIFY(deliveries.owes(false));
        QVERIFY(deliveries.needsPicture(Quality::final));
    }

    void turntableOwesOnlyWhatWasAskedFor()
    {
        Deliveries deliveries;
        deliveries.arrived(deliveries.wanted(), Quality::final, true);
        QVERIFY(deliveries.owes(true));
        QCOMPARE(writeAll(deliveries), 1);
        QVERIFY(!deliveries.owes(true));
        deliveries.turn();
        QVERIFY(!deliveries.owes(true));
        QVERIFY(deliveries.needsPicture(Quality::final));
        deliveries.change();
        QVERIFY(deliveries.owes(true));
        deliveries.arrived(deliveries.wanted(), Quality::final, true);
        writeAll(deliveries);
        QVERIFY(!deliveries.owes(true));
    }
};

OV3D_TEST_MAIN(DeliveriesTest)
#include "deliveries_test.moc"
