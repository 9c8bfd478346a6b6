#pragma once

#include <QString>

class CBaseObject;

namespace ov3d::apps {

/// Looks at a user's environment picture before it is copied or handed to a viewer, which both read whatever they are
/// given: only a regular file of a bearable size that begins as a Radiance picture does. Any thread.
/// @return an empty text, or a message that begins with the path.
QString whyNoEnvironment(const QString& path);

/// Tells the item's viewer of the environment picture; an empty path takes it away. GUI thread.
/// @param shownName  names the picture in a refusal.
/// @return an empty text, or the reason.
QString sendEnvironment(CBaseObject& item, const QString& path, const QString& shownName);

} // namespace ov3d::apps
