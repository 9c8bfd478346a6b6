#pragma once

#include <QString>

class QImage;

namespace ov3d::apps {

/// Why no picture can be written under that name, in words that follow the name; empty when nothing speaks against it.
/// Only the name and what stands there now are looked at. A folder, a device, a pipe or a socket is no place for a
/// picture, also behind a link: it would be replaced.
[[nodiscard]] QString whyNoPictureAt(const QString& path);

/// Whether a name says that its file is a PNG picture.
[[nodiscard]] bool isPngName(const QString& name);

/// Writes an RGBA PNG under a temporary name and renames it. @return an empty text, or the reason of a failure.
QString writePng(const QString& path, const QImage& image);

} // namespace ov3d::apps
