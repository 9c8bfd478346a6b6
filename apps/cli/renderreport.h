#pragma once

#include <QJsonObject>
#include <QSize>
#include <QString>
#include <QStringList>

#include <optional>

class QImage;

namespace ov3d::apps {

struct ViewerEvent;

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

/// What a picture had to do without that was asked for: a user's environment picture that cannot be read, or that a
/// renderer died of. Empty when the event is none of that kind.
QString noteOf(const ViewerEvent& event);

/// The text with a file's name, as the user knows it, in place of the path that a viewer got. An empty path changes
/// nothing.
QString withFileName(QString text, const QString& path, const QString& name);

} // namespace ov3d::apps
