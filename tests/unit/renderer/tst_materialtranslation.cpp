#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/import/materialtranslation.h"

#include <cmath>
#include <limits>

using namespace ov3d::renderer;

class MaterialTranslationTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void displayedAndLinearAreEachOthersInverse();
    void sharperHighlightsAreSmootherSurfaces();
    void weakHighlightsAreRoughSurfaces();
    void nonsenseIsARoughSurface();
    void diffuseSurfaceStaysADielectric();
    void reflectedColourWithoutDiffuseIsAMetal();
    void blackStaysBlack();
};

void MaterialTranslationTest::displayedAndLinearAreEachOthersInverse()
{
    QCOMPARE(displayedFromLinear(0.0f), 0.0f);
    QCOMPARE(displayedFromLinear(1.0f), 1.0f);
    QVERIFY(std::abs(displayedFromLinear(0.2140f) - 0.5f) < 1e-3f);
    for (float value = 0.0f; value <= 1.0f; value += 0.01f)
        QVERIFY(std::abs(displayedFromLinear(linearFromDisplayed(value)) - value) < 1e-5f);
    QCOMPARE(linearFromDisplayed(std::numeric_limits<float>::quiet_NaN()), 0.0f);
    QCOMPARE(displayedFromLinear(7.0f), 1.0f);
}

void MaterialTranslationTest::sharperHighlightsAreSmootherSurfaces()
{
    float last = roughnessFromPhong(0, 1);
    for (const float shininess : {2.0f, 10.0f, 50.0f, 200.0f, 900.0f}) {
        const float roughness = roughnessFromPhong(shininess, 1);
        QVERIFY(roughness < last);
        last = roughness;
    }
    QVERIFY(last > 0.1f);
    QVERIFY(roughnessFromPhong(1e9f, 1) > 0.1f);
}

void MaterialTranslationTest::weakHighlightsAreRoughSurfaces()
{
    QCOMPARE(roughnessFromPhong(400, 0), roughnessFromPhong(0, 0));
    QVERIFY(roughnessFromPhong(400, 0) > 0.8f);
    QVERIFY(roughnessFromPhong(400, 0.1f) < roughnessFromPhong(400, 0));
    QVERIFY(roughnessFromPhong(400, 0.1f) > roughnessFromPhong(400, 1));
    QCOMPARE(roughnessFromPhong(400, 0.5f), roughnessFromPhong(400, 1));
}

void MaterialTranslationTest::nonsenseIsARoughSurface()
{
    const float nan = std::numeric_limits<float>::quiet_NaN();
    QVERIFY(roughnessFromPhong(nan, 1) > 0.8f);
    QVERIFY(roughnessFromPhong(-50, 1) > 0.8f);
    QVERIFY(roughnessFromPhong(100, nan) > 0.8f);
}

void MaterialTranslationTest::diffuseSurfaceStaysADielectric()
{
    const MetallicRoughness plain = fromSpecularGlossiness({0.5f, 0.2f, 0.1f}, {0.04f, 0.04f, 0.04f});
    QVERIFY(plain.metallic < 0.01f);
    QVERIFY(std::abs(plain.base[0] - 0.5f) < 0.01f && std::abs(plain.base[2] - 0.1f) < 0.01f);
    QCOMPARE(fromSpecularGlossiness({0.5f, 0.2f, 0.1f}, {0, 0, 0}).metallic, 0.0f);
}

void MaterialTranslationTest::reflectedColourWithoutDiffuseIsAMetal()
{
    const MetallicRoughness gold = fromSpecularGlossiness({0, 0, 0}, {1.0f, 0.77f, 0.34f});
    QVERIFY(gold.metallic > 0.99f);
    QVERIFY(std::abs(gold.base[0] - 1.0f) < 0.01f && std::abs(gold.base[1] - 0.77f) < 0.01f);
    QVERIFY(std::abs(gold.base[2] - 0.34f) < 0.01f);
}

void MaterialTranslationTest::blackStaysBlack()
{
    const MetallicRoughness black = fromSpecularGlossiness({0, 0, 0}, {0.04f, 0.04f, 0.04f});
    QVERIFY(black.metallic < 0.01f);
    QVERIFY(black.base[0] < 0.01f && black.base[1] < 0.01f && black.base[2] < 0.01f);
}

OV3D_TEST_MAIN(MaterialTranslationTest)
#include "tst_materialtranslation.moc"
