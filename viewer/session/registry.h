#pragma once

#include "src/render/viewcontext.h"

#include <memory>
#include <mutex>
#include <vector>

namespace ov3d::session {

class Session;

/// The sessions of this process, found by the address of their context. Any thread.
///
/// While there are sessions, one thread looks at all of them every 80 ms; without sessions there is no thread.
class Registry
{
public:
    static Registry& instance();

    /// Puts a session in charge of an address, and ends the one that has been.
    /// @return false when no thread can be started to look at the sessions.
    bool add(const ViewContext* context, const std::shared_ptr<Session>& session);

    /// Takes the session from its address, unless another has taken its place.
    void remove(const ViewContext* context, const Session* session);

    /// @return null for an address without a session.
    [[nodiscard]] std::shared_ptr<Session> find(const ViewContext* context);

    [[nodiscard]] std::vector<std::shared_ptr<Session>> all();

private:
    struct Entry
    {
        const ViewContext* context;
        std::shared_ptr<Session> session;
    };

    Registry() = default;
    bool startWatching();
    void watch();

    std::mutex m_mutex;
    std::vector<Entry> m_entries;
    bool m_watching = false;
};

} // namespace ov3d::session
