#include "tests/unit/renderer/fbxfiles.h"

#include <QtEndian>
#include <cstring>

namespace fbxfiles {
namespace {

constexpr int kHeadBytes = 13;

template <typename Value> QByteArray encoded(Value value)
{
    QByteArray bytes(sizeof(Value), '\0');
    qToLittleEndian(value, bytes.data());
    return bytes;
}

QByteArray array(char type, int count, const QByteArray& bytes)
{
    return type + encoded(static_cast<quint32>(count)) + encoded(quint32{0}) +
           encoded(static_cast<quint32>(bytes.size())) + bytes;
}

void write(const Record& record, QByteArray& out)
{
    const int at = out.size();
    QByteArray properties;
    for (const QByteArray& property : record.properties)
        properties += property;
    out += QByteArray(4, '\0') + encoded(static_cast<quint32>(record.properties.size())) +
           encoded(static_cast<quint32>(properties.size())) + static_cast<char>(record.name.size()) + record.name +
           properties;
    for (const Record& inner : record.records)
        write(inner, out);
    if (!record.records.isEmpty())
        out += QByteArray(kHeadBytes, '\0');
    out.replace(at, 4, encoded(static_cast<quint32>(out.size())));
}

} // namespace

QByteArray text(const QByteArray& value)
{
    return 'S' + encoded(static_cast<quint32>(value.size())) + value;
}

QByteArray raw(const QByteArray& value)
{
    return 'R' + encoded(static_cast<quint32>(value.size())) + value;
}

QByteArray number(qint32 value)
{
    return 'I' + encoded(value);
}

QByteArray longNumber(qint64 value)
{
    return 'L' + encoded(value);
}

QByteArray doubles(const QList<double>& values)
{
    QByteArray bytes;
    for (const double value : values) {
        quint64 bits = 0;
        std::memcpy(&bits, &value, sizeof bits);
        bytes += encoded(bits);
    }
    return array('d', values.size(), bytes);
}

QByteArray integers(const QList<qint32>& values)
{
    QByteArray bytes;
    for (const qint32 value : values)
        bytes += encoded(value);
    return array('i', values.size(), bytes);
}

QByteArray packedArray(char type, quint32 count, const QByteArray& packed)
{
    return type + encoded(count) + encoded(quint32{1}) + encoded(static_cast<quint32>(packed.size())) + packed;
}

QByteArray file(const QList<Record>& records)
{
    QByteArray out = QByteArray("Kaydara FBX Binary  \0\x1a\0", 23) + encoded(quint32{7400});
    for (const Record& record : records)
        write(record, out);
    return out + QByteArray(kHeadBytes, '\0');
}

namespace {

/// A name as objects have it: its own and that of its class.
QByteArray named(const QByteArray& name, const QByteArray& kind)
{
    return text(name + QByteArray("\0\1", 2) + kind);
}

Record connection(qint64 from, qint64 to)
{
    return {"C", {text("OO"), longNumber(from), longNumber(to)}, {}};
}

Record geometry(const QList<double>& coordinates)
{
    QList<qint32> corners;
    for (int i = 0; i < coordinates.size() / 3; ++i)
        corners << i;
    corners.last() = -corners.last() - 1;
    const Record texcoords{"LayerElementUV",
                           {number(0)},
                           {{"MappingInformationType", {text("ByPolygonVertex")}, {}},
                            {"ReferenceInformationType", {text("Direct")}, {}},
                            {"UV", {doubles(QVector<double>(coordinates.size() / 3 * 2, 0.5).toList())}, {}}}};
    const Record material{"LayerElementMaterial",
                          {number(0)},
                          {{"MappingInformationType", {text("AllSame")}, {}},
                           {"ReferenceInformationType", {text("IndexToDirect")}, {}},
                           {"Materials", {integers({0})}, {}}}};
    const auto element = [](const char* type) {
        return Record{"LayerElement", {}, {{"Type", {text(type)}, {}}, {"TypedIndex", {number(0)}, {}}}};
    };
    return {"Geometry",
            {longNumber(1), named("shape", "Geometry"), text("Mesh")},
            {{"Vertices", {doubles(coordinates)}, {}},
             {"PolygonVertexIndex", {integers(corners)}, {}},
             texcoords,
             material,
             {"Layer", {number(0)}, {element("LayerElementUV"), element("LayerElementMaterial")}}}};
}

QByteArray scene(const QList<Record>& objects, const QList<Record>& connections)
{
    return file({{"FBXHeaderExtension", {}, {{"FBXVersion", {number(7400)}, {}}}},
                 {"Objects", {}, objects},
                 {"Connections", {}, connections}});
}

Record model()
{
    return {"Model", {longNumber(2), named("shape", "Model"), text("Mesh")}, {{"Version", {number(232)}, {}}}};
}

} // namespace

QByteArray polygon(const QList<double>& coordinates)
{
    return scene({geometry(coordinates), model()}, {connection(1, 2), connection(2, 0)});
}

QByteArray texturedPolygon(const QList<double>& coordinates, const QByteArray& picture)
{
    const Record material{"Material",
                          {longNumber(3), named("paint", "Material"), text("")},
                          {{"ShadingModel", {text("phong")}, {}}, {"MultiLayer", {number(0)}, {}}}};
    const Record texture{"Texture",
                         {longNumber(4), named("image", "Texture"), text("")},
                         {{"Type", {text("TextureVideoClip")}, {}},
                          {"FileName", {text("image.png")}, {}},
                          {"RelativeFilename", {text("image.png")}, {}}}};
    const Record video{"Video",
                       {longNumber(5), named("image", "Video"), text("Clip")},
                       {{"Type", {text("Clip")}, {}},
                        {"FileName", {text("image.png")}, {}},
                        {"RelativeFilename", {text("image.png")}, {}},
                        {"Content", {raw(picture)}, {}}}};
    const Record toMaterial{"C", {text("OP"), longNumber(4), longNumber(3), text("DiffuseColor")}, {}};
    return scene({geometry(coordinates), model(), material, texture, video},
                 {connection(1, 2), connection(2, 0), connection(3, 2), toMaterial, connection(5, 4)});
}

} // namespace fbxfiles
