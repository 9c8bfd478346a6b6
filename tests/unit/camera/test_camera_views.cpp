#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/camera/camerahand.h"

Q_DECLARE_METATYPE(ov3d::camera::Vec3)

using namespace ov3d::camera;

class TestCameraViews : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void fixedViewsHaveExactAxes_data();
    void fixedViewsHaveExactAxes();
    void isometricSeesThreeAxesAlike();
    void homeLooksFromTheRightAndAbove();
    void viewTypeActsOnlyWhenItChanges();
    void viewTypeActsWithAnyOperationThatFindsItChanged_data();
    void viewTypeActsWithAnyOperationThatFindsItChanged();
    void freeViewStaysWhereItIs();
    void unknownViewTypeIsFree();
    void turntableTurnsTwentyDegreesASecond();
    void turntableKeepsElevationAndSize();
    void turntableComesBackAfterEighteenSeconds();
    void turntableStartsWhereTheViewIs();
    void turntableStopsWithAnotherType();
    void gestureSuspendsTheTurntable();
    void hostSuspendsAndResumesTheTurntable();
    void wheelDoesNotStopTheTurntable();
    void restoredViewIsExactAlthoughTheTurntableTurns();
    void clockThatGoesBackIsHarmless();
    void requestShowsTheAngleOfItsMoment();
    void resetReturnsHome();
    void resetActsInEachRedrawThatFindsIt();
    void resetActsInNoOtherOperation();
    void resetKeepsTheSun();
    void projectionSettingActsWhenItChanges();
    void widerAngleKeepsTheFocalPlane();
    void offsetShiftsTheFocalPoint();
    void unusableCameraSettingsCountAsDefaults();
    void cameraSettingsDoNotUndoARestore();
    void unusedCameraValuesChangeNothing();
};

void TestCameraViews::fixedViewsHaveExactAxes_data()
{
    QTest::addColumn<int>("viewType");
    QTest::addColumn<Vec3>("right");
    QTest::addColumn<Vec3>("up");
    QTest::addColumn<Vec3>("backward");
    QTest::newRow("front looks along -Z") << 1 << Vec3{1, 0, 0} << Vec3{0, 1, 0} << Vec3{0, 0, 1};
    QTest::newRow("back looks along +Z") << 2 << Vec3{-1, 0, 0} << Vec3{0, 1, 0} << Vec3{0, 0, -1};
    QTest::newRow("left looks along +X") << 3 << Vec3{0, 0, 1} << Vec3{0, 1, 0} << Vec3{-1, 0, 0};
    QTest::newRow("right looks along -X") << 4 << Vec3{0, 0, -1} << Vec3{0, 1, 0} << Vec3{1, 0, 0};
    QTest::newRow("top looks down, back of the model above") << 6 << Vec3{1, 0, 0} << Vec3{0, 0, -1} << Vec3{0, 1, 0};
    QTest::newRow("bottom looks up, front of the model above") << 7 << Vec3{1, 0, 0} << Vec3{0, 0, 1} << Vec3{0, -1, 0};
}

void TestCameraViews::fixedViewsHaveExactAxes()
{
    QFETCH(int, viewType);
    QFETCH(Vec3, right);
    QFETCH(Vec3, up);
    QFETCH(Vec3, backward);
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.drag(100, 100, 300, 400, 1, 3);
    hand.drag(100, 100, 300, 400);
    const Outcome outcome = hand.viewType(viewType);
    QVERIFY(outcome.moved);
    QVERIFY(outcome.deliver_at_rest);
    const Pose pose = hand.pose();
    QVERIFY(pose.right == right);
    QVERIFY(pose.up == up);
    QVERIFY(pose.backward == backward);
    QVERIFY(pose.focal_point == hand.model.centre);
    QVERIFY(std::abs(hand.spannedPart() - 0.9) < 0.01);
}

void TestCameraViews::isometricSeesThreeAxesAlike()
{
    CameraHand hand;
    hand.viewType(8);
    const Pose pose = hand.pose();
    const double third = std::sqrt(1.0 / 3.0);
    QVERIFY(distanceBetween(pose.backward, {third, third, third}) < 1e-12);
    QVERIFY(std::abs(pose.right.y) < 1e-12);
    QVERIFY(pose.up.y > 0);
}

void TestCameraViews::homeLooksFromTheRightAndAbove()
{
    const CameraHand hand;
    const Angles angles = anglesOf(hand.pose());
    QVERIFY(std::abs(angles.azimuth - 30 * kDegree) < 1e-12);
    QVERIFY(std::abs(angles.elevation - 20 * kDegree) < 1e-12);
    QVERIFY(std::abs(angles.roll) < 1e-12);
}

void TestCameraViews::viewTypeActsOnlyWhenItChanges()
{
    CameraHand hand;
    hand.viewType(1);
    hand.drag(0, 0, 100, 100);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    const Outcome outcome = hand.viewType(1);
    QVERIFY(!outcome.moved);
    QVERIFY(!outcome.deliver_at_rest);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraViews::viewTypeActsWithAnyOperationThatFindsItChanged_data()
{
    QTest::addColumn<int>("op");
    QTest::newRow("input") << int(kOperationInput);
    QTest::newRow("redraw") << int(kOperationRedraw);
    QTest::newRow("apply") << int(kOperationApplyViewType);
    QTest::newRow("the host's own") << 77;
}

void TestCameraViews::viewTypeActsWithAnyOperationThatFindsItChanged()
{
    QFETCH(int, op);
    CameraHand hand;
    hand.request.view.view_type = 4;
    const Outcome outcome = hand.send(op);
    QVERIFY(outcome.moved);
    QVERIFY(outcome.deliver_at_rest);
    QVERIFY(hand.pose().backward == Vec3({1, 0, 0}));
}

void TestCameraViews::freeViewStaysWhereItIs()
{
    CameraHand hand;
    hand.viewType(3);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    QVERIFY(hand.viewType(0).deliver_at_rest);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraViews::unknownViewTypeIsFree()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    for (int type : {-1, 9, 1000, std::numeric_limits<int>::min()})
        hand.viewType(type);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraViews::turntableTurnsTwentyDegreesASecond()
{
    CameraHand hand;
    hand.request.seconds = 100;
    const double start = anglesOf(hand.pose()).azimuth;
    hand.viewType(5);
    QVERIFY(hand.camera.isTurning());
    QVERIFY(!hand.camera.advance(100));
    QVERIFY(hand.camera.advance(100.5));
    QVERIFY(std::abs(anglesOf(hand.pose()).azimuth - start - 10 * kDegree) < 1e-9);
    QVERIFY(hand.camera.advance(103));
    QVERIFY(std::abs(anglesOf(hand.pose()).azimuth - start - 60 * kDegree) < 1e-9);
}

void TestCameraViews::turntableKeepsElevationAndSize()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    const Pose before = hand.pose();
    hand.viewType(5);
    hand.camera.advance(7.3);
    const Pose after = hand.pose();
    QVERIFY(std::abs(after.backward.y - before.backward.y) < 1e-12);
    QVERIFY(after.focal_point == before.focal_point);
    QVERIFY(std::abs(after.view_height - before.view_height) < 1e-12);
    QVERIFY(std::abs(anglesOf(after).roll) < 1e-12);
}

void TestCameraViews::turntableComesBackAfterEighteenSeconds()
{
    CameraHand hand;
    const Pose before = hand.pose();
    hand.viewType(5);
    hand.camera.advance(9);
    QVERIFY(distanceBetween(hand.pose().position, before.position) > 1);
    hand.camera.advance(18);
    QVERIFY(distanceBetween(hand.pose().position, before.position) < 1e-9);
}

void TestCameraViews::turntableStartsWhereTheViewIs()
{
    CameraHand hand;
    hand.drag(0, 0, 50, 60);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.viewType(5);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraViews::turntableStopsWithAnotherType()
{
    CameraHand hand;
    hand.viewType(5);
    hand.camera.advance(1);
    hand.request.seconds = 1;
    hand.viewType(0);
    QVERIFY(!hand.camera.isTurning());
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    QVERIFY(!hand.camera.advance(2));
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraViews::gestureSuspendsTheTurntable()
{
    CameraHand hand;
    hand.viewType(5);
    hand.request.seconds = 2;
    hand.press(100, 100);
    QVERIFY(!hand.camera.isTurning());
    const OV3DOBJECT::SceneStatus held = hand.camera.status();
    QVERIFY(!hand.camera.advance(5));
    hand.request.seconds = 10;
    hand.move(100, 100);
    QVERIFY(sameBytes(hand.camera.status(), held));
    hand.release(100, 100);
    QVERIFY(sameBytes(hand.camera.status(), held));
    QVERIFY(hand.camera.isTurning());
    QVERIFY(hand.camera.advance(10.5));
    const double turned = anglesOf(hand.pose()).azimuth - anglesOf(poseFromStatus(held)).azimuth;
    QVERIFY(std::abs(turned - 10 * kDegree) < 1e-9);
}

void TestCameraViews::hostSuspendsAndResumesTheTurntable()
{
    // A middle press: the view type goes to 0 in the same request as the button, and back to 5 before the button-up.
    CameraHand hand;
    hand.request.sun_follow = false;
    hand.send(kOperationRedraw);
    hand.viewType(5);
    hand.request.view.view_type = 0;
    hand.request.mouse_type = kMouseButtonDown;
    hand.request.mouse_x = 100;
    hand.request.mouse_y = 100;
    hand.request.mouse_button = 1;
    hand.request.mouse_modifiers = 4;
    QVERIFY(hand.send(kOperationApplyViewType).gesture_running);
    const Pose before = hand.pose();
    hand.request.seconds = 3;
    QVERIFY(hand.move(300, 100).moved);
    QVERIFY(hand.pose().position == before.position);
    QVERIFY(hand.pose().sun_direction != before.sun_direction);

    const OV3DOBJECT::SceneStatus held = hand.camera.status();
    hand.request.view.view_type = 5;
    QVERIFY(hand.send(kOperationApplyViewType).gesture_running);
    hand.release(300, 100);
    QVERIFY(sameBytes(hand.camera.status(), held));
    QVERIFY(hand.camera.isTurning());
}

void TestCameraViews::wheelDoesNotStopTheTurntable()
{
    // A Shift wheel on the turntable comes with the operation for a changed view type, although it is unchanged.
    CameraHand hand;
    hand.viewType(5);
    hand.request.mouse_type = kMouseWheel;
    hand.request.mouse_x = 640;
    hand.request.mouse_y = 480;
    hand.request.mouse_modifiers = 1;
    hand.request.wheel_step = 2;
    const double before = hand.pose().view_height;
    const Outcome outcome = hand.send(kOperationApplyViewType);
    QVERIFY(outcome.moved);
    QVERIFY(outcome.deliver_at_rest);
    QVERIFY(hand.pose().view_height < before);
    QVERIFY(hand.camera.isTurning());

    // The same record, left in place when the view type does change, is not a new turn of the wheel.
    const double zoomed = hand.pose().view_height;
    hand.viewType(0);
    QCOMPARE(hand.pose().view_height, zoomed);
}

void TestCameraViews::restoredViewIsExactAlthoughTheTurntableTurns()
{
    CameraHand hand;
    hand.drag(0, 0, 77, 55);
    const OV3DOBJECT::SceneStatus saved = hand.camera.status();
    hand.viewType(5);
    hand.camera.advance(4);
    hand.request.seconds = 6;
    hand.restore(saved);
    QVERIFY(sameBytes(hand.camera.status(), saved));
    QVERIFY(!hand.camera.advance(6));
    QVERIFY(sameBytes(hand.camera.status(), saved));
    QVERIFY(hand.camera.advance(6.1));
}

void TestCameraViews::clockThatGoesBackIsHarmless()
{
    CameraHand hand;
    hand.request.seconds = 50;
    hand.viewType(5);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    QVERIFY(!hand.camera.advance(20));
    QVERIFY(!hand.camera.advance(std::numeric_limits<double>::quiet_NaN()));
    QVERIFY(!hand.camera.advance(std::numeric_limits<double>::infinity()));
    QVERIFY(sameBytes(hand.camera.status(), before));
    QVERIFY(hand.camera.advance(21));
    QVERIFY(hand.camera.advance(1e18));
    QVERIFY(isConsistent(hand.camera.status()));
}

void TestCameraViews::requestShowsTheAngleOfItsMoment()
{
    CameraHand hand;
    const double start = anglesOf(hand.pose()).azimuth;
    hand.viewType(5);
    hand.request.seconds = 2;
    QVERIFY(hand.send(kOperationRedraw).moved);
    QVERIFY(std::abs(anglesOf(hand.pose()).azimuth - start - 40 * kDegree) < 1e-9);
}

void TestCameraViews::resetReturnsHome()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    const OV3DOBJECT::SceneStatus home = hand.camera.status();
    hand.drag(0, 0, 300, 100);
    hand.drag(0, 0, 300, 100, 4);
    hand.drag(0, 0, 300, 100, 1, 1);
    hand.drag(0, 0, 300, 100, 1, 3);
    hand.wheel(5, 5, -2);
    hand.request.view.reset_camera = true;
    const Outcome outcome = hand.send(kOperationRedraw);
    QVERIFY(outcome.moved);
    QVERIFY(outcome.deliver_at_rest);
    QVERIFY(sameBytes(hand.camera.status(), home));
}

void TestCameraViews::resetActsInEachRedrawThatFindsIt()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus home = hand.camera.status();
    hand.request.view.reset_camera = true;
    for (int i = 0; i < 2; ++i) {
        hand.drag(0, 0, 300, 100);
        QVERIFY(!sameBytes(hand.camera.status(), home));
        hand.send(kOperationRedraw);
        QVERIFY(sameBytes(hand.camera.status(), home));
    }
}

void TestCameraViews::resetActsInNoOtherOperation()
{
    CameraHand hand;
    hand.drag(0, 0, 300, 100);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.request.view.reset_camera = true;
    hand.send(kOperationInput);
    hand.send(kOperationApplyViewType);
    hand.send(77);
    hand.restore(before);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraViews::resetKeepsTheSun()
{
    CameraHand hand;
    hand.request.sun_follow = false;
    hand.send(kOperationRedraw);
    hand.drag(0, 0, 300, 100, 1, 4);
    const Vec3 sun = hand.pose().sun_direction;
    hand.request.view.reset_camera = true;
    hand.send(kOperationRedraw);
    QVERIFY(hand.pose().sun_direction == sun);
}

void TestCameraViews::projectionSettingActsWhenItChanges()
{
    CameraHand hand;
    hand.drag(0, 0, 300, 100);
    hand.drag(0, 0, 30, 100, 4);
    const Vec3 grabbed = hand.under(200, 300);
    hand.request.camera.camera_id = 1;
    hand.send(kOperationRedraw);
    QVERIFY(hand.pose().parallel);
    QVERIFY(hand.pixelsFrom(200, 300, grabbed) < 1e-6);
    hand.request.camera.camera_id = 0;
    hand.send(kOperationRedraw);
    QVERIFY(!hand.pose().parallel);
    QVERIFY(hand.pixelsFrom(200, 300, grabbed) < 1e-6);
}

void TestCameraViews::widerAngleKeepsTheFocalPlane()
{
    CameraHand hand;
    hand.drag(0, 0, 30, 100, 4);
    const Pose before = hand.pose();
    hand.request.camera.camera_values[1] = 120;
    hand.send(kOperationRedraw);
    const Pose after = hand.pose();
    QVERIFY(std::abs(std::tan(after.vertical_field_of_view / 2) / std::tan(15 * kDegree) - std::tan(60 * kDegree)) <
            1e-9);
    QVERIFY(std::abs(after.view_height - before.view_height) < 1e-9);
    QVERIFY(after.focal_point == before.focal_point);
    QVERIFY(isConsistent(hand.camera.status()));
}

void TestCameraViews::offsetShiftsTheFocalPoint()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.request.camera.camera_position[1] = 0.5;
    hand.send(kOperationRedraw);
    QVERIFY(distanceBetween(hand.pose().focal_point, {1, 4, 3}) < 1e-12);
    hand.drag(0, 0, 10, 10);
    hand.request.camera.camera_position[1] = 0;
    hand.send(kOperationRedraw);
    QVERIFY(distanceBetween(hand.pose().focal_point, {1, 2, 3}) < 1e-12);
}

void TestCameraViews::unusableCameraSettingsCountAsDefaults()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    const double nan = std::numeric_limits<double>::quiet_NaN();
    hand.request.camera.camera_id = 99;
    std::fill(std::begin(hand.request.camera.camera_values), std::end(hand.request.camera.camera_values), nan);
    std::fill(std::begin(hand.request.camera.camera_position), std::end(hand.request.camera.camera_position), nan);
    hand.send(kOperationRedraw);
    QVERIFY(sameBytes(hand.camera.status(), before));

    hand.request.camera.camera_values[1] = -1e300;
    hand.request.camera.camera_position[0] = 1e300;
    hand.send(kOperationRedraw);
    QVERIFY(isConsistent(hand.camera.status()));
}

void TestCameraViews::cameraSettingsDoNotUndoARestore()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus perspective = hand.camera.status();
    hand.request.camera.camera_id = 1;
    hand.restore(perspective);
    hand.send(kOperationRedraw);
    QVERIFY(sameBytes(hand.camera.status(), perspective));
}

void TestCameraViews::unusedCameraValuesChangeNothing()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.request.camera.camera_values[0] = 3;
    hand.request.camera.camera_values[2] = 20;
    hand.request.camera.camera_values[3] = 10;
    QVERIFY(!hand.send(kOperationRedraw).moved);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

OV3D_TEST_MAIN(TestCameraViews)
#include "test_camera_views.moc"
