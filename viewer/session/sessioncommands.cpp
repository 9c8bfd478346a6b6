#include "viewer/session/session.h"

#include "src/render/handshake.h"
#include "viewer/camera/viewnames.h"
#include "viewer/session/commands.h"
#include "viewer/session/commandtext.h"
#include "viewer/session/modelfacts.h"
#include "viewer/session/modelfile.h"
#include "viewer/session/outputfile.h"

#include <exception>

namespace ov3d::session {

namespace {

constexpr std::int32_t kDone = 0;
constexpr std::int32_t kFailed = 1;

} // namespace

// ---- what host threads do; everything under m_mutex -----------------------------------------------------------------

Session::Reply Session::obey(const ViewContext& context)
{
    // Of two commands only the younger one is answered: there is one place for the answer.
    m_command.reset();
    try {
        const std::optional<std::string> text = readCommandText(context);
        if (!text)
            return Reply::failed;
        if (context.op == kCommandSetEnvironment)
            return setEnvironment(*text);
        if (!m_firstDrawDone || !m_hasBounds || m_onCard)
            return Reply::failed;
        switch (context.op) {
        case kCommandSavePicture:
        case kCommandReportFacts:
            if (text->empty())
                return Reply::failed;
            m_command = Command{context.op, toAbsolute(*text), 0};
            return Reply::later;
        default:
            return moveCamera(context.op, *text) ? Reply::done : Reply::failed;
        }
    } catch (const std::exception&) {
        return Reply::failed; // out of memory
    }
}

Session::Reply Session::setEnvironment(const std::string& path)
{
    if (path.empty()) {
        m_environment.clear();
        return Reply::done;
    }
    std::string absolute = toAbsolute(path);
    if (!looksLikeRadiancePicture(absolute))
        return Reply::failed;
    // The file may be another one by now.
    if (m_brokenEnvironment == absolute) {
        m_brokenEnvironment.clear();
        m_deliveries.change();
    }
    m_environment = std::move(absolute);
    return Reply::done;
}

bool Session::moveCamera(std::int32_t code, const std::string& text)
{
    const std::string_view word = trimmed(text);
    switch (code) {
    case kCommandOrbit: {
        const std::optional<OrbitStep> step = parseOrbitStep(text);
        if (step)
            m_camera.orbit(step->azimuth, step->elevation);
        return step.has_value();
    }
    case kCommandShowView: {
        const std::optional<std::int32_t> viewType = camera::viewTypeOfName(word);
        if (viewType)
            m_camera.showView(*viewType);
        return viewType.has_value();
    }
    case kCommandReset:
        if (word.empty())
            m_camera.showHome();
        return word.empty();
    case kCommandKeepView:
        if (word.empty() || (m_keptViews.size() >= kMaxKeptViews && m_keptViews.find(word) == m_keptViews.end()))
            return false;
        m_keptViews.insert_or_assign(std::string(word), m_camera.status());
        return true;
    case kCommandReturnToView: {
        const auto kept = m_keptViews.find(word);
        if (kept != m_keptViews.end())
            m_camera.returnTo(kept->second);
        return kept != m_keptViews.end();
    }
    default:
        return false;
    }
}

void Session::expectAnswer()
{
    if (m_command->code == kCommandSavePicture)
        m_deliveries.recall();
    m_command->revision = m_deliveries.wanted();
}

void Session::answerCommand(Reply reply)
{
    m_command.reset();
    if (m_context && reply != Reply::later)
        storeRelease(m_context->result, reply == Reply::done ? kDone : kFailed);
}

// ---- the session's thread alone -------------------------------------------------------------------------------------

void Session::serveCommand()
{
    Command command;
    {
        const std::lock_guard lock(m_mutex);
        if (!m_context || !m_command)
            return;
        if (m_phase == Phase::card)
            return answerCommand(Reply::failed);
        if (m_command->code == kCommandSavePicture && !m_deliveries.hasPictureAtRest(m_command->revision))
            return;
        command = *m_command;
    }
    bool done = false;
    try {
        // Nobody else touches the pixels: they change only in answer to this thread's requests.
        done = command.code == kCommandReportFacts
                   ? replaceFile(command.path, factsAsJson(m_path, m_loaded))
                   : savePicture(command.path, m_memory.data(), m_pictureSize, m_pictureKeyed);
    } catch (const std::exception&) {
        // Out of memory.
    }
    const std::lock_guard lock(m_mutex);
    // A younger command may have come meanwhile; its answer is not this one's.
    if (m_command && *m_command == command)
        answerCommand(done ? Reply::done : Reply::failed);
}

} // namespace ov3d::session
