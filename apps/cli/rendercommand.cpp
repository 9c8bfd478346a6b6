#include "apps/cli/rendercommand.h"

#include "apps/cli/modelpicture.h"
#include "apps/cli/progressbar.h"
#include "apps/cli/renderreport.h"
#include "apps/common/modelfile.h"
#include "apps/common/picturefile.h"
#include "apps/common/standardstreams.h"
#include "apps/common/viewerevents.h"
#include "apps/common/workplace.h"
#include "apps/document/environmentpicture.h"
#include "viewer/session/ov3dviewer.h"

#include <QDir>
#include <QElapsedTimer>
#include <QFileInfo>
#include <QImage>
#include <QJsonDocument>
#include <QPainter>

namespace ov3d::apps {

namespace {

/// One run of the command: each step returns kExitDone or ends it.
class Rendering
{
public:
    Rendering(const RenderCommand& command, const QString& folder, const StandardStreams& streams)
        : m_command(command)
        , m_streams(streams)
        , m_folder(folder)
        , m_model(QDir(folder).absoluteFilePath(command.model))
        , m_output(QDir(folder).absoluteFilePath(command.output))
    {
        m_report.file = command.model;
        m_report.size = command.size.value_or(kDefaultPictureSize);
    }

    ExitCode run()
    {
        ExitCode code = checkFiles();
        if (code == kExitDone)
            code = makePicture();
        if (m_command.json &&
            !m_streams.writeOutput(QJsonDocument(toJson(m_report)).toJson(QJsonDocument::Compact) + '\n'))
            code = fail(kExitNoAccess, QStringLiteral("standard output"), QStringLiteral("cannot be written"));
        return code;
    }

private:
    ExitCode fail(ExitCode code, const QString& subject, const QString& reason)
    {
        m_report.error = subject.isEmpty() ? reason : subject + QStringLiteral(": ") + reason;
        m_streams.printErrorLine(QStringLiteral("ov3d: ") + m_report.error);
        return code;
    }

    ExitCode checkFiles()
    {
        ModelFileReport found;
        {
            const StandardStreams::Silence silence(m_streams);
            found = examineModelFile(m_model);
        }
        m_report.format = found.format;
        if (found.verdict == ModelFileReport::Verdict::unreadable)
            return fail(kExitNoAccess, m_command.model, found.reason);
        if (found.verdict == ModelFileReport::Verdict::refused)
            return fail(kExitRefused, m_command.model, found.reason);

        const QFileInfo output(m_output);
        const QFileInfo folder(output.path());
        if (output.isDir())
            return fail(kExitNoAccess, m_command.output, QStringLiteral("is a folder"));
        if (!folder.isDir())
            return fail(kExitNoAccess, m_command.output, QStringLiteral("its folder does not exist"));
        if (!folder.isWritable())
            return fail(kExitNoAccess, m_command.output, QStringLiteral("its folder cannot be written"));
        if (output.exists() && output.canonicalFilePath() == QFileInfo(m_model).canonicalFilePath())
            return fail(kExitUsage, m_command.output, QStringLiteral("the picture would replace the model"));
        return kExitDone;
    }

    ExitCode makePicture()
    {
        // Libraries in this process print what only their developers read; the program speaks through m_streams.
        const StandardStreams::Silence silence(m_streams);
        Workplace workplace;
        if (!workplace.error().isEmpty())
            return fail(kExitNoAccess, {}, workplace.error());
        const ExitCode code = makePictureIn(workplace);
        workplace.cleanUp();
        return code;
    }

    ExitCode makePictureIn(Workplace& workplace)
    {
        const LinkFolder::Answer model = workplace.links().shortened(m_model);
        if (model.path.isEmpty())
            return fail(kExitNoAccess, m_command.model, model.error);
        Plugin plugin;
        if (!plugin.load(Plugin::defaultPath()))
            return fail(kExitNoAccess, {}, plugin.error());
        plugin.setViewer(&ov3dViewer);
        // The viewer may report until the very end of the process.
        static ViewerEvents events;
        ov3dViewerSetObserver([](const char* json) { events.add(json); });

        // Never destroyed: that takes seconds, and the program ends with the picture.
        auto& picture = *new ModelPicture(plugin, m_report.size, &ov3dViewerPending);
        if (!load(picture, plugin, model.path))
            return fail(kExitRefused, m_command.model, QStringLiteral("was refused when it was loaded"));
        bool isFinished = picture.settle();
        if (const QString error = applyChanges(picture.item()); !error.isEmpty())
            return fail(kExitNoAccess, m_command.model, error);
        isFinished = isFinished && picture.settle();
        for (const Gesture& gesture : m_command.gestures)
            isFinished = isFinished && picture.perform(gesture);
        if (!isFinished)
            return fail(kExitNotShown, m_command.model, QStringLiteral("the picture was not finished in time"));

        const QImage layer = picture.paint();
        m_report.opaqueShare = opaqueShare(layer);
        m_report.hitRectangles = picture.hitRectangles();
        if (const QString error = writePng(m_output, onBackground(layer)); !error.isEmpty())
            return fail(kExitNoAccess, m_command.output, error);
        return tellEvents(events.take());
    }

    bool load(ModelPicture& picture, const Plugin& plugin, const QString& path)
    {
        const ProgressBar bar(m_streams, [&plugin] { return plugin.progress(); });
        QElapsedTimer timer;
        timer.start();
        if (!picture.load(path))
            return false;
        m_report.secondsToFirstFrame = static_cast<double>(timer.elapsed()) / 1000.0;
        return true;
    }

    /// As the viewer is told of the user's environment picture; empty without one.
    [[nodiscard]] QString environmentPath() const
    {
        const QString name = m_command.changes.environment.value_or(QString());
        return name.isEmpty() ? QString() : QDir(m_folder).absoluteFilePath(name);
    }

    QString applyChanges(CBaseObject& item)
    {
        // A model that is shown without a document has nowhere to keep a copy, and needs none.
        if (m_command.changes.environment) {
            const QString path = environmentPath();
            QString error = path.isEmpty() ? QString() : whyNoEnvironment(path);
            if (error.isEmpty())
                error = sendEnvironment(item, path, path);
            if (!error.isEmpty())
                return withFileName(error, path, *m_command.changes.environment);
        }
        return applyItemChanges(item, m_command.changes);
    }

    [[nodiscard]] QImage onBackground(const QImage& layer) const
    {
        if (!m_command.background)
            return layer;
        QImage image(layer.size(), QImage::Format_ARGB32_Premultiplied);
        image.fill(*m_command.background);
        QPainter painter(&image);
        painter.drawImage(0, 0, layer);
        return image;
    }

    ExitCode tellEvents(const std::vector<ViewerEvent>& events)
    {
        const ViewerEvent* card = nullptr;
        QStringList without;
        for (const ViewerEvent& event : events) {
            if (event.kind == ViewerEvent::Kind::card)
                card = &event;
            else if (event.kind == ViewerEvent::Kind::missing)
                m_report.missing += event.files;
            m_report.notes += event.notes;
            if (const QString note = noteOf(event); !note.isEmpty())
                without << withFileName(note, environmentPath(), m_command.changes.environment.value_or(QString()));
        }
        without.removeDuplicates();
        m_report.notes += without;
        m_report.notes.removeDuplicates();
        m_report.missing.removeDuplicates();
        if (card)
            return fail(kExitNotShown, m_command.model, card->reason);
        if (!m_report.missing.isEmpty())
            m_streams.printErrorLine(QStringLiteral("ov3d: %1: shown without %2")
                                         .arg(m_command.model, m_report.missing.join(QStringLiteral(", "))));
        for (const QString& note : without)
            m_streams.printErrorLine(QStringLiteral("ov3d: %1: %2").arg(m_command.model, note));
        return kExitDone;
    }

    const RenderCommand& m_command;
    const StandardStreams& m_streams;
    const QString m_folder;
    const QString m_model;
    const QString m_output;
    RenderReport m_report;
};

} // namespace

ExitCode runRender(const RenderCommand& command, const QString& folder, const StandardStreams& streams)
{
    return Rendering(command, folder, streams).run();
}

} // namespace ov3d::apps
