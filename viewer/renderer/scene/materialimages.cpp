#include "viewer/renderer/scene/materialimages.h"

#include "viewer/renderer/import/materialtranslation.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdlib>

namespace ov3d::renderer {
namespace {

/// Slope of a step from black to white within one pixel of an image with 256 pixels along a side.
constexpr float kBumpStrength = 2.0f;

std::uint8_t toByte(float value)
{
    return static_cast<std::uint8_t>(std::lround(std::clamp(value, 0.0f, 1.0f) * 255.0f));
}

std::size_t pixelCount(const DecodedImage& image)
{
    return static_cast<std::size_t>(image.width) * static_cast<std::size_t>(image.height);
}

const std::uint8_t* pixelAt(const DecodedImage& image, int x, int y)
{
    return image.rgba.data() +
           (static_cast<std::size_t>(y) * static_cast<std::size_t>(image.width) + static_cast<std::size_t>(x)) * 4;
}

int grey(const std::uint8_t* pixel)
{
    return (299 * pixel[0] + 587 * pixel[1] + 114 * pixel[2] + 500) / 1000;
}

/// The image at another size, each pixel the nearest one.
DecodedImage resized(const DecodedImage& image, int width, int height)
{
    DecodedImage out;
    out.width = width;
    out.height = height;
    out.rgba.resize(pixelCount(out) * 4);
    std::uint8_t* target = out.rgba.data();
    for (int y = 0; y < height; ++y) {
        const int fromY = static_cast<int>(std::int64_t{y} * image.height / height);
        for (int x = 0; x < width; ++x, target += 4)
            std::copy_n(pixelAt(image, static_cast<int>(std::int64_t{x} * image.width / width), fromY), 4, target);
    }
    return out;
}

std::array<float, 256> linearTable()
{
    std::array<float, 256> table{};
    for (std::size_t i = 0; i < table.size(); ++i)
        table[i] = linearFromDisplayed(static_cast<float>(i) / 255.0f);
    return table;
}

} // namespace

AlphaFacts alphaFacts(const DecodedImage& image)
{
    AlphaFacts facts;
    for (std::size_t i = 3; i < image.rgba.size(); i += 4) {
        facts.cutOut = facts.cutOut || image.rgba[i] == 0;
        facts.translucent = facts.translucent || (image.rgba[i] != 0 && image.rgba[i] != 255);
    }
    return facts;
}

void applyOpacity(DecodedImage& image, const DecodedImage& opacity)
{
    const AlphaFacts facts = alphaFacts(opacity);
    const bool ownAlpha = facts.cutOut || facts.translucent;
    const int width = std::max(image.width, opacity.width);
    const int height = std::max(image.height, opacity.height);
    if (image.width != width || image.height != height)
        image = resized(image, width, height);
    const DecodedImage mask = resized(opacity, width, height);
    for (std::size_t i = 0; i < pixelCount(image); ++i) {
        const std::uint8_t* pixel = mask.rgba.data() + i * 4;
        const int factor = ownAlpha ? pixel[3] : grey(pixel);
        image.rgba[i * 4 + 3] = static_cast<std::uint8_t>(image.rgba[i * 4 + 3] * factor / 255);
    }
}

bool looksLikeNormals(const DecodedImage& image)
{
    // Directions point outwards: blue leads on the whole, and hardly any pixel is grey.
    std::size_t outward = 0;
    const std::size_t count = pixelCount(image);
    for (std::size_t i = 0; i < count; ++i) {
        const std::uint8_t* pixel = image.rgba.data() + i * 4;
        outward += pixel[2] >= 128 && pixel[2] + 8 > std::max(pixel[0], pixel[1]) &&
                           std::abs(pixel[2] - std::min(pixel[0], pixel[1])) > 16
                       ? 1
                       : 0;
    }
    return count > 0 && outward * 4 > count * 3;
}

DecodedImage normalsFromHeights(const DecodedImage& heights)
{
    DecodedImage out;
    out.width = heights.width;
    out.height = heights.height;
    out.rgba.resize(heights.rgba.size());
    const float scale = kBumpStrength * static_cast<float>(std::max(heights.width, heights.height)) / 256.0f / 255.0f;
    std::uint8_t* target = out.rgba.data();
    for (int y = 0; y < out.height; ++y) {
        const int above = (y + out.height - 1) % out.height;
        const int below = (y + 1) % out.height;
        for (int x = 0; x < out.width; ++x, target += 4) {
            const int left = grey(pixelAt(heights, (x + out.width - 1) % out.width, y));
            const int right = grey(pixelAt(heights, (x + 1) % out.width, y));
            const float dx = static_cast<float>(left - right) * scale;
            const float dy =
                static_cast<float>(grey(pixelAt(heights, x, below)) - grey(pixelAt(heights, x, above))) * scale;
            const float size = std::sqrt(dx * dx + dy * dy + 1.0f);
            target[0] = toByte(0.5f + 0.5f * dx / size);
            target[1] = toByte(0.5f + 0.5f * dy / size);
            target[2] = toByte(0.5f + 0.5f / size);
            target[3] = 255;
        }
    }
    return out;
}

void arrangeRoughness(DecodedImage& image, RoughnessChannels channels)
{
    for (std::size_t i = 0; i < pixelCount(image); ++i) {
        std::uint8_t* pixel = image.rgba.data() + i * 4;
        const auto value = static_cast<std::uint8_t>(grey(pixel));
        pixel[0] = pixel[3] = 255;
        pixel[1] = channels == RoughnessChannels::metallic ? std::uint8_t{255} : value;
        pixel[2] = channels == RoughnessChannels::metallic ? value : std::uint8_t{255};
    }
}

void translateSpecularGlossiness(const MaterialData& material, DecodedImage& diffuse, DecodedImage& glossiness)
{
    static const std::array<float, 256> linear = linearTable();
    const int width = std::max(diffuse.width, glossiness.width);
    const int height = std::max(diffuse.height, glossiness.height);
    diffuse = resized(diffuse, width, height);
    glossiness = resized(glossiness, width, height);
    Colour diffuseFactor{};
    Colour specularFactor{};
    for (std::size_t k = 0; k < 3; ++k) {
        diffuseFactor[k] = linearFromDisplayed(material.base_colour[k]);
        specularFactor[k] = linearFromDisplayed(material.specular[k]);
    }
    for (std::size_t i = 0; i < pixelCount(diffuse); ++i) {
        std::uint8_t* base = diffuse.rgba.data() + i * 4;
        std::uint8_t* surface = glossiness.rgba.data() + i * 4;
        Colour scattered{};
        Colour reflected{};
        for (std::size_t k = 0; k < 3; ++k) {
            scattered[k] = linear[base[k]] * diffuseFactor[k];
            reflected[k] = linear[surface[k]] * specularFactor[k];
        }
        const MetallicRoughness translated = fromSpecularGlossiness(scattered, reflected);
        for (std::size_t k = 0; k < 3; ++k)
            base[k] = toByte(displayedFromLinear(translated.base[k]));
        surface[0] = 255;
        surface[1] = toByte(1.0f - static_cast<float>(surface[3]) / 255.0f * material.glossiness);
        surface[2] = toByte(translated.metallic);
        surface[3] = 255;
    }
}

} // namespace ov3d::renderer
