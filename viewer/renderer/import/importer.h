#pragma once

#include "viewer/renderer/import/modeldata.h"

#include <cstdint>
#include <functional>
#include <string>

namespace ov3d::renderer {

struct ImportRequest
{
    std::string path;                  ///< absolute, as bytes of the file system
    std::int32_t model_format = -1;    ///< a ModelFormat
    bool without_textures = false;     ///< read no image; their names are still looked up
    bool list_only = false;            ///< only names and bounds are wanted: no image is read
    std::function<void(int)> progress; ///< percent of the import, 0 to 100, rising; called on the importing thread
};

struct ImportResult
{
    bool ok = false;
    ModelData model;
    std::string reason; ///< when not ok: plain words without the file's name
};

/// Reads one or more file formats.
class Importer
{
public:
    virtual ~Importer() = default;

    /// Blocks until the file has been read. Bad input gives a reason; exceptions (no memory) may leave it.
    virtual ImportResult read(const ImportRequest& request) = 0;
};

/// Checks the file, picks the importer of its format and reads it on a thread with a deep stack.
/// Nothing leaves this function but a result.
ImportResult importModel(const ImportRequest& request);

} // namespace ov3d::renderer
