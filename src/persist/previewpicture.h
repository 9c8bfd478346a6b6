#pragma once

#include <QImage>
#include <QString>

/// The longest side of a preview that is read, pixels; no item is larger.
inline constexpr int kMostPreviewSide = 8192;

/// Reads an item's preview, whose format is found in its content.
///
/// The size is read before the pixels: a few kilobytes of a document can stand for gigabytes.
/// @return a null image when the file is missing or broken, and, with a warning, when the picture is too large.
QImage readPreview(const QString& path);
