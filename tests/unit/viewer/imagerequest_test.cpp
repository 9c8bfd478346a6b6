#include "tests/support/testmain.h"
#include "tests/unit/viewer/requestedpicture.h"
#include "tests/unit/viewer/sessiontestbase.h"
#include "viewer/camera/orbit.h"
#include "viewer/camera/scenestatus.h"
#include "viewer/session/imagerequest.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <cstring>
#include <numbers>

using namespace ov3d::session;
namespace camera = ov3d::camera;

namespace {

QByteArray requestFor(const QString& model, QJsonObject others = {})
{
    others[QLatin1String("model")] = model;
    return QJsonDocument(others).toJson();
}

QJsonObject object(const char* text)
{
    return QJsonDocument::fromJson(text).object();
}

camera::Angles anglesIn(const OV3DOBJECT::SceneStatus& status)
{
    camera::Angles angles = camera::anglesOf(camera::poseFromStatus(status));
    angles.azimuth *= 180 / std::numbers::pi;
    angles.elevation *= 180 / std::numbers::pi;
    return angles;
}

ov3d::protocol::Loaded unitModel()
{
    ov3d::protocol::Loaded model;
    model.radius = 1;
    return model;
}

OV3DOBJECT::SceneStatus viewFor(const char* cameraText, int width = 400, int height = 300)
{
    QJsonObject members;
    members[QLatin1String("camera")] = object(cameraText);
    std::string fault;
    const auto request = parseImageRequest(requestFor(QStringLiteral("/a.glb"), members).toStdString(), fault);
    return request ? viewOf(*request, unitModel(), width, height) : OV3DOBJECT::SceneStatus{};
}

} // namespace

/// What a request for a picture without a session may say, and what it is told when it may not.
class ImageRequestTest : public SessionTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void settingsReachTheRenderer()
    {
        std::string fault;
        const QByteArray text = requestFor(QStringLiteral("/a/b.GLB"), {{QStringLiteral("settings"), object(R"({
            "enable_sky": true, "enable_axis": 1, "enable_ground": true, "bg_color": [0, 0.5, 1], "light_profile": 3,
            "material_type_a": 4, "material_type_b": 2, "material_color": [0.1, 0.2, 0.3], "material_update": true,
            "point_size": 7, "raw_mode": true, "wireframe": true, "hdr_map": false, "hdr_map_type": 5,
            "sun_follow": false, "ibl_intensity": 1000.5, "sun_intensity": 2e5, "sun_dir": [0, -1, 0],
            "sun_color": [1, 0.5, 0], "ibl_enabled": false, "use_default_ibl": false, "sun_enabled": false,
            "view_type": 6, "camera_id": 1, "camera_values": [0, 100, 90, -180], "camera_position": [0, 0.5, 0],
            "something else": []})")}});
        const auto request = parseImageRequest(text.toStdString(), fault);
        QVERIFY2(request, fault.c_str());
        QCOMPARE(request->model, std::string("/a/b.GLB"));
        QCOMPARE(request->format, std::int32_t{kFormatGlb});
        const ov3d::protocol::RenderSettings& s = request->settings;
        QVERIFY(s.enable_sky && s.enable_axis && s.enable_ground && s.raw_mode && s.wireframe);
        QVERIFY(!s.hdr_map && !s.sun_follow && !s.ibl_enabled && !s.use_default_ibl && !s.sun_enabled);
        QVERIFY(s.bg_color[1] == 0.5f && s.material_color[2] == 0.3f && s.sun_dir[1] == -1.0f &&
                s.sun_color[1] == 0.5f);
        QCOMPARE(s.light_profile, 3);
        QCOMPARE(s.material_type_a, 4);
        QCOMPARE(s.material_type_b, 2);
        QCOMPARE(s.point_size, 7);
        QCOMPARE(s.hdr_map_type, 5);
        QCOMPARE(s.ibl_intensity, 1000.5);
        QCOMPARE(s.sun_intensity, 2e5);
        const camera::Pose pose = camera::poseFromStatus(viewOf(*request, unitModel(), 100, 100));
        QVERIFY(pose.parallel);
        QVERIFY2(pose.backward.y == 1, "view_type 6 looks from above");
        QCOMPARE(pose.focal_point.y, 0.5);
    }

    void absentSettingsAreTheDefaults()
    {
        std::string fault;
        const auto request = parseImageRequest(R"({"model": "/a.glb"})", fault);
        QVERIFY(request);
        QVERIFY(request->settings == ov3d::protocol::RenderSettings{});
        QCOMPARE(std::round(anglesIn(viewOf(*request, unitModel(), 100, 100)).azimuth), 30.0);
    }

    void cameraIsAViewOrAnglesOrAStatus()
    {
        QVERIFY(std::abs(anglesIn(viewFor(R"({"view": "back"})")).azimuth) > 179.999);
        const camera::Angles angles = anglesIn(viewFor(R"({"azimuth": -75, "elevation": 12.5})"));
        QVERIFY(std::abs(angles.azimuth + 75) < 1e-9 && std::abs(angles.elevation - 12.5) < 1e-9);
        const camera::Angles flat = anglesIn(viewFor(R"({"azimuth": 200})"));
        QVERIFY(std::abs(flat.azimuth + 160) < 1e-9 && std::abs(flat.elevation) < 1e-9);

        const double fitted = viewFor(R"({"view": "front"})").projection[3];
        const double nearer = viewFor(R"({"view": "front", "zoom": 2})").projection[3];
        QVERIFY(std::abs(fitted / nearer - 2) < 1e-9);

        const OV3DOBJECT::SceneStatus status = viewFor(R"({"azimuth": 33, "zoom": 1.5})");
        double doubles[47];
        std::memcpy(doubles, &status, sizeof doubles);
        QJsonArray array;
        for (const double value : doubles)
            array << value;
        const QByteArray text = QJsonDocument(QJsonObject{{QStringLiteral("status"), array}}).toJson();
        const OV3DOBJECT::SceneStatus again = viewFor(text.constData(), 1000, 200);
        QVERIFY2(std::memcmp(&again, &status, sizeof status) == 0, "to the bit, whatever the picture's size");
    }

    void malformedRequestSaysWhatIsWrong_data()
    {
        QTest::addColumn<QByteArray>("text");
        QTest::addColumn<QString>("words");
        const auto row = [](const char* name, const char* text, const char* words) {
            QTest::newRow(name) << QByteArray(text) << QString::fromLatin1(words);
        };
        row("nothing", "", "no JSON object");
        row("garbage", "draw it!", "no JSON object");
        row("list", "[1]", "no JSON object");
        row("no model", "{}", "without a model");
        row("model that is no text", R"({"model": 3})", "\"model\" is not a text");
        row("unknown format", R"({"model": "/a.x", "format": "dwg"})", "unknown format, \"dwg\"");
        row("settings that are a list", R"({"model": "/a.x", "settings": []})", "\"settings\" is not an object");
        row("flag that is a text", R"({"model": "/a.x", "settings": {"enable_sky": "yes"}})",
            "\"enable_sky\" is not true or false");
        row("fraction", R"({"model": "/a.x", "settings": {"point_size": 1.5}})",
            "\"point_size\" is not a whole number");
        row("integer beyond 32 bits", R"({"model": "/a.x", "settings": {"hdr_map_type": 3e9}})", "whole number");
        row("short list", R"({"model": "/a.x", "settings": {"bg_color": [1, 2]}})", "a list of 3 numbers");
        row("list of texts", R"({"model": "/a.x", "settings": {"sun_dir": ["a", "b", "c"]}})", "a list of 3 numbers");
        row("environment", R"({"model": "/a.x", "settings": {"hdr_path": "/nowhere/b.hdr"}})", "b.hdr");
        row("unknown view", R"({"model": "/a.x", "camera": {"view": "sideways"}})", "unknown view, \"sideways\"");
        row("zoom of nothing", R"({"model": "/a.x", "camera": {"zoom": 0}})", "\"zoom\" that is not above 0");
        row("angle that is a text", R"({"model": "/a.x", "camera": {"azimuth": "n"}})", "\"azimuth\" is not a number");
        row("short status", R"({"model": "/a.x", "camera": {"status": [1, 2, 3]}})", "a list of 47 numbers");
    }

    void malformedRequestSaysWhatIsWrong()
    {
        QFETCH(QByteArray, text);
        QFETCH(QString, words);
        std::string fault;
        QVERIFY(!parseImageRequest(text.toStdString(), fault));
        QVERIFY2(QString::fromStdString(fault).contains(words), fault.c_str());
        RequestedPicture picture(200, 150);
        picture.draw(text);
        QVERIFY(picture.isCard());
        QVERIFY(picture.isWithinBounds());
        QVERIFY(childProcesses().isEmpty());
    }

    void statusThatIsNoCameraIsRefused()
    {
        QJsonArray zeros;
        for (int i = 0; i < 47; ++i)
            zeros << 0;
        std::string fault;
        const QJsonObject members{{QStringLiteral("camera"), QJsonObject{{QStringLiteral("status"), zeros}}}};
        QVERIFY(!parseImageRequest(requestFor(QStringLiteral("/a.glb"), members).toStdString(), fault));
        QVERIFY(QString::fromStdString(fault).contains(QStringLiteral("no camera")));
    }
};

OV3D_TEST_MAIN(ImageRequestTest)
#include "imagerequest_test.moc"
