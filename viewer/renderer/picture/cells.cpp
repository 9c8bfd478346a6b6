#include "viewer/renderer/picture/cells.h"

#include <algorithm>

namespace ov3d::renderer {
namespace {

/// One axis of a cell: where it begins and how far it reaches.
struct Span
{
    int begin = 0;
    int end = 0;
};

Span ownSpan(int index, int whole)
{
    return {index * kCellSide, std::min((index + 1) * kCellSide, whole)};
}

Span drawnSpan(Span own, int whole)
{
    return {std::max(own.begin - kCellMargin, 0), std::min(own.end + kCellMargin, whole)};
}

Region regionOf(Span x, Span y)
{
    return {x.begin, y.begin, x.end - x.begin, y.end - y.begin};
}

bool isWithin(std::int64_t begin, std::int64_t size, std::int64_t whole)
{
    return begin >= 0 && size > 0 && begin + size <= whole && whole <= kMaxWholeSide;
}

} // namespace

bool wantedBy(const protocol::RenderRequest& request, Wanted& wanted)
{
    const protocol::Tile& tile = request.tile;
    const bool isWhole = tile == protocol::Tile{};
    wanted.part = {tile.left, tile.top, request.width, request.height};
    wanted.whole_width = isWhole ? request.width : tile.whole_width;
    wanted.whole_height = isWhole ? request.height : tile.whole_height;
    return isWithin(tile.left, request.width, wanted.whole_width) &&
           isWithin(tile.top, request.height, wanted.whole_height);
}

std::vector<Cell> cellsOf(const Wanted& wanted)
{
    const Region& part = wanted.part;
    std::vector<Cell> cells;
    for (int row = part.top / kCellSide; row * kCellSide < part.top + part.height; ++row)
        for (int column = part.left / kCellSide; column * kCellSide < part.left + part.width; ++column) {
            const Span x = ownSpan(column, wanted.whole_width);
            const Span y = ownSpan(row, wanted.whole_height);
            cells.push_back(
                {regionOf(x, y), regionOf(drawnSpan(x, wanted.whole_width), drawnSpan(y, wanted.whole_height))});
        }
    return cells;
}

Region intersection(const Region& a, const Region& b)
{
    const int left = std::max(a.left, b.left);
    const int top = std::max(a.top, b.top);
    const int right = std::min(a.left + a.width, b.left + b.width);
    const int bottom = std::min(a.top + a.height, b.top + b.height);
    if (right <= left || bottom <= top)
        return {};
    return {left, top, right - left, bottom - top};
}

} // namespace ov3d::renderer
