#include "apps/common/standardstreams.h"

#include "apps/common/plaintext.h"

#include <QByteArray>
#include <QString>

#include <cerrno>
#include <cstdio>
#include <iostream>

#include <fcntl.h>
#include <unistd.h>

namespace ov3d::apps {

namespace {

bool writeAll(int descriptor, const QByteArray& text)
{
    const char* next = text.constData();
    auto left = static_cast<std::size_t>(text.size());
    while (left > 0) {
        const ssize_t written = ::write(descriptor, next, left);
        if (written < 0 && errno == EINTR)
            continue;
        if (written <= 0)
            return false;
        next += written;
        left -= static_cast<std::size_t>(written);
    }
    return true;
}

void flushAll()
{
    std::cout.flush();
    std::cerr.flush();
    std::fflush(nullptr);
}

} // namespace

StandardStreams::StandardStreams()
{
    // A program may be started with these closed; the next file to be opened would take their place.
    for (int descriptor = STDIN_FILENO; descriptor <= STDERR_FILENO; ++descriptor) {
        if (::fcntl(descriptor, F_GETFD) < 0) [[maybe_unused]]
            const int opened = ::open("/dev/null", O_RDWR);
    }
    m_output = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
    m_error = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, STDERR_FILENO + 1);
}

StandardStreams::~StandardStreams()
{
    ::close(m_output);
    ::close(m_error);
}

bool StandardStreams::writeOutput(const QByteArray& text) const
{
    return writeAll(m_output, text);
}

bool StandardStreams::writeError(const QByteArray& text) const
{
    return writeAll(m_error, text);
}

bool StandardStreams::printLine(const QString& text) const
{
    return writeOutput(oneLine(text).toLocal8Bit() + '\n');
}

bool StandardStreams::printErrorLine(const QString& text) const
{
    return writeError(oneLine(text).toLocal8Bit() + '\n');
}

bool StandardStreams::isErrorTerminal() const
{
    return ::isatty(m_error) == 1;
}

StandardStreams::Silence::Silence(const StandardStreams& streams)
    : m_streams(streams)
{
    flushAll();
    const int nowhere = ::open("/dev/null", O_WRONLY | O_CLOEXEC);
    if (nowhere < 0)
        return;
    ::dup2(nowhere, STDOUT_FILENO);
    ::dup2(nowhere, STDERR_FILENO);
    ::close(nowhere);
}

StandardStreams::Silence::~Silence()
{
    flushAll();
    ::dup2(m_streams.m_output, STDOUT_FILENO);
    ::dup2(m_streams.m_error, STDERR_FILENO);
}

} // namespace ov3d::apps
