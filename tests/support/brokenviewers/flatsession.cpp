#include "tests/support/brokenviewers/flatsession.h"

#include "src/persist/viewsettings.h"
#include "src/render/handshake.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdlib>
#include <cstring>
#include <stdexcept>
#include <thread>

namespace flatviewer {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kPass{5};
constexpr milliseconds kLoadStep{60};
constexpr milliseconds kShortly{30};
constexpr int kMisdeeds = 10;      // the check may come late to watch, and watches for 400 ms
constexpr int kDeafnessFactor = 5; // a load during which even a late stop is early
constexpr int kLargestSide = 65535;
constexpr int kBufferBytesPerPixel = 8;
constexpr double kShiftPerPixel = 0.1;

void sleepFor(milliseconds time)
{
    std::this_thread::sleep_for(time);
}

} // namespace

Session::Session(ViewContext& context, Breach breach)
    : m_breach(breach)
    , m_address(&context)
    , m_path(context.model_path, strnlen(context.model_path, sizeof context.model_path))
    , m_isPathCut(m_path.size() == sizeof context.model_path && breach != Breach::ShowsCutPath)
    , m_context(&context)
{
    if (breach == Breach::ThrowsAtStart)
        throw std::runtime_error("a viewer must not do this");
    m_capacity =
        static_cast<std::size_t>(context.width) * static_cast<std::size_t>(context.height) * kBufferBytesPerPixel;
    readSize(context);
    readSettings(context);
    const double* matrix = context.scene_status.camera_to_world;
    const bool isSaved = std::any_of(matrix, matrix + 16, [](double value) { return value != 0; });
    if (isSaved && breach != Breach::IgnoresSavedView)
        m_status = context.scene_status;
    else
        m_status.camera_to_world[0] = breach == Breach::StatusLeftZero ? 0 : 1;
    m_shift = m_status.camera_to_world[12];
    m_status.intrinsics[0] = 0.1; // not a number that a float can hold
}

// ---- the start's thread ---------------------------------------------------------------------------------------------

void Session::run()
{
    if (!load() || !drawFirstPicture())
        return;
    while (!isStopped()) {
        serve();
        sleepFor(kPass);
    }
    misbehave();
}

bool Session::isStopped()
{
    const std::lock_guard lock(m_mutex);
    return m_context == nullptr;
}

bool Session::load()
{
    const int falling[] = {0, 50, 25, 95};
    const int exceeding[] = {0, 50, 95, 100};
    const int rising[] = {0, 25, 50, 95};
    const auto& steps = m_breach == Breach::ProgressFalls   ? falling
                        : m_breach == Breach::ProgressTo100 ? exceeding
                                                            : rising;
    for (const int percent : steps) {
        reportProgress(percent);
        sleepFor(m_breach == Breach::DeafDuringLoad ? kDeafnessFactor * kLoadStep : kLoadStep);
        if (isStopped() && m_breach != Breach::DeafDuringLoad)
            return false;
    }
    if (m_breach == Breach::PathNotCopied)
        m_path = std::string(m_address->model_path, strnlen(m_address->model_path, sizeof m_address->model_path));
    if (!m_isPathCut)
        m_model = readModel(m_path);
    if (!m_model.isShown && !m_isPathCut) {
        const bool isDamaged = m_path.size() > 4 && m_path.compare(m_path.size() - 4, 4, ".glb") == 0;
        if (isDamaged && m_breach == Breach::DamagedModelCrashes)
            std::abort();
        while (!isDamaged && m_breach == Breach::MissingModelHangs)
            sleepFor(kLoadStep);
    }
    return true;
}

void Session::reportProgress(int percent)
{
    if (m_breach == Breach::NoProgress)
        return;
    const std::lock_guard callback(m_callbackMutex);
    std::unique_lock lock(m_mutex);
    if (!m_context)
        return;
    const auto report = m_context->progress_callback;
    if (m_breach != Breach::ProgressUnderLock)
        lock.unlock();
    if (report || m_breach == Breach::CallsNullProgress)
        report(percent);
}

void Session::writeFileList(ViewContext& context)
{
    std::vector<std::string> names;
    if (m_breach != Breach::FileListMissesLibrary)
        names = m_model.libraries;
    if (m_breach != Breach::FileListMissesTexture)
        names.insert(names.end(), m_model.textures.begin(), m_model.textures.end());
    const bool takesAll = m_breach == Breach::FileListCutsNames || m_breach == Breach::FileListUnterminated;
    std::string list;
    for (std::string name : names) {
        if (m_breach == Breach::FileListAbsolute)
            name = m_path.substr(0, m_path.rfind('/') + 1) + name;
        if (m_breach == Breach::FileListBackslashes)
            std::replace(name.begin(), name.end(), '/', '\\');
        if (takesAll || list.size() + 1 + name.size() < sizeof context.file_list)
            list += (list.empty() ? "" : "@") + name;
    }
    const std::size_t room = sizeof context.file_list - (m_breach == Breach::FileListUnterminated ? 0 : 1);
    list.resize(std::min(list.size(), room));
    std::memset(context.file_list, 0, sizeof context.file_list);
    list.copy(context.file_list, list.size());
}

bool Session::drawFirstPicture()
{
    std::unique_lock lock(m_mutex);
    m_isLoading = false;
    ViewContext* context = m_breach == Breach::DeafDuringLoad ? m_address : m_context;
    if (!context)
        return false;
    writeFileList(*context);
    if (m_model.isShown)
        writeStatus(*context);
    if (m_breach == Breach::WritesHostField)
        context->mouse_count = 0;
    if (m_breach == Breach::WritesBehindContext)
        reinterpret_cast<volatile char*>(context)[sizeof *context] = 1;
    if (m_breach == Breach::WritesHdrPath && context->lighting_settings)
        context->lighting_settings->hdr_path = "mine";
    m_owed = m_breach == Breach::DeliversOnce ? 1 : 2;
    if (m_breach == Breach::FirstDrawBeforeFrame) {
        storeRelease(context->first_draw, std::uint8_t{1});
        sleepFor(kShortly);
    }
    writeFrame(*context);
    if (m_breach != Breach::NoFirstDraw)
        storeRelease(context->first_draw, std::uint8_t{1});
    m_isFirstFrame = false;
    if (m_breach == Breach::FileListLate) {
        sleepFor(kShortly);
        writeFileList(*context);
    }
    lock.unlock();
    if (m_breach == Breach::ProgressAfterFirstDraw)
        reportProgress(95);
    return true;
}

void Session::serve()
{
    const std::lock_guard lock(m_mutex);
    if (!m_context)
        return;
    readSize(*m_context);
    const bool mayWrite = loadAcquire(m_context->frame_width) == kNoFrame;
    if (m_owed > 0 && (mayWrite || m_writesNow)) {
        writeFrame(*m_context);
        if (m_breach == Breach::StatusOutsideRequests)
            writeStatus(*m_context);
    }
    m_writesNow = false;
}

/// What a stopped viewer must not do any more.
void Session::misbehave()
{
    for (int i = 0; i < kMisdeeds; ++i) {
        sleepFor(kShortly);
        if (m_breach == Breach::WritesAfterStop && !m_wasBusyAtStop)
            m_address->frame_height = 1;
        if (m_breach == Breach::ReadsAfterStop && !m_wasBusyAtStop)
            readSize(*m_address);
        if (m_breach == Breach::FinishesFrameAfterStop && m_wasBusyAtStop)
            writeFrame(*m_address);
    }
    while (m_breach == Breach::StartNeverReturns && m_isStoppedByHost)
        sleepFor(kLoadStep);
}

// ---- requests -----------------------------------------------------------------------------------------------------

void Session::stop(bool byHost)
{
    std::unique_lock lock(m_mutex);
    m_context = nullptr;
    m_wasBusyAtStop = m_owed > 0;
    m_isStoppedByHost = byHost;
    lock.unlock();
    if (m_breach != Breach::CallbackOutlivesStop)
        const std::lock_guard callback(m_callbackMutex);
}

void Session::request()
{
    const std::lock_guard lock(m_mutex);
    if (!m_context)
        return;
    ViewContext& context = *m_context;
    readSize(context);
    const double shiftBefore = m_shift;
    const PictureRequest before = picture();
    readSettings(context);
    switch (context.op) {
    case kOperationInput:
        handleMouse(context);
        break;
    case kOperationRedraw:
        handleRedraw(context);
        break;
    case kOperationApplyViewType:
        applyViewType(context);
        break;
    case kOperationRestore:
        handleRestore(context);
        break;
    default:
        if (m_breach != Breach::CommandUnanswered)
            storeRelease(context.result, m_breach == Breach::CommandDone ? 0 : 1);
        return;
    }
    if (m_shift != shiftBefore || !isSameBackground(before, picture()))
        m_owed = 2;
    m_writesNow = m_breach == Breach::OverwritesUntakenFrame && m_owed > 0;
    if (!m_isLoading && m_model.isShown)
        writeStatus(context);
}

bool Session::isSameBackground(const PictureRequest& one, const PictureRequest& other)
{
    return one.isOpaque == other.isOpaque && one.background.red == other.background.red &&
           one.background.green == other.background.green && one.background.blue == other.background.blue;
}

void Session::handleMouse(const ViewContext& context)
{
    switch (context.mouse_type) {
    case kMouseButtonDown:
        m_isPressed = true;
        m_pressX = context.mouse_x;
        m_shiftAtPress = m_shift;
        break;
    case kMouseDrag:
        if (!m_isPressed && m_breach == Breach::CrashesOnLoneMove)
            std::abort();
        if (m_isPressed && m_breach != Breach::DragsDoNothing)
            m_shift = m_shiftAtPress + kShiftPerPixel * (context.mouse_x - m_pressX);
        break;
    case kMouseButtonUp:
        m_isPressed = false;
        if (m_breach != Breach::SilentAfterButtonUp)
            m_owed = 2;
        break;
    default:
        break;
    }
}

void Session::handleRedraw(ViewContext& context)
{
    while (m_breach == Breach::RequestHangs)
        sleepFor(kLoadStep);
    if (ViewSettings* view = context.view_settings; view && view->reset_camera) {
        if (m_breach != Breach::NoHomeView)
            m_shift = 0;
        if (m_breach == Breach::ClearsResetCamera)
            view->reset_camera = false;
    }
    if (m_breach != Breach::SilentAfterRedraw)
        m_owed = 2;
}

void Session::handleRestore(ViewContext& context)
{
    m_status = context.scene_status;
    if (m_breach != Breach::RestoreShowsOldView)
        m_shift = m_status.camera_to_world[12];
    if (m_breach == Breach::RestoreRounds)
        m_status.intrinsics[0] = static_cast<float>(m_status.intrinsics[0]);
    if (m_breach != Breach::SilentAfterRestore)
        m_owed = 2;
}

void Session::applyViewType(const ViewContext& context)
{
    if (m_breach == Breach::RequestIsSlow)
        sleepFor(milliseconds(1200));
    const int viewType = context.view_settings ? context.view_settings->view_type : 0;
    if (viewType != m_viewType && viewType != 0 && m_breach != Breach::ViewTypeDoesNothing)
        m_shift += 7;
    m_viewType = viewType;
}

void Session::writeStatus(ViewContext& context)
{
    if (m_breach != Breach::RestoreShowsOldView || m_isPressed)
        m_status.camera_to_world[12] = m_shift;
    context.scene_status = m_status;
}

void Session::readSettings(const ViewContext& context)
{
    const DisplaySettings* display = context.display_settings;
    const DisplaySettings usual;
    if (!display && m_breach != Breach::NullSettingsCrash)
        display = &usual;
    const bool hasSky = display->enable_sky && m_breach != Breach::SkyIgnored;
    const bool hasColour =
        !std::equal(display->bg_color, display->bg_color + 3, usual.bg_color) && m_breach != Breach::BackgroundIgnored;
    const auto level = [](float part) { return static_cast<int>(std::lround(part * 255)); };
    m_isOpaque = hasSky || hasColour;
    m_background = hasSky
                       ? Colour{120, 160, 220}
                       : Colour{level(display->bg_color[0]), level(display->bg_color[1]), level(display->bg_color[2])};
}

void Session::readSize(const ViewContext& context)
{
    const int width = loadAcquire(context.width);
    const int height = loadAcquire(context.height);
    const bool isSane = width > 0 && height > 0 && width <= kLargestSide && height <= kLargestSide;
    if (!isSane && m_breach == Breach::CrashesOnAbsurdSize)
        std::abort();
    if (!isSane || (width == m_width && height == m_height) || (m_width > 0 && m_breach == Breach::SizeIgnored))
        return;
    m_owed = m_width > 0 ? 2 : 0;
    m_width = width;
    m_height = height;
}

// ---- pictures -----------------------------------------------------------------------------------------------------

PictureRequest Session::picture() const
{
    PictureRequest request{m_width, m_height, m_shift, !m_model.isShown, m_isOpaque, m_background, m_model.colour};
    if (m_breach == Breach::WrongSize && !m_model.textures.empty())
        request.width -= 4;
    const auto fits = [this, &request] {
        return bytesOfRow(request.width) * static_cast<std::size_t>(request.height) <= m_capacity;
    };
    while (!fits() && m_breach != Breach::ExceedsCapacity) {
        const int divisor = m_breach == Breach::SmallWhenOutgrown ? 4 : 1;
        request.width = std::max(1, request.width * 31 / 32 / divisor);
        request.height = std::max(1, request.height * 31 / 32 / divisor);
    }
    return request;
}

void Session::writeFrame(ViewContext& context)
{
    const PictureRequest request = picture();
    const std::vector<std::uint8_t> pixels = drawPicture(request, m_breach);
    const bool isWidthFirst = m_isFirstFrame && m_breach == Breach::WidthBeforePixels;
    const bool isHeightLast = m_isFirstFrame && m_breach == Breach::WidthBeforeHeight;
    if (!isWidthFirst)
        std::memcpy(context.frame_buffer, pixels.data(), pixels.size());
    if (!isHeightLast)
        storeRelease(context.frame_height, request.height);
    storeRelease(context.frame_width, request.width);
    if (isHeightLast)
        storeRelease(context.frame_height, request.height);
    if (isWidthFirst)
        std::memcpy(context.frame_buffer, pixels.data(), pixels.size());
    m_owed = std::max(0, m_owed - 1);
}

} // namespace flatviewer
