#include "apps/common/picturefile.h"

#include <QFile>
#include <QFileInfo>
#include <QImage>
#include <QImageWriter>
#include <QSaveFile>

#include <sys/stat.h>

namespace ov3d::apps {

QString whyNoPictureAt(const QString& path)
{
    struct stat status
    {
    };
    if (::stat(QFile::encodeName(path).constData(), &status) != 0 || S_ISREG(status.st_mode))
        return {};
    return S_ISDIR(status.st_mode) ? QStringLiteral("is a folder") : QStringLiteral("is no plain file");
}

bool isPngName(const QString& name)
{
    return QFileInfo(name).suffix().compare(QLatin1String("png"), Qt::CaseInsensitive) == 0;
}

QString writePng(const QString& path, const QImage& image)
{
    if (const QString reason = whyNoPictureAt(path); !reason.isEmpty())
        return reason;
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    QImageWriter writer(&file, "png");
    if (!writer.write(image.convertToFormat(QImage::Format_ARGB32)))
        return file.error() == QFileDevice::NoError ? writer.errorString() : file.errorString();
    return file.commit() ? QString() : file.errorString();
}

} // namespace ov3d::apps
