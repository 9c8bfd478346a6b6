/// ov3d-make-models: writes the sample models.

#include "models/samples.h"
#include "models/writers.h"

#include <QFile>
#include <QStringList>

#include <cstdio>

using namespace ov3d::models;

namespace {

constexpr const char* kUsage = "usage: ov3d-make-models FOLDER\n"
                               "       ov3d-make-models --grid TRIANGLES FILE.glb|FILE.stl|FILE.obj\n";
constexpr int kMaxGridTriangles = 50'000'000;

QString writeSamples(const QString& folder)
{
    const auto path = [&folder](const char* name) { return folder + QLatin1Char('/') + QLatin1String(name); };
    const Model cube = texturedCube();
    const QString textures = QStringLiteral("textures");
    const Material terracotta{QStringLiteral("terracotta"), {0.80, 0.40, 0.25}, 0, 0.7, {}, {}};
    for (const QString& error : {
             writeGlb(path("sample.glb"), stillLife()),
             writeGlb(path("textured.glb"), cube),
             writeGltf(path("textured.gltf"), cube, QStringLiteral("textured_files")),
             writeObj(path("textured.obj"), cube, textures),
             writeBinaryStl(path("cube.stl"), merged(cube)),
             writeTextStl(path("cube_text.stl"), merged(cube)),
             writeGlb(path("materials.glb"), materialGrid()),
             writeGlb(path("surfaces.glb"), surfaceSamples()),
             writeFbx(path("cube.fbx"), merged(cube), terracotta),
         }) {
        if (!error.isEmpty())
            return error;
    }
    return {};
}

QString writeGrid(const QString& count, const QString& path)
{
    bool isNumber = false;
    const int triangles = count.toInt(&isNumber);
    if (!isNumber || triangles < 2 || triangles > kMaxGridTriangles)
        return count + QStringLiteral(": the number of triangles must be from 2 to %1").arg(kMaxGridTriangles);
    const Model grid = wavyGrid(triangles);
    if (path.endsWith(QLatin1String(".glb")))
        return writeGlb(path, grid);
    if (path.endsWith(QLatin1String(".stl")))
        return writeBinaryStl(path, merged(grid));
    if (path.endsWith(QLatin1String(".obj")))
        return writeObj(path, grid, QStringLiteral("textures"));
    return path + QStringLiteral(": the name must end in .glb, .stl or .obj");
}

} // namespace

int main(int argc, char** argv)
{
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments << QFile::decodeName(argv[i]);

    QString error;
    if (arguments.size() == 1 && !arguments[0].startsWith(QLatin1Char('-'))) {
        error = writeSamples(arguments[0]);
    } else if (arguments.size() == 3 && arguments[0] == QLatin1String("--grid")) {
        error = writeGrid(arguments[1], arguments[2]);
    } else {
        std::fputs(kUsage, stderr);
        return 2;
    }
    if (error.isEmpty())
        return 0;
    std::fprintf(stderr, "ov3d-make-models: %s\n", error.toLocal8Bit().constData());
    return 4;
}
