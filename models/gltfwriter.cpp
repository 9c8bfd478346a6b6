#include "models/bytes.h"
#include "models/writers.h"

#include <QBuffer>
#include <QFileInfo>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>
#include <QStringList>

#include <algorithm>
#include <cmath>

namespace ov3d::models {

namespace {

QString key(const char* text)
{
    return QString::fromLatin1(text);
}

/// Collects a model as glTF JSON and one binary buffer.
class GltfBuilder
{
public:
    /// An empty folder embeds the textures; otherwise they are named "<folder>/<texture>.png" and kept for saving.
    explicit GltfBuilder(QString textureFolder)
        : m_textureFolder(std::move(textureFolder))
    {
    }

    void add(const Part& part);
    [[nodiscard]] QJsonObject document(const QJsonObject& buffer) const;
    [[nodiscard]] const QByteArray& binary() const { return m_binary; }

    struct Picture
    {
        QString fileName;
        QByteArray png;
    };
    [[nodiscard]] const std::vector<Picture>& pictures() const { return m_pictures; }

private:
    int addView(const QByteArray& bytes, int target);
    int addAccessor(const QByteArray& bytes, int componentType, std::size_t count, const char* type, int target);
    int addMaterial(const Material& material);
    int addTexture(const QImage& picture, const QString& name);
    void addMaps(const Material& material, QJsonObject& look, QJsonObject& out);

    QString m_textureFolder;
    QByteArray m_binary;
    QJsonArray m_views, m_accessors, m_meshes, m_nodes, m_materials, m_textures, m_images, m_extensions;
    QStringList m_materialNames;
    std::vector<Picture> m_pictures;
};

constexpr int kFloat = 5126;
constexpr int kUnsignedInt = 5125;
constexpr int kArrayBuffer = 34962;
constexpr int kElementArrayBuffer = 34963;

QByteArray pngOf(const QImage& image)
{
    QByteArray bytes;
    QBuffer buffer(&bytes);
    buffer.open(QIODevice::WriteOnly);
    image.save(&buffer, "PNG", 30);
    return bytes;
}

QByteArray floats(const std::vector<Vec3>& vectors)
{
    QByteArray bytes;
    for (const Vec3& v : vectors) {
        for (const double x : {v.x, v.y, v.z})
            put<float>(bytes, static_cast<float>(x));
    }
    return bytes;
}

/// Factors of a glTF material are linear, our colours are sRGB.
double linear(double srgb)
{
    const double value = srgb <= 0.04045 ? srgb / 12.92 : std::pow((srgb + 0.055) / 1.055, 2.4);
    return std::round(value * 1e6) / 1e6;
}

bool usesTexture(const Material& material)
{
    return !material.texture.isNull() || !material.emissiveTexture.isNull() || !material.normalTexture.isNull() ||
           !material.surfaceTexture.isNull();
}

int GltfBuilder::addView(const QByteArray& bytes, int target)
{
    QJsonObject view{{key("buffer"), 0}, {key("byteOffset"), m_binary.size()}, {key("byteLength"), bytes.size()}};
    if (target)
        view.insert(key("target"), target);
    m_binary.append(bytes);
    while (m_binary.size() % 4 != 0)
        m_binary.append('\0');
    m_views.append(view);
    return m_views.size() - 1;
}

int GltfBuilder::addAccessor(const QByteArray& bytes, int componentType, std::size_t count, const char* type,
                             int target)
{
    m_accessors.append(QJsonObject{{key("bufferView"), addView(bytes, target)},
                                   {key("componentType"), componentType},
                                   {key("count"), static_cast<qint64>(count)},
                                   {key("type"), key(type)}});
    return m_accessors.size() - 1;
}

int GltfBuilder::addTexture(const QImage& picture, const QString& name)
{
    const QByteArray png = pngOf(picture);
    QJsonObject image{{key("name"), name}};
    if (m_textureFolder.isEmpty()) {
        image.insert(key("bufferView"), addView(png, 0));
        image.insert(key("mimeType"), key("image/png"));
    } else {
        const QString fileName = name + key(".png");
        image.insert(key("uri"), m_textureFolder + QLatin1Char('/') + fileName);
        m_pictures.push_back({fileName, png});
    }
    m_images.append(image);
    m_textures.append(QJsonObject{{key("source"), m_images.size() - 1}, {key("sampler"), 0}});
    return m_textures.size() - 1;
}

void GltfBuilder::addMaps(const Material& material, QJsonObject& look, QJsonObject& out)
{
    const auto map = [&](const QImage& picture, const char* suffix) {
        return QJsonObject{{key("index"), addTexture(picture, material.name + key(suffix))}};
    };
    if (!material.surfaceTexture.isNull()) {
        const QJsonObject surface = map(material.surfaceTexture, "_surface");
        look.insert(key("metallicRoughnessTexture"), surface);
        out.insert(key("occlusionTexture"), surface);
    }
    if (!material.normalTexture.isNull())
        out.insert(key("normalTexture"), map(material.normalTexture, "_normal"));
    if (!material.emissiveTexture.isNull())
        out.insert(key("emissiveTexture"), map(material.emissiveTexture, "_emissive"));
    const Vec3 glow = material.emissive;
    if (glow.x > 0 || glow.y > 0 || glow.z > 0)
        out.insert(key("emissiveFactor"), QJsonArray{linear(glow.x), linear(glow.y), linear(glow.z)});
    if (material.alpha != Alpha::opaque)
        out.insert(key("alphaMode"), key(material.alpha == Alpha::mask ? "MASK" : "BLEND"));
    if (material.doubleSided)
        out.insert(key("doubleSided"), true);
    const auto extend = [&](const char* name, const QJsonObject& content) {
        out.insert(key("extensions"), QJsonObject{{key(name), content}});
        if (!m_extensions.contains(key(name)))
            m_extensions.append(key(name));
    };
    if (material.clearCoat > 0)
        extend("KHR_materials_clearcoat", {{key("clearcoatFactor"), material.clearCoat}});
    if (material.unlit)
        extend("KHR_materials_unlit", {});
}

int GltfBuilder::addMaterial(const Material& material)
{
    const int known = m_materialNames.indexOf(material.name);
    if (known >= 0)
        return known;
    QJsonObject look{{key("metallicFactor"), material.metallic}, {key("roughnessFactor"), material.roughness}};
    if (material.texture.isNull() || material.opacity < 1) {
        const Vec3 c = material.colour;
        look.insert(key("baseColorFactor"), QJsonArray{linear(c.x), linear(c.y), linear(c.z), material.opacity});
    }
    if (!material.texture.isNull())
        look.insert(key("baseColorTexture"),
                    QJsonObject{{key("index"), addTexture(material.texture, material.textureName)}});
    QJsonObject out{{key("name"), material.name}};
    addMaps(material, look, out);
    out.insert(key("pbrMetallicRoughness"), look);
    m_materials.append(out);
    m_materialNames << material.name;
    return m_materials.size() - 1;
}

void GltfBuilder::add(const Part& part)
{
    const Mesh& mesh = part.mesh;
    const int positions = addAccessor(floats(mesh.positions), kFloat, mesh.positions.size(), "VEC3", kArrayBuffer);
    QJsonObject accessor = m_accessors[positions].toObject();
    QJsonArray low, high;
    for (double Vec3::*axis : {&Vec3::x, &Vec3::y, &Vec3::z}) {
        const auto [least, most] = std::ranges::minmax(mesh.positions, {}, axis);
        low.append(static_cast<double>(static_cast<float>(least.*axis)));
        high.append(static_cast<double>(static_cast<float>(most.*axis)));
    }
    accessor.insert(key("min"), low);
    accessor.insert(key("max"), high);
    m_accessors[positions] = accessor;

    QJsonObject attributes{{key("POSITION"), positions}};
    attributes.insert(key("NORMAL"),
                      addAccessor(floats(mesh.normals), kFloat, mesh.normals.size(), "VEC3", kArrayBuffer));
    if (usesTexture(part.material)) {
        QByteArray uvs;
        for (const Vec2& uv : mesh.uvs) {
            put<float>(uvs, static_cast<float>(uv.x));
            put<float>(uvs, static_cast<float>(uv.y));
        }
        attributes.insert(key("TEXCOORD_0"), addAccessor(uvs, kFloat, mesh.uvs.size(), "VEC2", kArrayBuffer));
    }
    QByteArray indices;
    for (const std::uint32_t index : mesh.indices)
        put<std::uint32_t>(indices, index);
    const QJsonObject primitive{
        {key("attributes"), attributes},
        {key("indices"), addAccessor(indices, kUnsignedInt, mesh.indices.size(), "SCALAR", kElementArrayBuffer)},
        {key("material"), addMaterial(part.material)},
    };
    m_meshes.append(QJsonObject{{key("name"), part.name}, {key("primitives"), QJsonArray{primitive}}});
    m_nodes.append(QJsonObject{{key("name"), part.name}, {key("mesh"), m_meshes.size() - 1}});
}

QJsonObject GltfBuilder::document(const QJsonObject& buffer) const
{
    QJsonArray roots;
    for (int i = 0; i < m_nodes.size(); ++i)
        roots.append(i);
    QJsonArray buffers;
    buffers.append(buffer);
    QJsonArray scenes;
    scenes.append(QJsonObject{{key("nodes"), roots}});
    QJsonObject root{
        {key("asset"), QJsonObject{{key("version"), key("2.0")}, {key("generator"), key("ov3d-make-models")}}},
        {key("scene"), 0},
        {key("scenes"), scenes},
        {key("nodes"), m_nodes},
        {key("meshes"), m_meshes},
        {key("materials"), m_materials},
        {key("accessors"), m_accessors},
        {key("bufferViews"), m_views},
        {key("buffers"), buffers},
    };
    if (!m_extensions.isEmpty())
        root.insert(key("extensionsUsed"), m_extensions);
    if (!m_textures.isEmpty()) {
        // Linear filtering with mipmaps, repeated in both directions.
        const QJsonObject sampler{
            {key("magFilter"), 9729}, {key("minFilter"), 9987}, {key("wrapS"), 10497}, {key("wrapT"), 10497}};
        root.insert(key("samplers"), QJsonArray{sampler});
        root.insert(key("textures"), m_textures);
        root.insert(key("images"), m_images);
    }
    return root;
}

} // namespace

QString writeGlb(const QString& path, const Model& model)
{
    GltfBuilder builder{{}};
    for (const Part& part : model)
        builder.add(part);
    const QJsonObject buffer{{key("byteLength"), builder.binary().size()}};
    QByteArray json = QJsonDocument(builder.document(buffer)).toJson(QJsonDocument::Compact);
    while (json.size() % 4 != 0)
        json.append(' ');

    QByteArray file;
    file.append("glTF");
    put<std::uint32_t>(file, 2);
    put<std::uint32_t>(file, static_cast<std::uint32_t>(12 + 8 + json.size() + 8 + builder.binary().size()));
    put<std::uint32_t>(file, static_cast<std::uint32_t>(json.size()));
    file.append("JSON").append(json);
    put<std::uint32_t>(file, static_cast<std::uint32_t>(builder.binary().size()));
    file.append("BIN\0", 4).append(builder.binary());
    return writeFile(path, file);
}

QString writeGltf(const QString& path, const Model& model, const QString& sideFolder)
{
    GltfBuilder builder(sideFolder);
    for (const Part& part : model)
        builder.add(part);
    const QFileInfo file(path);
    const QString side = file.path() + QLatin1Char('/') + sideFolder + QLatin1Char('/');
    const QString binName = file.completeBaseName() + key(".bin");
    const QJsonObject buffer{{key("uri"), sideFolder + QLatin1Char('/') + binName},
                             {key("byteLength"), builder.binary().size()}};
    QString error = writeFile(side + binName, builder.binary());
    for (const auto& picture : builder.pictures()) {
        if (error.isEmpty())
            error = writeFile(side + picture.fileName, picture.png);
    }
    return error.isEmpty() ? writeFile(path, QJsonDocument(builder.document(buffer)).toJson()) : error;
}

} // namespace ov3d::models
