#include "viewer/renderer/import/gltfnumbers.h"

#include <algorithm>
#include <map>

namespace ov3d::renderer {
namespace {

/// A piece of the text and what stands there instead.
struct Edit
{
    std::string_view old;
    std::string text;
};

std::string encodeBase64(const std::string& bytes)
{
    constexpr std::string_view digits = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string text;
    text.reserve(bytes.size() / 3 * 4 + 4);
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        unsigned bits = 0;
        const std::size_t count = std::min<std::size_t>(3, bytes.size() - i);
        for (std::size_t k = 0; k < 3; ++k)
            bits = bits << 8 | (k < count ? static_cast<unsigned char>(bytes[i + k]) : 0U);
        for (std::size_t k = 0; k < 4; ++k)
            text += k <= count ? digits[bits >> (18 - 6 * k) & 63U] : '=';
    }
    return text;
}

bool isDrawn(const std::string& attribute)
{
    return attribute == "POSITION" || attribute == "NORMAL" || attribute.rfind("TEXCOORD_", 0) == 0;
}

class Rewriter
{
public:
    Rewriter(std::string_view json, JsonValue root, GltfAccessors& accessors)
        : m_json(json)
        , m_root(root)
        , m_accessors(accessors)
    {
    }

    std::string run(const std::vector<std::string_view>& hidden);

private:
    void redirect(JsonValue attributes);
    std::size_t converted(JsonValue index);
    void append(const char* list, const std::string& elements);
    std::string apply();

    std::string_view m_json;
    JsonValue m_root;
    GltfAccessors& m_accessors;
    std::map<std::uint64_t, std::size_t> m_converted; ///< new index by old one
    std::string m_newAccessors, m_newViews, m_newBuffers;
    std::vector<Edit> m_edits;
};

std::size_t Rewriter::converted(JsonValue index)
{
    const auto [known, isNew] =
        m_converted.try_emplace(index.index(0), m_root["accessors"].size() + m_converted.size());
    if (isNew) {
        const GltfAccessors::Accessor& accessor = *m_accessors.at(index);
        const std::vector<float> numbers = m_accessors.floats(accessor);
        const std::string bytes(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(float));
        const std::size_t number = m_converted.size() - 1;
        const std::string length = "{\"byteLength\":" + std::to_string(bytes.size());
        m_newBuffers += "," + length + ",\"uri\":\"data:application/octet-stream;base64," + encodeBase64(bytes) + "\"}";
        m_newViews += "," + length + ",\"buffer\":" + std::to_string(m_root["buffers"].size() + number) + "}";
        m_newAccessors += ",{\"bufferView\":" + std::to_string(m_root["bufferViews"].size() + number) +
                          ",\"componentType\":5126,\"count\":" + std::to_string(accessor.count) + ",\"type\":\"VEC" +
                          std::to_string(accessor.components) + "\"}";
    }
    return known->second;
}

void Rewriter::redirect(JsonValue attributes)
{
    for (JsonValue attribute = attributes.first(); attribute; attribute = attribute.next()) {
        const GltfAccessors::Accessor* accessor = m_accessors.at(attribute);
        if (accessor != nullptr && isDrawn(attribute.name()) && isConvertible(*accessor))
            m_edits.push_back({attribute.span(), std::to_string(converted(attribute))});
    }
}

void Rewriter::append(const char* list, const std::string& elements)
{
    const std::string_view span = m_root[list].span();
    m_edits.push_back({span.substr(span.size() - 1), elements + "]"});
}

std::string Rewriter::run(const std::vector<std::string_view>& hidden)
{
    for (JsonValue mesh = m_root["meshes"].first(); mesh; mesh = mesh.next())
        for (JsonValue part = mesh["primitives"].first(); part; part = part.next()) {
            if (part["extensions"]["KHR_draco_mesh_compression"])
                continue;
            redirect(part["attributes"]);
            for (JsonValue target = part["targets"].first(); target; target = target.next())
                redirect(target);
        }
    if (m_edits.empty())
        return {};
    append("accessors", m_newAccessors);
    append("bufferViews", m_newViews);
    append("buffers", m_newBuffers);
    for (const std::string_view name : hidden)
        m_edits.push_back({name, "-"});
    return apply();
}

std::string Rewriter::apply()
{
    std::sort(m_edits.begin(), m_edits.end(), [](const Edit& a, const Edit& b) { return a.old.data() < b.old.data(); });
    std::string text;
    const char* at = m_json.data();
    for (const Edit& edit : m_edits) {
        text.append(at, edit.old.data());
        text += edit.text;
        at = edit.old.data() + edit.old.size();
    }
    return text.append(at, m_json.data() + m_json.size());
}

} // namespace

bool isConvertible(const GltfAccessors::Accessor& accessor)
{
    return accessor.component_type != GltfAccessors::kFloat && accessor.has_view && !accessor.is_sparse &&
           accessor.fault.empty() && (accessor.components == 2 || accessor.components == 3);
}

std::string withFloats(std::string_view json, JsonValue root, GltfAccessors& accessors,
                       const std::vector<std::string_view>& hidden)
{
    return Rewriter(json, root, accessors).run(hidden);
}

} // namespace ov3d::renderer
