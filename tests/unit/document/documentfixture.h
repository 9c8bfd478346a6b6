#pragma once

#include "host/document/documentfile.h"
#include "tests/support/testbase.h"

#include <QTemporaryDir>

#include <memory>

/// Base of the tests of document files: a folder for each test function, with a cache folder of its own in it, so that
/// the working folders of other programs are left alone.
class DocumentTestBase : public TestBase
{
    Q_OBJECT

protected:
    [[nodiscard]] QString folder() const { return m_folder->path(); }
    [[nodiscard]] QString file(const QString& name) const { return folder() + QLatin1Char('/') + name; }

    /// Where the working folders stand.
    [[nodiscard]] QString workPlace() const { return file(QStringLiteral("cache/ov3d/documents")); }
    [[nodiscard]] QStringList workingFolders() const;

    /// Hidden files included.
    [[nodiscard]] static QStringList namesIn(const QString& folder);

protected Q_SLOTS:
    void init();
    void cleanup();

private:
    std::unique_ptr<QTemporaryDir> m_folder;
};

void writeFile(const QString& path, const QByteArray& bytes);
[[nodiscard]] QByteArray readFile(const QString& path); ///< "<no such file>" when it cannot be read

/// Bytes that do not shrink when packed; the same for the same seed.
[[nodiscard]] QByteArray noise(int count, quint32 seed);

/// One page with one item that has these files, the first of which is its model.
[[nodiscard]] OvDocumentContent contentWith(const QStringList& files);

/// document.json of a document without pages.
[[nodiscard]] QByteArray emptyContentText();
