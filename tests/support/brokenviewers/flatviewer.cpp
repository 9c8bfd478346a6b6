/// The flat viewer's symbols: viewer functions for tests of the viewer check. See breaches.h.

#include "tests/support/brokenviewers/breaches.h"
#include "tests/support/brokenviewers/flatsession.h"

#include "src/render/handshake.h"

#include <cstdlib>
#include <map>
#include <memory>
#include <mutex>
#include <set>

namespace flatviewer {

namespace {

struct Registry
{
    std::mutex mutex;
    std::map<const void*, std::shared_ptr<Session>> sessions;
    std::set<const void*> stopped;
};

/// Never destroyed: detached threads use it until the very end of the process.
Registry& registry()
{
    static Registry& instance = *new Registry;
    return instance;
}

std::shared_ptr<Session> take(const void* address)
{
    const std::lock_guard lock(registry().mutex);
    const auto node = registry().sessions.extract(address);
    return node ? node.mapped() : nullptr;
}

void start(ViewContext& context, Breach breach)
{
    if (const auto previous = take(&context); previous && breach != Breach::KeepsOldRun)
        previous->stop(false);
    const auto session = std::make_shared<Session>(context, breach);
    {
        const std::lock_guard lock(registry().mutex);
        if (breach == Breach::OneItemOnly)
            registry().sessions.clear();
        registry().sessions[&context] = session;
    }
    session->run();
}

void passRequest(ViewContext& context, Breach breach)
{
    if (context.op == kOperationStop) {
        const std::shared_ptr<Session> session = take(&context);
        if (session)
            session->stop(true);
        const std::lock_guard lock(registry().mutex);
        if (!registry().stopped.insert(&context).second && breach == Breach::CrashesOnSecondStop)
            std::abort();
        return;
    }
    std::shared_ptr<Session> session;
    {
        const std::lock_guard lock(registry().mutex);
        const auto place = registry().sessions.find(&context);
        if (place != registry().sessions.end())
            session = place->second;
    }
    if (session)
        session->request();
    else if (breach == Breach::ActsOnUnknownAddress)
        storeRelease(context.result, 1);
}

void view(int argc, void* context, Breach breach)
{
    auto& record = *static_cast<ViewContext*>(context);
    if (argc > 0)
        start(record, breach);
    else
        passRequest(record, breach);
}

} // namespace

} // namespace flatviewer

#define FLAT_VIEWER_EXPORT extern "C" __attribute__((visibility("default")))

FLAT_VIEWER_EXPORT void flatViewer(int argc, const char**, void* context)
{
    flatviewer::view(argc, context, flatviewer::Breach::none);
}

#define FLAT_VIEWER_SYMBOL(name, rule)                                                                                 \
    FLAT_VIEWER_EXPORT void flatViewer_##name(int argc, const char**, void* context)                                   \
    {                                                                                                                  \
        flatviewer::view(argc, context, flatviewer::Breach::name);                                                     \
    }
FLAT_VIEWER_BREACHES(FLAT_VIEWER_SYMBOL)
FLAT_VIEWER_HABITS(FLAT_VIEWER_SYMBOL)
