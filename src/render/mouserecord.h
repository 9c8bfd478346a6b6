#pragma once

#include "src/plugin/numbers.h"
#include "src/render/viewcontext.h"

#include <QPointF>

/// Values of `ViewContext::mouse_button`.
enum MouseRecordButton : std::int32_t
{
    kRecordNoButton = 0,
    kRecordLeftButton = 1,
    kRecordRightButton = 4,
};

/// Values of `ViewContext::mouse_modifiers`.
enum MouseRecordModifier : std::int32_t
{
    kModifierNone = 0,
    kModifierShift = 1,
    kModifierAlt = 3,
    kModifierMiddleButton = 4,
};

/// The mouse fields of a view context.
struct MouseRecord
{
    std::int32_t type = kMouseButtonDown;
    QPointF position; ///< item coordinates
    std::int32_t modifiers = kModifierNone;
    std::int32_t button = kRecordLeftButton;
    bool isWheel = false;
    float wheelStep = 0.0f;

    static MouseRecord forButton(std::int32_t type, QPointF position)
    {
        MouseRecord record;
        record.type = type;
        record.position = position;
        return record;
    }

    static MouseRecord forWheel(QPointF position, std::int32_t modifiers, float step)
    {
        MouseRecord record;
        record.type = kMouseWheel;
        record.position = position;
        record.modifiers = modifiers;
        record.button = kRecordNoButton;
        record.isWheel = true;
        record.wheelStep = step;
        return record;
    }

    void writeTo(ViewContext& context) const
    {
        context.mouse_type = type;
        context.mouse_x = truncatedToInt(position.x());
        context.mouse_y = truncatedToInt(position.y());
        context.mouse_modifiers = modifiers;
        context.mouse_buttons = isWheel ? 0 : 1;
        context.mouse_button = button;
        context.mouse_count = isWheel ? 0 : 1;
        context.wheel_dx = 0.0f;
        context.wheel_dy = wheelStep;
        context.mouse_pending = isWheel ? 0 : 1;
    }
};
