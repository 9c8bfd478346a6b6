/// ov3dboard: a page with 3D models on it, in a window.

#include "apps/board/boardoptions.h"
#include "apps/board/boardwindow.h"
#include "apps/board/pageview.h"
#include "apps/common/environment.h"
#include "apps/common/picturefile.h"
#include "apps/common/standardstreams.h"
#include "apps/common/workplace.h"
#include "apps/document/ov3dservices.h"
#include "viewer/session/ov3dviewer.h"

#include <QApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QTimer>

#include <csignal>
#include <cstdio>
#include <memory>
#include <utility>

#include <unistd.h>

using namespace ov3d::apps;

namespace {

enum ExitCode : int
{
    kExitDone = 0,
    kExitNotShown = 1,
    kExitUsage = 2,
    kExitNoAccess = 4,
};

constexpr int kPicturesLimitMs = 180'000;
constexpr int kPollMs = 50;

constexpr const char* kHelp = "ov3dboard - a page with 3D models on it, in a window\n"
                              "\n"
                              "  ov3dboard [--screenshot FILE.png] [MODEL...]\n"
                              "  ov3dboard [--screenshot FILE.png] DOCUMENT.ovb\n"
                              "  ov3dboard --help | --version\n"
                              "\n"
                              "  --screenshot FILE.png  draw the window once all models are shown, then quit\n"
                              "\n"
                              "Exit codes: 0 done, 1 a model could not be shown (with --screenshot), 2 wrong usage,\n"
                              "4 a file cannot be read or written.\n";

void keepErrors(QtMsgType type, const QMessageLogContext&, const QString& text)
{
    // The rest is for the developers of the libraries.
    if (type == QtCriticalMsg || type == QtFatalMsg)
        std::fprintf(stderr, "ov3dboard: %s\n", text.toLocal8Bit().constData());
}

QStringList absolutePaths(const QStringList& paths)
{
    QStringList result;
    for (const QString& path : paths)
        result << QDir::current().absoluteFilePath(path);
    return result;
}

/// A document stands alone; anything else is a model for the first page.
bool openFiles(BoardWindow& window, const QStringList& files)
{
    if (files.size() == 1 && isDocumentName(files.first()))
        return window.openDocument(files.first());
    window.openModels(files);
    return true;
}

/// Why there is no use in opening a window for the files; empty when there is.
QString whyNoDocument(const QStringList& files)
{
    if (files.size() != 1 || !isDocumentName(files.first()))
        return {};
    const QFileInfo file(files.first());
    if (!file.exists())
        return QStringLiteral("%1: there is no such file").arg(file.filePath());
    if (!file.isFile() || !file.isReadable())
        return QStringLiteral("%1: cannot be read").arg(file.filePath());
    return {};
}

int takeScreenshot(BoardWindow& window, const QString& path, const StandardStreams& streams)
{
    QElapsedTimer timer;
    timer.start();
    while ((window.isLoading() || ov3dViewerPending() != 0) && timer.elapsed() < kPicturesLimitMs)
        QApplication::processEvents(QEventLoop::AllEvents, kPollMs);
    QApplication::processEvents();
    if (const QString reason = writePng(path, window.grab().toImage()); !reason.isEmpty()) {
        streams.printErrorLine(QStringLiteral("ov3dboard: %1: %2").arg(path, reason));
        return kExitNoAccess;
    }
    return window.failureCount() == 0 ? kExitDone : kExitNotShown;
}

/// Items need seconds to end and the renderers end with this process, so nothing is taken down.
[[noreturn]] void endProcess(Workplace& workplace, int code)
{
    workplace.cleanUp();
    std::fflush(nullptr);
    ::_exit(code);
}

int runWindow(QApplication& application, const BoardOptions& options, const StandardStreams& streams)
{
    // Relative names belong to the folder that the user stands in, which is left now.
    const QStringList files = absolutePaths(options.files);
    const QString screenshot =
        options.screenshot.isEmpty() ? QString() : QDir::current().absoluteFilePath(options.screenshot);
    if (const QString reason = whyNoDocument(files); !reason.isEmpty()) {
        streams.printErrorLine(QStringLiteral("ov3dboard: ") + reason);
        return kExitNoAccess;
    }
    Workplace workplace;
    Plugin plugin;
    if (!workplace.error().isEmpty() || !plugin.load(Plugin::defaultPath())) {
        streams.printErrorLine(QStringLiteral("ov3dboard: ") +
                               (workplace.error().isEmpty() ? plugin.error() : workplace.error()));
        return kExitNoAccess;
    }
    plugin.setViewer(&ov3dViewer);

    QString error;
    auto document = LiveDocument::create(ov3dServices(plugin), error);
    if (!document) {
        streams.printErrorLine(QStringLiteral("ov3dboard: ") + error);
        endProcess(workplace, kExitNoAccess);
    }
    BoardWindow window({plugin, streams, workplace.framework(), ov3dServices(plugin)}, std::move(document));
    // The viewer may report until the very end of the process.
    static ViewerEvents events;
    const auto showEvents = [&window] {
        for (const ViewerEvent& event : events.take())
            window.report(event);
    };
    ov3dViewerSetObserver([&window, showEvents](const char* json) {
        events.add(json);
        QMetaObject::invokeMethod(&window, showEvents, Qt::QueuedConnection);
    });
    ov3dViewerPrepare();
    window.show();

    QTimer::singleShot(0, &window, [&] {
        const bool isOpened = openFiles(window, files);
        if (screenshot.isEmpty())
            return;
        const int taken = takeScreenshot(window, screenshot, streams);
        QApplication::exit(isOpened ? taken : kExitNoAccess);
    });
    const int ended = application.exec();
    window.closeDocument();
    endProcess(workplace, ended);
}

} // namespace

int main(int argc, char** argv)
{
    makeLocaleUtf8();
    const StandardStreams streams;
    std::signal(SIGPIPE, SIG_IGN);
    // A file that grows beyond the user's limit is an error to be told, not the program's end.
    std::signal(SIGXFSZ, SIG_IGN);
    qInstallMessageHandler(keepErrors);

    QStringList words;
    for (int i = 1; i < argc; ++i)
        words << QString::fromLocal8Bit(argv[i]);
    BoardOptions options;
    QString error;
    if (!parseBoardOptions(words, options, error)) {
        streams.printErrorLine(QStringLiteral("ov3dboard: %1 (see ov3dboard --help)").arg(error));
        return kExitUsage;
    }
    if (options.help)
        return streams.writeOutput(kHelp) ? kExitDone : kExitNoAccess;
    if (options.version)
        return streams.printLine(QStringLiteral("ov3dboard " OV3D_VERSION)) ? kExitDone : kExitNoAccess;

    char* arguments[] = {argv[0], nullptr};
    int count = 1;
    QApplication application(count, arguments);
    QApplication::setApplicationName(QStringLiteral("ov3d"));
    return runWindow(application, options, streams);
}
