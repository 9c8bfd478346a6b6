#include "viewer/renderer/import/gltfcheck.h"

#include "viewer/renderer/import/gltfaccessors.h"
#include "viewer/renderer/import/gltfmeshes.h"
#include "viewer/renderer/import/gltfnumbers.h"
#include "viewer/renderer/import/jsontree.h"

#include <algorithm>
#include <array>

namespace ov3d::renderer {
namespace {

/// Without these there is no geometry.
constexpr std::array<std::string_view, 3> kMissingCompressions = {"EXT_meshopt_compression", "KHR_meshopt_compression",
                                                                  "MESHOPT_compression"};

/// Those that are read, or that change no more than how light falls.
constexpr std::array<std::string_view, 8> kHarmlessExtensions = {
    "KHR_draco_mesh_compression",
    "KHR_texture_transform",
    "KHR_lights_punctual",
    "KHR_mesh_quantization",
    "KHR_materials_unlit",
    "KHR_materials_variants",
    "KHR_xmp_json_ld",
    "KHR_materials_pbrSpecularGlossiness",
};

std::string checkVersion(JsonValue root)
{
    const JsonValue version = root["asset"]["version"];
    const std::string text = version.isText() ? version.text() : std::string();
    if (text.empty())
        return "is not valid glTF: it gives no version";
    return text[0] == '2' ? "" : "is of glTF version " + text.substr(0, 10) + "; only version 2.0 can be read";
}

std::string checkExtensions(JsonValue root, std::vector<std::string>& notes)
{
    for (JsonValue required = root["extensionsRequired"].first(); required; required = required.next()) {
        const std::string name = required.text().substr(0, 60);
        if (std::find(kMissingCompressions.begin(), kMissingCompressions.end(), name) != kMissingCompressions.end())
            return "is compressed by " + name + ", which cannot be read";
        const bool isHarmless =
            name.rfind("KHR_materials_", 0) == 0 ||
            std::find(kHarmlessExtensions.begin(), kHarmlessExtensions.end(), name) != kHarmlessExtensions.end();
        if (!isHarmless)
            notes.push_back("the extension " + name + " is not read");
    }
    return {};
}

/// Follows every chain of nodes once, without recursion.
std::string checkNodes(JsonValue root)
{
    std::vector<JsonValue> nodes;
    for (JsonValue node = root["nodes"].first(); node; node = node.next())
        nodes.push_back(node);
    std::vector<std::vector<std::uint32_t>> children(nodes.size());
    std::vector<std::uint32_t> parents(nodes.size(), 0);
    for (std::size_t i = 0; i < nodes.size(); ++i)
        for (JsonValue child = nodes[i]["children"].first(); child; child = child.next()) {
            const std::uint64_t index = child.index(nodes.size());
            if (index >= nodes.size())
                return "is damaged: a node names one that does not exist";
            if (parents[index]++ > 0)
                return "is damaged: a node stands in two places";
            children[i].push_back(static_cast<std::uint32_t>(index));
        }

    std::vector<std::pair<std::uint32_t, int>> stack;
    std::size_t seen = 0;
    for (std::uint32_t i = 0; i < nodes.size(); ++i)
        if (parents[i] == 0)
            stack.emplace_back(i, 1);
    while (!stack.empty()) {
        const auto [node, depth] = stack.back();
        stack.pop_back();
        ++seen;
        if (depth > kMaxNodeDepth)
            return "nests its nodes too deeply";
        for (const std::uint32_t child : children[node])
            stack.emplace_back(child, depth + 1);
    }
    // With one parent at most, what no root leads to goes round in a circle.
    return seen == nodes.size() ? "" : "is damaged: a node contains itself";
}

std::string checkCounts(JsonValue root)
{
    for (const char* list : {"materials", "textures", "images"})
        if (root[list].size() > kMaxGltfMaterials)
            return std::string("holds more ") + list + " than allowed";
    return {};
}

/// Readers look for the part behind the slash without a look at whether there is one.
bool isMediaType(const std::string& kind)
{
    return kind.substr(0, kind.find('\0')).find('/') != std::string::npos;
}

bool hasMediaType(std::string_view dataUri)
{
    constexpr std::string_view kScheme = "data:";
    if (dataUri.substr(0, kScheme.size()) != kScheme)
        return true;
    dataUri.remove_prefix(kScheme.size());
    const std::string kind(dataUri.substr(0, dataUri.find_first_of(";,")));
    return kind.empty() || isMediaType(kind);
}

std::string checkImages(JsonValue root, const GltfAccessors& accessors)
{
    for (JsonValue image = root["images"].first(); image; image = image.next()) {
        if (const JsonValue view = image["bufferView"])
            if (std::string reason = accessors.faultOfView(view); !reason.empty())
                return reason;
        if (!hasMediaType(image["uri"].text()))
            return "is damaged: an image's data has no media type";
    }
    return {};
}

void hideBrokenMediaTypes(JsonValue root, std::vector<std::string_view>& hidden)
{
    for (JsonValue image = root["images"].first(); image; image = image.next())
        for (JsonValue member = image.first(); member; member = member.next())
            if (member.name() == "mimeType" && !isMediaType(member.text()))
                hidden.push_back(member.rawName());
}

/// Readers take the first bone of a skeleton without a look at how many there are.
void hideEmptySkins(JsonValue root, std::vector<std::string_view>& hidden, std::vector<std::string>& notes)
{
    std::vector<bool> isEmpty;
    for (JsonValue skin = root["skins"].first(); skin; skin = skin.next())
        isEmpty.push_back(skin["joints"].size() == 0);
    const std::size_t before = hidden.size();
    for (JsonValue node = root["nodes"].first(); node; node = node.next()) {
        const std::uint64_t skin = node["skin"].index(isEmpty.size());
        if (skin >= isEmpty.size() || !isEmpty[skin])
            continue;
        for (JsonValue member = node.first(); member; member = member.next())
            if (member.name() == "skin")
                hidden.push_back(member.rawName());
    }
    if (hidden.size() > before)
        notes.emplace_back("a skeleton without bones is not followed");
}

std::vector<std::string_view> hiddenMembers(JsonValue root, std::vector<std::string>& notes)
{
    std::vector<std::string_view> hidden;
    hideEmptySkins(root, hidden, notes);
    hideBrokenMediaTypes(root, hidden);
    for (JsonValue member = root.first(); member; member = member.next())
        if (member.name() == "animations")
            hidden.push_back(member.rawName());
    return hidden;
}

} // namespace

GltfCheck checkGltf(std::string_view json, std::string_view binary, const SideFiles& sideFiles)
{
    GltfCheck result;
    JsonTree tree;
    if (!tree.parse(json, result.reason))
        return result;
    const JsonValue root = tree.root();
    if (!root.isObject())
        result.reason = "is not valid glTF";
    if (result.reason.empty())
        result.reason = checkVersion(root);
    if (result.reason.empty())
        result.reason = checkExtensions(root, result.notes);
    if (result.reason.empty())
        result.reason = checkNodes(root);
    if (result.reason.empty())
        result.reason = checkCounts(root);
    if (!result.reason.empty())
        return result;

    GltfAccessors accessors(root, binary, sideFiles);
    result.reason = accessors.read();
    if (result.reason.empty())
        result.reason = checkGltfMeshes(root, accessors, result.notes);
    if (result.reason.empty())
        result.reason = checkImages(root, accessors);
    if (!result.reason.empty())
        return result;
    result.hidden = hiddenMembers(root, result.notes);
    result.json = rewrittenGltf(json, root, accessors, result.hidden);
    const JsonValue first = root["buffers"].first();
    const JsonValue address = first["uri"];
    result.first_buffer_is_elsewhere =
        (address && (binary.empty() || address.rawText().substr(0, 5) == "data:")) || (!first && !result.json.empty());
    return result;
}

} // namespace ov3d::renderer
