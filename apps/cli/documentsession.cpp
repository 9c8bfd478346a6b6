#include "apps/cli/documentsession.h"

#include "apps/cli/progressbar.h"
#include "apps/cli/renderreport.h"
#include "apps/common/modelfile.h"
#include "apps/common/standardstreams.h"
#include "apps/document/itemrecord.h"
#include "apps/document/itemstate.h"
#include "apps/document/ov3dservices.h"
#include "viewer/session/ov3dviewer.h"

#include <QCoreApplication>
#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QThread>

#include <utility>

namespace ov3d::apps {

namespace {

constexpr int kSettleLimitMs = 180'000; ///< beyond the viewer's own limits
constexpr unsigned long kPollMs = 4;

ViewerEvents& viewerEvents()
{
    // The viewer may report until the very end of the process.
    static ViewerEvents events;
    return events;
}

} // namespace

DocumentSession::DocumentSession(const StandardStreams& streams, QString folder)
    : m_streams(streams)
    , m_folder(std::move(folder))
{
}

DocumentSession::~DocumentSession()
{
    m_document.reset();
    m_workplace.cleanUp();
}

QString DocumentSession::absolute(const QString& name) const
{
    return QDir(m_folder).absoluteFilePath(name);
}

ExitCode DocumentSession::fail(ExitCode code, const QString& subject, const QString& reason) const
{
    const QString text = subject.isEmpty() ? reason : subject + QStringLiteral(": ") + reason;
    m_streams.printErrorLine(QStringLiteral("ov3d: ") + text);
    return code;
}

ExitCode DocumentSession::start()
{
    if (!m_workplace.error().isEmpty())
        return fail(kExitNoAccess, {}, m_workplace.error());
    if (!m_plugin.load(Plugin::defaultPath()))
        return fail(kExitNoAccess, {}, m_plugin.error());
    m_plugin.setViewer(&ov3dViewer);
    ov3dViewerSetObserver([](const char* json) { viewerEvents().add(json); });
    return kExitDone;
}

ExitCode DocumentSession::create()
{
    QString error;
    m_document = LiveDocument::create(ov3dServices(m_plugin), error);
    return m_document ? kExitDone : fail(kExitNoAccess, {}, error);
}

ExitCode DocumentSession::open(const QString& name, COvDocumentFile::Access access)
{
    const QString path = absolute(name);
    if (const QString reason = whyUnreadable(path); !reason.isEmpty())
        return fail(kExitNoAccess, name, reason);
    QString error;
    auto failure = COvDocumentFile::Failure::None;
    auto file = COvDocumentFile::open(path, error, access, &failure);
    if (!file)
        return fail(failure == COvDocumentFile::Failure::NoAccess ? kExitNoAccess : kExitRefused, {}, error);
    m_document = LiveDocument::fromFile(std::move(file), ov3dServices(m_plugin));
    for (const QString& warning : m_document->warnings())
        fail(kExitDone, name, warning);
    QObject::connect(m_document.get(), &LiveDocument::warned, m_document.get(),
                     [this](const QString& text) { m_warned << text; });
    QObject::connect(m_document.get(), &LiveDocument::itemFailed, m_document.get(), [this] { m_hasFailedItem = true; });
    return kExitDone;
}

ExitCode DocumentSession::save(const QString& name)
{
    QString error;
    return m_document->save(absolute(name), error) ? kExitDone : fail(kExitNoAccess, {}, error);
}

ExitCode DocumentSession::finishLoading()
{
    {
        const ProgressBar bar(m_streams, [this] { return m_plugin.progress(); });
        m_document->loader().finishAll();
    }
    return settle();
}

ExitCode DocumentSession::settle()
{
    QElapsedTimer timer;
    timer.start();
    do {
        QCoreApplication::processEvents();
        if (ov3dViewerPending() == 0)
            return kExitDone;
        QThread::msleep(kPollMs);
    } while (timer.elapsed() < kSettleLimitMs);
    return fail(kExitNotShown, {}, QStringLiteral("the picture was not finished in time"));
}

QString DocumentSession::setEnvironment(CBaseObject& item, const QString& name)
{
    const QString path = name.isEmpty() ? QString() : absolute(name);
    if (const QString error = m_document->setEnvironment(item, path); !error.isEmpty())
        return withFileName(error, path, name);
    m_environment = name;
    const QString copy = itemRecord(item).host.value(environmentKey()).toString();
    m_environmentCopy = copy.isEmpty() ? QString() : m_document->file().workingFolder() + QLatin1Char('/') + copy;
    return {};
}

/// Without paths of the working folder, which nobody has chosen.
QString DocumentSession::withUserNames(const QString& text) const
{
    QString known = withFileName(text, m_environmentCopy, m_environment);
    if (known == text)
        known = withFileName(text, QFileInfo(m_environmentCopy).fileName(), m_environment);
    return m_document->withoutWorkingFolder(known);
}

ExitCode DocumentSession::tellEvents(const QString& subject)
{
    // The reason of an item that failed is among the warnings.
    ExitCode code = std::exchange(m_hasFailedItem, false) ? kExitNotShown : kExitDone;
    for (const QString& warning : std::exchange(m_warned, {}))
        fail(kExitDone, subject, withUserNames(warning));
    m_hasNote = false;
    for (const ViewerEvent& event : viewerEvents().take()) {
        const QString note = noteOf(event);
        m_hasNote = m_hasNote || !note.isEmpty();
        const QString name = subject + QStringLiteral(": ") + QFileInfo(event.model).fileName();
        if (event.kind == ViewerEvent::Kind::card)
            code = fail(kExitNotShown, name, event.reason);
        else if (!note.isEmpty())
            fail(kExitDone, name, withUserNames(note));
        else if (event.kind == ViewerEvent::Kind::missing)
            fail(kExitDone, name, QStringLiteral("shown without %1").arg(event.files.join(QStringLiteral(", "))));
    }
    return code;
}

} // namespace ov3d::apps
