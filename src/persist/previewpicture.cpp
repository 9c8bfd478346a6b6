#include "src/persist/previewpicture.h"

#include <QDebug>
#include <QImageReader>

QImage readPreview(const QString& path)
{
    QImageReader reader(path);
    const QSize size = reader.size();
    if (size.width() > kMostPreviewSide || size.height() > kMostPreviewSide) {
        qWarning().nospace() << "The preview " << path << " is left out: " << size.width() << " x " << size.height()
                             << " pixels, more than " << kMostPreviewSide << " a side";
        return QImage();
    }
    // A format that keeps its size to itself is none that items are saved in.
    return size.isValid() ? reader.read() : QImage();
}
