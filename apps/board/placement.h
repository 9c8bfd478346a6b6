#pragma once

#include <QRectF>
#include <QSizeF>
#include <QVector>

namespace ov3d::apps {

/// Places for `count` models on a page, side by side, each four to three. One alone is 1280 by 960 on the usual page.
QVector<QRectF> placesOnPage(QSizeF page, int count);

} // namespace ov3d::apps
