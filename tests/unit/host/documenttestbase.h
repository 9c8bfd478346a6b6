#pragma once

#include "host/framework/framework.h"
#include "tests/support/filecontent.h"
#include "tests/support/testbase.h"

#include <QByteArray>
#include <QJsonArray>
#include <QString>
#include <QTemporaryDir>

#include <memory>

/// Base of tests of a document: every test function has an empty one, and a folder outside it that files come from.
class DocumentTestBase : public TestBase
{
    Q_OBJECT

protected:
    /// Makes a file and the folders above it.
    static void writeFile(const QString& path, const QByteArray& bytes);

    /// Stores the file of this name in the outside folder: m_entries grows by one.
    void store(const QString& name, const QString& directory);

    /// The same for a file anywhere.
    void storePath(QString path, QString directory);

    /// Restores the file of an entry. @return its path, or `path` as it stands when the document refuses the entry.
    QString restore(int index, QString path = QString());

    std::unique_ptr<QTemporaryDir> m_folder;
    QString m_source; ///< the outside folder
    std::unique_ptr<COvDocument> m_document;
    QJsonArray m_entries; ///< of the save at hand

protected Q_SLOTS:
    void init();
    void cleanup();
};
