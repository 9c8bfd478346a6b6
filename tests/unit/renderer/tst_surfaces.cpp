#include "tests/support/testmain.h"
#include "tests/unit/renderer/picturechecks.h"
#include "tests/unit/renderer/surfacetestbase.h"

#include <QFile>
#include <algorithm>

using namespace picturechecks;
using ov3d::protocol::RenderSettings;
using surfacefiles::halves;
using surfacefiles::plain;

class SurfacesTest : public SurfaceTestBase
{
    Q_OBJECT

private Q_SLOTS:
    void materialWithoutLightIsShownAsItIs();
    void whitePlasticIsJustBelowWhite();
    void litColourKeepsItsHue();
    void roughMetalAndSmoothMetalDiffer();
    void roughnessTextureCounts();
    void lacquerShinesOverTheColour();
    void lacquerReflectsAsMuchAsASmoothSurface();
    void normalMapTurnsTheLight();
    void occlusionDarkens();
    void emissionGlowsWithoutLight();
    void emissiveTextureGlowsInPlaces();
    void opaqueSurfacesAreSeenFromBothSides();
    void samplerThatAsksForTheNearestTexelGetsIt();
    void transformedMapLiesWhereItBelongs();
};

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

void SurfacesTest::roughMetalAndSmoothMetalDiffer()
{
    QVERIFY(loadBall("Kd 0.9 0.8 0.6\nPr 0.1\nPm 1"));
    const QImage smooth = draw();
    QVERIFY(loadBall("Kd 0.9 0.8 0.6\nPr 0.9\nPm 1"));
    QVERIFY(difference(draw(), smooth) > 60);
    QVERIFY(loadBall("Kd 0.9 0.8 0.6\nPr 0.1\nPm 0"));
    QVERIFY(difference(draw(), smooth) > 60);
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

OV3D_TEST_MAIN(SurfacesTest)
#include "tst_surfaces.moc"
