#pragma once

#include <QString>

namespace ov3d::document {

/// The folder for temporary files, without a trailing separator: the one that TMPDIR names, or /tmp when there is no
/// such folder. (Qt then answers an empty path, which stands for the root of the file system as soon as something is
/// appended.) Any thread.
[[nodiscard]] QString temporaryFolder();

} // namespace ov3d::document
