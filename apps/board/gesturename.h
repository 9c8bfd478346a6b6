#pragma once

#include <QString>

namespace ov3d::apps {

/// What a drag over a model does, in words for the status line. The same table as the item's own.
QString dragName(Qt::MouseButton button, Qt::KeyboardModifiers modifiers);

/// What a notch of the wheel does.
QString wheelName(int delta, Qt::KeyboardModifiers modifiers);

} // namespace ov3d::apps
