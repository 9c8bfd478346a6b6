#include "src/plugin/ov3dobject.h"
#include "src/render/drawbyopengl.h"

#include <QGraphicsScene>
#include <QGraphicsView>
#include <QMutexLocker>
#include <QPainter>

namespace {

constexpr auto kMainViewName = "mainGraphicsView";

} // namespace

QImage COv3DObject::frameImage() const
{
    if (!m_drawThread)
        return m_image;
    const QMutexLocker lock(&m_drawThread->m_mutex);
    return m_image;
}

void COv3DObject::OnQPainterDraw(QPainter* painter)
{
    QImage image = frameImage();
    if (m_isLoaded && m_drawThread)
        m_drawThread->getResultImage(image);
    painter->setRenderHint(QPainter::SmoothPixmapTransform);
    painter->drawImage(QPointF(0.0, 0.0), image);
}

QGraphicsView* COv3DObject::getMainGraphicsView(QPainter* painter)
{
    QPaintDevice* device = painter ? painter->device() : nullptr;
    QWidget* widget = dynamic_cast<QWidget*>(device);
    if (!device || device->devType() != QInternal::Widget || !scene())
        return nullptr;
    const QList<QGraphicsView*> views = scene()->views();
    for (QGraphicsView* view : views) {
        if (view->objectName() == QLatin1String(kMainViewName) && view->viewport() == widget)
            return view;
    }
    return nullptr;
}
