#include "apps/cli/checkcommand.h"

#include "apps/common/modelfile.h"
#include "apps/common/standardstreams.h"

#include <QDir>

#include <algorithm>

namespace ov3d::apps {

namespace {

/// The checks of the plug-in look into these alone.
bool isContentChecked(const QString& format)
{
    return format == QLatin1String("fbx") || format == QLatin1String("obj") || format == QLatin1String("gltf");
}

QString lineFor(const QString& name, const ModelFileReport& report)
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
    return QStringLiteral("%1: %2, accepted%3")
        .arg(name, what, isContentChecked(report.format) ? QString() : QStringLiteral(" by its suffix alone"));
}

ExitCode codeOf(ModelFileReport::Verdict verdict)
{
    switch (verdict) {
    case ModelFileReport::Verdict::unreadable:
        return kExitNoAccess;
    case ModelFileReport::Verdict::refused:
        return kExitRefused;
    case ModelFileReport::Verdict::accepted:
        break;
    }
    return kExitDone;
}

} // namespace

ExitCode runCheck(const CheckCommand& command, const QString& folder, const StandardStreams& streams)
{
    ExitCode worst = kExitDone;
    for (const QString& name : command.files) {
        ModelFileReport report;
        {
            const StandardStreams::Silence silence(streams);
            report = examineModelFile(QDir(folder).absoluteFilePath(name));
        }
        worst = std::max(worst, codeOf(report.verdict));
        if (!streams.printLine(lineFor(name, report))) {
            streams.printErrorLine(QStringLiteral("ov3d: standard output: cannot be written"));
            return kExitNoAccess;
        }
    }
    return worst;
}

} // namespace ov3d::apps
