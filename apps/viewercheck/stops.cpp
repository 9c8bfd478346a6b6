/// The end of a run: when a stop has returned, nothing of the viewer touches what the host frees.

#include "apps/viewercheck/progresslog.h"
#include "apps/viewercheck/scenarios.h"
#include "apps/viewercheck/testitem.h"

#include <memory>

namespace ov3d::viewercheck {

namespace {

constexpr Milliseconds kBusyMoments[] = {Milliseconds(0), Milliseconds(3), Milliseconds(12), Milliseconds(30)};
constexpr Milliseconds kEarlyMoments[] = {Milliseconds(0), Milliseconds(40), Milliseconds(150)};
// A stop that comes before the start call has begun is not heard, by contract.
constexpr Milliseconds kBeginning{100};
constexpr Milliseconds kCallbackHold{400};

bool expectSilence(Check& check, TestItem& item, Rule rule)
{
    const std::string fault = item.accessesAfterStop();
    return check.expect(fault.empty(), rule, fault);
}

} // namespace

void checkStopAtRest(Check& check)
{
    TestItem item(check);
    item.setModel(check.models().plain);
    if (!item.startAndDraw())
        return;
    check.step(Rule::stopAtRest, "sending the stop");
    item.awaitRest();
    item.stop();
    if (!expectSilence(check, item, Rule::stopAtRest))
        return;
    check.suggest(item.hasReturned(), Rule::startReturns,
                  "it is still running " + inMilliseconds(check.limit()) + " after the stop");

    check.step(Rule::stopTwice, "sending a second stop");
    item.requestAfterStop(kOperationStop);
    item.requestAfterStop(kOperationRedraw);
    const std::string fault = item.accessesAfterStop();
    check.expect(fault.empty(), Rule::stopTwice, fault);
    item.judgeRun();
}

void checkStopBusy(Check& check)
{
    for (const Milliseconds moment : kBusyMoments) {
        TestItem item(check);
        item.setModel(check.models().plain);
        if (!item.startAndDraw())
            return;
        check.step(Rule::stopBusy, "sending the stop while a picture is being made");
        item.awaitRest();
        item.blocks().display.enable_sky = true;
        item.setSize(kWidth - 8, kHeight - 8);
        item.sendSettings();
        pause(moment);
        item.stop();
        if (!expectSilence(check, item, Rule::stopBusy))
            return;
        item.judgeRun();
    }
}

void checkStopEarly(Check& check)
{
    for (const Milliseconds moment : kEarlyMoments) {
        TestItem item(check);
        item.setModel(check.models().large);
        check.step(Rule::stopEarly, "sending the stop during the load");
        item.start();
        waitUntil([&item] { return item.hasBegun(); }, check.limit());
        pause(kBeginning + moment);
        const bool isEarly = !item.hasFirstDraw();
        item.stop();
        if (isEarly && !expectSilence(check, item, Rule::stopEarly))
            return;
        item.judgeRun();
        if (!isEarly) {
            check.leaveUnchecked(Rule::stopEarly, "the first picture came before a stop could");
            return;
        }
    }
}

void checkStopInCallback(Check& check)
{
    // Shared with a callback that may outlive this function.
    struct Hold
    {
        std::atomic<bool> entered = false;
        std::atomic<bool> stopped = false;
        std::atomic<bool> calledLate = false;
    };
    const auto hold = std::make_shared<Hold>();
    setProgressHook([hold] {
        if (hold->stopped)
            hold->calledLate = true;
        if (!hold->entered.exchange(true))
            pause(kCallbackHold);
    });
    TestItem item(check);
    item.setModel(check.models().textured);
    check.step(Rule::stopCallback, "sending the stop while the progress callback runs");
    item.start();
    waitUntil([&] { return hold->entered || item.hasFirstDraw(); }, check.limit());
    if (!hold->entered) {
        check.leaveUnchecked(Rule::stopCallback, "no progress was reported");
        return;
    }
    item.stop();
    hold->stopped = true;
    const bool isRunning = progressCallsRunning() > 0;
    const std::string touched = item.accessesAfterStop();
    check.expect(!isRunning && !hold->calledLate, Rule::stopCallback,
                 isRunning ? "the stop returned while the callback was running" : "it was called after the stop");
    if (!touched.empty())
        check.fail(Rule::stopEarly, touched);
    item.judgeRun();
}

} // namespace ov3d::viewercheck
