#include "tests/support/brokenviewers/flatpicture.h"

#include <cmath>
#include <cstdlib>

namespace flatviewer {

namespace {

constexpr Colour kKey{92, 238, 20};
constexpr int kTolerance = 2;

bool isNearKey(const Colour& colour)
{
    return std::abs(colour.red - kKey.red) <= kTolerance && std::abs(colour.green - kKey.green) <= kTolerance &&
           std::abs(colour.blue - kKey.blue) <= kTolerance;
}

Colour between(const Colour& one, const Colour& other)
{
    return {(one.red + other.red) / 2, (one.green + other.green) / 2, (one.blue + other.blue) / 2};
}

Colour backgroundOf(const PictureRequest& request, Breach breach)
{
    if (request.isOpaque)
        return request.background;
    if (breach == Breach::KeyOffByOne)
        return {kKey.red, kKey.green, kKey.blue + 1};
    if (breach == Breach::BackgroundIsBlack)
        return {0, 0, 0};
    return kKey;
}

Colour modelOf(const PictureRequest& request, Breach breach)
{
    Colour colour = request.model;
    if (isNearKey(colour) && breach != Breach::ModelInKeyColour)
        colour.blue += 2 * kTolerance;
    return colour;
}

} // namespace

std::size_t bytesOfRow(int width)
{
    return (static_cast<std::size_t>(width) * 3 + 3) / 4 * 4;
}

std::vector<std::uint8_t> drawPicture(const PictureRequest& request, Breach breach)
{
    const Colour background = request.isCard ? Colour{190, 190, 190} : backgroundOf(request, breach);
    const Colour model = request.isCard ? Colour{180, 50, 40} : modelOf(request, breach);
    const int left = request.width / 4 + static_cast<int>(std::lround(request.shift));
    const int right = left + request.width / 2;
    const bool showsModel = request.isCard || breach != Breach::ShowsNothing;

    const std::size_t row =
        breach == Breach::RowsUnpadded ? static_cast<std::size_t>(request.width) * 3 : bytesOfRow(request.width);
    std::vector<std::uint8_t> pixels(row * static_cast<std::size_t>(request.height));
    for (int y = 0; y < request.height; ++y) {
        for (int x = 0; x < request.width; ++x) {
            const bool inside =
                showsModel && x >= left && x < right && y >= request.height / 4 && y < request.height * 3 / 4;
            Colour colour = inside ? model : background;
            if (inside && breach == Breach::BlendsEdges && !request.isOpaque && (x == left || x == right - 1))
                colour = between({colour.red / 2, colour.green, colour.blue / 2}, background);
            std::uint8_t* pixel = pixels.data() + static_cast<std::size_t>(y) * row + static_cast<std::size_t>(x) * 3;
            pixel[0] = static_cast<std::uint8_t>(colour.red);
            pixel[1] = static_cast<std::uint8_t>(colour.green);
            pixel[2] = static_cast<std::uint8_t>(colour.blue);
        }
    }
    return pixels;
}

} // namespace flatviewer
