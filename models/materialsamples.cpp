#include "models/samples.h"

#include "models/textures.h"

#include <cmath>
#include <numbers>

namespace ov3d::models {

namespace {

constexpr double kPi = std::numbers::pi;

QString name(const char* text)
{
    return QString::fromLatin1(text);
}

Mesh ball(Vec3 place, double radius, int segments, int rows)
{
    Mesh mesh = lathe(segments, rows, [radius](double v) {
        return Vec2{radius * std::sin(kPi * v), radius * std::cos(kPi * v)};
    });
    mesh.translate(place);
    return mesh;
}

Mesh box(Vec3 size, Vec3 place)
{
    Mesh mesh;
    for (const BoxFace face :
         {BoxFace::front, BoxFace::right, BoxFace::back, BoxFace::left, BoxFace::top, BoxFace::bottom})
        mesh.append(boxFace(size, face));
    mesh.translate(place);
    return mesh;
}

Part bricks()
{
    Material material{name("bricks"), {1, 1, 1}, 0, 1, bricksTexture(256), name("bricks")};
    material.normalTexture = bricksNormals(256);
    material.surfaceTexture = bricksSurface(256);
    return {name("wall"), box({1.6, 1.6, 0.5}, {-2.0, 0.8, -0.3}), material};
}

Part lantern()
{
    Material material{name("lantern"), {0.10, 0.11, 0.13}, 0.2, 0.4, {}, {}};
    material.emissive = {1, 1, 1};
    material.emissiveTexture = windowsTexture(256);
    Mesh mesh = lathe(36, 12, [](double v) {
        if (v < 0.2)
            return Vec2{0.42 * v / 0.2, 1.3};
        if (v > 0.8)
            return Vec2{0.42 * (1 - v) / 0.2, 0.0};
        return Vec2{0.42, 1.3 * (0.8 - v) / 0.6};
    });
    mesh.translate({-0.4, 0, -0.2});
    return {name("lantern"), mesh, material};
}

Part leaf()
{
    Material material{name("leaf"), {1, 1, 1}, 0, 0.6, leafTexture(256), name("leaf")};
    material.alpha = Alpha::mask;
    material.doubleSided = true;
    Mesh mesh = boxFace({1.0, 1.5, 0}, BoxFace::front);
    mesh.rotateY(0.2);
    mesh.translate({0.75, 0.75, -0.2});
    return {name("leaf"), mesh, material};
}

Part redGlass()
{
    Material material{name("red glass"), {0.85, 0.08, 0.06}, 0, 0.05, {}, {}};
    material.opacity = 0.6;
    material.alpha = Alpha::blend;
    return {name("glass ball"), ball({0.35, 0.42, 0.75}, 0.42, 40, 24), material};
}

Part lacquer()
{
    Material material{name("lacquer"), {0.10, 0.22, 0.55}, 0.6, 0.55, {}, {}};
    material.clearCoat = 1;
    return {name("lacquered ball"), ball({-0.75, 0.42, 0.8}, 0.42, 40, 24), material};
}

Part sign()
{
    Material material{name("stripes"), {1, 1, 1}, 0, 1, stripesTexture(128), name("stripes")};
    material.unlit = true;
    return {name("sign"), box({0.9, 0.9, 0.06}, {1.85, 0.75, -0.2}), material};
}

Part floor()
{
    return {
        name("floor"), box({5.4, 0.08, 2.8}, {-0.2, -0.05, 0.25}), {name("floor"), {0.78, 0.76, 0.72}, 0, 0.8, {}, {}}};
}

} // namespace

Model materialGrid()
{
    constexpr int kColumns = 6;
    constexpr int kRows = 3;
    Model model;
    for (int row = 0; row < kRows; ++row)
        for (int column = 0; column < kColumns; ++column) {
            const double metallic = row / double{kRows - 1};
            const double roughness = 0.05 + 0.90 * column / double{kColumns - 1};
            const QString label = QStringLiteral("metallic %1, roughness %2").arg(metallic).arg(roughness);
            model.push_back({label,
                             ball({column * 1.1, (kRows - 1 - row) * 1.1, 0}, 0.5, 32, 20),
                             {label, {0.85, 0.45, 0.25}, metallic, roughness, {}, {}}});
        }
    return model;
}

Model surfaceSamples()
{
    return {floor(), bricks(), lantern(), leaf(), sign(), lacquer(), redGlass()};
}

} // namespace ov3d::models
