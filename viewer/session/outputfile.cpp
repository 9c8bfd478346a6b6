#include "viewer/session/outputfile.h"

#include "viewer/protocol/messages.h"

#include <QBuffer>
#include <QFile>
#include <QImage>
#include <QSaveFile>

#include <sys/stat.h>

#include <cstdlib>

namespace ov3d::session {

namespace {

// What a host takes for the background (docs/viewer-contract.md).
constexpr int kKeyColour[] = {92, 238, 20};
constexpr int kKeyTolerance = 2;

bool isKey(const std::uint8_t* pixel)
{
    for (int i = 0; i < 3; ++i)
        if (std::abs(pixel[i] - kKeyColour[i]) > kKeyTolerance)
            return false;
    return true;
}

/// Key pixels become transparent, and so does the pixel before and after each run of them. A run that ends with its
/// row takes the first pixel of the next one: hosts do it, and a saved picture is to look like theirs.
QImage keyedImage(const std::uint8_t* pixels, PictureSize size)
{
    QImage image(size.width, size.height, QImage::Format_ARGB32);
    if (image.isNull())
        return image;
    bool previousIsKey = false;
    for (int y = 0; y < size.height; ++y) {
        const std::uint8_t* source = pixels + protocol::rowBytes(size.width) * static_cast<std::size_t>(y);
        auto* target = reinterpret_cast<QRgb*>(image.scanLine(y));
        bool thisIsKey = isKey(source);
        for (int x = 0; x < size.width; ++x, source += 3) {
            const bool nextIsKey = x + 1 < size.width && isKey(source + 3);
            const bool shown = !thisIsKey && !previousIsKey && !nextIsKey;
            target[x] = shown ? qRgb(source[0], source[1], source[2]) : qRgba(0, 0, 0, 0);
            previousIsKey = thisIsKey;
            thisIsKey = nextIsKey;
        }
    }
    return image;
}

QImage opaqueImage(const std::uint8_t* pixels, PictureSize size)
{
    return QImage(pixels, size.width, size.height, static_cast<int>(protocol::rowBytes(size.width)),
                  QImage::Format_RGB888);
}

} // namespace

bool replaceFile(const std::string& path, std::string_view bytes)
{
    // Renaming over a device or a pipe would take its place.
    struct stat info = {};
    if (path.empty() || (stat(path.c_str(), &info) == 0 && !S_ISREG(info.st_mode)))
        return false;
    QSaveFile file(QFile::decodeName(QByteArray::fromStdString(path)));
    const auto size = static_cast<qint64>(bytes.size());
    return file.open(QIODevice::WriteOnly) && file.write(bytes.data(), size) == size && file.commit();
}

bool savePicture(const std::string& path, const std::uint8_t* pixels, PictureSize size, bool keyed)
{
    if (size.isEmpty())
        return false;
    const QImage image = keyed ? keyedImage(pixels, size) : opaqueImage(pixels, size);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    if (image.isNull() || !buffer.open(QIODevice::WriteOnly) || !image.save(&buffer, "PNG"))
        return false;
    return replaceFile(path, {bytes.constData(), static_cast<std::size_t>(bytes.size())});
}

} // namespace ov3d::session
