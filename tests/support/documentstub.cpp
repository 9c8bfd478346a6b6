#include "tests/support/documentstub.h"

#include <QJsonObject>
#include <QStringList>

void DocumentStub::transferResourceFile(QJsonArray& entries, QString& path, QString key, bool store, QString& dirName)
{
    if (store) {
        QJsonObject entry = entryFor(path);
        entry.insert(QStringLiteral("dir"), dirName);
        entries.append(entry);
    } else {
        path = entries.first().toObject().value(QStringLiteral("path")).toString();
    }
    transfers.append(Transfer{path, key, dirName, store});
}

QStringList DocumentStub::storedPaths() const
{
    QStringList paths;
    for (const Transfer& transfer : transfers) {
        if (transfer.store)
            paths.append(transfer.path);
    }
    return paths;
}

QJsonObject DocumentStub::entryFor(const QString& path)
{
    return QJsonObject{{QStringLiteral("path"), path}};
}
