#include "host/framework/rootobject.h"

#include "host/framework/baseobject.h"
#include "host/framework/objectnotifier.h"

#include <QDataStream>
#include <QGraphicsItem>
#include <QJsonArray>
#include <QJsonObject>
#include <QPainter>
#include <QTransform>

#include <algorithm>
#include <cmath>

namespace {

constexpr quint32 kStreamMagic = 0x4f56524f; // "OVRO"
constexpr quint32 kStreamVersion = 1;
constexpr QLatin1String kRectKey("obj_rect");
constexpr QLatin1String kOtherParamsKey("other_params");
constexpr double kPreviewLimitPixels = 512.0;

bool isUsable(const QRectF& rect)
{
    return std::isfinite(rect.x()) && std::isfinite(rect.y()) && std::isfinite(rect.width()) &&
           std::isfinite(rect.height()) && rect.width() >= 0.0 && rect.height() >= 0.0;
}

} // namespace

COVRootObject::COVRootObject(int id, bool locked, IOvPage* page)
    : m_id(id)
    , m_serial(CObjectNotifier::GetInstance()->enlist(this))
    , m_locked(locked)
    , m_page(page)
{
}

COVRootObject::~COVRootObject()
{
    CObjectNotifier::GetInstance()->dismiss(m_serial);
}

bool COVRootObject::isLocked() const
{
    return m_locked.load(std::memory_order_acquire);
}

void COVRootObject::setLocked(bool locked)
{
    m_locked.store(locked, std::memory_order_release);
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
    // The scene's index finds an item by its old bounds, so it has to hear of a change before the bounds are new.
    if (m_base && rect.size() != m_rect.size())
        m_base->prepareGeometryChange();
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

int COVRootObject::GetType() const
{
    const QGraphicsItem* item = const_cast<COVRootObject*>(this)->GetGraphicsItemPtr();
    return item ? item->type() - QGraphicsItem::UserType : -1;
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

void COVRootObject::setOtherParams(const QString& name, const QVariant& value)
{
    m_otherParams.insert(name, value);
}

QVariant COVRootObject::getOtherParams(const QString& name) const
{
    return m_otherParams.value(name);
}

void COVRootObject::updateAfterObjRectChanged(QGraphicsItem* item, bool notify)
{
    if (item) {
        item->setPos(m_rect.topLeft());
        item->update();
    }
    if (notify)
        CObjectNotifier::GetInstance()->postRect(m_serial, m_rect);
}

void COVRootObject::addHandlePath(QGraphicsItem* item, QPainterPath* path, double scale)
{
    Q_UNUSED(item)
    if (!path)
        return;
    // Comes with every frame: the plain copy shares its elements with the caller's path.
    m_handlePath = scale == 1.0 ? *path : QTransform::fromScale(scale, scale).map(*path);
}

void COVRootObject::notifyObjPropertyChanged(int code, const QString& text)
{
    CObjectNotifier::GetInstance()->postProperty(m_serial, code, text);
}

void COVRootObject::OnQPainterDraw(QPainter* painter)
{
    Q_UNUSED(painter)
}

bool COVRootObject::save(QDataStream& stream)
{
    stream << kStreamMagic << kStreamVersion << m_rect << m_otherParams;
    return stream.status() == QDataStream::Ok;
}

bool COVRootObject::load(QDataStream& stream)
{
    quint32 magic = 0;
    quint32 version = 0;
    QRectF rect;
    QVariantMap otherParams;
    stream.startTransaction();
    stream >> magic >> version;
    if (magic == kStreamMagic && version == kStreamVersion)
        stream >> rect >> otherParams;
    if (magic != kStreamMagic || version != kStreamVersion || stream.status() != QDataStream::Ok || !isUsable(rect)) {
        stream.rollbackTransaction();
        return false;
    }
    stream.commitTransaction();
    setObjRect(rect);
    m_otherParams = otherParams;
    return true;
}

bool COVRootObject::saveJson(QJsonObject& object)
{
    object.insert(kRectKey, QJsonArray{m_rect.x(), m_rect.y(), m_rect.width(), m_rect.height()});
    object.insert(kOtherParamsKey, QJsonObject::fromVariantMap(m_otherParams));
    return true;
}

bool COVRootObject::loadJson(QJsonObject& object)
{
    const QJsonArray numbers = object.value(kRectKey).toArray();
    if (numbers.size() == 4 &&
        std::all_of(numbers.begin(), numbers.end(), [](const QJsonValue& value) { return value.isDouble(); })) {
        const QRectF rect(numbers.at(0).toDouble(), numbers.at(1).toDouble(), numbers.at(2).toDouble(),
                          numbers.at(3).toDouble());
        if (isUsable(rect))
            setObjRect(rect);
    }
    const QJsonValue otherParams = object.value(kOtherParamsKey);
    if (otherParams.isObject())
        m_otherParams = otherParams.toObject().toVariantMap();
    return true;
}

void COVRootObject::setSize(QSizeF size, bool flagA, bool flagB)
{
    m_sizeFlags = {flagA, flagB};
    setObjRect(QRectF(m_rect.topLeft(), size));
}

void COVRootObject::setPos(QPointF position, bool notify)
{
    setObjRect(QRectF(position, m_rect.size()));
    updateAfterObjRectChanged(GetGraphicsItemPtr(), notify);
}

void COVRootObject::Release()
{
    delete this;
}

bool COVRootObject::GetSpecialProperty(int id, QDataStream& out)
{
    Q_UNUSED(id)
    Q_UNUSED(out)
    return false;
}

bool COVRootObject::SetSpecialProperty(int id, QDataStream& in, bool flag)
{
    Q_UNUSED(id)
    Q_UNUSED(in)
    Q_UNUSED(flag)
    return false;
}

bool COVRootObject::loadFromFile(const QString& path)
{
    Q_UNUSED(path)
    return false;
}

QImageEx COVRootObject::getPreviewImage()
{
    const double longSide = std::max(m_rect.width(), m_rect.height());
    if (!(m_rect.width() >= 1.0 && m_rect.height() >= 1.0) || !std::isfinite(longSide))
        return QImageEx();
    const double scale = std::min(1.0, kPreviewLimitPixels / longSide);
    const QSize pixels(std::max(1, static_cast<int>(m_rect.width() * scale)),
                       std::max(1, static_cast<int>(m_rect.height() * scale)));
    QImage image(pixels, QImage::Format_ARGB32_Premultiplied);
    image.fill(Qt::transparent);
    QPainter painter(&image);
    painter.scale(scale, scale);
    OnQPainterDraw(&painter);
    painter.end();
    return QImageEx(image);
}

int COVRootObject::getId() const
{
    return m_id;
}

QPainterPath COVRootObject::handlePath() const
{
    return m_handlePath;
}

QPair<bool, bool> COVRootObject::sizeFlags() const
{
    return m_sizeFlags;
}
