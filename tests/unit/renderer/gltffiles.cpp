#include "tests/unit/renderer/gltffiles.h"

#include <QJsonDocument>
#include <QVector>
#include <QtEndian>

namespace gltffiles {
namespace {

constexpr int kUnsignedShort = 5123;
constexpr int kFloat = 5126;

int append(QJsonObject& json, const QString& list, const QJsonObject& element)
{
    QJsonArray elements = json[list].toArray();
    elements.append(element);
    json[list] = elements;
    return elements.size() - 1;
}

template <typename Value> QByteArray bytesOf(const QVector<Value>& values)
{
    return {reinterpret_cast<const char*>(values.constData()), values.size() * static_cast<int>(sizeof(Value))};
}

int componentsOf(const QString& type)
{
    return type == "SCALAR" ? 1 : type == "MAT4" ? 16 : type.right(1).toInt();
}

QByteArray chunk(const char* type, QByteArray bytes, char filler)
{
    while (bytes.size() % 4 != 0)
        bytes += filler;
    QByteArray length(4, '\0');
    qToLittleEndian(static_cast<quint32>(bytes.size()), length.data());
    return length + QByteArray(type, 4) + bytes;
}

} // namespace

Builder::Builder()
    : json{{"asset", QJsonObject{{"version", "2.0"}}}}
{
}

int Builder::addAccessor(const QByteArray& bytes, int componentType, const QString& type, int count, bool isNormalized)
{
    const int buffer =
        append(json, "buffers",
               {{"byteLength", bytes.size()},
                {"uri", "data:application/octet-stream;base64," + QString::fromLatin1(bytes.toBase64())}});
    const int view = append(json, "bufferViews", {{"buffer", buffer}, {"byteLength", bytes.size()}});
    return append(json, "accessors",
                  {{"bufferView", view},
                   {"componentType", componentType},
                   {"type", type},
                   {"count", count},
                   {"normalized", isNormalized}});
}

int Builder::addFloats(const QVector<float>& values, const QString& type)
{
    return addAccessor(bytesOf(values), kFloat, type, values.size() / componentsOf(type));
}

int Builder::addShorts(const QVector<quint16>& values, const QString& type)
{
    return addAccessor(bytesOf(values), kUnsignedShort, type, values.size() / componentsOf(type));
}

void Builder::change(const QString& list, int index, const QString& member, const QJsonValue& value)
{
    QJsonArray elements = json[list].toArray();
    QJsonObject element = elements[index].toObject();
    if (value.isUndefined())
        element.remove(member);
    else
        element[member] = value;
    elements[index] = element;
    json[list] = elements;
}

QByteArray Builder::text() const
{
    return QJsonDocument(json).toJson(QJsonDocument::Compact);
}

QByteArray Builder::glb() const
{
    Builder copy = *this;
    QJsonObject first = copy.json["buffers"].toArray()[0].toObject();
    const QByteArray binary = QByteArray::fromBase64(first["uri"].toString().section(',', 1).toLatin1());
    copy.change("buffers", 0, "uri", QJsonValue(QJsonValue::Undefined));
    const QByteArray chunks = chunk("JSON", copy.text(), ' ') + chunk("BIN\0", binary, '\0');
    QByteArray head("glTF\2\0\0\0\0\0\0\0", 12);
    qToLittleEndian(static_cast<quint32>(head.size() + chunks.size()), head.data() + 8);
    return head + chunks;
}

Builder triangle()
{
    Builder gltf;
    gltf.addFloats({0, 0, 0, 1, 0, 0, 0, 1, 0}, "VEC3");
    gltf.addShorts({0, 1, 2}, "SCALAR");
    gltf.json["scene"] = 0;
    gltf.json["scenes"] = QJsonArray{QJsonObject{{"nodes", QJsonArray{0}}}};
    gltf.json["nodes"] = QJsonArray{QJsonObject{{"mesh", 0}}};
    const QJsonObject primitive{{"attributes", QJsonObject{{"POSITION", 0}}}, {"indices", 1}};
    gltf.json["meshes"] = QJsonArray{QJsonObject{{"primitives", QJsonArray{primitive}}}};
    return gltf;
}

Builder skinnedTriangle(const QVector<quint16>& bones)
{
    Builder gltf = triangle();
    gltf.addShorts(bones, "VEC4");
    gltf.addFloats({1, 0, 0, 0, 1, 0, 0, 0, 1, 0, 0, 0}, "VEC4");
    const QVector<float> unit{1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1, 0, 0, 0, 0, 1};
    gltf.addFloats(unit + unit, "MAT4");
    const QJsonObject attributes{{"POSITION", 0}, {"JOINTS_0", 2}, {"WEIGHTS_0", 3}};
    const QJsonObject primitive{{"attributes", attributes}, {"indices", 1}};
    gltf.json["meshes"] = QJsonArray{QJsonObject{{"primitives", QJsonArray{primitive}}}};
    gltf.json["skins"] = QJsonArray{QJsonObject{{"joints", QJsonArray{1, 2}}, {"inverseBindMatrices", 4}}};
    gltf.json["nodes"] =
        QJsonArray{QJsonObject{{"mesh", 0}, {"skin", 0}},
                   QJsonObject{{"translation", QJsonArray{0, 0, 5}}, {"children", QJsonArray{2}}}, QJsonObject{}};
    gltf.json["scenes"] = QJsonArray{QJsonObject{{"nodes", QJsonArray{0, 1}}}};
    return gltf;
}

} // namespace gltffiles
