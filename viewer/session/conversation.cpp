#include "viewer/session/conversation.h"

#include "viewer/session/jsontext.h"
#include "viewer/session/limits.h"
#include "viewer/session/modelfile.h"

#include <unistd.h>

#include <algorithm>
#include <utility>

namespace ov3d::session {

namespace {

constexpr const char* kNonsense = "answered nonsense";

} // namespace

Conversation::Conversation(std::unique_ptr<RendererProcess> renderer, std::chrono::milliseconds patience)
    : m_renderer(std::move(renderer))
    , m_patience(patience)
{
    if (!m_renderer)
        m_reason = "cannot be shown: the renderer could not be started";
}

Conversation::Outcome Conversation::load(const protocol::LoadRequest& request, int memory, protocol::Loaded& loaded)
{
    if (!m_renderer)
        return Outcome::refused;
    // A file that has gone meanwhile is the renderer's to report.
    std::uint64_t fileBytes = 0;
    static_cast<void>(faultOfFile(request.path, fileBytes));
    m_loadLimit = {wholeLimit(fileBytes), Clock::now(), m_processor.read()};
    giveTime(m_patience);
    // A renderer that has gone shows when its answer is read.
    m_renderer->channel().send(protocol::encode(protocol::Request(request)), memory);
    std::int32_t bestPercent = -1;
    for (;;) {
        protocol::Answer answer;
        if (const Outcome outcome = receive(answer, "to read"); outcome != Outcome::done)
            return outcome;
        if (auto* found = std::get_if<protocol::Loaded>(&answer)) {
            if (!protocol::isFinite(*found))
                return lost(kNonsense);
            loaded = std::move(*found);
            return Outcome::done;
        }
        if (const auto* failed = std::get_if<protocol::Failed>(&answer))
            return refused(*failed);
        if (const auto* progress = std::get_if<protocol::Progress>(&answer);
            progress && progress->percent > bestPercent) {
            bestPercent = std::min(progress->percent, 100);
            giveTime(m_patience);
        }
        // Reports without end are no answer either.
        if (isLate("to read"))
            return Outcome::refused;
    }
}

Conversation::Outcome Conversation::draw(const protocol::RenderRequest& request)
{
    if (!m_renderer)
        return Outcome::refused;
    giveTime(m_patience + extraForPicture(request.width, request.height));
    m_renderer->channel().send(protocol::encode(protocol::Request(request)));
    for (;;) {
        protocol::Answer answer;
        if (const Outcome outcome = receive(answer, "to draw"); outcome != Outcome::done)
            return outcome;
        if (const auto* failed = std::get_if<protocol::Failed>(&answer))
            return refused(*failed);
        if (const auto* rendered = std::get_if<protocol::Rendered>(&answer)) {
            const bool expected = rendered->serial == request.serial && rendered->width == request.width &&
                                  rendered->height == request.height;
            m_loadLimit = {};
            return expected ? Outcome::done : lost(kNonsense);
        }
        // Reports without end are no answer either.
        if (isLate("to draw"))
            return Outcome::refused;
    }
}

void Conversation::giveTime(std::chrono::milliseconds time)
{
    m_stepLimit = {time, Clock::now(), m_processor.read()};
}

bool Conversation::isLate(const char* work)
{
    const Clock::time_point now = Clock::now();
    const std::chrono::nanoseconds used = m_processor.read();
    for (WorkLimit* limit : {&m_loadLimit, &m_stepLimit}) {
        if (!limit->isOver(now, used))
            continue;
        m_renderer.reset();
        m_reason = "took longer than " + inSeconds(limit->passed()) + " " + work;
        return true;
    }
    return false;
}

Conversation::Outcome Conversation::receive(protocol::Answer& answer, const char* work)
{
    std::vector<std::uint8_t> bytes;
    for (;;) {
        const Clock::time_point look = std::min(m_loadLimit.nextLook(), m_stepLimit.nextLook());
        const auto left = std::chrono::ceil<std::chrono::milliseconds>(look - Clock::now());
        int attached = -1;
        const auto outcome =
            m_renderer->channel().receive(bytes, attached, std::max(left, std::chrono::milliseconds(0)));
        if (attached >= 0)
            ::close(attached);
        if (outcome == protocol::Channel::Outcome::closed)
            return lost(nullptr);
        if (outcome == protocol::Channel::Outcome::message)
            break;
        if (isLate(work))
            return Outcome::refused;
    }
    if (!protocol::decode(bytes.data(), bytes.size(), answer))
        return lost(kNonsense);
    // What a renderer does to begin with is no work on the model.
    if (std::holds_alternative<protocol::Ready>(answer))
        m_processor.follow(m_renderer->id());
    return Outcome::done;
}

Conversation::Outcome Conversation::lost(const char* fault)
{
    const RendererProcess::End end = m_renderer->finish();
    m_renderer.reset();
    m_reason = "cannot be shown: the renderer " + (fault ? std::string(fault) : end.words());
    return Outcome::crashed;
}

Conversation::Outcome Conversation::refused(const protocol::Failed& failed)
{
    m_reason = toUtf8(failed.reason, kMostReasonBytes);
    if (m_reason.empty())
        m_reason = "cannot be shown";
    return Outcome::refused;
}

} // namespace ov3d::session
