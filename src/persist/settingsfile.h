#pragma once

#include "src/persist/viewsettings.h"

#include <QString>

/// Settings texts have about a kilobyte. A larger file than this is none, and what is parsed of it takes many times its
/// size.
inline constexpr qint64 kMostSettingsBytes = 1 << 20;

/// Reads a settings file ("..._view.json") into the five blocks.
///
/// A missing scalar key reads as 0 or false and not as its default, and so does a value that is not a whole number; a
/// missing array, or one of fewer than three elements, leaves the other components as they were. An unparsable file
/// reads as one without keys.
/// @return false when the file cannot be opened, or, with a warning, is larger than kMostSettingsBytes; the blocks are
///     unchanged then.
bool readSettingsFile(const QString& path, ViewSettings& view, DisplaySettings& display, MaterialSettings& material,
                      LightingSettings& lighting, CameraSettings& camera);
