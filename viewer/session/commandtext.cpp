#include "viewer/session/commandtext.h"

#include <charconv>
#include <cmath>
#include <cstring>
#include <system_error>

namespace ov3d::session {

namespace {

constexpr std::string_view kBlanks = " \t";

/// Takes a number off the start of a text.
std::optional<double> takeNumber(std::string_view& text)
{
    text = trimmed(text);
    if (text.substr(0, 1) == "+" && text.substr(1, 1) != "-")
        text.remove_prefix(1);
    double number = 0;
    const auto [end, error] = std::from_chars(text.data(), text.data() + text.size(), number);
    if (error != std::errc() || !std::isfinite(number))
        return std::nullopt;
    text.remove_prefix(static_cast<std::size_t>(end - text.data()));
    return number;
}

} // namespace

std::optional<std::string> readCommandText(const ViewContext& context)
{
    const std::size_t length = strnlen(context.command_text, sizeof context.command_text);
    if (length == sizeof context.command_text)
        return std::nullopt;
    return std::string(context.command_text, length);
}

std::string_view trimmed(std::string_view text)
{
    const std::size_t first = text.find_first_not_of(kBlanks);
    if (first == std::string_view::npos)
        return {};
    return text.substr(first, text.find_last_not_of(kBlanks) - first + 1);
}

std::optional<OrbitStep> parseOrbitStep(std::string_view text)
{
    const std::optional<double> azimuth = takeNumber(text);
    if (!azimuth || text.empty() || kBlanks.find(text.front()) == std::string_view::npos)
        return std::nullopt;
    const std::optional<double> elevation = takeNumber(text);
    if (!elevation || !trimmed(text).empty())
        return std::nullopt;
    return OrbitStep{*azimuth, *elevation};
}

} // namespace ov3d::session
