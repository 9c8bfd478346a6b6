#include "host/document/zipreader.h"

#include "host/document/entrynames.h"

#include <QtEndian>

#include <algorithm>
#include <array>

#include <zlib.h>

namespace ov3d::document {

namespace {

constexpr quint32 kLocalHeaderSignature = 0x04034b50;
constexpr int kLocalHeaderBytes = 30;
constexpr qint64 kBlockBytes = 256 * 1024;

using Extraction = ZipReader::Extraction;

/// Passes an entry's unpacked bytes on, up to its stated size, and keeps their checksum.
class EntrySink
{
public:
    EntrySink(const ZipEntry& entry, QIODevice& target)
        : m_entry(entry)
        , m_target(target)
    {
    }

    Extraction take(const char* bytes, qint64 count, QString& reason)
    {
        if (m_taken + count > m_entry.size) {
            reason =
                QStringLiteral("its entry \"%1\" holds more than its directory states").arg(shownName(m_entry.name));
            return Extraction::Untrue;
        }
        if (m_target.write(bytes, count) != count) {
            reason = m_target.errorString();
            return Extraction::CannotWrite;
        }
        m_checksum = crc32(m_checksum, reinterpret_cast<const Bytef*>(bytes), static_cast<uInt>(count));
        m_taken += count;
        return Extraction::Done;
    }

    [[nodiscard]] bool isComplete() const { return m_taken == m_entry.size && m_checksum == m_entry.checksum; }

private:
    const ZipEntry& m_entry;
    QIODevice& m_target;
    qint64 m_taken = 0;
    uLong m_checksum = crc32(0, nullptr, 0);
};

/// Ends zlib's state on every way out.
struct Inflater
{
    Inflater() { isReady = inflateInit2(&stream, -MAX_WBITS) == Z_OK; }
    ~Inflater()
    {
        if (isReady)
            inflateEnd(&stream);
    }
    Q_DISABLE_COPY_MOVE(Inflater)

    z_stream stream{};
    bool isReady = false;
};

Extraction damagedEntry(const ZipEntry& entry, QString& reason)
{
    reason = QStringLiteral("its entry \"%1\" is damaged").arg(shownName(entry.name));
    return Extraction::Damaged;
}

} // namespace

bool ZipReader::seekToData(const ZipEntry& entry)
{
    if (!m_file.seek(entry.offset))
        return false;
    const QByteArray header = m_file.read(kLocalHeaderBytes + entry.name.size());
    if (header.size() != kLocalHeaderBytes + entry.name.size() ||
        qFromLittleEndian<quint32>(header.constData()) != kLocalHeaderSignature ||
        qFromLittleEndian<quint16>(header.constData() + 26) != entry.name.size() ||
        header.mid(kLocalHeaderBytes) != entry.name)
        return false;
    return m_file.seek(m_file.pos() + qFromLittleEndian<quint16>(header.constData() + 28));
}

Extraction ZipReader::extract(const ZipEntry& entry, QIODevice& target, QString& reason)
{
    if (!seekToData(entry))
        return damagedEntry(entry, reason);
    return entry.isPacked ? inflatePacked(entry, target, reason) : copyStored(entry, target, reason);
}

Extraction ZipReader::copyStored(const ZipEntry& entry, QIODevice& target, QString& reason)
{
    EntrySink sink(entry, target);
    for (qint64 left = entry.packedSize; left > 0;) {
        const QByteArray block = m_file.read(std::min(left, kBlockBytes));
        if (block.isEmpty())
            return damagedEntry(entry, reason);
        const Extraction taken = sink.take(block.constData(), block.size(), reason);
        if (taken != Extraction::Done)
            return taken;
        left -= block.size();
    }
    return sink.isComplete() ? Extraction::Done : damagedEntry(entry, reason);
}

Extraction ZipReader::inflatePacked(const ZipEntry& entry, QIODevice& target, QString& reason)
{
    Inflater inflater;
    if (!inflater.isReady) {
        reason = QStringLiteral("there is not enough memory to unpack it");
        return Extraction::CannotWrite;
    }
    EntrySink sink(entry, target);
    QByteArray out(static_cast<int>(kBlockBytes), Qt::Uninitialized);
    QByteArray in;
    qint64 left = entry.packedSize;
    for (int state = Z_OK; state != Z_STREAM_END;) {
        if (inflater.stream.avail_in == 0) {
            in = m_file.read(std::min(left, kBlockBytes));
            left -= in.size();
            inflater.stream.next_in = reinterpret_cast<Bytef*>(in.data());
            inflater.stream.avail_in = static_cast<uInt>(in.size());
        }
        inflater.stream.next_out = reinterpret_cast<Bytef*>(out.data());
        inflater.stream.avail_out = static_cast<uInt>(out.size());
        // Without input left, zlib answers that it makes no progress.
        state = inflate(&inflater.stream, Z_NO_FLUSH);
        if (state != Z_OK && state != Z_STREAM_END)
            return damagedEntry(entry, reason);
        const Extraction taken = sink.take(out.constData(), out.size() - qint64(inflater.stream.avail_out), reason);
        if (taken != Extraction::Done)
            return taken;
    }
    return sink.isComplete() ? Extraction::Done : damagedEntry(entry, reason);
}

} // namespace ov3d::document
