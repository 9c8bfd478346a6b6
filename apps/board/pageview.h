#pragma once

#include "apps/board/selectionframe.h"

#include <QGraphicsView>
#include <QTimer>

#include <optional>

class CBaseObject;
class COvPage;

namespace ov3d::apps {

/// Shows a page, with a frame and handles around the selected item. The item's own picture takes the pointer; frame and
/// handles move and resize the item. GUI thread.
class PageView : public QGraphicsView
{
    Q_OBJECT

public:
    explicit PageView(QWidget* parent);

    /// Shows another page, or none. A gesture that is under way ends.
    void setPage(COvPage* page);

    /// The selected item; null unless exactly one is.
    [[nodiscard]] CBaseObject* selectedItem() const;

Q_SIGNALS:
    /// What the pointer is doing, for the status line.
    void gestureStarted(const QString& name);
    void gestureEnded(const QString& name);

    /// The pointer has let go of a frame that it changed.
    void frameChanged(CBaseObject* item, const QRectF& before, const QRectF& after);

protected:
    void mousePressEvent(QMouseEvent* event) override;
    void mouseMoveEvent(QMouseEvent* event) override;
    void mouseReleaseEvent(QMouseEvent* event) override;
    void wheelEvent(QWheelEvent* event) override;
    void resizeEvent(QResizeEvent* event) override;
    void drawBackground(QPainter* painter, const QRectF& area) override;
    void paintEvent(QPaintEvent* event) override;

private:
    /// A move of the pointer with a button held, not yet handed on.
    struct PointerMove
    {
        QPointF local;
        QPointF window;
        QPointF screen;
        Qt::MouseButtons buttons;
        Qt::KeyboardModifiers modifiers;
    };

    void deliverMove();
    void forgetGesture();
    [[nodiscard]] QRectF frameInView(const CBaseObject& item) const;
    [[nodiscard]] CBaseObject* lockedItemAt(const QPoint& position) const;
    [[nodiscard]] FramePart partAt(const QPoint& position) const;
    void beginFrameDrag(FramePart part, const QPoint& position);
    void continueFrameDrag(const QPoint& position);
    void endFrameDrag();

    void fitPage();

    COvPage* m_page = nullptr;
    FramePart m_draggedPart = FramePart::none;
    QPointF m_dragStart; ///< scene position
    QRectF m_frameBefore;
    std::optional<PointerMove> m_waitingMove;
    QTimer m_moveTimer;
    QString m_gesture; ///< what is being done to the model; empty: nothing
};

} // namespace ov3d::apps
