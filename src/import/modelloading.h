#pragma once

#include <QString>

/// @return the "uri" of a glTF file's first buffer exactly as written there, or an empty string when there is none; a
/// file
///     that cannot be read or is no JSON object is reported with qWarning.
QString getBinFileName(const QString& gltfPath);
