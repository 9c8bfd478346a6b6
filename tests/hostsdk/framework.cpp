#include "host/framework/framework.h"

#include <QDataStream>
#include <QJsonObject>

ILocalize::~ILocalize() {}
IOvDocument::~IOvDocument() {}
IOvPage::~IOvPage() {}
IOvPathService::~IOvPathService() {}
IOvFramework::~IOvFramework() {}

static IOvFramework* currentFramework = nullptr;

IOvFramework* GetFramework()
{
    return currentFramework;
}

void SetFramework(IOvFramework* framework)
{
    currentFramework = framework;
}

// Undo

CWbUndoCmd::CWbUndoCmd(QUndoCommand* parent)
    : QUndoCommand(parent)
{
}

int CWbUndoCmd::getIdxCmd()
{
    return m_idx;
}

void CWbUndoCmd::setIdxCmd(int idx)
{
    m_idx = idx;
}

QString CWbUndoCmd::getActionName(ILocalize* localize) const
{
    const QString id = text();
    return localize == nullptr ? id : localize->text(id);
}

CUndoRedo* CUndoRedo::GetInstance()
{
    static CUndoRedo only;
    return &only;
}

void CUndoRedo::push(QUndoCommand* command)
{
    m_stack.push(command);
}

QUndoStack* CUndoRedo::stack()
{
    return &m_stack;
}

// Items

COVRootObject::COVRootObject(int, bool locked, IOvPage* page)
    : m_page(page)
    , m_locked(locked)
{
}

COVRootObject::~COVRootObject() {}

bool COVRootObject::isLocked() const
{
    return m_locked;
}
void COVRootObject::setLocked(bool locked)
{
    m_locked = locked;
}
void COVRootObject::setPage(IOvPage* page)
{
    m_page = page;
}
QRectF COVRootObject::getObjRect() const
{
    return m_rect;
}
void COVRootObject::setObjRect(const QRectF& rect)
{
    m_rect = rect;
}
bool COVRootObject::isLoadedFlag() const
{
    return m_loaded;
}
void COVRootObject::setLoadedFlag(bool loaded)
{
    m_loaded = loaded;
}
QSizeF COVRootObject::getSize() const
{
    return m_rect.size();
}
QPointF COVRootObject::getPos() const
{
    return m_rect.topLeft();
}
IOvPage* COVRootObject::GetPage() const
{
    return m_page;
}
int COVRootObject::rectUpdates() const
{
    return m_rectUpdates;
}
int COVRootObject::handlePaths() const
{
    return m_handlePaths;
}

int COVRootObject::GetType() const
{
    auto* self = const_cast<COVRootObject*>(this);
    return self->GetGraphicsItemPtr()->type() - 65536;
}

void COVRootObject::setOtherParams(const QString& name, const QVariant& value)
{
    m_named[name] = value;
}

QVariant COVRootObject::getOtherParams(const QString& name) const
{
    const auto found = m_named.find(name);
    return found == m_named.end() ? QVariant() : found->second;
}

void COVRootObject::updateAfterObjRectChanged(QGraphicsItem* item, bool)
{
    ++m_rectUpdates;
    if (item != nullptr)
        item->setPos(getPos());
}

void COVRootObject::addHandlePath(QGraphicsItem*, QPainterPath*, double)
{
    ++m_handlePaths;
}

void COVRootObject::notifyObjPropertyChanged(int code, const QString& text)
{
    const std::scoped_lock lock(m_noticeMutex);
    m_notices.push_back(HostNotice{code, text, std::this_thread::get_id()});
}

std::vector<HostNotice> COVRootObject::notices() const
{
    const std::scoped_lock lock(m_noticeMutex);
    return m_notices;
}

void COVRootObject::OnQPainterDraw(QPainter*) {}

bool COVRootObject::save(QDataStream& stream)
{
    stream << m_rect << qint32(m_named.size());
    for (const auto& [name, value] : m_named)
        stream << name << value;
    return true;
}

bool COVRootObject::load(QDataStream& stream)
{
    qint32 count = 0;
    stream >> m_rect >> count;
    m_named.clear();
    while (count-- > 0 && stream.status() == QDataStream::Ok) {
        QString name;
        QVariant value;
        stream >> name >> value;
        m_named.emplace(name, value);
    }
    return stream.status() == QDataStream::Ok;
}

bool COVRootObject::saveJson(QJsonObject& json)
{
    json["place"] = QJsonObject{
        {"left", m_rect.left()}, {"top", m_rect.top()}, {"width", m_rect.width()}, {"height", m_rect.height()}};
    return true;
}

bool COVRootObject::loadJson(QJsonObject& json)
{
    const QJsonObject place = json.value("place").toObject();
    m_rect = QRectF(place["left"].toDouble(), place["top"].toDouble(), place["width"].toDouble(1.0),
                    place["height"].toDouble(1.0));
    return true;
}

void COVRootObject::setSize(QSizeF size, bool, bool)
{
    m_rect.setSize(size);
}

void COVRootObject::setPos(QPointF pos, bool notify)
{
    m_rect.moveTopLeft(pos);
    updateAfterObjRectChanged(GetGraphicsItemPtr(), notify);
}

void COVRootObject::Release()
{
    delete this;
}

bool COVRootObject::GetSpecialProperty(int, QDataStream&)
{
    return false;
}
bool COVRootObject::SetSpecialProperty(int, QDataStream&, bool)
{
    return false;
}
bool COVRootObject::loadFromFile(const QString&)
{
    return false;
}
QImageEx COVRootObject::getPreviewImage()
{
    return QImageEx();
}

CBaseObject::CBaseObject(int id, bool locked, QGraphicsItem* parent, IOvPage* page)
    : QGraphicsTextItem(parent)
    , COVRootObject(id, locked, page)
{
    setFlags(flags() | QGraphicsItem::ItemSendsGeometryChanges);
}

QRectF CBaseObject::boundingRect() const
{
    return {0.0, 0.0, getSize().width(), getSize().height()};
}

QPainterPath CBaseObject::shape() const
{
    return QGraphicsItem::shape();
}

bool CBaseObject::contains(const QPointF& point) const
{
    return QGraphicsItem::contains(point);
}

void CBaseObject::paint(QPainter* painter, const QStyleOptionGraphicsItem*, QWidget*)
{
    OnQPainterDraw(painter);
}

QGraphicsItem* CBaseObject::GetGraphicsItemPtr()
{
    return this;
}
void CBaseObject::OnQPainterDraw(QPainter*) {}
bool CBaseObject::save(QDataStream& stream)
{
    return COVRootObject::save(stream);
}
bool CBaseObject::load(QDataStream& stream)
{
    return COVRootObject::load(stream);
}
bool CBaseObject::saveJson(QJsonObject& json)
{
    return COVRootObject::saveJson(json);
}
bool CBaseObject::loadJson(QJsonObject& json)
{
    return COVRootObject::loadJson(json);
}

void CBaseObject::setSize(QSizeF size, bool first, bool second)
{
    prepareGeometryChange();
    COVRootObject::setSize(size, first, second);
}

void CBaseObject::setPos(QPointF pos, bool notify)
{
    COVRootObject::setPos(pos, notify);
}

QVariant CBaseObject::itemChange(GraphicsItemChange change, const QVariant& value)
{
    return QGraphicsItem::itemChange(change, value);
}

void CBaseObject::Release()
{
    delete this;
}
bool CBaseObject::GetSpecialProperty(int, QDataStream&)
{
    return false;
}
bool CBaseObject::SetSpecialProperty(int, QDataStream&, bool)
{
    return false;
}

void CBaseObject::mousePressEvent(QGraphicsSceneMouseEvent* event)
{
    QGraphicsItem::mousePressEvent(event);
}
void CBaseObject::mouseMoveEvent(QGraphicsSceneMouseEvent*) {}
void CBaseObject::mouseReleaseEvent(QGraphicsSceneMouseEvent* event)
{
    QGraphicsItem::mouseReleaseEvent(event);
}
