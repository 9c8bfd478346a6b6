#include "tests/integration/documentsarchive.h"

#include <KZip>

namespace {

bool copyBelow(const KArchiveDirectory& folder, const QString& path, KZip& to, const ArchiveChange& change)
{
    for (const QString& name : folder.entries()) {
        const KArchiveEntry* entry = folder.entry(name);
        if (entry->isDirectory()) {
            if (!copyBelow(*static_cast<const KArchiveDirectory*>(entry), path + name + QLatin1Char('/'), to, change))
                return false;
            continue;
        }
        QByteArray content = static_cast<const KArchiveFile*>(entry)->data();
        if (change(path + name, content) && !to.writeFile(path + name, content))
            return false;
    }
    return true;
}

} // namespace

bool copyArchive(const QString& from, const QString& to, const ArchiveChange& change)
{
    KZip source(from);
    KZip target(to);
    return source.open(QIODevice::ReadOnly) && target.open(QIODevice::WriteOnly) &&
           copyBelow(*source.directory(), {}, target, change) && target.close();
}
