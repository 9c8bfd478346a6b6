#include "host/framework/page.h"

#include "host/framework/rootobject.h"

#include <QGraphicsItem>

COvPage::COvPage(IOvDocument* document, const QSizeF& size)
    : m_document(document)
    , m_scene(QRectF(QPointF(0.0, 0.0), size))
{
}

COvPage::~COvPage()
{
    // The scene would delete its items, and an item's way to go is Release(). From the top, since children lie above
    // their parents; an item that does not go at Release() is left to the scene.
    for (QList<COVRootObject*> left = objects(); !left.isEmpty();) {
        const int before = left.size();
        left.last()->Release();
        left = objects();
        if (left.size() >= before)
            break;
    }
}

IOvDocument* COvPage::getDocument()
{
    return m_document;
}

QGraphicsScene* COvPage::scene()
{
    return &m_scene;
}

QSizeF COvPage::size() const
{
    return m_scene.sceneRect().size();
}

void COvPage::setSize(const QSizeF& size)
{
    m_scene.setSceneRect(QRectF(QPointF(0.0, 0.0), size));
}

void COvPage::addObject(COVRootObject* object)
{
    QGraphicsItem* item = object ? object->GetGraphicsItemPtr() : nullptr;
    if (!item)
        return;
    object->setPage(this);
    if (item->scene() != &m_scene)
        m_scene.addItem(item);
}

bool COvPage::takeObject(COVRootObject* object)
{
    QGraphicsItem* item = object ? object->GetGraphicsItemPtr() : nullptr;
    if (!item || item->scene() != &m_scene)
        return false;
    m_scene.removeItem(item);
    object->setPage(nullptr);
    return true;
}

QList<COVRootObject*> COvPage::objects() const
{
    QList<COVRootObject*> objects;
    const QList<QGraphicsItem*> items = m_scene.items(Qt::AscendingOrder);
    for (QGraphicsItem* item : items) {
        if (auto* object = dynamic_cast<COVRootObject*>(item))
            objects.append(object);
    }
    return objects;
}
