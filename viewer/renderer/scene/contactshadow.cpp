#include "viewer/renderer/scene/contactshadow.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <limits>

namespace ov3d::renderer {
namespace {

/// Shares of the model's footprint and of its frame's radius by which the plate reaches further.
constexpr double kOverhang = 1.12;
constexpr double kRim = 0.10;

/// Under the lowest point, so that flat models do not lie in the plate.
constexpr double kGap = 0.002;

/// A layer of the model: from where the one before ends up to `top`, casts a shadow of that strength and softness.
struct Layer
{
    float top = 0;
    float strength = 0;
    float softness = 0; ///< frame units
};

constexpr std::array<Layer, 5> kLayers{{{0.03f, 0.62f, 0.022f},
                                        {0.12f, 0.46f, 0.06f},
                                        {0.35f, 0.34f, 0.14f},
                                        {0.80f, 0.24f, 0.26f},
                                        {2.10f, 0.16f, 0.40f}}};

constexpr auto kSide = static_cast<std::size_t>(kShadowSide);
using Plane = std::vector<float>;

/// Height of the model's underside above the plate, by place; infinite where it is not.
class Underside
{
public:
    explicit Underside(const GroundShape& shape)
        : m_shape(shape)
        , m_heights(kSide * kSide, std::numeric_limits<float>::infinity())
    {
    }

    void add(const MeshData& mesh)
    {
        const std::size_t corners = mesh.primitive == Primitive::triangles ? 3
                                    : mesh.primitive == Primitive::lines   ? 2
                                                                           : 1;
        for (std::size_t i = 0; i + corners <= mesh.indices.size(); i += corners) {
            std::array<Place, 3> places{};
            for (std::size_t corner = 0; corner < 3; ++corner)
                places[corner] = placeOf(mesh, mesh.indices[i + std::min(corner, corners - 1)]);
            corners == 2 ? addLine(places[0], places[1]) : addTriangle(places);
        }
    }

    [[nodiscard]] Plane layer(float from, float to) const
    {
        Plane plane(m_heights.size());
        std::transform(m_heights.begin(), m_heights.end(), plane.begin(),
                       [from, to](float height) { return height >= from && height < to ? 1.0f : 0.0f; });
        return plane;
    }

private:
    struct Place
    {
        float x = 0; ///< in pixels
        float y = 0;
        float height = 0;
    };

    [[nodiscard]] Place placeOf(const MeshData& mesh, std::uint32_t vertex) const
    {
        const float* p = mesh.positions.data() + std::size_t{vertex} * 3;
        const double scale = kShadowSide / (2 * m_shape.radius);
        return {static_cast<float>((double{p[0]} - m_shape.centre.x + m_shape.radius) * scale),
                static_cast<float>((double{p[2]} - m_shape.centre.z + m_shape.radius) * scale),
                static_cast<float>(double{p[1]} - m_shape.centre.y)};
    }

    void lower(int x, int y, float height)
    {
        if (x < 0 || y < 0 || x >= kShadowSide || y >= kShadowSide)
            return;
        float& there = m_heights[static_cast<std::size_t>(y) * kSide + static_cast<std::size_t>(x)];
        there = std::min(there, std::max(height, 0.0f));
    }

    void addLine(const Place& from, const Place& to)
    {
        const float longest = std::max(std::abs(to.x - from.x), std::abs(to.y - from.y));
        const int steps = static_cast<int>(std::clamp(longest, 1.0f, float(2 * kShadowSide)));
        for (int i = 0; i <= steps; ++i) {
            const float t = static_cast<float>(i) / static_cast<float>(steps);
            lower(static_cast<int>(std::floor(std::lerp(from.x, to.x, t))),
                  static_cast<int>(std::floor(std::lerp(from.y, to.y, t))), std::lerp(from.height, to.height, t));
        }
    }

    void addTriangle(const std::array<Place, 3>& t)
    {
        // The corners count in any case: most triangles are smaller than a pixel.
        for (const Place& place : t)
            lower(static_cast<int>(std::floor(place.x)), static_cast<int>(std::floor(place.y)), place.height);
        const auto [left, right] = std::minmax({t[0].x, t[1].x, t[2].x});
        const auto [upper, lowest] = std::minmax({t[0].y, t[1].y, t[2].y});
        const float area = (t[1].x - t[0].x) * (t[2].y - t[0].y) - (t[2].x - t[0].x) * (t[1].y - t[0].y);
        if (!(std::abs(area) > 1e-6f))
            return;
        const auto bound = [](float value) {
            return static_cast<int>(std::clamp(value, 0.0f, float(kShadowSide - 1)));
        };
        for (int y = bound(upper); y <= bound(lowest); ++y)
            for (int x = bound(left); x <= bound(right); ++x) {
                const float px = static_cast<float>(x) + 0.5f;
                const float py = static_cast<float>(y) + 0.5f;
                const float b = ((px - t[0].x) * (t[2].y - t[0].y) - (t[2].x - t[0].x) * (py - t[0].y)) / area;
                const float c = ((t[1].x - t[0].x) * (py - t[0].y) - (px - t[0].x) * (t[1].y - t[0].y)) / area;
                if (b >= 0 && c >= 0 && b + c <= 1)
                    lower(x, y, t[0].height + b * (t[1].height - t[0].height) + c * (t[2].height - t[0].height));
            }
    }

    GroundShape m_shape;
    Plane m_heights;
};

/// A running mean over 2 * radius + 1 pixels of each row, written out transposed: twice does both directions.
Plane meanOfRows(const Plane& from, int radius)
{
    Plane to(from.size());
    const float share = 1.0f / static_cast<float>(2 * radius + 1);
    for (int y = 0; y < kShadowSide; ++y) {
        const float* row = from.data() + static_cast<std::size_t>(y) * kSide;
        const auto at = [row](int x) { return x < 0 || x >= kShadowSide ? 0.0f : row[x]; };
        float sum = 0;
        for (int x = -radius; x < radius; ++x)
            sum += at(x);
        for (int x = 0; x < kShadowSide; ++x) {
            sum += at(x + radius);
            to[static_cast<std::size_t>(x) * kSide + static_cast<std::size_t>(y)] = sum * share;
            sum -= at(x - radius);
        }
    }
    return to;
}

/// Three means are nearly a Gaussian. @param softness its deviation, in pixels.
Plane softened(Plane plane, float softness)
{
    const int radius = std::clamp(static_cast<int>(std::lround(softness)), 1, kShadowSide / 4);
    for (int pass = 0; pass < 6; ++pass)
        plane = meanOfRows(plane, radius);
    return plane;
}

} // namespace

GroundShape groundOf(const ModelData& model)
{
    const double scale = model.frame.scale > 0 ? model.frame.scale : 1;
    const Vec3 low = (model.box_min - model.frame.origin) * (1 / scale);
    const Vec3 high = (model.box_max - model.frame.origin) * (1 / scale);
    GroundShape shape;
    shape.centre = {(low.x + high.x) / 2, low.y - kGap, (low.z + high.z) / 2};
    double reach = 0;
    for (const MeshData& mesh : model.meshes)
        for (std::size_t i = 0; i + 2 < mesh.positions.size(); i += 3)
            reach = std::max(reach, std::hypot(double{mesh.positions[i]} - shape.centre.x,
                                               double{mesh.positions[i + 2]} - shape.centre.z));
    shape.radius = reach * kOverhang + kRim;
    return shape;
}

std::vector<std::uint8_t> contactShadow(const ModelData& model, const GroundShape& shape)
{
    Underside underside(shape);
    for (const MeshData& mesh : model.meshes)
        underside.add(mesh);

    Plane light(kSide * kSide, 1.0f);
    float from = 0;
    for (const Layer& layer : kLayers) {
        const auto pixels = static_cast<float>(layer.softness * kShadowSide / (2 * shape.radius));
        const Plane shade = softened(underside.layer(from, layer.top), pixels);
        for (std::size_t i = 0; i < light.size(); ++i)
            light[i] *= 1 - layer.strength * std::clamp(shade[i], 0.0f, 1.0f);
        from = layer.top;
    }
    std::vector<std::uint8_t> bytes(light.size());
    std::transform(light.begin(), light.end(), bytes.begin(),
                   [](float value) { return static_cast<std::uint8_t>(std::lround(value * 255)); });
    return bytes;
}

} // namespace ov3d::renderer
