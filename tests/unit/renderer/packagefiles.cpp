#include "tests/unit/renderer/packagefiles.h"

#include "viewer/renderer/import/zipwriter.h"

#include <QBuffer>
#include <QImage>

namespace packagefiles {
namespace {

const QByteArray kDeclaration = "<?xml version=\"1.0\" encoding=\"UTF-8\"?>";
const QByteArray kFolder = "http://schemas.microsoft.com/3dmanufacturing/";

QByteArray relations(const QList<QByteArray>& targets, const QByteArray& type)
{
    QByteArray text =
        kDeclaration + "<Relationships xmlns=\"http://schemas.openxmlformats.org/package/2006/relationships\">";
    for (const QByteArray& target : targets)
        text += "<Relationship Target=\"" + target + "\" Id=\"r" + QByteArray::number(targets.indexOf(target)) +
                "\" Type=\"" + kFolder + "2013/01/" + type + "\"/>";
    return text + "</Relationships>";
}

std::string_view view(const QByteArray& bytes)
{
    return {bytes.constData(), static_cast<std::size_t>(bytes.size())};
}

quint32 checksum(const QByteArray& bytes)
{
    quint32 value = 0xFFFFFFFFU;
    for (const char c : bytes) {
        value ^= static_cast<quint8>(c);
        for (int bit = 0; bit < 8; ++bit)
            value = (value >> 1) ^ (value & 1 ? 0xEDB88320U : 0);
    }
    return ~value;
}

} // namespace

QByteArray zip(const Parts& parts, bool deflated)
{
    ov3d::renderer::ZipWriter writer;
    for (const auto& [name, content] : parts) {
        if (!deflated || content.isEmpty()) {
            writer.add(name.toStdString(), view(content));
            continue;
        }
        // Qt puts its own head of four bytes and zlib's of two before the data, and a checksum behind it.
        const QByteArray packed = qCompress(content).mid(6).chopped(4);
        writer.add(name.toStdString(),
                   {8, checksum(content), static_cast<std::uint64_t>(content.size()), view(packed)});
    }
    const std::vector<std::uint8_t> bytes = writer.finish();
    return {reinterpret_cast<const char*>(bytes.data()), static_cast<int>(bytes.size())};
}

QPair<QByteArray, QByteArray> rootRelations()
{
    return {"_rels/.rels", relations({"/3D/3dmodel.model"}, "3dmodel")};
}

QPair<QByteArray, QByteArray> modelRelations(const QList<QByteArray>& targets, const QByteArray& type)
{
    return {"3D/_rels/3dmodel.model.rels", relations(targets, type)};
}

QByteArray model(const QByteArray& resources, const QByteArray& build, const QByteArray& attributes)
{
    return kDeclaration + "<model unit=\"millimeter\" xmlns=\"" + kFolder + "core/2015/02\" xmlns:m=\"" + kFolder +
           "material/2015/02\" xmlns:p=\"" + kFolder + "production/2015/06\" " + attributes + "><resources>" +
           resources + "</resources><build>" + build + "</build></model>";
}

QByteArray object(int id, const QList<QByteArray>& properties, const QByteArray& attributes)
{
    static const char* const corners[] = {"v1=\"0\" v2=\"2\" v3=\"1\"", "v1=\"0\" v2=\"1\" v3=\"3\"",
                                          "v1=\"0\" v2=\"3\" v3=\"2\"", "v1=\"1\" v2=\"2\" v3=\"3\""};
    QByteArray triangles;
    for (int i = 0; i < 4; ++i)
        triangles += QByteArray("<triangle ") + corners[i] + " " +
                     (properties.isEmpty() ? QByteArray() : properties[qMin(i, properties.size() - 1)]) + "/>";
    return "<object id=\"" + QByteArray::number(id) + "\" type=\"model\" " + attributes +
           "><mesh><vertices><vertex x=\"0\" y=\"0\" z=\"0\"/><vertex x=\"1\" y=\"0\" z=\"0\"/>"
           "<vertex x=\"0\" y=\"1\" z=\"0\"/><vertex x=\"0\" y=\"0\" z=\"1\"/></vertices><triangles>" +
           triangles + "</triangles></mesh></object>";
}

QByteArray package(const QByteArray& resources, const QByteArray& build, const Parts& more)
{
    return zip(Parts{rootRelations(), {"3D/3dmodel.model", model(resources, build)}} + more);
}

QByteArray png()
{
    QImage image(4, 4, QImage::Format_RGB32);
    image.fill(Qt::red);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (!buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        qFatal("cannot write a picture");
    return bytes;
}

} // namespace packagefiles
