#include "viewer/renderer/scene/axis.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>
#include <numbers>

namespace ov3d::renderer {
namespace {

using camera::Vec3;

/// Of the shorter side of the picture, and its bounds in pixels.
constexpr double kShare = 0.20;
constexpr int kSmallest = 36;
constexpr int kLargest = 240;
constexpr double kMargin = 0.015;

/// Lengths in halves of the square's side.
constexpr double kShaftRadius = 0.040;
constexpr double kShaftEnd = 0.46;
constexpr double kTipRadius = 0.105;
constexpr double kTipEnd = 0.72;
constexpr double kLetterPlace = 0.87;
constexpr double kLetterSize = 0.095;
constexpr double kLetterStroke = 0.022;
constexpr int kFacets = 20;

using Colour = std::array<double, 3>;

struct AxisStyle
{
    Vec3 direction;
    Colour colour;
    std::vector<std::array<double, 4>> strokes; ///< x1, y1, x2, y2 in letter sizes, y upwards
};

const std::array<AxisStyle, 3>& styles()
{
    static const std::array<AxisStyle, 3> all{
        {{{1, 0, 0}, {0.86, 0.16, 0.14}, {{-0.7, -1, 0.7, 1}, {-0.7, 1, 0.7, -1}}},
         {{0, 1, 0}, {0.22, 0.60, 0.16}, {{-0.7, 1, 0, 0}, {0.7, 1, 0, 0}, {0, 0, 0, -1}}},
         {{0, 0, 1}, {0.16, 0.36, 0.88}, {{-0.7, 1, 0.7, 1}, {0.7, 1, -0.7, -1}, {-0.7, -1, 0.7, -1}}}}};
    return all;
}

/// A point in the camera's axes: x right, y up, z towards the viewer, within the square from -1 to 1.
struct Corner
{
    Vec3 at;
    double shade = 1;
};

class Canvas
{
public:
    explicit Canvas(int side)
        : m_depth(static_cast<std::size_t>(side) * static_cast<std::size_t>(side),
                  -std::numeric_limits<double>::infinity())
    {
        image.side = side;
        image.rgba.assign(m_depth.size() * 4, 0);
    }

    void triangle(const Corner& a, const Corner& b, const Corner& c, const Colour& colour)
    {
        const Vec3 pa = toPixels(a.at);
        const Vec3 pb = toPixels(b.at);
        const Vec3 pc = toPixels(c.at);
        const double area = (pb.x - pa.x) * (pc.y - pa.y) - (pc.x - pa.x) * (pb.y - pa.y);
        if (std::abs(area) < 1e-9)
            return;
        const auto bound = [this](double value) { return std::clamp(static_cast<int>(value), 0, image.side - 1); };
        for (int y = bound(std::min({pa.y, pb.y, pc.y})); y <= bound(std::max({pa.y, pb.y, pc.y})); ++y)
            for (int x = bound(std::min({pa.x, pb.x, pc.x})); x <= bound(std::max({pa.x, pb.x, pc.x})); ++x) {
                const double px = x + 0.5 - pa.x;
                const double py = y + 0.5 - pa.y;
                const double v = (px * (pc.y - pa.y) - (pc.x - pa.x) * py) / area;
                const double w = ((pb.x - pa.x) * py - px * (pb.y - pa.y)) / area;
                if (v >= 0 && w >= 0 && v + w <= 1)
                    set(x, y, pa.z + v * (pb.z - pa.z) + w * (pc.z - pa.z),
                        a.shade + v * (b.shade - a.shade) + w * (c.shade - a.shade), colour);
            }
    }

    AxisImage image;

private:
    [[nodiscard]] Vec3 toPixels(Vec3 p) const { return {(p.x + 1) / 2 * image.side, (1 - p.y) / 2 * image.side, p.z}; }

    void set(int x, int y, double depth, double shade, const Colour& colour)
    {
        const std::size_t at =
            static_cast<std::size_t>(y) * static_cast<std::size_t>(image.side) + static_cast<std::size_t>(x);
        if (depth <= m_depth[at])
            return;
        m_depth[at] = depth;
        for (std::size_t channel = 0; channel < 3; ++channel)
            image.rgba[at * 4 + channel] =
                static_cast<std::uint8_t>(std::lround(std::clamp(colour[channel] * shade, 0.0, 1.0) * 255));
        image.rgba[at * 4 + 3] = 255;
    }

    std::vector<double> m_depth;
};

double shadeOf(Vec3 normal)
{
    // From the upper left front, in the camera's axes.
    return 0.62 + 0.48 * std::max(dot(normal, {-0.40, 0.58, 0.71}), 0.0);
}

/// The mantle of a cone or cylinder along `axis`, from one distance and radius to another, and the disc it stands on.
void drawMantle(Canvas& canvas, Vec3 axis, double from, double fromRadius, double to, double toRadius,
                const Colour& colour)
{
    const Vec3 helper = std::abs(axis.x) < 0.8 ? Vec3{1, 0, 0} : Vec3{0, 1, 0};
    Vec3 u = cross(axis, helper);
    u = u * (1 / length(u));
    const Vec3 v = cross(axis, u);
    const double slope = (fromRadius - toRadius) / (to - from);
    const auto corner = [&](int facet, double along, double radius) {
        const double angle = 2 * std::numbers::pi * facet / kFacets;
        const Vec3 out = u * std::cos(angle) + v * std::sin(angle);
        const Vec3 normal = out + axis * slope;
        return Corner{axis * along + out * radius, shadeOf(normal * (1 / length(normal)))};
    };
    const double discShade = shadeOf(-axis);
    for (int facet = 0; facet < kFacets; ++facet) {
        const Corner a = corner(facet, from, fromRadius);
        const Corner b = corner(facet + 1, from, fromRadius);
        canvas.triangle(a, b, corner(facet, to, toRadius), colour);
        canvas.triangle(b, corner(facet, to, toRadius), corner(facet + 1, to, toRadius), colour);
        canvas.triangle({a.at, discShade}, {b.at, discShade}, {axis * from, discShade}, colour);
    }
}

void drawStroke(Canvas& canvas, Vec3 from, Vec3 to, const Colour& colour)
{
    const Vec3 along = (to - from) * (1 / length(to - from));
    const Vec3 side = Vec3{-along.y, along.x, 0} * kLetterStroke;
    const Vec3 cap = along * (kLetterStroke * 0.6);
    const std::array<Vec3, 4> quad{from - cap - side, to + cap - side, to + cap + side, from - cap + side};
    canvas.triangle({quad[0]}, {quad[1]}, {quad[2]}, colour);
    canvas.triangle({quad[0]}, {quad[2]}, {quad[3]}, colour);
}

} // namespace

Region axisPlace(int wholeWidth, int wholeHeight)
{
    const int shorter = std::min(wholeWidth, wholeHeight);
    const int side = std::min(std::clamp(static_cast<int>(shorter * kShare), kSmallest, kLargest), shorter);
    const int margin = std::min(static_cast<int>(shorter * kMargin), shorter - side);
    return {margin, wholeHeight - margin - side, side, side};
}

AxisImage drawAxis(const camera::Pose& pose, int side)
{
    Canvas canvas(side);
    for (const AxisStyle& style : styles()) {
        const Vec3 axis{dot(pose.right, style.direction), dot(pose.up, style.direction),
                        dot(pose.backward, style.direction)};
        drawMantle(canvas, axis, 0, kShaftRadius, kShaftEnd, kShaftRadius, style.colour);
        drawMantle(canvas, axis, kShaftEnd, kTipRadius, kTipEnd, 0.004, style.colour);
        const Vec3 middle = axis * kLetterPlace;
        for (const auto& stroke : style.strokes)
            drawStroke(canvas, middle + Vec3{stroke[0], stroke[1], 0} * kLetterSize,
                       middle + Vec3{stroke[2], stroke[3], 0} * kLetterSize, style.colour);
    }
    return canvas.image;
}

void layAxisOver(const AxisImage& axis, const Region& place, const Region& part, int factor, std::uint8_t* samples)
{
    const Region common = intersection(place, part);
    const auto stride = static_cast<std::size_t>(part.width) * static_cast<std::size_t>(factor) * 4;
    for (int y = common.top * factor; y < (common.top + common.height) * factor; ++y)
        for (int x = common.left * factor; x < (common.left + common.width) * factor; ++x) {
            const auto row = static_cast<std::size_t>(y - place.top * factor);
            const auto column = static_cast<std::size_t>(x - place.left * factor);
            const std::uint8_t* from = axis.rgba.data() + (row * static_cast<std::size_t>(axis.side) + column) * 4;
            if (from[3] == 0)
                continue;
            const auto fromBottom = static_cast<std::size_t>((part.top + part.height) * factor - 1 - y);
            std::copy_n(from, 4, samples + fromBottom * stride + static_cast<std::size_t>(x - part.left * factor) * 4);
        }
}

} // namespace ov3d::renderer
