/// ov3d: pictures of 3D models, checks of their files, and documents, from the command line.

#include "apps/cli/checkcommand.h"
#include "apps/cli/checkviewer.h"
#include "apps/cli/commandline.h"
#include "apps/cli/documentcommands.h"
#include "apps/cli/documentfilecommands.h"
#include "apps/cli/rendercommand.h"
#include "apps/common/environment.h"
#include "apps/common/standardstreams.h"

#include <QApplication>
#include <QDir>

#include <csignal>

#include <unistd.h>

using namespace ov3d::apps;

namespace {

void dropMessage(QtMsgType, const QMessageLogContext&, const QString&) {}

QStringList wordsOf(int argc, char** argv)
{
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words << QString::fromLocal8Bit(argv[i]);
    return words;
}

ExitCode runWithApplication(const Command& command, const QString& folder, const StandardStreams& streams)
{
    if (const auto* create = std::get_if<NewCommand>(&command))
        return runNew(*create, folder, streams);
    if (const auto* info = std::get_if<InfoCommand>(&command))
        return runInfo(*info, folder, streams);
    if (const auto* set = std::get_if<SetCommand>(&command))
        return runSet(*set, folder, streams);
    if (const auto* extract = std::get_if<ExtractCommand>(&command))
        return runExtract(*extract, folder, streams);
    const auto& render = std::get<RenderCommand>(command);
    return isDocumentName(render.model) ? runRenderPage(render, folder, streams) : runRender(render, folder, streams);
}

int run(const Command& command, const StandardStreams& streams, char* programName)
{
    if (std::holds_alternative<HelpCommand>(command))
        return streams.writeOutput(helpText().toUtf8()) ? kExitDone : kExitNoAccess;
    if (std::holds_alternative<VersionCommand>(command))
        return streams.printLine(QStringLiteral("ov3d " OV3D_VERSION)) ? kExitDone : kExitNoAccess;

    const QString folder = QDir::currentPath();
    if (const auto* check = std::get_if<CheckCommand>(&command))
        return runCheck(*check, folder, streams);
    if (const auto* check = std::get_if<CheckViewerCommand>(&command))
        return runCheckViewer(*check, streams);

    // The application object must not take options away from the user's words, nor look for a display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    char* arguments[] = {programName, nullptr};
    int count = 1;
    QApplication application(count, arguments);
    QApplication::setApplicationName(QStringLiteral("ov3d"));
    const int code = runWithApplication(command, folder, streams);
    // All is written. Destructors would wait for the viewer; the renderers end with this process.
    ::_exit(code);
}

} // namespace

int main(int argc, char** argv)
{
    makeLocaleUtf8();
    const StandardStreams streams;
    std::signal(SIGPIPE, SIG_IGN);
    // Beyond a limit on the size of files, writing then fails like on a full disk, and is said.
    std::signal(SIGXFSZ, SIG_IGN);
    qInstallMessageHandler(dropMessage);

    Command command;
    QString error;
    if (!parseCommandLine(wordsOf(argc, argv), command, error)) {
        streams.printErrorLine(QStringLiteral("ov3d: %1 (see ov3d --help)").arg(error));
        return kExitUsage;
    }
    return run(command, streams, argv[0]);
}
