#pragma once

#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>

/// Looks at a file's bytes before an importer does, and refuses what importers are known to choke on: sizes beyond the
/// file's end, nesting that exhausts a stack, encodings that read as nothing.
namespace ov3d::renderer {

/// The outcome of a check.
struct FileCheck
{
    std::string reason;           ///< empty when the file may be imported
    std::size_t usable_bytes = 0; ///< bytes from the beginning that belong to the model
};

/// Deepest nesting of objects and arrays in a glTF's JSON.
inline constexpr int kMaxJsonDepth = 100;

/// @param model_format a ModelFormat. Never fails otherwise; looks at no more than `size` bytes.
FileCheck checkFile(std::int32_t model_format, const std::uint8_t* data, std::size_t size);

/// @return whether an STL is of the text form, with a byte order mark or without.
bool isStlText(const std::uint8_t* data, std::size_t size);

/// The two parts of a glTF 2.0 file.
struct GltfParts
{
    std::string_view json;
    std::string_view binary; ///< empty in a .gltf, and in a GLB without one
};

/// @param model_format kFormatGltf or kFormatGlb, of bytes that checkFile() has passed.
GltfParts gltfParts(std::int32_t model_format, const std::uint8_t* data, std::size_t size);

/// Puts a GLB together. Throws std::bad_alloc.
std::string makeGlb(const GltfParts& parts);

/// @return whether the text nests deeper than the limit. Text that is no JSON gives either answer.
bool nestsTooDeeply(const char* json, std::size_t size, int limit = kMaxJsonDepth);

/// "ends in the middle of its data (at byte 4096 of 120,000)".
std::string endsEarly(std::size_t size, std::uint64_t expected);

} // namespace ov3d::renderer
