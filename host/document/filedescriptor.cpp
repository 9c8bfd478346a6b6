#include "host/document/filedescriptor.h"

#include <QFile>

#include <cerrno>

#include <fcntl.h>
#include <sys/file.h>
#include <unistd.h>

namespace ov3d::document {

FileDescriptor& FileDescriptor::operator=(FileDescriptor&& other) noexcept
{
    if (this != &other) {
        reset();
        m_descriptor = std::exchange(other.m_descriptor, -1);
    }
    return *this;
}

FileDescriptor FileDescriptor::open(const QString& path, int flags, mode_t mode)
{
    const QByteArray name = QFile::encodeName(path);
    int descriptor = -1;
    do
        descriptor = ::open(name.constData(), flags | O_CLOEXEC, mode);
    while (descriptor < 0 && errno == EINTR);
    return FileDescriptor(descriptor);
}

void FileDescriptor::reset()
{
    if (m_descriptor >= 0)
        ::close(std::exchange(m_descriptor, -1));
}

FileDescriptor::Lock FileDescriptor::lock() const
{
    int result = 0;
    do
        result = ::flock(m_descriptor, LOCK_EX | LOCK_NB);
    while (result < 0 && errno == EINTR);
    if (result == 0)
        return Lock::Taken;
    return errno == EWOULDBLOCK ? Lock::Held : Lock::Unavailable;
}

bool FileDescriptor::isFileAt(const QString& path) const
{
    struct stat here
    {
    };
    struct stat there
    {
    };
    return ::fstat(m_descriptor, &here) == 0 && ::stat(QFile::encodeName(path).constData(), &there) == 0 &&
           here.st_dev == there.st_dev && here.st_ino == there.st_ino;
}

QString lastSystemError()
{
    return qt_error_string(errno);
}

} // namespace ov3d::document
