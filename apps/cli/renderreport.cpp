#include "apps/cli/renderreport.h"

#include <QImage>
#include <QImageWriter>
#include <QJsonArray>
#include <QSaveFile>

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

QString writePng(const QString& path, const QImage& image)
{
    QSaveFile file(path);
    if (!file.open(QIODevice::WriteOnly))
        return file.errorString();
    QImageWriter writer(&file, "png");
    if (!writer.write(image.convertToFormat(QImage::Format_ARGB32)))
        return file.error() == QFileDevice::NoError ? writer.errorString() : file.errorString();
    return file.commit() ? QString() : file.errorString();
}

} // namespace ov3d::apps
