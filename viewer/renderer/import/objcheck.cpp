#include "viewer/renderer/import/objcheck.h"

#include <algorithm>
#include <cstring>
#include <set>
#include <string_view>
#include <utility>

namespace ov3d::renderer {
namespace {

constexpr std::string_view kBlanks(" \t\r\0", 4);

std::string_view trimmed(std::string_view text)
{
    const std::size_t begin = text.find_first_not_of(kBlanks);
    return begin == std::string_view::npos ? std::string_view()
                                           : text.substr(begin, text.find_last_not_of(kBlanks) + 1 - begin);
}

bool endsWithBackslash(std::string_view line)
{
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return !line.empty() && line.back() == '\\';
}

} // namespace

ObjCheck checkObj(const std::uint8_t* data, std::size_t size)
{
    const std::string_view all(reinterpret_cast<const char*>(data), size);
    ObjCheck result;
    std::uint64_t emptyFaces = 0;
    std::uint64_t leftOut = 0;
    bool hasCurves = false;
    bool isContinued = false;
    std::set<std::string> known;
    for (std::size_t at = 0; at < size;) {
        const std::size_t end = std::min(all.find('\n', at), size);
        // Lines of corners are most of a file: one look at them is enough.
        const std::size_t begin = all.find_first_not_of(" \t", at);
        const std::string_view line = begin < end ? all.substr(begin, end - begin) : std::string_view();
        at = end + 1;
        const bool continues = endsWithBackslash(line);
        if (std::exchange(isContinued, continues) || line.empty() || std::strchr("fcsm", line[0]) == nullptr)
            continue;
        const std::size_t word = std::min(line.find_first_of(kBlanks), line.size());
        const std::string_view keyword = line.substr(0, word);
        if (keyword == "f")
            emptyFaces += line.find_first_not_of(" \t\r/", 1) == std::string_view::npos ? 1 : 0;
        else if (keyword == "curv" || keyword == "curv2" || keyword == "surf")
            hasCurves = true;
        else if (keyword == "mtllib" && !trimmed(line.substr(word)).empty()) {
            std::string names(trimmed(line.substr(word)));
            const bool isNew = known.count(names) == 0;
            leftOut += isNew && known.size() == kMaxObjLibraryLines ? 1 : 0;
            if (isNew && known.size() < kMaxObjLibraryLines)
                result.libraries.push_back({begin, *known.insert(std::move(names)).first});
            else
                result.repeats.push_back(begin);
        }
    }
    if (emptyFaces > 0)
        result.notes.push_back(std::to_string(emptyFaces) + (emptyFaces == 1 ? " face" : " faces") +
                               " without corners left out");
    if (leftOut > 0)
        result.notes.emplace_back("more material libraries than allowed: the others are not read");
    if (hasCurves)
        result.notes.emplace_back("curves and surfaces are not shown");
    return result;
}

} // namespace ov3d::renderer
