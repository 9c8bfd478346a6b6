#pragma once

#include <algorithm>
#include <atomic>
#include <system_error>
#include <thread>
#include <vector>

namespace ov3d::renderer {

/// Calls `work(row)` for every row from 0 on, on all processors. Rows must not depend on each other; `work` must not
/// throw.
template <typename Work> void forAllRows(int rows, Work work)
{
    constexpr int strip = 32;
    constexpr unsigned mostHelpers = 7;
    std::atomic<int> next{0};
    const auto takeStrips = [&] {
        for (int first = next.fetch_add(strip); first < rows; first = next.fetch_add(strip))
            for (int row = first; row < std::min(first + strip, rows); ++row)
                work(row);
    };
    const auto strips = static_cast<unsigned>(std::max(rows, 1) - 1) / strip;
    const unsigned helpers = std::min({std::max(std::thread::hardware_concurrency(), 1U) - 1, mostHelpers, strips});
    std::vector<std::jthread> threads;
    try {
        for (unsigned i = 0; i < helpers; ++i)
            threads.emplace_back(takeStrips);
    } catch (const std::system_error&) {
        // Fewer hands, the same result.
    }
    takeStrips();
}

} // namespace ov3d::renderer
