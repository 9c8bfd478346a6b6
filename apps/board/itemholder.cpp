#include "apps/board/itemholder.h"

#include "host/framework/framework.h"

#include <QThread>

namespace ov3d::apps {

void disposeInBackground(CBaseObject* item)
{
    QThread* thread = QThread::create([item] { item->Release(); });
    QObject::connect(thread, &QThread::finished, thread, &QObject::deleteLater);
    item->moveToThread(thread);
    thread->start();
}

ItemHolder::~ItemHolder()
{
    if (!m_item->scene())
        disposeInBackground(m_item);
}

} // namespace ov3d::apps
