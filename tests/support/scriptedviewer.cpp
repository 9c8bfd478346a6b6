#include "tests/support/scriptedviewer.h"

#include "src/render/handshake.h"

#include <QPainter>
#include <QThread>

#include <algorithm>
#include <cstring>
#include <deque>

namespace {

constexpr auto kPoll = std::chrono::milliseconds(2);
const QColor kKeyColour(92, 238, 20);
const QColor kModelColour(128, 128, 128);

std::mutex g_currentMutex;
std::condition_variable g_currentIsFree;
ScriptedViewer* g_current = nullptr;
int g_users = 0; ///< calls inside the current object

ScriptedViewer::Call recordOf(int argc, const char** argv, const ViewContext& context)
{
    ScriptedViewer::Call call;
    call.argc = argc;
    call.hasArgv = argv != nullptr;
    if (argv && argc > 0)
        call.firstArgument = argv[0];
    std::memcpy(&call.context, &context, sizeof context);
    call.contextAddress = const_cast<ViewContext*>(&context);
    call.hasBlocks = context.view_settings && context.display_settings && context.material_settings &&
                     context.lighting_settings && context.camera_settings;
    if (call.hasBlocks) {
        call.view = *context.view_settings;
        call.display = *context.display_settings;
        call.material = *context.material_settings;
        call.lighting = *context.lighting_settings;
        call.camera = *context.camera_settings;
    }
    call.thread = reinterpret_cast<quintptr>(QThread::currentThreadId());
    call.time = ScriptedViewer::Clock::now();
    return call;
}

bool isHostCommand(std::int32_t op)
{
    return op < kOperationStop || op == 0 || op > kOperationRestore;
}

} // namespace

/// One long-running call. The deque and the flags are guarded by the viewer's mutex.
struct ScriptedViewer::Session
{
    const void* context = nullptr;
    Script script;
    std::deque<Frame> frames;
    bool stopping = false;
    bool ended = false;
};

ScriptedViewer::ScriptedViewer()
{
    const std::lock_guard lock(g_currentMutex);
    Q_ASSERT(!g_current);
    g_current = this;
}

ScriptedViewer::~ScriptedViewer()
{
    {
        const std::lock_guard lock(m_mutex);
        for (const auto& session : m_sessions)
            session->stopping = true;
        m_changed.notify_all();
    }
    std::unique_lock lock(g_currentMutex);
    g_current = nullptr;
    g_currentIsFree.wait(lock, [] { return g_users == 0; });
}

void ScriptedViewer::run(int argc, const char** argv, void* context)
{
    ScriptedViewer* viewer = nullptr;
    {
        const std::lock_guard lock(g_currentMutex);
        if (!g_current)
            return;
        viewer = g_current;
        ++g_users;
    }
    auto& record = *static_cast<ViewContext*>(context);
    if (argc == 0) {
        {
            const std::lock_guard lock(viewer->m_mutex);
            viewer->m_calls.push_back(recordOf(argc, argv, record));
        }
        viewer->answer(record);
    } else {
        viewer->serve(argc, argv, record);
    }
    const std::lock_guard lock(g_currentMutex);
    --g_users;
    g_currentIsFree.notify_all();
}

void ScriptedViewer::answer(ViewContext& context)
{
    std::function<void(ViewContext&)> onCall;
    std::optional<int> commandResult;
    {
        const std::lock_guard lock(m_mutex);
        onCall = m_onCall;
        commandResult = m_commandResult;
    }
    const bool isStop = context.op == kOperationStop;
    if (onCall)
        onCall(context);
    if (commandResult && isHostCommand(context.op))
        storeRelease(context.result, static_cast<std::int32_t>(*commandResult));
    if (isStop)
        endSessions(&context);
}

/// Once this returns, no obedient run touches the context any more.
void ScriptedViewer::endSessions(const void* context)
{
    std::unique_lock lock(m_mutex);
    const std::list<std::shared_ptr<Session>> sessions = m_sessions;
    for (const auto& session : sessions) {
        if (session->context != context || !session->script.endsOnStop)
            continue;
        session->stopping = true;
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return session->ended; });
    }
}

void ScriptedViewer::abandon(const void* context)
{
    std::unique_lock lock(m_mutex);
    const std::list<std::shared_ptr<Session>> sessions = m_sessions;
    for (const auto& session : sessions) {
        if (session->context != context)
            continue;
        session->stopping = true;
        m_changed.notify_all();
        m_changed.wait(lock, [&] { return session->ended; });
    }
}

void ScriptedViewer::serve(int argc, const char** argv, ViewContext& context)
{
    auto session = std::make_shared<Session>();
    session->context = &context;
    {
        const std::lock_guard lock(m_mutex);
        m_starts.push_back(recordOf(argc, argv, context));
        session->script = m_script;
        m_sessions.push_back(session);
    }
    if (drawFirst(*session, context))
        deliverFrames(*session, context);

    const std::lock_guard lock(m_mutex);
    session->ended = true;
    m_sessions.remove(session);
    m_changed.notify_all();
}

/// @return false when the run was ended before.
bool ScriptedViewer::drawFirst(Session& session, ViewContext& context)
{
    const Script& script = session.script;
    for (const int percent : script.progress)
        context.progress_callback(percent);
    {
        std::unique_lock lock(m_mutex);
        m_changed.wait(lock, [&] { return session.stopping || script.setsFirstDraw || m_firstDrawAllowed; });
        if (session.stopping)
            return false;
    }
    if (script.sceneStatus)
        context.scene_status = *script.sceneStatus;

    const auto length = std::min(static_cast<std::size_t>(script.fileList.size()), sizeof context.file_list);
    std::memcpy(context.file_list, script.fileList.constData(), length);
    if (script.terminatesFileList && length < sizeof context.file_list)
        context.file_list[length] = '\0';

    if (script.sendsFirstFrame) {
        const QImage picture =
            script.firstFrame.isNull() ? defaultFrame(context.width, context.height) : script.firstFrame;
        write(Frame{picture.width(), picture.height(), picture}, context);
    }
    storeRelease(context.first_draw, std::uint8_t{1});
    return true;
}

void ScriptedViewer::deliverFrames(Session& session, ViewContext& context)
{
    std::unique_lock lock(m_mutex);
    while (!session.stopping) {
        if (session.frames.empty()) {
            m_changed.wait(lock);
        } else if (loadAcquire(context.frame_width) == kNoFrame) {
            write(session.frames.front(), context);
            session.frames.pop_front();
        } else {
            m_changed.wait_for(lock, kPoll);
        }
    }
}

void ScriptedViewer::write(const Frame& frame, ViewContext& context)
{
    if (!frame.pixels.isNull()) {
        const QImage rgb = frame.pixels.convertToFormat(QImage::Format_RGB888);
        const auto rowBytes = (static_cast<std::size_t>(frame.width) * 3 + 3) / 4 * 4;
        for (int y = 0; y < frame.height; ++y)
            std::memcpy(context.frame_buffer + static_cast<std::size_t>(y) * rowBytes, rgb.constScanLine(y),
                        static_cast<std::size_t>(frame.width) * 3);
    }
    context.frame_height = frame.height;
    storeRelease(context.frame_width, static_cast<std::int32_t>(frame.width));
}

void ScriptedViewer::setScript(const Script& script)
{
    const std::lock_guard lock(m_mutex);
    m_script = script;
}

void ScriptedViewer::setOnCall(std::function<void(ViewContext&)> function)
{
    const std::lock_guard lock(m_mutex);
    m_onCall = std::move(function);
}

void ScriptedViewer::setCommandResult(std::optional<int> result)
{
    const std::lock_guard lock(m_mutex);
    m_commandResult = result;
}

std::vector<ScriptedViewer::Call> ScriptedViewer::calls() const
{
    const std::lock_guard lock(m_mutex);
    return m_calls;
}

int ScriptedViewer::callCount() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_calls.size());
}

std::vector<ScriptedViewer::Call> ScriptedViewer::callsWithOp(int op) const
{
    const std::lock_guard lock(m_mutex);
    std::vector<Call> found;
    std::copy_if(m_calls.begin(), m_calls.end(), std::back_inserter(found),
                 [op](const Call& call) { return call.context.op == op; });
    return found;
}

ScriptedViewer::Call ScriptedViewer::lastCall() const
{
    const std::lock_guard lock(m_mutex);
    return m_calls.empty() ? Call() : m_calls.back();
}

void ScriptedViewer::clearCalls()
{
    const std::lock_guard lock(m_mutex);
    m_calls.clear();
}

std::vector<ScriptedViewer::Call> ScriptedViewer::starts() const
{
    const std::lock_guard lock(m_mutex);
    return m_starts;
}

int ScriptedViewer::runningCount() const
{
    const std::lock_guard lock(m_mutex);
    return static_cast<int>(m_sessions.size());
}

void ScriptedViewer::allowFirstDraw()
{
    const std::lock_guard lock(m_mutex);
    m_firstDrawAllowed = true;
    m_changed.notify_all();
}

void ScriptedViewer::send(const QImage& frame)
{
    const std::lock_guard lock(m_mutex);
    for (const auto& session : m_sessions)
        session->frames.push_back(Frame{frame.width(), frame.height(), frame});
    m_changed.notify_all();
}

void ScriptedViewer::sendSize(int width, int height)
{
    const std::lock_guard lock(m_mutex);
    for (const auto& session : m_sessions)
        session->frames.push_back(Frame{width, height, QImage()});
    m_changed.notify_all();
}

int ScriptedViewer::pendingFrames() const
{
    const std::lock_guard lock(m_mutex);
    int count = 0;
    for (const auto& session : m_sessions) {
        count += static_cast<int>(session->frames.size());
        const auto* context = static_cast<const ViewContext*>(session->context);
        if (!session->stopping && loadAcquire(context->frame_width) != kNoFrame)
            ++count;
    }
    return count;
}

QImage ScriptedViewer::defaultFrame(int width, int height)
{
    QImage frame(width, height, QImage::Format_RGB888);
    frame.fill(kKeyColour);
    QPainter(&frame).fillRect(width / 4, height / 4, width / 2, height / 2, kModelColour);
    return frame;
}
