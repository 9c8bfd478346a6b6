#include "viewer/session/registry.h"

#include "viewer/session/rendererpool.h"
#include "viewer/session/session.h"

#include <algorithm>
#include <chrono>
#include <system_error>
#include <thread>
#include <utility>

namespace ov3d::session {

namespace {

constexpr std::chrono::milliseconds kLookInterval{80};

} // namespace

Registry& Registry::instance()
{
    // Never destroyed: detached threads use it until the very end of the process.
    static Registry& registry = *new Registry;
    return registry;
}

bool Registry::add(const ViewContext* context, const std::shared_ptr<Session>& session)
{
    std::shared_ptr<Session> previous;
    bool watching = false;
    {
        const std::lock_guard lock(m_mutex);
        const auto place =
            std::find_if(m_entries.begin(), m_entries.end(), [&](const Entry& e) { return e.context == context; });
        if (place == m_entries.end())
            m_entries.push_back({context, session});
        else
            previous = std::exchange(place->session, session);
        watching = startWatching();
    }
    if (previous)
        previous->stop();
    return watching;
}

void Registry::remove(const ViewContext* context, const Session* session)
{
    const std::lock_guard lock(m_mutex);
    std::erase_if(m_entries, [&](const Entry& e) { return e.context == context && e.session.get() == session; });
}

std::shared_ptr<Session> Registry::find(const ViewContext* context)
{
    const std::lock_guard lock(m_mutex);
    for (const Entry& entry : m_entries)
        if (entry.context == context)
            return entry.session;
    return nullptr;
}

std::vector<std::shared_ptr<Session>> Registry::all()
{
    const std::lock_guard lock(m_mutex);
    std::vector<std::shared_ptr<Session>> sessions;
    sessions.reserve(m_entries.size());
    for (const Entry& entry : m_entries)
        sessions.push_back(entry.session);
    return sessions;
}

bool Registry::startWatching()
{
    if (m_watching)
        return true;
    try {
        std::thread([this] { watch(); }).detach();
        m_watching = true;
    } catch (const std::system_error&) {
        // Out of threads: the sessions look for themselves.
    }
    return m_watching;
}

void Registry::watch()
{
    for (;;) {
        std::this_thread::sleep_for(kLookInterval);
        std::vector<std::shared_ptr<Session>> sessions;
        {
            const std::lock_guard lock(m_mutex);
            if (m_entries.empty()) {
                m_watching = false;
                break;
            }
        }
        try {
            sessions = all();
        } catch (const std::bad_alloc&) {
            continue;
        }
        for (const auto& session : sessions)
            session->look();
        RendererPool::instance().tidy();
    }
    RendererPool::instance().tidy();
}

} // namespace ov3d::session
