#include "apps/viewercheck/checkprocess.h"

#include <cerrno>
#include <csignal>
#include <cstring>
#include <utility>

#include <fcntl.h>
#include <sys/prctl.h>
#include <sys/wait.h>
#include <unistd.h>

namespace ov3d::viewercheck {

CheckProcess::CheckProcess(const std::function<void(int reportDescriptor)>& body, Milliseconds limit,
                           Findings& findings)
    : m_limit(limit)
    , m_findings(&findings)
    , m_lastSign(Clock::now())
{
    int ends[2] = {-1, -1};
    if (pipe2(ends, O_CLOEXEC) != 0) {
        m_fault = std::string("could not be started: ") + std::strerror(errno);
        return;
    }
    m_process = fork();
    if (m_process == 0) {
        // A group of its own, so that what the viewer starts can be ended with it; and no end without its parent.
        setpgid(0, 0);
        prctl(PR_SET_PDEATHSIG, SIGKILL);
        close(ends[0]);
        body(ends[1]);
        _exit(0);
    }
    close(ends[1]);
    if (m_process < 0) {
        m_fault = std::string("could not be started: ") + std::strerror(errno);
        close(ends[0]);
        return;
    }
    setpgid(m_process, m_process);
    m_report = ends[0];
    fcntl(m_report, F_SETFL, O_NONBLOCK);
}

CheckProcess::CheckProcess(CheckProcess&& other) noexcept
    : m_limit(other.m_limit)
    , m_findings(other.m_findings)
    , m_process(std::exchange(other.m_process, -1))
    , m_report(std::exchange(other.m_report, -1))
    , m_step(other.m_step)
    , m_call(std::move(other.m_call))
    , m_fault(std::move(other.m_fault))
    , m_last(other.m_last)
    , m_lastSign(other.m_lastSign)
{
}

CheckProcess::~CheckProcess()
{
    if (isRunning()) {
        kill();
        waitpid(m_process, nullptr, 0);
    }
    if (m_report >= 0)
        close(m_report);
}

void CheckProcess::serve()
{
    Message message;
    while (isRunning()) {
        const ssize_t got = read(m_report, &message, sizeof message);
        if (got == sizeof message) {
            hear(message);
        } else if (got < 0 && errno == EAGAIN) {
            break;
        } else if (got >= 0 || errno != EINTR) {
            finish();
            return;
        }
    }
    // A child between two requests waits for several things in turn, each within the limit.
    const Milliseconds patience = m_call.empty() ? 3 * m_limit + Milliseconds(10000) : m_limit;
    if (isRunning() && Clock::now() - m_lastSign > patience) {
        const std::string what = m_call.empty() ? m_step.text : m_call;
        const bool isRequest = !m_call.empty() && isRequired(m_step.rule);
        m_fault = "hung";
        m_findings->add(isRequest ? Rule::requestsReturn : m_step.rule, Verdict::failed,
                        QString::fromStdString(what + " had not ended after " + inMilliseconds(patience)));
        kill();
        finish();
    }
}

void CheckProcess::hear(const Message& message)
{
    m_lastSign = Clock::now();
    m_last = message;
    switch (message.kind) {
    case Message::step:
        m_step = message;
        break;
    case Message::verdict:
        m_findings->add(message.rule, message.verdictValue, QString::fromUtf8(message.text));
        break;
    case Message::calling:
        m_call = message.text;
        break;
    case Message::called:
        m_call.clear();
        break;
    }
}

void CheckProcess::finish()
{
    int status = 0;
    while (waitpid(m_process, &status, 0) < 0 && errno == EINTR) {
    }
    // Children of the viewer's own may have outlived it.
    kill();
    m_process = -1;
    if (!m_fault.empty() || (WIFEXITED(status) && WEXITSTATUS(status) == 0))
        return;
    m_fault = WIFSIGNALED(status) ? "crashed (" + std::string(strsignal(WTERMSIG(status))) + ")"
                                  : "ended the process with code " + std::to_string(WEXITSTATUS(status));
    const std::string during = m_call.empty() ? m_step.text : m_call;
    m_findings->add(m_step.rule, Verdict::failed,
                    QString::fromStdString("the viewer " + m_fault + " during: " + during));
}

void CheckProcess::kill()
{
    ::kill(-m_process, SIGKILL);
}

} // namespace ov3d::viewercheck
