#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/camera/camerahand.h"

using namespace ov3d::camera;

class TestCameraFit : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void sphereSpansTheSamePartOfTheShorterSide_data();
    void sphereSpansTheSamePartOfTheShorterSide();
    void sphereIsCentred();
    void singlePointIsShown();
    void unusableBoundsAreShownAsSomething_data();
    void unusableBoundsAreShownAsSomething();
    void resizedHomeViewFitsAgain_data();
    void resizedHomeViewFitsAgain();
    void resizeKeepsATouchedView();
    void resizeAfterUndoingTheFirstTouchFitsAgain();
    void sizesThatAreNoSizesAreIgnored();
    void boundsToldAgainKeepTheView();
    void otherBoundsRefitOnlyAnUntouchedView();
    void parallelCameraStandsOutsideTheModel();
};

void TestCameraFit::sphereSpansTheSamePartOfTheShorterSide_data()
{
    QTest::addColumn<double>("centre");
    QTest::addColumn<double>("radius");
    QTest::addColumn<int>("width");
    QTest::addColumn<int>("height");
    QTest::addColumn<int>("viewType");
    QTest::addColumn<int>("projection");
    QTest::addColumn<double>("angle");

    const auto row = [](const char* name, double centre, double radius, int width = 1280, int height = 960,
                        int viewType = 0, int projection = 0, double angle = 90) {
        QTest::newRow(name) << centre << radius << width << height << viewType << projection << angle;
    };
    row("a metre at the origin", 0, 1);
    row("a metre, ten kilometres away", 1e4, 1);
    row("a micrometre at the origin", 0, 1e-6);
    row("a micrometre a metre away", 1, 1e-6);
    row("a kilometre", 0, 1e3);
    row("a kilometre, a million away", 1e6, 1e3);
    row("tall picture", 0, 1, 300, 1200);
    row("wide picture", 0, 1, 1600, 100);
    row("square picture", 3, 2, 500, 500);
    row("front", 3, 2, 1280, 960, 1);
    row("top of a tall picture", 3, 2, 600, 1000, 6);
    row("isometric", 3, 2, 1280, 960, 8);
    row("parallel", 3, 2, 1280, 960, 0, 1);
    row("parallel, tall picture", 3, 2, 600, 1000, 0, 1);
    row("wide angle", 3, 2, 1280, 960, 0, 0, 150);
    row("narrow angle, tall picture", 3, 2, 600, 1000, 0, 0, 20);
}

void TestCameraFit::sphereSpansTheSamePartOfTheShorterSide()
{
    QFETCH(double, centre);
    QFETCH(double, radius);
    QFETCH(int, width);
    QFETCH(int, height);
    QFETCH(int, viewType);
    QFETCH(int, projection);
    QFETCH(double, angle);

    CameraHand hand(BoundingSphere{{centre, centre, -centre}, radius}, width, height);
    hand.request.view.view_type = viewType;
    hand.request.camera.camera_id = projection;
    hand.request.camera.camera_values[1] = angle;
    hand.camera.start(hand.request);
    hand.camera.setBounds(hand.model);
    const double part = hand.spannedPart();
    QVERIFY2(std::abs(part / 0.9 - 1) < 0.01, qPrintable(QString::number(part)));
}

void TestCameraFit::sphereIsCentred()
{
    const CameraHand hand(BoundingSphere{{5, 6, 7}, 2});
    QVERIFY(hand.pixelsFrom(640, 480, {5, 6, 7}) < 1e-6);
}

void TestCameraFit::singlePointIsShown()
{
    const CameraHand hand(BoundingSphere{{5, 6, 7}, 0});
    QVERIFY(isConsistent(hand.camera.status()));
    QVERIFY(hand.pixelsFrom(640, 480, {5, 6, 7}) < 1e-6);
}

void TestCameraFit::unusableBoundsAreShownAsSomething_data()
{
    const double nan = std::numeric_limits<double>::quiet_NaN();
    const double infinity = std::numeric_limits<double>::infinity();
    QTest::addColumn<double>("centre");
    QTest::addColumn<double>("radius");
    QTest::newRow("radius not a number") << 0.0 << nan;
    QTest::newRow("radius infinite") << 0.0 << infinity;
    QTest::newRow("radius negative") << 0.0 << -1.0;
    QTest::newRow("radius denormal") << 0.0 << 1e-310;
    QTest::newRow("centre not a number") << nan << 1.0;
    QTest::newRow("centre infinite") << infinity << 1.0;
    QTest::newRow("centre so far that the radius is lost") << 1e30 << 1.0;
    QTest::newRow("largest numbers") << std::numeric_limits<double>::max() << std::numeric_limits<double>::max();
}

void TestCameraFit::unusableBoundsAreShownAsSomething()
{
    QFETCH(double, centre);
    QFETCH(double, radius);
    CameraHand hand(BoundingSphere{{centre, centre, centre}, radius});
    QVERIFY(isConsistent(hand.camera.status()));
    hand.drag(0, 0, 100, 200);
    hand.wheel(5, 5, 2);
    QVERIFY(isFinite(hand.camera.status()));
    QVERIFY(isConsistent(hand.camera.status()));
}

void TestCameraFit::resizedHomeViewFitsAgain_data()
{
    QTest::addColumn<int>("viewType");
    QTest::newRow("home") << 0;
    QTest::newRow("front") << 1;
    QTest::newRow("turntable") << 5;
}

void TestCameraFit::resizedHomeViewFitsAgain()
{
    QFETCH(int, viewType);
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.viewType(viewType);
    const Pose before = hand.pose();
    hand.camera.resize(400, 900);
    hand.request.width = 400;
    hand.request.height = 900;
    QVERIFY(std::abs(hand.spannedPart() - 0.9) < 0.01);
    QVERIFY(hand.pose().backward == before.backward);
    QVERIFY(hand.pose().vertical_field_of_view == before.vertical_field_of_view);

    // A request with another size does the same.
    hand.request.width = 1280;
    hand.request.height = 960;
    hand.send(kOperationRedraw);
    QVERIFY(distanceBetween(hand.pose().position, before.position) < 1e-9);
}

void TestCameraFit::resizeKeepsATouchedView()
{
    CameraHand hand;
    hand.drag(100, 100, 140, 130);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.camera.resize(400, 900);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraFit::resizeAfterUndoingTheFirstTouchFitsAgain()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus home = hand.camera.status();
    hand.drag(100, 100, 140, 130);
    hand.restore(home);
    hand.camera.resize(400, 900);
    hand.request.width = 400;
    hand.request.height = 900;
    QVERIFY(std::abs(hand.spannedPart() - 0.9) < 0.01);
}

void TestCameraFit::sizesThatAreNoSizesAreIgnored()
{
    CameraHand hand;
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.camera.resize(0, 0);
    hand.camera.resize(-5, 100);
    hand.camera.resize(100, 0);
    hand.request.width = 0;
    hand.request.height = -1;
    QVERIFY(!hand.send(kOperationRedraw).moved);
    QVERIFY(sameBytes(hand.camera.status(), before));

    // The drag is still reckoned in the last good size.
    hand.drag(0, 0, 1280, 0);
    QVERIFY(distanceBetween(hand.pose().position, poseFromStatus(before).position) < 1e-9);
}

void TestCameraFit::boundsToldAgainKeepTheView()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.drag(0, 0, 100, 50);
    hand.wheel(3, 3, -2);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.camera.setBounds(hand.model);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraFit::otherBoundsRefitOnlyAnUntouchedView()
{
    CameraHand hand;
    hand.model.radius = 7;
    hand.camera.setBounds(hand.model);
    QVERIFY(std::abs(hand.spannedPart() - 0.9) < 0.01);

    hand.drag(0, 0, 100, 50);
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    hand.model.radius = 9;
    hand.camera.setBounds(hand.model);
    QVERIFY(sameBytes(hand.camera.status(), before));
}

void TestCameraFit::parallelCameraStandsOutsideTheModel()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.request.camera.camera_id = 1;
    hand.send(kOperationRedraw);
    for (int i = 0; i < 60; ++i)
        hand.wheel(900, 200, 2);
    hand.drag(0, 0, 300, 100);
    hand.drag(0, 0, 3000, 1000, 4);
    hand.drag(0, 0, 300, 100);
    const Pose pose = hand.pose();
    QVERIFY(dot(pose.position - hand.model.centre, pose.backward) > hand.model.radius);
}

OV3D_TEST_MAIN(TestCameraFit)
#include "test_camera_fit.moc"
