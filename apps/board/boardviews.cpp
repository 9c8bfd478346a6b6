/// The window's Model menu: views, surroundings, pictures of and facts about the selected model.

#include "apps/board/boardwindow.h"
#include "apps/board/keptviews.h"
#include "apps/board/modelcommands.h"
#include "apps/board/pageview.h"
#include "apps/document/itemrecord.h"
#include "apps/document/viewercommand.h"
#include "viewer/session/commands.h"

#include <QAction>
#include <QDir>
#include <QFile>
#include <QFileDialog>
#include <QFileInfo>
#include <QInputDialog>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QTemporaryDir>

namespace ov3d::apps {

namespace {

struct NamedView
{
    const char* name; ///< as the viewer knows it
    const char* text;
    const char* shortcut;
};

constexpr NamedView kViews[] = {
    {"front", "&Front", "Ctrl+1"},         {"back", "&Back", "Ctrl+2"}, {"left", "&Left", "Ctrl+3"},
    {"right", "&Right", "Ctrl+4"},         {"top", "&Top", "Ctrl+5"},   {"bottom", "B&ottom", "Ctrl+6"},
    {"isometric", "&Isometric", "Ctrl+7"},
};

} // namespace

void BoardWindow::makeModelMenu()
{
    QMenu& menu = *menuBar()->addMenu(QStringLiteral("&Model"));
    for (const NamedView& view : kViews) {
        const QString name = QString::fromLatin1(view.name);
        QAction* action = menu.addAction(QString::fromLatin1(view.text), this, [this, name] {
            changeView(kCommandShowView, name, QStringLiteral("View from the %1").arg(name));
        });
        action->setShortcut(QKeySequence(QString::fromLatin1(view.shortcut)));
        m_selectionActions << action;
    }
    QAction* reset = menu.addAction(QStringLiteral("R&eset the view"), this,
                                    [this] { changeView(kCommandReset, {}, QStringLiteral("Reset the view")); });
    reset->setShortcut(QKeySequence(QStringLiteral("Ctrl+0")));
    menu.addSeparator();
    m_selectionActions << reset
                       << addAction(menu, QStringLiteral("&Keep the view..."), {}, &BoardWindow::askAndKeepView);
    m_keptViews = menu.addMenu(QStringLiteral("Ret&urn to"));
    connect(m_keptViews, &QMenu::aboutToShow, this, &BoardWindow::fillKeptViews);
    menu.addSeparator();
    m_selectionActions << m_keptViews->menuAction()
                       << addAction(menu, QStringLiteral("Environment &picture..."), {},
                                    &BoardWindow::chooseEnvironment)
                       << addAction(menu, QStringLiteral("&Without environment picture"), {},
                                    &BoardWindow::removeEnvironment);
    menu.addSeparator();
    m_locked = menu.addAction(QStringLiteral("&Locked"), this, &BoardWindow::lockSelected);
    m_locked->setObjectName(QStringLiteral("locked"));
    m_locked->setCheckable(true);
    menu.addSeparator();
    m_selectionActions << addAction(menu, QStringLiteral("&Save the picture..."), {}, &BoardWindow::savePicture)
                       << addAction(menu, QStringLiteral("Facts about the &model..."), {}, &BoardWindow::showFacts);
}

void BoardWindow::changeView(int code, const QString& text, const QString& name)
{
    CBaseObject* item = m_view->selectedItem();
    if (!item)
        return;
    const KeptView before = KeptView::of(*item);
    if (const QString error = sendViewerCommand(*item, code, text); !error.isEmpty()) {
        say(error);
        return;
    }
    CUndoRedo::GetInstance()->push(new ViewCommand(*item, before, name));
    say(name);
}

void BoardWindow::askAndKeepView()
{
    const QString name =
        QInputDialog::getText(this, QStringLiteral("Keep the view"), QStringLiteral("Name of the view:"));
    if (!name.trimmed().isEmpty())
        keepView(name.trimmed());
}

void BoardWindow::keepView(const QString& name)
{
    CBaseObject* item = m_view->selectedItem();
    if (!item)
        return;
    const QString error = keepNamedView(*item, name);
    say(error.isEmpty() ? QStringLiteral("Model > Return to > %1 brings this view back").arg(name) : error);
}

void BoardWindow::returnToView(const QString& name)
{
    changeView(kCommandReturnToView, name, QStringLiteral("Return to %1").arg(name));
}

void BoardWindow::fillKeptViews()
{
    m_keptViews->clear();
    const CBaseObject* item = m_view->selectedItem();
    const QStringList names = item ? namedViews(*item) : QStringList();
    for (const QString& name : names) {
        // A "&" is no mark of a shortcut here.
        QString text = name;
        m_keptViews->addAction(text.replace(QLatin1Char('&'), QLatin1String("&&")), this,
                               [this, name] { returnToView(name); });
    }
    if (names.isEmpty())
        m_keptViews->addAction(QStringLiteral("No view has been kept"))->setEnabled(false);
}

void BoardWindow::savePicture()
{
    CBaseObject* item = m_view->selectedItem();
    QFileDialog dialog(this, QStringLiteral("Save the picture"), QDir::homePath(), QStringLiteral("Pictures (*.png)"));
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("png"));
    if (!item || dialog.exec() != QDialog::Accepted)
        return;
    const QString path = dialog.selectedFiles().constFirst();
    const QString error = sendViewerCommand(*item, kCommandSavePicture, path);
    say(error.isEmpty() ? QStringLiteral("Saved %1").arg(QFileInfo(path).fileName())
                        : QStringLiteral("%1: %2").arg(path, error));
}

void BoardWindow::showFacts()
{
    CBaseObject* item = m_view->selectedItem();
    const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("facts.json"));
    const QString error = item ? sendViewerCommand(*item, kCommandReportFacts, path) : QString();
    QFile file(path);
    if (!item || !error.isEmpty() || !file.open(QIODevice::ReadOnly)) {
        say(error);
        return;
    }
    QMessageBox box(QMessageBox::Information, QStringLiteral("Facts about the model"), itemName(itemRecord(*item)),
                    QMessageBox::Close, this);
    box.setInformativeText(QString::fromUtf8(file.readAll()));
    box.exec();
}

void BoardWindow::chooseEnvironment()
{
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Environment picture"), QDir::homePath(),
                                                      QStringLiteral("Radiance pictures (*.hdr)"));
    if (!path.isEmpty())
        setEnvironment(path);
}

void BoardWindow::removeEnvironment()
{
    setEnvironment({});
}

void BoardWindow::setEnvironment(const QString& path)
{
    CBaseObject* item = m_view->selectedItem();
    if (!item)
        return;
    const QString before = LiveDocument::environmentOf(*item);
    const QString error = m_document->setEnvironment(*item, path);
    const QString after = LiveDocument::environmentOf(*item);
    if (!error.isEmpty() || after == before) {
        say(error.isEmpty() ? QStringLiteral("The model has no environment picture") : error);
        return;
    }
    CUndoRedo::GetInstance()->push(new EnvironmentCommand(*m_document, *item, before, after));
    say(path.isEmpty() ? QStringLiteral("Without an environment picture")
                       : QStringLiteral("Lit by %1").arg(QFileInfo(path).fileName()));
}

} // namespace ov3d::apps
