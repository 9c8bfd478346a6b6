#include "tests/integration/corpusrun.h"

#include <QElapsedTimer>
#include <QFile>
#include <QTemporaryDir>
#include <QThread>

#include <algorithm>
#include <map>
#include <memory>
#include <optional>

#include <dirent.h>
#include <fcntl.h>
#include <signal.h>
#include <spawn.h>
#include <sys/prctl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

namespace {

constexpr unsigned long kLookIntervalMs = 10;
constexpr qint64 kRendererEndLimitMs = 5000;
constexpr qint64 kBytesOfKilobyte = 1024;

QByteArray readWhole(const QString& path)
{
    QFile file(path);
    return file.open(QIODevice::ReadOnly) ? file.readAll() : QByteArray();
}

/// The program that a renderer works for, as its own arguments say; nothing when the process is no renderer.
std::optional<int> parentInArguments(int pid)
{
    const QList<QByteArray> words = readWhole(QStringLiteral("/proc/%1/cmdline").arg(pid)).split('\0');
    if (!words.value(0).endsWith("ov3d-renderer"))
        return {};
    const int at = words.indexOf("--parent");
    return at < 0 ? std::nullopt : std::optional(words.value(at + 1).toInt());
}

/// The peak of a process's resident set so far; 0 once it has ended.
qint64 peakOf(int pid)
{
    const QByteArray status = readWhole(QStringLiteral("/proc/%1/status").arg(pid));
    const int at = status.indexOf("VmHWM:");
    return at < 0 ? 0 : status.mid(at + 6, 16).trimmed().split(' ').value(0).toLongLong() * kBytesOfKilobyte;
}

std::vector<int> processes()
{
    std::vector<int> found;
    const std::unique_ptr<DIR, int (*)(DIR*)> folder(opendir("/proc"), &closedir);
    while (const dirent* entry = folder ? readdir(folder.get()) : nullptr) {
        if (const int pid = std::atoi(entry->d_name); pid > 0)
            found.push_back(pid);
    }
    return found;
}

class Run
{
public:
    Run(QString folder, std::size_t index)
        : m_index(index)
        , m_output(folder + QStringLiteral("/%1.out").arg(index))
        , m_errors(folder + QStringLiteral("/%1.err").arg(index))
    {
    }

    [[nodiscard]] std::size_t index() const { return m_index; }
    [[nodiscard]] int pid() const { return m_pid; }
    [[nodiscard]] bool hasEnded() const { return m_hasEnded; }
    [[nodiscard]] qint64 msSinceEnd() const { return m_sinceEnd.elapsed(); }
    [[nodiscard]] std::vector<int>& renderers() { return m_renderers; }
    [[nodiscard]] WatchedRun& result() { return m_result; }

    void start(const QString& program, const QStringList& arguments)
    {
        QList<QByteArray> words{QFile::encodeName(program)};
        for (const QString& argument : arguments)
            words << QFile::encodeName(argument);
        std::vector<char*> pointers;
        for (QByteArray& word : words)
            pointers.push_back(word.data());
        pointers.push_back(nullptr);

        posix_spawn_file_actions_t actions;
        posix_spawn_file_actions_init(&actions);
        const QByteArray output = QFile::encodeName(m_output);
        const QByteArray errors = QFile::encodeName(m_errors);
        posix_spawn_file_actions_addopen(&actions, 1, output.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        posix_spawn_file_actions_addopen(&actions, 2, errors.constData(), O_WRONLY | O_CREAT | O_TRUNC, 0600);
        m_time.start();
        if (posix_spawn(&m_pid, pointers[0], &actions, nullptr, pointers.data(), environ) != 0)
            m_hasEnded = true;
        posix_spawn_file_actions_destroy(&actions);
        m_sinceEnd.start();
    }

    void notePeak(int pid, qint64 bytes) { m_peaks[pid] = std::max(m_peaks[pid], bytes); }

    void endIfLate()
    {
        if (m_hasEnded || m_time.elapsed() < kAnswerLimitMs)
            return;
        m_result.isTimedOut = true;
        ::kill(m_pid, SIGKILL);
    }

    void programEnded(int status, const rusage& usage)
    {
        m_hasEnded = true;
        m_sinceEnd.start();
        m_result.seconds = static_cast<double>(m_time.elapsed()) / 1000.0;
        if (WIFEXITED(status) && !m_result.isTimedOut)
            m_result.exitCode = WEXITSTATUS(status);
        m_result.signal = WIFSIGNALED(status) ? WTERMSIG(status) : 0;
        // The largest of the program itself and of the renderers that it has waited for. Looking from time to time can
        // miss what a process took just before its end; the kernel's own account cannot.
        m_largestOfTree = qint64{usage.ru_maxrss} * kBytesOfKilobyte;
    }

    WatchedRun finish()
    {
        qint64 largest = 0;
        for (const auto& [pid, bytes] : m_peaks) {
            m_result.peakBytes += bytes;
            largest = std::max(largest, bytes);
        }
        m_result.peakBytes += std::max<qint64>(0, m_largestOfTree - largest);
        m_result.output = readWhole(m_output);
        m_result.errors = readWhole(m_errors);
        QFile::remove(m_output);
        QFile::remove(m_errors);
        return m_result;
    }

private:
    std::size_t m_index;
    QString m_output;
    QString m_errors;
    pid_t m_pid = -1;
    bool m_hasEnded = false;
    QElapsedTimer m_time;
    QElapsedTimer m_sinceEnd;
    std::vector<int> m_renderers; ///< alive at the last look
    std::map<int, qint64> m_peaks;
    qint64 m_largestOfTree = 0;
    WatchedRun m_result;
};

using Runs = std::vector<std::unique_ptr<Run>>;

void look(Runs& runs)
{
    for (const auto& run : runs)
        run->renderers().clear();
    for (const int pid : processes()) {
        const std::optional<int> parent = parentInArguments(pid);
        for (const auto& run : runs) {
            const bool isRenderer = parent && *parent == run->pid();
            if (isRenderer)
                run->renderers().push_back(pid);
            if (isRenderer || pid == run->pid())
                run->notePeak(pid, peakOf(pid));
        }
    }
    for (const auto& run : runs)
        run->result().renderersSeen = std::max(run->result().renderersSeen, static_cast<int>(run->renderers().size()));
}

void reap(Runs& runs)
{
    int status = 0;
    rusage usage = {};
    while (const pid_t pid = wait4(-1, &status, WNOHANG, &usage)) {
        if (pid < 0)
            return;
        for (const auto& run : runs) {
            if (run->pid() == pid)
                run->programEnded(status, usage);
            const auto& renderers = run->renderers();
            if (std::find(renderers.begin(), renderers.end(), pid) != renderers.end())
                run->notePeak(pid, qint64{usage.ru_maxrss} * kBytesOfKilobyte);
        }
    }
}

/// Whether nothing of the run is left; renderers that do not end by themselves are counted and ended.
bool isOver(Run& run)
{
    if (!run.hasEnded())
        return false;
    if (run.renderers().empty())
        return true;
    if (run.msSinceEnd() < kRendererEndLimitMs)
        return false;
    run.result().renderersLeft = static_cast<int>(run.renderers().size());
    for (const int pid : run.renderers())
        ::kill(pid, SIGKILL);
    return true;
}

} // namespace

qint64 halfOfTheMemory()
{
    return qint64{::sysconf(_SC_PHYS_PAGES)} * ::sysconf(_SC_PAGESIZE) / 2;
}

int runsAtOnce()
{
    // A run waits for fixed pauses about a third of its time.
    return std::clamp(QThread::idealThreadCount(), 2, 6);
}

std::vector<WatchedRun>
runWatched(const QString& program, const std::vector<QStringList>& arguments, int atOnce,
           const std::function<void(std::size_t run, int program, const std::vector<int>& renderers)>& whileRunning)
{
    ::prctl(PR_SET_CHILD_SUBREAPER, 1, 0, 0, 0);
    const QTemporaryDir folder;
    std::vector<WatchedRun> results(arguments.size());
    Runs runs;
    std::size_t next = 0;
    while (next < arguments.size() || !runs.empty()) {
        for (; next < arguments.size() && runs.size() < static_cast<std::size_t>(atOnce); ++next) {
            runs.push_back(std::make_unique<Run>(folder.path(), next));
            runs.back()->start(program, arguments[next]);
        }
        look(runs);
        if (whileRunning) {
            for (const auto& run : runs) {
                if (!run->hasEnded())
                    whileRunning(run->index(), run->pid(), run->renderers());
            }
        }
        reap(runs);
        for (auto& run : runs) {
            run->endIfLate();
            if (!isOver(*run))
                continue;
            results[run->index()] = run->finish();
            run.reset();
        }
        std::erase(runs, nullptr);
        QThread::msleep(kLookIntervalMs);
    }
    return results;
}
