#pragma once

#include <QByteArray>
#include <QFile>
#include <QString>
#include <QVector>

namespace ov3d::document {

/// One entry of a ZIP file, as its directory states it.
struct ZipEntry
{
    QByteArray name; ///< as it stands, a folder's with its trailing "/"
    quint32 checksum = 0;
    qint64 packedSize = 0;
    qint64 size = 0;
    qint64 offset = 0; ///< of the entry's own header
    bool isPacked = false;
    bool isFolder = false;
};

/// Reads ZIP files that may have been made to do harm.
///
/// The directory at the file's end is the only thing believed, and only after it has been checked as a whole: bounds on
/// count and sizes, plain files and folders alone, no entry twice and none inside another. Neither encryption, nor
/// ZIP64, nor several parts. Any thread, one at a time.
class ZipReader
{
public:
    enum class Extraction
    {
        Done,
        Damaged,     ///< the entry's data is broken or cut short
        Untrue,      ///< it unpacks to more than the directory states
        CannotWrite, ///< the target refused the data
    };

    /// @param file  open for reading; outlives the reader.
    explicit ZipReader(QFile& file);

    /// @return what is wrong with the file, in words; empty when the directory is sound.
    [[nodiscard]] QString readDirectory();

    [[nodiscard]] const QVector<ZipEntry>& entries() const { return m_entries; }

    /// Unpacks an entry; never writes more than its stated size. After any answer but Done the target holds some of it.
    /// @param reason  receives words for any answer but Done.
    [[nodiscard]] Extraction extract(const ZipEntry& entry, QIODevice& target, QString& reason);

private:
    struct End
    {
        qint64 position = 0;
        int count = 0;
        qint64 directorySize = 0;
        qint64 directoryOffset = 0;
    };

    [[nodiscard]] QString findEnd(End& end);
    [[nodiscard]] QString readEntries(const End& end);
    [[nodiscard]] QString checkSizes() const;
    [[nodiscard]] QString checkPlaces(qint64 directoryOffset) const;
    [[nodiscard]] bool seekToData(const ZipEntry& entry);
    [[nodiscard]] Extraction copyStored(const ZipEntry& entry, QIODevice& target, QString& reason);
    [[nodiscard]] Extraction inflatePacked(const ZipEntry& entry, QIODevice& target, QString& reason);

    QFile& m_file;
    QVector<ZipEntry> m_entries;
};

} // namespace ov3d::document
