#pragma once

#include "viewer/renderer/import/threemfpackage.h"
#include "viewer/renderer/import/zippackage.h"

#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

namespace ov3d::renderer {

inline constexpr std::size_t kMaxThreeMfObjects = 200'000;
inline constexpr std::size_t kMaxThreeMfRelations = 20'000;
/// Deepest nesting of components within components.
inline constexpr int kMaxComponentDepth = 100;
/// Most placements of objects, those within components counted with each of their places.
inline constexpr std::uint64_t kMaxPlacedObjects = 500'000;
/// Most triangles, each counted with each of its places.
inline constexpr std::uint64_t kMaxPlacedTriangles = 20'000'000;
/// Most name spaces that a model calls indispensable.
inline constexpr int kMaxRequiredExtensions = 64;

inline constexpr const char* kRepeatsTooOften = "repeats its objects too often";
inline constexpr const char* kNestsTooDeeply = "nests its components too deeply";

struct ThreeMfCheck
{
    std::string reason;                   ///< empty when the package may be imported
    std::vector<std::string> notes;       ///< what the package holds and nobody shows, in plain words
    std::vector<std::string> models;      ///< names of the entries that are model parts
    std::vector<ModelRelation> relations; ///< between them, targets that do not exist left out
};

/// Looks through a 3MF package before an importer does: unpacks every model part for real within bounds, and checks the
/// text of the parts and how the objects contain each other.
///
/// Takes one pass over the unpacked text and memory for the list of objects alone. Throws std::bad_alloc.
///
/// @param package receives the directory; empty when the package is refused for it.
ThreeMfCheck checkThreeMf(const std::uint8_t* data, std::size_t size, ZipPackage& package);

} // namespace ov3d::renderer
