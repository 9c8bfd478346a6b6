/// ov3d: pictures of 3D models, and checks of their files, from the command line.

#include "apps/cli/checkcommand.h"
#include "apps/cli/commandline.h"
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

int run(const Command& command, const StandardStreams& streams, char* programName)
{
    if (std::holds_alternative<HelpCommand>(command))
        return streams.writeOutput(helpText().toUtf8()) ? kExitDone : kExitNoAccess;
    if (std::holds_alternative<VersionCommand>(command))
        return streams.printLine(QStringLiteral("ov3d " OV3D_VERSION)) ? kExitDone : kExitNoAccess;

    const QString folder = QDir::currentPath();
    if (const auto* check = std::get_if<CheckCommand>(&command))
        return runCheck(*check, folder, streams);

    // The application object must not take options away from the user's words, nor look for a display.
    qputenv("QT_QPA_PLATFORM", "offscreen");
    char* arguments[] = {programName, nullptr};
    int count = 1;
    QApplication application(count, arguments);
    QApplication::setApplicationName(QStringLiteral("ov3d"));
    const int code = runRender(std::get<RenderCommand>(command), folder, streams);
    // All is written. Destructors would wait for the viewer; the renderers end with this process.
    ::_exit(code);
}

} // namespace

int main(int argc, char** argv)
{
    makeLocaleUtf8();
    const StandardStreams streams;
    std::signal(SIGPIPE, SIG_IGN);
    qInstallMessageHandler(dropMessage);

    Command command;
    QString error;
    if (!parseCommandLine(wordsOf(argc, argv), command, error)) {
        streams.printErrorLine(QStringLiteral("ov3d: %1 (see ov3d --help)").arg(error));
        return kExitUsage;
    }
    return run(command, streams, argv[0]);
}
