#include "apps/viewercheck/scenarios.h"

namespace ov3d::viewercheck {

const std::vector<Scenario>& scenarios()
{
    static const std::vector<Scenario> all{
        checkFirstPicture,   checkFrameOrder, checkKeyFreeModel,   checkProgressUnlocked,
        checkNullProgress,   checkManyFiles,  checkPathCopied,     checkSavedView,
        checkRestore,        checkDelivery,   checkRecords,        checkCommand,
        checkBackgrounds,    checkSizes,      checkCapacity,       checkUntakenFrame,
        checkUnknownAddress, checkRestart,    checkTwoItems,       checkMissingModel,
        checkDamagedModel,   checkCutPath,    checkNullSettings,   checkStopAtRest,
        checkStopBusy,       checkStopEarly,  checkStopInCallback,
    };
    return all;
}

} // namespace ov3d::viewercheck
