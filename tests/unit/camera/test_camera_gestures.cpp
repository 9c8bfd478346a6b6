#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/camera/camerahand.h"

using namespace ov3d::camera;

class TestCameraGestures : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void dragOverTheWholeWidthComesBack();
    void dragOverAQuarterOfTheWidthTurnsNinetyDegrees();
    void dragOverATenthOfTheHeightRaisesEighteenDegrees();
    void modelFollowsTheHand();
    void orbitKeepsTheFocalPointAndTheRoll();
    void elevationStopsShortOfThePoles_data();
    void elevationStopsShortOfThePoles();
    void dragFromTheTopViewDoesNotJump();
    void panKeepsTheGrabbedPointUnderThePointer_data();
    void panKeepsTheGrabbedPointUnderThePointer();
    void panTurnsNothing();
    void wheelKeepsThePointUnderThePointer_data();
    void wheelKeepsThePointUnderThePointer();
    void wheelStepOfTwoZoomsByAFixedFactor();
    void fiveFineStepsMakeOne();
    void wheelThereAndBackIsTheSameView();
    void zoomEndsAtItsLimits_data();
    void zoomEndsAtItsLimits();
    void dollyGoesNearerWhenTheHandGoesUp();
    void dollyIgnoresSidewaysMovement();
    void dollyEndsAtItsLimits();
    void rollTurnsAboutTheViewAxis();
    void rollOverTheWholeWidthComesBack();
    void rollIgnoresUpAndDown();
    void sunTurnsWithoutTheCamera();
    void sunGoesWhereTheHandGoes();
    void sunOverTheWholeWidthComesBack();
    void sunThatFollowsTheCameraIsNotTurned();
    void turningTheSunKeepsTheViewFitted();
    void manySmallMovesEqualOneLargeMove_data();
    void manySmallMovesEqualOneLargeMove();
    void movingBackToThePressRestoresTheView_data();
    void movingBackToThePressRestoresTheView();
};

void TestCameraGestures::dragOverTheWholeWidthComesBack()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    const Pose before = hand.pose();
    hand.drag(0, 300, 1280, 300);
    QVERIFY(distanceBetween(hand.pose().position, before.position) < 1e-9);
    QVERIFY(distanceBetween(hand.pose().right, before.right) < 1e-12);
}

void TestCameraGestures::dragOverAQuarterOfTheWidthTurnsNinetyDegrees()
{
    CameraHand hand;
    hand.viewType(1);
    hand.drag(700, 300, 380, 300);
    QVERIFY(distanceBetween(hand.pose().backward, {1, 0, 0}) < 1e-12);
}

void TestCameraGestures::dragOverATenthOfTheHeightRaisesEighteenDegrees()
{
    CameraHand hand;
    const double before = anglesOf(hand.pose()).elevation;
    hand.drag(700, 300, 700, 396);
    QVERIFY(std::abs(anglesOf(hand.pose()).elevation - before - 18 * kDegree) < 1e-12);
}

void TestCameraGestures::modelFollowsTheHand()
{
    CameraHand hand;
    const Vec3 facing = hand.pose().backward;
    hand.drag(600, 400, 650, 460);
    const auto place = project(hand.pose(), hand.aspect(), facing);
    QVERIFY(place);
    QVERIFY(place->x * 960 > 640);
    QVERIFY(place->y * 960 > 480);
}

void TestCameraGestures::orbitKeepsTheFocalPointAndTheRoll()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.drag(100, 100, 300, 150, 4);
    hand.drag(100, 100, 150, 100, 1, 3);
    const Pose before = hand.pose();
    hand.drag(100, 100, 420, 333);
    const Pose after = hand.pose();
    QVERIFY(after.focal_point == before.focal_point);
    QVERIFY(std::abs(anglesOf(after).roll - anglesOf(before).roll) < 1e-9);
    QVERIFY(std::abs(distanceBetween(after.position, after.focal_point) -
                     distanceBetween(before.position, before.focal_point)) < 1e-9);
}

void TestCameraGestures::elevationStopsShortOfThePoles_data()
{
    QTest::addColumn<int>("down");
    QTest::addColumn<double>("limit");
    QTest::newRow("above") << 5000 << 89.5;
    QTest::newRow("below") << -5000 << -89.5;
}

void TestCameraGestures::elevationStopsShortOfThePoles()
{
    QFETCH(int, down);
    QFETCH(double, limit);
    CameraHand hand;
    const double azimuth = anglesOf(hand.pose()).azimuth;
    hand.drag(600, 400, 600, 400 + down);
    const Angles angles = anglesOf(hand.pose());
    QVERIFY(std::abs(angles.elevation - limit * kDegree) < 1e-9);
    QVERIFY(std::abs(angles.azimuth - azimuth) < 1e-9);
    QVERIFY(std::abs(angles.roll) < 1e-9);

    const OV3DOBJECT::SceneStatus atLimit = hand.camera.status();
    hand.drag(600, 400, 600, 400 + down);
    QVERIFY(distanceBetween(hand.pose().position, poseFromStatus(atLimit).position) < 1e-12);
}

void TestCameraGestures::dragFromTheTopViewDoesNotJump()
{
    CameraHand hand;
    hand.viewType(6);
    const Pose before = hand.pose();
    hand.press(600, 400);
    hand.move(601, 400);
    // One of 1280 pixels is about a third of a degree.
    QVERIFY(distanceBetween(hand.pose().right, before.right) < 0.3 * kDegree);
    QVERIFY(hand.pose().backward == before.backward);
    hand.move(601, 399);
    QVERIFY(distanceBetween(hand.pose().backward, before.backward) < 0.2 * kDegree);
}

void TestCameraGestures::panKeepsTheGrabbedPointUnderThePointer_data()
{
    QTest::addColumn<double>("radius");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("projection");
    QTest::newRow("perspective") << 4.0 << 1280 << 960 << 0;
    QTest::newRow("parallel") << 4.0 << 1280 << 960 << 1;
    QTest::newRow("micrometre") << 1e-6 << 1280 << 960 << 0;
    QTest::newRow("kilometre") << 1e3 << 1280 << 960 << 0;
    QTest::newRow("tall picture") << 4.0 << 300 << 1100 << 0;
}

void TestCameraGestures::panKeepsTheGrabbedPointUnderThePointer()
{
    QFETCH(double, radius);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, projection);
    CameraHand hand(BoundingSphere{{1, 2, 3}, radius}, width, height);
    hand.request.camera.camera_id = projection;
    hand.send(kOperationRedraw);
    hand.drag(30, 40, 90, 70);
    hand.drag(30, 40, 60, 70, 1, 3);
    const Vec3 grabbed = hand.under(200, 300);
    QVERIFY(hand.press(200, 300, 4).gesture_running);
    hand.move(250, 350);
    QVERIFY(hand.pixelsFrom(250, 350, grabbed) < 1e-3);
    hand.move(20, 700);
    QVERIFY(hand.pixelsFrom(20, 700, grabbed) < 1e-3);
    hand.release(20, 700);
    QVERIFY(hand.pixelsFrom(20, 700, grabbed) < 1e-3);
}

void TestCameraGestures::panTurnsNothing()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    const Pose before = hand.pose();
    hand.drag(100, 200, 400, 100, 4);
    const Pose after = hand.pose();
    QVERIFY(after.right == before.right && after.up == before.up && after.backward == before.backward);
    QCOMPARE(after.view_height, before.view_height);
    QVERIFY(after.focal_point != before.focal_point);
}

void TestCameraGestures::wheelKeepsThePointUnderThePointer_data()
{
    QTest::addColumn<double>("step");
    QTest::addColumn<int>("code");
    QTest::addColumn<int>("projection");
    for (int projection : {0, 1}) {
        const char* name = projection ? "parallel" : "perspective";
        QTest::addRow("nearer, %s", name) << 2.0 << 0 << projection;
        QTest::addRow("away, %s", name) << -2.0 << 0 << projection;
        QTest::addRow("finely nearer, %s", name) << 2.0 << 1 << projection;
        QTest::addRow("finely away, %s", name) << -2.0 << 1 << projection;
    }
}

void TestCameraGestures::wheelKeepsThePointUnderThePointer()
{
    QFETCH(double, step);
    QFETCH(int, code);
    QFETCH(int, projection);
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.request.camera.camera_id = projection;
    hand.send(kOperationRedraw);
    hand.drag(30, 40, 90, 70);
    const Vec3 fixed = hand.under(1000, 200);
    for (int i = 0; i < 40; ++i) {
        hand.wheel(1000, 200, step, code);
        QVERIFY(hand.pixelsFrom(1000, 200, fixed) < 1e-3);
    }
}

void TestCameraGestures::wheelStepOfTwoZoomsByAFixedFactor()
{
    CameraHand hand;
    const double before = hand.pose().view_height;
    const Outcome outcome = hand.wheel(640, 480, 2);
    QVERIFY(outcome.moved && outcome.deliver_at_rest && !outcome.gesture_running);
    QVERIFY(std::abs(hand.pose().view_height * 1.2 - before) < 1e-9);
    hand.wheel(640, 480, 2);
    QVERIFY(std::abs(hand.pose().view_height * 1.44 - before) < 1e-9);
}

void TestCameraGestures::fiveFineStepsMakeOne()
{
    CameraHand coarse;
    CameraHand fine;
    coarse.wheel(300, 200, 2);
    for (int i = 0; i < 5; ++i)
        fine.wheel(300, 200, 2, 1);
    QVERIFY(distanceBetween(coarse.pose().position, fine.pose().position) < 1e-9);
}

void TestCameraGestures::wheelThereAndBackIsTheSameView()
{
    CameraHand hand;
    const Pose before = hand.pose();
    hand.wheel(300, 200, 2);
    hand.wheel(300, 200, -2);
    QVERIFY(distanceBetween(hand.pose().position, before.position) < 1e-12);
}

void TestCameraGestures::zoomEndsAtItsLimits_data()
{
    QTest::addColumn<double>("step");
    QTest::addColumn<double>("radius");
    for (double radius : {1e-6, 1.0, 1e3}) {
        QTest::addRow("nearest, radius %g", radius) << 2.0 << radius;
        QTest::addRow("farthest, radius %g", radius) << -2.0 << radius;
    }
}

void TestCameraGestures::zoomEndsAtItsLimits()
{
    QFETCH(double, step);
    QFETCH(double, radius);
    CameraHand hand(BoundingSphere{{}, radius});
    for (int i = 0; i < 200; ++i)
        hand.wheel(300, 200, step);
    const double filling = radius / std::sin(15 * kDegree);
    const double distance = zoomDistance(hand.pose());
    QVERIFY(std::abs(distance / (step > 0 ? filling / 400 : filling * 20) - 1) < 1e-9);

    const OV3DOBJECT::SceneStatus atLimit = hand.camera.status();
    QVERIFY(!hand.wheel(300, 200, step).moved);
    QVERIFY(sameBytes(hand.camera.status(), atLimit));
    QVERIFY(hand.wheel(300, 200, -step).moved);
}

void TestCameraGestures::dollyGoesNearerWhenTheHandGoesUp()
{
    CameraHand hand;
    const Pose before = hand.pose();
    hand.drag(600, 500, 600, 400, 1, 1);
    const Pose nearer = hand.pose();
    QVERIFY(zoomDistance(nearer) < zoomDistance(before));
    QVERIFY(nearer.focal_point == before.focal_point);
    QVERIFY(nearer.backward == before.backward);
    hand.drag(600, 400, 600, 500, 1, 1);
    QVERIFY(std::abs(zoomDistance(hand.pose()) - zoomDistance(before)) < 1e-9);
}

void TestCameraGestures::dollyIgnoresSidewaysMovement()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.drag(600, 500, 900, 500, 1, 1);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraGestures::dollyEndsAtItsLimits()
{
    CameraHand hand;
    const double filling = 1 / std::sin(15 * kDegree);
    hand.drag(600, 500, 600, -9000, 1, 1);
    QVERIFY(std::abs(zoomDistance(hand.pose()) - filling / 400) < 1e-9);
    hand.drag(600, 500, 600, 9000, 1, 1);
    QVERIFY(std::abs(zoomDistance(hand.pose()) - filling * 20) < 1e-9);
}

void TestCameraGestures::rollTurnsAboutTheViewAxis()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.viewType(1);
    const Pose before = hand.pose();
    // A quarter of the width to the right turns the picture a quarter clockwise.
    hand.drag(100, 100, 420, 100, 1, 3);
    const Pose after = hand.pose();
    QVERIFY(after.backward == before.backward);
    QVERIFY(distanceBetween(after.position, before.position) < 1e-9);
    QVERIFY(distanceBetween(after.right, before.up) < 1e-12);
    const auto top = project(after, hand.aspect(), Vec3{1, 5, 3});
    QVERIFY(top && top->x * 960 > 640 + 50);
}

void TestCameraGestures::rollOverTheWholeWidthComesBack()
{
    CameraHand hand;
    const Pose before = hand.pose();
    hand.drag(0, 100, 1280, 100, 1, 3);
    QVERIFY(distanceBetween(hand.pose().right, before.right) < 1e-12);
}

void TestCameraGestures::rollIgnoresUpAndDown()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.drag(600, 500, 600, 100, 1, 3);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraGestures::sunTurnsWithoutTheCamera()
{
    CameraHand hand;
    hand.request.sun_follow = false;
    hand.send(kOperationRedraw);
    const Pose before = hand.pose();
    hand.drag(100, 100, 300, 200, 1, 4);
    Pose after = hand.pose();
    QVERIFY(distanceBetween(after.sun_direction, before.sun_direction) > 0.1);
    QVERIFY(std::abs(length(after.sun_direction) - 1) < 1e-12);
    after.sun_direction = before.sun_direction;
    QVERIFY(after == before);
}

void TestCameraGestures::sunGoesWhereTheHandGoes()
{
    CameraHand hand;
    hand.viewType(1);
    hand.request.sun_follow = false;
    hand.request.sun_dir[0] = 0;
    hand.request.sun_dir[1] = 0;
    hand.request.sun_dir[2] = -1;
    hand.send(kOperationRedraw);
    hand.drag(600, 500, 600 + 160, 500, 1, 4);
    const Vec3 right = -hand.pose().sun_direction;
    QVERIFY(right.x > 0.5 && std::abs(right.y) < 1e-12);
    hand.drag(600, 500, 600, 500 - 160, 1, 4);
    QVERIFY((-hand.pose().sun_direction).y > 0.4);
    hand.drag(600, 500, 600, -5000, 1, 4);
    QVERIFY(std::abs((-hand.pose().sun_direction).y - std::sin(89.5 * kDegree)) < 1e-9);
}

void TestCameraGestures::sunOverTheWholeWidthComesBack()
{
    CameraHand hand;
    hand.request.sun_follow = false;
    hand.send(kOperationRedraw);
    const Vec3 before = hand.pose().sun_direction;
    hand.drag(0, 100, 1280, 100, 1, 4);
    QVERIFY(distanceBetween(hand.pose().sun_direction, before) < 1e-12);
}

void TestCameraGestures::sunThatFollowsTheCameraIsNotTurned()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.drag(100, 100, 300, 200, 1, 4);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraGestures::turningTheSunKeepsTheViewFitted()
{
    CameraHand hand;
    hand.request.sun_follow = false;
    hand.send(kOperationRedraw);
    hand.drag(100, 100, 300, 200, 1, 4);
    QVERIFY(isFitted(hand.camera.status()));
    hand.drag(100, 100, 300, 200);
    QVERIFY(!isFitted(hand.camera.status()));
}

namespace {

void addGestureRows()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("code");
    QTest::newRow("orbit") << 1 << 0;
    QTest::newRow("pan") << 4 << 0;
    QTest::newRow("dolly") << 1 << 1;
    QTest::newRow("roll") << 1 << 3;
    QTest::newRow("sun") << 1 << 4;
}

} // namespace

void TestCameraGestures::manySmallMovesEqualOneLargeMove_data()
{
    addGestureRows();
}

void TestCameraGestures::manySmallMovesEqualOneLargeMove()
{
    QFETCH(int, button);
    QFETCH(int, code);
    CameraHand small(BoundingSphere{{1, 2, 3}, 4});
    CameraHand large(BoundingSphere{{1, 2, 3}, 4});
    for (CameraHand* hand : {&small, &large}) {
        hand->request.sun_follow = false;
        hand->send(kOperationRedraw);
        hand->press(100, 100, button, code);
    }
    for (int i = 1; i <= 300; ++i)
        small.move(100 + i, 100 + 2 * i);
    large.move(400, 700);
    QVERIFY(sameBytes(small.camera.status(), large.camera.status()));
}

void TestCameraGestures::movingBackToThePressRestoresTheView_data()
{
    addGestureRows();
}

void TestCameraGestures::movingBackToThePressRestoresTheView()
{
    QFETCH(int, button);
    QFETCH(int, code);
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.request.sun_follow = false;
    hand.send(kOperationRedraw);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.press(100, 100, button, code);
    QVERIFY(hand.move(300, 400).moved);
    QVERIFY(!sameBytes(hand.camera.status(), before));
    hand.move(100, 100);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

OV3D_TEST_MAIN(TestCameraGestures)
#include "test_camera_gestures.moc"
