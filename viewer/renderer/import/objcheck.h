#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <vector>

namespace ov3d::renderer {

/// Most lines that name material libraries, and most libraries.
inline constexpr std::size_t kMaxObjLibraryLines = 1000;
/// A longer line names one library, and one that does not exist.
inline constexpr std::size_t kMaxObjLibraryLineBytes = 1024;

struct ObjCheck
{
    /// A line that names material libraries.
    struct Libraries
    {
        std::size_t at = 0; ///< where its first letter stands
        std::string names;  ///< as they stand there, without blanks around them
    };

    std::vector<std::string> notes;   ///< what the file holds and nobody shows, in plain words
    std::vector<Libraries> libraries; ///< each other name once, at most kMaxObjLibraryLines
    std::vector<std::size_t> repeats; ///< where lines stand that add no library
};

/// Finds what Assimp passes over in silence or confuses: faces without corners, curves and surfaces, several material
/// libraries. One pass over the lines. Throws std::bad_alloc.
ObjCheck checkObj(const std::uint8_t* data, std::size_t size);

/// Gives the options -s, -o, -t and -mm of textures in a material library all the numbers that they may have: Assimp
/// takes what follows too few of them for one. What the numbers say stays the same.
///
/// @return the new text, or nothing when it stays as it is. Throws std::bad_alloc.
std::string withFullOptions(std::string_view library);

/// The libraries that a line names: one whose name may hold blanks, or several with blanks between.
///
/// @param exists tells whether there is a file of that name.
template <typename Exists> std::vector<std::string> libraryNames(const std::string& names, Exists exists)
{
    if (names.size() > kMaxObjLibraryLineBytes)
        return {names};
    std::vector<std::string> words;
    bool known = false;
    for (std::size_t at = 0; at < names.size();) {
        const std::size_t begin = names.find_first_not_of(" \t", at);
        at = begin == std::string::npos ? names.size() : std::min(names.find_first_of(" \t", begin), names.size());
        if (begin != std::string::npos)
            words.push_back(names.substr(begin, at - begin));
        known = known || (begin != std::string::npos && exists(words.back()));
    }
    if (words.size() > 1 && known && !exists(names))
        return words;
    return {names};
}

} // namespace ov3d::renderer
