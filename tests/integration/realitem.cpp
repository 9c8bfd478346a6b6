#include "tests/integration/realitem.h"

#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "tests/support/testbase.h"
#include "viewer/session/ov3dviewer.h"

#include <QApplication>
#include <QDir>
#include <QGraphicsSceneMouseEvent>
#include <QGraphicsSceneWheelEvent>
#include <QMutexLocker>
#include <QPainter>

#include <limits>

namespace {

constexpr int kSettleLimitMs = 120'000; ///< a machine with many tests at once; the viewer's own limits come earlier

} // namespace

RealItem::RealItem(QSize size)
    : m_previousFolder(QDir::currentPath())
{
    QDir(m_folder.path()).mkdir(QStringLiteral("resources"));
    QDir::setCurrent(m_folder.path());
    SetRunHandle(&ov3dViewer);
    CUndoRedo::GetInstance()->stack()->clear();

    m_item = static_cast<COv3DObject*>(createObject_ov3dobject(0, 0, false));
    m_item->setSize(size, false, false);
    m_scene.setSceneRect(QRectF(QPointF(0, 0), size));
    m_scene.addItem(m_item);
    QObject::connect(
        m_item->m_drawThread, &CDrawByOpenGL::updateImage, &m_painter, [this] { ++m_frames; }, Qt::DirectConnection);
    // The item rebuilds its hit shape from the frame that it painted last, so a page that is not painted has none.
    QObject::connect(
        m_item->m_drawThread, &CDrawByOpenGL::updateImage, &m_painter, [this] { paintPage(); }, Qt::QueuedConnection);
}

RealItem::~RealItem()
{
    CUndoRedo::GetInstance()->stack()->clear();
    m_scene.removeItem(m_item);
    m_item->m_loadTimer.invalidate(); // skips the wait of an item that has just been loaded
    m_item->Release();
    QDir::setCurrent(m_previousFolder);
}

bool RealItem::load(const QString& path)
{
    if (!m_item->loadFromFile(path))
        return false;
    m_item->setSelected(true);
    return settle();
}

bool RealItem::settle()
{
    if (!TestBase::waitFor([] { return ov3dViewerPending() == 0; }, kSettleLimitMs))
        return false;
    // The last frame is still on its way to the item's hit shape: through this thread's queue.
    QCoreApplication::processEvents();
    return true;
}

QImage RealItem::picture() const
{
    const QMutexLocker lock(&m_item->m_drawThread->m_mutex);
    return m_item->m_drawThread->m_resultImage.copy();
}

QPointF RealItem::grip() const
{
    const QImage image = picture();
    const QPoint middle = image.rect().center();
    QPoint best = middle;
    int bestDistance = std::numeric_limits<int>::max();
    for (int y = 0; y < image.height(); ++y) {
        for (int x = 0; x < image.width(); ++x) {
            const int distance = (QPoint(x, y) - middle).manhattanLength();
            if (qAlpha(image.pixel(x, y)) != 0 && distance < bestDistance) {
                bestDistance = distance;
                best = QPoint(x, y);
            }
        }
    }
    return best;
}

/// The signal of a frame may come just after the frame counts as taken.
void RealItem::waitForHitShape(QPointF at)
{
    TestBase::waitFor([&] { return m_item->shape().contains(at); });
}

void RealItem::press(QPointF at, Qt::MouseButton button, Qt::KeyboardModifiers modifiers)
{
    waitForHitShape(at);
    m_pressedAt = m_last = at;
    m_button = button;
    m_modifiers = modifiers;
    send(QEvent::GraphicsSceneMousePress, at, button);
}

void RealItem::move(QPointF to)
{
    send(QEvent::GraphicsSceneMouseMove, to, Qt::NoButton);
}

void RealItem::release(QPointF at)
{
    send(QEvent::GraphicsSceneMouseRelease, at, m_button);
}

void RealItem::send(QEvent::Type type, QPointF at, Qt::MouseButton button)
{
    QGraphicsSceneMouseEvent event(type);
    event.setButton(button);
    event.setButtons(type == QEvent::GraphicsSceneMouseRelease ? Qt::NoButton : m_button);
    event.setModifiers(m_modifiers);
    event.setScenePos(at);
    event.setScreenPos(at.toPoint());
    event.setLastScenePos(m_last);
    event.setLastScreenPos(m_last.toPoint());
    event.setButtonDownScenePos(m_button, m_pressedAt);
    event.setButtonDownScreenPos(m_button, m_pressedAt.toPoint());
    m_last = at;
    QApplication::sendEvent(&m_scene, &event);
}

void RealItem::turnWheel(QPointF at, int delta, Qt::KeyboardModifiers modifiers)
{
    waitForHitShape(at);
    QGraphicsSceneWheelEvent event(QEvent::GraphicsSceneWheel);
    event.setScenePos(at);
    event.setScreenPos(at.toPoint());
    event.setDelta(delta);
    event.setModifiers(modifiers);
    QApplication::sendEvent(&m_scene, &event);
}

void RealItem::paintPage()
{
    QImage page(m_scene.sceneRect().size().toSize(), QImage::Format_ARGB32_Premultiplied);
    page.fill(Qt::white);
    QPainter painter(&page);
    m_scene.render(&painter);
}
