#include "tests/unit/document/documentfixture.h"

#include <QCoreApplication>
#include <QDir>
#include <QFileInfo>

#include <array>
#include <cerrno>
#include <csignal>
#include <cstdio>

#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

// A program with an open document, which tests kill, starve and lock out. It says on its standard output what it has
// done, a line at a time, and waits for a line on its standard input before it goes on.

namespace {

void say(const QString& line)
{
    std::printf("%s\n", qUtf8Printable(line));
    std::fflush(stdout);
}

void waitForLine()
{
    char line[16];
    if (!std::fgets(line, sizeof line, stdin))
        std::exit(3);
}

std::unique_ptr<COvDocumentFile> openOrLeave(const QString& path)
{
    QString error;
    auto document = COvDocumentFile::open(path, error);
    if (document)
        return document;
    say("refused: " + error);
    std::exit(2);
}

void saveAndSay(COvDocumentFile& document, const QString& path, const OvDocumentContent& content)
{
    QString error;
    say(document.save(path, content, QImage(), error) ? "saved" : error);
}

// Opens a document and keeps it until it is told to save it and leave.
int hold(const QString& path)
{
    const auto document = openOrLeave(path);
    say(document->isReadOnly() ? "read-only: " + document->readOnlyReason() : "open");
    waitForLine();
    saveAndSay(*document, path, document->content());
    waitForLine();
    return 0;
}

// Saves two states in turn for ever. What is in the resource tells them apart.
int saveForEver(const QString& path, const QString& bytes)
{
    const auto document = openOrLeave(path);
    const QString resource = QStringLiteral("resources/1/model.bin");
    for (quint32 state = 1;; ++state) {
        OvDocumentContent content = contentWith({resource});
        content.unknown = {{"state", static_cast<int>(state)}};
        writeFile(document->workingFolder() + '/' + resource, noise(bytes.toInt(), state));
        say("saving");
        saveAndSay(*document, path, content);
    }
}

// Saves with less room than it takes, then with enough.
int runOutOfSpace(const QString& path, const QString& bytes)
{
    const auto document = openOrLeave(path);
    OvDocumentContent content = document->content();
    content.unknown = {{"state", "new"}};
    rlimit unlimited{};
    getrlimit(RLIMIT_FSIZE, &unlimited);
    rlimit limit = unlimited;
    limit.rlim_cur = static_cast<rlim_t>(bytes.toLongLong());
    std::signal(SIGXFSZ, SIG_IGN);
    setrlimit(RLIMIT_FSIZE, &limit);
    saveAndSay(*document, path, content);
    setrlimit(RLIMIT_FSIZE, &unlimited);
    waitForLine();
    saveAndSay(*document, path, content);
    return 0;
}

int openWithoutSpace(const QString& path)
{
    std::signal(SIGXFSZ, SIG_IGN);
    rlimit limit{};
    getrlimit(RLIMIT_FSIZE, &limit);
    limit.rlim_cur = 300000;
    setrlimit(RLIMIT_FSIZE, &limit);
    openOrLeave(path);
    return 0;
}

// Permissions do not bind an administrator, so gives those rights up first.
int openWithoutRights(const QString& path, const QString& elsewhere)
{
    constexpr uid_t kNobody = 65534;
    if (::geteuid() == 0 && (::setgid(kNobody) != 0 || ::setuid(kNobody) != 0))
        return 4;
    const auto document = openOrLeave(path);
    say(document->isReadOnly() ? "read-only: " + document->readOnlyReason() : "open");
    saveAndSay(*document, path, document->content());
    saveAndSay(*document, elsewhere, document->content());
    say(document->isReadOnly() ? "read-only" : "open");
    return 0;
}

// Leaves a document, and a program that outlives it, as crashing programs do.
int crash()
{
    QString error;
    const auto document = COvDocumentFile::create(error);
    writeFile(document->workingFolder() + "/resources/1/model.bin", "m");
    std::array<int, 2> started{};
    if (::pipe2(started.data(), O_CLOEXEC) != 0)
        return 4;
    if (::fork() == 0) {
        // What a program starts, such as a renderer, does not hold its documents. This one ends with the input.
        const int nowhere = ::open("/dev/null", O_WRONLY);
        ::dup2(nowhere, STDOUT_FILENO);
        ::dup2(nowhere, STDERR_FILENO);
        ::execlp("cat", "cat", nullptr);
        ::_exit(1);
    }
    // Until the other program is in its place, its process still holds what this one had open. The pipe ends then.
    ::close(started[1]);
    char nothing = 0;
    while (::read(started[0], &nothing, 1) < 0 && errno == EINTR) {
    }
    say(document->workingFolder());
    waitForLine();
    return 0;
}

} // namespace

int main(int argc, char** argv)
{
    const QCoreApplication application(argc, argv);
    const QStringList arguments = QCoreApplication::arguments();
    const QString what = arguments.value(1);
    if (what == "hold")
        return hold(arguments.value(2));
    if (what == "save-for-ever")
        return saveForEver(arguments.value(2), arguments.value(3));
    if (what == "run-out-of-space")
        return runOutOfSpace(arguments.value(2), arguments.value(3));
    if (what == "without-space")
        return openWithoutSpace(arguments.value(2));
    if (what == "without-rights")
        return openWithoutRights(arguments.value(2), arguments.value(3));
    return what == "crash" ? crash() : 1;
}
