/// The window's document: new, opened, loaded.

#include "apps/board/boardwindow.h"
#include "apps/board/busypointer.h"
#include "apps/board/pagecommands.h"
#include "apps/board/pageview.h"
#include "apps/board/settingspanel.h"

#include <QDir>
#include <QEventLoop>
#include <QFileDialog>
#include <QFileInfo>
#include <QMenuBar>
#include <QPointer>
#include <QProgressBar>
#include <QThread>
#include <QToolButton>

#include <algorithm>

namespace ov3d::apps {

namespace {

constexpr QSizeF kPageSize(1920, 1080);
const QString kFilter = QStringLiteral("Documents (*.ovb)");

} // namespace

void BoardWindow::adopt(std::unique_ptr<LiveDocument> document)
{
    closeDocument();
    m_document = std::move(document);
    if (m_document->pages().pageCount() == 0)
        m_document->addPage(kPageSize);
    m_services.framework.setCurrentDocument(&m_document->working());
    QUndoStack* stack = m_document->working().undoStack();
    connect(stack, &QUndoStack::indexChanged, this, &BoardWindow::updateActions);
    connect(stack, &QUndoStack::cleanChanged, this, &BoardWindow::updateTitle);
    connect(&m_document->loader(), &LoaderThread::jobsLeftChanged, this, &BoardWindow::showLoading);
    connect(m_document.get(), &LiveDocument::warned, this, &BoardWindow::complain);
    connect(m_document.get(), &LiveDocument::saveEnded, this, &BoardWindow::endSaving);
    connect(&m_document->pages(), &DocumentPages::pageInserted, this, &BoardWindow::pageInserted);
    connect(&m_document->pages(), &DocumentPages::pageTaken, this, &BoardWindow::pageTaken);
    connect(m_document.get(), &LiveDocument::itemShown, this,
            [](CBaseObject*, CBaseObject* item) { rememberFrameLimits(*item); });
    // What the user sees first is loaded first.
    showPage(0);
    m_document->loadAll();
}

void BoardWindow::closeDocument()
{
    if (!m_document)
        return;
    m_savesNext.clear();
    m_document->finishSave();
    disconnect(&m_document->loader(), nullptr, this, nullptr);
    disconnect(&m_document->pages(), nullptr, this, nullptr);
    disconnect(m_document->working().undoStack(), nullptr, this, nullptr);
    disconnect(m_document.get(), nullptr, this, nullptr);
    if (m_page)
        disconnect(m_page->scene(), nullptr, this, nullptr);
    m_view->setPage(nullptr);
    m_page = nullptr;
    if (m_services.framework.getCurrentDocument() == &m_document->working())
        m_services.framework.setCurrentDocument(nullptr);
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
    if (m_opening != Opening::none) {
        say(QStringLiteral("Another document is being opened"));
        return false;
    }
    if (!waitForSave())
        return false;
    QString error;
    // A file that is open here already is read again; its lock has to be free for that.
    if (!m_document->file().path().isEmpty() && QFileInfo(path) == QFileInfo(m_document->file().path()) &&
        QFileInfo(path).isReadable()) {
        auto empty = LiveDocument::create(m_services.document, error);
        if (!empty) {
            complain(error);
            return false;
        }
        adopt(std::move(empty));
    }
    say(QStringLiteral("Opening %1...").arg(QFileInfo(path).fileName()));
    const QPointer<BoardWindow> self(this);
    setOpening(Opening::underWay);
    std::unique_ptr<COvDocumentFile> file = openFile(path, error);
    if (!self)
        return false;
    const bool isAbandoned = m_opening == Opening::abandoned || !m_document;
    setOpening(Opening::none);
    if (isAbandoned) {
        say(QStringLiteral("%1 has not been opened").arg(QFileInfo(path).fileName()));
        return false;
    }
    if (!file) {
        complain(error);
        return false;
    }
    const QStringList warnings = file->warnings();
    const QString readOnly = file->isReadOnly() ? file->readOnlyReason() : QString();
    adopt(LiveDocument::fromFile(std::move(file), m_services.document));
    const QString name = QFileInfo(path).fileName();
    say(readOnly.isEmpty() ? QStringLiteral("Opened %1").arg(name)
                           : QStringLiteral("%1 is read-only: %2").arg(name, readOnly));
    for (const QString& warning : warnings)
        complain(warning);
    return true;
}

/// Opens a file on another thread, with the event loop running.
std::unique_ptr<COvDocumentFile> BoardWindow::openFile(const QString& path, QString& error)
{
    const BusyPointer busy(Qt::BusyCursor);
    std::unique_ptr<COvDocumentFile> file;
    QEventLoop loop;
    const std::unique_ptr<QThread> thread(
        QThread::create([&file, &path, &error] { file = COvDocumentFile::open(path, error); }));
    connect(thread.get(), &QThread::finished, &loop, &QEventLoop::quit);
    thread->start();
    loop.exec();
    // The end of the program ends the loop before the thread.
    thread->wait();
    return file;
}

/// While a document is opened, nothing can be done to the one that it will replace.
void BoardWindow::setOpening(Opening opening)
{
    m_opening = opening;
    setInputEnabled(opening == Opening::none);
    showLoading(m_document ? m_document->loader().jobsLeft() : 0);
}

void BoardWindow::setInputEnabled(bool enabled)
{
    for (QWidget* widget :
         {static_cast<QWidget*>(menuBar()), static_cast<QWidget*>(m_view), static_cast<QWidget*>(m_settings)})
        widget->setEnabled(enabled);
    if (enabled)
        m_view->setFocus();
}

bool BoardWindow::isLoading() const
{
    return m_opening != Opening::none || (m_document && m_document->loader().jobsLeft() > 0);
}

void BoardWindow::showLoading(int jobs)
{
    const bool isOpening = m_opening != Opening::none;
    m_jobsAtOnce = jobs == 0 ? 0 : std::max(m_jobsAtOnce, jobs);
    // Nobody knows how far an opening is: a bar without an end shows that.
    m_progress->setRange(0, isOpening ? 0 : std::max(m_jobsAtOnce, 1));
    m_progress->setValue(m_jobsAtOnce - jobs);
    m_progress->setFormat(QStringLiteral("Loading %1 of %2").arg(m_jobsAtOnce - jobs + 1).arg(m_jobsAtOnce));
    m_progress->setVisible(jobs > 0 || isOpening);
    m_cancel->setVisible(jobs > 0 || isOpening);
    if (jobs == 0)
        updateActions();
}

void BoardWindow::cancelLoading()
{
    if (m_opening != Opening::none)
        m_opening = Opening::abandoned;
    else
        m_document->loader().cancelAll();
}

QList<const PlaceholderItem*> BoardWindow::placeholders(PlaceholderItem::State state) const
{
    QList<const PlaceholderItem*> found;
    for (const CBaseObject* item : m_document->items()) {
        const auto* placeholder = dynamic_cast<const PlaceholderItem*>(item);
        if (placeholder && placeholder->state() == state)
            found << placeholder;
    }
    return found;
}

void BoardWindow::updateTitle()
{
    const COvDocumentFile& file = m_document->file();
    QString title = file.path().isEmpty() ? QStringLiteral("New document") : QFileInfo(file.path()).fileName();
    title += QStringLiteral("[*] - ov3dboard");
    if (file.isReadOnly())
        title += QStringLiteral(" (read-only)");
    setWindowTitle(title);
    setWindowModified(m_document->isSaving() || !m_document->working().undoStack()->isClean());
}

} // namespace ov3d::apps
