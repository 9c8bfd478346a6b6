/// Writes a few small files of each format into a folder, as seeds:  fuzz_seeds FOLDER

#include "tests/unit/renderer/fbxfiles.h"
#include "tests/unit/renderer/gltffiles.h"
#include "tests/unit/renderer/packagefiles.h"

#include <QDir>
#include <QFile>
#include <QVector>

namespace {

bool write(const QString& folder, const QString& name, const QByteArray& bytes)
{
    QFile file(QDir(folder).filePath(name));
    return file.open(QIODevice::WriteOnly) && file.write(bytes) == bytes.size();
}

QByteArray package()
{
    using namespace packagefiles;
    const QByteArray resources =
        "<basematerials id=\"5\"><base name=\"Red\" displaycolor=\"#FF0000\"/></basematerials>"
        "<m:colorgroup id=\"6\"><m:color color=\"#00FF00\"/><m:color color=\"#112233\"/></m:colorgroup>"
        "<m:texture2d id=\"7\" path=\"/3D/red.png\" contenttype=\"image/png\"/>"
        "<m:texture2dgroup id=\"8\" texid=\"7\"><m:tex2coord u=\"0\" v=\"0\"/><m:tex2coord u=\"1\" v=\"0\"/>"
        "<m:tex2coord u=\"0\" v=\"1\"/></m:texture2dgroup>" +
        object(1,
               {"pid=\"5\" p1=\"0\"", "pid=\"6\" p1=\"0\" p2=\"1\" p3=\"0\"", "pid=\"8\" p1=\"0\" p2=\"1\" p3=\"2\""}) +
        "<object id=\"2\" type=\"model\"><components><component objectid=\"1\" transform=\"1 0 0 0 1 0 0 0 1 4 0 0\"/>"
        "</components></object>";
    // Not compressed, so that changes reach the text.
    return zip({rootRelations(),
                {"3D/3dmodel.model", model(resources, "<item objectid=\"2\"/><item objectid=\"1\"/>")},
                modelRelations({"/3D/red.png"}, "3dtexture"),
                {"3D/red.png", png()}},
               false);
}

gltffiles::Builder shapes()
{
    gltffiles::Builder gltf = gltffiles::skinnedTriangle({0, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0});
    gltf.addFloats({0, 0, 8, 0, 0, 8, 0, 0, 8}, "VEC3");
    QJsonObject mesh = gltf.json["meshes"].toArray()[0].toObject();
    QJsonObject primitive = mesh["primitives"].toArray()[0].toObject();
    primitive["targets"] = QJsonArray{QJsonObject{{"POSITION", 5}}};
    mesh["primitives"] = QJsonArray{primitive};
    mesh["weights"] = QJsonArray{0.5};
    gltf.json["meshes"] = QJsonArray{mesh};
    return gltf;
}

} // namespace

int main(int argc, char** argv)
{
    if (argc != 2)
        return 2;
    const QString folder = QString::fromLocal8Bit(argv[1]);
    const QList<double> square{0, 0, 0, 1, 0, 0, 1, 1, 0, 0, 1, 0};
    const bool written = write(folder, "package.3mf", package()) && write(folder, "skin.gltf", shapes().text()) &&
                         write(folder, "skin.glb", shapes().glb()) &&
                         write(folder, "square.fbx", fbxfiles::polygon(square)) &&
                         write(folder, "textured.fbx", fbxfiles::texturedPolygon(square, packagefiles::png()));
    return written ? 0 : 1;
}
