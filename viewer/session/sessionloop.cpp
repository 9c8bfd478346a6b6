#include "viewer/session/session.h"

#include "src/render/handshake.h"
#include "viewer/session/limits.h"
#include "viewer/session/modelfile.h"
#include "viewer/session/rendererpool.h"

#include <algorithm>
#include <utility>

namespace ov3d::session {

namespace {

using std::chrono::milliseconds;

constexpr milliseconds kTurnInterval{40};
// While frames follow each other the session looks for itself whether the last one was taken; the watcher's pace would
// halve the rate. A host that takes nothing for a while is left to the watcher.
constexpr milliseconds kTakenInterval{10};
constexpr milliseconds kTakenPatience{1000};
constexpr milliseconds kUnwatchedInterval{80};
constexpr std::uint64_t kMostFrameBytes = protocol::rowBytes(kMaxPictureSide) * kMaxPictureSide;

} // namespace

void Session::run(bool watched)
{
    m_watched = watched;
    if (!m_startFault.empty())
        showCard(m_startFault);
    while (!isStopped()) {
        readAnswers();
        checkLimits();
        serveCommand();
        // What is finished goes out before its pixels are overwritten by what comes next.
        deliver();
        beginLoad();
        advanceTurntable();
        drawCardIfWanted();
        beginPicture();
        deliver();
        if (std::exchange(m_replenish, false))
            RendererPool::instance().replenish();
        giveRendererBackAtRest();
        m_wakeup.wait(m_renderer ? m_renderer->channel().descriptor() : -1, timeToWait());
        if (!m_watched)
            look();
    }
    dropRenderer();
    RendererPool::instance().replenish();
}

bool Session::isStopped()
{
    const std::lock_guard lock(m_mutex);
    return m_context == nullptr;
}

void Session::beginLoad()
{
    if (m_phase != Phase::empty)
        return;
    PictureSize size;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_context || !m_deliveries.needsPicture(protocol::Quality::final))
            return;
        size = m_fit;
    }
    std::uint64_t fileBytes = 0;
    if (const std::string fault = faultOfFile(m_path, fileBytes); !fault.empty()) {
        showCard(fault);
        return;
    }
    m_memory = protocol::FrameMemory::create(std::max<std::uint64_t>(1, std::min(m_capacity, kMostFrameBytes)));
    if (!m_memory.isOpen()) {
        showCard("cannot be shown: there is no memory for its picture");
        return;
    }
    m_renderer = RendererPool::instance().take();
    if (!m_renderer) {
        showCard("cannot be shown: the renderer could not be started");
        return;
    }
    m_phase = Phase::loading;
    m_patience = loadLimit(fileBytes);
    if (m_failures == 0) {
        m_bestPercent = -1;
        m_loadLimit = {wholeLimit(fileBytes) + extraForPicture(size.width, size.height), Clock::now(),
                       m_processor.read()};
        giveTime(m_patience);
    }
    const protocol::LoadRequest load{m_path, m_format, m_withoutTextures, false, m_memory.size()};
    // A renderer that has gone shows in the next pass, when its answers are read.
    m_renderer->channel().send(protocol::encode(protocol::Request(load)), m_memory.descriptor());
}

void Session::giveTime(milliseconds time)
{
    m_stepLimit = {time, Clock::now(), m_processor.read()};
}

void Session::advanceTurntable()
{
    if (m_phase != Phase::ready || m_inFlight || Clock::now() < m_nextTurn)
        return;
    const std::lock_guard lock(m_mutex);
    if (!isTurning() || m_deliveries.hasFrame() || m_deliveries.isUntaken())
        return;
    if (m_camera.advance(std::chrono::duration<double>(Clock::now().time_since_epoch()).count()))
        m_deliveries.turn();
    m_nextTurn = Clock::now() + kTurnInterval;
    m_lastActivity = Clock::now();
}

protocol::Quality Session::wantedQuality() const
{
    // A load ends with its first picture, and the host's window waits for that: it is refined right after.
    const bool handMoves = m_gesture && Clock::now() - m_lastInput < limits().hand_rests;
    return handMoves || !m_firstDrawDone ? protocol::Quality::draft : protocol::Quality::final;
}

void Session::beginPicture()
{
    if (m_phase != Phase::ready || m_inFlight)
        return;
    protocol::RenderRequest picture;
    {
        const std::lock_guard lock(m_mutex);
        picture.quality = wantedQuality();
        if (!m_context || !m_deliveries.needsPicture(picture.quality))
            return;
        if (m_fit.isEmpty()) {
            // No buffer to draw into; the frame without pixels is all that can be handed over.
            m_pictureSize = {};
            m_deliveries.arrived(m_deliveries.wanted(), protocol::Quality::final, false);
            return;
        }
        m_deliveries.drop();
        picture.serial = ++m_serial;
        picture.width = m_fit.width;
        picture.height = m_fit.height;
        picture.status = m_camera.status();
        picture.settings = m_settings;
        if (picture.settings.hdr_path == m_brokenEnvironment)
            picture.settings.hdr_path.clear();
        m_inFlight = InFlight{picture.serial, m_deliveries.wanted(), picture.quality, !m_settings.enable_sky,
                              picture.settings.hdr_path};
    }
    giveTime(m_patience + extraForPicture(picture.width, picture.height));
    m_renderer->channel().send(protocol::encode(protocol::Request(picture)));
}

void Session::drawCardIfWanted()
{
    if (m_phase != Phase::card)
        return;
    PictureSize size;
    std::uint64_t revision = 0;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_deliveries.needsPicture(protocol::Quality::final))
            return;
        size = m_fit;
        revision = m_deliveries.wanted();
    }
    if (m_card.size != size || m_card.pixels.empty())
        m_card = drawCard(size, fileName(m_path), m_cardReason);
    const std::lock_guard lock(m_mutex);
    m_pictureSize = m_card.size;
    m_deliveries.arrived(revision, protocol::Quality::final, false);
}

void Session::deliver()
{
    const std::lock_guard lock(m_mutex);
    noteTaken();
    if (!m_context || !m_deliveries.hasFrame() || loadAcquire(m_context->frame_width) != kNoFrame)
        return;
    // A picture of an older size would only flicker by: the one of the new size is on its way.
    if (m_firstDrawDone && m_pictureSize != m_fit && m_deliveries.needsPicture(protocol::Quality::final))
        return;
    if (!m_firstDrawDone) {
        writeFileList(*m_context, m_loaded.files);
        if (m_hasBounds)
            m_context->scene_status = m_camera.status();
    }
    writeFrame(*m_context, m_buffer, m_phase == Phase::card ? m_card.pixels.data() : m_memory.data(), m_pictureSize);
    m_deliveries.written();
    m_lastWritten = m_lastActivity = Clock::now();
    if (!m_firstDrawDone) {
        m_firstDrawDone = true;
        storeRelease(m_context->first_draw, std::uint8_t{1});
        m_replenish = true;
    }
}

void Session::giveRendererBackAtRest()
{
    if (m_phase != Phase::ready || m_inFlight)
        return;
    {
        const std::lock_guard lock(m_mutex);
        if (owesNow() || isTurning() || Clock::now() - m_lastActivity < limits().rest)
            return;
    }
    dropRenderer();
    m_phase = Phase::empty;
}

milliseconds Session::timeToWait()
{
    const std::lock_guard lock(m_mutex);
    const Clock::time_point now = Clock::now();
    milliseconds wait = m_watched ? milliseconds::max() : kUnwatchedInterval;
    const auto until = [&](Clock::time_point moment) {
        wait = std::min(wait, std::max(milliseconds(0), std::chrono::ceil<milliseconds>(moment - now)));
    };
    const bool busy = m_phase == Phase::loading || m_inFlight;
    if (busy)
        until(std::min(m_stepLimit.nextLook(), m_loadLimit.nextLook()));
    if (m_gesture && !m_inFlight && wantedQuality() == protocol::Quality::draft)
        until(m_lastInput + limits().hand_rests);
    const bool turning = m_phase == Phase::ready && isTurning();
    if ((m_deliveries.hasFrame() || (turning && m_deliveries.isUntaken())) && now - m_lastWritten < kTakenPatience)
        until(now + kTakenInterval);
    if (turning && !m_inFlight && !m_deliveries.hasFrame() && !m_deliveries.isUntaken())
        until(m_nextTurn);
    if (m_phase == Phase::ready && !busy && !turning && !owesNow())
        until(m_lastActivity + limits().rest);
    return wait == milliseconds::max() ? milliseconds(-1) : wait;
}

} // namespace ov3d::session
