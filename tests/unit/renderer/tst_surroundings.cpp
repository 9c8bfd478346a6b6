#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/scene/axis.h"
#include "viewer/renderer/scene/contactshadow.h"
#include "viewer/renderer/scene/sky.h"

#include <algorithm>
#include <array>
#include <cmath>

using namespace ov3d;
using namespace ov3d::renderer;

namespace {

/// A square of that half side, parallel to the ground, at that height.
ModelData slab(float half, float height)
{
    ModelData model;
    model.materials.emplace_back();
    MeshData& mesh = model.meshes.emplace_back();
    mesh.positions = {-half, height, -half, half, height, -half, half, height, half, -half, height, half};
    mesh.indices = {0, 1, 2, 0, 2, 3};
    model.box_min = {-half, height, -half};
    model.box_max = {half, height, half};
    return model;
}

/// Adds a far speck at the given height, so that the ground lies there.
void addSpeck(ModelData& model, float height)
{
    MeshData& mesh = model.meshes.front();
    const auto first = static_cast<std::uint32_t>(mesh.positions.size() / 3);
    mesh.positions.insert(mesh.positions.end(), {0.9f, height, 0.9f, 0.901f, height, 0.9f, 0.9f, height, 0.901f});
    mesh.indices.insert(mesh.indices.end(), {first, first + 1, first + 2});
    model.box_min.y = height;
}

int at(const std::vector<std::uint8_t>& shadow, double x, double z)
{
    const auto column = static_cast<std::size_t>((x + 1) / 2 * kShadowSide);
    const auto row = static_cast<std::size_t>((z + 1) / 2 * kShadowSide);
    return shadow[row * kShadowSide + column];
}

camera::Pose poseFrom(double azimuth, double elevation)
{
    camera::Pose pose;
    pose.right = {std::cos(azimuth), 0, -std::sin(azimuth)};
    pose.up = {-std::sin(azimuth) * std::sin(elevation), std::cos(elevation), -std::cos(azimuth) * std::sin(elevation)};
    pose.backward = {std::sin(azimuth) * std::cos(elevation), std::sin(elevation),
                     std::cos(azimuth) * std::cos(elevation)};
    pose.vertical_field_of_view = 0.5;
    return pose;
}

std::array<int, 4> sample(const AxisImage& image, double x, double y)
{
    const auto column = static_cast<std::size_t>(x * image.side);
    const auto row = static_cast<std::size_t>(y * image.side);
    const std::uint8_t* p = image.rgba.data() + (row * static_cast<std::size_t>(image.side) + column) * 4;
    return {p[0], p[1], p[2], p[3]};
}

} // namespace

class SurroundingsTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void groundLiesUnderTheModelAndReachesBeyondIt();
    void modelThatIsAPointStillHasAGround();
    void shadowIsDarkUnderTheModelAndGoneAtTheRim();
    void higherPartsCastSofterShadows();
    void pointsAndLinesCastShadowsToo();
    void shadowDoesNotDependOnTheOrderOfTheTriangles();

    void axesPointWhereTheWorldPoints();
    void axisInFrontHidesTheOneBehind();
    void axisStaysInThePicture_data();
    void axisStaysInThePicture();
    void axisLaidOverPartsIsTheAxisLaidOverTheWhole();

    void skyShowsWhatTheCameraLooksAt();
    void skyPartIsAPartOfTheWholeSky_data();
    void skyPartIsAPartOfTheWholeSky();
    void skyOfAParallelCameraIsNoSingleColour();
};

void SurroundingsTest::groundLiesUnderTheModelAndReachesBeyondIt()
{
    const GroundShape ground = groundOf(slab(0.5f, -0.3f));
    QVERIFY(ground.centre.y < -0.3 && ground.centre.y > -0.31);
    QVERIFY(ground.radius > 0.5 * std::sqrt(2.0) * 1.05 && ground.radius < 1.2);
}

void SurroundingsTest::modelThatIsAPointStillHasAGround()
{
    ModelData model;
    model.frame.scale = 0;
    MeshData& mesh = model.meshes.emplace_back();
    mesh.primitive = Primitive::points;
    mesh.positions = {0, 0, 0};
    mesh.indices = {0};
    const GroundShape ground = groundOf(model);
    QVERIFY(ground.radius > 0 && std::isfinite(ground.radius));
    QCOMPARE(contactShadow(model, ground).size(), std::size_t{kShadowSide} * kShadowSide);
}

void SurroundingsTest::shadowIsDarkUnderTheModelAndGoneAtTheRim()
{
    const ModelData model = slab(0.5f, 0.0f);
    const auto shadow = contactShadow(model, groundOf(model));
    QVERIFY(at(shadow, 0, 0) < 120);
    QVERIFY(at(shadow, 0.97, 0) > 235);
    QVERIFY(at(shadow, -0.97, 0) > 235);
}

void SurroundingsTest::higherPartsCastSofterShadows()
{
    ModelData low = slab(0.5f, 0.01f);
    ModelData high = slab(0.5f, 0.6f);
    addSpeck(low, 0.0f);
    addSpeck(high, 0.0f);
    const auto lowShadow = contactShadow(low, groundOf(low));
    const auto highShadow = contactShadow(high, groundOf(high));
    QVERIFY(at(lowShadow, 0, 0) + 40 < at(highShadow, 0, 0));
    // Beside the slab the high one's shadow has spread further.
    const double beside = 0.62 / groundOf(high).radius;
    QVERIFY(at(highShadow, -beside, 0) < at(lowShadow, -beside, 0));
}

void SurroundingsTest::pointsAndLinesCastShadowsToo()
{
    for (const Primitive primitive : {Primitive::points, Primitive::lines}) {
        ModelData model = slab(0.5f, 0.0f);
        model.meshes.front().primitive = primitive;
        const auto shadow = contactShadow(model, groundOf(model));
        const int darkest = *std::min_element(shadow.begin(), shadow.end());
        QVERIFY2(darkest < (primitive == Primitive::lines ? 245 : 255), qPrintable(QString::number(darkest)));
    }
}

void SurroundingsTest::shadowDoesNotDependOnTheOrderOfTheTriangles()
{
    const ModelData model = slab(0.5f, 0.0f);
    ModelData turned = model;
    auto& indices = turned.meshes.front().indices;
    std::rotate(indices.begin(), indices.begin() + 3, indices.end());
    QVERIFY(contactShadow(model, groundOf(model)) == contactShadow(turned, groundOf(turned)));
}

void SurroundingsTest::axesPointWhereTheWorldPoints()
{
    const AxisImage front = drawAxis(poseFrom(0, 0), 200);
    const auto right = sample(front, 0.5 + 0.3, 0.5);
    QVERIFY(right[3] == 255 && right[0] > 2 * right[1] && right[0] > 2 * right[2]); // X, red
    const auto up = sample(front, 0.5, 0.5 - 0.3);
    QVERIFY(up[3] == 255 && up[1] > 2 * up[0] && up[1] > 2 * up[2]); // Y, green
    const auto middle = sample(front, 0.5, 0.5);
    QVERIFY(middle[3] == 255 && middle[2] > 2 * middle[0]); // Z, blue, towards the viewer
    QCOMPARE(sample(front, 0.2, 0.5)[3], 0);

    const AxisImage side = drawAxis(poseFrom(M_PI / 2, 0), 200); // from +X: Z points left
    const auto left = sample(side, 0.5 - 0.3, 0.5);
    QVERIFY(left[3] == 255 && left[2] > 2 * left[0]);
}

void SurroundingsTest::axisInFrontHidesTheOneBehind()
{
    const AxisImage behind = drawAxis(poseFrom(M_PI, 0), 200); // Z points away
    const auto nearMiddle = sample(behind, 0.495, 0.47);
    QVERIFY(nearMiddle[3] == 255 && nearMiddle[1] > nearMiddle[2]); // Y's shaft
    const auto left = sample(behind, 0.5 - 0.3, 0.5);
    QVERIFY(left[3] == 255 && left[0] > 2 * left[2]);
}

void SurroundingsTest::axisStaysInThePicture_data()
{
    QTest::addColumn<QSize>("size");
    for (const QSize size :
         {QSize(1280, 960), QSize(64, 48), QSize(5, 400), QSize(400, 5), QSize(1, 1), QSize(8000, 6000)})
        QTest::newRow(qPrintable(QString("%1 x %2").arg(size.width()).arg(size.height()))) << size;
}

void SurroundingsTest::axisStaysInThePicture()
{
    QFETCH(QSize, size);
    const Region place = axisPlace(size.width(), size.height());
    QVERIFY(place.left >= 0 && place.top >= 0 && place.width > 0 && place.height > 0);
    QVERIFY(place.left + place.width <= size.width() && place.top + place.height <= size.height());
}

void SurroundingsTest::axisLaidOverPartsIsTheAxisLaidOverTheWhole()
{
    constexpr int width = 90;
    constexpr int height = 70;
    constexpr int factor = 2;
    const Region place = axisPlace(width, height);
    const AxisImage axis = drawAxis(poseFrom(0.5, 0.4), place.width * factor);
    const auto samplesOf = [&](const Region& part) {
        std::vector<std::uint8_t> samples(static_cast<std::size_t>(part.width * part.height * factor * factor) * 4);
        layAxisOver(axis, place, part, factor, samples.data());
        return samples;
    };
    const auto whole = samplesOf({0, 0, width, height});
    QVERIFY(std::any_of(whole.begin(), whole.end(), [](std::uint8_t value) { return value != 0; }));
    const Region part{7, 45, 30, 25};
    const auto cut = samplesOf(part);
    for (int y = 0; y < part.height * factor; ++y)
        for (int x = 0; x < part.width * factor * 4; ++x) {
            const int row = (height - part.top - part.height) * factor + y;
            const int column = part.left * factor * 4 + x;
            QCOMPARE(int{cut[static_cast<std::size_t>(y * part.width * factor * 4 + x)]},
                     int{whole[static_cast<std::size_t>(row * width * factor * 4 + column)]});
        }
}

void SurroundingsTest::skyShowsWhatTheCameraLooksAt()
{
    const Radiance halves = [](Direction d) { return d.y > 0 ? Light{0, 0, 0.5f} : Light{0.5f, 0, 0}; };
    const SkyImage level = drawSky(halves, 1, poseFrom(0, 0), {{0, 0, 80, 60}, 80, 60}, {0, 0, 80, 60});
    QCOMPARE(QSize(level.width, level.height), QSize(80, 60));
    QCOMPARE(int{level.rgb.front()}, 188); // the lowest row comes first
    QCOMPARE(int{level.rgb.back()}, 188);
    const SkyImage down = drawSky(halves, 1, poseFrom(0, 1.5), {{0, 0, 80, 60}, 80, 60}, {0, 0, 80, 60});
    QCOMPARE(int{down.rgb.back()}, 0);
    const SkyImage dim = drawSky(halves, 0.1f, poseFrom(0, 0), {{0, 0, 80, 60}, 80, 60}, {0, 0, 80, 60});
    QVERIFY(dim.rgb.back() < 80 && dim.rgb.back() > 20);
}

void SurroundingsTest::skyPartIsAPartOfTheWholeSky_data()
{
    QTest::addColumn<QSize>("size");
    QTest::newRow("a small picture") << QSize(96, 64);
    QTest::newRow("a large picture, whose sky is softer") << QSize(800, 600);
}

void SurroundingsTest::skyPartIsAPartOfTheWholeSky()
{
    const Radiance sky = [](Direction d) { return radianceOf(Sky::sunset, d); };
    QFETCH(QSize, size);
    const Wanted wanted{{0, 0, size.width(), size.height()}, size.width(), size.height()};
    const int step = skyStep(wanted);
    const SkyImage whole = drawSky(sky, 1, poseFrom(0.3, 0.2), wanted, wanted.part);
    const SkyImage part = drawSky(sky, 1, poseFrom(0.3, 0.2), wanted, {32, 16, 40, size.height() - 32});
    QCOMPARE(part.width, 40 / step);
    for (int y = 0; y < part.height; ++y)
        for (int x = 0; x < part.width * 3; ++x) {
            const int inWhole = (y + 16 / step) * whole.width * 3 + 32 / step * 3 + x;
            QCOMPARE(int{part.rgb[static_cast<std::size_t>(y * part.width * 3 + x)]},
                     int{whole.rgb[static_cast<std::size_t>(inWhole)]});
        }
}

void SurroundingsTest::skyOfAParallelCameraIsNoSingleColour()
{
    camera::Pose pose = poseFrom(0.3, 0.1);
    pose.parallel = true;
    const Radiance sky = [](Direction d) { return radianceOf(Sky::bright_day, d); };
    const SkyImage image = drawSky(sky, 1, pose, {{0, 0, 80, 60}, 80, 60}, {0, 0, 80, 60});
    QVERIFY(image.rgb.front() + 20 < image.rgb.back());
}

OV3D_TEST_MAIN(SurroundingsTest)
#include "tst_surroundings.moc"
