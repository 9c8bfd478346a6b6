#include "host/framework/objectnotifier.h"

#include <QCoreApplication>
#include <QMutexLocker>
#include <QThread>

CObjectNotifier* CObjectNotifier::GetInstance()
{
    // Never destroyed: render threads may still report while the process ends.
    static auto* const instance = new CObjectNotifier;
    return instance;
}

CObjectNotifier::CObjectNotifier()
{
    qRegisterMetaType<COVRootObject*>("COVRootObject*");
    qRegisterMetaType<quintptr>("quintptr");
    if (const QCoreApplication* application = QCoreApplication::instance())
        moveToThread(application->thread());
}

quint64 CObjectNotifier::enlist(COVRootObject* item)
{
    const QMutexLocker lock(&m_mutex);
    m_items.insert(++m_lastSerial, item);
    return m_lastSerial;
}

void CObjectNotifier::dismiss(quint64 serial)
{
    const QMutexLocker lock(&m_mutex);
    m_items.remove(serial);
}

COVRootObject* CObjectNotifier::find(quint64 serial)
{
    const QMutexLocker lock(&m_mutex);
    return m_items.value(serial, nullptr);
}

void CObjectNotifier::postProperty(quint64 serial, int code, const QString& text)
{
    const auto sender = reinterpret_cast<quintptr>(QThread::currentThreadId());
    QMetaObject::invokeMethod(
        this,
        [this, serial, code, text, sender] {
            if (COVRootObject* item = find(serial))
                Q_EMIT propertyChanged(item, code, text, sender);
        },
        Qt::QueuedConnection);
}

void CObjectNotifier::postRect(quint64 serial, const QRectF& rect)
{
    QMetaObject::invokeMethod(
        this,
        [this, serial, rect] {
            if (COVRootObject* item = find(serial))
                Q_EMIT objRectChanged(item, rect);
        },
        Qt::QueuedConnection);
}
