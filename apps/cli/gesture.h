#pragma once

#include <QPointF>
#include <QString>

#include <variant>

namespace ov3d::apps {

/// A press, a way, a release. Positions in pixels of the item, from its upper left corner.
struct DragGesture
{
    QPointF from;
    QPointF to;
    Qt::MouseButton button = Qt::LeftButton;
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
};

/// Notches of the wheel: positive turn it away from the hand.
struct WheelGesture
{
    int notches = 0;
    QPointF position;
    Qt::KeyboardModifiers modifiers = Qt::NoModifier;
};

struct UndoGesture
{
};

struct RedoGesture
{
};

using Gesture = std::variant<DragGesture, WheelGesture, UndoGesture, RedoGesture>;

/// Reads "drag:x0,y0-x1,y1[:left|right|middle][:shift|alt|ctrl]", "wheel:N@x,y[:shift]", "undo" or "redo".
/// @return false with `error` saying what is wrong; `gesture` is then unspecified.
bool parseGesture(const QString& text, Gesture& gesture, QString& error);

} // namespace ov3d::apps
