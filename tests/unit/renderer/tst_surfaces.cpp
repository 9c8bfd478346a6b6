#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "tests/unit/renderer/rendererclient.h"
#include "tests/unit/renderer/surfacefiles.h"

#include <QColor>
#include <QImage>
#include <algorithm>
#include <cmath>

using ov3d::protocol::Quality;
using ov3d::protocol::RenderSettings;
using surfacefiles::halves;
using surfacefiles::plain;

namespace {

const QRgb kKey = qRgb(92, 238, 20);

RenderSettings with(int shading, int preset = 6)
{
    RenderSettings settings;
    settings.material_type_a = shading;
    settings.material_type_b = preset;
    return settings;
}

/// Light, textures and everything else put aside, for tests of plain colours.
RenderSettings raw()
{
    RenderSettings settings;
    settings.raw_mode = true;
    return settings;
}

int distance(const QColor& a, const QColor& b)
{
    return std::max({qAbs(a.red() - b.red()), qAbs(a.green() - b.green()), qAbs(a.blue() - b.blue())});
}

int brightness(const QColor& c)
{
    return (c.red() + c.green() + c.blue()) / 3;
}

/// Largest difference of one pixel between two pictures of one size.
int difference(const QImage& a, const QImage& b)
{
    int most = a.size() == b.size() && !a.isNull() ? 0 : 999;
    for (int y = 0; y < a.height() && most < 999; ++y)
        for (int x = 0; x < a.width(); ++x)
            most = std::max(most, distance(a.pixelColor(x, y), b.pixelColor(x, y)));
    return most;
}

int shownPixels(const QImage& image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += image.pixel(x, y) != kKey ? 1 : 0;
    return count;
}

int pixelsNearKey(const QImage& image)
{
    int count = 0;
    for (int y = 0; y < image.height(); ++y)
        for (int x = 0; x < image.width(); ++x)
            count += image.pixel(x, y) != kKey && distance(image.pixelColor(x, y), QColor(kKey)) <= 2 ? 1 : 0;
    return count;
}

QString text(const QColor& a, const QColor& b)
{
    return a.name() + " and " + b.name();
}

/// A smooth ball: an OBJ of a sphere with normals.
QByteArray ballObj()
{
    QByteArray obj = "mtllib ball.mtl\nusemtl ball\n";
    constexpr int rows = 16;
    constexpr int columns = 32;
    for (int j = 0; j <= rows; ++j)
        for (int i = 0; i <= columns; ++i) {
            const double a = M_PI * j / rows;
            const double b = 2 * M_PI * i / columns;
            const QByteArray at = QByteArray::number(std::sin(a) * std::sin(b)) + " " +
                                  QByteArray::number(std::cos(a)) + " " +
                                  QByteArray::number(std::sin(a) * std::cos(b)) + "\n";
            obj += "v " + at + "vn " + at;
        }
    const auto corner = [](int j, int i) {
        const QByteArray index = QByteArray::number(j * (columns + 1) + i + 1);
        return " " + index + "//" + index;
    };
    for (int j = 0; j < rows; ++j)
        for (int i = 0; i < columns; ++i)
            obj += "f" + corner(j, i) + corner(j + 1, i) + corner(j + 1, i + 1) + corner(j, i + 1) + "\n";
    return obj;
}

} // namespace

class SurfacesTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void init();
    void cleanup();

    void rawModeShowsTheFilesColours();
    void rawModeDoesNotMixTexels();
    void unlitShowsTheColourFromEverySide();
    void materialWithoutLightIsShownAsItIs();
    void whitePlasticIsJustBelowWhite();
    void litColourKeepsItsHue();
    void normalsTellWhereASurfaceFaces();
    void depthFallsFromFrontToBack();
    void clayHidesTextures();
    void presetsAreToldApart();
    void glassCoversWhatPlasticCovers();
    void glassIsTheSameInWhateverOrderItsFacesStand();
    void plasticTakesTheSettingsColour();
    void redGlassIsRedOnAnyPage();
    void settingsChangeThePictureAndBack();
    void valuesThatAreNoneChangeNothing();
    void roughMetalAndSmoothMetalDiffer();
    void lacquerShinesOverTheColour();
    void lacquerReflectsAsMuchAsASmoothSurface();
    void roughnessTextureCounts();
    void normalMapTurnsTheLight();
    void occlusionDarkens();
    void emissionGlowsWithoutLight();
    void emissiveTextureGlowsInPlaces();
    void cutOutKeepsItsShapeUnderEveryMaterial();
    void translucencyOfAFileIsSeenOverGrey();
    void translucentColoursOfVerticesCountOnce();
    void oneSidedTranslucencyIsSeenFromTheFrontAlone();
    void opaqueSurfacesAreSeenFromBothSides();
    void samplerThatAsksForTheNearestTexelGetsIt();
    void transformedMapLiesWhereItBelongs();
    void pointsAreRoundAndSized();
    void wireframeShowsThrough();
    void noPixelComesNearTheKey();

private:
    /// The square from the front.
    QImage drawSquare(const QByteArray& material, const QList<QImage>& textures, const RenderSettings& settings = {},
                      const QByteArray& extension = {});
    QColor middleOf(const QByteArray& material, const QList<QImage>& textures, const RenderSettings& settings = {});
    bool loadBall(const QByteArray& properties);
    QImage draw(const RenderSettings& settings = {}) { return m_client->draw(120, 120, Quality::final, settings); }

    QScopedPointer<ModelFolder> m_folder;
    QScopedPointer<RendererClient> m_client;
};

void SurfacesTest::init()
{
    TestBase::init();
    m_folder.reset(new ModelFolder);
    m_client.reset(new RendererClient);
    m_client->azimuth = m_client->elevation = 0;
    QVERIFY(m_client->waitUntilReady());
}

void SurfacesTest::cleanup()
{
    m_client.reset();
    m_folder.reset();
    TestBase::cleanup();
}

QImage SurfacesTest::drawSquare(const QByteArray& material, const QList<QImage>& textures,
                                const RenderSettings& settings, const QByteArray& extension)
{
    if (!m_client->load(surfacefiles::writeSquare(*m_folder, material, textures, extension)))
        qWarning("%s", qPrintable(m_client->failure()));
    const QImage image = draw(settings);
    return image.isNull() ? QImage(120, 120, QImage::Format_RGB888) : image;
}

QColor SurfacesTest::middleOf(const QByteArray& material, const QList<QImage>& textures, const RenderSettings& settings)
{
    return drawSquare(material, textures, settings).pixelColor(60, 60);
}

bool SurfacesTest::loadBall(const QByteArray& properties)
{
    m_folder->write("ball.mtl", "newmtl ball\n" + properties + "\n");
    return m_client->load(m_folder->write("ball.obj", ballObj()));
}

void SurfacesTest::rawModeShowsTheFilesColours()
{
    const QColor brown(150, 90, 40);
    const QByteArray textured = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":0.5}})";
    QVERIFY(distance(middleOf(textured, {plain(brown)}, raw()), brown) <= 1);
    QVERIFY(m_client->load(surfacefiles::writeObjSquare(*m_folder, "Kd 0.588 0.353 0.157")));
    QVERIFY(distance(draw(raw()).pixelColor(60, 60), brown) <= 1);
}

void SurfacesTest::rawModeDoesNotMixTexels()
{
    QImage texture(2, 1, QImage::Format_RGB32);
    texture.setPixelColor(0, 0, Qt::red);
    texture.setPixelColor(1, 0, Qt::blue);
    const QByteArray material = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":0}})";
    const QImage sharp = drawSquare(material, {texture}, raw());
    QVERIFY(distance(sharp.pixelColor(54, 60), Qt::red) <= 1);
    QVERIFY(distance(sharp.pixelColor(66, 60), Qt::blue) <= 1);
    const QColor mixed = drawSquare(material, {texture}, with(1)).pixelColor(60, 60);
    QVERIFY2(mixed.red() > 60 && mixed.blue() > 60, qPrintable(mixed.name()));
}

void SurfacesTest::unlitShowsTheColourFromEverySide()
{
    QVERIFY(loadBall("Kd 0.8 0.4 0.2"));
    const QImage image = draw(with(1));
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 120; ++x)
            QVERIFY(image.pixel(x, y) == kKey || distance(image.pixelColor(x, y), QColor(204, 102, 51)) <= 1);
    QVERIFY(shownPixels(image) > 2000);
    QVERIFY(difference(draw(), image) > 20);
}

void SurfacesTest::materialWithoutLightIsShownAsItIs()
{
    const QColor olive(120, 130, 40);
    const QImage image = drawSquare(R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0}},
        "extensions":{"KHR_materials_unlit":{}}})",
                                    {plain(olive)}, {}, "KHR_materials_unlit");
    QVERIFY(distance(image.pixelColor(60, 60), olive) <= 1);
}

void SurfacesTest::whitePlasticIsJustBelowWhite()
{
    QVERIFY(loadBall("Kd 1 1 1\nKs 0.5 0.5 0.5\nNs 100\nillum 2"));
    const QImage image = draw();
    int brightest = 0;
    int saturated = 0;
    for (int y = 0; y < 120; ++y)
        for (int x = 0; x < 120; ++x) {
            if (image.pixel(x, y) == kKey)
                continue;
            brightest = std::max(brightest, brightness(image.pixelColor(x, y)));
            saturated += brightness(image.pixelColor(x, y)) >= 254 ? 1 : 0;
        }
    QVERIFY2(brightest > 215, qPrintable(QString::number(brightest)));
    QVERIFY2(saturated * 50 < shownPixels(image), qPrintable(QString::number(saturated)));
}

void SurfacesTest::litColourKeepsItsHue()
{
    for (const QColor& colour :
         {QColor(200, 40, 40), QColor(40, 140, 60), QColor(50, 70, 200), QColor(120, 120, 120)}) {
        const QColor lit = middleOf(R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":0,
            "roughnessFactor":0.8}})",
                                    {plain(colour)});
        QVERIFY2(brightness(lit) > brightness(colour) * 6 / 10 && brightness(lit) < brightness(colour) * 17 / 10,
                 qPrintable(text(colour, lit)));
        if (colour.hue() >= 0)
            QVERIFY2(qAbs(((lit.hue() - colour.hue() + 540) % 360) - 180) < 15, qPrintable(text(colour, lit)));
        else
            QVERIFY2(lit.saturation() < 20, qPrintable(lit.name()));
    }
}

void SurfacesTest::normalsTellWhereASurfaceFaces()
{
    QVERIFY(loadBall("Kd 1 0 0"));
    const QImage image = draw(with(2));
    QVERIFY(distance(image.pixelColor(60, 60), QColor(128, 128, 255)) <= 6);
    const QColor left = image.pixelColor(35, 60);
    const QColor right = image.pixelColor(85, 60);
    const QColor top = image.pixelColor(60, 35);
    const QColor bottom = image.pixelColor(60, 85);
    QVERIFY2(left.red() < 90 && right.red() > 165, qPrintable(text(left, right)));
    QVERIFY2(top.green() > 165 && bottom.green() < 90, qPrintable(text(top, bottom)));
}

void SurfacesTest::depthFallsFromFrontToBack()
{
    QVERIFY(loadBall("Kd 1 0 0"));
    const QImage image = draw(with(3));
    const QColor front = image.pixelColor(60, 60);
    const QColor side = image.pixelColor(16, 60);
    QVERIFY2(brightness(front) > 220 && brightness(side) < brightness(front) - 15, qPrintable(text(front, side)));
    QCOMPARE(front.saturation(), 0);
}

void SurfacesTest::clayHidesTextures()
{
    const QByteArray material = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":1,
        "roughnessFactor":0.2}})";
    const QImage image = drawSquare(material, {halves(Qt::red, Qt::blue)}, with(4));
    const QColor left = image.pixelColor(40, 60);
    const QColor right = image.pixelColor(80, 60);
    QVERIFY2(distance(left, right) < 25, qPrintable(text(left, right)));
    QVERIFY2(left.red() > left.blue() && left.saturation() < 130, qPrintable(left.name()));
}

void SurfacesTest::presetsAreToldApart()
{
    QVERIFY(loadBall("Kd 0.2 0.5 0.3"));
    QList<QImage> pictures{draw()};
    for (int preset = 0; preset < 6; ++preset) {
        const QImage picture = draw(with(0, preset));
        for (const QImage& other : pictures)
            QVERIFY2(difference(picture, other) > 40, qPrintable(QString::number(preset)));
        pictures << picture;
    }
    const QColor brass = pictures[1].pixelColor(60, 60);
    QVERIFY2(brass.red() > brass.blue() + 20, qPrintable(brass.name()));
    const QColor chrome = pictures[2].pixelColor(60, 60);
    QVERIFY2(chrome.saturation() < 40, qPrintable(chrome.name()));
}

void SurfacesTest::glassCoversWhatPlasticCovers()
{
    QVERIFY(loadBall("Kd 0.2 0.5 0.3"));
    for (const double sun : {140000.0, 1400000.0}) {
        RenderSettings plastic = with(0, 2);
        RenderSettings glass = with(0, 3);
        plastic.sun_intensity = glass.sun_intensity = sun;
        // Where glass shines it is solid, and where it is clear the far side is.
        QCOMPARE(shownPixels(draw(glass)), shownPixels(draw(plastic)));
    }
}

void SurfacesTest::glassIsTheSameInWhateverOrderItsFacesStand()
{
    // Two sheets one behind the other, both seen from their fronts.
    const QByteArray points = "v -1 -1 0\nv 1 -1 0\nv 1 1 0\nv -1 1 0\nv -1 -1 1\nv 1 -1 1\nv 1 1 1\nv -1 1 1\n";
    const QByteArray behind = "f 1 2 3 4\n";
    const QByteArray before = "f 5 6 7 8\n";
    QVERIFY(m_client->load(m_folder->write("before.obj", points + before + behind)));
    const QImage nearestFirst = draw(with(0, 3));
    QVERIFY(m_client->load(m_folder->write("behind.obj", points + behind + before)));
    QCOMPARE(difference(draw(with(0, 3)), nearestFirst), 0);
    QCOMPARE(shownPixels(nearestFirst), shownPixels(draw(with(0, 2))));
    const QColor seen = nearestFirst.pixelColor(60, 60);
    QVERIFY2(seen.red() > seen.green() + 30, qPrintable(seen.name()));
}

void SurfacesTest::plasticTakesTheSettingsColour()
{
    QVERIFY(loadBall("Kd 0.2 0.5 0.3"));
    RenderSettings settings = with(0, 2);
    const QColor red = draw(settings).pixelColor(60, 60);
    QVERIFY2(red.red() > red.green() + 60, qPrintable(red.name()));
    settings.material_color[0] = 0.1f;
    settings.material_color[1] = 0.2f;
    settings.material_color[2] = 0.9f;
    const QColor blue = draw(settings).pixelColor(60, 60);
    QVERIFY2(blue.blue() > blue.red() + 60, qPrintable(blue.name()));
}

void SurfacesTest::redGlassIsRedOnAnyPage()
{
    QVERIFY(loadBall("Kd 1 1 1"));
    RenderSettings glass = with(0, 3);
    glass.material_color[0] = 0.9f;
    glass.material_color[1] = glass.material_color[2] = 0.05f;
    // The picture holds no page: what is opaque and red in it is red on all of them.
    const QImage keyed = draw(glass);
    const int covered = shownPixels(keyed);
    const int solid = shownPixels(draw());
    QVERIFY2(covered <= solid && covered * 100 > solid * 99, qPrintable(QString("%1 of %2").arg(covered).arg(solid)));
    for (const QPoint& at : {QPoint(60, 60), QPoint(45, 70), QPoint(75, 50)}) {
        const QColor seen = keyed.pixelColor(at);
        QVERIFY2(seen.red() > seen.green() + 50 && seen.red() > seen.blue() + 50, qPrintable(seen.name()));
    }
    glass.bg_color[0] = glass.bg_color[1] = glass.bg_color[2] = 1.0f;
    const QColor onWhite = draw(glass).pixelColor(60, 60);
    QVERIFY2(onWhite.red() > onWhite.green() + 30, qPrintable(onWhite.name()));
}

void SurfacesTest::settingsChangeThePictureAndBack()
{
    const QString path = surfacefiles::writeSquare(*m_folder, R"({"pbrMetallicRoughness":{"baseColorTexture":
        {"index":0},"metallicFactor":0}})",
                                                   {halves(Qt::red, Qt::yellow)});
    QVERIFY(m_client->load(path));
    const QImage before = draw();
    for (const RenderSettings& settings :
         {with(1), with(2), with(3), with(4), with(0, 0), with(0, 3), with(0, 4), raw()}) {
        QVERIFY(difference(draw(settings), before) > 10);
        QCOMPARE(difference(draw(), before), 0);
    }
}

void SurfacesTest::valuesThatAreNoneChangeNothing()
{
    QVERIFY(loadBall("Kd 0.2 0.5 0.3"));
    const QImage before = draw();
    for (const RenderSettings& settings : {with(-7), with(5), with(1 << 30), with(0, -1), with(0, 7), with(0, 1 << 30)})
        QCOMPARE(difference(draw(settings), before), 0);
}

void SurfacesTest::roughMetalAndSmoothMetalDiffer()
{
    QVERIFY(loadBall("Kd 0.9 0.8 0.6\nPr 0.1\nPm 1"));
    const QImage smooth = draw();
    QVERIFY(loadBall("Kd 0.9 0.8 0.6\nPr 0.9\nPm 1"));
    QVERIFY(difference(draw(), smooth) > 60);
    QVERIFY(loadBall("Kd 0.9 0.8 0.6\nPr 0.1\nPm 0"));
    QVERIFY(difference(draw(), smooth) > 60);
}

void SurfacesTest::lacquerShinesOverTheColour()
{
    // From the side: straight on, lacquer takes about as much light away as it adds.
    m_client->azimuth = 65;
    const QByteArray bare = R"("pbrMetallicRoughness":{"baseColorFactor":[0.1,0.2,0.6,1],"metallicFactor":0,
        "roughnessFactor":0.9})";
    const QImage matt = drawSquare("{" + bare + "}", {});
    const QImage coated = drawSquare("{" + bare + R"(,"extensions":{"KHR_materials_clearcoat":{"clearcoatFactor":1}}})",
                                     {}, {}, "KHR_materials_clearcoat");
    // A shader that cannot be made leaves nothing of the surface.
    QCOMPARE(shownPixels(coated), shownPixels(matt));
    QVERIFY(difference(coated, matt) > 4);
}

void SurfacesTest::lacquerReflectsAsMuchAsASmoothSurface()
{
    RenderSettings surroundings;
    surroundings.sun_enabled = false;
    surroundings.hdr_map_type = 1;
    m_client->azimuth = 65;
    const auto lightOf = [&](const QByteArray& roughness, const QByteArray& coat) {
        const QImage image = drawSquare(R"({"pbrMetallicRoughness":{"baseColorFactor":[0,0,0,1],"metallicFactor":0,
            "roughnessFactor":)" + roughness +
                                            "}" + coat + "}",
                                        {}, surroundings, "KHR_materials_clearcoat");
        return brightness(image.pixelColor(60, 60));
    };
    const int matt = lightOf("1", "");
    const int smooth = lightOf("0.05", "");
    const int coated = lightOf(
        "1", R"(,"extensions":{"KHR_materials_clearcoat":{"clearcoatFactor":1,"clearcoatRoughnessFactor":0.05}})");
    const QString seen = QString("matt %1, smooth %2, coated %3").arg(matt).arg(smooth).arg(coated);
    QVERIFY2(smooth > matt + 25, qPrintable(seen));
    QVERIFY2(coated >= smooth - 3 && coated < smooth + 60, qPrintable(seen));
}

void SurfacesTest::roughnessTextureCounts()
{
    const QByteArray factor = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":1,
        "roughnessFactor":0.1}})";
    const QByteArray mapped = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":1,
        "roughnessFactor":1,"metallicRoughnessTexture":{"index":1}}})";
    const QImage white = plain(Qt::white);
    const QImage left = drawSquare(factor, {white});
    // Green is roughness, blue metallic: the left half is a smooth metal, the right half no metal at all.
    const QImage both = drawSquare(mapped, {white, halves(QColor(0, 26, 255), QColor(0, 26, 0))});
    QVERIFY(distance(both.pixelColor(40, 60), left.pixelColor(40, 60)) <= 4);
    QVERIFY(distance(both.pixelColor(80, 60), left.pixelColor(80, 60)) > 20);
}

void SurfacesTest::normalMapTurnsTheLight()
{
    const QByteArray material = R"({"normalTexture":{"index":1},"pbrMetallicRoughness":
        {"baseColorTexture":{"index":0},"metallicFactor":0,"roughnessFactor":0.9}})";
    const QImage grey = plain(QColor(120, 120, 120));
    // The sun comes from above at the left of the camera: what leans there is brighter than what leans away.
    const QImage across = drawSquare(material, {grey, halves(QColor(40, 128, 220), QColor(216, 128, 220))});
    const QColor leaningLeft = across.pixelColor(40, 60);
    const QColor leaningRight = across.pixelColor(80, 60);
    QVERIFY2(brightness(leaningLeft) > brightness(leaningRight) + 12, qPrintable(text(leaningLeft, leaningRight)));
    const QImage along = drawSquare(material, {grey, halves(QColor(128, 216, 220), QColor(128, 40, 220))});
    const QColor leaningUp = along.pixelColor(40, 60);
    const QColor leaningDown = along.pixelColor(80, 60);
    QVERIFY2(brightness(leaningUp) > brightness(leaningDown) + 12, qPrintable(text(leaningUp, leaningDown)));
    const QImage even = drawSquare(material, {grey, plain(QColor(128, 128, 255))});
    const QColor flat = middleOf(R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":0,
        "roughnessFactor":0.9}})",
                                 {grey});
    QVERIFY2(distance(even.pixelColor(60, 60), flat) <= 3, qPrintable(text(even.pixelColor(60, 60), flat)));
}

void SurfacesTest::occlusionDarkens()
{
    const QByteArray material = R"({"occlusionTexture":{"index":1},"pbrMetallicRoughness":
        {"baseColorTexture":{"index":0},"metallicFactor":0,"roughnessFactor":0.9}})";
    const QImage image = drawSquare(material, {plain(Qt::gray), halves(Qt::black, Qt::white)});
    const QColor hidden = image.pixelColor(40, 60);
    const QColor open = image.pixelColor(80, 60);
    QVERIFY2(brightness(hidden) < brightness(open) - 20, qPrintable(text(hidden, open)));
}

void SurfacesTest::emissionGlowsWithoutLight()
{
    RenderSettings dark;
    dark.ibl_enabled = dark.sun_enabled = false;
    const QColor glow = middleOf(R"({"emissiveFactor":[0,0.214,0],"pbrMetallicRoughness":{"baseColorFactor":[0,0,0,1],
        "metallicFactor":0}})",
                                 {}, dark);
    QVERIFY2(qAbs(glow.green() - 127) < 12 && glow.red() < 40, qPrintable(glow.name()));
}

void SurfacesTest::emissiveTextureGlowsInPlaces()
{
    RenderSettings dark;
    dark.ibl_enabled = dark.sun_enabled = false;
    const QImage image = drawSquare(R"({"emissiveFactor":[1,1,1],"emissiveTexture":{"index":0},
        "pbrMetallicRoughness":{"baseColorFactor":[0,0,0,1],"metallicFactor":0}})",
                                    {halves(QColor(0, 0, 0), QColor(150, 110, 60))}, dark);
    QVERIFY2(brightness(image.pixelColor(40, 60)) < 40, qPrintable(image.pixelColor(40, 60).name()));
    QVERIFY2(distance(image.pixelColor(80, 60), QColor(150, 110, 60)) < 12,
             qPrintable(image.pixelColor(80, 60).name()));
}

void SurfacesTest::cutOutKeepsItsShapeUnderEveryMaterial()
{
    const QString path = surfacefiles::writeSquare(*m_folder, R"({"alphaMode":"MASK","pbrMetallicRoughness":
        {"baseColorTexture":{"index":0},"metallicFactor":0}})",
                                                   {halves(QColor(200, 40, 40), QColor(200, 40, 40, 0))});
    QVERIFY(m_client->load(path));
    for (const RenderSettings& settings :
         {with(0), with(1), with(2), with(3), with(4), with(0, 2), with(0, 3), raw()}) {
        const QImage image = draw(settings);
        QVERIFY(image.pixel(45, 60) != kKey);
        QCOMPARE(image.pixel(80, 60), kKey);
    }
}

void SurfacesTest::translucencyOfAFileIsSeenOverGrey()
{
    const QByteArray pane = R"({"alphaMode":"BLEND","pbrMetallicRoughness":{"baseColorFactor":[0,0,0,0.5],
        "metallicFactor":0,"roughnessFactor":1}})";
    const QColor seen = middleOf(pane, {});
    const QColor solid = middleOf(R"({"pbrMetallicRoughness":{"baseColorFactor":[0,0,0,0.5],"metallicFactor":0,
        "roughnessFactor":0.99}})",
                                  {});
    const int expected = (brightness(solid) + 128) / 2;
    QVERIFY2(qAbs(brightness(seen) - expected) < 6, qPrintable(text(seen, solid)));
}

void SurfacesTest::oneSidedTranslucencyIsSeenFromTheFrontAlone()
{
    const QByteArray pane = R"("alphaMode":"BLEND","pbrMetallicRoughness":{"baseColorFactor":[1,0,0,0.5],
        "metallicFactor":0})";
    const int front = shownPixels(drawSquare("{" + pane + "}", {}));
    QVERIFY(front > 1000);
    m_client->azimuth = 180;
    QCOMPARE(shownPixels(draw()), 0);
    QCOMPARE(shownPixels(drawSquare("{\"doubleSided\":true," + pane + "}", {})), front);
}

void SurfacesTest::opaqueSurfacesAreSeenFromBothSides()
{
    const int front = shownPixels(drawSquare(R"({"doubleSided":false})", {}));
    QVERIFY(front > 1000);
    m_client->azimuth = 180;
    QCOMPARE(shownPixels(draw()), front);
}

void SurfacesTest::samplerThatAsksForTheNearestTexelGetsIt()
{
    QImage texture(2, 1, QImage::Format_RGB32);
    texture.setPixelColor(0, 0, Qt::red);
    texture.setPixelColor(1, 0, Qt::blue);
    const QByteArray material = R"({"pbrMetallicRoughness":{"baseColorTexture":{"index":0},"metallicFactor":0},
        "extensions":{"KHR_materials_unlit":{}}})";
    const QColor mixed = drawSquare(material, {texture}, {}, "KHR_materials_unlit").pixelColor(56, 60);
    QVERIFY2(mixed.red() > 60 && mixed.blue() > 60, qPrintable(mixed.name()));
    QFile file(m_folder->path("square.gltf"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArray json = file.readAll();
    json.replace("{\"source\":0}", "{\"source\":0,\"sampler\":0}");
    json.replace("\"images\":", "\"samplers\":[{\"magFilter\":9728}],\"images\":");
    QVERIFY2(m_client->load(m_folder->write("pixels.gltf", json)), qPrintable(m_client->failure()));
    for (const RenderSettings& settings : {with(0), raw(), with(0)}) {
        const QImage sharp = draw(settings);
        QVERIFY2(distance(sharp.pixelColor(56, 60), Qt::red) <= 1, qPrintable(sharp.pixelColor(56, 60).name()));
        QVERIFY2(distance(sharp.pixelColor(64, 60), Qt::blue) <= 1, qPrintable(sharp.pixelColor(64, 60).name()));
    }
}

void SurfacesTest::translucentColoursOfVerticesCountOnce()
{
    // A square with a half-transparent material, once with and once without white vertex colours.
    const QByteArray material = R"({"alphaMode":"BLEND","pbrMetallicRoughness":{"baseColorFactor":[1,0,0,0.5],
        "metallicFactor":0},"extensions":{"KHR_materials_unlit":{}}})";
    const QColor plainSquare = drawSquare(material, {}, {}, "KHR_materials_unlit").pixelColor(60, 60);
    QVERIFY(distance(plainSquare, QColor(191, 64, 64)) <= 3);
    QFile file(m_folder->path("square.gltf"));
    QVERIFY(file.open(QIODevice::ReadOnly));
    QByteArray json = file.readAll();
    json.replace("\"TEXCOORD_0\":1}", "\"TEXCOORD_0\":1,\"COLOR_0\":3}");
    json.replace("\"type\":\"SCALAR\"}]", "\"type\":\"SCALAR\"},{\"bufferView\":3,\"componentType\":5126,\"count\":4,"
                                          "\"type\":\"VEC4\"}]");
    json.replace("\"byteOffset\":80,\"byteLength\":12}", "\"byteOffset\":80,\"byteLength\":12},{\"buffer\":0,"
                                                         "\"byteOffset\":92,\"byteLength\":64}");
    json.replace("\"byteLength\":92}]", "\"byteLength\":156}]");
    const float one = 1.0f;
    QByteArray ones;
    for (int i = 0; i < 16; ++i)
        ones.append(reinterpret_cast<const char*>(&one), 4);
    m_folder->write("square.bin", modelfiles::squareBuffer() + ones);
    QVERIFY2(m_client->load(m_folder->write("colours.gltf", json)), qPrintable(m_client->failure()));
    const QColor coloured = draw().pixelColor(60, 60);
    QVERIFY2(distance(coloured, plainSquare) <= 3, qPrintable(text(coloured, plainSquare)));
}

void SurfacesTest::transformedMapLiesWhereItBelongs()
{
    RenderSettings dark;
    dark.ibl_enabled = dark.sun_enabled = false;
    // Moved by half of the texture, the glowing half comes to lie on the other side.
    const QByteArray material = R"({"emissiveFactor":[1,1,1],"emissiveTexture":{"index":1,"extensions":
        {"KHR_texture_transform":{"offset":[0.5,0]}}},"pbrMetallicRoughness":{"baseColorTexture":{"index":0},
        "metallicFactor":0}})";
    const QImage image = drawSquare(material, {plain(Qt::black), halves(Qt::black, QColor(120, 120, 120))}, dark,
                                    "KHR_texture_transform");
    QVERIFY2(brightness(image.pixelColor(40, 60)) > brightness(image.pixelColor(80, 60)) + 60,
             qPrintable(text(image.pixelColor(40, 60), image.pixelColor(80, 60))));
}

void SurfacesTest::pointsAreRoundAndSized()
{
    QVERIFY(m_client->load(m_folder->write("points.obj", "v -1 -1 0\nv 1 1 0\n")));
    RenderSettings settings;
    settings.point_size = 5;
    const int area = shownPixels(draw(settings));
    // Two discs of 20 pixels; a pixel more on each side of every run.
    QVERIFY2(area > 2 * 314 && area < 2 * 385, qPrintable(QString::number(area)));
    settings.point_size = 10;
    QVERIFY(shownPixels(draw(settings)) > 3 * area);
    RenderSettings three;
    settings.point_size = 0;
    QCOMPARE(difference(draw(settings), draw(three)), 0);
}

void SurfacesTest::wireframeShowsThrough()
{
    QVERIFY(loadBall("Kd 0.2 0.5 0.3"));
    const QImage whole = m_client->draw(400, 400);
    for (const RenderSettings& look : {with(0), with(1), with(2), with(3), with(0, 1), with(0, 3), with(0, 4), raw()}) {
        RenderSettings settings = look;
        settings.wireframe = true;
        const int shown = shownPixels(m_client->draw(400, 400, Quality::final, settings));
        QVERIFY2(shown > 2000 && shown * 10 < shownPixels(whole) * 9, qPrintable(QString::number(shown)));
    }
}

void SurfacesTest::noPixelComesNearTheKey()
{
    QVERIFY(loadBall("Kd 0.36 0.933 0.078"));
    for (int shading = 0; shading < 5; ++shading)
        for (int preset = 0; preset < 7; ++preset) {
            RenderSettings settings = with(shading, preset);
            settings.material_color[0] = 0.36f;
            settings.material_color[1] = 0.933f;
            settings.material_color[2] = 0.078f;
            const QImage image = draw(settings);
            QCOMPARE(pixelsNearKey(image), 0);
            QVERIFY(shownPixels(image) > 2000);
        }
    QCOMPARE(pixelsNearKey(draw(raw())), 0);
}

OV3D_TEST_MAIN(SurfacesTest)
#include "tst_surfaces.moc"
