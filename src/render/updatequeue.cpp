#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/drawbyopengl.h"
#include "src/render/handshake.h"
#include "src/render/mouserecord.h"
#include "src/render/viewlock.h"

#include <QThread>

#include <cstring>

namespace {

constexpr unsigned long kFakeClickPauseMs = 80;
constexpr char kResetText[] = {'r', 'e', 's', 'e', 't'};

} // namespace

void COv3DObject::update_view(ViewContext* context)
{
    if (takesUpdates())
        deliver(context, loadAcquire(context->op));
}

bool COv3DObject::takesUpdates() const
{
    return loadAcquire(m_viewerReady) != 0 && !(isLocked() && loadAcquire(m_isLoaded));
}

void COv3DObject::deliverStop()
{
    if (loadAcquire(m_viewerReady) != 0)
        deliver(&m_context, kOperationStop);
    else
        storeRelease(m_context.op, std::int32_t{kOperationStop});
}

/// The operation is set under the lock: the render thread's redraw and a stop may meet, and a stop that the viewer took
/// for a redraw would leave it running on a context that is about to go.
void COv3DObject::deliver(ViewContext* context, std::int32_t operation)
{
    const ViewLock lock(*this);
    storeRelease(context->op, operation);
    if (!m_drawThread)
        return;

    // The viewer may clear the flag, so it is read before; it may change the operation and the view type, so those are
    // read after.
    const ViewSettings& view = context->view_settings ? *context->view_settings : m_viewSettings;
    const bool reset = view.reset_camera;
    context->is_history = 0;
    if (g_run_view)
        g_run_view(0, nullptr, context);

    if (context->op == kOperationStop) {
        if (reset)
            recordHistory(*context, 0, true);
    } else if (view.view_type != m_lastViewType) {
        m_lastViewType = view.view_type;
        recordHistory(*context, -view.view_type, reset);
    } else if (reset) {
        recordHistory(*context, 0, true);
    } else if (loadAcquire(m_drawThread->m_firstFrame) && context->op == kOperationInput) {
        recordHistory(*context, 0, false);
    }
}

void COv3DObject::recordHistory(const ViewContext& context, int marker, bool withResetText)
{
    ViewContext copy;
    std::memcpy(&copy, &context, sizeof copy);
    copy.is_history = 1;
    copy.op = kOperationInput;
    copy.frame_height = marker;
    if (withResetText) // five characters and no terminating zero: readers of the history compare just these
        std::memcpy(copy.file_list, kResetText, sizeof kResetText);
    m_viewQueue.append(copy);
}

void COv3DObject::forcedraw()
{
    if (m_context.view_settings)
        m_context.view_settings->reset_camera = false;
    if (m_context.material_settings)
        m_context.material_settings->material_update = true;
    if (takesUpdates())
        deliver(&m_context, kOperationRedraw);
    else
        storeRelease(m_context.op, std::int32_t{kOperationRedraw});
}

void COv3DObject::sendMouseRecord(const MouseRecord& record)
{
    record.writeTo(m_context);
    update_view(&m_context);
}

void COv3DObject::fakeMouseEvent()
{
    MouseRecord record = MouseRecord::forButton(kMouseButtonDown, QPointF(2, 2));
    m_context.op = kOperationInput;
    sendMouseRecord(record);
    m_dragKind = 1;
    QThread::msleep(kFakeClickPauseMs);

    record.type = kMouseButtonUp;
    m_context.op = kOperationInput;
    sendMouseRecord(record);
    QThread::msleep(kFakeClickPauseMs);
}

void COv3DObject::re_render_view(ViewContext* context)
{
    if (m_drawThread && g_run_view)
        g_run_view(0, nullptr, context);
}
