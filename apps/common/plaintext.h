#pragma once

#include <QString>

namespace ov3d::apps {

/// The text on one line: control characters, which file names and messages may hold, become "?".
QString oneLine(QString text);

} // namespace ov3d::apps
