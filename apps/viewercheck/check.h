#pragma once

#include "apps/viewercheck/rules.h"
#include "apps/viewercheck/testmodels.h"

#include <chrono>
#include <string>

namespace ov3d::viewercheck {

using ViewerFunction = void (*)(int argc, const char** argv, void* context);
using Milliseconds = std::chrono::milliseconds;
using Clock = std::chrono::steady_clock;

/// What a checking process writes into its pipe: of one size, and small enough to arrive whole.
struct Message
{
    enum Kind : int
    {
        step,    ///< from now on a crash breaks this rule; the text says what is being done
        verdict, ///< on a rule
        calling, ///< a request begins; the text says which
        called,  ///< it has returned
    };

    Kind kind = step;
    Rule rule = Rule::firstFrame;
    Verdict verdictValue = Verdict::unchecked;
    char text[480] = {};
};

/// One checking process: the viewer under test, the models, and the way to tell what was found.
/// The main thread alone.
class Check
{
public:
    Check(ViewerFunction function, const TestModels& testModels, Milliseconds patience, int reportDescriptor)
        : m_viewer(function)
        , m_models(testModels)
        , m_limit(patience)
        , m_report(reportDescriptor)
    {
    }

    [[nodiscard]] ViewerFunction viewer() const { return m_viewer; }
    [[nodiscard]] const TestModels& models() const { return m_models; }
    /// How long to wait for what a viewer has to do.
    [[nodiscard]] Milliseconds limit() const { return m_limit; }

    /// Says what comes next, in case it is the last thing that this process does.
    void step(Rule rule, const std::string& what) { send(Message::step, rule, Verdict::unchecked, what); }
    void calling(const std::string& what) { send(Message::calling, Rule::requestsReturn, Verdict::unchecked, what); }
    void called() { send(Message::called, Rule::requestsReturn, Verdict::unchecked, ""); }

    void ok(Rule rule) { send(Message::verdict, rule, Verdict::ok, ""); }
    void fail(Rule rule, const std::string& why) { send(Message::verdict, rule, Verdict::failed, why); }
    void advise(Rule rule, const std::string& what) { send(Message::verdict, rule, Verdict::advice, what); }
    void leaveUnchecked(Rule rule, const std::string& why) { send(Message::verdict, rule, Verdict::unchecked, why); }

    /// ok, or a failure with the reason. @return whether it held.
    bool expect(bool holds, Rule rule, const std::string& why);
    /// ok, or advice.
    void suggest(bool holds, Rule rule, const std::string& what);

private:
    void send(Message::Kind kind, Rule rule, Verdict verdict, const std::string& text);

    ViewerFunction m_viewer;
    const TestModels& m_models;
    Milliseconds m_limit;
    int m_report;
};

/// Waits, without an event loop, until the condition holds. @return false after the limit.
template <typename Condition> bool waitUntil(const Condition& condition, Milliseconds limit);

void pause(Milliseconds time);
[[nodiscard]] std::string inMilliseconds(Clock::duration time);

template <typename Condition> bool waitUntil(const Condition& condition, Milliseconds limit)
{
    const Clock::time_point end = Clock::now() + limit;
    while (!condition()) {
        if (Clock::now() >= end)
            return false;
        pause(Milliseconds(1));
    }
    return true;
}

} // namespace ov3d::viewercheck
