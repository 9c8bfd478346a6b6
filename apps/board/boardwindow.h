#pragma once

#include "apps/common/linkfolder.h"
#include "apps/common/plugin.h"
#include "apps/common/standardstreams.h"
#include "apps/common/viewerevents.h"
#include "host/framework/framework.h"

#include <QHash>
#include <QMainWindow>

class QAction;
class QLabel;

namespace ov3d::apps {

class PageView;

/// The page editor's window: one page with models on it. GUI thread. Loads block it until the first picture is there.
class BoardWindow : public QMainWindow
{
    Q_OBJECT

public:
    struct Services
    {
        const Plugin& plugin;
        const StandardStreams& streams;
        LinkFolder& links;
        COvProgramFramework& framework;
        QString documentFolder;
    };

    explicit BoardWindow(const Services& services);
    ~BoardWindow() override;

    /// Puts the models on the page side by side, one after the other; they are the page's first state, which undo does
    /// not take away. @param paths  absolute.
    void openModels(const QStringList& paths);

    /// Loads one model. @return the item on the page, or null after a message; `place` in page units.
    CBaseObject* loadModel(const QString& path, const QRectF& place);

    /// How many models could not be shown so far.
    [[nodiscard]] int failureCount() const { return m_failures; }

    /// Takes an event of the viewer.
    void report(const ViewerEvent& event);

    [[nodiscard]] PageView* view() const { return m_view; }

private:
    void makeMenus();
    void chooseModel();
    void removeSelected();
    void updateActions();
    void say(const QString& text);
    void complain(const QString& path, const QString& reason);
    void showUndoState(const QString& verb, const QString& text);

    Services m_services;
    COvDocument m_document;
    COvPage* m_page;
    CLocalize m_localize;
    PageView* m_view;
    QLabel* m_status;
    QAction* m_undo = nullptr;
    QAction* m_redo = nullptr;
    QAction* m_remove = nullptr;
    QHash<QString, QString> m_names; ///< path that the viewer got -> path as the user knows it
    QString m_complaint;             ///< the latest one; empty: none yet
    int m_failures = 0;
};

} // namespace ov3d::apps
