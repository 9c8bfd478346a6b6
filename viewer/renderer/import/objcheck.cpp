#include "viewer/renderer/import/objcheck.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstring>
#include <set>
#include <string_view>
#include <system_error>
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

/// An option of a texture and how many words belong to it.
struct Option
{
    std::string_view name;
    int words;
    std::string_view filler; ///< for numbers that are left out; empty where all must be there
};

constexpr std::array<Option, 13> kOptions = {{
    {"-s", 3, "1"},
    {"-o", 3, "0"},
    {"-t", 3, "0"},
    {"-mm", 2, "1"},
    {"-blendu", 1, ""},
    {"-blendv", 1, ""},
    {"-boost", 1, ""},
    {"-bm", 1, ""},
    {"-cc", 1, ""},
    {"-clamp", 1, ""},
    {"-imfchan", 1, ""},
    {"-texres", 1, ""},
    {"-type", 1, ""},
}};

bool isNumber(std::string_view word)
{
    double number = 0;
    if (word.size() > 1 && word.front() == '+')
        word.remove_prefix(1);
    const auto [end, error] = std::from_chars(word.data(), word.data() + word.size(), number);
    return error != std::errc::invalid_argument && end == word.data() + word.size();
}

/// The word at `at`, behind blanks; `at` moves behind it.
std::string_view nextWord(std::string_view line, std::size_t& at)
{
    const std::size_t begin = std::min(line.find_first_not_of(kBlanks, at), line.size());
    at = std::min(line.find_first_of(kBlanks, begin), line.size());
    return line.substr(begin, at - begin);
}

/// Adds a line of a library to `text`. @return whether it is another one now.
bool appendWithFullOptions(std::string_view line, std::string& text)
{
    std::size_t at = 0;
    std::size_t copied = 0;
    nextWord(line, at);
    while (at < line.size()) {
        const std::string_view word = nextWord(line, at);
        const auto option = std::find_if(kOptions.begin(), kOptions.end(),
                                         [word](const Option& candidate) { return candidate.name == word; });
        if (option == kOptions.end())
            break;
        for (int i = 0; i < option->words; ++i) {
            std::size_t end = at;
            const std::string_view value = nextWord(line, end);
            // The last word is the texture, whatever it looks like.
            const bool isLast = line.find_first_not_of(kBlanks, end) == std::string_view::npos;
            if (option->filler.empty() || (isNumber(value) && !isLast)) {
                at = end;
                continue;
            }
            text.append(line.substr(copied, at - copied)).append(" ").append(option->filler);
            copied = at;
        }
    }
    text.append(line.substr(copied));
    return copied > 0;
}

bool endsWithBackslash(std::string_view line)
{
    if (!line.empty() && line.back() == '\r')
        line.remove_suffix(1);
    return !line.empty() && line.back() == '\\';
}

} // namespace

std::string withFullOptions(std::string_view library)
{
    std::string text;
    bool isChanged = false;
    for (std::size_t at = 0; at < library.size();) {
        const std::size_t end = std::min(library.find('\n', at), library.size());
        isChanged = appendWithFullOptions(library.substr(at, end - at), text) || isChanged;
        text += '\n';
        at = end + 1;
    }
    return isChanged ? text : std::string();
}

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
