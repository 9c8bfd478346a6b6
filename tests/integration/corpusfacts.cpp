/// ov3d-modelfacts: what the renderer knows of models, one JSON object each on standard output.
///
///     ov3d-modelfacts MODEL
///
/// For scripts/format-table. Exit code 1 when the model cannot be read, with the reason on standard error.

#include "viewer/session/conversation.h"
#include "viewer/session/limits.h"
#include "viewer/session/modelfacts.h"
#include "viewer/session/modelfile.h"

#include <cstdio>

using namespace ov3d;

int main(int argc, char** argv)
{
    if (argc != 2) {
        std::fprintf(stderr, "usage: ov3d-modelfacts MODEL\n");
        return 2;
    }
    const std::string path = session::toAbsolute(argv[1]);
    std::uint64_t fileBytes = 0;
    std::string reason = session::faultOfFile(path, fileBytes);
    if (reason.empty()) {
        session::Conversation conversation(session::RendererProcess::start(), session::loadLimit(fileBytes));
        protocol::LoadRequest load;
        load.path = path;
        load.model_format = session::formatOfPath(path);
        protocol::Loaded loaded;
        if (conversation.load(load, -1, loaded) == session::Conversation::Outcome::done) {
            std::fputs(session::factsAsJson(path, loaded).c_str(), stdout);
            return 0;
        }
        reason = conversation.reason();
    }
    std::fprintf(stderr, "%s: %s\n", argv[1], reason.c_str());
    return 1;
}
