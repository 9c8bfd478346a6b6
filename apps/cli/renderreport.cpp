#include "apps/cli/renderreport.h"

#include "apps/common/viewerevents.h"

#include <QJsonArray>

namespace ov3d::apps {

QJsonObject toJson(const RenderReport& report)
{
    const auto orNull = [](const auto& value) { return value ? QJsonValue(*value) : QJsonValue(QJsonValue::Null); };
    const auto textOrNull = [](const QString& text) {
        return text.isEmpty() ? QJsonValue(QJsonValue::Null) : QJsonValue(text);
    };
    return {
        {QStringLiteral("file"), report.file},
        {QStringLiteral("format"), textOrNull(report.format)},
        {QStringLiteral("width"), report.size.width()},
        {QStringLiteral("height"), report.size.height()},
        {QStringLiteral("seconds_to_first_frame"), orNull(report.secondsToFirstFrame)},
        {QStringLiteral("opaque_share"), orNull(report.opaqueShare)},
        {QStringLiteral("hit_rectangles"), orNull(report.hitRectangles)},
        {QStringLiteral("missing"), QJsonArray::fromStringList(report.missing)},
        {QStringLiteral("notes"), QJsonArray::fromStringList(report.notes)},
        {QStringLiteral("error"), textOrNull(report.error)},
    };
}

QString noteOf(const ViewerEvent& event)
{
    if (event.kind == ViewerEvent::Kind::note)
        return event.reason;
    // A renderer that has been started again is nobody's concern, unless the picture is another one since.
    const bool isLess =
        event.kind == ViewerEvent::Kind::restarted && event.reason.contains(QLatin1String("shown without"));
    return isLess ? event.reason : QString();
}

QString withFileName(QString text, const QString& path, const QString& name)
{
    return path.isEmpty() ? text : text.replace(path, name);
}

} // namespace ov3d::apps
