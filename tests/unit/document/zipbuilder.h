#pragma once

#include <QByteArray>
#include <QVector>

/// One entry of a ZIP file that need not be true.
struct ZipBuilderEntry
{
    QByteArray name;
    QByteArray bytes; ///< as they stand in the file: packed ones for method 8
    quint16 method = 0;
    quint16 flags = 0;
    quint32 attributes = 0100644u << 16;
    quint32 checksum = 0;    ///< of the unpacked bytes
    quint32 statedSize = 0;  ///< unpacked
    QByteArray nameInHeader; ///< empty: the same as in the directory
    qint64 statedOffset = -1;
};

/// Writes ZIP files for tests, true ones and such as no program would make.
class ZipBuilder
{
public:
    /// Adds an entry that is true in every respect. @return it, to be made untrue.
    ZipBuilderEntry& add(const QByteArray& name, const QByteArray& bytes, bool packs = false);

    /// The bytes of the whole file. @param comment  behind the end record.
    [[nodiscard]] QByteArray build(const QByteArray& comment = QByteArray()) const;

    int statedCount = -1; ///< in the end record; -1: the true one
    qint64 statedDirectorySize = -1;
    qint64 statedDirectoryOffset = -1;

    /// Raw deflated bytes.
    [[nodiscard]] static QByteArray packed(const QByteArray& bytes);
    [[nodiscard]] static quint32 checksumOf(const QByteArray& bytes);

private:
    QVector<ZipBuilderEntry> m_entries;
};
