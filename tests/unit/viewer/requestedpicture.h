#pragma once

#include "viewer/session/ov3dviewer.h"

#include <QByteArray>

#include <algorithm>
#include <array>
#include <cstdint>
#include <set>
#include <vector>

/// A picture without a session: the memory that a host hands over, with some bytes behind it that nobody may touch.
struct RequestedPicture
{
    static constexpr std::uint8_t kUntouched = 0xA5;

    RequestedPicture(int w, int h)
        : width(w)
        , height(h)
        , bytes(static_cast<std::size_t>(w) * static_cast<std::size_t>(h) * 3 + kGuardBytes, kUntouched)
    {
    }

    /// Draws what the request (a JSON text) asks for.
    void draw(QByteArray request) { ov3dViewerRenderImage(request.data(), bytes.data(), width, height); }

    [[nodiscard]] bool isWithinBounds() const
    {
        return std::all_of(bytes.end() - kGuardBytes, bytes.end(),
                           [](std::uint8_t byte) { return byte == kUntouched; });
    }

    [[nodiscard]] std::array<int, 3> at(int x, int y) const
    {
        const std::size_t i =
            (static_cast<std::size_t>(y) * static_cast<std::size_t>(width) + static_cast<std::size_t>(x)) * 3;
        return {bytes[i], bytes[i + 1], bytes[i + 2]};
    }

    /// A card is light, with something dark or red written on it; pictures of the scripted renderer have one colour.
    [[nodiscard]] bool isCard() const
    {
        std::set<std::array<int, 3>> colours;
        for (int y = 0; y < height; ++y)
            for (int x = 0; x < width; ++x)
                colours.insert(at(x, y));
        const auto corner = at(1, 1);
        return colours.size() >= 3 && corner[0] > 220 && corner[1] > 220 && corner[2] > 220;
    }

    int width;
    int height;
    std::vector<std::uint8_t> bytes;

private:
    static constexpr std::size_t kGuardBytes = 64;
};
