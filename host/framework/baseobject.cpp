#include "host/framework/baseobject.h"

#include <QGraphicsSceneContextMenuEvent>
#include <QGraphicsSceneMouseEvent>
#include <QKeyEvent>

// The text item is the base for the slots that it gives; nothing of its text editing is wanted. So the overrides here
// go to QGraphicsItem, past QGraphicsTextItem.

CBaseObject::CBaseObject(int id, bool locked, QGraphicsItem* parent, IOvPage* page)
    : QGraphicsTextItem(parent)
    , COVRootObject(id, locked, page)
{
    m_base = this;
    setFlag(ItemSendsGeometryChanges);
    setAcceptDrops(false);
}

CBaseObject::~CBaseObject()
{
    m_base = nullptr;
}

QRectF CBaseObject::boundingRect() const
{
    return QRectF(QPointF(0.0, 0.0), getSize());
}

QPainterPath CBaseObject::shape() const
{
    QPainterPath path;
    path.addRect(boundingRect());
    return path;
}

bool CBaseObject::contains(const QPointF& point) const
{
    return QGraphicsItem::contains(point);
}

void CBaseObject::paint(QPainter* painter, const QStyleOptionGraphicsItem* option, QWidget* widget)
{
    Q_UNUSED(option)
    Q_UNUSED(widget)
    OnQPainterDraw(painter);
}

bool CBaseObject::isObscuredBy(const QGraphicsItem* item) const
{
    return QGraphicsItem::isObscuredBy(item);
}

QPainterPath CBaseObject::opaqueArea() const
{
    return QGraphicsItem::opaqueArea();
}

QGraphicsItem* CBaseObject::GetGraphicsItemPtr()
{
    return this;
}

void CBaseObject::OnQPainterDraw(QPainter* painter)
{
    COVRootObject::OnQPainterDraw(painter);
}

bool CBaseObject::save(QDataStream& stream)
{
    return COVRootObject::save(stream);
}

bool CBaseObject::load(QDataStream& stream)
{
    return COVRootObject::load(stream);
}

bool CBaseObject::saveJson(QJsonObject& object)
{
    return COVRootObject::saveJson(object);
}

bool CBaseObject::loadJson(QJsonObject& object)
{
    return COVRootObject::loadJson(object);
}

void CBaseObject::setSize(QSizeF size, bool flagA, bool flagB)
{
    COVRootObject::setSize(size, flagA, flagB);
}

void CBaseObject::setPos(QPointF position, bool notify)
{
    COVRootObject::setPos(position, notify);
}

QVariant CBaseObject::itemChange(GraphicsItemChange change, const QVariant& value)
{
    // Keeps the rectangle's corner the item's position where Qt moves an item that does not refuse it.
    if (change == ItemPositionHasChanged)
        setObjRect(QRectF(value.toPointF(), getSize()));
    return QGraphicsTextItem::itemChange(change, value);
}

void CBaseObject::Release()
{
    COVRootObject::Release();
}

bool CBaseObject::GetSpecialProperty(int id, QDataStream& out)
{
    return COVRootObject::GetSpecialProperty(id, out);
}

bool CBaseObject::SetSpecialProperty(int id, QDataStream& in, bool flag)
{
    return COVRootObject::SetSpecialProperty(id, in, flag);
}

void CBaseObject::mousePressEvent(QGraphicsSceneMouseEvent* event)
{
    QGraphicsItem::mousePressEvent(event);
}

void CBaseObject::mouseMoveEvent(QGraphicsSceneMouseEvent* event)
{
    // Qt would move every selected item of the scene along.
    event->accept();
}

void CBaseObject::mouseReleaseEvent(QGraphicsSceneMouseEvent* event)
{
    QGraphicsItem::mouseReleaseEvent(event);
}

void CBaseObject::mouseDoubleClickEvent(QGraphicsSceneMouseEvent* event)
{
    QGraphicsItem::mouseDoubleClickEvent(event);
}

void CBaseObject::contextMenuEvent(QGraphicsSceneContextMenuEvent* event)
{
    QGraphicsItem::contextMenuEvent(event);
}

void CBaseObject::keyPressEvent(QKeyEvent* event)
{
    QGraphicsItem::keyPressEvent(event);
}

void CBaseObject::keyReleaseEvent(QKeyEvent* event)
{
    QGraphicsItem::keyReleaseEvent(event);
}
