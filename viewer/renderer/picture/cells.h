#pragma once

#include "viewer/protocol/messages.h"

#include <vector>

namespace ov3d::renderer {

/// A rectangle of pixels of a whole picture; y counts from the top.
struct Region
{
    int left = 0;
    int top = 0;
    int width = 0;
    int height = 0;

    friend bool operator==(const Region&, const Region&) = default;
};

/// Side of the squares in which every picture is drawn, pixels of the whole picture.
///
/// The grid is anchored at the whole picture's upper left corner, whatever part of it is asked for. A pixel is
/// therefore always drawn by the same cell and comes out the same, to the byte, in every tile and in the whole.
inline constexpr int kCellSide = 2048;

/// Pixels that a cell draws beyond each of its sides inside the picture: what an outline needs of its neighbours.
inline constexpr int kCellMargin = 2;

/// Largest side of a whole picture, pixels.
inline constexpr int kMaxWholeSide = 32768;

struct Cell
{
    Region own;   ///< the pixels that are taken from this cell
    Region drawn; ///< these and the margin, inside the whole picture
};

/// The part of the whole picture that a request wants, and the whole picture's size.
struct Wanted
{
    Region part;
    int whole_width = 0;
    int whole_height = 0;
};

/// @return false when the sizes make no sense or the tile leaves its picture; `wanted` is then unspecified.
bool wantedBy(const protocol::RenderRequest& request, Wanted& wanted);

/// The cells that a part of a whole picture touches, row by row.
std::vector<Cell> cellsOf(const Wanted& wanted);

/// The common part; of no size when there is none.
[[nodiscard]] Region intersection(const Region& a, const Region& b);

} // namespace ov3d::renderer
