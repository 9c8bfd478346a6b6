#include "apps/board/selectionframe.h"

#include <algorithm>
#include <array>
#include <cmath>

namespace ov3d::apps {

namespace {

/// Which sides of the frame a part takes along: -1 the left or top one, 1 the right or bottom one, 0 neither.
struct Pull
{
    int x = 0;
    int y = 0;
};

struct Handle
{
    FramePart part;
    Pull pull;
};

constexpr std::array<Handle, 8> kHandles = {{
    {FramePart::topLeft, {-1, -1}},
    {FramePart::topRight, {1, -1}},
    {FramePart::bottomRight, {1, 1}},
    {FramePart::bottomLeft, {-1, 1}},
    {FramePart::top, {0, -1}},
    {FramePart::right, {1, 0}},
    {FramePart::bottom, {0, 1}},
    {FramePart::left, {-1, 0}},
}};

Pull pullOf(FramePart part)
{
    const auto* found =
        std::find_if(kHandles.begin(), kHandles.end(), [part](const Handle& h) { return h.part == part; });
    return found == kHandles.end() ? Pull{} : found->pull;
}

QPointF handleCentre(const QRectF& frame, Pull pull)
{
    return frame.center() + QPointF(pull.x * frame.width() / 2, pull.y * frame.height() / 2);
}

/// Takes what is too much from the sides that are being pulled.
QSizeF limited(QSizeF size, Pull pull, const FrameLimits& limits)
{
    size = size.expandedTo(limits.minimum);
    const double excess = size.width() * size.height() / limits.largestArea;
    if (excess <= 1)
        return size;
    if (pull.x != 0 && pull.y != 0)
        return size / std::sqrt(excess);
    return pull.x != 0 ? QSizeF(size.width() / excess, size.height()) : QSizeF(size.width(), size.height() / excess);
}

} // namespace

FramePart framePartAt(const QRectF& frame, QPointF point, double reach)
{
    for (const Handle& handle : kHandles) {
        const QPointF way = point - handleCentre(frame, handle.pull);
        if (std::abs(way.x()) <= reach && std::abs(way.y()) <= reach)
            return handle.part;
    }
    const bool isInside = frame.adjusted(reach, reach, -reach, -reach).contains(point);
    const bool isNear = frame.adjusted(-reach, -reach, reach, reach).contains(point);
    return isNear && !isInside ? FramePart::border : FramePart::none;
}

QVector<QRectF> handleRects(const QRectF& frame, double side)
{
    QVector<QRectF> rects;
    for (const Handle& handle : kHandles) {
        QRectF rect(0, 0, side, side);
        rect.moveCenter(handleCentre(frame, handle.pull));
        rects << rect;
    }
    return rects;
}

QRectF draggedFrame(const QRectF& frame, FramePart part, QPointF way, const FrameLimits& limits)
{
    if (part == FramePart::none)
        return frame;
    if (part == FramePart::border)
        return frame.translated(way);
    const Pull pull = pullOf(part);
    const QSizeF wanted(frame.width() + pull.x * way.x(), frame.height() + pull.y * way.y());
    return anchoredFrame(frame, part, limited(wanted, pull, limits));
}

QRectF anchoredFrame(const QRectF& wanted, FramePart part, QSizeF size)
{
    const Pull pull = pullOf(part);
    return {pull.x < 0 ? wanted.right() - size.width() : wanted.left(),
            pull.y < 0 ? wanted.bottom() - size.height() : wanted.top(), size.width(), size.height()};
}

Qt::CursorShape cursorFor(FramePart part)
{
    switch (part) {
    case FramePart::none:
        return Qt::ArrowCursor;
    case FramePart::border:
        return Qt::SizeAllCursor;
    case FramePart::topLeft:
    case FramePart::bottomRight:
        return Qt::SizeFDiagCursor;
    case FramePart::topRight:
    case FramePart::bottomLeft:
        return Qt::SizeBDiagCursor;
    case FramePart::top:
    case FramePart::bottom:
        return Qt::SizeVerCursor;
    case FramePart::left:
    case FramePart::right:
        break;
    }
    return Qt::SizeHorCursor;
}

} // namespace ov3d::apps
