#pragma once

#include <QByteArray>
#include <QString>

#include <utility>

#include <sys/stat.h>

namespace ov3d::document {

/// Owns a file descriptor, and with it whatever lock was taken through it. Any thread, one at a time.
class FileDescriptor
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor)
        : m_descriptor(descriptor)
    {
    }
    ~FileDescriptor() { reset(); }
    FileDescriptor(const FileDescriptor&) = delete;
    FileDescriptor& operator=(const FileDescriptor&) = delete;
    FileDescriptor(FileDescriptor&& other) noexcept
        : m_descriptor(std::exchange(other.m_descriptor, -1))
    {
    }
    FileDescriptor& operator=(FileDescriptor&& other) noexcept;

    /// As open(2), close-on-exec, repeated when interrupted; errno tells why it is not valid afterwards.
    static FileDescriptor open(const QString& path, int flags, mode_t mode = 0);

    void reset();
    [[nodiscard]] bool isValid() const { return m_descriptor >= 0; }
    [[nodiscard]] int get() const { return m_descriptor; }

    enum class Lock
    {
        Taken,
        Held,        ///< through another descriptor, here or in another process
        Unavailable, ///< this file system has none
    };

    /// An exclusive lock on the open file. It ends with the last copy of the descriptor, so also when the process is
    /// killed, and needs no right to write. Never waits.
    [[nodiscard]] Lock lock() const;

    /// Whether `path` still names the open file, which another process may have replaced or removed.
    [[nodiscard]] bool isFileAt(const QString& path) const;

private:
    int m_descriptor = -1;
};

/// errno in words.
[[nodiscard]] QString lastSystemError();

} // namespace ov3d::document
