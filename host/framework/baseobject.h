#pragma once

#include "host/framework/rootobject.h"

#include <QGraphicsTextItem>

/// Base of the page items that plug-ins supply: a graphics item that paints through OnQPainterDraw(). GUI thread.
///
/// A press selects a selectable item as Qt does; no mouse event ever moves it. The order of the virtual functions is
/// part of the binary interface: GetGraphicsItemPtr directly before OnQPainterDraw, and neither loadFromFile nor
/// wheelEvent, which plug-ins add behind these.
class OV_FRAMEWORK_EXPORT CBaseObject : public QGraphicsTextItem, public COVRootObject
{
    Q_OBJECT

public:
    CBaseObject(int id, bool locked, QGraphicsItem* parent, IOvPage* page);
    ~CBaseObject() override;

    [[nodiscard]] QRectF boundingRect() const override; ///< (0, 0, width, height)
    [[nodiscard]] QPainterPath shape() const override;
    [[nodiscard]] bool contains(const QPointF& point) const override;
    void paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget) override;
    [[nodiscard]] bool isObscuredBy(const QGraphicsItem* item) const override;
    [[nodiscard]] QPainterPath opaqueArea() const override;

    QGraphicsItem* GetGraphicsItemPtr() override;
    void OnQPainterDraw(QPainter* painter) override;
    bool save(QDataStream& stream) override;
    bool load(QDataStream& stream) override;
    bool saveJson(QJsonObject& object) override;
    bool loadJson(QJsonObject& object) override;
    void setSize(QSizeF size, bool flagA, bool flagB) override;
    void setPos(QPointF position, bool notify) override;

protected:
    QVariant itemChange(GraphicsItemChange change, const QVariant& value) override;

public:
    void Release() override;
    bool GetSpecialProperty(int id, QDataStream& out) override;
    bool SetSpecialProperty(int id, QDataStream& in, bool flag) override;

protected:
    void mousePressEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseMoveEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseReleaseEvent(QGraphicsSceneMouseEvent* event) override;
    void mouseDoubleClickEvent(QGraphicsSceneMouseEvent* event) override;
    void contextMenuEvent(QGraphicsSceneContextMenuEvent* event) override;
    void keyPressEvent(QKeyEvent* event) override;
    void keyReleaseEvent(QKeyEvent* event) override;

private:
    friend class COVRootObject;
};
