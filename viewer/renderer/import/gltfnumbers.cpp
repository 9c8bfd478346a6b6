#include "viewer/renderer/import/gltfnumbers.h"

#include <algorithm>
#include <charconv>
#include <cmath>
#include <iterator>
#include <map>
#include <set>
#include <utility>

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
        , m_oldAccessors(root["accessors"].size())
        , m_oldViews(root["bufferViews"].size())
        , m_oldBuffers(root["buffers"].size())
    {
    }

    std::string run(const std::vector<std::string_view>& hidden);

private:
    void redirect(JsonValue attributes);
    std::size_t converted(JsonValue index);
    void addMatrices();
    void pose();
    void poseBy(JsonValue sampler, JsonValue node, const std::string& path);
    void setNumbers(JsonValue object, const std::string& member, const std::vector<float>& numbers);
    std::size_t add(const std::vector<float>& numbers, std::uint64_t count, const std::string& type);
    void insert(JsonValue object, const std::string& members);
    void append(const char* list, const std::string& elements);
    std::string apply();

    std::string_view m_json;
    JsonValue m_root;
    GltfAccessors& m_accessors;
    const std::size_t m_oldAccessors, m_oldViews, m_oldBuffers;
    std::map<std::uint64_t, std::size_t> m_converted; ///< new index by old one
    std::size_t m_added = 0;
    std::vector<JsonValue> m_meshes;
    /// Objects and their new members, by the place of the object.
    std::map<const char*, std::pair<JsonValue, std::string>> m_posed;
    std::set<std::uint64_t> m_shaped; ///< meshes whose shapes are set
    std::string m_newAccessors, m_newViews, m_newBuffers, m_newMembers;
    std::vector<Edit> m_edits;
};

/// @return index of the new accessor.
std::size_t Rewriter::add(const std::vector<float>& numbers, std::uint64_t count, const std::string& type)
{
    const std::string bytes(reinterpret_cast<const char*>(numbers.data()), numbers.size() * sizeof(float));
    const std::string length = "{\"byteLength\":" + std::to_string(bytes.size());
    const std::string comma = m_added > 0 ? "," : "";
    m_newBuffers += comma + length + ",\"uri\":\"data:application/octet-stream;base64," + encodeBase64(bytes) + "\"}";
    m_newViews += comma + length + ",\"buffer\":" + std::to_string(m_oldBuffers + m_added) + "}";
    m_newAccessors += comma + "{\"bufferView\":" + std::to_string(m_oldViews + m_added) +
                      ",\"componentType\":5126,\"count\":" + std::to_string(count) + ",\"type\":\"" + type + "\"}";
    return m_oldAccessors + m_added++;
}

std::size_t Rewriter::converted(JsonValue index)
{
    const auto [known, isNew] = m_converted.try_emplace(index.index(0), 0);
    if (isNew) {
        const GltfAccessors::Accessor& accessor = *m_accessors.at(index);
        known->second = add(m_accessors.floats(accessor), accessor.count, "VEC" + std::to_string(accessor.components));
    }
    return known->second;
}

/// One list of identity matrices serves all skeletons that have none of their own.
void Rewriter::addMatrices()
{
    std::vector<JsonValue> skins;
    std::size_t bones = 0;
    for (JsonValue skin = m_root["skins"].first(); skin; skin = skin.next())
        if (skin.isObject() && !skin["inverseBindMatrices"] && skin["joints"].size() > 0) {
            skins.push_back(skin);
            bones = std::max(bones, skin["joints"].size());
        }
    if (skins.empty())
        return;
    std::vector<float> numbers(bones * 16, 0.0f);
    for (std::size_t i = 0; i < numbers.size(); i += i % 16 == 15 ? 1 : 5)
        numbers[i] = 1.0f;
    const std::size_t accessor = add(numbers, bones, "MAT4");
    for (const JsonValue skin : skins)
        insert(skin, "\"inverseBindMatrices\":" + std::to_string(accessor));
}

void Rewriter::redirect(JsonValue attributes)
{
    for (JsonValue attribute = attributes.first(); attribute; attribute = attribute.next()) {
        const GltfAccessors::Accessor* accessor = m_accessors.at(attribute);
        if (accessor != nullptr && isDrawn(attribute.name()) && isConvertible(*accessor))
            m_edits.push_back({attribute.span(), std::to_string(converted(attribute))});
    }
}

/// Members come first in their object, and before others of the same names.
void Rewriter::insert(JsonValue object, const std::string& members)
{
    m_edits.push_back({object.span().substr(0, 1), "{" + members + (object.size() > 0 ? "," : "")});
}

/// Puts nodes and shapes where the first animation begins.
void Rewriter::pose()
{
    const JsonValue animation = m_root["animations"].first();
    std::vector<JsonValue> samplers, nodes;
    for (JsonValue sampler = animation["samplers"].first(); sampler; sampler = sampler.next())
        samplers.push_back(sampler);
    for (JsonValue node = m_root["nodes"].first(); node && !samplers.empty(); node = node.next())
        nodes.push_back(node);
    for (JsonValue mesh = m_root["meshes"].first(); mesh && !samplers.empty(); mesh = mesh.next())
        m_meshes.push_back(mesh);
    std::set<std::pair<std::uint64_t, std::string>> known;
    for (JsonValue channel = animation["channels"].first(); channel; channel = channel.next()) {
        const std::uint64_t sampler = channel["sampler"].index(samplers.size());
        const std::uint64_t node = channel["target"]["node"].index(nodes.size());
        const std::string path = channel["target"]["path"].text();
        if (sampler < samplers.size() && node < nodes.size() && known.emplace(node, path).second)
            poseBy(samplers[sampler], nodes[node], path);
    }
    for (const auto& [at, posed] : m_posed)
        insert(posed.first, posed.second);
}

void Rewriter::poseBy(JsonValue sampler, JsonValue node, const std::string& path)
{
    const bool ofShapes = path == "weights";
    const std::uint64_t mesh = node["mesh"].index(m_meshes.size());
    if ((path != "translation" && path != "rotation" && path != "scale" && !ofShapes) || node["matrix"] ||
        (ofShapes && mesh >= m_meshes.size()))
        return;
    // A mesh of several nodes stands as the first of them says.
    if (ofShapes && !m_shaped.insert(mesh).second)
        return;
    const std::size_t shapes = ofShapes ? m_meshes[mesh]["primitives"].first()["targets"].size() : 1;
    const std::size_t components = ofShapes ? 1 : path == "rotation" ? 4 : 3;
    // Between two tangents stands the value.
    const std::size_t before = sampler["interpolation"].text() == "CUBICSPLINE" ? shapes : 0;
    const GltfAccessors::Accessor* accessor = m_accessors.at(sampler["output"]);
    if (accessor == nullptr || !accessor->fault.empty() || !accessor->has_view || accessor->is_sparse ||
        accessor->components != components || accessor->count < shapes + before || shapes == 0)
        return;
    GltfAccessors::Accessor beginning = *accessor;
    beginning.count = shapes + before;
    std::vector<float> numbers = m_accessors.floats(beginning);
    numbers.erase(numbers.begin(), numbers.begin() + static_cast<std::ptrdiff_t>(before * components));
    const bool isUsable =
        std::all_of(numbers.begin(), numbers.end(), [](float n) { return std::isfinite(n); }) &&
        (path != "rotation" || std::any_of(numbers.begin(), numbers.end(), [](float n) { return n != 0; }));
    if (isUsable)
        setNumbers(ofShapes ? m_meshes[mesh] : node, path, numbers);
}

/// Changes nothing where the numbers stand already, or are those that hold without any.
void Rewriter::setNumbers(JsonValue object, const std::string& member, const std::vector<float>& numbers)
{
    const JsonValue old = object[member];
    if (!object.isObject() || (old && !old.isArray()))
        return;
    std::vector<float> present(numbers.size(), member == "scale" ? 1.0f : 0.0f);
    if (member == "rotation")
        present.back() = 1.0f;
    if (old)
        present.clear();
    for (JsonValue number = old.first(); number; number = number.next())
        present.push_back(static_cast<float>(number.number(0)));
    if (present == numbers)
        return;
    std::string text;
    for (const float number : numbers) {
        char digits[32];
        const auto end = std::to_chars(std::begin(digits), std::end(digits), number).ptr;
        text.append(text.empty() ? "[" : ",").append(digits, end);
    }
    text += "]";
    if (old) {
        m_edits.push_back({old.span(), text});
        return;
    }
    auto& [place, members] = m_posed[object.span().data()];
    place = object;
    members.append(members.empty() ? "\"" : ",\"").append(member).append("\":").append(text);
}

void Rewriter::append(const char* list, const std::string& elements)
{
    const JsonValue old = m_root[list];
    const std::string_view span = old.span();
    if (!old)
        m_newMembers.append(m_newMembers.empty() ? "\"" : ",\"").append(list).append("\":[").append(elements) += "]";
    else
        m_edits.push_back({span.substr(span.size() - 1), (old.size() > 0 ? "," : "") + elements + "]"});
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
    addMatrices();
    pose();
    if (m_edits.empty())
        return {};
    if (m_added > 0) {
        append("accessors", m_newAccessors);
        append("bufferViews", m_newViews);
        append("buffers", m_newBuffers);
    }
    if (!m_newMembers.empty())
        insert(m_root, m_newMembers);
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

std::string rewrittenGltf(std::string_view json, JsonValue root, GltfAccessors& accessors,
                          const std::vector<std::string_view>& hidden)
{
    return Rewriter(json, root, accessors).run(hidden);
}

} // namespace ov3d::renderer
