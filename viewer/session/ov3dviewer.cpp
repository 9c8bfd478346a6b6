#include "viewer/session/ov3dviewer.h"

#include "src/render/handshake.h"
#include "src/render/viewcontext.h"
#include "viewer/session/framewriter.h"
#include "viewer/session/jsontext.h"
#include "viewer/session/listfiles.h"
#include "viewer/session/observer.h"
#include "viewer/session/registry.h"
#include "viewer/session/rendererpool.h"
#include "viewer/session/renderimage.h"
#include "viewer/session/session.h"

#include <algorithm>
#include <exception>
#include <memory>

using namespace ov3d::session;

namespace {

/// A host without memory for a session must still not wait for a first frame.
void giveUpAtStart(ViewContext& context) noexcept
{
    context.file_list[0] = '\0';
    writeFrame(context, nullptr, nullptr, {});
    storeRelease(context.first_draw, std::uint8_t{1});
}

void startSession(ViewContext& context)
{
    // A session that still has this address ends before the new one reads or writes the context.
    if (const auto previous = Registry::instance().find(&context)) {
        previous->stop();
        Registry::instance().remove(&context, previous.get());
    }
    std::shared_ptr<Session> session;
    try {
        session = std::make_shared<Session>(context);
        const bool watched = Registry::instance().add(&context, session);
        session->run(watched);
    } catch (const std::exception&) {
        if (session)
            session->giveUp();
        else
            giveUpAtStart(context);
    }
    if (session) {
        session->stop();
        Registry::instance().remove(&context, session.get());
    }
}

void passRequest(ViewContext& context)
{
    const std::shared_ptr<Session> session = Registry::instance().find(&context);
    if (!session)
        return;
    if (context.op == kOperationStop) {
        session->stop();
        Registry::instance().remove(&context, session.get());
    } else {
        session->request();
    }
}

} // namespace

void ov3dViewer(int argc, const char** /*argv*/, void* context)
{
    if (!context || argc < 0)
        return;
    auto& view = *static_cast<ViewContext*>(context);
    try {
        if (argc == 0)
            passRequest(view);
        else
            startSession(view);
    } catch (const std::exception&) {
        // Out of memory in a request: it is lost, the next one comes.
    }
}

void ov3dViewerPrepare()
{
    try {
        RendererPool::instance().prepare();
    } catch (const std::exception&) {
        // Without a spare renderer a load merely takes longer.
    }
}

int ov3dViewerPending()
{
    try {
        const auto sessions = Registry::instance().all();
        return static_cast<int>(std::count_if(sessions.begin(), sessions.end(),
                                              [](const auto& session) { return session->owesPicture(); }));
    } catch (const std::exception&) {
        return 0;
    }
}

void ov3dViewerSetObserver(std::function<void(const char* json)> observer)
{
    try {
        setObserver(std::move(observer));
    } catch (const std::exception&) {
        // Out of memory: the observer stays what it was.
    }
}

bool ov3dViewerListFiles(const char* path, const std::function<void(const char* file)>& file)
{
    return ov3dViewerListFiles(path, file, {});
}

bool ov3dViewerListFiles(const char* path, const std::function<void(const char* file)>& file,
                         const std::function<void(const char* reason)>& failure)
{
    return ov3dViewerListFiles(path, file, failure, {});
}

bool ov3dViewerListFiles(const char* path, const std::function<void(const char* file)>& file,
                         const std::function<void(const char* reason)>& failure, const std::function<bool()>& cancelled)
{
    try {
        std::string reason;
        const auto files = listFiles(path ? path : "", cancelled, reason);
        if (!files) {
            if (failure)
                failure(reason.c_str());
            return false;
        }
        for (const std::string& name : *files)
            if (file)
                file(toUtf8(name).c_str());
        return true;
    } catch (const std::exception&) {
        return false;
    }
}

void ov3dViewerRenderImage(char* arg, unsigned char* pixels, int width, int height)
{
    if (!pixels || width <= 0 || height <= 0)
        return;
    try {
        renderImage(arg ? arg : "", pixels, width, height);
    } catch (const std::exception&) {
        // Out of memory, also for a card: what the host handed in stays.
    }
}

void ov3dViewerAbandon(int run)
{
    try {
        for (const auto& session : Registry::instance().all())
            if (session->runId() == run)
                session->abandon();
    } catch (const std::exception&) {
        // Out of memory: the load's own time limit ends it.
    }
}
