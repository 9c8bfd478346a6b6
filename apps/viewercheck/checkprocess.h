#pragma once

#include "apps/viewercheck/check.h"
#include "apps/viewercheck/scenarios.h"

#include <functional>
#include <optional>

#include <sys/types.h>

namespace ov3d::viewercheck {

/// A stretch of the check in a child process, as the checking program sees it: what it reports is added to the
/// findings, a crash and a hang included. One thread.
class CheckProcess
{
public:
    /// @param body  runs in the child, with a descriptor to report to; the child ends when it returns
    /// @param limit  time for one request; what does not answer for longer is killed, with all processes that it
    /// started
    CheckProcess(const std::function<void(int reportDescriptor)>& body, Milliseconds limit, Findings& findings);
    ~CheckProcess();
    CheckProcess(CheckProcess&& other) noexcept;
    CheckProcess& operator=(CheckProcess&&) = delete;
    CheckProcess(const CheckProcess&) = delete;

    [[nodiscard]] bool isRunning() const { return m_process > 0; }
    [[nodiscard]] int descriptor() const { return m_report; }
    /// What the child said last, for the caller's own use of the pipe.
    [[nodiscard]] const std::optional<Message>& last() const { return m_last; }
    /// How it ended, if not by itself: "crashed with signal 11", or empty.
    [[nodiscard]] const std::string& fault() const { return m_fault; }

    /// Reads what has come, and ends a child that takes too long. To be called often.
    void serve();

private:
    void hear(const Message& message);
    void finish();
    void kill();

    Milliseconds m_limit;
    Findings* m_findings;
    pid_t m_process = -1;
    int m_report = -1;
    Message m_step;
    std::string m_call; ///< the request that is running, or empty
    std::string m_fault;
    std::optional<Message> m_last;
    Clock::time_point m_lastSign;
};

} // namespace ov3d::viewercheck
