#include "models/writers.h"

#include <QBuffer>
#include <QDir>
#include <QFileInfo>
#include <QSaveFile>
#include <QStringList>

namespace ov3d::models {

namespace {

QByteArray numbers(std::initializer_list<double> values)
{
    QByteArray text;
    for (const double value : values)
        text += ' ' + QByteArray::number(value, 'g', 7);
    return text;
}

QByteArray materialText(const Material& material, const QString& sideFolder)
{
    const Vec3 c = material.texture.isNull() ? material.colour : Vec3{1, 1, 1};
    QByteArray text = "newmtl " + material.name.toUtf8().replace(' ', '_') + "\nKd" + numbers({c.x, c.y, c.z}) +
                      "\nKs 0.1 0.1 0.1\nNs 40\nd 1\nillum 2\n";
    if (!material.texture.isNull())
        text += "map_Kd " + sideFolder.toUtf8() + '/' + material.textureName.toUtf8() + ".png\n";
    return text + '\n';
}

} // namespace

QString writeFile(const QString& path, const QByteArray& bytes)
{
    const QFileInfo info(path);
    if (!QDir().mkpath(info.path()))
        return info.path() + QStringLiteral(": the folder cannot be made");
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly) || file.write(bytes) != bytes.size() || !file.commit())
        return path + QStringLiteral(": ") + file.errorString();
    return {};
}

QString writeObj(const QString& path, const Model& model, const QString& sideFolder)
{
    const QFileInfo info(path);
    const QString library = info.completeBaseName() + QStringLiteral(".mtl");
    QByteArray objects = "mtllib " + library.toUtf8() + "\n";
    QByteArray materials;
    QStringList known;
    std::size_t first = 1;
    for (const Part& part : model) {
        objects += "o " + part.name.toUtf8().replace(' ', '_') + '\n';
        for (const Vec3& p : part.mesh.positions)
            objects += 'v' + numbers({p.x, p.y, p.z}) + '\n';
        for (const Vec2& uv : part.mesh.uvs)
            objects += "vt" + numbers({uv.x, 1 - uv.y}) + '\n';
        for (const Vec3& n : part.mesh.normals)
            objects += "vn" + numbers({n.x, n.y, n.z}) + '\n';
        objects += "usemtl " + part.material.name.toUtf8().replace(' ', '_') + '\n';
        for (std::size_t i = 0; i < part.mesh.indices.size(); i += 3) {
            objects += 'f';
            for (std::size_t corner = i; corner < i + 3; ++corner) {
                const QByteArray index = QByteArray::number(static_cast<qulonglong>(part.mesh.indices[corner] + first));
                objects += ' ' + index + '/' + index + '/' + index;
            }
            objects += '\n';
        }
        first += part.mesh.positions.size();

        if (known.contains(part.material.name))
            continue;
        known << part.material.name;
        materials += materialText(part.material, sideFolder);
        if (part.material.texture.isNull())
            continue;
        QByteArray png;
        QBuffer buffer(&png);
        buffer.open(QIODevice::WriteOnly);
        part.material.texture.save(&buffer, "PNG", 30);
        const QString texture =
            info.path() + QLatin1Char('/') + sideFolder + QLatin1Char('/') + part.material.textureName;
        if (const QString error = writeFile(texture + QStringLiteral(".png"), png); !error.isEmpty())
            return error;
    }
    if (const QString error = writeFile(info.path() + QLatin1Char('/') + library, materials); !error.isEmpty())
        return error;
    return writeFile(path, objects);
}

QString writeTextStl(const QString& path, const Mesh& mesh)
{
    QByteArray text = "solid model\n";
    for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
        const Vec3 a = mesh.positions[mesh.indices[i]];
        const Vec3 b = mesh.positions[mesh.indices[i + 1]];
        const Vec3 c = mesh.positions[mesh.indices[i + 2]];
        const Vec3 n = normalized(cross(b - a, c - a));
        text += "facet normal" + numbers({n.x, n.y, n.z}) + "\n outer loop\n";
        for (const Vec3& p : {a, b, c})
            text += "  vertex" + numbers({p.x, p.y, p.z}) + '\n';
        text += " endloop\nendfacet\n";
    }
    return writeFile(path, text + "endsolid model\n");
}

} // namespace ov3d::models
