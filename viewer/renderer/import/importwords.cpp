#include "viewer/renderer/import/importwords.h"

#include "src/render/viewcontext.h"

#include <algorithm>
#include <cctype>

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
