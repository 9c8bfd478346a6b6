#pragma once

#include "host/framework/services.h"

#include <QHash>
#include <QJsonObject>
#include <QMutex>
#include <QObject>
#include <QSizeF>
#include <QStringList>
#include <QUndoStack>

#include <memory>
#include <vector>

class COvPage;

/// A document that lives in a plain folder: its pages, its undo stack, and the resource files of its items.
///
/// Resource files stand in <root>/resources/<n>/<directory name>/..., with a number <n> for each item that is put into
/// the document, or for each save of an item whose files lie elsewhere, since directory names may be empty or equal.
/// A file that already lies in such a numbered folder stays where it is: its entry names that place, so saving an item
/// again neither copies nor grows anything. Any other file is copied; it keeps its path relative to the folder of the
/// first file that was stored under that directory name, and its name alone when it lies outside that folder. Pages are
/// not written to disk: an item's own text (saveJson) holds the entries that bring its files back. Pages and undo
/// stack: GUI thread. Files: any thread, since an item may be loaded on one of its own.
class OV_FRAMEWORK_EXPORT COvDocument : public QObject, public IOvDocument
{
    Q_OBJECT

public:
    /// @param root  the document's folder, created when the first file is stored.
    explicit COvDocument(const QString& root);
    ~COvDocument() override;

    /// Absolute, without a trailing separator.
    [[nodiscard]] QString root() const;
    [[nodiscard]] QUndoStack* undoStack();

    COvPage* addPage(const QSizeF& size);
    [[nodiscard]] int pageCount() const;
    [[nodiscard]] COvPage* page(int index) const; ///< null when there is no such page
    void removePage(int index); ///< deletes the page and what the undo stack holds; out of range does nothing

    void transferResourceFile(QJsonArray& entries, QString& path, QString key, bool store, QString& dirName) override;

    /// Why the last call of transferResourceFile could not do its work; empty when it could.
    [[nodiscard]] QString lastError() const;

    /// Makes the next free numbered folder, for the files of an item that is being put into the document. What calls it
    /// puts the model into a folder in it that is named like the item's directory name (the model's base name; for glTF
    /// the name of the model's folder). @return absolute, without a trailing separator; empty when it cannot be made.
    QString makeFolder();

    /// The entry of a file that lies in a numbered folder, as transferResourceFile makes it. @return an empty object
    /// for a path elsewhere.
    [[nodiscard]] QJsonObject entryOf(const QString& path, const QString& key) const;

    /// The file that an entry names, relative to the document's folder, "/" between; empty when it names none. Whether
    /// there is such a file does not matter.
    [[nodiscard]] static QString fileOfEntry(const QJsonValue& entry);

    /// Leaves only the newest save in what an item's saveJson wrote: every save adds an array behind the older ones,
    /// and loading reads the first.
    static void keepNewestSave(QJsonObject& savedItem);

    /// Removes the numbered folders in which none of `used` lies (paths relative to the document's folder, or
    /// absolute).
    /// @return how many were removed.
    int removeUnusedFolders(const QStringList& used);

private:
    /// Where a file of the document lies: root/resources/<group>/<directory>/<file>.
    struct Place
    {
        QString group;
        QString directory;
        QString file;
    };

    void storeFile(QJsonArray& entries, const QString& path, const QString& key, const QString& dirName);
    void storeCopy(QJsonArray& entries, const QString& source, const QString& key, const QString& directory);
    [[nodiscard]] bool placeOf(const QString& path, Place& place) const;
    bool copyFile(const QString& source, const QString& target, bool replace);
    void restoreFile(const QJsonArray& entries, QString& path, QString& dirName);
    [[nodiscard]] QString groupOf(const QJsonArray& entries);
    [[nodiscard]] QString takeNumber();
    [[nodiscard]] QString folderOf(const QString& group, const QString& dirName) const;

    const QString m_root;
    QUndoStack m_undoStack;
    mutable QMutex m_filesMutex; ///< guards what follows, and the choice of folder numbers
    QString m_lastError;
    QHash<QString, QString> m_sourceFolders; ///< folder in the document -> folder that its first file came from
    std::vector<std::unique_ptr<COvPage>> m_pages;
};
