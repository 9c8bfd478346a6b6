#include "apps/board/placement.h"

#include <cmath>

namespace ov3d::apps {

namespace {

constexpr double kUsedShare = 8.0 / 9.0; ///< of a cell's side
constexpr QSizeF kShape(4, 3);
constexpr int kWidthMultiple = 4; ///< items raise their width to one

} // namespace

QVector<QRectF> placesOnPage(QSizeF page, int count)
{
    if (count < 1)
        return {};
    const int columns = static_cast<int>(std::ceil(std::sqrt(count)));
    const int rows = (count + columns - 1) / columns;
    const QSizeF cell(page.width() / columns, page.height() / rows);
    QSizeF size = kShape.scaled(cell * kUsedShare, Qt::KeepAspectRatio);
    const double width = std::floor(size.width() / kWidthMultiple) * kWidthMultiple;
    size = QSizeF(width, std::floor(size.height()));

    QVector<QRectF> places;
    for (int i = 0; i < count; ++i) {
        QRectF place(QPointF(0, 0), size);
        place.moveCenter({cell.width() * (i % columns + 0.5), cell.height() * (i / columns + 0.5)});
        place.moveTopLeft({std::floor(place.left()), std::floor(place.top())});
        places << place;
    }
    return places;
}

} // namespace ov3d::apps
