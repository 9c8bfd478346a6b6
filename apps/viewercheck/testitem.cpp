#include "apps/viewercheck/testitem.h"

#include "apps/viewercheck/progresslog.h"
#include "src/render/handshake.h"

#include <QFile>

#include <algorithm>
#include <cstring>
#include <new>
#include <thread>

namespace ov3d::viewercheck {

namespace {

constexpr Milliseconds kQuiet{400};     // nothing more comes after a picture at rest
constexpr Milliseconds kAfterStop{400}; // how long a stopped viewer is watched
constexpr Milliseconds kPromptReturn{1000};
constexpr int kBufferBytesPerPixel = 8;

const char* nameOf(std::int32_t op)
{
    switch (op) {
    case kOperationStop:
        return "operation -1 (stop)";
    case kOperationInput:
        return "operation 2 (input)";
    case kOperationRedraw:
        return "operation 3 (settings)";
    case kOperationApplyViewType:
        return "operation 4 (view type)";
    case kOperationRestore:
        return "operation 5 (restore)";
    default:
        return "a command";
    }
}

template <typename T> T* inViewer(const WatchedMemory& memory, const T& inHost)
{
    const auto offset = reinterpret_cast<const std::byte*>(&inHost) - memory.host();
    return reinterpret_cast<T*>(memory.viewer() + offset);
}

} // namespace

TestItem::TestItem(Check& check, int width, int height)
    : m_check(check)
    , m_requestsRunning(*new int(0))
    , m_context(sizeof(ViewContext), WatchedMemory::Policy::everyAccess, {nullptr, &m_requestsRunning})
    , m_state{reinterpret_cast<const ViewContext*>(m_context.host()), &m_requestsRunning}
    , m_blocks(sizeof(SettingsBlocks), WatchedMemory::Policy::everyAccess, m_state)
    , m_buffer(static_cast<std::size_t>(width) * static_cast<std::size_t>(height) * kBufferBytesPerPixel,
               WatchedMemory::Policy::firstOfPage, m_state)
{
    static int serial = 0;
    auto& item = *new (m_context.host()) ViewContext{};
    // A string points into itself, so it must be made where the viewer finds it.
    new (m_blocks.viewer()) SettingsBlocks;
    SettingsBlocks& settings = blocks();

    item.op = kOperationStart;
    item.width = width;
    item.height = height;
    item.frame_width = kNoFrame;
    item.frame_buffer = reinterpret_cast<unsigned char*>(m_buffer.viewer());
    item.view_settings = inViewer(m_blocks, settings.view);
    item.display_settings = inViewer(m_blocks, settings.display);
    item.material_settings = inViewer(m_blocks, settings.material);
    item.lighting_settings = inViewer(m_blocks, settings.lighting);
    item.camera_settings = inViewer(m_blocks, settings.camera);
    item.object_id = ++serial;
    // Items leave these doubles as they find them.
    std::memset(item.scene_status.intrinsics, 0xcd, sizeof item.scene_status.intrinsics);
    item.status_saved = 1;
    item.progress_callback = recordProgress;
    const QByteArray appPath = QFile::encodeName(check.models().folder + QLatin1Char('/'));
    std::memcpy(item.app_path, appPath.constData(),
                std::min(sizeof item.app_path, static_cast<std::size_t>(appPath.size())));
    item.result = -1;

    m_context.protect(WatchedMemory::Protection::readOnly);
    m_blocks.protect(WatchedMemory::Protection::readOnly);
}

void TestItem::setModel(const QString& path, ModelFormat format)
{
    setPathBytes(QFile::encodeName(path).toStdString());
    context().model_format = format;
}

void TestItem::setPathBytes(const std::string& path)
{
    std::memset(context().model_path, 0, sizeof context().model_path);
    path.copy(context().model_path, sizeof context().model_path);
}

void TestItem::start()
{
    context().op = kOperationStart;
    storeRelease(context().first_draw, std::uint8_t{0});
    m_previousRun = m_run;
    m_run = std::make_shared<Run>();
    std::thread([run = m_run, viewer = m_check.viewer(), address = m_context.viewer()] {
        static const char* arguments[] = {"./", nullptr};
        run->begun = true;
        viewer(1, arguments, address);
        run->returned = true;
    }).detach();
}

bool TestItem::hasFirstDraw() const
{
    return loadAcquire(context().first_draw) != 0;
}

bool TestItem::startAndDraw(Rule rule)
{
    m_check.step(rule, "waiting for the first frame");
    start();
    const std::string inTime = " within " + inMilliseconds(m_check.limit());
    if (!waitUntil([this] { return hasFirstDraw(); }, m_check.limit())) {
        m_check.fail(rule, hasReturned() ? "the start call returned without first_draw" : "no first_draw" + inTime);
        return false;
    }
    if (!waitUntil([this] { return loadAcquire(context().frame_width) != kNoFrame; }, m_check.limit())) {
        m_check.fail(rule, "first_draw was set, but no frame came" + inTime);
        return false;
    }
    return true;
}

void TestItem::request(std::int32_t op)
{
    context().op = op;
    context().is_history = 0;
    m_check.calling(nameOf(op));
    std::atomic_ref<int>(m_requestsRunning).fetch_add(1);
    const Clock::time_point begin = Clock::now();
    m_check.viewer()(0, nullptr, m_context.viewer());
    const Clock::duration time = Clock::now() - begin;
    std::atomic_ref<int>(m_requestsRunning).fetch_sub(1);
    m_check.called();
    if (time > m_slowest) {
        m_slowest = time;
        m_slowestWhat = nameOf(op);
    }
}

void TestItem::sendMouse(MouseRecordType type, int x, int y, int button, int modifiers, std::int32_t op, float wheel)
{
    const bool isWheel = type == kMouseWheel;
    ViewContext& item = context();
    item.mouse_type = type;
    item.mouse_x = x;
    item.mouse_y = y;
    item.mouse_modifiers = modifiers;
    item.mouse_button = button;
    item.mouse_buttons = isWheel ? 0 : 1;
    item.mouse_count = isWheel ? 0 : 1;
    item.mouse_pending = isWheel ? 0 : 1;
    item.wheel_dx = 0;
    item.wheel_dy = wheel;
    request(op);
}

void TestItem::drag(int distance)
{
    const int x = context().width / 2;
    const int y = context().height / 2;
    sendMouse(kMouseButtonDown, x, y, 1, 0);
    for (int i = 1; i <= 4; ++i)
        sendMouse(kMouseDrag, x + distance * i / 4, y, 1, 0);
    sendMouse(kMouseButtonUp, x + distance, y, 1, 0);
}

void TestItem::restore(const OV3DOBJECT::SceneStatus& status)
{
    context().scene_status = status;
    request(kOperationRestore);
}

void TestItem::setSize(int width, int height)
{
    storeRelease(context().width, width);
    storeRelease(context().height, height);
}

std::optional<Frame> TestItem::look(Milliseconds limit)
{
    if (!waitUntil([this] { return loadAcquire(context().frame_width) != kNoFrame; }, limit))
        return std::nullopt;
    m_buffer.protect(WatchedMemory::Protection::readOnly);
    Frame frame;
    frame.width = loadAcquire(context().frame_width);
    frame.height = context().frame_height;
    const std::size_t bytes = Frame::sizeInBytes(frame.width, frame.height);
    if (bytes > 0 && bytes <= m_buffer.size()) {
        const auto* begin = reinterpret_cast<const std::uint8_t*>(m_buffer.host());
        frame.bytes.assign(begin, begin + bytes);
    }
    return frame;
}

void TestItem::take()
{
    m_buffer.protect(WatchedMemory::Protection::open);
    storeRelease(context().frame_width, kNoFrame);
}

std::optional<Frame> TestItem::takeFrame(Milliseconds limit)
{
    std::optional<Frame> frame = look(limit);
    if (frame)
        take();
    return frame;
}

Rest TestItem::awaitRest()
{
    Rest rest;
    const Clock::time_point end = Clock::now() + m_check.limit();
    while (Clock::now() < end) {
        const auto left = std::chrono::duration_cast<Milliseconds>(end - Clock::now());
        std::optional<Frame> frame = takeFrame(rest.twice ? kQuiet : std::max(left, Milliseconds(1)));
        if (!frame)
            break;
        rest.twice = !rest.frames.empty() && looksLike(rest.last(), *frame);
        rest.frames.push_back(std::move(*frame));
        // Only the last ones matter, and a turntable would fill the memory.
        if (rest.frames.size() > 8)
            rest.frames.erase(rest.frames.begin());
    }
    return rest;
}

void TestItem::stop()
{
    request(kOperationStop);
    m_stopped = true;
    m_context.protect(WatchedMemory::Protection::closed);
    m_blocks.protect(WatchedMemory::Protection::closed);
    m_buffer.protect(WatchedMemory::Protection::closed);
}

void TestItem::requestAfterStop(std::int32_t op)
{
    // The host has not freed the record yet, so this one call may read it.
    m_context.protect(WatchedMemory::Protection::readOnly);
    m_blocks.protect(WatchedMemory::Protection::readOnly);
    request(op);
    m_context.protect(WatchedMemory::Protection::closed);
    m_blocks.protect(WatchedMemory::Protection::closed);
}

std::string TestItem::accessesAfterStop()
{
    const Clock::time_point stopped = Clock::now();
    waitUntil([this] { return hasReturned(); }, m_check.limit());
    std::this_thread::sleep_until(stopped + kAfterStop);
    const auto describe = [&](const WatchedMemory& memory, const auto& name) -> std::string {
        for (const Access& access : memory.accesses()) {
            if (!access.isClosed || access.inRequest)
                continue;
            const auto late = std::chrono::nanoseconds(access.nanoseconds) - stopped.time_since_epoch();
            return std::string(access.isWrite ? "wrote " : "read ") + name(access.offset) + ", " +
                   inMilliseconds(std::max<Clock::duration>(late, Clock::duration(0))) +
                   " after the stop request had returned";
        }
        return {};
    };
    const std::string inBuffer = describe(m_buffer, [](std::ptrdiff_t) { return "the frame buffer"; });
    const std::string inBlocks = describe(m_blocks, [](std::ptrdiff_t) { return "a settings block"; });
    const std::string inContext = describe(m_context, [](std::ptrdiff_t offset) { return fieldAt(offset); });
    return !inContext.empty() ? inContext : !inBuffer.empty() ? inBuffer : inBlocks;
}

// ---- rules that hold all the time ---------------------------------------------------------------------------------

void TestItem::judgeRun()
{
    m_check.ok(Rule::requestsReturn);
    m_check.suggest(m_slowest < kPromptReturn, Rule::requestsPrompt,
                    m_slowestWhat + " took " + inMilliseconds(m_slowest) + ", and the host's window stood still");
    judgeStatusWrites();
    judgeOwnFields();
    judgeSettings();
}

void TestItem::judgeStatusWrites()
{
    std::string fault;
    for (const Access& access : accesses())
        if (writesInto(access, offsetof(ViewContext, scene_status), sizeof(OV3DOBJECT::SceneStatus)) &&
            access.firstDraw && !access.inRequest && !access.isClosed)
            fault = "it was written after the first draw while no request was running";
    m_check.expect(fault.empty(), Rule::statusWrites, fault);
}

void TestItem::judgeOwnFields()
{
    std::string fault;
    for (const Access& access : accesses()) {
        if (!access.isWrite || access.isClosed)
            continue;
        const std::string field = fieldAt(access.offset);
        const bool isOwn = field == "frame_width" || field == "frame_height" || field == "first_draw" ||
                           field == "scene_status" || field == "file_list" || field == "result";
        if (!isOwn)
            fault = "it wrote " + field;
    }
    m_check.expect(fault.empty(), Rule::ownFields, fault);
}

void TestItem::judgeSettings()
{
    const auto path =
        static_cast<std::size_t>(reinterpret_cast<const std::byte*>(&blocks().lighting.hdr_path) - m_blocks.host());
    bool wrotePath = false;
    bool wroteOther = false;
    for (const Access& access : m_blocks.accesses()) {
        const bool isPath = writesInto(access, path, sizeof(std::string));
        wrotePath = wrotePath || isPath;
        wroteOther = wroteOther || (access.isWrite && !isPath && !access.isClosed);
    }
    m_check.expect(!wrotePath, Rule::hdrPath, "it was written");
    m_check.suggest(!wroteOther, Rule::settingsUntouched,
                    "a block was written: the host's next settings will overwrite it");
}

} // namespace ov3d::viewercheck
