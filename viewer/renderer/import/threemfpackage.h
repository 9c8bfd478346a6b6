#pragma once

#include "viewer/renderer/import/zippackage.h"

#include <cstdint>
#include <string>
#include <vector>

namespace ov3d::renderer {

/// A relation from one part of a 3MF package to a model part.
struct ModelRelation
{
    std::string source; ///< the part that names the other, empty for the package itself
    std::string target; ///< name of an entry
};

/// Puts together a package of the model parts alone, as they are packed in the original. lib3mf refuses a package that
/// misses so much as a preview, and reads pictures and settings that nobody shows.
///
/// @param models names of entries that are model parts.
/// @return its bytes, for less than 4 GiB of models. Throws std::bad_alloc.
std::vector<std::uint8_t> modelsAlone(const ZipPackage& package, const std::vector<std::string>& models,
                                      const std::vector<ModelRelation>& relations);

} // namespace ov3d::renderer
