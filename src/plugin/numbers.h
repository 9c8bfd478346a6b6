#pragma once

#include <limits>

/// Truncates toward zero. What does not fit an int becomes its nearest end, and what is no number becomes 0.
[[nodiscard]] constexpr int truncatedToInt(double value)
{
    if (value != value)
        return 0;
    if (value >= static_cast<double>(std::numeric_limits<int>::max()))
        return std::numeric_limits<int>::max();
    if (value <= static_cast<double>(std::numeric_limits<int>::min()))
        return std::numeric_limits<int>::min();
    return static_cast<int>(value);
}
