#include "tests/support/testbase.h"
#include "tests/support/testmain.h"
#include "viewer/renderer/scene/materialimages.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <functional>

using namespace ov3d::renderer;

namespace {

using Pixel = std::array<std::uint8_t, 4>;

DecodedImage image(int width, int height, const std::function<Pixel(int x, int y)>& colour)
{
    DecodedImage out;
    out.width = width;
    out.height = height;
    out.rgba.resize(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * 4);
    auto target = out.rgba.begin();
    for (int y = 0; y < height; ++y)
        for (int x = 0; x < width; ++x) {
            const Pixel pixel = colour(x, y);
            target = std::copy(pixel.begin(), pixel.end(), target);
        }
    return out;
}

DecodedImage plain(int side, const Pixel& pixel)
{
    return image(side, side, [&pixel](int, int) { return pixel; });
}

Pixel at(const DecodedImage& image, int x, int y)
{
    const std::size_t k =
        (static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) + static_cast<std::size_t>(x)) * 4;
    return {image.rgba[k], image.rgba[k + 1], image.rgba[k + 2], image.rgba[k + 3]};
}

std::uint8_t byte(int value)
{
    return static_cast<std::uint8_t>(value);
}

} // namespace

class MaterialImagesTest : public TestBase
{
    Q_OBJECT

private Q_SLOTS:
    void alphaTellsCutOutFromTranslucent();
    void opacityIsTheGreyOfAnotherImage();
    void opacityIsTheAlphaWhereThereIsOne();
    void opacityOfAnotherSizeIsSpread();
    void normalMapsAreToldFromHeights();
    void evenHeightsFaceOutwards();
    void slopesLeanDownhill();
    void singleChannelsArePutInTheirPlaces();
    void glossyPixelsBecomeSmoothOnes();
    void reflectingPixelsBecomeMetal();
};

void MaterialImagesTest::alphaTellsCutOutFromTranslucent()
{
    const AlphaFacts opaque = alphaFacts(plain(2, {1, 2, 3, 255}));
    QVERIFY(!opaque.cutOut && !opaque.translucent);
    const AlphaFacts cut = alphaFacts(image(2, 1, [](int x, int) { return Pixel{0, 0, 0, byte(x * 255)}; }));
    QVERIFY(cut.cutOut && !cut.translucent);
    const AlphaFacts soft = alphaFacts(plain(2, {1, 2, 3, 254}));
    QVERIFY(!soft.cutOut && soft.translucent);
}

void MaterialImagesTest::opacityIsTheGreyOfAnotherImage()
{
    DecodedImage base = plain(2, {10, 20, 30, 255});
    applyOpacity(base, image(2, 2, [](int x, int) {
                     return x == 0 ? Pixel{0, 0, 0, 255} : Pixel{255, 255, 255, 255};
                 }));
    QCOMPARE(at(base, 0, 0), (Pixel{10, 20, 30, 0}));
    QCOMPARE(at(base, 1, 1), (Pixel{10, 20, 30, 255}));
}

void MaterialImagesTest::opacityIsTheAlphaWhereThereIsOne()
{
    DecodedImage base = plain(1, {10, 20, 30, 255});
    applyOpacity(base, plain(1, {0, 0, 0, 128}));
    QCOMPARE(at(base, 0, 0), (Pixel{10, 20, 30, 128}));
}

void MaterialImagesTest::opacityOfAnotherSizeIsSpread()
{
    DecodedImage base = image(2, 1, [](int x, int) { return Pixel{byte(x * 100), 0, 0, 255}; });
    applyOpacity(base, image(4, 4, [](int x, int y) {
                     return x + y == 0 ? Pixel{0, 0, 0, 255} : Pixel{255, 255, 255, 255};
                 }));
    QCOMPARE(base.width, 4);
    QCOMPARE(base.height, 4);
    QCOMPARE(int{at(base, 0, 0)[3]}, 0);
    QCOMPARE(at(base, 3, 3), (Pixel{100, 0, 0, 255}));
}

void MaterialImagesTest::normalMapsAreToldFromHeights()
{
    QVERIFY(looksLikeNormals(plain(4, {128, 128, 255, 255})));
    QVERIFY(looksLikeNormals(image(16, 16, [](int x, int y) {
        return Pixel{byte(90 + x * 4), byte(100 + y * 4), 235, 255};
    })));
    QVERIFY(!looksLikeNormals(image(16, 16, [](int x, int y) {
        return Pixel{byte(x * 9 + y), byte(x * 9 + y), byte(x * 9 + y), 255};
    })));
    QVERIFY(!looksLikeNormals(plain(4, {255, 255, 255, 255})));
    QVERIFY(!looksLikeNormals(plain(4, {0, 0, 0, 255})));
    QVERIFY(!looksLikeNormals(plain(4, {150, 90, 40, 255})));
}

void MaterialImagesTest::evenHeightsFaceOutwards()
{
    const DecodedImage normals = normalsFromHeights(plain(4, {90, 90, 90, 255}));
    QCOMPARE(at(normals, 2, 2), (Pixel{128, 128, 255, 255}));
}

void MaterialImagesTest::slopesLeanDownhill()
{
    // Ridges at 8, 24, 40...: left of one the surface faces left, right of it right; above it up, below it down.
    const DecodedImage across = normalsFromHeights(image(64, 64, [](int x, int) {
        const auto grey = byte(220 - std::abs(x % 16 - 8) * 25);
        return Pixel{grey, grey, grey, 255};
    }));
    QVERIFY(at(across, 20, 10)[0] < 120 && at(across, 28, 10)[0] > 136);
    QVERIFY(std::abs(at(across, 20, 10)[1] - 128) <= 1);
    const DecodedImage along = normalsFromHeights(image(64, 64, [](int, int y) {
        const auto grey = byte(220 - std::abs(y % 16 - 8) * 25);
        return Pixel{grey, grey, grey, 255};
    }));
    QVERIFY(at(along, 10, 20)[1] > 136 && at(along, 10, 28)[1] < 120);
}

void MaterialImagesTest::singleChannelsArePutInTheirPlaces()
{
    DecodedImage roughness = plain(1, {80, 80, 80, 255});
    arrangeRoughness(roughness, RoughnessChannels::roughness);
    QCOMPARE(at(roughness, 0, 0), (Pixel{255, 80, 255, 255}));
    DecodedImage metallic = plain(1, {80, 80, 80, 255});
    arrangeRoughness(metallic, RoughnessChannels::metallic);
    QCOMPARE(at(metallic, 0, 0), (Pixel{255, 255, 80, 255}));
}

void MaterialImagesTest::glossyPixelsBecomeSmoothOnes()
{
    MaterialData material;
    std::fill_n(material.base_colour, 4, 1.0f);
    DecodedImage diffuse = plain(2, {200, 100, 50, 255});
    DecodedImage glossiness = image(2, 2, [](int x, int) { return Pixel{56, 56, 56, byte(x * 255)}; });
    translateSpecularGlossiness(material, diffuse, glossiness);
    QCOMPARE(int{at(glossiness, 0, 0)[1]}, 255);
    QCOMPARE(int{at(glossiness, 1, 0)[1]}, 0);
    QVERIFY(at(glossiness, 0, 0)[2] < 5);
    QVERIFY(std::abs(at(diffuse, 0, 0)[0] - 200) <= 2 && std::abs(at(diffuse, 0, 0)[2] - 50) <= 2);
    DecodedImage half = plain(1, {56, 56, 56, 255});
    DecodedImage base = plain(1, {200, 100, 50, 255});
    material.glossiness = 0.5f;
    translateSpecularGlossiness(material, base, half);
    QVERIFY(std::abs(at(half, 0, 0)[1] - 128) <= 1);
}

void MaterialImagesTest::reflectingPixelsBecomeMetal()
{
    MaterialData material;
    std::fill_n(material.base_colour, 4, 1.0f);
    DecodedImage diffuse = plain(1, {0, 0, 0, 255});
    DecodedImage glossiness = plain(2, {255, 226, 155, 255});
    translateSpecularGlossiness(material, diffuse, glossiness);
    QCOMPARE(diffuse.width, 2);
    QVERIFY(at(glossiness, 1, 1)[2] > 250);
    QVERIFY(std::abs(at(diffuse, 1, 1)[0] - 255) <= 2 && std::abs(at(diffuse, 1, 1)[2] - 155) <= 2);
}

OV3D_TEST_MAIN(MaterialImagesTest)
#include "tst_materialimages.moc"
