#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/picture/viewpoint.h"

#include <QPointF>
#include <QRect>
#include <cmath>

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

/// Where a point lands, in pixels of a picture of that size, y downwards: the projection that VTK makes of a viewpoint.
QPointF landing(const Viewpoint& view, camera::Vec3 point, int width, int height)
{
    const camera::Vec3 offset = point - view.position;
    const double depth = dot(offset, view.forward);
    const double half = view.parallel ? view.parallel_scale : depth * std::tan(view.view_angle * M_PI / 360);
    const camera::Vec3 right = cross(view.forward, view.up);
    const double x = dot(offset, right) / (half * width / height) - view.window_centre_x;
    const double y = dot(offset, view.up) / half - view.window_centre_y;
    return {(x + 1) / 2 * width, (1 - y) / 2 * height};
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
    void partThatIsTheWholeIsTheSameToTheBit();
    void partSeesAPointWhereTheWholeSeesIt_data();
    void partSeesAPointWhereTheWholeSeesIt();
    void widerReachMovesTheDepthsApart();
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

void ViewpointTest::partThatIsTheWholeIsTheSameToTheBit()
{
    camera::Pose pose = poseBefore({}, 4);
    pose.centre_x = 0.123;
    const Viewpoint whole = viewpointOf(pose, {}, 641, 479);
    const Viewpoint part = viewpointOfPart(whole, 641, 479, {0, 0, 641, 479});
    QVERIFY(part.view_angle == whole.view_angle && part.parallel_scale == whole.parallel_scale);
    QVERIFY(part.window_centre_x == whole.window_centre_x && part.window_centre_y == whole.window_centre_y);
}

void ViewpointTest::partSeesAPointWhereTheWholeSeesIt_data()
{
    QTest::addColumn<bool>("parallel");
    QTest::addColumn<QRect>("part");
    for (const bool parallel : {false, true}) {
        const QByteArray lens = parallel ? "parallel, " : "perspective, ";
        QTest::newRow(lens + "upper left corner") << parallel << QRect(0, 0, 100, 80);
        QTest::newRow(lens + "lower right corner") << parallel << QRect(500, 300, 140, 180);
        QTest::newRow(lens + "a narrow strip") << parallel << QRect(200, 0, 3, 480);
    }
}

void ViewpointTest::partSeesAPointWhereTheWholeSeesIt()
{
    QFETCH(bool, parallel);
    QFETCH(QRect, part);
    camera::Pose pose = poseBefore({}, 4);
    pose.parallel = parallel;
    pose.centre_x = 0.2;
    pose.centre_y = -0.1;
    const Viewpoint whole = viewpointOf(pose, {}, 640, 480);
    const Viewpoint cut = viewpointOfPart(whole, 640, 480, {part.x(), part.y(), part.width(), part.height()});
    for (const camera::Vec3 point : {camera::Vec3{0.3, 0.4, 0.1}, camera::Vec3{-0.7, -0.2, 0.5}}) {
        const QPointF inWhole = landing(whole, point, 640, 480);
        const QPointF inPart = landing(cut, point, part.width(), part.height()) + part.topLeft();
        QVERIFY2((inWhole - inPart).manhattanLength() < 1e-6,
                 qPrintable(QString("%1, %2").arg(inWhole.x() - inPart.x()).arg(inWhole.y() - inPart.y())));
    }
}

void ViewpointTest::widerReachMovesTheDepthsApart()
{
    const Viewpoint view = viewpointOf(poseBefore({}, 4), {}, 640, 480, 1.5);
    QVERIFY(qAbs(view.nearest - 2.5) < 1e-9);
    QVERIFY(qAbs(view.farthest - 5.5) < 1e-9);
}

OV3D_TEST_MAIN(ViewpointTest)
#include "tst_viewpoint.moc"
