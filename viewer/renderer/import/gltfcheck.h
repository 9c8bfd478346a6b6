#pragma once

#include "viewer/renderer/import/sidefiles.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ov3d::renderer {

/// Deepest chain of nodes within nodes. Skeletons reach a hundred.
inline constexpr int kMaxNodeDepth = 1000;
/// Most elements of an accessor.
inline constexpr std::uint64_t kMaxAccessorElements = 200'000'000;
/// Most elements that the check looks at, those that accessors share counted with each of them.
inline constexpr std::uint64_t kMaxCheckedElements = 1'000'000'000;
/// Most corners of all meshes, those of accessors that meshes share counted with each of them.
inline constexpr std::uint64_t kMaxGltfCorners = 200'000'000;
/// Most bones of a skeleton: vertices name them by 16 bits.
inline constexpr std::size_t kMaxBones = 65'536;
/// Most materials, and most textures and images each. A material that is drawn takes 120 KB and a draw call of its own.
inline constexpr std::uint64_t kMaxGltfMaterials = 10'000;

inline constexpr const char* kTooManyElements = "claims more elements than allowed";

struct GltfCheck
{
    std::string reason;             ///< empty when the file may be imported
    std::vector<std::string> notes; ///< what the file holds and nobody shows, in plain words
    /// Names of members that importers had better not see, as they stand in the text.
    std::vector<std::string_view> hidden;
    /// The text that importers are to read instead, with `hidden` applied; empty when the file's own will do.
    std::string json;
    /// Whether a GLB's first buffer is not its binary part.
    bool first_buffer_is_elsewhere = false;
};

/// Checks what Assimp takes on trust in a glTF 2.0: that views lie in their buffers and accessors in their views, that
/// vertices have one value of each attribute, that bones and sparse elements exist, that nodes form a tree that is not
/// too deep; and that the file needs no extension that changes what geometry means.
///
/// @param json    of nesting that has been checked; outlives the result.
/// @param binary  the binary part of a GLB, or nothing.
/// @param sideFiles finds buffers; nothing is noted there.
/// Throws std::bad_alloc.
GltfCheck checkGltf(std::string_view json, std::string_view binary, const SideFiles& sideFiles);

} // namespace ov3d::renderer
