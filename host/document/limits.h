#pragma once

#include <QtGlobal>

/// What a document file may hold. Opening refuses more, and saving writes nothing that opening would refuse.
namespace ov3d::document {

constexpr int kMaxEntries = 10000;
constexpr qint64 kMaxDirectoryBytes = 16LL * 1024 * 1024;
constexpr qint64 kMaxContentBytes = 16LL * 1024 * 1024; ///< document.json
constexpr int kMaxContentDepth = 100;                   ///< arrays and objects inside one another
constexpr int kMaxPathBytes = 4096;                     ///< one file's path in the working folder, UTF-8
constexpr int kMaxNameBytes = 255;                      ///< one folder's or file's name in it

/// Unpacked size of everything; sizes and offsets in the container have 32 bits.
constexpr qint64 kMaxUnpackedBytes = 4LL * 1024 * 1024 * 1024 - 1;

/// How far data may grow when it is unpacked: beyond the first bytes, so many times the packed size. Models and
/// textures stay far below; what does not is stored unpacked when a document is saved.
constexpr qint64 kFreeEntryBytes = 64LL * 1024 * 1024;
constexpr qint64 kMaxEntryRatio = 200;
constexpr qint64 kFreeTotalBytes = 256LL * 1024 * 1024;
constexpr qint64 kMaxTotalRatio = 100;

constexpr int kFormatVersion = 1;

} // namespace ov3d::document
