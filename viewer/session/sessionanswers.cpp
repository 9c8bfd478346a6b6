#include "viewer/session/session.h"

#include "viewer/session/jsontext.h"
#include "viewer/session/limits.h"
#include "viewer/session/modelfile.h"

#include <unistd.h>

#include <algorithm>

namespace ov3d::session {

namespace {

using std::chrono::milliseconds;

constexpr int kTriesOfOneRequest = 2;
constexpr std::int32_t kMostProgress = 95; // 100 is the host's own to say
constexpr int kMostAnswersAtOnce = 64;
// A renderer that keeps dying while nothing is asked of it is left dead until the next request.
constexpr int kMostIdleLosses = 5;
constexpr milliseconds kIdleLossWindow{60000};

std::string join(const std::vector<std::string>& texts)
{
    std::string joined;
    for (const std::string& text : texts)
        joined += (joined.empty() ? "" : "; ") + text;
    return joined;
}

} // namespace

// ---- what the renderer says -----------------------------------------------------------------------------------------

void Session::readAnswers()
{
    for (int i = 0; i < kMostAnswersAtOnce && m_renderer; ++i) {
        std::vector<std::uint8_t> bytes;
        int attached = -1;
        const auto outcome = m_renderer->channel().receive(bytes, attached, milliseconds(0));
        if (attached >= 0)
            ::close(attached);
        if (outcome == protocol::Channel::Outcome::timeout)
            return;
        protocol::Answer message;
        if (outcome == protocol::Channel::Outcome::closed)
            rendererLost(nullptr);
        else if (!protocol::decode(bytes.data(), bytes.size(), message))
            rendererLost("answered nonsense");
        else
            std::visit([this](auto& alternative) { answer(alternative); }, message);
    }
}

void Session::answer(const protocol::Ready&)
{
    // What a renderer does to begin with is no work on the model.
    m_processor.follow(m_renderer->id());
}

void Session::answer(const protocol::Progress& progress)
{
    if (m_phase != Phase::loading || progress.percent <= m_bestPercent)
        return;
    // Only what no earlier try has reached counts, so that all tries together stay within the limit.
    m_bestPercent = std::min(progress.percent, 100);
    giveTime(m_patience);
    reportProgress(std::clamp(progress.percent, 0, kMostProgress));
}

void Session::reportProgress(std::int32_t percent)
{
    const std::lock_guard callback(m_callbackMutex);
    void (*report)(int) = nullptr;
    {
        const std::lock_guard lock(m_mutex);
        if (m_context && !m_firstDrawDone)
            report = m_context->progress_callback;
    }
    if (report)
        report(percent);
}

void Session::answer(protocol::Loaded& loaded)
{
    if (m_phase != Phase::loading || !protocol::isFinite(loaded)) {
        rendererLost("answered nonsense");
        return;
    }
    m_phase = Phase::ready;
    const std::lock_guard lock(m_mutex);
    if (m_hasBounds)
        return; // loaded again: the view is what it was
    m_hasBounds = true;
    m_camera.setBounds({{loaded.centre[0], loaded.centre[1], loaded.centre[2]}, loaded.radius});
    m_loaded = std::move(loaded);
}

void Session::answer(const protocol::Rendered& rendered)
{
    const bool expected = m_inFlight && rendered.serial == m_inFlight->serial && rendered.width > 0 &&
                          rendered.height > 0 && rendered.width <= kMaxPictureSide &&
                          rendered.height <= kMaxPictureSide;
    const std::uint64_t bytes =
        expected ? protocol::rowBytes(rendered.width) * static_cast<std::uint64_t>(rendered.height) : 0;
    if (!expected || bytes > m_memory.size() || bytes > m_capacity) {
        rendererLost("answered nonsense");
        return;
    }
    m_failures = 0;
    m_bestPercent = -1;
    m_loadLimit = {};
    if (!m_announced) {
        m_announced = true;
        if (!m_loaded.missing.empty())
            announce("missing", "", m_loaded.missing);
        if (m_withoutTextures)
            m_loaded.notes.emplace_back("shown without its textures");
        announce("shown", join(m_loaded.notes), m_loaded.files, m_loaded.notes);
    }
    if (rendered.note != m_pictureNote) {
        m_pictureNote = rendered.note;
        if (!rendered.note.empty())
            announce("note", toUtf8(rendered.note, kMostReasonBytes), {});
    }
    const std::lock_guard lock(m_mutex);
    m_pictureSize = {rendered.width, rendered.height};
    m_pictureKeyed = m_inFlight->keyed;
    m_provenEnvironment = m_inFlight->environment;
    m_deliveries.arrived(m_inFlight->revision, m_inFlight->quality, isTurning());
    m_inFlight.reset();
}

void Session::answer(const protocol::Failed& failed)
{
    if (m_phase != Phase::loading && !m_inFlight)
        return;
    std::string reason = toUtf8(failed.reason, kMostReasonBytes);
    showCard(reason.empty() ? "cannot be shown" : reason);
}

// ---- what goes wrong --------------------------------------------------------------------------------------------

void Session::checkLimits()
{
    bool abandoned = false;
    {
        const std::lock_guard lock(m_mutex);
        abandoned = m_abandoned && !m_firstDrawDone;
        if (m_tryAgain && m_phase == Phase::card) {
            m_phase = Phase::empty;
            m_onCard = false;
            m_failures = 0;
            m_deliveries.drop();
        }
        m_tryAgain = false;
    }
    if (abandoned && m_phase != Phase::card)
        showCard("was given up while it was being read");
    if (m_phase != Phase::loading && !m_inFlight)
        return;
    const Clock::time_point now = Clock::now();
    const std::chrono::nanoseconds used = m_processor.read();
    for (WorkLimit* limit : {&m_loadLimit, &m_stepLimit}) {
        if (!limit->isOver(now, used))
            continue;
        showCard("took longer than " + inSeconds(limit->passed()) +
                 (m_phase == Phase::loading ? " to read" : " to draw"));
        return;
    }
}

void Session::rendererLost(const char* fault)
{
    const bool wasBusy = m_phase == Phase::loading || m_inFlight;
    const std::string suspect =
        m_inFlight && m_inFlight->environment != m_provenEnvironment ? m_inFlight->environment : std::string();
    const RendererProcess::End end = m_renderer->finish();
    const std::string words = fault ? fault : end.words();
    dropRenderer();
    m_phase = Phase::empty;

    std::string leftOut;
    bool firstDrawDone = false;
    {
        const std::lock_guard lock(m_mutex);
        firstDrawDone = m_firstDrawDone;
        if (!suspect.empty() && !end.by_shader_cache) {
            m_brokenEnvironment = suspect;
            leftOut = "; shown without the environment picture " + fileName(suspect);
        }
    }
    if (end.by_shader_cache)
        leftOut += "; others go without the graphics driver's shader cache";
    if (wasBusy) {
        if (++m_failures >= kTriesOfOneRequest) {
            showCard("cannot be shown: the renderer " + words + " twice");
            return;
        }
        // Textures are what importers die of most. Pictures of a model once shown stay the same.
        m_withoutTextures = m_withoutTextures || (!firstDrawDone && !end.by_shader_cache && (fault || end.isCrash()));
    } else {
        const Clock::time_point now = Clock::now();
        if (now - m_idleLossesSince > kIdleLossWindow) {
            m_idleLossesSince = now;
            m_idleLosses = 0;
        }
        const bool oftenEnough = ++m_idleLosses > kMostIdleLosses;
        bool owes = false;
        {
            const std::lock_guard lock(m_mutex);
            owes = m_deliveries.needsPicture(protocol::Quality::final);
            if (!oftenEnough)
                m_deliveries.change();
        }
        if (oftenEnough && owes)
            showCard("cannot be shown: the renderer " + words + " again and again");
        if (oftenEnough)
            return;
    }
    announce("restarted", "the renderer " + words + toUtf8(leftOut), {});
}

void Session::dropRenderer()
{
    m_processor.follow(0);
    m_renderer.reset();
    m_inFlight.reset();
    const std::lock_guard lock(m_mutex);
    m_deliveries.drop();
    m_memory = {};
}

void Session::showCard(const std::string& reason)
{
    dropRenderer();
    m_phase = Phase::card;
    m_cardReason = reason;
    m_card = {};
    m_announced = true;
    announce("card", reason, {});
    const std::lock_guard lock(m_mutex);
    m_onCard = true;
    m_deliveries.change();
}

void Session::announce(const char* name, const std::string& reason, const std::vector<std::string>& files,
                       const std::vector<std::string>& notes)
{
    if (!isStopped())
        notifyObserver({m_run, m_path, name, reason, files, notes});
}

} // namespace ov3d::session
