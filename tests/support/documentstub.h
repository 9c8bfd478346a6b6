#pragma once

#include "host/framework/framework.h"

#include <QJsonArray>
#include <QString>
#include <QVector>

/// A host document that keeps no files: it records what is handed to it, and gives back what its entries name.
class DocumentStub : public IOvDocument
{
public:
    struct Transfer
    {
        QString path;
        QString key;
        QString dirName;
        bool store = false;
    };

    /// store: appends {"path", "dir"}. !store: answers entries[0]["path"].
    void transferResourceFile(QJsonArray& entries, QString& path, QString key, bool store, QString& dirName) override;

    /// The paths that were stored so far, in order.
    [[nodiscard]] QStringList storedPaths() const;

    /// An entry that unpacks to this path.
    [[nodiscard]] static QJsonObject entryFor(const QString& path);

    QVector<Transfer> transfers;
};

/// A page that belongs to any document, or to none.
class PageStub : public IOvPage
{
public:
    IOvDocument* getDocument() override { return document; }

    IOvDocument* document = nullptr;
};
