#include "viewer/session/conversation.h"

#include "viewer/session/jsontext.h"
#include "viewer/session/limits.h"

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
    // A renderer that has gone shows when its answer is read.
    m_renderer->channel().send(protocol::encode(protocol::Request(request)), memory);
    Clock::time_point deadline = Clock::now() + m_patience;
    std::int32_t bestPercent = -1;
    for (;;) {
        protocol::Answer answer;
        if (const Outcome outcome = receive(answer, deadline, "to read"); outcome != Outcome::done)
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
            deadline = Clock::now() + m_patience;
        }
    }
}

Conversation::Outcome Conversation::draw(const protocol::RenderRequest& request)
{
    if (!m_renderer)
        return Outcome::refused;
    m_renderer->channel().send(protocol::encode(protocol::Request(request)));
    const Clock::time_point deadline = Clock::now() + m_patience;
    for (;;) {
        protocol::Answer answer;
        if (const Outcome outcome = receive(answer, deadline, "to draw"); outcome != Outcome::done)
            return outcome;
        if (const auto* failed = std::get_if<protocol::Failed>(&answer))
            return refused(*failed);
        if (const auto* rendered = std::get_if<protocol::Rendered>(&answer)) {
            const bool expected = rendered->serial == request.serial && rendered->width == request.width &&
                                  rendered->height == request.height;
            return expected ? Outcome::done : lost(kNonsense);
        }
    }
}

Conversation::Outcome Conversation::receive(protocol::Answer& answer, Clock::time_point deadline, const char* work)
{
    const auto left = std::chrono::ceil<std::chrono::milliseconds>(deadline - Clock::now());
    std::vector<std::uint8_t> bytes;
    int attached = -1;
    const auto outcome = m_renderer->channel().receive(bytes, attached, std::max(left, std::chrono::milliseconds(0)));
    if (attached >= 0)
        ::close(attached);
    switch (outcome) {
    case protocol::Channel::Outcome::closed:
        return lost(nullptr);
    case protocol::Channel::Outcome::timeout:
        m_renderer.reset();
        m_reason = "took longer than " + inSeconds(m_patience) + " " + work;
        return Outcome::refused;
    case protocol::Channel::Outcome::message:
        break;
    }
    return protocol::decode(bytes.data(), bytes.size(), answer) ? Outcome::done : lost(kNonsense);
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
