#pragma once

#include "tests/unit/renderer/modelfolder.h"
#include "viewer/renderer/import/importer.h"

#include "src/render/viewcontext.h"

#include <QColor>
#include <QString>
#include <QStringList>

/// What tests ask of imported models.
namespace importing {

using namespace ov3d::renderer;

inline ImportResult importFile(const QString& path, std::int32_t format)
{
    ImportRequest request;
    request.path = path.toStdString();
    request.model_format = format;
    return importModel(request);
}

/// Writes a file and imports it.
inline ImportResult importFile(ModelFolder& folder, const QString& name, const QByteArray& bytes, std::int32_t format)
{
    return importFile(folder.write(name, bytes), format);
}

inline QString reason(const ImportResult& result)
{
    return result.ok ? QString("ok") : QString::fromStdString(result.reason);
}

/// What a model says of its parts that are not shown.
inline QStringList notes(const ImportResult& result)
{
    QStringList list;
    for (const std::string& note : result.model.notes)
        list << QString::fromStdString(note);
    return list;
}

/// How many triangles, lines or points a model has.
inline std::size_t count(const ModelData& model, Primitive primitive)
{
    const std::size_t corners = primitive == Primitive::triangles ? 3 : primitive == Primitive::lines ? 2 : 1;
    std::size_t sum = 0;
    for (const MeshData& mesh : model.meshes)
        if (mesh.primitive == primitive)
            sum += mesh.indices.size() / corners;
    return sum;
}

inline QColor colourOf(const MaterialData& material)
{
    return QColor::fromRgbF(material.base_colour[0], material.base_colour[1], material.base_colour[2],
                            material.base_colour[3]);
}

} // namespace importing
