#pragma once

#include "apps/common/plugin.h"
#include "apps/common/standardstreams.h"
#include "apps/common/viewerevents.h"
#include "apps/document/livedocument.h"
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

    /// Shows a new document with one empty page.
    explicit BoardWindow(const Services& services);
    ~BoardWindow() override;

    /// Puts the models on the page side by side, one after the other; they are the page's first state, which undo does
    /// not take away. Returns before they are loaded. @param paths  absolute.
    void openModels(const QStringList& paths);

    /// Shows another document in place of the present one, or this one as its file has it. @return false after a
    /// message; nothing has changed then, unless the file was this document's: then there is a new document.
    bool openDocument(const QString& path);

    /// @return false after a message; the file is as it was.
    bool saveDocument(const QString& path);

    /// Ends loads, gives the items to the reaper and removes the working folder. For the end of the program.
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

protected:
    void closeEvent(QCloseEvent* event) override;

private:
    void makeStatusBar();
    void makeFileMenu();
    void makeEditMenu();
    void makePageMenu();
    void makeModelMenu();
    QAction* addAction(QMenu& menu, const QString& text, const QKeySequence& shortcut, void (BoardWindow::*slot)());

    // boardfiles.cpp
    void adopt(std::unique_ptr<LiveDocument> document);
    void newDocument();
    void chooseDocument();
    bool saveInPlace();
    bool chooseFileAndSave();
    bool mayDiscard();
    void showLoading(int jobs);
    void cancelLoading();
    void updateTitle();

    // boardmodels.cpp
    void chooseModel();
    void removeSelected();
    void insert(const QString& path, const QRectF& place, bool undoable);
    bool takeClip(const QByteArray& bytes);
    [[nodiscard]] QByteArray clipOfSelected();
    void itemArrived(CBaseObject* item, const QString& error, bool undoable);
    void changeSetting(const QString& key, const QJsonValue& value);
    void changeView(int code, const QString& text, const QString& name);
    void keepView();
    void fillKeptViews();
    void savePicture();
    void showFacts();
    void chooseEnvironment();
    void removeEnvironment();
    void setEnvironment(const QString& path);
    [[nodiscard]] QList<CBaseObject*> selectedItems() const;

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
    QLabel* m_pageNumber = nullptr;
    QProgressBar* m_progress = nullptr;
    QToolButton* m_cancel = nullptr;
    QAction* m_undo = nullptr;
    QAction* m_redo = nullptr;
    QMenu* m_keptViews = nullptr;
    QList<QAction*> m_selectionActions; ///< that need a selected item
    int m_jobsAtOnce = 0;               ///< loads since the last time that nothing was being loaded
    int m_failures = 0;
};

} // namespace ov3d::apps
