#pragma once

#include <vector>

namespace ov3d::viewercheck {

class Check;

/// A stretch of a viewer's life in a process of its own, so that a viewer that crashes or hangs there spoils the rules
/// of this stretch alone.
using Scenario = void (*)(Check& check);

/// The first one tells whether the viewer draws at all; without it none of the others makes sense.
[[nodiscard]] const std::vector<Scenario>& scenarios();

// firstpicture.cpp
void checkFirstPicture(Check& check);
void checkFrameOrder(Check& check);
void checkManyFiles(Check& check);
void checkPathCopied(Check& check);
void checkProgressUnlocked(Check& check);
void checkNullProgress(Check& check);
void checkKeyFreeModel(Check& check);

// requests.cpp
void checkDelivery(Check& check);
void checkRestore(Check& check);
void checkSavedView(Check& check);
void checkRecords(Check& check);
void checkCommand(Check& check);
void checkBackgrounds(Check& check);

// frames.cpp
void checkSizes(Check& check);
void checkCapacity(Check& check);
void checkUntakenFrame(Check& check);

// starts.cpp
void checkUnknownAddress(Check& check);
void checkRestart(Check& check);
void checkTwoItems(Check& check);
void checkMissingModel(Check& check);
void checkDamagedModel(Check& check);
void checkCutPath(Check& check);
void checkNullSettings(Check& check);

// stops.cpp
void checkStopAtRest(Check& check);
void checkStopBusy(Check& check);
void checkStopEarly(Check& check);
void checkStopInCallback(Check& check);

} // namespace ov3d::viewercheck
