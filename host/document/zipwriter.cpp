#include "host/document/zipwriter.h"

#include "host/document/checkedfile.h"

#include <KZip>

#include <QDateTime>
#include <QFile>

#include <algorithm>
#include <array>

namespace ov3d::document {

namespace {

constexpr qint64 kBlockBytes = 256 * 1024;
constexpr mode_t kFileMode = 0100644;

bool isPackedItself(const QByteArray& name)
{
    static const std::array<QByteArray, 7> kSuffixes{".png", ".jpg", ".jpeg", ".3mf", ".webp", ".zip", ".gz"};
    const QByteArray lower = name.toLower();
    return std::any_of(kSuffixes.begin(), kSuffixes.end(),
                       [&](const QByteArray& suffix) { return lower.endsWith(suffix); });
}

// Local time as it stands goes into the file, so that it says the same everywhere.
QDateTime fixedDate()
{
    return QDateTime(QDate(1980, 1, 1), QTime(0, 0), Qt::UTC);
}

/// @param total  receives how many bytes have been handed over.
QString copyFile(KZip& archive, const QString& path, const CheckedFile& target, qint64& total)
{
    QFile file(path);
    const auto unreadable = [&] { return QStringLiteral("\"%1\" cannot be read: %2").arg(path, file.errorString()); };
    if (!file.open(QIODevice::ReadOnly))
        return unreadable();
    QByteArray block(static_cast<int>(kBlockBytes), Qt::Uninitialized);
    for (;;) {
        const qint64 count = file.read(block.data(), block.size());
        if (count < 0)
            return unreadable();
        if (count == 0)
            return {};
        const bool written = archive.writeData(block.constData(), count);
        if (!target.failure().isEmpty())
            return target.failure();
        if (!written)
            return QStringLiteral("\"%1\" cannot be packed").arg(path);
        total += count;
    }
}

QString writeEntry(KZip& archive, const ZipSource& source, Packing packing, const CheckedFile& target)
{
    const bool packs = packing == Packing::WhereItPays && !isPackedItself(source.name);
    archive.setCompression(packs ? KZip::DeflateCompression : KZip::NoCompression);
    const QDateTime date = fixedDate();
    const bool begun = archive.prepareWriting(QString::fromLatin1(source.name), QString(), QString(),
                                              source.bytes.size(), kFileMode, date, date, date);
    if (!begun || !target.failure().isEmpty())
        return target.failure().isEmpty() ? archive.errorString() : target.failure();
    QString problem;
    qint64 total = source.bytes.size();
    if (!source.path.isEmpty())
        problem = copyFile(archive, source.path, target, total);
    else if (total > 0)
        archive.writeData(source.bytes.constData(), total);
    // Also after a failure: the archive frees what packs the entry only here.
    archive.finishWriting(total);
    return problem.isEmpty() ? target.failure() : problem;
}

} // namespace

QString writeZip(int descriptor, const QVector<ZipSource>& sources, Packing packing)
{
    CheckedFile file;
    if (!file.open(descriptor, QIODevice::WriteOnly | QIODevice::Unbuffered, QFileDevice::DontCloseHandle))
        return file.errorString();
    KZip archive(&file);
    archive.setExtraField(KZip::NoExtraField);
    if (!archive.open(QIODevice::WriteOnly))
        return archive.errorString();
    for (const ZipSource& source : sources) {
        const QString problem = writeEntry(archive, source, packing, file);
        if (!problem.isEmpty())
            return problem;
    }
    const bool closed = archive.close();
    if (!file.failure().isEmpty())
        return file.failure();
    return closed ? QString() : archive.errorString();
}

} // namespace ov3d::document
