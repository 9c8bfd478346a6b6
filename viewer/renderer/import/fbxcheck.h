#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace ov3d::renderer {

/// Deepest nesting of records. Real files need five levels.
inline constexpr int kMaxFbxDepth = 64;
inline constexpr std::size_t kMaxFbxRecords = 20'000'000;
/// Sum of all arrays once they are inflated.
inline constexpr std::uint64_t kMaxFbxArrayBytes = std::uint64_t{4} * 1024 * 1024 * 1024;

/// Walks through the records of a binary FBX file: where each ends, its properties, what its arrays inflate to, which
/// models stand in which. The text form is refused: Assimp frees the bytes of a damaged embedded picture twice there,
/// and hosts take the binary form alone.
///
/// @return what is wrong, or an empty text. One pass over the records; array contents are not looked at. Throws
/// std::bad_alloc.
std::string checkFbx(const std::uint8_t* data, std::size_t size);

} // namespace ov3d::renderer
