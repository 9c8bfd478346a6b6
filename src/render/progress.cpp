#include "src/render/progress.h"

#include "src/log/log.h"
#include "src/plugin/ov3dobject.h"
#include "src/plugin/ov3dobject_shared_global.h"
#include "src/render/handshake.h"

#include <algorithm>
#include <string>

namespace {

constexpr int kHighestViewerProgress = 95;
constexpr int kStateLoad = 102;

void logProgress(int value)
{
    test("ov3dobject update process " + std::to_string(value) + "\n");
}

} // namespace

bool updateProcess(int value)
{
    const int progress = std::min(value, kHighestViewerProgress);
    storeRelease(g_progress, progress);
    logProgress(progress);
    return true;
}

bool COv3DObject::updateProcess(int value)
{
    logProgress(value);
    return true;
}

bool COv3DObject::change3DState(int state)
{
    if (state == kStateLoad)
        test("load from change3DState\n");
    return true;
}
