#pragma once

#include "host/document/documentcontent.h"

#include <QImage>
#include <QString>
#include <QStringList>

#include <memory>

/// A document that COvDocumentFile::write() has put in its place, for COvDocumentFile::take(). Holds the lock of the
/// new file.
class COvWrittenDocument
{
public:
    virtual ~COvWrittenDocument() = default;
    COvWrittenDocument(const COvWrittenDocument&) = delete;
    COvWrittenDocument& operator=(const COvWrittenDocument&) = delete;

protected:
    COvWrittenDocument() = default;
};

/// A document file (.ovb) and the private working folder that it is unpacked into.
///
/// A ZIP container: document.json, resources/..., preview.png. All functions block; one thread at a time, any thread,
/// but for write().
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

    /// write() and take() in one.
    bool save(const QString& path, const OvDocumentContent& content, const QImage& preview, QString& error);

    /// The slow part of a save. Packs the files that the snapshot's content names and replaces `path` in one step; the
    /// old file is whole until then and after any failure. Named files that are absent are left out. A read-only
    /// document can only be saved under another name. Of an item with several saves in its entries the newest is kept.
    ///
    /// Changes nothing here, so that another thread may call everything meanwhile but take(), save() and another
    /// write(). What is read from the working folder has to stay there until it returns.
    /// @return null with `error` naming the file and the reason; nothing has changed then.
    [[nodiscard]] virtual std::unique_ptr<COvWrittenDocument>
    write(const QString& path, const OvDocumentSnapshot& snapshot, QString& error) const = 0;

    /// Goes on with what write() of this object has made: path, lock and content are those of the new file, and the
    /// document is not read-only afterwards. Quick. @param written  not null.
    virtual void take(std::unique_ptr<COvWrittenDocument> written) = 0;

    /// Removes working folders whose programs are gone. Called by create() and open().
    static void sweepAbandoned();

protected:
    COvDocumentFile() = default;
    COvDocumentFile(const COvDocumentFile&) = delete;
    COvDocumentFile& operator=(const COvDocumentFile&) = delete;
};
