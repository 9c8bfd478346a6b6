#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/camera/camerahand.h"

#include <vector>

using namespace ov3d::camera;

class TestCameraRequests : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void startWithoutAStatusShowsHome();
    void startObeysTheViewType();
    void startWithASavedStatusShowsItToTheBit();
    void savedStatusWinsOverViewTypeAndReset();
    void savedTurntableTurnsOnFromTheSavedView();
    void startWithAGarbageStatusObeysTheSettings();
    void startWithABareMatrixKeepsIt();
    void secondStartForgetsTheFirst();
    void restoreIsExactToTheBit();
    void restoreSeesTheViewTypeWithoutApplyingIt();
    void emptyDragAfterARestoreChangesNothing_data();
    void emptyDragAfterARestoreChangesNothing();
    void gestureAfterARestoreContinuesFromIt();
    void tenGesturesUndoneAndRedoneGiveTheSameBytes();
    void restoreDuringADragGoesOnFromThere();
    void modifierOfThePressHoldsUntilTheRelease();
    void buttonUpNamingTheLeftButtonEndsAnyDrag();
    void dragWithoutAPressDoesNothing();
    void clickWithoutMovementChangesNothing();
    void secondPressBeginsANewGesture();
    void resizeDuringADragDoesNotJump();
    void wheelDuringADragDoesNotJump();
    void picturesAtRestAreOwedAfterTheseRequests();
    void redrawWithoutAChangeMovesNothing();
    void sunGoesToTheSettingWhenThatChanges();
    void sunSettingSeenByARestoreDoesNotAct();
    void startAndStopAreNoRequestsOfTheCamera();
    void oldButtonRecordIsNotPressedAgainWhenTheTurntableResumes();
};

void TestCameraRequests::startWithoutAStatusShowsHome()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    QVERIFY(std::abs(hand.spannedPart() - 0.9) < 0.01);
    QVERIFY(isFitted(hand.camera.status()));
    CameraHand reset(BoundingSphere{{1, 2, 3}, 4});
    reset.request.view.reset_camera = true;
    reset.camera.start(reset.request);
    reset.camera.setBounds(reset.model);
    QVERIFY(sameBytes(reset.camera.status(), hand.camera.status()));
}

void TestCameraRequests::startObeysTheViewType()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.request.view.view_type = 6;
    hand.camera.start(hand.request);
    hand.camera.setBounds(hand.model);
    QVERIFY(hand.pose().backward == Vec3({0, 1, 0}));
    QVERIFY(hand.pose().focal_point == hand.model.centre);
}

void TestCameraRequests::startWithASavedStatusShowsItToTheBit()
{
    CameraHand first(BoundingSphere{{1, 2, 3}, 4});
    first.drag(10, 10, 300, 200);
    first.wheel(7, 7, 2);
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.request.status = first.camera.status();
    hand.camera.start(hand.request);
    QVERIFY(sameBytes(hand.camera.status(), first.camera.status()));
    hand.camera.setBounds({{100, 100, 100}, 50});
    QVERIFY(sameBytes(hand.camera.status(), first.camera.status()));
}

void TestCameraRequests::savedStatusWinsOverViewTypeAndReset()
{
    CameraHand first;
    first.drag(10, 10, 300, 200);
    CameraHand hand;
    hand.request.status = first.camera.status();
    hand.request.view.view_type = 1;
    hand.request.view.reset_camera = true;
    hand.camera.start(hand.request);
    hand.camera.setBounds(hand.model);
    QVERIFY(sameBytes(hand.camera.status(), first.camera.status()));

    hand.request.view.reset_camera = false;
    QVERIFY(!hand.viewType(1).moved);
    QVERIFY(hand.viewType(2).moved);
}

void TestCameraRequests::savedTurntableTurnsOnFromTheSavedView()
{
    CameraHand first;
    first.drag(10, 10, 300, 200);
    CameraHand hand;
    hand.request.status = first.camera.status();
    hand.request.view.view_type = 5;
    hand.camera.start(hand.request);
    hand.camera.setBounds(hand.model);
    QVERIFY(hand.camera.isTurning());
    QVERIFY(!hand.camera.advance(1000));
    QVERIFY(sameBytes(hand.camera.status(), first.camera.status()));
    QVERIFY(hand.camera.advance(1001));
}

void TestCameraRequests::startWithAGarbageStatusObeysTheSettings()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    std::fill(std::begin(hand.request.status.camera_to_world), std::end(hand.request.status.camera_to_world), 7.0);
    hand.request.view.view_type = 1;
    hand.camera.start(hand.request);
    hand.camera.setBounds(hand.model);
    QVERIFY(hand.pose().backward == Vec3({0, 0, 1}));
    QVERIFY(std::abs(hand.spannedPart() - 0.9) < 0.01);
}

void TestCameraRequests::startWithABareMatrixKeepsIt()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    const double matrix[16] = {1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 5, 6, 30, 1};
    std::copy(std::begin(matrix), std::end(matrix), hand.request.status.camera_to_world);
    hand.camera.start(hand.request);
    hand.camera.setBounds(hand.model);
    QCOMPARE(std::memcmp(hand.camera.status().camera_to_world, matrix, sizeof matrix), 0);
    QVERIFY(isConsistent(hand.camera.status()));
}

void TestCameraRequests::secondStartForgetsTheFirst()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    const OV3DOBJECT::SceneStatus home = hand.camera.status();
    hand.request.sun_follow = false;
    hand.send(kOperationRedraw);
    hand.drag(10, 10, 300, 200, 1, 4);
    hand.press(10, 10);
    hand.move(300, 200);
    hand.request.sun_follow = true;
    hand.camera.start(hand.request);
    hand.camera.setBounds(hand.model);
    QVERIFY(sameBytes(hand.camera.status(), home));
    QVERIFY(!hand.move(500, 500).moved);
}

void TestCameraRequests::restoreIsExactToTheBit()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.drag(10, 10, 300, 200);
    hand.drag(10, 10, 300, 200, 1, 3);
    const OV3DOBJECT::SceneStatus saved = hand.camera.status();
    hand.drag(10, 10, 300, 200, 4);
    hand.wheel(3, 3, -2);
    const Outcome outcome = hand.restore(saved);
    QVERIFY(outcome.moved && outcome.deliver_at_rest);
    QVERIFY(sameBytes(hand.camera.status(), saved));
    const Outcome again = hand.restore(saved);
    QVERIFY(!again.moved && again.deliver_at_rest);
}

void TestCameraRequests::restoreSeesTheViewTypeWithoutApplyingIt()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus saved = hand.camera.status();
    hand.request.view.view_type = 2;
    hand.restore(saved);
    QVERIFY(sameBytes(hand.camera.status(), saved));
    QVERIFY(!hand.viewType(2).moved);
}

void TestCameraRequests::emptyDragAfterARestoreChangesNothing_data()
{
    QTest::addColumn<int>("button");
    QTest::addColumn<int>("code");
    QTest::newRow("orbit") << 1 << 0;
    QTest::newRow("pan") << 4 << 0;
    QTest::newRow("dolly") << 1 << 1;
    QTest::newRow("roll") << 1 << 3;
    QTest::newRow("sun") << 1 << 4;
}

void TestCameraRequests::emptyDragAfterARestoreChangesNothing()
{
    QFETCH(int, button);
    QFETCH(int, code);
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.request.sun_follow = false;
    hand.send(kOperationRedraw);
    hand.drag(10, 10, 310, 250);
    hand.drag(10, 10, 310, 250, 1, 3);
    const OV3DOBJECT::SceneStatus saved = hand.camera.status();
    hand.wheel(3, 3, -2);
    hand.restore(saved);
    hand.drag(100, 100, 100, 100, button, code);
    QVERIFY(sameBytes(hand.camera.status(), saved));
}

void TestCameraRequests::gestureAfterARestoreContinuesFromIt()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.drag(10, 10, 310, 250, 1, 3);
    hand.drag(10, 10, 310, 250);
    const OV3DOBJECT::SceneStatus saved = hand.camera.status();
    const Angles before = anglesOf(poseFromStatus(saved));
    hand.viewType(1);
    hand.restore(saved);
    hand.press(100, 100);
    hand.move(101, 100);
    const Angles after = anglesOf(hand.pose());
    QVERIFY(std::abs(before.azimuth - after.azimuth - 360 * kDegree / 1280) < 1e-9);
    QVERIFY(std::abs(before.elevation - after.elevation) < 1e-9);
    QVERIFY(std::abs(before.roll - after.roll) < 1e-9);
}

void TestCameraRequests::tenGesturesUndoneAndRedoneGiveTheSameBytes()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.request.sun_follow = false;
    hand.send(kOperationRedraw);
    std::vector<OV3DOBJECT::SceneStatus> seen{hand.camera.status()};
    const int gestures[10][2] = {{1, 0}, {4, 0}, {1, 1}, {1, 3}, {1, 4}, {0, 2}, {1, 0}, {0, -2}, {4, 0}, {1, 3}};
    for (const auto& gesture : gestures) {
        if (gesture[0] == 0)
            hand.wheel(300, 700, gesture[1]);
        else
            hand.drag(200, 300, 457, 391, gesture[0], gesture[1]);
        QVERIFY(!sameBytes(hand.camera.status(), seen.back()));
        seen.push_back(hand.camera.status());
    }
    for (std::size_t i = seen.size() - 1; i-- > 0;) {
        hand.restore(seen[i]);
        QVERIFY(sameBytes(hand.camera.status(), seen[i]));
    }
    // Redo by doing the same again: a restored view is as good as the one that was there before.
    for (std::size_t i = 0; i < 10; ++i) {
        if (gestures[i][0] == 0)
            hand.wheel(300, 700, gestures[i][1]);
        else
            hand.drag(200, 300, 457, 391, gestures[i][0], gestures[i][1]);
        QVERIFY(sameBytes(hand.camera.status(), seen[i + 1]));
    }
}

void TestCameraRequests::restoreDuringADragGoesOnFromThere()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus saved = hand.camera.status();
    hand.press(100, 100);
    hand.move(300, 300);
    hand.restore(saved);
    hand.move(300, 300);
    QVERIFY(sameBytes(hand.camera.status(), saved));
    QVERIFY(hand.move(310, 300).moved);
}

void TestCameraRequests::modifierOfThePressHoldsUntilTheRelease()
{
    CameraHand hand;
    const Pose before = hand.pose();
    hand.press(100, 100, 1, 3);
    hand.mouse(kMouseDrag, 300, 100, 4, 0);
    QVERIFY(hand.pose().backward == before.backward);
    QVERIFY(std::abs(anglesOf(hand.pose()).roll - 56.25 * kDegree) < 1e-9);
    hand.release(300, 100);
    hand.drag(100, 100, 300, 100);
    QVERIFY(hand.pose().backward != before.backward);
}

void TestCameraRequests::buttonUpNamingTheLeftButtonEndsAnyDrag()
{
    CameraHand hand;
    hand.press(100, 100, 4);
    QVERIFY(hand.move(200, 200).gesture_running);
    const Outcome up = hand.release(200, 200);
    QVERIFY(!up.gesture_running);
    QVERIFY(up.deliver_at_rest);
    QVERIFY(!up.moved);
    QVERIFY(!hand.move(300, 300).moved);
}

void TestCameraRequests::dragWithoutAPressDoesNothing()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    const Outcome outcome = hand.move(300, 300);
    QVERIFY(!outcome.moved && !outcome.gesture_running && !outcome.deliver_at_rest);
    QVERIFY(hand.release(400, 400).deliver_at_rest);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraRequests::clickWithoutMovementChangesNothing()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.press(2, 2);
    hand.release(2, 2);
    QVERIFY(sameBytes(hand.camera.status(), before));
    QVERIFY(isFitted(hand.camera.status()));
}

void TestCameraRequests::secondPressBeginsANewGesture()
{
    // An item that was deselected during a drag never sends the button-up.
    CameraHand hand;
    hand.press(100, 100, 4);
    hand.move(200, 200);
    const Pose before = hand.pose();
    hand.press(700, 700);
    QVERIFY(hand.pose() == before);
    hand.move(710, 700);
    QVERIFY(hand.pose().focal_point == before.focal_point);
    QVERIFY(hand.pose().backward != before.backward);
}

void TestCameraRequests::resizeDuringADragDoesNotJump()
{
    CameraHand hand;
    hand.press(100, 100);
    hand.move(400, 300);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.camera.resize(640, 480);
    hand.request.width = 640;
    hand.request.height = 480;
    hand.move(400, 300);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraRequests::wheelDuringADragDoesNotJump()
{
    CameraHand hand;
    hand.press(100, 100);
    hand.move(400, 300);
    hand.wheel(400, 300, 2);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.move(400, 300);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraRequests::picturesAtRestAreOwedAfterTheseRequests()
{
    CameraHand hand;
    QVERIFY(!hand.press(100, 100).deliver_at_rest);
    QVERIFY(!hand.move(120, 100).deliver_at_rest);
    QVERIFY(hand.release(120, 100).deliver_at_rest);
    QVERIFY(hand.wheel(120, 100, -2).deliver_at_rest);
    QVERIFY(hand.send(kOperationRedraw).deliver_at_rest);
    QVERIFY(hand.restore(hand.camera.status()).deliver_at_rest);
    QVERIFY(hand.viewType(1).deliver_at_rest);
    QVERIFY(!hand.viewType(1).deliver_at_rest);
}

void TestCameraRequests::redrawWithoutAChangeMovesNothing()
{
    CameraHand hand;
    hand.drag(10, 10, 200, 200);
    QVERIFY(!hand.send(kOperationRedraw).moved);
}

void TestCameraRequests::sunGoesToTheSettingWhenThatChanges()
{
    CameraHand hand;
    const double third = std::sqrt(1.0 / 3.0);
    QVERIFY(distanceBetween(hand.pose().sun_direction, {third, -third, -third}) < 1e-6);

    hand.request.sun_dir[0] = 0;
    hand.request.sun_dir[1] = -2;
    hand.request.sun_dir[2] = 0;
    QVERIFY(hand.send(kOperationRedraw).moved);
    QVERIFY(hand.pose().sun_direction == Vec3({0, -1, 0}));

    hand.request.sun_follow = false;
    hand.send(kOperationRedraw);
    hand.drag(0, 0, 100, 100, 1, 4);
    QVERIFY(hand.pose().sun_direction != Vec3({0, -1, 0}));
    QVERIFY(!hand.send(kOperationRedraw).moved);
    hand.request.sun_follow = true;
    hand.send(kOperationRedraw);
    QVERIFY(hand.pose().sun_direction == Vec3({0, -1, 0}));

    std::fill(std::begin(hand.request.sun_dir), std::end(hand.request.sun_dir),
              std::numeric_limits<float>::quiet_NaN());
    hand.send(kOperationRedraw);
    QVERIFY(isConsistent(hand.camera.status()));
}

void TestCameraRequests::sunSettingSeenByARestoreDoesNotAct()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus saved = hand.camera.status();
    hand.request.sun_dir[1] = -3;
    hand.restore(saved);
    hand.send(kOperationRedraw);
    QVERIFY(sameBytes(hand.camera.status(), saved));
}

void TestCameraRequests::startAndStopAreNoRequestsOfTheCamera()
{
    CameraHand hand;
    hand.drag(10, 10, 200, 200);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.request.view.view_type = 1;
    hand.request.view.reset_camera = true;
    for (std::int32_t op : {kOperationStart, kOperationStop}) {
        const Outcome outcome = hand.send(op);
        QVERIFY(!outcome.moved && !outcome.deliver_at_rest);
    }
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraRequests::oldButtonRecordIsNotPressedAgainWhenTheTurntableResumes()
{
    // Alt press without a move: the button-down record is still in place when the view type goes back to 5.
    CameraHand hand;
    hand.viewType(5);
    hand.request.view.view_type = 0;
    hand.press(100, 100, 1, 3);
    hand.release(100, 100);
    hand.request.mouse_type = kMouseButtonDown;
    hand.request.view.view_type = 5;
    QVERIFY(!hand.send(kOperationApplyViewType).gesture_running);
    QVERIFY(hand.camera.isTurning());
}

OV3D_TEST_MAIN(TestCameraRequests)
#include "test_camera_requests.moc"
