#include "apps/document/itemreaper.h"

#include "host/framework/framework.h"

#include <QThread>

#include <atomic>

namespace ov3d::apps {

namespace {

std::atomic<int> g_reaped{0};

} // namespace

void reapItem(CBaseObject* item)
{
    ++g_reaped;
    QThread* thread = QThread::create([item] {
        item->Release();
        --g_reaped;
    });
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    // What is still queued for the item goes with it.
    item->moveToThread(thread);
    thread->start();
}

int itemsBeingReaped()
{
    return g_reaped;
}

} // namespace ov3d::apps
