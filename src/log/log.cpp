#include "src/log/log.h"

#include "host/framework/framework.h"
#include "src/plugin/ov3dobject_shared_global.h"

#include <QDebug>
#include <QDir>

#include <array>
#include <cstdio>
#include <ctime>
#include <mutex>

#include <fcntl.h>
#include <unistd.h>

namespace {

constexpr int kApplicationFolder = 0; ///< kind of path asked of the host's path service

/// Guards the two path globals alone. Never held while the host, Qt's message output or the file system is called: any
/// of them may lead back to test().
std::mutex& pathMutex()
{
    static std::mutex mutex;
    return mutex;
}

QString askHostForFolder()
{
    IOvFramework* framework = GetFramework();
    IOvPathService* paths = framework ? framework->getPathService() : nullptr;
    return paths ? paths->getPath(kApplicationFolder) : QString();
}

QString logFilePath()
{
    {
        const std::lock_guard lock(pathMutex());
        if (!g_app_path.isEmpty())
            return g_app_path_log;
    }
    const QString folder = askHostForFolder();
    const QString logPath = folder + QStringLiteral("ov3dlog.txt");
    {
        const std::lock_guard lock(pathMutex());
        g_app_path = folder;
        g_app_path_log = logPath;
    }
    ensureDirectoryExists(folder + QStringLiteral("texture3D"));
    return logPath;
}

} // namespace

void test(std::string text)
{
    const QByteArray path = logFilePath().toUtf8();
    const std::string entry = getCurrentTime() + "[OVOBJECT]  " + text;

    const int file = ::open(path.constData(), O_WRONLY | O_CREAT | O_APPEND | O_CLOEXEC, 0666);
    if (file < 0)
        return;
    // A lost entry disturbs nobody, so a short write is not repeated.
    [[maybe_unused]] const ssize_t written = ::write(file, entry.data(), entry.size());
    ::close(file);
}

std::string getCurrentTime()
{
    return formatLogTime(
        std::chrono::duration_cast<std::chrono::nanoseconds>(std::chrono::system_clock::now().time_since_epoch()));
}

std::string formatLogTime(std::chrono::nanoseconds sinceEpoch)
{
    const auto count = sinceEpoch.count();
    const auto milliseconds = count / 1'000'000 % 1000;
    const std::time_t seconds = static_cast<std::time_t>(count / 1'000'000'000);

    std::tm calendar{};
    ::tzset(); // localtime_r alone would miss a change of the time zone
    ::localtime_r(&seconds, &calendar);
    std::array<char, 64> buffer{};
    const std::size_t length = std::strftime(buffer.data(), buffer.size(), "%Y-%m-%d %H:%M:%S", &calendar);
    std::array<char, 32> fraction{};
    std::snprintf(fraction.data(), fraction.size(), ".%03lld", static_cast<long long>(milliseconds));
    return std::string(buffer.data(), length) + fraction.data();
}

void ensureDirectoryExists(const QString& path)
{
    if (QDir(path).exists()) {
        qDebug() << "Directory already exists.";
        return;
    }
    qDebug() << "Directory does not exist. Creating directory:" << path;
    if (QDir().mkpath(path))
        qDebug() << "Directory created successfully.";
    else
        qDebug() << "Failed to create directory.";
}

QString applicationPath()
{
    const std::lock_guard lock(pathMutex());
    return g_app_path;
}
