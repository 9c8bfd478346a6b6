#pragma once

#include "viewer/renderer/import/filebytes.h"
#include "viewer/renderer/import/jsontree.h"
#include "viewer/renderer/import/sidefiles.h"

#include <cstddef>
#include <cstdint>
#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace ov3d::renderer {

/// The bytes of a glTF's buffers, each found at its first use: the GLB's own, a data address or a file in the folder.
class GltfBuffers
{
public:
    /// All outlive this object.
    GltfBuffers(JsonValue buffers, std::string_view binary, const SideFiles& sideFiles);

    /// @return the bytes, or nothing when they cannot be had.
    std::string_view at(std::uint64_t index);

    /// @return the size of the file at that address, or nothing where there is none. Nothing is opened.
    [[nodiscard]] std::optional<std::uint64_t> fileBytes(JsonValue address) const;

private:
    struct Buffer
    {
        FileBytes file;
        std::string decoded;
    };

    std::vector<JsonValue> m_buffers;
    std::string_view m_binary;
    const SideFiles& m_sideFiles;
    std::map<std::uint64_t, Buffer> m_loaded;
};

/// @return the bytes of a base64 text; what is no digit of it is skipped.
std::string decodeBase64(std::string_view text);

} // namespace ov3d::renderer
