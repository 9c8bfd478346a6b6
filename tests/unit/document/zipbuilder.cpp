#include "tests/unit/document/zipbuilder.h"

#include <zlib.h>

namespace {

void put16(QByteArray& out, qint64 value)
{
    out.append(static_cast<char>(value & 0xff)).append(static_cast<char>((value >> 8) & 0xff));
}

void put32(QByteArray& out, qint64 value)
{
    put16(out, value & 0xffff);
    put16(out, (value >> 16) & 0xffff);
}

void putShared(QByteArray& out, const ZipBuilderEntry& entry)
{
    put16(out, entry.flags);
    put16(out, entry.method);
    put32(out, 0x00210000); // 1 January 1980
    put32(out, entry.checksum);
    put32(out, entry.bytes.size());
    put32(out, entry.statedSize);
}

} // namespace

QByteArray ZipBuilder::packed(const QByteArray& bytes)
{
    z_stream stream{};
    deflateInit2(&stream, Z_BEST_COMPRESSION, Z_DEFLATED, -MAX_WBITS, 8, Z_DEFAULT_STRATEGY);
    QByteArray out(static_cast<int>(deflateBound(&stream, static_cast<uLong>(bytes.size()))), 0);
    QByteArray in = bytes;
    stream.next_in = reinterpret_cast<Bytef*>(in.data());
    stream.avail_in = static_cast<uInt>(in.size());
    stream.next_out = reinterpret_cast<Bytef*>(out.data());
    stream.avail_out = static_cast<uInt>(out.size());
    deflate(&stream, Z_FINISH);
    out.truncate(static_cast<int>(stream.total_out));
    deflateEnd(&stream);
    return out;
}

quint32 ZipBuilder::checksumOf(const QByteArray& bytes)
{
    return static_cast<quint32>(crc32(crc32(0, nullptr, 0), reinterpret_cast<const Bytef*>(bytes.constData()),
                                      static_cast<uInt>(bytes.size())));
}

ZipBuilderEntry& ZipBuilder::add(const QByteArray& name, const QByteArray& bytes, bool packs)
{
    ZipBuilderEntry entry;
    entry.name = name;
    entry.bytes = packs ? packed(bytes) : bytes;
    entry.method = packs ? 8 : 0;
    entry.checksum = checksumOf(bytes);
    entry.statedSize = static_cast<quint32>(bytes.size());
    m_entries.append(entry);
    return m_entries.last();
}

QByteArray ZipBuilder::build(const QByteArray& comment) const
{
    QByteArray out;
    QByteArray directory;
    for (const ZipBuilderEntry& entry : m_entries) {
        const qint64 offset = entry.statedOffset < 0 ? out.size() : entry.statedOffset;
        const QByteArray headerName = entry.nameInHeader.isEmpty() ? entry.name : entry.nameInHeader;
        out.append("PK\3\4", 4);
        put16(out, 20);
        putShared(out, entry);
        put16(out, headerName.size());
        put16(out, 0);
        out.append(headerName).append(entry.bytes);

        directory.append("PK\1\2", 4);
        put16(directory, 0x0314); // by a Unix program
        put16(directory, 20);
        putShared(directory, entry);
        put16(directory, entry.name.size());
        directory.append(QByteArray(8, 0));
        put32(directory, entry.attributes);
        put32(directory, offset);
        directory.append(entry.name);
    }
    const qint64 directoryOffset = statedDirectoryOffset < 0 ? out.size() : statedDirectoryOffset;
    const qint64 directorySize = statedDirectorySize < 0 ? directory.size() : statedDirectorySize;
    const int count = statedCount < 0 ? m_entries.size() : statedCount;
    out.append(directory).append("PK\5\6", 4);
    put32(out, 0);
    put16(out, count);
    put16(out, count);
    put32(out, directorySize);
    put32(out, directoryOffset);
    put16(out, comment.size());
    return out.append(comment);
}
