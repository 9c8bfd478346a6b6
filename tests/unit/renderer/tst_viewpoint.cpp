#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/picture/viewpoint.h"

using namespace ov3d;
using renderer::ModelFrame;
using renderer::Viewpoint;
using renderer::viewpointOf;

namespace {

/// Looks at the frame's origin from `distance` radii in front of it.
camera::Pose poseBefore(const ModelFrame& frame, double distance)
{
    camera::Pose pose;
    pose.position = frame.origin + camera::Vec3{0, 0, distance * frame.scale};
    pose.right = {1, 0, 0};
    pose.up = {0, 1, 0};
    pose.backward = {0, 0, 1};
    pose.vertical_field_of_view = 0.5;
    pose.view_height = 3 * frame.scale;
    return pose;
}

} // namespace

class ViewpointTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void modelsOfAnySizeAndPlaceAreSeenAlike_data();
    void modelsOfAnySizeAndPlaceAreSeenAlike();
    void depthsEncloseTheModel();
    void cameraInsideKeepsAPositiveNearestDepth();
    void parallelCameraInsideStepsBackOutOfTheModel();
    void modelBehindTheCameraGivesUsableDepths();
    void principalPointRightAndBelowMovesTheFrustumLeftAndUp();
};

void ViewpointTest::modelsOfAnySizeAndPlaceAreSeenAlike_data()
{
    QTest::addColumn<double>("place");
    QTest::addColumn<double>("size");
    QTest::newRow("a micrometre at the origin") << 0.0 << 1e-6;
    QTest::newRow("a kilometre at the origin") << 0.0 << 1e3;
    QTest::newRow("a metre, ten thousand kilometres away") << 1e7 << 1.0;
}

void ViewpointTest::modelsOfAnySizeAndPlaceAreSeenAlike()
{
    QFETCH(double, place);
    QFETCH(double, size);
    const ModelFrame frame{{place, -place, place}, size};
    const Viewpoint view = viewpointOf(poseBefore(frame, 4), frame, 1280, 960);
    QVERIFY(qAbs(view.position.z - 4) < 1e-6);
    QVERIFY(qAbs(view.position.x) < 1e-6);
    QVERIFY(qAbs(view.parallel_scale - 1.5) < 1e-9);
    QVERIFY(qAbs(view.view_angle - 28.6478897565) < 1e-6);
}

void ViewpointTest::depthsEncloseTheModel()
{
    const Viewpoint view = viewpointOf(poseBefore({}, 4), {}, 640, 480);
    QVERIFY(view.nearest > 2.9 && view.nearest < 3.0);
    QVERIFY(view.farthest > 5.0 && view.farthest < 5.1);
}

void ViewpointTest::cameraInsideKeepsAPositiveNearestDepth()
{
    const Viewpoint view = viewpointOf(poseBefore({}, 0.5), {}, 640, 480);
    QVERIFY(view.nearest > 0 && view.nearest < 0.01);
    QVERIFY(view.farthest > 1.5);
}

void ViewpointTest::parallelCameraInsideStepsBackOutOfTheModel()
{
    camera::Pose pose = poseBefore({}, 0.5);
    pose.parallel = true;
    const Viewpoint view = viewpointOf(pose, {}, 640, 480);
    QVERIFY(view.position.z > 2);
    QVERIFY(view.nearest > 0 && view.position.z - view.nearest >= 1);
}

void ViewpointTest::modelBehindTheCameraGivesUsableDepths()
{
    const Viewpoint view = viewpointOf(poseBefore({}, -5), {}, 640, 480);
    QVERIFY(view.nearest > 0 && view.nearest < view.farthest);
}

void ViewpointTest::principalPointRightAndBelowMovesTheFrustumLeftAndUp()
{
    camera::Pose pose = poseBefore({}, 4);
    pose.centre_x = 0.25;
    pose.centre_y = 0.1;
    const Viewpoint view = viewpointOf(pose, {}, 1000, 500);
    QCOMPARE(view.window_centre_x, -0.25);
    QCOMPARE(view.window_centre_y, 0.2);
}

OV3D_TEST_MAIN(ViewpointTest)
#include "tst_viewpoint.moc"
