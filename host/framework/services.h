#pragma once

#include "host/framework/frameworkexport.h"

#include <QString>

class QJsonArray;

/// Turns text ids into visible text. GUI thread.
class OV_FRAMEWORK_EXPORT ILocalize
{
public:
    virtual ~ILocalize();

    /// The text for an id; the id itself when it is unknown.
    [[nodiscard]] virtual QString text(const QString& id) const = 0;
};

/// A document, as the items of its pages see it. GUI thread.
class OV_FRAMEWORK_EXPORT IOvDocument
{
public:
    virtual ~IOvDocument();

    /// Packs a file into the document, or unpacks one.
    ///
    /// store: packs the file at `path` under `dirName` and appends its entry to `entries`, also when there is no such
    /// file. An empty `entries` begins the files of another item.
    /// !store: unpacks the file of entries[0], writes the restored file's path into `path`, and leaves `entries` as it
    /// is. `path` keeps its value when the entry cannot be used.
    virtual void transferResourceFile(QJsonArray& entries, QString& path, QString key, bool store,
                                      QString& dirName) = 0;
};

/// A page, as its items see it. GUI thread.
class OV_FRAMEWORK_EXPORT IOvPage
{
public:
    virtual ~IOvPage();

    /// The document that the page belongs to, or null.
    [[nodiscard]] virtual IOvDocument* getDocument() = 0;
};

/// The program's folders. Any thread: the first log entry may come from a render thread.
class OV_FRAMEWORK_EXPORT IOvPathService
{
public:
    virtual ~IOvPathService();

    /// kind 0: the program's private, writable data folder, with its trailing separator. Any other kind: empty.
    [[nodiscard]] virtual QString getPath(int kind) = 0;
};

/// What the program offers to its plug-ins. Either accessor may answer null.
class OV_FRAMEWORK_EXPORT IOvFramework
{
public:
    virtual ~IOvFramework();

    [[nodiscard]] virtual IOvPathService* getPathService() = 0;  ///< any thread
    [[nodiscard]] virtual IOvDocument* getCurrentDocument() = 0; ///< GUI thread
};

/// The program's framework, or null as long as the program has set none. Any thread.
[[nodiscard]] OV_FRAMEWORK_EXPORT IOvFramework* GetFramework();

/// Sets the framework, which stays the caller's; null takes it away. The caller keeps it alive for as long as items or
/// their threads live. Any thread.
OV_FRAMEWORK_EXPORT void SetFramework(IOvFramework* framework);
