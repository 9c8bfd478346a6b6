#include "apps/cli/modelpicture.h"

#include "host/framework/framework.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QGraphicsSceneMouseEvent>
#include <QGraphicsSceneWheelEvent>
#include <QPainter>
#include <QThread>

#include <algorithm>
#include <cmath>
#include <cstdlib>
#include <utility>

namespace ov3d::apps {

namespace {

constexpr int kSettleLimitMs =
    180'000; ///< beyond the viewer's own limits; a viewer that keeps its word never gets there
constexpr unsigned long kPollMs = 4;
constexpr double kPixelsPerMove = 24;
constexpr int kMostMoves = 24; ///< each takes 40 ms of the plug-in's own
constexpr int kWheelDelta = 120;

void fill(QGraphicsSceneMouseEvent& event, const DragGesture& gesture, QPointF position, QPointF last)
{
    // The item stands at the scene's origin, so item and scene positions are the same.
    event.setPos(position);
    event.setScenePos(position);
    event.setScreenPos(position.toPoint());
    event.setLastPos(last);
    event.setLastScenePos(last);
    event.setLastScreenPos(last.toPoint());
    event.setButtonDownPos(gesture.button, gesture.from);
    event.setButtonDownScenePos(gesture.button, gesture.from);
    event.setButtonDownScreenPos(gesture.button, gesture.from.toPoint());
    event.setModifiers(gesture.modifiers);
}

} // namespace

ModelPicture::ModelPicture(const Plugin& plugin, QSize size, std::function<int()> pending)
    : m_size(size)
    , m_pending(std::move(pending))
    , m_item(plugin.createItem())
{
    m_scene.setSceneRect(QRectF(QPointF(0, 0), size));
    m_item->setSize(size, false, false);
    m_scene.addItem(m_item);
}

ModelPicture::~ModelPicture()
{
    m_scene.removeItem(m_item);
    m_item->Release();
}

bool ModelPicture::load(const QString& path)
{
    COVRootObject* root = m_item;
    return root->loadFromFile(path);
}

bool ModelPicture::settle()
{
    QElapsedTimer timer;
    timer.start();
    do {
        QCoreApplication::processEvents();
        if (m_pending() == 0)
            return true;
        QThread::msleep(kPollMs);
    } while (timer.elapsed() < kSettleLimitMs);
    return false;
}

bool ModelPicture::perform(const Gesture& gesture)
{
    m_item->setSelected(true);
    if (const auto* dragged = std::get_if<DragGesture>(&gesture))
        drag(*dragged);
    else if (const auto* turned = std::get_if<WheelGesture>(&gesture))
        turnWheel(*turned);
    else if (std::holds_alternative<UndoGesture>(gesture))
        CUndoRedo::GetInstance()->stack()->undo();
    else
        CUndoRedo::GetInstance()->stack()->redo();
    return settle();
}

void ModelPicture::drag(const DragGesture& gesture)
{
    const QPointF way = gesture.to - gesture.from;
    const int moves =
        std::clamp(static_cast<int>(std::ceil(std::hypot(way.x(), way.y()) / kPixelsPerMove)), 1, kMostMoves);

    const auto send = [&](QEvent::Type type, QPointF position, QPointF last, Qt::MouseButton button,
                          Qt::MouseButtons held) {
        QGraphicsSceneMouseEvent event(type);
        fill(event, gesture, position, last);
        event.setButton(button);
        event.setButtons(held);
        m_scene.sendEvent(m_item, &event);
        QCoreApplication::processEvents();
    };
    send(QEvent::GraphicsSceneMousePress, gesture.from, gesture.from, gesture.button, gesture.button);
    QPointF last = gesture.from;
    for (int i = 1; i <= moves; ++i) {
        const QPointF position = i == moves ? gesture.to : gesture.from + way * (static_cast<double>(i) / moves);
        send(QEvent::GraphicsSceneMouseMove, position, std::exchange(last, position), Qt::NoButton, gesture.button);
    }
    send(QEvent::GraphicsSceneMouseRelease, gesture.to, gesture.to, gesture.button, Qt::NoButton);
}

void ModelPicture::turnWheel(const WheelGesture& gesture)
{
    for (int i = 0; i < std::abs(gesture.notches); ++i) {
        QGraphicsSceneWheelEvent event(QEvent::GraphicsSceneWheel);
        event.setPos(gesture.position);
        event.setScenePos(gesture.position);
        event.setScreenPos(gesture.position.toPoint());
        event.setDelta(gesture.notches > 0 ? kWheelDelta : -kWheelDelta);
        event.setOrientation(Qt::Vertical);
        event.setModifiers(gesture.modifiers);
        m_scene.sendEvent(m_item, &event);
        QCoreApplication::processEvents();
    }
}

QImage ModelPicture::paint()
{
    QImage image(m_size, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    const QRectF area(QPointF(0, 0), m_size);
    m_scene.render(&painter, area, area, Qt::IgnoreAspectRatio);
    painter.end();
    // The item takes its hit shape from the frame that it painted last, whenever the next one arrives. No further frame
    // will come.
    QMetaObject::invokeMethod(m_item, "doUpdateImage", Qt::DirectConnection);
    return image;
}

int ModelPicture::hitRectangles() const
{
    const QPainterPath shape = m_item->shape();
    int count = 0;
    for (int i = 0; i < shape.elementCount(); ++i)
        count += shape.elementAt(i).isMoveTo() ? 1 : 0;
    return count;
}

double opaqueShare(const QImage& image)
{
    if (image.isNull())
        return 0;
    const QImage pixels = image.convertToFormat(QImage::Format_ARGB32_Premultiplied);
    qint64 opaque = 0;
    for (int y = 0; y < pixels.height(); ++y) {
        const auto* row = reinterpret_cast<const QRgb*>(pixels.constScanLine(y));
        opaque += std::count_if(row, row + pixels.width(), [](QRgb pixel) { return qAlpha(pixel) > 0; });
    }
    return static_cast<double>(opaque) / (static_cast<double>(pixels.width()) * pixels.height());
}

} // namespace ov3d::apps
