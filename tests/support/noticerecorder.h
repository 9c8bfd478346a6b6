#pragma once

#include "host/framework/framework.h"

#include <QObject>
#include <QString>
#include <QThread>
#include <QVector>

/// Records the property notices of all items from its construction on. They arrive with the event loop: see
/// ItemFixture::deliverPosted().
class NoticeRecorder
{
public:
    struct Notice
    {
        COVRootObject* item = nullptr;
        int code = 0;
        QString text;
        quintptr thread = 0;
    };

    NoticeRecorder()
    {
        QObject::connect(CObjectNotifier::GetInstance(), &CObjectNotifier::propertyChanged, &m_receiver,
                         [this](COVRootObject* item, int code, const QString& text, quintptr thread) {
                             notices.append(Notice{item, code, text, thread});
                         });
    }

    /// Notices that were sent on the calling thread.
    [[nodiscard]] QVector<Notice> fromThisThread() const { return filtered(true); }
    [[nodiscard]] QVector<Notice> fromOtherThreads() const { return filtered(false); }

    QVector<Notice> notices;

private:
    [[nodiscard]] QVector<Notice> filtered(bool here) const
    {
        const auto current = reinterpret_cast<quintptr>(QThread::currentThreadId());
        QVector<Notice> found;
        for (const Notice& notice : notices) {
            if ((notice.thread == current) == here)
                found.append(notice);
        }
        return found;
    }

    QObject m_receiver;
};
