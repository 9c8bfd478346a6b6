/// The window's document on its way into a file, while the window stays in use.

#include "apps/board/boardwindow.h"
#include "apps/board/busypointer.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QPointer>

#include <utility>

namespace ov3d::apps {

namespace {

const QString kFilter = QStringLiteral("Documents (*.ovb)");

QString nameOf(const QString& path)
{
    return QFileInfo(path).fileName();
}

} // namespace

QString BoardWindow::chooseFileToSave()
{
    QFileDialog dialog(this, QStringLiteral("Save document"), QDir::homePath(), kFilter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("ovb"));
    return dialog.exec() == QDialog::Accepted ? dialog.selectedFiles().constFirst() : QString();
}

/// Where the document belongs; the user is asked when it has no place yet. @return empty when the user gives up.
QString BoardWindow::fileToSave()
{
    // What is being saved under another name belongs there from now on.
    if (!m_savesNext.isEmpty())
        return m_savesNext.last();
    if (m_document->isSaving())
        return m_document->savingPath();
    const COvDocumentFile& file = m_document->file();
    return file.path().isEmpty() || file.isReadOnly() ? chooseFileToSave() : file.path();
}

void BoardWindow::startSaving(const QString& path)
{
    if (path.isEmpty())
        return;
    if (m_document->isSaving()) {
        if (!m_savesNext.contains(path))
            m_savesNext << path;
        say(QStringLiteral("%1 is saved as soon as %2 has been").arg(nameOf(path), nameOf(m_document->savingPath())));
        return;
    }
    say(QStringLiteral("Saving %1...").arg(nameOf(path)));
    m_saving->setText(QStringLiteral("Saving %1").arg(nameOf(path)));
    m_saving->show();
    QString error;
    bool isBegun = false;
    {
        const BusyPointer busy(Qt::WaitCursor);
        const StandardStreams::Silence silence(m_services.streams);
        // What the user does meanwhile waits, so that what is saved has been there at one moment.
        isBegun =
            m_document->startSave(path, error, [] { QApplication::processEvents(QEventLoop::ExcludeUserInputEvents); });
    }
    m_leftOut.clear();
    for (const PlaceholderItem* placeholder : placeholders(PlaceholderItem::State::arriving))
        m_leftOut << placeholder->name();
    QUndoStack* stack = m_document->working().undoStack();
    m_wasClean = stack->isClean();
    if (!isBegun) {
        endSaving(path, error);
        return;
    }
    // From here on, what is changed is not in the file; a step that is taken next must not merge into one that is.
    stack->setClean();
    updateTitle();
}

void BoardWindow::endSaving(const QString& path, const QString& error)
{
    m_isSaved = error.isEmpty();
    const QUndoStack* stack = m_document->working().undoStack();
    if (!m_isSaved) {
        if (!m_wasClean)
            m_document->working().undoStack()->resetClean();
        m_closesWhenSaved = false;
        complain(error);
    } else if (!m_leftOut.isEmpty()) {
        say(QStringLiteral("Saved %1 without what is still being inserted: %2")
                .arg(nameOf(path), m_leftOut.join(QStringLiteral(", "))));
    } else {
        say(stack->isClean() ? QStringLiteral("Saved %1").arg(nameOf(path))
                             : QStringLiteral("Saved %1 without what has been changed meanwhile").arg(nameOf(path)));
    }
    m_saving->hide();
    updateTitle();
    if (!m_savesNext.isEmpty())
        startSaving(m_savesNext.takeFirst());
    else if (m_closesWhenSaved)
        QMetaObject::invokeMethod(this, &QWidget::close, Qt::QueuedConnection);
}

bool BoardWindow::saveDocument(const QString& path)
{
    if (!waitForSave())
        return false;
    startSaving(path);
    return waitForSave() && m_isSaved;
}

/// Until the save that runs has ended, the window can be looked at and closed, and takes nothing else.
/// @return false when the window is to be closed, or is gone: there is nothing to go on with.
bool BoardWindow::waitForSave()
{
    if (!m_document || !m_document->isSaving())
        return true;
    if (m_document->isCollecting())
        return false; // called from within startSaving(), which cannot go on before this has returned
    const QPointer<BoardWindow> self(this);
    const BusyPointer busy(Qt::BusyCursor);
    say(QStringLiteral("Saving %1...").arg(nameOf(m_document->savingPath())));
    setInputEnabled(false);
    while (self && m_document && m_document->isSaving()) {
        QEventLoop loop;
        bool isEnded = false;
        const auto connection = connect(m_document.get(), &LiveDocument::saveEnded, &loop, [&loop, &isEnded] {
            isEnded = true;
            loop.quit();
        });
        loop.exec();
        // The end of the program ends the loop before the save.
        if (!isEnded && self && m_document)
            m_document->finishSave();
    }
    if (!self)
        return false;
    setInputEnabled(m_opening == Opening::none);
    return !m_closesWhenSaved;
}

bool BoardWindow::mayDiscard()
{
    if (!waitForSave())
        return false;
    if (!m_document || m_document->working().undoStack()->isClean())
        return true;
    const auto answer =
        QMessageBox::question(this, QStringLiteral("Unsaved changes"),
                              QStringLiteral("The document has changes that are not saved. Save them?"),
                              QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
    if (answer != QMessageBox::Save)
        return answer == QMessageBox::Discard;
    const QString path = fileToSave();
    return !path.isEmpty() && saveDocument(path);
}

void BoardWindow::closeEvent(QCloseEvent* event)
{
    if (m_document && m_document->isSaving()) {
        m_closesWhenSaved = true;
        say(QStringLiteral("The window closes once %1 has been saved").arg(nameOf(m_document->savingPath())));
        event->ignore();
        return;
    }
    m_closesWhenSaved = false;
    event->setAccepted(mayDiscard());
    if (event->isAccepted() && m_opening != Opening::none)
        m_opening = Opening::abandoned;
}

} // namespace ov3d::apps
