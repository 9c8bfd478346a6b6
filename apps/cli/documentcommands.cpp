#include "apps/cli/documentcommands.h"

#include "apps/cli/documentsession.h"
#include "apps/cli/renderreport.h"
#include "apps/common/modelfile.h"
#include "apps/common/picturefile.h"
#include "apps/common/standardstreams.h"
#include "apps/document/pagepicture.h"
#include "apps/document/placeholderitem.h"

#include <QDir>
#include <QFileInfo>

#include <cmath>

namespace ov3d::apps {

namespace {

constexpr QSizeF kPageSize(1920, 1080);
constexpr QRectF kItemFrame(320, 60, 1280, 960);

ExitCode checkModels(const DocumentSession& session, const QStringList& models)
{
    for (const QString& model : models) {
        const ModelFileReport report = examineModelFile(session.absolute(model));
        if (report.verdict == ModelFileReport::Verdict::unreadable)
            return session.fail(kExitNoAccess, model, report.reason);
        if (report.verdict == ModelFileReport::Verdict::refused)
            return session.fail(kExitRefused, model, report.reason);
    }
    return kExitDone;
}

ExitCode checkFolderOf(const DocumentSession& session, const QString& name)
{
    const QFileInfo file(session.absolute(name));
    const QFileInfo folder(file.path());
    if (file.isDir())
        return session.fail(kExitNoAccess, name, QStringLiteral("is a folder"));
    if (!folder.isDir())
        return session.fail(kExitNoAccess, name, QStringLiteral("its folder does not exist"));
    if (!folder.isWritable())
        return session.fail(kExitNoAccess, name, QStringLiteral("its folder cannot be written"));
    return kExitDone;
}

ExitCode makeDocument(DocumentSession& session, const NewCommand& command)
{
    if (QFileInfo::exists(session.absolute(command.document)))
        return session.fail(kExitNoAccess, command.document, QStringLiteral("exists already"));
    ExitCode code = checkFolderOf(session, command.document);
    if (code == kExitDone)
        code = checkModels(session, command.models);
    if (code == kExitDone)
        code = session.start();
    if (code == kExitDone)
        code = session.create();
    if (code != kExitDone)
        return code;

    QStringList failures;
    for (const QString& model : command.models) {
        session.document().insertModel(*session.document().addPage(kPageSize), session.absolute(model), kItemFrame,
                                       [&failures](CBaseObject*, const QString& error) {
                                           if (!error.isEmpty())
                                               failures << error;
                                       });
    }
    code = session.finishLoading();
    if (code == kExitDone && !failures.isEmpty())
        return session.fail(kExitNoAccess, {}, failures.first());
    const ExitCode saved = code == kExitDone ? session.save(command.document) : code;
    const ExitCode shown = session.tellEvents(command.document);
    return saved == kExitDone ? shown : saved;
}

/// The item of a number, from 1 through the document.
CBaseObject* itemOf(DocumentSession& session, int number)
{
    return session.document().items().value(number - 1, nullptr);
}

ExitCode changeItem(DocumentSession& session, const SetCommand& command)
{
    ExitCode code = session.start();
    if (code == kExitDone)
        code = session.open(command.document, COvDocumentFile::Access::Editing);
    if (code != kExitDone)
        return code;
    const QString subject = QStringLiteral("%1: item %2").arg(command.document).arg(command.item);
    if (const auto& file = session.document().file(); file.isReadOnly())
        return session.fail(kExitNoAccess, command.document, file.readOnlyReason());
    auto* placeholder = dynamic_cast<PlaceholderItem*>(itemOf(session, command.item));
    if (!placeholder)
        return session.fail(kExitUsage, command.document, QStringLiteral("has no item %1").arg(command.item));
    session.document().load(*placeholder);
    code = session.finishLoading();
    if (code == kExitDone)
        code = session.tellEvents(subject);
    CBaseObject* item = itemOf(session, command.item);
    if (code != kExitDone || !item || dynamic_cast<PlaceholderItem*>(item))
        return code == kExitDone ? kExitNotShown : code;

    QString error;
    if (command.changes.environment)
        error = session.setEnvironment(*item, *command.changes.environment);
    if (error.isEmpty())
        error = applyItemChanges(*item, command.changes);
    if (!error.isEmpty())
        return session.fail(kExitNoAccess, subject, error);
    code = session.settle();
    if (code == kExitDone)
        code = session.tellEvents(subject);
    // Whether an environment can be read shows with the picture alone.
    if (code == kExitDone && command.changes.environment && session.hasNote())
        code = kExitNoAccess;
    return code == kExitDone ? session.save(command.document) : code;
}

ExitCode drawPage(DocumentSession& session, const RenderCommand& command)
{
    ExitCode code = checkFolderOf(session, command.output);
    if (code == kExitDone)
        code = session.start();
    if (code == kExitDone)
        code = session.open(command.model, COvDocumentFile::Access::Reading);
    if (code != kExitDone)
        return code;
    const int number = command.page.value_or(1);
    COvPage* page = session.document().pages().page(number - 1);
    if (!page)
        return session.fail(kExitUsage, command.model, QStringLiteral("has no page %1").arg(number));
    // Before anything is loaded, which may take long.
    const double width = std::round(page->size().width());
    const double height = std::round(page->size().height());
    if (width < 1 || height < 1 || width > kMaxPictureSide || height > kMaxPictureSide)
        return session.fail(kExitRefused, command.model,
                            QStringLiteral("page %1 has %2 x %3; a picture has sides from 1 to %4")
                                .arg(number)
                                .arg(page->size().width())
                                .arg(page->size().height())
                                .arg(kMaxPictureSide));
    const QSize size(static_cast<int>(width), static_cast<int>(height));
    session.document().loadPage(*page);
    code = session.finishLoading();
    if (code != kExitDone)
        return code;
    const QImage picture = paintPage(*page, size, command.background.value_or(QColor(Qt::transparent)));
    if (const QString error = writePng(session.absolute(command.output), picture); !error.isEmpty())
        return session.fail(kExitNoAccess, command.output, error);
    return session.tellEvents(command.model);
}

} // namespace

ExitCode runNew(const NewCommand& command, const QString& folder, const StandardStreams& streams)
{
    // Libraries in this process print what only their developers read; the program speaks through `streams`.
    const StandardStreams::Silence silence(streams);
    DocumentSession session(streams, folder);
    return makeDocument(session, command);
}

ExitCode runSet(const SetCommand& command, const QString& folder, const StandardStreams& streams)
{
    const StandardStreams::Silence silence(streams);
    DocumentSession session(streams, folder);
    return changeItem(session, command);
}

ExitCode runRenderPage(const RenderCommand& command, const QString& folder, const StandardStreams& streams)
{
    const StandardStreams::Silence silence(streams);
    DocumentSession session(streams, folder);
    return drawPage(session, command);
}

} // namespace ov3d::apps
