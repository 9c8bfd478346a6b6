#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>

class CBaseObject;

namespace ov3d::apps {

class LiveDocument;

/// What "ov3d set" and "ov3d render --set" ask for.
struct ItemChanges
{
    QJsonObject settings;
    std::optional<QString> environment; ///< as the user wrote it; an empty path takes the picture away
    std::optional<QString> orbit;       ///< "AZIMUTH ELEVATION" in degrees
    std::optional<QString> view;        ///< name of a view
};

/// Reads key=value words: settings, and environment=FILE, orbit=AZIMUTH,ELEVATION, view=NAME. @return false with
/// `error`.
bool parseItemChanges(const QStringList& words, ItemChanges& changes, QString& error);

/// Carries out settings and view; the environment picture is the document's business. GUI thread.
/// @return an empty text, or why a change was not taken.
QString applyItemChanges(CBaseObject& item, const ItemChanges& changes);

} // namespace ov3d::apps
