#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/camera/camerahand.h"
#include "viewer/camera/viewnames.h"

using namespace ov3d::camera;

/// What commands do to the camera, beside the records of the hand.
class TestCameraCommands : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void orbitTurnsByTheDegreesGiven_data()
    {
        QTest::addColumn<double>("azimuth");
        QTest::addColumn<double>("elevation");
        QTest::newRow("to the right") << 40.0 << 0.0;
        QTest::newRow("to the left and up") << -75.0 << 30.0;
        QTest::newRow("many turns") << 3600.0 * 1000 + 25 << 0.0;
        QTest::newRow("down") << 0.0 << -50.0;
    }

    void orbitTurnsByTheDegreesGiven()
    {
        QFETCH(double, azimuth);
        QFETCH(double, elevation);
        CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
        hand.camera.showView(1);
        const Vec3 focal = hand.pose().focal_point;
        hand.camera.orbit(azimuth, elevation);
        const Angles angles = anglesOf(hand.pose());
        QVERIFY(std::abs(std::remainder(angles.azimuth / kDegree - azimuth, 360)) < 1e-9);
        QVERIFY(std::abs(angles.elevation / kDegree - elevation) < 1e-9);
        QVERIFY(std::abs(angles.roll) < 1e-12);
        QCOMPARE(hand.pose().focal_point, focal);
    }

    void orbitToTheRightTakesTheCameraToPlusX()
    {
        CameraHand hand;
        hand.camera.showView(1);
        hand.camera.orbit(90, 0);
        QVERIFY(hand.pose().position.x > 1 && std::abs(hand.pose().position.z) < 1e-9);
    }

    void orbitStopsShortOfThePolesAsADragDoes()
    {
        CameraHand hand;
        hand.camera.orbit(0, 1000);
        QVERIFY(std::abs(anglesOf(hand.pose()).elevation - kMaxElevation) < 1e-12);
        hand.camera.orbit(0, -1e300);
        QVERIFY(std::abs(anglesOf(hand.pose()).elevation + kMaxElevation) < 1e-12);
        QVERIFY(isFinite(hand.camera.status()));
    }

    void orbitByNothingOrNonsenseChangesNothing()
    {
        CameraHand hand;
        const OV3DOBJECT::SceneStatus before = hand.camera.status();
        const double nan = std::numeric_limits<double>::quiet_NaN();
        const double infinity = std::numeric_limits<double>::infinity();
        hand.camera.orbit(0, 0);
        hand.camera.orbit(nan, 1);
        hand.camera.orbit(1, infinity);
        hand.camera.zoomBy(nan);
        hand.camera.zoomBy(0);
        hand.camera.zoomBy(-2);
        hand.camera.showView(5);
        hand.camera.returnTo({});
        QVERIFY(sameBytes(hand.camera.status(), before));
    }

    void orbitEndsTheFittedView()
    {
        CameraHand hand;
        hand.camera.orbit(10, 0);
        QVERIFY(!isFitted(hand.camera.status()));
        hand.camera.showHome();
        QVERIFY(isFitted(hand.camera.status()));
    }

    void zoomByTwoShowsTheModelTwiceAsLarge_data()
    {
        QTest::addColumn<int>("projection");
        QTest::newRow("perspective") << 0;
        QTest::newRow("parallel") << 1;
    }

    void zoomByTwoShowsTheModelTwiceAsLarge()
    {
        QFETCH(int, projection);
        CameraHand hand;
        hand.request.camera.camera_id = projection;
        hand.send(kOperationRedraw);
        const double height = hand.pose().view_height;
        hand.camera.zoomBy(2);
        QVERIFY(std::abs(height / hand.pose().view_height - 2) < 1e-12);
        hand.camera.zoomBy(1e300);
        hand.camera.zoomBy(1e300);
        QVERIFY(isFinite(hand.camera.status()) && hand.pose().view_height > 0);
    }

    void shownViewIsThatOfTheViewTypeWithoutBeingIt()
    {
        CameraHand byType;
        byType.viewType(6);
        CameraHand byCommand;
        byCommand.camera.orbit(20, 20);
        byCommand.camera.showView(6);
        QVERIFY(sameBytes(byType.camera.status(), byCommand.camera.status()));
        // The setting is still 0, so setting it to 6 is a change, and 0 is none.
        byCommand.camera.orbit(20, -20);
        const OV3DOBJECT::SceneStatus turned = byCommand.camera.status();
        byCommand.viewType(0);
        QVERIFY(sameBytes(byCommand.camera.status(), turned));
        byCommand.viewType(6);
        QVERIFY(sameBytes(byType.camera.status(), byCommand.camera.status()));
    }

    void dragGoesOnFromACommandedView()
    {
        CameraHand hand;
        hand.press(100, 100);
        hand.move(200, 150);
        hand.camera.showView(1);
        const OV3DOBJECT::SceneStatus front = hand.camera.status();
        hand.move(200, 150);
        QVERIFY2(sameBytes(hand.camera.status(), front), "the pointer has not moved since");
        hand.move(200 + hand.request.width / 4, 150);
        QVERIFY(std::abs(anglesOf(hand.pose()).azimuth / kDegree + 90) < 1e-9);
    }

    void turntableGoesOnFromACommandedView()
    {
        CameraHand hand;
        hand.request.seconds = 10;
        hand.viewType(5);
        hand.camera.advance(11);
        hand.camera.showView(1);
        hand.camera.advance(11);
        QVERIFY(std::abs(anglesOf(hand.pose()).azimuth) < 1e-12);
        hand.camera.advance(12);
        QVERIFY(std::abs(anglesOf(hand.pose()).azimuth / kDegree - 20) < 1e-9);
    }

    void turntableTurnedOnBySettingsEndsADragWhoseButtonUpWasLost()
    {
        CameraHand hand;
        hand.press(100, 100);
        hand.move(150, 100);
        hand.request.view.view_type = 5;
        QVERIFY(!hand.send(kOperationRedraw).gesture_running);
        QVERIFY(hand.camera.isTurning());
        const OV3DOBJECT::SceneStatus before = hand.camera.status();
        hand.move(400, 100);
        QVERIFY2(sameBytes(hand.camera.status(), before), "a drag record without a press does nothing");
    }

    void otherSettingsDoNotEndADrag()
    {
        CameraHand hand;
        hand.press(100, 100);
        hand.request.sun_follow = false;
        QVERIFY(hand.send(kOperationRedraw).gesture_running);
        const OV3DOBJECT::SceneStatus before = hand.camera.status();
        hand.move(400, 100);
        QVERIFY(!sameBytes(hand.camera.status(), before));
    }

    void namesStandForViewTypes()
    {
        const char* names[] = {"front", "back", "left", "right", "top", "bottom", "isometric"};
        const std::int32_t types[] = {1, 2, 3, 4, 6, 7, 8};
        for (int i = 0; i < 7; ++i)
            QCOMPARE(viewTypeOfName(names[i]).value_or(0), types[i]);
        for (const char* other : {"", "Front", "front ", "turntable", "home", "5"})
            QVERIFY(!viewTypeOfName(other));
    }
};

OV3D_TEST_MAIN(TestCameraCommands)
#include "test_camera_commands.moc"
