#include "apps/cli/checkcommand.h"

#include "apps/common/linkfolder.h"
#include "apps/common/modelfile.h"
#include "apps/common/privatefolder.h"
#include "apps/common/standardstreams.h"
#include "src/render/viewcontext.h"
#include "viewer/session/ov3dviewer.h"

#include <QDir>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <condition_variable>
#include <cstring>
#include <memory>
#include <mutex>
#include <thread>
#include <vector>

namespace ov3d::apps {

namespace {

/// What the viewer says about a file.
struct ModelInspection
{
    bool isShown = false;
    QString reason;      ///< why it cannot be shown, without the file's name
    QStringList missing; ///< side files that were not found, as the model names them
    QStringList notes;   ///< what was repaired, left out or is not supported, in plain words
};

/// The checks of the plug-in look into these alone.
bool isContentChecked(const QString& format)
{
    return format == QLatin1String("fbx") || format == QLatin1String("obj") || format == QLatin1String("gltf");
}

std::int32_t formatCode(const QString& format)
{
    // In the order of ModelFormat.
    static const QStringList names = {QStringLiteral("fbx"), QStringLiteral("obj"), QStringLiteral("gltf"),
                                      QStringLiteral("stl"), QStringLiteral("glb"), QStringLiteral("3mf")};
    return names.indexOf(format); // kFormatNone for others
}

QStringList textsOf(const QJsonValue& array)
{
    QStringList texts;
    for (const QJsonValue& text : array.toArray())
        texts << text.toString();
    return texts;
}

/// One run of the viewer on a file, in as few pixels as make a picture.
class Inspector
{
public:
    Inspector()
    {
        ov3dViewerSetObserver([this](const char* json) { note(json); });
    }

    ~Inspector() { ov3dViewerSetObserver({}); }
    Inspector(const Inspector&) = delete;
    Inspector& operator=(const Inspector&) = delete;

    /// Blocks until the file is shown or has ended in a card. @param path  of at most kMaxPathBytes.
    ModelInspection inspect(const QString& path, const QString& format)
    {
        constexpr std::int32_t kWidth = 16;
        constexpr std::int32_t kHeight = 12;
        constexpr std::size_t kBytesOfPixel = 8; // what the contract demands of a frame buffer
        const auto context = std::make_unique<ViewContext>();
        std::vector<unsigned char> buffer(kWidth * kHeight * kBytesOfPixel);
        context->op = kOperationStart;
        context->width = kWidth;
        context->height = kHeight;
        context->frame_width = kNoFrame;
        context->frame_buffer = buffer.data();
        context->model_format = formatCode(format);
        const QByteArray bytes = QFile::encodeName(path);
        std::memcpy(context->model_path, bytes.constData(),
                    std::min<std::size_t>(static_cast<std::size_t>(bytes.size()), kMaxPathBytes));
        {
            const std::lock_guard lock(m_mutex);
            context->object_id = ++m_run;
            m_inspection = {};
            m_isDecided = false;
        }
        std::thread viewer([this, &context] {
            const char* arguments[] = {"./"};
            ov3dViewer(1, arguments, context.get());
            const std::lock_guard lock(m_mutex);
            m_isDecided = true; // a viewer that gives up says nothing
            m_decided.notify_all();
        });
        ModelInspection inspection;
        {
            std::unique_lock lock(m_mutex);
            m_decided.wait(lock, [this] { return m_isDecided; });
            inspection = m_inspection;
        }
        context->op = kOperationStop;
        ov3dViewer(0, nullptr, context.get());
        viewer.join();
        if (!inspection.isShown && inspection.reason.isEmpty())
            inspection.reason = QStringLiteral("cannot be shown: there is not enough memory");
        return inspection;
    }

private:
    void note(const char* json)
    {
        const QJsonObject event = QJsonDocument::fromJson(json).object();
        const std::lock_guard lock(m_mutex);
        if (event.value(QLatin1String("run")).toInt() != m_run || m_isDecided)
            return;
        const QString kind = event.value(QLatin1String("event")).toString();
        if (kind == QLatin1String("missing")) {
            m_inspection.missing += textsOf(event.value(QLatin1String("files")));
        } else if (kind == QLatin1String("shown")) {
            m_inspection.isShown = true;
            m_inspection.notes = textsOf(event.value(QLatin1String("notes")));
        } else if (kind == QLatin1String("card")) {
            m_inspection.reason = event.value(QLatin1String("reason")).toString();
        }
        m_isDecided = kind == QLatin1String("shown") || kind == QLatin1String("card");
        m_decided.notify_all();
    }

    std::mutex m_mutex;
    std::condition_variable m_decided;
    int m_run = 0;
    bool m_isDecided = false;
    ModelInspection m_inspection;
};

/// @param inspection  of a file that was accepted, else null.
QString checkLine(const QString& name, const ModelFileReport& report, const ModelInspection* inspection)
{
    const QString what = report.description.isEmpty() ? QStringLiteral("not a model file") : report.description;
    switch (report.verdict) {
    case ModelFileReport::Verdict::unreadable:
        return QStringLiteral("%1: cannot be read: %2").arg(name, report.reason);
    case ModelFileReport::Verdict::refused:
        return QStringLiteral("%1: %2, refused: %3").arg(name, what, report.reason);
    case ModelFileReport::Verdict::accepted:
        break;
    }
    QString line = QStringLiteral("%1: %2, accepted").arg(name, what);
    if (!isContentChecked(report.format))
        line += QStringLiteral(" by its suffix alone");
    if (!inspection)
        return line;
    if (!inspection->isShown)
        return line + QStringLiteral(", cannot be shown: %1").arg(inspection->reason);
    if (!inspection->missing.isEmpty())
        line += QStringLiteral(", shown without %1").arg(inspection->missing.join(QStringLiteral(", ")));
    if (!inspection->notes.isEmpty())
        line += QStringLiteral(" (%1)").arg(inspection->notes.join(QStringLiteral("; ")));
    return line;
}

/// Checks files one after the other; keeps what they share.
class Checks
{
public:
    Checks(const StandardStreams& streams, bool several)
        : m_streams(streams)
        , m_several(several)
    {
    }

    /// @param line  receives the line about the file.
    ExitCode check(const QString& name, const QString& path, QString& line)
    {
        // Libraries in this process print what only their developers read.
        const StandardStreams::Silence silence(m_streams);
        const ModelFileReport report = examineModelFile(path);
        if (report.verdict != ModelFileReport::Verdict::accepted) {
            line = checkLine(name, report, nullptr);
            return report.verdict == ModelFileReport::Verdict::refused ? kExitRefused : kExitNoAccess;
        }
        const ModelInspection inspection = inspect(path, report.format);
        line = checkLine(name, report, &inspection);
        return inspection.isShown ? kExitDone : kExitNotShown;
    }

private:
    ModelInspection inspect(const QString& path, const QString& format)
    {
        if (!m_inspector) {
            m_inspector = std::make_unique<Inspector>();
            if (m_several)
                ov3dViewerPrepare(); // the next renderer starts while a file is read
        }
        QString loaded = path;
        if (QFile::encodeName(path).size() > kMaxPathBytes) {
            if (!m_links) {
                m_folder = std::make_unique<PrivateFolder>(QStringList());
                m_links = std::make_unique<LinkFolder>(m_folder->path());
            }
            const LinkFolder::Answer answer = m_links->shortened(path);
            if (answer.path.isEmpty())
                return {false, answer.error, {}, {}};
            loaded = answer.path;
        }
        return m_inspector->inspect(loaded, format);
    }

    const StandardStreams& m_streams;
    bool m_several;
    std::unique_ptr<Inspector> m_inspector;
    std::unique_ptr<PrivateFolder> m_folder;
    std::unique_ptr<LinkFolder> m_links;
};

} // namespace

ExitCode runCheck(const CheckCommand& command, const QString& folder, const StandardStreams& streams)
{
    Checks checks(streams, command.files.size() > 1);
    ExitCode worst = kExitDone;
    for (const QString& name : command.files) {
        QString line;
        worst = std::max(worst, checks.check(name, QDir(folder).absoluteFilePath(name), line));
        if (!streams.printLine(line)) {
            streams.printErrorLine(QStringLiteral("ov3d: standard output: cannot be written"));
            return kExitNoAccess;
        }
    }
    return worst;
}

} // namespace ov3d::apps
