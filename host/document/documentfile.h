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

    enum class Access
    {
        Editing, ///< takes the document's lock; read-only when another process, or another object of this one, holds it
        Reading, ///< takes no lock, so that others may edit meanwhile; always read-only
    };

    /// Why opening failed.
    enum class Failure
    {
        None,
        NoDocument, ///< the file is none, or one that is refused
        NoAccess,   ///< the file cannot be read, or the working folder cannot be written
    };

    /// Checks and unpacks a file. A document with damaged resources is read-only: saving it in its own place would lose
    /// what a repair might still bring back. @return null with `error` naming the file and the reason, and `failure`
    /// set if it is given.
    static std::unique_ptr<COvDocumentFile> open(const QString& path, QString& error, Access access = Access::Editing,
                                                 Failure* failure = nullptr);

    /// Releases the lock and removes the working folder.
    virtual ~COvDocumentFile();

    [[nodiscard]] virtual QString path() const = 0;          ///< absolute; empty while there is no file yet
    [[nodiscard]] virtual QString workingFolder() const = 0; ///< absolute, without a trailing separator
    [[nodiscard]] virtual bool isReadOnly() const = 0;
    /// In words, for the window's title or a message; empty when nothing but Access::Reading keeps it from being saved.
    [[nodiscard]] virtual QString readOnlyReason() const = 0;
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
