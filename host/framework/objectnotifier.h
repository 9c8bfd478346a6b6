#pragma once

#include "host/framework/frameworkexport.h"
#include "host/framework/rootobject.h"

#include <QHash>
#include <QMetaType>
#include <QMutex>
#include <QObject>
#include <QRectF>
#include <QString>

/// Brings what page items report to whoever listens. One for the process.
///
/// Signals come queued, on the GUI thread, in the order in which they were posted; those of an item that has been
/// released by then are dropped.
class OV_FRAMEWORK_EXPORT CObjectNotifier : public QObject
{
    Q_OBJECT

public:
    /// Never null, never destroyed. Any thread.
    [[nodiscard]] static CObjectNotifier* GetInstance();

Q_SIGNALS:
    /// An item called notifyObjPropertyChanged; `senderThread` is the id of the thread on which it did.
    void propertyChanged(COVRootObject* item, int code, const QString& text, quintptr senderThread);

    /// An item called updateAfterObjRectChanged with notify set; `rect` is the rectangle of that moment.
    void objRectChanged(COVRootObject* item, const QRectF& rect);

private:
    friend class COVRootObject;

    CObjectNotifier();

    quint64 enlist(COVRootObject* item);
    void dismiss(quint64 serial);
    [[nodiscard]] COVRootObject* find(quint64 serial);
    void postProperty(quint64 serial, int code, const QString& text);
    void postRect(quint64 serial, const QRectF& rect);

    QMutex m_mutex; ///< guards the two members below, never held while calling out
    quint64 m_lastSerial = 0;
    QHash<quint64, COVRootObject*> m_items;
};

Q_DECLARE_METATYPE(COVRootObject*)
