#include "apps/board/pageview.h"

#include "apps/board/gesturename.h"
#include "apps/board/pagecommands.h"
#include "host/framework/framework.h"

#include <QMouseEvent>
#include <QPainter>
#include <QWheelEvent>

#include <cmath>
#include <utility>

namespace ov3d::apps {

namespace {

constexpr double kReachPixels = 7;
constexpr double kHandlePixels = 9;
constexpr double kDotDistance = 40; ///< page units
constexpr double kDotRadius = 2.5;  ///< page units
constexpr double kLeastDotPixels = 16;
constexpr double kLeastScale = 0.0001; // the largest page is a million wide
constexpr double kMarginPixels = 12;
const QColor kFrameColour(30, 110, 220);
const QColor kDeskColour(96, 100, 108);
const QColor kDotColour(206, 212, 222);

} // namespace

PageView::PageView(QWidget* parent)
    : QGraphicsView(parent)
{
    // The plug-in knows the page's main view by this name.
    setObjectName(QStringLiteral("mainGraphicsView"));
    setRenderHints(QPainter::SmoothPixmapTransform | QPainter::Antialiasing);
    setFrameShape(QFrame::NoFrame);
    setHorizontalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setVerticalScrollBarPolicy(Qt::ScrollBarAlwaysOff);
    setMouseTracking(true);
    // The frame lies outside of the item's own area.
    setViewportUpdateMode(QGraphicsView::FullViewportUpdate);
    m_moveTimer.setSingleShot(true);
    connect(&m_moveTimer, &QTimer::timeout, this, &PageView::deliverMove);
}

void PageView::setPage(COvPage* page)
{
    if (m_page)
        disconnect(m_page->scene(), nullptr, viewport(), nullptr);
    forgetGesture();
    m_page = page;
    setScene(page ? page->scene() : nullptr);
    if (page)
        connect(page->scene(), &QGraphicsScene::selectionChanged, viewport(), qOverload<>(&QWidget::update));
    fitPage();
}

void PageView::forgetGesture()
{
    m_moveTimer.stop();
    m_waitingMove.reset();
    m_draggedPart = FramePart::none;
    m_gesture.clear();
}

CBaseObject* PageView::selectedItem() const
{
    if (!m_page)
        return nullptr;
    const QList<QGraphicsItem*> selected = m_page->scene()->selectedItems();
    return selected.size() == 1 ? dynamic_cast<CBaseObject*>(selected.first()) : nullptr;
}

QRectF PageView::frameInView(const CBaseObject& item) const
{
    return viewportTransform().mapRect(item.getObjRect());
}

FramePart PageView::partAt(const QPoint& position) const
{
    const CBaseObject* item = selectedItem();
    return item && !item->isLocked() ? framePartAt(frameInView(*item), position, kReachPixels) : FramePart::none;
}

/// A locked item would make a step of undo out of a drag that changes nothing.
CBaseObject* PageView::lockedItemAt(const QPoint& position) const
{
    auto* item = dynamic_cast<CBaseObject*>(itemAt(position));
    return item && item->isLocked() ? item : nullptr;
}

void PageView::mousePressEvent(QMouseEvent* event)
{
    deliverMove();
    const FramePart part = partAt(event->pos());
    if (event->button() == Qt::LeftButton && part != FramePart::none) {
        beginFrameDrag(part, event->pos());
        return;
    }
    if (CBaseObject* locked = lockedItemAt(event->pos())) {
        m_page->scene()->clearSelection();
        locked->setSelected(true);
        Q_EMIT gestureEnded(QStringLiteral("The model is locked; Model > Locked unlocks it"));
        return;
    }
    QGraphicsView::mousePressEvent(event);
    if (m_page && m_page->scene()->mouseGrabberItem() && selectedItem()) {
        m_gesture = dragName(event->button(), event->modifiers());
        Q_EMIT gestureStarted(m_gesture);
    }
}

void PageView::mouseMoveEvent(QMouseEvent* event)
{
    if (event->buttons() != Qt::NoButton) {
        // An item takes 40 ms for a move. What comes in meanwhile is merged into the newest.
        m_waitingMove = PointerMove{event->localPos(), event->windowPos(), event->screenPos(), event->buttons(),
                                    event->modifiers()};
        m_moveTimer.start(0);
        return;
    }
    QGraphicsView::mouseMoveEvent(event);
    viewport()->setCursor(cursorFor(partAt(event->pos())));
}

void PageView::deliverMove()
{
    m_moveTimer.stop();
    const auto move = std::exchange(m_waitingMove, std::nullopt);
    if (!move)
        return;
    if (m_draggedPart != FramePart::none) {
        continueFrameDrag(move->local.toPoint());
        return;
    }
    QMouseEvent event(QEvent::MouseMove, move->local, move->window, move->screen, Qt::NoButton, move->buttons,
                      move->modifiers);
    QGraphicsView::mouseMoveEvent(&event);
}

void PageView::mouseReleaseEvent(QMouseEvent* event)
{
    deliverMove();
    if (m_draggedPart != FramePart::none) {
        if (event->button() == Qt::LeftButton)
            endFrameDrag();
        return;
    }
    QGraphicsView::mouseReleaseEvent(event);
    if (!m_gesture.isEmpty() && event->buttons() == Qt::NoButton)
        Q_EMIT gestureEnded(std::exchange(m_gesture, QString()));
}

void PageView::wheelEvent(QWheelEvent* event)
{
    const int entries = CUndoRedo::GetInstance()->stack()->index();
    QGraphicsView::wheelEvent(event);
    if (CUndoRedo::GetInstance()->stack()->index() != entries)
        Q_EMIT gestureEnded(wheelName(event->angleDelta().y(), event->modifiers()));
    event->accept();
}

void PageView::beginFrameDrag(FramePart part, const QPoint& position)
{
    m_draggedPart = part;
    m_dragStart = mapToScene(position);
    m_frameBefore = selectedItem()->getObjRect();
    Q_EMIT gestureStarted(part == FramePart::border ? QStringLiteral("Moving the model")
                                                    : QStringLiteral("Resizing the model"));
}

void PageView::continueFrameDrag(const QPoint& position)
{
    if (CBaseObject* item = selectedItem()) {
        const QPointF way = mapToScene(position) - m_dragStart;
        applyFrame(*item, draggedFrame(m_frameBefore, m_draggedPart, way, frameLimits(*item)), m_draggedPart);
        viewport()->update();
    }
}

void PageView::endFrameDrag()
{
    const FramePart part = std::exchange(m_draggedPart, FramePart::none);
    CBaseObject* item = selectedItem();
    if (item && item->getObjRect() != m_frameBefore)
        Q_EMIT frameChanged(item, m_frameBefore, item->getObjRect());
    Q_EMIT gestureEnded(part == FramePart::border ? QStringLiteral("Moving the model")
                                                  : QStringLiteral("Resizing the model"));
}

void PageView::resizeEvent(QResizeEvent* event)
{
    QGraphicsView::resizeEvent(event);
    fitPage();
}

void PageView::fitPage()
{
    if (!m_page)
        return;
    const double scale = qMin((width() - 2 * kMarginPixels) / m_page->size().width(),
                              (height() - 2 * kMarginPixels) / m_page->size().height());
    setTransform(QTransform::fromScale(qMax(scale, kLeastScale), qMax(scale, kLeastScale)));
    centerOn(m_page->scene()->sceneRect().center());
}

void PageView::drawBackground(QPainter* painter, const QRectF& area)
{
    painter->fillRect(area, kDeskColour);
    if (!m_page)
        return;
    const QRectF page = m_page->scene()->sceneRect();
    painter->fillRect(page, Qt::white);
    // A pattern, so that one sees the page wherever a model does not cover it. Wider apart where the page is shown
    // small.
    const double scale = painter->worldTransform().m11();
    const double enlargement = std::exp2(std::ceil(std::log2(qMax(1.0, kLeastDotPixels / (kDotDistance * scale)))));
    const double distance = kDotDistance * enlargement;
    const double radius = kDotRadius * enlargement;
    const QRectF shown = page & area.adjusted(-radius, -radius, radius, radius);
    const auto first = [distance](double pageStart, double shownStart) {
        return pageStart + distance * (0.5 + std::ceil((shownStart - pageStart) / distance - 0.5));
    };
    painter->setPen(Qt::NoPen);
    painter->setBrush(kDotColour);
    for (double y = first(page.top(), shown.top()); y < shown.bottom(); y += distance) {
        for (double x = first(page.left(), shown.left()); x < shown.right(); x += distance)
            painter->drawEllipse(QPointF(x, y), radius, radius);
    }
}

void PageView::paintEvent(QPaintEvent* event)
{
    QGraphicsView::paintEvent(event);
    const CBaseObject* item = selectedItem();
    if (!item)
        return;
    const QRectF frame = frameInView(*item);
    QPainter painter(viewport());
    painter.setPen(QPen(kFrameColour, 1.5));
    if (item->isLocked())
        painter.setPen(QPen(kFrameColour, 1.5, Qt::DashLine));
    painter.drawRect(frame);
    if (item->isLocked())
        return;
    painter.setBrush(Qt::white);
    for (const QRectF& handle : handleRects(frame, kHandlePixels))
        painter.drawRect(handle);
}

} // namespace ov3d::apps
