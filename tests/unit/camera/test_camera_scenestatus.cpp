#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/camera/camerahand.h"

using namespace ov3d::camera;

namespace {

Pose somePose()
{
    CameraHand hand(BoundingSphere{{5, -3, 2}, 4});
    hand.drag(100, 100, 433, 271);
    hand.wheel(200, 700, 2);
    return hand.pose();
}

} // namespace

class TestCameraSceneStatus : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void poseSurvivesTheRoundTrip();
    void layoutIsAsDocumented();
    void onlyTheMatrixTellsWhetherAStatusIsUnset();
    void statusOfOursIsConsistent_data();
    void statusOfOursIsConsistent();
    void brokenMatrixGivesTheDefaultPose_data();
    void brokenMatrixGivesTheDefaultPose();
    void brokenRestIsReplacedAroundAUsableMatrix_data();
    void brokenRestIsReplacedAroundAUsableMatrix();
    void projectAndFocalPlaneAreInverse_data();
    void projectAndFocalPlaneAreInverse();
    void pointBehindThePerspectiveCameraIsNotSeen();
    void pictureCentreIsWhereTheCameraLooks();
};

void TestCameraSceneStatus::poseSurvivesTheRoundTrip()
{
    const Pose pose = somePose();
    QVERIFY(poseFromStatus(statusFromPose(pose, false)) == pose);
    QVERIFY(!isFitted(statusFromPose(pose, false)));
    QVERIFY(isFitted(statusFromPose(pose, true)));
}

void TestCameraSceneStatus::layoutIsAsDocumented()
{
    Pose pose;
    pose.right = {0, 0, -1};
    pose.up = {0, 1, 0};
    pose.backward = {1, 0, 0};
    pose.focal_point = {1, 2, 3};
    pose.position = {11, 2, 3};
    pose.vertical_field_of_view = 90 * kDegree;
    pose.view_height = 20;
    pose.centre_x = 0.25;
    pose.centre_y = -0.125;
    pose.sun_direction = {0, -1, 0};
    const OV3DOBJECT::SceneStatus status = statusFromPose(pose, false);

    const double matrix[16] = {0, 0, -1, 0, 0, 1, 0, 0, 1, 0, 0, 0, 11, 2, 3, 1};
    for (int i = 0; i < 16; ++i)
        QCOMPARE(status.camera_to_world[i], matrix[i]);
    const double intrinsics[9] = {0.5, 0, 0.25, 0, 0.5, -0.125, 0, 0, 1};
    for (int i = 0; i < 9; ++i)
        QVERIFY2(std::abs(status.intrinsics[i] - intrinsics[i]) < 1e-12, qPrintable(QString::number(i)));
    QCOMPARE(status.projection[0], 0.0);
    QCOMPARE(status.projection[1], 90 * kDegree);
    QCOMPARE(status.projection[2], 20.0);
    QCOMPARE(status.projection[3], 10.0);
    for (int i = 4; i < 16; ++i)
        QCOMPARE(status.projection[i], 0.0);
    QCOMPARE(status.focal_point[2], 3.0);
    QCOMPARE(status.sun_direction[1], -1.0);
}

void TestCameraSceneStatus::onlyTheMatrixTellsWhetherAStatusIsUnset()
{
    OV3DOBJECT::SceneStatus status{};
    status.intrinsics[0] = std::numeric_limits<double>::quiet_NaN();
    status.focal_point[0] = 7;
    QVERIFY(isUnset(status));
    status.camera_to_world[15] = 1e-300;
    QVERIFY(!isUnset(status));
    status.camera_to_world[15] = 0;
    status.camera_to_world[0] = std::numeric_limits<double>::quiet_NaN();
    QVERIFY(!isUnset(status));
}

void TestCameraSceneStatus::statusOfOursIsConsistent_data()
{
    QTest::addColumn<double>("centre");
    QTest::addColumn<double>("radius");
    QTest::addColumn<int>("projection");
    const double sizes[][2] = {{0, 1}, {1e3, 1e-6}, {1e6, 1e-6}, {1e9, 1}, {0, 1e3}, {0, 1e-30}, {1e50, 1e49}};
    for (const auto& size : sizes) {
        for (int projection : {0, 1}) {
            QTest::addRow("centre at %g, radius %g, %s", size[0], size[1], projection ? "parallel" : "perspective")
                << size[0] << size[1] << projection;
        }
    }
}

void TestCameraSceneStatus::statusOfOursIsConsistent()
{
    QFETCH(double, centre);
    QFETCH(double, radius);
    QFETCH(int, projection);
    CameraHand hand(BoundingSphere{{centre, -centre, centre}, radius});
    hand.request.camera.camera_id = projection;
    hand.send(kOperationRedraw);
    QVERIFY(isConsistent(hand.camera.status()));
    hand.drag(10, 20, 300, 400);
    QVERIFY(isConsistent(hand.camera.status()));
    for (int i = 0; i < 30; ++i)
        hand.wheel(100, 100, 2);
    QVERIFY(isConsistent(hand.camera.status()));
    hand.drag(10, 20, 300, 400, 4);
    hand.drag(10, 20, 300, 400, 1, 3);
    hand.drag(10, 20, 300, 400, 1, 1);
    QVERIFY(isConsistent(hand.camera.status()));
}

void TestCameraSceneStatus::brokenMatrixGivesTheDefaultPose_data()
{
    QTest::addColumn<int>("index");
    QTest::addColumn<double>("value");
    QTest::newRow("not a number in an axis") << 1 << std::numeric_limits<double>::quiet_NaN();
    QTest::newRow("infinite position") << 12 << std::numeric_limits<double>::infinity();
    QTest::newRow("position beyond all measure") << 12 << 1e300;
    QTest::newRow("axis too long") << 0 << 2.0;
    QTest::newRow("left-handed") << 10 << -1.0;
    QTest::newRow("bottom row not zero") << 3 << 0.5;
    QTest::newRow("last element not one") << 15 << 0.0;
}

void TestCameraSceneStatus::brokenMatrixGivesTheDefaultPose()
{
    QFETCH(int, index);
    QFETCH(double, value);
    CameraHand hand;
    hand.viewType(1);
    OV3DOBJECT::SceneStatus status = hand.camera.status();
    QVERIFY(isConsistent(status));
    status.camera_to_world[index] = value;
    QVERIFY(!hasUsableMatrix(status));
    QVERIFY(!isConsistent(status));
    const OV3DOBJECT::SceneStatus repaired = statusFromPose(poseFromStatus(status), false);
    QVERIFY(isFinite(repaired));
    QVERIFY(isConsistent(repaired));
}

void TestCameraSceneStatus::brokenRestIsReplacedAroundAUsableMatrix_data()
{
    const OV3DOBJECT::SceneStatus status{};
    const auto index = [&status](const double& member) {
        return static_cast<int>(&member - reinterpret_cast<const double*>(&status));
    };
    const double nan = std::numeric_limits<double>::quiet_NaN();
    QTest::addColumn<int>("index");
    QTest::addColumn<double>("value");
    QTest::newRow("focal length not a number") << index(status.intrinsics[0]) << nan;
    QTest::newRow("focal length of another field of view") << index(status.intrinsics[0]) << 9.0;
    QTest::newRow("principal point infinite") << index(status.intrinsics[2]) << 1 / 0.0;
    QTest::newRow("unknown projection") << index(status.projection[0]) << 2.0;
    QTest::newRow("no field of view") << index(status.projection[1]) << 0.0;
    QTest::newRow("field of view beyond a half turn") << index(status.projection[1]) << 4.0;
    QTest::newRow("negative height") << index(status.projection[2]) << -1.0;
    QTest::newRow("height not a number") << index(status.projection[2]) << nan;
    QTest::newRow("distance zero") << index(status.projection[3]) << 0.0;
    QTest::newRow("distance not a number") << index(status.projection[3]) << nan;
    QTest::newRow("focal point off the axis") << index(status.focal_point[0]) << 50.0;
    QTest::newRow("focal point not a number") << index(status.focal_point[1]) << nan;
    QTest::newRow("sun not a number") << index(status.sun_direction[0]) << nan;
    QTest::newRow("sun too long") << index(status.sun_direction[0]) << 3.0;
}

void TestCameraSceneStatus::brokenRestIsReplacedAroundAUsableMatrix()
{
    QFETCH(int, index);
    QFETCH(double, value);
    OV3DOBJECT::SceneStatus status = statusFromPose(somePose(), false);
    QVERIFY(isConsistent(status));
    std::memcpy(reinterpret_cast<char*>(&status) + std::size_t(index) * sizeof(double), &value, sizeof value);
    QVERIFY(hasUsableMatrix(status));
    QVERIFY(!isConsistent(status));

    const OV3DOBJECT::SceneStatus repaired = statusFromPose(poseFromStatus(status), false);
    QVERIFY(isConsistent(repaired));
    QCOMPARE(std::memcmp(repaired.camera_to_world, status.camera_to_world, sizeof status.camera_to_world), 0);
}

void TestCameraSceneStatus::projectAndFocalPlaneAreInverse_data()
{
    QTest::addColumn<bool>("parallel");
    QTest::newRow("perspective") << false;
    QTest::newRow("parallel") << true;
}

void TestCameraSceneStatus::projectAndFocalPlaneAreInverse()
{
    QFETCH(bool, parallel);
    Pose pose = somePose();
    pose.parallel = parallel;
    pose.centre_x = 0.1;
    pose.centre_y = -0.2;
    for (const PicturePoint place : {PicturePoint{0, 0}, PicturePoint{1.2, 0.3}, PicturePoint{-0.5, 2}}) {
        const auto seen = project(pose, 1.5, pointOnFocalPlane(pose, 1.5, place));
        QVERIFY(seen);
        QVERIFY(std::abs(seen->x - place.x) < 1e-9);
        QVERIFY(std::abs(seen->y - place.y) < 1e-9);
    }
}

void TestCameraSceneStatus::pointBehindThePerspectiveCameraIsNotSeen()
{
    Pose pose = somePose();
    QVERIFY(!project(pose, 1, pose.position + pose.backward));
    QVERIFY(!project(pose, 1, pose.position));
    pose.parallel = true;
    QVERIFY(project(pose, 1, pose.position + pose.backward));
}

void TestCameraSceneStatus::pictureCentreIsWhereTheCameraLooks()
{
    const Pose pose = somePose();
    const auto centre = project(pose, 1.5, pose.focal_point);
    QVERIFY(centre);
    QVERIFY(std::abs(centre->x - 0.75) < 1e-9 && std::abs(centre->y - 0.5) < 1e-9);
    // The top of the picture is half the field of view above the axis.
    const Vec3 ahead = pose.position - pose.backward;
    const auto top = project(pose, 1.5, ahead + pose.up * std::tan(pose.vertical_field_of_view / 2));
    QVERIFY(top);
    QVERIFY(std::abs(top->y) < 1e-9);
    const auto right = project(pose, 1.5, ahead + pose.right * 0.01);
    QVERIFY(right && right->x > 0.75);
}

OV3D_TEST_MAIN(TestCameraSceneStatus)
#include "test_camera_scenestatus.moc"
