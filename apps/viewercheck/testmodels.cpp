#include "apps/viewercheck/testmodels.h"

#include <QDir>
#include <QFile>
#include <QImage>

#include <cmath>

namespace ov3d::viewercheck {

namespace {

constexpr int kManyTextures = 60;
constexpr int kLargeRings = 150;
constexpr int kPathField = 256; // bytes that the context has for a path

bool writeFile(const QString& path, const QByteArray& content)
{
    QFile file(path);
    return file.open(QIODevice::WriteOnly) && file.write(content) == content.size();
}

QByteArray cube(const char* materialLibrary)
{
    QByteArray text = "mtllib " + QByteArray(materialLibrary) + "\n";
    for (const char* corner : {"-1 -1 -1", "1 -1 -1", "1 1 -1", "-1 1 -1", "-1 -1 1", "1 -1 1", "1 1 1", "-1 1 1"})
        text += "v " + QByteArray(corner) + "\n";
    text += "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n";
    for (const char* normal : {"0 0 -1", "0 0 1", "0 -1 0", "0 1 0", "-1 0 0", "1 0 0"})
        text += "vn " + QByteArray(normal) + "\n";
    text += "usemtl surface\n"
            "f 1/1/1 4/4/1 3/3/1 2/2/1\nf 5/1/2 6/2/2 7/3/2 8/4/2\nf 1/1/3 2/2/3 6/3/3 5/4/3\n"
            "f 4/1/4 8/2/4 7/3/4 3/4/4\nf 1/1/5 5/2/5 8/3/5 4/4/5\nf 2/1/6 3/2/6 7/3/6 6/4/6\n";
    return text;
}

QByteArray material(const char* colour, const QString& texture = QString())
{
    QByteArray text = "newmtl surface\nKd " + QByteArray(colour) + "\nKs 0 0 0\nillum 1\n";
    if (!texture.isEmpty())
        text += "map_Kd " + texture.toUtf8() + "\n";
    return text;
}

bool writeTexture(const QString& path, int side)
{
    QImage image(side, side, QImage::Format_RGB32);
    for (int y = 0; y < side; ++y)
        for (int x = 0; x < side; ++x)
            image.setPixel(x, y, (x / 8 + y / 8) % 2 == 0 ? qRgb(214, 40, 150) : qRgb(60, 40, 190));
    return image.save(path, "png");
}

/// One square a texture, side by side.
bool writeManyFiles(const QDir& folder, TestModels& models)
{
    QByteArray shape = "mtllib many.mtl\n";
    QByteArray materials;
    for (int i = 0; i < kManyTextures; ++i) {
        const QString texture =
            QStringLiteral("textures/one_of_many_textures_with_a_long_name_%1.png").arg(i, 2, 10, QLatin1Char('0'));
        if (!writeTexture(folder.filePath(texture), 4))
            return false;
        models.manyTextures << texture;
        const QByteArray number = QByteArray::number(i);
        materials += "newmtl m" + number + "\nKd 1 1 1\nmap_Kd " + texture.toUtf8() + "\n";
        const QByteArray next = QByteArray::number(i + 1);
        shape += "v " + number + " 0 0\nv " + next + " 0 0\nv " + next + " 20 0\nv " + number + " 20 0\n";
    }
    shape += "vt 0 0\nvt 1 0\nvt 1 1\nvt 0 1\n";
    for (int i = 0; i < kManyTextures; ++i) {
        shape += "usemtl m" + QByteArray::number(i) + "\nf";
        for (int corner = 1; corner <= 4; ++corner)
            shape += " " + QByteArray::number(4 * i + corner) + "/" + QByteArray::number(corner);
        shape += "\n";
    }
    return writeFile(folder.filePath(QStringLiteral("many.mtl")), materials) && writeFile(models.manyFiles, shape);
}

bool writeLarge(const QString& path)
{
    constexpr double kPi = 3.14159265358979323846;
    QByteArray text = "mtllib plain.mtl\n";
    for (int ring = 0; ring <= kLargeRings; ++ring) {
        const double polar = kPi * ring / kLargeRings;
        for (int i = 0; i < kLargeRings; ++i) {
            const double azimuth = 2 * kPi * i / kLargeRings;
            text += "v " + QByteArray::number(std::sin(polar) * std::cos(azimuth), 'f', 6) + " " +
                    QByteArray::number(std::cos(polar), 'f', 6) + " " +
                    QByteArray::number(std::sin(polar) * std::sin(azimuth), 'f', 6) + "\n";
        }
    }
    text += "usemtl surface\n";
    for (int ring = 0; ring < kLargeRings; ++ring) {
        for (int i = 0; i < kLargeRings; ++i) {
            const int first = ring * kLargeRings + 1;
            const int next = (i + 1) % kLargeRings;
            text += "f";
            for (const int corner : {first + i, first + next, first + kLargeRings + next, first + kLargeRings + i})
                text += " " + QByteArray::number(corner);
            text += "\n";
        }
    }
    return writeFile(path, text);
}

/// A path of exactly as many bytes as the context has room for, made longer by folders.
QString makeCutPath(const QString& folder, const QString& target)
{
    const QByteArray end = ".obj";
    QByteArray path = QFile::encodeName(folder) + "/long";
    while (path.size() < kPathField - 120)
        path += "/" + QByteArray(100, 'd');
    const int rest = kPathField - path.size() - 1 - end.size();
    if (rest < 1 || rest > 250 || !QDir().mkpath(QFile::decodeName(path)))
        return {};
    const QString link = QFile::decodeName(path + "/" + QByteArray(rest, 'm') + end);
    return QFile::link(target, link) ? link : QString();
}

} // namespace

bool writeTestModels(const QString& folder, TestModels& models)
{
    const QDir place(folder);
    models.folder = place.absolutePath();
    models.textured = place.filePath(QStringLiteral("textured.obj"));
    models.plain = place.filePath(QStringLiteral("plain.obj"));
    models.keyGreen = place.filePath(QStringLiteral("keygreen.obj"));
    models.manyFiles = place.filePath(QStringLiteral("many.obj"));
    models.large = place.filePath(QStringLiteral("large.obj"));
    models.damaged = place.filePath(QStringLiteral("damaged.glb"));
    models.missing = place.filePath(QStringLiteral("missing.obj"));
    models.texture = QStringLiteral("textures/checks.png");
    models.materialLibrary = QStringLiteral("textured.mtl");
    models.cutPath = makeCutPath(models.folder, models.plain);

    const auto write = [&place](const char* name, const QByteArray& content) {
        return writeFile(place.filePath(QString::fromLatin1(name)), content);
    };
    return place.mkpath(QStringLiteral("textures")) && writeTexture(place.filePath(models.texture), 64) &&
           write("textured.mtl", material("1 1 1", models.texture)) && write("textured.obj", cube("textured.mtl")) &&
           write("plain.mtl", material("0.84 0.16 0.59")) && write("plain.obj", cube("plain.mtl")) &&
           write("keygreen.mtl", material("0.360784 0.933333 0.078431")) &&
           write("keygreen.obj", cube("keygreen.mtl")) && writeManyFiles(place, models) && writeLarge(models.large) &&
           write("damaged.glb", "glTF" + QByteArray(400, '\xee'));
}

} // namespace ov3d::viewercheck
