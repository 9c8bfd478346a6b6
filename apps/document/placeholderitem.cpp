#include "apps/document/placeholderitem.h"

#include <QImageReader>
#include <QPainter>

#include <algorithm>

namespace ov3d::apps {

namespace {

constexpr int kItemType = QGraphicsItem::UserType + 11690; ///< none that a plug-in uses
constexpr double kLargestLetters = 40;
constexpr double kLettersPerHeight = 16;
constexpr double kMarginPerLetter = 1.0;
constexpr int kMostPictureSide = 4096; ///< pixels; a document may come from anywhere

} // namespace

PlaceholderItem::PlaceholderItem(const QRectF& frame, const QString& name)
    : CBaseObject(-1, false, nullptr, nullptr)
    , m_name(name)
{
    showWaiting();
    setObjRect(frame);
    updateAfterObjRectChanged(this, false);
}

void PlaceholderItem::showWaiting()
{
    m_state = State::waiting;
    m_text = QStringLiteral("%1 waits to be loaded").arg(m_name);
    update();
}

void PlaceholderItem::showLoading()
{
    m_state = State::loading;
    m_text = QStringLiteral("%1 is being loaded").arg(m_name);
    update();
}

void PlaceholderItem::showArriving()
{
    showLoading();
    m_state = State::arriving;
}

void PlaceholderItem::showFailure(const QString& reason)
{
    m_state = State::failed;
    m_text = QStringLiteral("%1 %2").arg(m_name, reason);
    setFlag(QGraphicsItem::ItemIsSelectable, true);
    update();
}

int PlaceholderItem::type() const
{
    return kItemType;
}

const QImage& PlaceholderItem::picture()
{
    if (m_picturePath.isEmpty())
        return m_picture;
    QImageReader reader(m_picturePath, "png");
    const QSize size = reader.size();
    if (size.isValid() && size.width() <= kMostPictureSide && size.height() <= kMostPictureSide)
        m_picture = reader.read();
    m_picturePath.clear();
    return m_picture;
}

void PlaceholderItem::OnQPainterDraw(QPainter* painter)
{
    painter->save();
    if (m_state == State::failed || picture().isNull())
        drawCard(*painter);
    else
        painter->drawImage(boundingRect(), m_picture);
    painter->restore();
}

void PlaceholderItem::drawCard(QPainter& painter) const
{
    const QRectF area = boundingRect();
    const double letters = std::clamp(area.height() / kLettersPerHeight, 1.0, kLargestLetters);
    painter.setPen(QColor(150, 150, 155));
    painter.setBrush(QColor(236, 236, 238));
    painter.drawRect(area.adjusted(0.5, 0.5, -0.5, -0.5));
    QFont font = painter.font();
    font.setPixelSize(std::max(1, static_cast<int>(letters)));
    painter.setFont(font);
    painter.setPen(QColor(70, 70, 75));
    const double margin = letters * kMarginPerLetter;
    painter.drawText(area.adjusted(margin, margin, -margin, -margin), Qt::AlignCenter | Qt::TextWrapAnywhere, m_text);
}

} // namespace ov3d::apps
