#pragma once

#include <QFile>

namespace ov3d::document {

/// A file whose writes are whole or fail for good, with the system's own reason. Open it unbuffered. A QFile alone
/// takes a part of a write for the whole reason, and seeking makes it forget that anything failed.
class CheckedFile : public QFile
{
public:
    using QFile::QFile;

    /// Why the first write that failed did so; empty as long as none has.
    [[nodiscard]] QString failure() const { return m_failure; }

protected:
    qint64 writeData(const char* data, qint64 size) override
    {
        // Only the attempt to write the rest tells why a disk has taken a part.
        for (qint64 done = 0; done < size && m_failure.isEmpty();) {
            const qint64 written = QFile::writeData(data + done, size - done);
            if (written <= 0)
                m_failure = errorString();
            done += written;
        }
        return m_failure.isEmpty() ? size : -1;
    }

private:
    QString m_failure;
};

} // namespace ov3d::document
