#include "viewer/renderer/import/importwords.h"

#include "src/render/viewcontext.h"

#include <algorithm>
#include <array>
#include <cctype>
#include <string_view>

namespace ov3d::renderer {
namespace {

/// Longest text of Assimp's that is passed on; it may quote the file.
constexpr std::size_t kMaxQuotedBytes = 160;

std::string lowered(std::string text)
{
    std::transform(text.begin(), text.end(), text.begin(),
                   [](unsigned char c) { return static_cast<char>(std::tolower(c)); });
    return text;
}

bool mentionsAny(const std::string& text, std::initializer_list<const char*> words)
{
    return std::any_of(words.begin(), words.end(),
                       [&text](const char* word) { return text.find(word) != std::string::npos; });
}

std::string cleaned(std::string text, const std::string& modelName)
{
    for (std::size_t at = text.find(modelName); at != std::string::npos; at = text.find(modelName))
        text.replace(at, modelName.size(), "the file");
    std::string plain;
    for (const char c : text)
        if (static_cast<unsigned char>(c) >= ' ')
            plain += c;
    if (plain.size() > kMaxQuotedBytes) {
        std::size_t end = kMaxQuotedBytes;
        while (end > 0 && (static_cast<unsigned char>(plain[end]) & 0xC0) == 0x80)
            --end;
        plain = plain.substr(0, end) + "...";
    }
    return plain;
}

struct Words
{
    const char* said;
    const char* plain;
};

constexpr const char* kNoNumber = "holds something else where a number belongs";

constexpr std::array<Words, 3> kObjWords = {{
    {"cannot parse string", "holds something else where a number belongs, itself or in a material library"},
    {"invalid face index", "is damaged: a face names a corner that cannot exist"},
    {"not supported token", "is damaged: a face names a corner that cannot exist"},
}};

constexpr std::array<Words, 4> kStlWords = {{
    {"cannot parse string \"\"", "ends in the middle of its data"},
    {"cannot parse string", kNoNumber},
    {"normal buffer size does not match", "is damaged: a facet does not have three corners"},
    {"node name too long", "has a name that is too long"},
}};

constexpr std::array<Words, 2> kFbxWords = {{
    {"no objects dictionary", "is damaged: it holds no objects"},
    {"no connections dictionary", "is damaged: it does not say which of its objects belong together"},
}};

constexpr std::array<Words, 3> kGltfWords = {{
    {"draco", "is damaged: its Draco data cannot be unpacked"},
    {"invalid attribute in mesh", "is not valid glTF: a mesh numbers its attributes wrongly"},
    {"could not open referenced file", "needs a file that cannot be read"},
}};

constexpr std::array<Words, 9> k3mfWords = {{
    {"no model node", "is no 3MF package: its model part holds no model"},
    {"no resources in model file", "is no 3MF package: its model part holds no objects"},
    {"associated to the build item", "is damaged: it places an object that does not exist"},
    {"associated to component", "is damaged: an object contains one that does not exist"},
    {"invalid model node index", "is damaged: a triangle names a corner that does not exist"},
    {"empty string to integer", kNoNumber},
    {"empty string to double", kNoNumber},
    {"invalid model coordinates", "is damaged: a coordinate is no number, or too large"},
    {"duplicate resource id", "is damaged: two objects have the same number"},
}};

template <std::size_t count> std::string translated(const std::string& text, const std::array<Words, count>& table)
{
    const auto at = std::find_if(table.begin(), table.end(),
                                 [&text](const Words& words) { return mentionsAny(text, {words.said}); });
    return at == table.end() ? std::string() : at->plain;
}

/// What one format's reader says, in plain words; empty for what is not known.
std::string wordsOfFormat(const std::string& text, std::int32_t model_format)
{
    switch (model_format) {
    case kFormatObj:
        return translated(text, kObjWords);
    case kFormatStl:
        return translated(text, kStlWords);
    case kFormatFbx:
        return translated(text, kFbxWords);
    case kFormat3mf:
        return translated(text, k3mfWords);
    case kFormatGltf:
    case kFormatGlb:
        return translated(text, kGltfWords);
    default:
        return {};
    }
}

/// 'Member "primitives" was not of type "array" when reading ...' names the member.
std::string wrongMember(const std::string& message)
{
    constexpr std::string_view begin = "Member \"";
    constexpr std::string_view end = "\" was not of type";
    const std::size_t at = message.find(begin);
    const std::size_t close = message.find(end);
    if (at == std::string::npos || close == std::string::npos || close < at + begin.size() || close - at > 60)
        return {};
    return "is not valid glTF: its member \"" + message.substr(at + begin.size(), close - at - begin.size()) +
           "\" is of the wrong kind";
}

} // namespace

std::string plainReason(const std::string& message, std::int32_t model_format, const std::string& modelName,
                        const std::vector<std::string>& missing)
{
    const std::string text = lowered(message);
    const bool gltf = model_format == kFormatGltf || model_format == kFormatGlb;
    if (mentionsAny(text, {"bad_alloc", "out of memory", "array_new_length", "vector::_m_", "length_error"}))
        return "needs more memory than allowed";
    if (gltf && !missing.empty() && mentionsAny(text, {"referenced file"}))
        return "needs the file " + missing.front() + ", which is missing";
    if (std::string words = wordsOfFormat(text, model_format); !words.empty())
        return words;
    if (std::string words = gltf ? wrongMember(message) : std::string(); !words.empty())
        return words;
    if (mentionsAny(text, {"end of file", "eof", "too small", "ran out of", "read out of", "cannot read past",
                           "truncated", "unexpectedly reached", "out of data", "reached the end"}))
        return "ends in the middle of its data";
    if (mentionsAny(text, {"out of range", "out of bounds"}))
        return "has a part that reaches beyond its end";
    if (mentionsAny(text, {"no vertices", "mesh is empty", "there are no facets", "no meshes", "no root", "no scene",
                           "missing section \"meshes\"", "has no faces", "invalid primitive type"}))
        return "holds nothing that can be drawn";
    if (mentionsAny(text, {"json parse error"}))
        return "is not valid JSON";
    // Assimp looks into a glTF before it reads it, and says no more than that it did not like what it saw.
    if (gltf && mentionsAny(text, {"no suitable reader"}))
        return "is not valid glTF";
    if (mentionsAny(text, {"storage representation", "no suitable reader"}))
        return "is not of the format that its name promises";
    const std::string rest = cleaned(message, modelName);
    return rest.empty() ? "cannot be understood" : "cannot be understood (" + rest + ")";
}

} // namespace ov3d::renderer
