#pragma once

#include <QJsonObject>
#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>

class QImage;

namespace ov3d::apps {

/// What "ov3d render" has found out, as --json prints it. What is not known is null there.
struct RenderReport
{
    QString file; ///< as the user wrote it
    QString format;
    QSize size;
    std::optional<double> secondsToFirstFrame;
    std::optional<double> opaqueShare; ///< share of the pixels that are not fully transparent, 0 to 1
    std::optional<int> hitRectangles;
    QStringList missing; ///< side files that the model was shown without
    QStringList notes;   ///< what was repaired, left out or is not supported, in plain words
    QString error;
};

QJsonObject toJson(const RenderReport& report);

/// Writes an RGBA PNG under a temporary name and renames it. @return an empty text, or the reason of a failure.
QString writePng(const QString& path, const QImage& image);

} // namespace ov3d::apps
