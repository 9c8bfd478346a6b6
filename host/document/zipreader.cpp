#include "host/document/zipreader.h"

#include "host/document/entrynames.h"
#include "host/document/limits.h"

#include <QtEndian>

#include <algorithm>

#include <sys/stat.h>

namespace ov3d::document {

namespace {

constexpr quint32 kEntrySignature = 0x02014b50;
constexpr quint32 kEndSignature = 0x06054b50;
constexpr int kEndBytes = 22;
constexpr int kEntryBytes = 46;
constexpr int kLocalHeaderBytes = 30;
constexpr qint64 kMaxCommentBytes = 65535;
constexpr quint16 kEncrypted = 1;
constexpr quint16 kStored = 0;
constexpr quint16 kDeflated = 8;
constexpr quint16 kCountElsewhere = 0xffff;    ///< in a ZIP64 record
constexpr quint32 kSizeElsewhere = 0xffffffff; ///< in a ZIP64 record

QString damaged(const QString& what)
{
    return QStringLiteral("it is damaged (%1)").arg(what);
}

quint16 shortAt(const QByteArray& bytes, int position)
{
    return qFromLittleEndian<quint16>(bytes.constData() + position);
}

quint32 longAt(const QByteArray& bytes, int position)
{
    return qFromLittleEndian<quint32>(bytes.constData() + position);
}

/// The high half of the attributes holds the file's type where a Unix program wrote it, and nothing elsewhere.
QString checkFileType(const ZipEntry& entry, quint32 attributes)
{
    const quint32 type = (attributes >> 16) & S_IFMT;
    if (type == S_IFLNK)
        return QStringLiteral("its entry \"%1\" is a link").arg(shownName(entry.name));
    if (type != 0 && type != (entry.isFolder ? S_IFDIR : S_IFREG))
        return QStringLiteral("its entry \"%1\" is no plain file").arg(shownName(entry.name));
    return {};
}

QString checkEntry(const ZipEntry& entry, quint16 flags, quint16 method)
{
    const QString name = shownName(entry.name);
    if ((flags & kEncrypted) != 0)
        return QStringLiteral("its entry \"%1\" is encrypted").arg(name);
    if (method != kStored && method != kDeflated)
        return QStringLiteral("its entry \"%1\" is packed in an unknown way").arg(name);
    if (entry.size == kSizeElsewhere || entry.packedSize == kSizeElsewhere || entry.offset == kSizeElsewhere)
        return QStringLiteral("its entry \"%1\" is larger than 4 GB").arg(name);
    if ((!entry.isPacked && entry.size != entry.packedSize) || (entry.isFolder && entry.size != 0))
        return damaged(QStringLiteral("entry \"%1\" has two sizes").arg(name));
    return {};
}

} // namespace

ZipReader::ZipReader(QFile& file)
    : m_file(file)
{
}

QString ZipReader::readDirectory()
{
    m_entries.clear();
    End end;
    QString problem = findEnd(end);
    if (problem.isEmpty())
        problem = readEntries(end);
    if (problem.isEmpty())
        problem = checkPlaces(end.directoryOffset);
    if (problem.isEmpty())
        problem = checkSizes();
    return problem;
}

QString ZipReader::findEnd(End& end)
{
    const qint64 tailBytes = std::min<qint64>(m_file.size(), kEndBytes + kMaxCommentBytes);
    if (!m_file.seek(m_file.size() - tailBytes))
        return QStringLiteral("it cannot be read: %1").arg(m_file.errorString());
    const QByteArray tail = m_file.read(tailBytes);
    int at = tail.size() - kEndBytes;
    while (at >= 0 && (longAt(tail, at) != kEndSignature || at + kEndBytes + shortAt(tail, at + 20) != tail.size()))
        --at;
    if (at < 0) {
        const bool beginsWell = m_file.seek(0) && m_file.read(4) == QByteArrayLiteral("PK\3\4");
        return beginsWell ? damaged(QStringLiteral("its end is missing")) : QStringLiteral("it is no document");
    }
    end.position = m_file.size() - tail.size() + at;
    end.count = shortAt(tail, at + 10);
    end.directorySize = longAt(tail, at + 12);
    end.directoryOffset = longAt(tail, at + 16);
    if (end.count == kCountElsewhere || end.count > kMaxEntries)
        return QStringLiteral("it has more than %1 entries").arg(kMaxEntries);
    if (end.directorySize == kSizeElsewhere || end.directoryOffset == kSizeElsewhere)
        return QStringLiteral("it is larger than 4 GB");
    if (end.directorySize > kMaxDirectoryBytes)
        return QStringLiteral("its directory is larger than %1 MB").arg(kMaxDirectoryBytes / (1024 * 1024));
    const bool isWhole = shortAt(tail, at + 4) == 0 && shortAt(tail, at + 6) == 0 &&
                         shortAt(tail, at + 8) == end.count && end.directoryOffset + end.directorySize == end.position;
    return isWhole ? QString() : damaged(QStringLiteral("its directory is not where it should be"));
}

QString ZipReader::readEntries(const End& end)
{
    if (!m_file.seek(end.directoryOffset))
        return QStringLiteral("it cannot be read: %1").arg(m_file.errorString());
    const QByteArray directory = m_file.read(end.directorySize);
    const QString cutShort = damaged(QStringLiteral("its directory is cut short"));
    m_entries.reserve(end.count);
    int at = 0;
    for (int i = 0; i < end.count; ++i) {
        if (directory.size() - at < kEntryBytes || longAt(directory, at) != kEntrySignature)
            return cutShort;
        const int nameBytes = shortAt(directory, at + 28);
        const int allBytes = kEntryBytes + nameBytes + shortAt(directory, at + 30) + shortAt(directory, at + 32);
        if (directory.size() - at < allBytes)
            return cutShort;
        ZipEntry entry;
        entry.name = directory.mid(at + kEntryBytes, nameBytes);
        entry.checksum = longAt(directory, at + 16);
        entry.packedSize = longAt(directory, at + 20);
        entry.size = longAt(directory, at + 24);
        entry.offset = longAt(directory, at + 42);
        entry.isPacked = shortAt(directory, at + 10) == kDeflated;
        entry.isFolder = entry.name.endsWith('/');
        QString problem = checkFileType(entry, longAt(directory, at + 38));
        if (problem.isEmpty())
            problem = checkEntry(entry, shortAt(directory, at + 8), shortAt(directory, at + 10));
        if (!problem.isEmpty())
            return problem;
        m_entries.append(entry);
        at += allBytes;
    }
    return at == directory.size() ? QString() : cutShort;
}

// Entries that share data unpack to more than the file could hold.
QString ZipReader::checkPlaces(qint64 directoryOffset) const
{
    QVector<ZipEntry> byPlace = m_entries;
    std::sort(byPlace.begin(), byPlace.end(), [](const ZipEntry& a, const ZipEntry& b) { return a.offset < b.offset; });
    for (int i = 0; i < byPlace.size(); ++i) {
        const ZipEntry& entry = byPlace[i];
        const qint64 end = i + 1 < byPlace.size() ? byPlace[i + 1].offset : directoryOffset;
        if (entry.offset + kLocalHeaderBytes + entry.name.size() + entry.packedSize > end)
            return damaged(QStringLiteral("entry \"%1\" overlaps another").arg(shownName(entry.name)));
    }
    return {};
}

QString ZipReader::checkSizes() const
{
    qint64 total = 0;
    for (const ZipEntry& entry : m_entries) {
        if (entry.size > std::max(kFreeEntryBytes, entry.packedSize * kMaxEntryRatio))
            return QStringLiteral("its entry \"%1\" would grow from %2 to %3 bytes")
                .arg(shownName(entry.name))
                .arg(entry.packedSize)
                .arg(entry.size);
        total += entry.size;
    }
    if (total > std::min(kMaxUnpackedBytes, std::max(kFreeTotalBytes, m_file.size() * kMaxTotalRatio)))
        return QStringLiteral("it would grow from %1 to %2 bytes").arg(m_file.size()).arg(total);
    return {};
}

} // namespace ov3d::document
