#pragma once

#include <QString>

#include <vector>

namespace ov3d::viewercheck {

/// The rules of the viewer contract that can be observed from outside, in the order in which they are printed.
enum class Rule : int
{
    firstFrame,
    firstDrawOrder,
    frameOrder,
    frameSize,
    rowPadding,
    modelVisible,
    keyColour,
    noBlend,
    keyFreeModel,
    restTwice,
    progressReported,
    progressRange,
    progressUnlocked,
    progressEnds,
    nullProgress,
    fileListForm,
    fileListWhole,
    fileListComplete,
    fileListEarly,
    pathCopied,
    statusFirst,
    savedView,
    restoreExact,
    restAgainButtonUp,
    restAgainRedraw,
    restAgainRestore,
    everyRecord,
    orbit,
    viewType,
    home,
    unknownCommand,
    opaqueBackground,
    opaqueSky,
    sizeChange,
    absurdSize,
    frameCapacity,
    frameUntaken,
    unknownAddress,
    restart,
    twoItems,
    missingModel,
    damagedModel,
    cutPath,
    nullSettings,
    stopAtRest,
    stopBusy,
    stopEarly,
    stopCallback,
    stopTwice,
    startReturns,
    // Watched in every run.
    requestsReturn,
    requestsPrompt,
    statusWrites,
    ownFields,
    settingsUntouched,
    hdrPath,
    count,
};

inline constexpr int kRuleCount = static_cast<int>(Rule::count);

enum class Verdict : int
{
    unchecked, ///< something before it went wrong, or nothing was there to look at
    ok,
    advice, ///< hosts can live with it
    failed,
};

struct RuleText
{
    const char* id;       ///< stable, for scripts
    const char* sentence; ///< what holds when the rule holds
};

[[nodiscard]] const RuleText& textOf(Rule rule);

/// Whether hosts need it. What breaks another rule, in whatever way, is worth no more than advice.
[[nodiscard]] bool isRequired(Rule rule);

/// What was found about each rule; the graver verdict wins, and the first text of that verdict. A failure of a rule
/// that hosts do not need counts as advice.
class Findings
{
public:
    struct Finding
    {
        Verdict verdict = Verdict::unchecked;
        QString text; ///< the reason of anything but ok
    };

    Findings();

    void add(Rule rule, Verdict verdict, const QString& text);

    [[nodiscard]] const Finding& of(Rule rule) const { return m_findings[static_cast<std::size_t>(rule)]; }
    [[nodiscard]] bool allHold() const; ///< nothing failed

private:
    std::vector<Finding> m_findings;
};

} // namespace ov3d::viewercheck
