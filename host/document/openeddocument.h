#pragma once

#include "host/document/documentfile.h"
#include "host/document/filedescriptor.h"

#include <memory>

namespace ov3d::document {

class WorkingFolder;
struct ZipSource;

/// A document file with its working folder. One thread at a time.
class OpenedDocument : public COvDocumentFile
{
public:
    /// Without a file yet.
    explicit OpenedDocument(std::unique_ptr<WorkingFolder> folder);
    ~OpenedDocument() override;

    /// Locks, checks and unpacks a file; once, and before anything else.
    /// @return a failure with `error` naming the file and the reason; the object is of no use then.
    [[nodiscard]] Failure read(const QString& path, Access access, QString& error);

    [[nodiscard]] QString path() const override { return m_path; }
    [[nodiscard]] QString workingFolder() const override;
    [[nodiscard]] bool isReadOnly() const override { return m_isReader || !m_readOnlyReason.isEmpty(); }
    [[nodiscard]] QString readOnlyReason() const override { return m_readOnlyReason; }
    [[nodiscard]] const OvDocumentContent& content() const override { return m_content; }
    [[nodiscard]] QStringList warnings() const override { return m_warnings; }
    [[nodiscard]] std::unique_ptr<COvWrittenDocument> write(const QString& path, const OvDocumentSnapshot& snapshot,
                                                            QString& error) const override;
    void take(std::unique_ptr<COvWrittenDocument> written) override;

private:
    [[nodiscard]] Failure unpack(const QString& path, Access access, QString& problem);
    [[nodiscard]] QString collectSources(const OvDocumentSnapshot& snapshot, QVector<ZipSource>& sources) const;
    [[nodiscard]] QString writeTo(const QString& target, const QVector<ZipSource>& sources,
                                  FileDescriptor& written) const;

    std::unique_ptr<WorkingFolder> m_folder;
    FileDescriptor m_file; ///< open as long as the document is, since it holds the document's lock
    QString m_path;
    bool m_isReader = false; ///< opened without the lock
    QString m_readOnlyReason;
    OvDocumentContent m_content;
    QStringList m_warnings;
};

} // namespace ov3d::document
