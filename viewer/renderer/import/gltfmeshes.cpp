#include "viewer/renderer/import/gltfmeshes.h"

#include "viewer/renderer/import/gltfcheck.h"
#include "viewer/renderer/import/gltfnumbers.h"

#include <algorithm>
#include <string_view>
#include <vector>

namespace ov3d::renderer {
namespace {

using Accessor = GltfAccessors::Accessor;

constexpr std::uint64_t kNone = ~std::uint64_t{0};
constexpr unsigned kUnsignedByte = 5121;
constexpr unsigned kUnsignedShort = 5123;
/// Modes of a primitive.
constexpr std::uint64_t kLineLoop = 2;
constexpr std::uint64_t kLineStrip = 3;
constexpr std::uint64_t kTriangles = 4;
constexpr std::uint64_t kTriangleStrip = 5;
constexpr std::uint64_t kTriangleFan = 6;

const char* const kUnknownNumbers = "is damaged: a mesh names numbers that do not exist";
const char* const kOtherCount = "is damaged: a mesh has not one value of each kind for each vertex";

bool isVector(const Accessor& accessor, unsigned components)
{
    return accessor.component_type == GltfAccessors::kFloat && accessor.components == components;
}

bool beginsWith(std::string_view text, std::string_view begin)
{
    return text.substr(0, begin.size()) == begin;
}

std::string checkAttribute(const std::string& name, const Accessor& accessor, std::uint64_t vertices)
{
    if (!accessor.fault.empty())
        return accessor.fault;
    if (name == "POSITION" && accessor.component_type != GltfAccessors::kFloat && !isConvertible(accessor))
        return "keeps its positions in a way that cannot be read";
    if (name == "POSITION" && accessor.components != 3)
        return "is damaged: positions have not three coordinates";
    if (accessor.count != vertices)
        return kOtherCount;
    const bool fits = name == "NORMAL" ? accessor.components == 3
                      : beginsWith(name, "JOINTS_")
                          ? accessor.components == 4 &&
                                (accessor.component_type == kUnsignedByte || accessor.component_type == kUnsignedShort)
                      : beginsWith(name, "WEIGHTS_")  ? accessor.components == 4
                      : beginsWith(name, "TEXCOORD_") ? accessor.components <= 3
                      : beginsWith(name, "COLOR_")    ? accessor.components == 3 || accessor.components == 4
                                                      : true;
    return fits ? "" : "is damaged: " + name.substr(0, 20) + " of a mesh is of no valid kind";
}

std::string checkTargets(JsonValue targets, const GltfAccessors& accessors, std::uint64_t vertices)
{
    for (JsonValue target = targets.first(); target; target = target.next())
        for (JsonValue attribute = target.first(); attribute; attribute = attribute.next()) {
            const Accessor* accessor = accessors.at(attribute);
            if (accessor == nullptr)
                return kUnknownNumbers;
            if (!accessor->fault.empty())
                return accessor->fault;
            if (accessor->count != vertices)
                return kOtherCount;
            const std::string name = attribute.name();
            const bool fits = isVector(*accessor, 3) || (accessor->components == 3 && isConvertible(*accessor));
            if ((name == "POSITION" || name == "NORMAL" || name == "TANGENT") && !fits)
                return "is damaged: a shape of a mesh is of no valid kind";
        }
    return {};
}

/// Importers subtract from the number of corners in strips and fans without a look at it.
bool isShortStrip(std::uint64_t mode, std::uint64_t corners)
{
    return ((mode == kLineLoop || mode == kLineStrip) && corners < 2) || ((mode == kTriangleStrip || mode == kTriangleFan) && corners < 3);
}

/// Each piece of these begins where the one before ended, so importers cannot leave one out.
bool isChain(std::uint64_t mode)
{
    return mode == kLineLoop || mode == kLineStrip || mode == kTriangleStrip || mode == kTriangleFan;
}

/// What the parts of a mesh ask for.
struct Demands
{
    std::uint64_t corners = 0;
    std::uint64_t largest_joint = 0;
    bool unknown_corners = false; ///< faces whose corners do not exist, which importers leave out
};

std::string checkPrimitive(JsonValue primitive, GltfAccessors& accessors, Demands& demands)
{
    const JsonValue attributes = primitive["attributes"];
    const JsonValue positions = attributes["POSITION"];
    const Accessor* position = accessors.at(positions);
    if (positions && position == nullptr)
        return kUnknownNumbers;
    const std::uint64_t mode = primitive["mode"].index(kTriangles);
    if (position == nullptr) // nothing to draw, and nothing that anybody reads but for the chains
        return isChain(mode) ? "is damaged: a strip has no positions" : "";
    for (JsonValue attribute = attributes.first(); attribute; attribute = attribute.next()) {
        const Accessor* accessor = accessors.at(attribute);
        if (accessor == nullptr)
            return kUnknownNumbers;
        const std::string name = attribute.name();
        if (std::string reason = checkAttribute(name, *accessor, position->count); !reason.empty())
            return reason;
        if (beginsWith(name, "JOINTS_"))
            demands.largest_joint = std::max(demands.largest_joint, accessors.largest(attribute));
    }
    if (const JsonValue draco = primitive["extensions"]["KHR_draco_mesh_compression"])
        if (std::string reason = accessors.faultOfView(draco["bufferView"]); !reason.empty())
            return reason;
    const JsonValue indices = primitive["indices"];
    const Accessor* index = accessors.at(indices);
    if (indices && index == nullptr)
        return kUnknownNumbers;
    if (index != nullptr && !index->fault.empty())
        return index->fault;
    if (index != nullptr && (index->components != 1 || index->component_type == GltfAccessors::kFloat))
        return "is damaged: the corners of a mesh are no whole numbers";
    const std::uint64_t corners = index != nullptr ? index->count : position->count;
    demands.corners += corners;
    if (isShortStrip(mode, corners))
        return "is damaged: a strip has too few corners";
    if (index != nullptr && index->count > 0 && accessors.largest(indices) >= position->count) {
        if (isChain(mode))
            return "is damaged: a strip has corners that do not exist";
        demands.unknown_corners = true;
    }
    return checkTargets(primitive["targets"], accessors, position->count);
}

/// @param joints receives the number of bones of each skin.
std::string checkSkins(JsonValue root, const GltfAccessors& accessors, std::vector<std::uint64_t>& joints)
{
    const std::uint64_t nodes = root["nodes"].size();
    for (JsonValue skin = root["skins"].first(); skin; skin = skin.next()) {
        const JsonValue bones = skin["joints"];
        for (JsonValue bone = bones.first(); bone; bone = bone.next())
            if (bone.index(kNone) >= nodes)
                return "is damaged: a skeleton names a bone that does not exist";
        if (bones.size() > kMaxBones)
            return "has a skeleton of more bones than allowed";
        const JsonValue matrices = skin["inverseBindMatrices"];
        const Accessor* accessor = accessors.at(matrices);
        if (accessor != nullptr && !accessor->fault.empty())
            return accessor->fault;
        if (matrices && (accessor == nullptr || !isVector(*accessor, 16) || accessor->count < bones.size()))
            return "is damaged: a skeleton has not one matrix for each bone";
        joints.push_back(bones.size());
    }
    return {};
}

} // namespace

std::string checkGltfMeshes(JsonValue root, GltfAccessors& accessors, std::vector<std::string>& notes)
{
    std::vector<std::uint64_t> joints;
    std::string reason = checkSkins(root, accessors, joints);
    std::vector<Demands> meshes;
    std::uint64_t corners = 0;
    for (JsonValue mesh = root["meshes"].first(); mesh && reason.empty(); mesh = mesh.next()) {
        meshes.emplace_back();
        for (JsonValue part = mesh["primitives"].first(); part && reason.empty(); part = part.next())
            reason = checkPrimitive(part, accessors, meshes.back());
        corners += meshes.back().corners;
        if (reason.empty() && (corners > kMaxGltfCorners || accessors.isExhausted()))
            reason = kTooManyElements;
    }
    for (JsonValue node = root["nodes"].first(); node && reason.empty(); node = node.next()) {
        const std::uint64_t mesh = node["mesh"].index(kNone);
        const std::uint64_t skin = node["skin"].index(kNone);
        if (node["mesh"] && mesh >= meshes.size())
            reason = "is damaged: a node names a mesh that does not exist";
        else if (node["skin"] && skin >= joints.size())
            reason = "is damaged: a node names a skeleton that does not exist";
        else if (node["mesh"] && node["skin"] && joints[skin] > 0 && meshes[mesh].largest_joint >= joints[skin])
            reason = "is damaged: a vertex hangs on a bone that does not exist";
    }
    if (std::any_of(meshes.begin(), meshes.end(), [](const Demands& demands) { return demands.unknown_corners; }))
        notes.emplace_back("faces with corners that do not exist left out");
    return reason;
}

} // namespace ov3d::renderer
