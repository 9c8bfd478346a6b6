/// The window's document: new, opened, saved, loaded.

#include "apps/board/boardwindow.h"
#include "apps/board/pageview.h"

#include <QApplication>
#include <QCloseEvent>
#include <QDir>
#include <QFileDialog>
#include <QFileInfo>
#include <QLabel>
#include <QMessageBox>
#include <QProgressBar>
#include <QToolButton>

#include <algorithm>

namespace ov3d::apps {

namespace {

constexpr QSizeF kPageSize(1920, 1080);
const QString kFilter = QStringLiteral("Documents (*.ovb)");

/// The pointer of a busy program for as long as it lives.
class BusyPointer
{
public:
    BusyPointer() { QApplication::setOverrideCursor(Qt::WaitCursor); }
    ~BusyPointer() { QApplication::restoreOverrideCursor(); }
    BusyPointer(const BusyPointer&) = delete;
    BusyPointer& operator=(const BusyPointer&) = delete;
};

} // namespace

void BoardWindow::adopt(std::unique_ptr<LiveDocument> document)
{
    closeDocument();
    m_document = std::move(document);
    if (m_document->pages().pageCount() == 0)
        m_document->addPage(kPageSize);
    m_services.framework.setCurrentDocument(&m_document->pages());
    QUndoStack* stack = m_document->pages().undoStack();
    connect(stack, &QUndoStack::indexChanged, this, &BoardWindow::updateActions);
    connect(stack, &QUndoStack::cleanChanged, this, &BoardWindow::updateTitle);
    connect(&m_document->loader(), &LoaderThread::jobsLeftChanged, this, &BoardWindow::showLoading);
    connect(m_document.get(), &LiveDocument::itemFailed, this, [this](CBaseObject*, const QString& reason) {
        complain(m_document->warnings().isEmpty() ? reason : m_document->warnings().last());
    });
    // What the user sees first is loaded first.
    showPage(0);
    m_document->loadAll();
}

void BoardWindow::closeDocument()
{
    if (!m_document)
        return;
    disconnect(&m_document->loader(), nullptr, this, nullptr);
    disconnect(m_document->pages().undoStack(), nullptr, this, nullptr);
    disconnect(m_document.get(), nullptr, this, nullptr);
    if (m_page)
        disconnect(m_page->scene(), nullptr, this, nullptr);
    m_view->setPage(nullptr);
    m_page = nullptr;
    m_document.reset();
    showLoading(0);
}

void BoardWindow::newDocument()
{
    if (!mayDiscard())
        return;
    QString error;
    auto document = LiveDocument::create(m_services.document, error);
    if (document)
        adopt(std::move(document));
    else
        complain(error);
}

void BoardWindow::chooseDocument()
{
    if (!mayDiscard())
        return;
    const QString path = QFileDialog::getOpenFileName(this, QStringLiteral("Open document"), QDir::homePath(), kFilter);
    if (!path.isEmpty())
        openDocument(path);
}

bool BoardWindow::openDocument(const QString& path)
{
    const BusyPointer busy;
    QString error;
    // A file that is open here already is read again; its lock has to be free for that.
    const bool isReopened = QFileInfo(path) == QFileInfo(m_document->file().path());
    if (isReopened)
        closeDocument();
    auto document = LiveDocument::open(path, m_services.document, error);
    if (!document) {
        if (isReopened)
            newDocument();
        complain(error);
        return false;
    }
    adopt(std::move(document));
    const QStringList warnings = m_document->warnings();
    if (m_document->file().isReadOnly())
        say(m_document->file().readOnlyReason());
    else
        say(QStringLiteral("Opened %1").arg(QFileInfo(path).fileName()));
    for (const QString& warning : warnings)
        complain(warning);
    return true;
}

bool BoardWindow::saveInPlace()
{
    const COvDocumentFile& file = m_document->file();
    return file.path().isEmpty() || file.isReadOnly() ? chooseFileAndSave() : saveDocument(file.path());
}

bool BoardWindow::chooseFileAndSave()
{
    QFileDialog dialog(this, QStringLiteral("Save document"), QDir::homePath(), kFilter);
    dialog.setAcceptMode(QFileDialog::AcceptSave);
    dialog.setDefaultSuffix(QStringLiteral("ovb"));
    return dialog.exec() == QDialog::Accepted && saveDocument(dialog.selectedFiles().constFirst());
}

bool BoardWindow::saveDocument(const QString& path)
{
    const BusyPointer busy;
    QString error;
    const StandardStreams::Silence silence(m_services.streams);
    if (!m_document->save(path, error)) {
        complain(error);
        return false;
    }
    m_document->pages().undoStack()->setClean();
    updateTitle();
    say(QStringLiteral("Saved %1").arg(QFileInfo(path).fileName()));
    return true;
}

bool BoardWindow::mayDiscard()
{
    if (!m_document || m_document->pages().undoStack()->isClean())
        return true;
    const auto answer =
        QMessageBox::question(this, QStringLiteral("Unsaved changes"),
                              QStringLiteral("The document has changes that are not saved. Save them?"),
                              QMessageBox::Save | QMessageBox::Discard | QMessageBox::Cancel, QMessageBox::Save);
    return answer == QMessageBox::Discard || (answer == QMessageBox::Save && saveInPlace());
}

void BoardWindow::closeEvent(QCloseEvent* event)
{
    event->setAccepted(mayDiscard());
}

bool BoardWindow::isLoading() const
{
    return m_document && m_document->loader().jobsLeft() > 0;
}

void BoardWindow::showLoading(int jobs)
{
    m_jobsAtOnce = jobs == 0 ? 0 : std::max(m_jobsAtOnce, jobs);
    m_progress->setRange(0, std::max(m_jobsAtOnce, 1));
    m_progress->setValue(m_jobsAtOnce - jobs);
    m_progress->setFormat(QStringLiteral("Loading %1 of %2").arg(m_jobsAtOnce - jobs + 1).arg(m_jobsAtOnce));
    m_progress->setVisible(jobs > 0);
    m_cancel->setVisible(jobs > 0);
}

void BoardWindow::cancelLoading()
{
    m_document->loader().cancelAll();
}

void BoardWindow::updateTitle()
{
    const COvDocumentFile& file = m_document->file();
    QString title = file.path().isEmpty() ? QStringLiteral("New document") : QFileInfo(file.path()).fileName();
    title += QStringLiteral("[*] - ov3dboard");
    if (file.isReadOnly())
        title += QStringLiteral(" (read-only)");
    setWindowTitle(title);
    setWindowModified(!m_document->pages().undoStack()->isClean());
}

} // namespace ov3d::apps
