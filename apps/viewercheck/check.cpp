#include "apps/viewercheck/check.h"

#include <algorithm>
#include <cerrno>
#include <thread>

#include <unistd.h>

namespace ov3d::viewercheck {

bool Check::expect(bool holds, Rule rule, const std::string& why)
{
    if (holds)
        ok(rule);
    else
        fail(rule, why);
    return holds;
}

void Check::suggest(bool holds, Rule rule, const std::string& what)
{
    if (holds)
        ok(rule);
    else
        advise(rule, what);
}

void Check::send(Message::Kind kind, Rule rule, Verdict verdict, const std::string& text)
{
    Message message;
    message.kind = kind;
    message.rule = rule;
    message.verdictValue = verdict;
    text.copy(message.text, sizeof message.text - 1);
    while (write(m_report, &message, sizeof message) < 0 && errno == EINTR) {
    }
}

void pause(Milliseconds time)
{
    std::this_thread::sleep_for(time);
}

std::string inMilliseconds(Clock::duration time)
{
    return std::to_string(std::chrono::duration_cast<Milliseconds>(time).count()) + " ms";
}

} // namespace ov3d::viewercheck
