#include "src/render/backgroundkeying.h"

#include "src/display/imageanalysis.h"

#include <QImage>

#include <cstdlib>

namespace {

constexpr int kKeyRed = 92;
constexpr int kKeyGreen = 238;
constexpr int kKeyBlue = 20;
constexpr int kKeyTolerance = 2;

// Bytes of a 32-bit pixel in memory.
constexpr int kBlue = 0;
constexpr int kGreen = 1;
constexpr int kRed = 2;
constexpr int kAlpha = 3;
constexpr int kPixelBytes = 4;

bool isKeyPixel(const uchar* pixel)
{
    return std::abs(pixel[kBlue] - kKeyBlue) <= kKeyTolerance && std::abs(pixel[kGreen] - kKeyGreen) <= kKeyTolerance &&
           std::abs(pixel[kRed] - kKeyRed) <= kKeyTolerance;
}

} // namespace

void keyOutBackground(QImage& image)
{
    bool previousKeyed = false;
    bool pending = false;
    for (int y = 0; y < image.height(); ++y) {
        uchar* pixel = image.scanLine(y);
        for (int x = 0; x < image.width(); ++x, pixel += kPixelBytes) {
            int hue = 0;
            int saturation = 0;
            int value = 0;
            rgb_to_hsv(pixel[kBlue], pixel[kGreen], pixel[kRed], &hue, &saturation, &value);

            if (isKeyPixel(pixel)) {
                pixel[kAlpha] = 0;
                previousKeyed = true;
                if (pending && x > 0)
                    pixel[kAlpha - kPixelBytes] = 0;
                pending = false;
            } else if (previousKeyed) {
                pixel[kAlpha] = 0;
                previousKeyed = false;
                pending = false;
            } else {
                pending = true;
            }
        }
    }
}
