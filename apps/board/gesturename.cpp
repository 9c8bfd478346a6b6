#include "apps/board/gesturename.h"

namespace ov3d::apps {

QString dragName(Qt::MouseButton button, Qt::KeyboardModifiers modifiers)
{
    // Each modifier counts alone: two of them held together are none.
    if (modifiers == Qt::ControlModifier || button == Qt::RightButton)
        return QStringLiteral("Shifting the view");
    if (modifiers == Qt::AltModifier)
        return QStringLiteral("Rolling the view");
    if (button == Qt::MiddleButton)
        return QStringLiteral("Turning the view or the sun");
    if (modifiers == Qt::ShiftModifier)
        return QStringLiteral("Moving the camera");
    return QStringLiteral("Turning the view");
}

QString wheelName(int delta, Qt::KeyboardModifiers modifiers)
{
    const QString direction = delta > 0 ? QStringLiteral("in") : QStringLiteral("out");
    return modifiers == Qt::ShiftModifier ? QStringLiteral("Zooming %1 finely").arg(direction)
                                          : QStringLiteral("Zooming %1").arg(direction);
}

} // namespace ov3d::apps
