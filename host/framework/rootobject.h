#pragma once

#include "host/framework/frameworkexport.h"
#include "host/qimageex/qimageex.h"

#include <QPainterPath>
#include <QPair>
#include <QPointF>
#include <QRectF>
#include <QSizeF>
#include <QString>
#include <QVariant>
#include <QVariantMap>

#include <atomic>

class CBaseObject;
class IOvPage;
class QDataStream;
class QGraphicsItem;
class QJsonObject;
class QPainter;

/// What every page item is to the editor. Lives on the GUI thread, which calls everything here; isLocked() and
/// notifyObjPropertyChanged() may also be called on other threads.
///
/// The object rectangle, in page units, is the authority on an item's place and size. The order of the virtual
/// functions is part of the binary interface.
class OV_FRAMEWORK_EXPORT COVRootObject
{
public:
    COVRootObject(int id, bool locked, IOvPage* page);
    virtual ~COVRootObject();
    Q_DISABLE_COPY_MOVE(COVRootObject)

    [[nodiscard]] bool isLocked() const; ///< any thread
    void setLocked(bool locked);
    void setPage(IOvPage* page);
    [[nodiscard]] QRectF getObjRect() const;

    /// Stores the rectangle and nothing more: updateAfterObjRectChanged() takes the graphics item along.
    void setObjRect(const QRectF& rect);

    /// Whether the item has been restored from a document or a stream.
    [[nodiscard]] bool isLoadedFlag() const;
    void setLoadedFlag(bool loaded);

    /// The graphics item's type() less 65536 (QGraphicsItem::UserType).
    [[nodiscard]] int GetType() const;
    [[nodiscard]] QSizeF getSize() const;
    [[nodiscard]] QPointF getPos() const;
    [[nodiscard]] IOvPage* GetPage() const;

    /// Named values that travel with save() and saveJson(). An unknown name answers an invalid QVariant.
    void setOtherParams(const QString& name, const QVariant& value);
    [[nodiscard]] QVariant getOtherParams(const QString& name) const;

    /// Moves the graphics item to the rectangle's corner and repaints it; with `notify`, CObjectNotifier tells of it.
    void updateAfterObjRectChanged(QGraphicsItem* item, bool notify);

    /// Takes a copy of the outline, in item coordinates times `scale`, at which the editor shows an item's handles.
    void addHandlePath(QGraphicsItem* item, QPainterPath* path, double scale);

    /// Tells observers (CObjectNotifier) that something has changed; they hear of it later, on the GUI thread. Any
    /// thread; returns at once.
    virtual void notifyObjPropertyChanged(int code, const QString& text);

    virtual QGraphicsItem* GetGraphicsItemPtr() = 0;

    /// Paints the item, in item coordinates.
    virtual void OnQPainterDraw(QPainter* painter);

    /// The rectangle and the named values, in binary form. load() takes nothing over from a stream that holds something
    /// else: it puts the stream back where it was and answers false.
    virtual bool save(QDataStream& stream);
    virtual bool load(QDataStream& stream);

    /// The same as keys "obj_rect" and "other_params"; other keys are left alone. Absent keys keep what the item has.
    virtual bool saveJson(QJsonObject& object);
    virtual bool loadJson(QJsonObject& object);

    /// The flags are the caller's business; they are kept for sizeFlags().
    virtual void setSize(QSizeF size, bool flagA, bool flagB);
    virtual void setPos(QPointF position, bool notify);

    /// The only way to dispose of an item.
    virtual void Release();

    /// Numbered properties, exchanged through streams. @return false: not answered, not taken.
    virtual bool GetSpecialProperty(int id, QDataStream& out);
    virtual bool SetSpecialProperty(int id, QDataStream& in, bool flag);

    virtual bool loadFromFile(const QString& path);

    /// The item as painted now, at most 512 pixels wide and high, transparent where it paints nothing.
    virtual QImageEx getPreviewImage();

    [[nodiscard]] int getId() const;
    [[nodiscard]] QPainterPath handlePath() const;

    /// The two flags of the last setSize() call.
    [[nodiscard]] QPair<bool, bool> sizeFlags() const;

private:
    friend class CBaseObject;

    const int m_id;
    const quint64 m_serial; ///< never given twice, so that a late notice cannot reach a newer item at the same address
    std::atomic<bool> m_locked;
    IOvPage* m_page;
    CBaseObject* m_base = nullptr; ///< the graphics item to warn before the rectangle changes
    QRectF m_rect;
    bool m_loaded = false;
    QVariantMap m_otherParams;
    QPainterPath m_handlePath;
    QPair<bool, bool> m_sizeFlags{false, false};
};
