#include "models/samples.h"

#include "models/textures.h"

#include <algorithm>
#include <cmath>
#include <numbers>

namespace ov3d::models {

namespace {

constexpr double kPi = std::numbers::pi;
constexpr double kBoardTop = 0.16;

QString name(const char* text)
{
    return QString::fromLatin1(text);
}

Part board()
{
    constexpr double kRadius = 1.76;
    constexpr double kRim = kBoardTop / 2;
    Mesh mesh = lathe(72, 20, [](double v) {
        // Top side, half a circle of rim, bottom side.
        if (v < 0.3)
            return Vec2{(kRadius - kRim) * v / 0.3, kBoardTop};
        if (v > 0.7)
            return Vec2{(kRadius - kRim) * (1 - v) / 0.3, 0};
        const double angle = kPi * (v - 0.3) / 0.4;
        return Vec2{kRadius - kRim + kRim * std::sin(angle), kRim + kRim * std::cos(angle)};
    });
    // The grain runs straight through the disc, so the texture is laid on from above.
    for (std::size_t i = 0; i < mesh.uvs.size(); ++i)
        mesh.uvs[i] = {0.5 + mesh.positions[i].x / (2.1 * kRadius), 0.5 + mesh.positions[i].z / (2.1 * kRadius)};
    return {name("board"), mesh, {name("wood"), {1, 1, 1}, 0, 0.7, woodTexture(512), name("wood")}};
}

Part vase()
{
    // From the inside bottom up to the lip, and down the outside.
    const auto profile = spline({{0.00, 0.12},
                                 {0.26, 0.16},
                                 {0.40, 0.45},
                                 {0.36, 0.90},
                                 {0.20, 1.30},
                                 {0.20, 1.60},
                                 {0.30, 1.80},
                                 {0.345, 1.83},
                                 {0.34, 1.79},
                                 {0.25, 1.60},
                                 {0.25, 1.30},
                                 {0.42, 0.90},
                                 {0.47, 0.45},
                                 {0.34, 0.08},
                                 {0.31, 0.00},
                                 {0.00, 0.00}});
    Mesh mesh = lathe(48, 50, profile);
    mesh.rotateY(kPi);
    mesh.translate({-0.72, kBoardTop, -0.62});
    return {name("vase"), mesh, {name("glaze"), {1, 1, 1}, 0, 0.2, glazeTexture(512, 512), name("glaze")}};
}

Mesh appleBody()
{
    return lathe(40, 28, [](double v) {
        const double angle = kPi * v;
        const double dent =
            0.42 * std::exp(-std::pow(angle / 0.42, 2)) + 0.16 * std::exp(-std::pow((kPi - angle) / 0.30, 2));
        const double taper = 1 + 0.06 * std::cos(angle);
        return Vec2{0.47 * std::sin(angle) * taper, 0.43 * std::cos(angle) * (1 - dent)};
    });
}

Mesh stem(double height, double lean)
{
    return tube(
        10, 6,
        [=](double v) {
            return Vec3{lean * (1 - v) * (1 - v), height * (1 - v), 0.0};
        },
        [](double v) { return 0.022 + 0.018 * (1 - v) * (1 - v); });
}

/// A pointed leaf with two sides, its stalk at the origin, its tip along +X.
Mesh leaf()
{
    const auto sheet = [](double side) {
        return [side](double u, double v) {
            const double width = 0.13 * std::sin(kPi * std::pow(u, 0.8));
            const double across = side * (2 * v - 1);
            return Vec3{0.46 * u, 0.13 * std::sin(2.2 * u) + 0.035 * across * across + side * 0.006, across * width};
        };
    };
    Mesh both = surface(16, 8, sheet(1));
    both.append(surface(16, 8, sheet(-1)));
    return both;
}

std::vector<Part> apple()
{
    const Vec3 place = {0.42, kBoardTop + 0.36, 0.52};
    Mesh body = appleBody();
    body.rotateZ(-0.12);
    body.translate(place);
    Mesh stalk = stem(0.30, 0.06);
    stalk.translate({place.x + 0.02, place.y + 0.17, place.z});
    Mesh green = leaf();
    green.rotateY(0.5);
    green.translate({place.x + 0.04, place.y + 0.36, place.z});
    return {{name("apple"), body, {name("apple skin"), {1, 1, 1}, 0, 0.35, appleTexture(512, 256), name("apple")}},
            {name("apple stem"), stalk, {name("bark"), {0.36, 0.24, 0.14}, 0, 0.8, {}, {}}},
            {name("leaf"), green, {name("leaf"), {0.22, 0.42, 0.16}, 0, 0.6, {}, {}}}};
}

std::vector<Part> pear()
{
    const auto profile = spline({{0.00, 1.08},
                                 {0.10, 1.07},
                                 {0.19, 0.98},
                                 {0.23, 0.80},
                                 {0.32, 0.60},
                                 {0.43, 0.38},
                                 {0.40, 0.14},
                                 {0.22, 0.02},
                                 {0.00, 0.03}});
    Mesh body = lathe(40, 30, profile);
    Mesh stalk = stem(0.24, -0.08);
    stalk.translate({0, 1.05, 0});
    for (Mesh* mesh : {&body, &stalk}) {
        mesh->rotateZ(-0.10);
        mesh->rotateY(0.4);
        mesh->translate({0.52, kBoardTop + 0.02, -0.52});
    }
    return {{name("pear"), body, {name("pear skin"), {1, 1, 1}, 0, 0.4, pearTexture(512, 512), name("pear")}},
            {name("pear stem"), stalk, {name("bark"), {0.36, 0.24, 0.14}, 0, 0.8, {}, {}}}};
}

Part die()
{
    Mesh mesh = roundedCube(0.46, 0.07, 5);
    mesh.rotateY(0.55);
    mesh.translate({-0.34, kBoardTop + 0.23, 0.92});
    return {name("die"), mesh, {name("ivory"), {1, 1, 1}, 0, 0.3, dieTexture(128), name("die")}};
}

Part ring()
{
    Mesh mesh = surface(48, 16, [](double u, double v) {
        const double around = 2 * kPi * u;
        const double tubeAngle = -2 * kPi * v;
        const double radius = 0.34 + 0.085 * std::cos(tubeAngle);
        return Vec3{radius * std::sin(around), 0.085 * std::sin(tubeAngle), radius * std::cos(around)};
    });
    mesh.translate({-1.02, kBoardTop + 0.085, 0.62});
    return {name("ring"), mesh, {name("brass"), {0.86, 0.66, 0.28}, 0.7, 0.3, {}, {}}};
}

Part marble(const char* label, Vec3 place, double radius, Vec3 colour)
{
    Mesh mesh = lathe(28, 16, [radius](double v) {
        return Vec2{radius * std::sin(kPi * v), radius * std::cos(kPi * v)};
    });
    mesh.translate({place.x, kBoardTop + radius, place.z});
    return {name(label), mesh, {name(label), colour, 0, 0.15, {}, {}}};
}

} // namespace

Mesh merged(const Model& model)
{
    Mesh all;
    for (const Part& part : model)
        all.append(part.mesh);
    return all;
}

Model stillLife()
{
    Model model = {board(), vase()};
    for (const auto& parts : {pear(), apple()})
        model.insert(model.end(), parts.begin(), parts.end());
    model.push_back(die());
    model.push_back(ring());
    model.push_back(marble("teal marble", {0.18, 0, 1.22}, 0.13, {0.10, 0.50, 0.54}));
    model.push_back(marble("violet marble", {1.14, 0, 0.86}, 0.16, {0.44, 0.26, 0.58}));
    model.push_back(marble("coral marble", {-0.98, 0, 0.62}, 0.17, {0.90, 0.42, 0.32}));
    return model;
}

Model texturedCube()
{
    const Vec3 size = {2, 2, 2};
    Mesh sides;
    for (const BoxFace face : {BoxFace::right, BoxFace::back, BoxFace::left, BoxFace::top, BoxFace::bottom})
        sides.append(boxFace(size, face));
    return {{name("front"),
             boxFace(size, BoxFace::front),
             {name("quarters"), {1, 1, 1}, 0, 0.8, quartersTexture(256), name("quarters")}},
            {name("sides"), sides, {name("grey"), {0.55, 0.55, 0.55}, 0, 0.8, {}, {}}}};
}

Model wavyGrid(int triangles)
{
    const int cells = std::max(1, static_cast<int>(std::ceil(std::sqrt(triangles / 2.0))));
    const Mesh mesh = surface(cells, cells, [](double u, double v) {
        const double x = 4 * u - 2;
        const double z = 4 * v - 2;
        return Vec3{x, 0.35 * std::sin(2.1 * x) * std::cos(1.7 * z) + 0.05 * std::sin(9 * x + 4 * z), z};
    });
    return {{name("grid"), mesh, {name("slate"), {0.42, 0.55, 0.68}, 0, 0.5, {}, {}}}};
}

} // namespace ov3d::models
