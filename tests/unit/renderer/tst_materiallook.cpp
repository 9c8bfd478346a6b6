#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/scene/materiallook.h"

#include <cmath>
#include <limits>

using namespace ov3d::renderer;
using ov3d::protocol::RenderSettings;

namespace {

/// A material whose every property differs from the defaults.
MaterialData someMaterial()
{
    MaterialData material;
    const float colour[4] = {0.2f, 0.4f, 0.6f, 0.7f};
    std::copy_n(colour, 4, material.base_colour);
    material.base_texture = 0;
    material.alpha_mode = AlphaMode::blend;
    material.metallic = 0.3f;
    material.roughness = 0.45f;
    material.emissive[1] = 0.5f;
    material.clear_coat = 0.8f;
    material.clear_coat_roughness = 0.1f;
    return material;
}

RenderSettings with(int shading, int preset)
{
    RenderSettings settings;
    settings.material_type_a = shading;
    settings.material_type_b = preset;
    return settings;
}

MaterialLook look(const RenderSettings& settings, Primitive primitive = Primitive::triangles)
{
    return lookOf(someMaterial(), primitive, settings);
}

} // namespace

class MaterialLookTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void defaultsShowTheFilesMaterialUntouched();
    void valuesThatAreNoneCountAsTheDefaults();
    void presetsReplaceEverythingOfTheFile();
    void settingsColourTintsPlasticGlassAndRubberAlone();
    void colourThatIsNoNumberIsBlack();
    void unlitKeepsTheColourOfFileAndPreset();
    void clayNormalsAndDepthReplaceTheSurface();
    void rawModeGoesBeforeEverything();
    void linesAndPointsShowTheirColour();
    void unlitFilesStayUnlitUnlessAPresetIsChosen();
    void alphaOfAnOpaqueMaterialCountsForNothing();
    void pointSizeZeroMeansThree();
    void sparsePointsAreDrawnLarger();
};

void MaterialLookTest::defaultsShowTheFilesMaterialUntouched()
{
    const MaterialLook shown = look({});
    QVERIFY(shown.shading == Shading::lit);
    QCOMPARE(shown.colour, (Colour{0.2f, 0.4f, 0.6f}));
    QCOMPARE(shown.opacity, 0.7f);
    QCOMPARE(shown.metallic, 0.3f);
    QCOMPARE(shown.roughness, 0.45f);
    QCOMPARE(shown.emissive, (Colour{0, 0.5f, 0}));
    QCOMPARE(shown.clear_coat, 0.8f);
    QVERIFY(shown.file_texture && shown.file_colours && shown.file_maps && shown.file_alpha);
    QVERIFY(shown.smooth_texels && !shown.stone);
}

void MaterialLookTest::valuesThatAreNoneCountAsTheDefaults()
{
    for (const int shading : {-1, 5, 99, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        QVERIFY(look(with(shading, 6)) == look({}));
    for (const int preset : {-1, 7, 1000, std::numeric_limits<int>::max(), std::numeric_limits<int>::min()})
        QVERIFY(look(with(0, preset)) == look({}));
}

void MaterialLookTest::presetsReplaceEverythingOfTheFile()
{
    for (int preset = 0; preset < 6; ++preset) {
        const MaterialLook shown = look(with(0, preset));
        QVERIFY(!shown.file_texture && !shown.file_colours && !shown.file_maps && !shown.file_alpha);
        QCOMPARE(shown.emissive, Colour{});
        QCOMPARE(shown.metallic, preset < 2 ? 1.0f : 0.0f);
        QCOMPARE(shown.stone, preset == 4);
        QCOMPARE(shown.opacity < 1, preset == 3);
        QCOMPARE(shown.glass, preset == 3);
        for (int other = 0; other < preset; ++other)
            QVERIFY(!(shown == look(with(0, other))));
    }
}

void MaterialLookTest::settingsColourTintsPlasticGlassAndRubberAlone()
{
    for (int preset = 0; preset < 7; ++preset) {
        RenderSettings blue = with(0, preset);
        blue.material_color[0] = blue.material_color[1] = 0.1f;
        blue.material_color[2] = 0.9f;
        const bool tinted = preset == 2 || preset == 3 || preset == 5;
        QCOMPARE(look(blue).colour != look(with(0, preset)).colour, tinted);
        if (tinted)
            QVERIFY(look(blue).colour[2] > 4 * look(blue).colour[0]);
    }
    QCOMPARE(look(with(0, 2)).colour, (Colour{0.99f, 0.274f, 0.274f}));
}

void MaterialLookTest::colourThatIsNoNumberIsBlack()
{
    RenderSettings settings = with(0, 2);
    settings.material_color[0] = std::numeric_limits<float>::quiet_NaN();
    settings.material_color[1] = -3.0f;
    settings.material_color[2] = std::numeric_limits<float>::infinity();
    QCOMPARE(look(settings).colour, (Colour{0, 0, 1}));
}

void MaterialLookTest::unlitKeepsTheColourOfFileAndPreset()
{
    const MaterialLook ofFile = look(with(1, 6));
    QVERIFY(ofFile.shading == Shading::flat && ofFile.file_texture);
    QCOMPARE(ofFile.colour, look({}).colour);
    QVERIFY(look(with(1, 2)).shading == Shading::flat);
    QCOMPARE(look(with(1, 2)).colour, look(with(0, 2)).colour);
}

void MaterialLookTest::clayNormalsAndDepthReplaceTheSurface()
{
    for (const int preset : {0, 3, 6}) {
        QVERIFY(look(with(2, preset)).shading == Shading::normals);
        QVERIFY(look(with(3, preset)).shading == Shading::depth);
        QVERIFY(look(with(4, preset)).shading == Shading::lit);
        for (int shading = 2; shading < 5; ++shading) {
            const MaterialLook shown = look(with(shading, preset));
            QVERIFY(!shown.file_texture && !shown.file_colours && !shown.file_maps && !shown.stone);
            QCOMPARE(shown.opacity, 1.0f);
            QCOMPARE(shown.metallic, 0.0f);
        }
    }
}

void MaterialLookTest::rawModeGoesBeforeEverything()
{
    RenderSettings raw = with(4, 1);
    raw.raw_mode = true;
    const MaterialLook shown = look(raw);
    QVERIFY(shown.shading == Shading::flat);
    QCOMPARE(shown.colour, (Colour{0.2f, 0.4f, 0.6f}));
    QVERIFY(shown.file_texture && shown.file_colours && !shown.file_maps && !shown.smooth_texels);
}

void MaterialLookTest::linesAndPointsShowTheirColour()
{
    for (const Primitive primitive : {Primitive::lines, Primitive::points})
        for (int shading = 0; shading < 5; ++shading) {
            const MaterialLook shown = look(with(shading, 6), primitive);
            QVERIFY(shown.shading == Shading::flat);
            QCOMPARE(shown.colour, (Colour{0.2f, 0.4f, 0.6f}));
            const MaterialLook glass = look(with(shading, 3), primitive);
            QVERIFY(!glass.glass && glass.opacity == 1.0f);
        }
}

void MaterialLookTest::unlitFilesStayUnlitUnlessAPresetIsChosen()
{
    MaterialData material;
    material.unlit = true;
    QVERIFY(lookOf(material, Primitive::triangles, {}).shading == Shading::flat);
    QVERIFY(lookOf(material, Primitive::triangles, with(0, 2)).shading == Shading::lit);
    QVERIFY(lookOf(material, Primitive::triangles, with(4, 6)).shading == Shading::lit);
}

void MaterialLookTest::alphaOfAnOpaqueMaterialCountsForNothing()
{
    MaterialData material = someMaterial();
    material.alpha_mode = AlphaMode::opaque;
    QCOMPARE(lookOf(material, Primitive::triangles, {}).opacity, 1.0f);
}

void MaterialLookTest::pointSizeZeroMeansThree()
{
    constexpr std::size_t dense = 1'000'000;
    QCOMPARE(pointDiameter(0, dense), 3.0f);
    QCOMPARE(pointDiameter(3, dense), 3.0f);
    QCOMPARE(pointDiameter(1, dense), 1.0f);
    QCOMPARE(pointDiameter(-5, dense), 1.0f);
    QCOMPARE(pointDiameter(1000, dense), 64.0f);
}

void MaterialLookTest::sparsePointsAreDrawnLarger()
{
    QCOMPARE(pointDiameter(3, 0), 12.0f);
    QCOMPARE(pointDiameter(3, 8), 12.0f);
    QCOMPARE(pointDiameter(6, 8), 24.0f);
    float last = pointDiameter(3, 1);
    for (std::size_t points = 1; points < 10'000'000; points *= 2) {
        const float size = pointDiameter(3, points);
        QVERIFY(size <= last && size >= 3.0f);
        last = size;
    }
}

OV3D_TEST_MAIN(MaterialLookTest)
#include "tst_materiallook.moc"
