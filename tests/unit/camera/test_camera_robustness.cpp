#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/camera/camerahand.h"

#include <random>
#include <vector>

using namespace ov3d::camera;

class TestCameraRobustness : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void garbageStatusFallsBackToHome_data();
    void garbageStatusFallsBackToHome();
    void absurdPointersLeaveAUsableView();
    void absurdWheelStepsLeaveAUsableView();
    void absurdSizesLeaveAUsableView();
    void randomBytesInAStatusNeverSpread();
    void randomRequestsKeepTheStatusUsable();
};

void TestCameraRobustness::garbageStatusFallsBackToHome_data()
{
    QTest::addColumn<double>("value");
    QTest::newRow("not a number") << std::numeric_limits<double>::quiet_NaN();
    QTest::newRow("infinite") << std::numeric_limits<double>::infinity();
    QTest::newRow("largest") << std::numeric_limits<double>::max();
    QTest::newRow("all ones") << 1.0;
    QTest::newRow("all zero") << 0.0;
    QTest::newRow("smallest") << std::numeric_limits<double>::denorm_min();
}

void TestCameraRobustness::garbageStatusFallsBackToHome()
{
    QFETCH(double, value);
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    const OV3DOBJECT::SceneStatus home = hand.camera.status();
    hand.drag(10, 10, 200, 300);
    double values[47];
    std::fill(std::begin(values), std::end(values), value);
    OV3DOBJECT::SceneStatus garbage;
    static_assert(sizeof garbage == sizeof values);
    std::memcpy(&garbage, values, sizeof values);
    QVERIFY(hand.restore(garbage).deliver_at_rest);
    QVERIFY(sameBytes(hand.camera.status(), home));
}

void TestCameraRobustness::absurdPointersLeaveAUsableView()
{
    constexpr int least = std::numeric_limits<int>::min();
    constexpr int most = std::numeric_limits<int>::max();
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    hand.request.sun_follow = false;
    for (int round = 0; round < 20; ++round) {
        for (int code : {0, 1, 2, 3, 4, -7, most})
            hand.drag(least, most, most, least, 1, code);
        hand.drag(least / 4, most / 4, most / 4, least / 4, 4);
        hand.drag(0, 0, most / 2, least / 2, 99);
        hand.wheel(most, least, 2);
        hand.wheel(least, most, -2);
        QVERIFY(isConsistent(hand.camera.status()));
    }
}

void TestCameraRobustness::absurdWheelStepsLeaveAUsableView()
{
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    const OV3DOBJECT::SceneStatus before = hand.camera.status();
    QVERIFY(!hand.wheel(1, 1, std::numeric_limits<double>::quiet_NaN()).moved);
    QVERIFY(!hand.wheel(1, 1, std::numeric_limits<double>::infinity()).moved);
    QVERIFY(!hand.wheel(1, 1, 0).moved);
    QVERIFY(sameBytes(hand.camera.status(), before));
    for (double step : {1e300, -1e300, 1e9, -1e9}) {
        hand.wheel(1, 1, step);
        QVERIFY(isConsistent(hand.camera.status()));
    }
}

void TestCameraRobustness::absurdSizesLeaveAUsableView()
{
    constexpr int most = std::numeric_limits<int>::max();
    CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
    const int sizes[][2] = {{1, most}, {most, 1}, {1, 1}, {most, most}, {-1, -1}};
    for (const auto& size : sizes) {
        hand.request.width = size[0];
        hand.request.height = size[1];
        hand.request.view.reset_camera = true;
        hand.send(kOperationRedraw);
        QVERIFY(isConsistent(hand.camera.status()));
        hand.drag(0, 0, 5, 5, 4);
        hand.wheel(5, 5, 2);
        hand.drag(0, 0, 5, 5);
        QVERIFY(isConsistent(hand.camera.status()));
    }
}

void TestCameraRobustness::randomBytesInAStatusNeverSpread()
{
    std::mt19937 random(20240611);
    for (int round = 0; round < 5000; ++round) {
        CameraHand hand(BoundingSphere{{1, 2, 3}, 4});
        OV3DOBJECT::SceneStatus status = hand.camera.status();
        auto* bytes = reinterpret_cast<unsigned char*>(&status);
        const int changes = 1 + int(random() % 12);
        for (int i = 0; i < changes; ++i)
            bytes[random() % sizeof status] = static_cast<unsigned char>(random());
        // Start and restore are the two ways in.
        if (round % 2 == 0) {
            hand.restore(status);
        } else {
            hand.request.status = status;
            hand.camera.start(hand.request);
            hand.camera.setBounds(hand.model);
        }
        const int code = int(random() % 5);
        hand.press(100, 100, random() % 3 ? 1 : 4, code);
        hand.move(int(random() % 1280), int(random() % 960));
        hand.release(0, 0);
        hand.wheel(7, 7, random() % 2 ? 2 : -2);
        QVERIFY(isConsistent(hand.camera.status()));
        QVERIFY(isFinite(hand.camera.status()));
    }
}

void TestCameraRobustness::randomRequestsKeepTheStatusUsable()
{
    std::mt19937 random(7);
    CameraHand hand(BoundingSphere{{1e3, 2, -3e4}, 0.5});
    std::vector<OV3DOBJECT::SceneStatus> saved{hand.camera.status()};
    for (int i = 0; i < 20000; ++i) {
        Request& request = hand.request;
        request.op = std::int32_t(random() % 8) - 1;
        request.mouse_type = std::int32_t(random() % 6);
        request.mouse_x = std::int32_t(random() % 3000) - 800;
        request.mouse_y = std::int32_t(random() % 3000) - 800;
        request.mouse_button = random() % 4 ? 1 : 4;
        request.mouse_modifiers = std::int32_t(random() % 6);
        request.wheel_step = random() % 2 ? 2 : -2;
        request.view.view_type = random() % 8 ? request.view.view_type : std::int32_t(random() % 11) - 1;
        request.view.reset_camera = random() % 16 == 0;
        request.sun_follow = random() % 8 ? request.sun_follow : !request.sun_follow;
        request.camera.camera_id = random() % 16 ? request.camera.camera_id : std::int32_t(random() % 3);
        request.camera.camera_values[1] = random() % 16 ? 90 : double(random() % 200);
        request.width = random() % 32 ? request.width : std::int32_t(random() % 2000);
        request.seconds += 0.01;
        request.status = saved[random() % saved.size()];
        const OV3DOBJECT::SceneStatus before = hand.camera.status();
        const Outcome outcome = hand.camera.handle(request);
        QCOMPARE(outcome.moved, !sameBytes(before, hand.camera.status()));
        QVERIFY(isConsistent(hand.camera.status()));
        QVERIFY(isFinite(hand.camera.status()));
        if (request.op == kOperationRestore)
            QVERIFY(sameBytes(hand.camera.status(), request.status));
        if (i % 50 == 0)
            saved.push_back(hand.camera.status());
    }
}

OV3D_TEST_MAIN(TestCameraRobustness)
#include "test_camera_robustness.moc"
