#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/viewer/fakehost.h"
#include "viewer/camera/orbit.h"
#include "viewer/camera/scenestatus.h"
#include "viewer/session/imagerequest.h"
#include "viewer/session/limits.h"
#include "viewer/session/ov3dviewer.h"

#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <cmath>
#include <cstring>
#include <numbers>
#include <set>
#include <thread>

using namespace ov3d::session;
using namespace std::chrono_literals;
namespace camera = ov3d::camera;

namespace {

constexpr std::uint8_t kGuard = 0xA5;

/// A picture of that size, with some bytes behind it that nobody may touch.
struct Picture
{
    Picture(int w, int h)
        : width(w)
        , height(h)
        , bytes(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) * 3 + 64, kGuard)
    {
    }

    void draw(const QByteArray& request)
    {
        QByteArray text = request;
        ov3dViewerRenderImage(text.data(), bytes.data(), width, height);
    }

    [[nodiscard]] bool isWithinBounds() const
    {
        return std::all_of(bytes.end() - 64, bytes.end(), [](std::uint8_t byte) { return byte == kGuard; });
    }

    [[nodiscard]] std::array<int, 3> at(int x, int y) const
    {
        const std::size_t i =
            (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 3;
        return {bytes[i], bytes[i + 1], bytes[i + 2]};
    }

    /// A card is light, with something dark or red written on it; pictures of the scripted renderer have one colour.
    [[nodiscard]] bool isCard() const
    {
        std::set<std::array<int, 3>> colours;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                colours.insert(at(x, y));
        const auto corner = at(1, 1);
        return colours.size() >= 3 && corner[0] > 220 && corner[1] > 220 && corner[2] > 220;
    }

    int width;
    int height;
    std::vector<std::uint8_t> bytes;
};

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

/// Pictures without a session: the function for a host's off-screen rendering.
class RenderImageTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init()
    {
        TestBase::init();
        m_fixture = std::make_unique<ViewerFixture>();
    }

    void cleanup()
    {
        m_fixture.reset();
        TestBase::cleanup();
    }

    void functionFitsTheHostsHook()
    {
        void (*hook)(char* arg, unsigned char* pixels, int width, int height) = ov3dViewerRenderImage;
        QVERIFY(hook);
    }

    void rowsAreWrittenWithoutPadding()
    {
        const QString model = m_fixture->model(QStringLiteral("coordinates.glb"));
        Picture picture(301, 7); // 903 bytes a row
        picture.draw(requestFor(model));
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                QCOMPARE(picture.at(x, y), (std::array<int, 3>{x & 255, y, x / 256}));
        QVERIFY(picture.isWithinBounds());
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("render 301x7 final")), 1);
        QVERIFY2(childProcesses().isEmpty(), "its renderer has ended");
    }

    void largePictureIsDrawnInPartsThatFitTogether_data()
    {
        QTest::addColumn<int>("side");
        QTest::addColumn<int>("parts");
        QTest::newRow("squares") << 10 << 31 * 3;
        QTest::newRow("one row of parts") << 25 << 13;
        QTest::newRow("last part one pixel wide") << 100 << 4;
        QTest::newRow("whole") << 301 << 1;
    }

    void largePictureIsDrawnInPartsThatFitTogether()
    {
        QFETCH(int, side);
        QFETCH(int, parts);
        Limits limits;
        limits.tile_side = side;
        setLimits(limits);
        const QString model = m_fixture->model(QStringLiteral("coordinates.glb"));
        Picture picture(301, 25);
        picture.draw(requestFor(model));
        for (int y = 0; y < picture.height; ++y)
            for (int x = 0; x < picture.width; ++x)
                QCOMPARE(picture.at(x, y), (std::array<int, 3>{x & 255, y, x / 256}));
        QVERIFY(picture.isWithinBounds());
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("render")), parts);
        QCOMPARE(ViewerFixture::log(model).last().contains(QStringLiteral(",301,25")), parts > 1);
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("load")), 1);
    }

    void pictureOf4096By4096IsDrawn()
    {
        const QString model = m_fixture->model(QStringLiteral("coordinates.glb"));
        Picture picture(4096, 4096);
        picture.draw(requestFor(model));
        for (const int place : {0, 2047, 2048, 4095})
            QCOMPARE(picture.at(4095, place), (std::array<int, 3>{255, place & 255, 15 + place / 256 * 16}));
        QVERIFY(picture.isWithinBounds());
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("render 2048x2048 final")), 4);
    }

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
        Picture picture(200, 150);
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

    void modelThatCannotBeShownBecomesACard_data()
    {
        QTest::addColumn<QString>("name");
        QTest::addColumn<int>("loads");
        QTest::newRow("refused") << "failed.glb" << 1;
        QTest::newRow("crash while reading") << "crashload.glb" << 2;
        QTest::newRow("nonsense") << "garbageload.glb" << 2;
        QTest::newRow("bounds that are no numbers") << "nanbounds.glb" << 2;
        QTest::newRow("silence while reading") << "hangload.glb" << 1;
        QTest::newRow("crash while drawing") << "crashpicture.glb" << 2;
        QTest::newRow("picture that is refused") << "failpicture.glb" << 1;
        QTest::newRow("silence while drawing") << "hangpicture.glb" << 1;
        QTest::newRow("another size than asked for") << "hugepicture.glb" << 2;
    }

    void modelThatCannotBeShownBecomesACard()
    {
        QFETCH(QString, name);
        QFETCH(int, loads);
        Limits limits;
        limits.load = 300ms;
        setLimits(limits);
        const QString model = m_fixture->model(name);
        Picture picture(200, 150);
        picture.draw(requestFor(model));
        QVERIFY(picture.isCard());
        QVERIFY(picture.isWithinBounds());
        QCOMPARE(ViewerFixture::count(model, QStringLiteral("load")), loads);
        QVERIFY(childProcesses().isEmpty());
    }

    void secondTryAfterACrashLeavesTheTexturesOut()
    {
        const QString model = m_fixture->model(QStringLiteral("crashloadonce.glb"));
        Picture picture(64, 48);
        picture.draw(requestFor(model));
        QCOMPARE(picture.at(3, 3)[0], 200);
        QVERIFY(ViewerFixture::log(model).filter(QStringLiteral("load")).last().contains(QStringLiteral("textures=0")));
    }

    void secondTryAfterACrashLeavesTheEnvironmentPictureOut()
    {
        const QString model = m_fixture->model(QStringLiteral("crashhdr.glb"));
        QFile file(m_fixture->path(QStringLiteral("poison.hdr")));
        QVERIFY(file.open(QIODevice::WriteOnly));
        file.write("#?RADIANCE");
        file.close();
        Picture picture(64, 48);
        picture.draw(requestFor(
            model, {{QStringLiteral("settings"), QJsonObject{{QStringLiteral("hdr_path"), file.fileName()}}}}));
        QCOMPARE(picture.at(3, 3)[0], 200);
        const QStringList drawn = ViewerFixture::log(model).filter(QStringLiteral("render"));
        QCOMPARE(drawn.size(), 2);
        QVERIFY(drawn.first().endsWith(QStringLiteral("poison.hdr")) && !drawn.last().contains(QStringLiteral("hdr=")));
    }

    void absentFileOrRendererBecomesACard()
    {
        Picture picture(200, 150);
        picture.draw(requestFor(QStringLiteral("/nowhere/none.glb")));
        QVERIFY(picture.isCard());
        qputenv("OV3D_RENDERER", "/nowhere/renderer");
        Picture another(200, 150);
        another.draw(requestFor(m_fixture->model(QStringLiteral("plain.glb"))));
        QVERIFY(another.isCard());
    }

    void cardOfAnySizeFillsThePicture_data()
    {
        QTest::addColumn<int>("width");
        QTest::addColumn<int>("height");
        QTest::newRow("one pixel") << 1 << 1;
        QTest::newRow("one row") << 5000 << 1;
        QTest::newRow("odd") << 333 << 77;
        QTest::newRow("wider than any card") << 9000 << 30;
        QTest::newRow("4096 x 4096") << 4096 << 4096;
    }

    void cardOfAnySizeFillsThePicture()
    {
        QFETCH(int, width);
        QFETCH(int, height);
        Picture picture(width, height);
        picture.draw("nonsense");
        const auto untouched = std::array<int, 3>{kGuard, kGuard, kGuard};
        for (int y = 0; y < height; y += std::max(1, height / 50))
            for (int x = 0; x < width; x += std::max(1, width / 50))
                QVERIFY(picture.at(x, y) != untouched);
        QVERIFY(picture.isWithinBounds());
    }

    void nothingIsDoneWithoutAPicture()
    {
        std::vector<unsigned char> bytes(100, kGuard);
        char text[] = "{}";
        ov3dViewerRenderImage(text, nullptr, 4, 4);
        ov3dViewerRenderImage(text, bytes.data(), 0, 4);
        ov3dViewerRenderImage(text, bytes.data(), 4, -1);
        QVERIFY(std::all_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte == kGuard; }));
        ov3dViewerRenderImage(nullptr, bytes.data(), 4, 4);
        QVERIFY(bytes[0] != kGuard);
    }

    void picturesAreDrawnOnSeveralThreadsAtOnce()
    {
        const QString model = m_fixture->model(QStringLiteral("coordinates.glb"));
        std::vector<Picture> pictures(4, Picture(64, 48));
        std::vector<std::thread> threads;
        for (Picture& picture : pictures)
            threads.emplace_back([&picture, text = requestFor(model)] { picture.draw(text); });
        for (std::thread& thread : threads)
            thread.join();
        for (const Picture& picture : pictures)
            QVERIFY(picture.bytes == pictures.front().bytes && picture.at(63, 47)[0] == 63);
    }

    void spareRendererIsUsedAndReplaced()
    {
        ov3dViewerPrepare();
        const int spare = childProcesses().first();
        const QString model = m_fixture->model(QStringLiteral("plain.glb"));
        Picture picture(64, 48);
        picture.draw(requestFor(model));
        QCOMPARE(ViewerFixture::rendererOf(model), spare);
        QCOMPARE(childProcesses().size(), 1);
        QVERIFY(childProcesses().first() != spare);
    }

    void listingSaysWhyItFailed()
    {
        const auto reasonFor = [](const QString& path) {
            QString reason;
            const bool listed = ov3dViewerListFiles(qPrintable(path), {},
                                                    [&](const char* words) { reason = QString::fromUtf8(words); });
            return listed ? QStringLiteral("listed") : reason;
        };
        QCOMPARE(reasonFor(m_fixture->model(QStringLiteral("plain.glb"))), QStringLiteral("listed"));
        QCOMPARE(reasonFor(QStringLiteral("/nowhere/none.glb")), QStringLiteral("does not exist"));
        QCOMPARE(reasonFor(QStringLiteral("/tmp")), QStringLiteral("is not a file"));
        QCOMPARE(reasonFor(m_fixture->model(QStringLiteral("empty.glb"), 0)), QStringLiteral("is empty"));
        QCOMPARE(reasonFor(m_fixture->model(QStringLiteral("failed.glb"))),
                 QStringLiteral("ends in the middle of its data"));
        QVERIFY(reasonFor(m_fixture->model(QStringLiteral("crashload.glb"))).contains(QStringLiteral("crashed")));
        Limits limits;
        limits.load = 300ms;
        setLimits(limits);
        QCOMPARE(reasonFor(m_fixture->model(QStringLiteral("hangload.glb"))),
                 QStringLiteral("took longer than 1 second to read"));
        QVERIFY(reasonFor(m_fixture->model(QStringLiteral("samepercent.glb"))).contains(QStringLiteral("took longer")));
    }

private:
    std::unique_ptr<ViewerFixture> m_fixture;
};

OV3D_TEST_MAIN(RenderImageTest)
#include "renderimage_test.moc"
