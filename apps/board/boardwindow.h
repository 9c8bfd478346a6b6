#pragma once

#include "apps/common/plugin.h"
#include "apps/common/standardstreams.h"
#include "apps/common/viewerevents.h"
#include "apps/document/livedocument.h"
#include "apps/document/placeholderitem.h"
#include "host/framework/framework.h"

#include <QMainWindow>

#include <memory>

class QAction;
class QLabel;
class QMenu;
class QProgressBar;
class QToolButton;

namespace ov3d::apps {

class PageView;
class SettingsPanel;

/// The page editor's window: one document, one of its pages shown, models on it. GUI thread.
///
/// Models are loaded one after the other on a thread of the document's; the window answers meanwhile. What was loaded
/// after a failure does not hide the failure: it stays in the status line until the user does something.
class BoardWindow : public QMainWindow
{
    Q_OBJECT

public:
    struct Services
    {
        const Plugin& plugin;
        const StandardStreams& streams;
        COvProgramFramework& framework;
        DocumentServices document;
    };

    /// @param document  what the window shows first; never null. One without pages is given an empty one.
    BoardWindow(const Services& services, std::unique_ptr<LiveDocument> document);
    ~BoardWindow() override;

    /// Puts the models on the page side by side, one after the other; they are the page's first state, which undo does
    /// not take away. Returns before they are loaded. @param paths  absolute.
    void openModels(const QStringList& paths);

    /// Shows another document in place of the present one, or this one as its file has it. @return false after a
    /// message; nothing has changed then, unless the file was this document's: then there is a new document.
    ///
    /// The file is unpacked on a thread of its own while the event loop turns: the window can be looked at, and closed,
    /// which abandons the opening; it takes nothing else. A second call meanwhile is refused.
    bool openDocument(const QString& path);

    /// Saves while the window stays in use. What is changed meanwhile is not in the file, and the document stays
    /// changed; so it does when models are left out since they are still being inserted, which is said. While a save
    /// runs, this one waits for its end. An empty path does nothing.
    void startSaving(const QString& path);

    /// The same, and returns when it is over; until then the event loop turns and the window takes no input.
    /// @return false after a message, the file is as it was then, or when the window is to be closed.
    bool saveDocument(const QString& path);

    /// Ends loads, waits for a save, gives the items to the reaper and removes the working folder. For the end of the
    /// program.
    void closeDocument();

    [[nodiscard]] LiveDocument* document() const { return m_document.get(); }
    [[nodiscard]] bool isLoading() const;

    /// How many models could not be shown so far.
    [[nodiscard]] int failureCount() const { return m_failures; }

    /// Takes an event of the viewer.
    void report(const ViewerEvent& event);

    [[nodiscard]] PageView* view() const { return m_view; }

public Q_SLOTS:
    void copySelected();
    void cutSelected();
    void paste();
    void duplicateSelected();
    void showPage(int index);
    void addPage();

    /// Removes the page that is shown. Refused, with a message, for the last page and while its items are being loaded.
    void removePage();

    /// Loads what was cancelled.
    void loadRest();

    /// Keeps the selected item's view under a name, or says why not.
    void keepView(const QString& name);
    void returnToView(const QString& name);

    /// Lights the selected item with an environment picture (.hdr), or says why not. An empty path takes it away.
    void setEnvironment(const QString& path);

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void makeStatusBar();
    void makeFileMenu();
    void makeEditMenu();
    void makePageMenu();
    void makeModelMenu();
    QAction* addAction(QMenu& menu, const QString& text, const QKeySequence& shortcut, void (BoardWindow::*slot)());

    // boardpages.cpp
    [[nodiscard]] int pageIndex() const;
    [[nodiscard]] bool mayTakePage(const COvPage& page);
    void pageInserted(int index);
    void pageTaken(int index);
    void showPageNumber();

    // boardfiles.cpp
    enum class Opening
    {
        none,
        underWay,
        abandoned, ///< the file is still being read, for nobody
    };
    void adopt(std::unique_ptr<LiveDocument> document);
    void newDocument();
    std::unique_ptr<COvDocumentFile> openFile(const QString& path, QString& error);
    void setOpening(Opening opening);
    void setInputEnabled(bool enabled);
    void chooseDocument();
    void showLoading(int jobs);
    void cancelLoading();
    void updateTitle();

    // boardsaving.cpp
    QString chooseFileToSave();
    QString fileToSave();
    void endSaving(const QString& path, const QString& error);
    bool waitForSave();
    bool mayDiscard();

    // boardmodels.cpp
    void chooseModel();
    void removeSelected();
    void insert(const QString& path, const QRectF& place, bool undoable);
    bool takeClip(const QByteArray& bytes);
    [[nodiscard]] QByteArray clipOfSelected();
    void itemArrived(CBaseObject* item, const QString& error, bool undoable);
    void changeSetting(const QString& key, const QJsonValue& value);
    void lockSelected(bool locked);

    // boardviews.cpp
    void changeView(int code, const QString& text, const QString& name);
    void askAndKeepView();
    void fillKeptViews();
    void savePicture();
    void showFacts();
    void chooseEnvironment();
    void removeEnvironment();

    [[nodiscard]] QList<CBaseObject*> selectedItems() const;
    [[nodiscard]] QList<const PlaceholderItem*> placeholders(PlaceholderItem::State state) const;
    void undoOrRedo(bool undo);
    void updateActions();
    void say(const QString& text);
    void complain(const QString& text);

    Services m_services;
    std::unique_ptr<LiveDocument> m_document;
    COvPage* m_page = nullptr;
    CLocalize m_localize;
    PageView* m_view;
    SettingsPanel* m_settings;
    QLabel* m_status = nullptr;
    QLabel* m_saving = nullptr; ///< there as long as the document is being saved
    QLabel* m_pageNumber = nullptr;
    QProgressBar* m_progress = nullptr;
    QToolButton* m_cancel = nullptr;
    QAction* m_undo = nullptr;
    QAction* m_redo = nullptr;
    QAction* m_locked = nullptr;
    QAction* m_removePage = nullptr;
    QAction* m_loadRest = nullptr;
    QMenu* m_keptViews = nullptr;
    QList<QAction*> m_selectionActions; ///< that need a selected item
    Opening m_opening = Opening::none;
    QStringList m_savesNext;        ///< where to save once the save that runs has ended
    QStringList m_leftOut;          ///< names of models that the save that runs does not have
    bool m_wasClean = true;         ///< before the save that runs was begun
    bool m_isSaved = false;         ///< how the last save ended
    bool m_closesWhenSaved = false; ///< the user has closed the window while a save was running
    int m_jobsAtOnce = 0;           ///< loads since the last time that nothing was being loaded
    int m_failures = 0;
    QStringList m_complaints; ///< since something else was said
};

} // namespace ov3d::apps
