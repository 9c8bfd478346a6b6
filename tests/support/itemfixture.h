#pragma once

#include "host/framework/framework.h"
#include "tests/support/documentstub.h"
#include "tests/support/scriptedviewer.h"

#include <QByteArray>
#include <QList>
#include <QMutex>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

class COv3DObject;

/// A host framework that answers what a test tells it.
class FrameworkStub : public IOvFramework, private IOvPathService
{
public:
    IOvPathService* getPathService() override { return hasPathService ? this : nullptr; }
    IOvDocument* getCurrentDocument() override { return currentDocument; }

    void setPath(const QString& path); ///< answered exactly as it stands
    [[nodiscard]] int pathQueries() const;

    bool hasPathService = true;
    IOvDocument* currentDocument = nullptr;

private:
    QString getPath(int kind) override;

    mutable QMutex m_mutex;
    QString m_path;
    int m_queries = 0;
};

/// What an item needs around it: a private working folder with a "resources" directory, a host framework whose
/// application path is that folder (with its trailing separator) and whose current document is `document`, a registered
/// scripted viewer, and process-wide variables in their initial state.
///
/// One at a time, on the GUI thread. The end releases the items that are left and puts everything back.
class ItemFixture
{
public:
    ItemFixture();
    ~ItemFixture();
    ItemFixture(const ItemFixture&) = delete;
    ItemFixture& operator=(const ItemFixture&) = delete;

    /// Creates an item through the factory. The fixture releases it unless release() or forget() came first.
    COv3DObject* createItem();

    /// Takes an item of a class of the test's own over, as if createItem() had made it. @return the item.
    template <typename Item> Item* adopt(Item* item)
    {
        m_items.append(item);
        return item;
    }

    /// Releases an item without the wait after a load: its timer is invalidated before. Takes the 300 ms of a stop.
    void release(COv3DObject* item);

    /// The caller disposes of the item.
    void forget(COv3DObject* item);

    /// Puts an item into the state that it has after a load, without a thread and without a run: live settings blocks
    /// (with the item's settings), viewer ready, first frame taken, model loaded.
    static void makeReady(COv3DObject* item);

    /// Loads an STL model (accepted without being read) and brings the item's first update to it.
    /// @return what loadFromFile() answered.
    bool load(COv3DObject* item);

    /// Runs the event loop until everything that was posted so far has been delivered.
    static void deliverPosted();

    /// The working folder's absolute path, with a trailing "/".
    [[nodiscard]] QString folder() const;

    /// Writes a file into the working folder, making sub-folders. @return its absolute path.
    QString writeFile(const QString& name, const QByteArray& content = QByteArray("x"));

    /// The texts of the diagnostics log so far, without time and mark, in order.
    [[nodiscard]] QStringList logEntries() const;
    void clearLog();

    /// Every process-wide variable of the plug-in to its value at load, and an empty undo stack. Keeps `g_3d_handle`.
    static void resetGlobals();

    FrameworkStub framework;
    DocumentStub document;
    ScriptedViewer viewer;

private:
    QTemporaryDir m_folder;
    QString m_previousFolder;
    QList<COv3DObject*> m_items;
};
