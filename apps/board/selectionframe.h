#pragma once

#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QVector>

namespace ov3d::apps {

/// The parts of the frame around a selected item that the pointer can take hold of.
enum class FramePart
{
    none,
    border, ///< moves the item
    topLeft,
    top,
    topRight,
    right,
    bottomRight,
    bottom,
    bottomLeft,
    left,
};

/// @param reach  how far from the frame's line or a handle's centre the pointer may be, in the frame's units.
FramePart framePartAt(const QRectF& frame, QPointF point, double reach);

/// The eight handles, squares about the frame's corners and the middles of its sides.
QVector<QRectF> handleRects(const QRectF& frame, double side);

/// What an item may become by dragging its handles.
struct FrameLimits
{
    QSizeF minimum;
    double largestArea = 0;
};

/// The frame after `part` of it has been dragged by `way`. The opposite side or corner stays where it is; the border
/// moves the whole.
QRectF draggedFrame(const QRectF& frame, FramePart part, QPointF way, const FrameLimits& limits);

/// Puts a frame of another size where `part` of `wanted` was dragged to: the opposite side or corner stays.
QRectF anchoredFrame(const QRectF& wanted, FramePart part, QSizeF size);

/// The pointer's shape over a part.
Qt::CursorShape cursorFor(FramePart part);

} // namespace ov3d::apps
