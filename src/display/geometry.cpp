#include "src/display/imageanalysis.h"
#include "src/plugin/numbers.h"
#include "src/plugin/ov3dobject.h"
#include "src/render/drawbyopengl.h"

#include <QMutexLocker>

#include <limits>
#include <memory>

namespace {

constexpr int kShapeLimit = 256;  ///< pixels; the hit shape never looks at more than its square
constexpr int kOpaqueAlpha = 1;   ///< smallest alpha that can be hit
constexpr int kWidthMultiple = 4; ///< frames have no row padding then
constexpr int kFrameNotice = 1002;
constexpr double kHandleScale = 1.0;

int raisedToMultiple(int width)
{
    constexpr int kLargest = std::numeric_limits<int>::max() / kWidthMultiple * kWidthMultiple;
    const int remainder = width % kWidthMultiple;
    if (remainder == 0)
        return width;
    return width > kLargest ? kLargest : width - remainder + kWidthMultiple;
}

std::unique_ptr<QPainterPath> pathOf(const QList<QRect>& rectangles, float scaleX, float scaleY)
{
    auto path = std::make_unique<QPainterPath>();
    path->setFillRule(Qt::WindingFill);
    for (const QRect& rectangle : rectangles) {
        const auto left = static_cast<float>(rectangle.left());
        const auto top = static_cast<float>(rectangle.top());
        const auto width = static_cast<float>(rectangle.width());
        const auto height = static_cast<float>(rectangle.height());
        path->addRect(left * scaleX, top * scaleY, width * scaleX, height * scaleY);
    }
    return path;
}

} // namespace

QPainterPath COv3DObject::shape() const
{
    return m_hitPath ? *m_hitPath : CBaseObject::shape();
}

void COv3DObject::doUpdateImage()
{
    update();
    // The hit shape is never rebuilt while a drag is in progress.
    if (!m_isPressed) {
        QImage pathImage;
        getImageForPath(frameImage(), pathImage, kShapeLimit);
        const QList<QRect> rectangles = rectsFromImage(pathImage, kOpaqueAlpha);
        const QSizeF size = getSize();
        auto path = pathOf(rectangles, static_cast<float>(size.width() / pathImage.width()),
                           static_cast<float>(size.height() / pathImage.height()));
        delete m_hitPath;
        m_hitPath = path.release();
        m_handlePath = *m_hitPath;
        addHandlePath(GetGraphicsItemPtr(), &m_handlePath, kHandleScale);
    }
    if (!m_firstFrameShown) {
        m_firstFrameShown = true;
        notifyObjPropertyChanged(kFrameNotice, QString());
    }
}

void COv3DObject::setSize(QSizeF size, bool flag1, bool flag2)
{
    CBaseObject::setSize(size, flag1, flag2);
    if (!m_drawThread)
        return;

    const QSizeF given = getSize();
    const int width = raisedToMultiple(truncatedToInt(given.width()));
    const int height = truncatedToInt(given.height());
    prepareGeometryChange();
    setObjRect(QRectF(getPos(), QSizeF(width, height)));

    {
        const QMutexLocker lock(&m_drawThread->m_mutex);
        if (!m_drawThread->m_resultImage.isNull())
            m_drawThread->m_resultImage =
                m_drawThread->m_resultImage.scaled(width, height, Qt::IgnoreAspectRatio, Qt::FastTransformation);
    }
    m_drawThread->startDraw(width, height);
    m_context.width = width;
    m_context.height = height;
    doUpdateImage();
}

QVariant COv3DObject::itemChange(GraphicsItemChange change, const QVariant& value)
{
    if (change == QGraphicsItem::ItemPositionChange)
        return getPos();
    return CBaseObject::itemChange(change, value);
}
