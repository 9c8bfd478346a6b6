#pragma once

#include <string>
#include <string_view>
#include <vector>

namespace ov3d::session {

/// Valid UTF-8 of at most `maxBytes`; bytes that are none become U+FFFD. File names may be any bytes.
[[nodiscard]] std::string toUtf8(std::string_view bytes, std::size_t maxBytes = std::string::npos);

/// A JSON string with its quotation marks.
[[nodiscard]] std::string jsonString(std::string_view bytes);

/// The shortest text that stands for this number; null for what is not finite.
[[nodiscard]] std::string jsonNumber(double number);

/// A JSON array of strings.
[[nodiscard]] std::string jsonArray(const std::vector<std::string>& texts);

} // namespace ov3d::session
