#pragma once

#include "host/framework/services.h"

#include <QHash>
#include <QObject>
#include <QSizeF>
#include <QUndoStack>

#include <memory>
#include <vector>

class COvPage;

/// A document that lives in a plain folder: its pages, its undo stack, and the resource files of its items.
///
/// Resource files stand in <root>/resources/<n>/<directory name>/..., with a number <n> for each save of an item, since
/// directory names may be empty or equal. A file keeps its path relative to the folder of the first file that was
/// stored under that directory name; a file outside that folder keeps its name alone. Pages are not written to disk:
/// an item's own text (saveJson) holds the entries that bring its files back. GUI thread.
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

private:
    void storeFile(QJsonArray& entries, const QString& path, const QString& key, const QString& dirName);
    bool copyFile(const QString& source, const QString& target, bool replace);
    void restoreFile(const QJsonArray& entries, QString& path, QString& dirName);
    [[nodiscard]] QString groupOf(const QJsonArray& entries);
    [[nodiscard]] QString folderOf(const QString& group, const QString& dirName) const;

    const QString m_root;
    QString m_lastError;
    QUndoStack m_undoStack;
    QHash<QString, QString> m_sourceFolders; ///< folder in the document -> folder that its first file came from
    std::vector<std::unique_ptr<COvPage>> m_pages;
};
