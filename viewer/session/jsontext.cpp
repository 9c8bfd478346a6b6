#include "viewer/session/jsontext.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstdio>

namespace ov3d::session {

namespace {

constexpr std::string_view kReplacement = "\xEF\xBF\xBD";

/// @return length of the well-formed UTF-8 sequence at the start, or 0.
std::size_t sequenceLength(std::string_view rest)
{
    const auto at = [&](std::size_t i) { return static_cast<std::uint8_t>(rest[i]); };
    const std::uint8_t lead = at(0);
    if (lead < 0x80)
        return 1;
    const std::size_t length = lead >= 0xC2 && lead <= 0xDF   ? 2
                               : (lead & 0xF0) == 0xE0        ? 3
                               : lead >= 0xF0 && lead <= 0xF4 ? 4
                                                              : 0;
    if (length == 0 || rest.size() < length)
        return 0;
    for (std::size_t i = 1; i < length; ++i)
        if ((at(i) & 0xC0) != 0x80)
            return 0;
    // Overlong forms, surrogates and what lies beyond U+10FFFF.
    const std::uint8_t second = at(1);
    const bool bad = (lead == 0xE0 && second < 0xA0) || (lead == 0xED && second > 0x9F) ||
                     (lead == 0xF0 && second < 0x90) || (lead == 0xF4 && second > 0x8F);
    return bad ? 0 : length;
}

} // namespace

std::string toUtf8(std::string_view bytes, std::size_t maxBytes)
{
    std::string text;
    while (!bytes.empty()) {
        const std::size_t length = sequenceLength(bytes);
        const std::string_view piece = length == 0 ? kReplacement : bytes.substr(0, length);
        if (text.size() + piece.size() > maxBytes)
            break;
        text += piece;
        bytes.remove_prefix(length == 0 ? 1 : length);
    }
    return text;
}

std::string jsonString(std::string_view bytes)
{
    std::string text = "\"";
    for (const char c : toUtf8(bytes)) {
        if (c == '"' || c == '\\') {
            text += '\\';
            text += c;
        } else if (static_cast<std::uint8_t>(c) < 0x20) {
            char escaped[8];
            std::snprintf(escaped, sizeof escaped, "\\u%04x", static_cast<unsigned>(c));
            text += escaped;
        } else {
            text += c;
        }
    }
    return text + '"';
}

std::string jsonNumber(double number)
{
    if (!std::isfinite(number))
        return "null";
    char text[40];
    return {text, std::to_chars(text, text + sizeof text, number).ptr};
}

std::string jsonArray(const std::vector<std::string>& texts)
{
    std::string array = "[";
    for (const std::string& text : texts) {
        if (array.size() > 1)
            array += ", ";
        array += jsonString(text);
    }
    return array + ']';
}

} // namespace ov3d::session
