#include "models/bytes.h"
#include "models/writers.h"

#include <variant>

namespace ov3d::models {

namespace {

constexpr std::uint32_t kFbxVersion = 7400;
constexpr int kNullRecordBytes = 13;
constexpr qint64 kGeometryId = 1001;
constexpr qint64 kModelId = 1002;
constexpr qint64 kMaterialId = 1003;

using FbxArray = std::variant<std::vector<double>, std::vector<std::int32_t>>;
using FbxValue = std::variant<std::int32_t, qint64, double, QByteArray, FbxArray>;

/// One node record of a binary FBX file: a name, typed properties, child nodes.
struct FbxNode
{
    QByteArray name;
    std::vector<FbxValue> values;
    std::vector<FbxNode> children;
};

template <typename Number> void putArray(QByteArray& bytes, char type, const std::vector<Number>& values)
{
    bytes.append(type);
    put<std::uint32_t>(bytes, static_cast<std::uint32_t>(values.size()));
    put<std::uint32_t>(bytes, 0); // not compressed
    put<std::uint32_t>(bytes, static_cast<std::uint32_t>(values.size() * sizeof(Number)));
    for (const Number value : values)
        put<Number>(bytes, value);
}

void putValue(QByteArray& bytes, const FbxValue& value)
{
    if (const auto* integer = std::get_if<std::int32_t>(&value)) {
        bytes.append('I');
        put<std::int32_t>(bytes, *integer);
    } else if (const auto* identifier = std::get_if<qint64>(&value)) {
        bytes.append('L');
        put<qint64>(bytes, *identifier);
    } else if (const auto* number = std::get_if<double>(&value)) {
        bytes.append('D');
        put<double>(bytes, *number);
    } else if (const auto* text = std::get_if<QByteArray>(&value)) {
        bytes.append('S');
        put<std::uint32_t>(bytes, static_cast<std::uint32_t>(text->size()));
        bytes.append(*text);
    } else if (const auto& array = std::get<FbxArray>(value); array.index() == 0) {
        putArray(bytes, 'd', std::get<0>(array));
    } else {
        putArray(bytes, 'i', std::get<1>(array));
    }
}

/// End offsets count from the file's start, so a node is written straight into the file's bytes.
void putNode(QByteArray& file, const FbxNode& node)
{
    const int start = file.size();
    put<std::uint32_t>(file, 0); // end offset, known later
    put<std::uint32_t>(file, static_cast<std::uint32_t>(node.values.size()));
    put<std::uint32_t>(file, 0); // bytes of the properties, known later
    file.append(static_cast<char>(node.name.size())).append(node.name);
    const int properties = file.size();
    for (const FbxValue& value : node.values)
        putValue(file, value);
    patch<std::uint32_t>(file, start + 8, static_cast<std::uint32_t>(file.size() - properties));
    for (const FbxNode& child : node.children)
        putNode(file, child);
    if (!node.children.empty())
        file.append(QByteArray(kNullRecordBytes, '\0'));
    patch<std::uint32_t>(file, start, static_cast<std::uint32_t>(file.size()));
}

/// Names of objects are "name\0\1class".
QByteArray objectName(const QByteArray& name, const char* className)
{
    return name + QByteArray("\0\1", 2) + className;
}

FbxNode property70(const char* name, const char* type, const char* label, std::vector<FbxValue> values)
{
    FbxNode node{"P", {QByteArray(name), QByteArray(type), QByteArray(label), QByteArray("A")}, {}};
    node.values.insert(node.values.end(), values.begin(), values.end());
    return node;
}

FbxNode layerElement(const char* name, const char* mapping, const char* reference, std::vector<FbxNode> data)
{
    FbxNode node{name, {std::int32_t{0}}, {}};
    node.children = {{"Version", {std::int32_t{101}}, {}},
                     {"Name", {QByteArray()}, {}},
                     {"MappingInformationType", {QByteArray(mapping)}, {}},
                     {"ReferenceInformationType", {QByteArray(reference)}, {}}};
    node.children.insert(node.children.end(), data.begin(), data.end());
    return node;
}

FbxNode layer()
{
    const auto element = [](const char* type) {
        return FbxNode{"LayerElement", {}, {{"Type", {QByteArray(type)}, {}}, {"TypedIndex", {std::int32_t{0}}, {}}}};
    };
    return {"Layer",
            {std::int32_t{0}},
            {{"Version", {std::int32_t{100}}, {}}, element("LayerElementNormal"), element("LayerElementMaterial")}};
}

FbxNode geometry(const Mesh& mesh)
{
    std::vector<double> vertices, normals;
    std::vector<std::int32_t> corners;
    for (const Vec3& p : mesh.positions)
        vertices.insert(vertices.end(), {p.x, p.y, p.z});
    for (std::size_t i = 0; i < mesh.indices.size(); ++i) {
        const auto index = static_cast<std::int32_t>(mesh.indices[i]);
        // The last corner of a polygon is stored as its complement.
        corners.push_back(i % 3 == 2 ? ~index : index);
        const Vec3 n = mesh.normals[mesh.indices[i]];
        normals.insert(normals.end(), {n.x, n.y, n.z});
    }
    return {"Geometry",
            {kGeometryId, objectName("mesh", "Geometry"), QByteArray("Mesh")},
            {{"GeometryVersion", {std::int32_t{124}}, {}},
             {"Vertices", {FbxArray(vertices)}, {}},
             {"PolygonVertexIndex", {FbxArray(corners)}, {}},
             layerElement("LayerElementNormal", "ByPolygonVertex", "Direct", {{"Normals", {FbxArray(normals)}, {}}}),
             layerElement("LayerElementMaterial", "AllSame", "IndexToDirect",
                          {{"Materials", {FbxArray(std::vector<std::int32_t>{0})}, {}}}),
             layer()}};
}

FbxNode connection(qint64 child, qint64 parent)
{
    return {"C", {QByteArray("OO"), child, parent}, {}};
}

std::vector<FbxNode> document(const Mesh& mesh, const Material& material)
{
    const auto axis = [](const char* name, std::int32_t value) { return property70(name, "int", "Integer", {value}); };
    const Vec3 c = material.colour;
    const FbxNode model = {
        "Model", {kModelId, objectName("model", "Model"), QByteArray("Mesh")}, {{"Version", {std::int32_t{232}}, {}}}};
    const FbxNode look = {"Material",
                          {kMaterialId, objectName(material.name.toUtf8(), "Material"), QByteArray()},
                          {{"Version", {std::int32_t{102}}, {}},
                           {"ShadingModel", {QByteArray("lambert")}, {}},
                           {"Properties70", {}, {property70("DiffuseColor", "Color", "", {c.x, c.y, c.z})}}}};
    return {
        {"FBXHeaderExtension",
         {},
         {{"FBXHeaderVersion", {std::int32_t{1003}}, {}},
          {"FBXVersion", {static_cast<std::int32_t>(kFbxVersion)}, {}},
          {"Creator", {QByteArray("ov3d-make-models")}, {}}}},
        {"GlobalSettings",
         {},
         {{"Version", {std::int32_t{1000}}, {}},
          {"Properties70",
           {},
           {axis("UpAxis", 1), axis("UpAxisSign", 1), axis("FrontAxis", 2), axis("FrontAxisSign", 1),
            axis("CoordAxis", 0), axis("CoordAxisSign", 1)}}}},
        {"Objects", {}, {geometry(mesh), model, look}},
        {"Connections",
         {},
         {connection(kModelId, 0), connection(kGeometryId, kModelId), connection(kMaterialId, kModelId)}},
    };
}

} // namespace

QString writeBinaryStl(const QString& path, const Mesh& mesh)
{
    QByteArray file("binary STL", 10);
    file.append(QByteArray(80 - file.size(), '\0'));
    put<std::uint32_t>(file, static_cast<std::uint32_t>(mesh.triangleCount()));
    for (std::size_t i = 0; i < mesh.indices.size(); i += 3) {
        const Vec3 a = mesh.positions[mesh.indices[i]];
        const Vec3 b = mesh.positions[mesh.indices[i + 1]];
        const Vec3 c = mesh.positions[mesh.indices[i + 2]];
        for (const Vec3& v : {normalized(cross(b - a, c - a)), a, b, c}) {
            for (const double x : {v.x, v.y, v.z})
                put<float>(file, static_cast<float>(x));
        }
        put<std::uint16_t>(file, 0);
    }
    return writeFile(path, file);
}

QString writeFbx(const QString& path, const Mesh& mesh, const Material& material)
{
    QByteArray file("Kaydara FBX Binary  \0\x1a\0", 23);
    put<std::uint32_t>(file, kFbxVersion);
    for (const FbxNode& node : document(mesh, material))
        putNode(file, node);
    file.append(QByteArray(kNullRecordBytes, '\0'));
    return writeFile(path, file);
}

} // namespace ov3d::models
