#include "viewer/session/session.h"

#include "src/render/handshake.h"
#include "viewer/session/contextreader.h"
#include "viewer/session/modelfile.h"

#include <cstring>

namespace ov3d::session {

namespace {

double secondsNow()
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count();
}

bool isCommand(std::int32_t op)
{
    switch (op) {
    case kOperationStart:
    case kOperationInput:
    case kOperationRedraw:
    case kOperationApplyViewType:
    case kOperationRestore:
        return false;
    default:
        return true;
    }
}

} // namespace

Session::Session(ViewContext& context)
    : m_format(context.model_format)
    , m_run(context.object_id)
    , m_buffer(context.frame_buffer)
    , m_context(&context)
    , m_settings(readRenderSettings(context))
{
    const std::optional<std::string> path = readModelPath(context);
    m_path = path ? toAbsolute(*path) : readModelPathBytes(context);
    if (!path)
        m_startFault = "has a path of more than 255 bytes";
    else if (path->empty())
        m_startFault = "has no name";

    camera::Request request = readCameraRequest(context, secondsNow());
    request.op = kOperationStart;
    m_camera.start(request);
    if (m_buffer)
        m_capacity = bufferCapacity(request.width, request.height);
    noteSize(request.width, request.height);
    m_lastActivity = Clock::now();
}

Session::~Session() = default;

void Session::request()
{
    const std::lock_guard lock(m_mutex);
    if (!m_context)
        return;
    ViewContext& context = *m_context;
    camera::Request request = readCameraRequest(context, secondsNow());
    const bool wasTurning = isTurning();
    const std::uint64_t before = m_deliveries.wanted();

    noteSize(request.width, request.height);
    camera::Outcome outcome = m_camera.handle(request);
    m_gesture = outcome.gesture_running;
    Reply reply = Reply::later;
    if (isCommand(request.op)) {
        const OV3DOBJECT::SceneStatus status = m_camera.status();
        reply = obey(context);
        outcome.moved = outcome.moved || std::memcmp(&status, &m_camera.status(), sizeof status) != 0;
    }
    protocol::RenderSettings settings = readRenderSettings(context);
    settings.hdr_path = m_environment;
    // A card looks the same from everywhere. The last picture of a turntable that stops was in motion; the one at rest
    // is still owed.
    const bool viewChanged = !m_onCard && (outcome.moved || (wasTurning && !isTurning()));
    if (viewChanged || settings != m_settings || (outcome.deliver_at_rest && isTurning()))
        m_deliveries.change();
    else if (outcome.deliver_at_rest && m_deliveries.wanted() == before)
        m_deliveries.repeat();
    m_tryAgain = m_tryAgain || (m_onCard && m_hasBounds && settings != m_settings);
    m_settings = settings;
    if (isCommand(request.op) && reply == Reply::later)
        expectAnswer();

    // Before the model is known there is no view to report, and a saved one must not be overwritten.
    if (m_firstDrawDone && m_hasBounds)
        context.scene_status = m_camera.status();
    noteTaken();
    m_lastInput = m_lastActivity = Clock::now();
    if (reply != Reply::later)
        answerCommand(reply);
    m_wakeup.wake();
}

void Session::stop()
{
    {
        const std::lock_guard lock(m_mutex);
        m_context = nullptr;
    }
    m_wakeup.wake();
    // A progress callback that had already begun is awaited; another cannot begin any more.
    const std::lock_guard callback(m_callbackMutex);
}

void Session::abandon()
{
    const std::lock_guard lock(m_mutex);
    m_abandoned = true;
    m_wakeup.wake();
}

void Session::look()
{
    const std::lock_guard lock(m_mutex);
    if (!m_context)
        return;
    const std::uint64_t before = m_deliveries.wanted();
    noteSize(loadAcquire(m_context->width), loadAcquire(m_context->height));
    noteTaken();
    const bool changed = m_deliveries.wanted() != before;
    if (changed)
        m_lastActivity = Clock::now();
    // A frame can also wait for a buffer that was never ours to fill, at the start of a run.
    if (changed || (m_deliveries.hasFrame() && loadAcquire(m_context->frame_width) == kNoFrame))
        m_wakeup.wake();
}

bool Session::owesPicture()
{
    const std::lock_guard lock(m_mutex);
    if (!m_context)
        return false;
    noteSize(loadAcquire(m_context->width), loadAcquire(m_context->height));
    noteTaken();
    const bool owes = owesNow();
    if (owes)
        m_wakeup.wake();
    return owes;
}

void Session::giveUp() noexcept
{
    const std::lock_guard lock(m_mutex);
    if (m_command)
        answerCommand(Reply::failed);
    if (!m_context || m_firstDrawDone)
        return;
    m_firstDrawDone = true;
    m_context->file_list[0] = '\0';
    if (loadAcquire(m_context->frame_width) == kNoFrame)
        writeFrame(*m_context, nullptr, nullptr, {});
    storeRelease(m_context->first_draw, std::uint8_t{1});
}

void Session::noteSize(std::int32_t width, std::int32_t height)
{
    if (!isSaneSize(width, height) || (width == m_itemWidth && height == m_itemHeight))
        return;
    const bool first = m_itemWidth == 0;
    m_itemWidth = width;
    m_itemHeight = height;
    m_fit = fitPicture(width, height, m_capacity);
    if (first)
        return;
    m_camera.resize(width, height);
    m_deliveries.change();
}

void Session::noteTaken()
{
    if (!m_context || !m_deliveries.isUntaken() || loadAcquire(m_context->frame_width) != kNoFrame)
        return;
    m_deliveries.taken();
    // The session's thread goes on from here: to the next frame, or to its rest.
    m_wakeup.wake();
}

bool Session::isTurning() const
{
    return m_firstDrawDone && !m_onCard && m_camera.isTurning();
}

bool Session::owesNow() const
{
    return !m_firstDrawDone || m_deliveries.owes(isTurning());
}

} // namespace ov3d::session
