#pragma once

#include "host/document/documentcontent.h"

#include <QImage>
#include <QString>
#include <QStringList>

#include <memory>

/// A document file (.ovb) and the private working folder that it is unpacked into.
///
/// A ZIP container: document.json, resources/..., preview.png. All functions block; one thread at a time, any thread.
class COvDocumentFile
{
public:
    /// Makes a document that has no file yet. @return null with `error` set when no working folder can be made.
    static std::unique_ptr<COvDocumentFile> create(QString& error);

    /// Checks and unpacks a file. Takes the document's lock; when another process (or another object of this one) holds
    /// it, the document is read-only. @return null with `error` naming the file and the reason.
    static std::unique_ptr<COvDocumentFile> open(const QString& path, QString& error);

    /// Releases the lock and removes the working folder.
    virtual ~COvDocumentFile();

    [[nodiscard]] virtual QString path() const = 0;          ///< absolute; empty while there is no file yet
    [[nodiscard]] virtual QString workingFolder() const = 0; ///< absolute, without a trailing separator
    [[nodiscard]] virtual bool isReadOnly() const = 0;
    [[nodiscard]] virtual QString readOnlyReason() const = 0; ///< in words, for the window's title or a message
    [[nodiscard]] virtual const OvDocumentContent& content() const = 0; ///< as opened or last saved
    [[nodiscard]] virtual QStringList warnings() const = 0; ///< of open(): missing and damaged resources, a line each

    /// Packs the files that `content` names out of the working folder and replaces `path` in one step; the old file is
    /// whole until then and after any failure. Saving to another path moves the lock there.
    /// Named files that are absent are left out. A read-only document can only be saved under another name, and is not
    /// read-only afterwards. Of an item with several saves in its entries the newest is kept.
    /// @return false with `error` naming the file and the reason; nothing has changed then.
    virtual bool save(const QString& path, const OvDocumentContent& content, const QImage& preview, QString& error) = 0;

    /// Removes working folders whose programs are gone. Called by create() and open().
    static void sweepAbandoned();

protected:
    COvDocumentFile() = default;
    COvDocumentFile(const COvDocumentFile&) = delete;
    COvDocumentFile& operator=(const COvDocumentFile&) = delete;
};
