#include "apps/document/pagepicture.h"

#include "host/framework/framework.h"

#include <QPainter>

#include <algorithm>

namespace ov3d::apps {

namespace {

constexpr double kPreviewSide = 512;

} // namespace

QImage paintPage(COvPage& page, const QSize& size, const QColor& background)
{
    QImage image(size, QImage::Format_ARGB32_Premultiplied);
    if (image.isNull())
        return image;
    image.fill(background);
    QPainter painter(&image);
    page.scene()->render(&painter, QRectF(QPointF(0, 0), size), page.scene()->sceneRect(), Qt::IgnoreAspectRatio);
    return image;
}

QImage pagePreview(COvPage& page)
{
    const QSizeF size = page.size();
    const double scale = std::min(1.0, kPreviewSide / std::max({size.width(), size.height(), 1.0}));
    const QSize pixels(std::max(1, static_cast<int>(size.width() * scale)),
                       std::max(1, static_cast<int>(size.height() * scale)));
    return paintPage(page, pixels, Qt::white);
}

} // namespace ov3d::apps
