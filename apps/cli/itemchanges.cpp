#include "apps/cli/itemchanges.h"

#include "apps/document/itemsettings.h"
#include "apps/document/viewercommand.h"
#include "host/framework/framework.h"
#include "viewer/session/commands.h"

#include <cmath>

namespace ov3d::apps {

namespace {

const char* const kViewNames[] = {"front", "back", "left", "right", "top", "bottom", "isometric"};

bool readOrbit(const QString& text, QString& angles)
{
    const QStringList parts = text.split(QLatin1Char(','));
    if (parts.size() != 2)
        return false;
    bool hasAzimuth = false;
    bool hasElevation = false;
    const double azimuth = parts[0].toDouble(&hasAzimuth);
    const double elevation = parts[1].toDouble(&hasElevation);
    angles = QStringLiteral("%1 %2").arg(azimuth, 0, 'g', 12).arg(elevation, 0, 'g', 12);
    return hasAzimuth && hasElevation && std::isfinite(azimuth) && std::isfinite(elevation);
}

bool isViewName(const QString& text)
{
    for (const char* name : kViewNames) {
        if (text == QLatin1String(name))
            return true;
    }
    return false;
}

} // namespace

bool parseItemChanges(const QStringList& words, ItemChanges& changes, QString& error)
{
    QStringList settings;
    for (const QString& word : words) {
        const QString key = word.section(QLatin1Char('='), 0, 0);
        const QString value = word.section(QLatin1Char('='), 1);
        const bool hasValue = word.contains(QLatin1Char('='));
        if (hasValue && key == QLatin1String("environment")) {
            changes.environment = value;
        } else if (hasValue && key == QLatin1String("orbit")) {
            changes.orbit.emplace();
            if (!readOrbit(value, *changes.orbit)) {
                error = QStringLiteral("orbit: \"%1\" is not AZIMUTH,ELEVATION in degrees").arg(value);
                return false;
            }
        } else if (hasValue && key == QLatin1String("view")) {
            if (!isViewName(value)) {
                error = QStringLiteral("view: \"%1\" is none of front, back, left, right, top, bottom, isometric")
                            .arg(value);
                return false;
            }
            changes.view = value;
        } else {
            settings << word;
        }
    }
    const auto parsed = parseSettings(settings, error);
    if (!parsed)
        return false;
    changes.settings = *parsed;
    return true;
}

QString applyItemChanges(CBaseObject& item, const ItemChanges& changes)
{
    QString error;
    if (!changes.settings.isEmpty())
        error = changeSettings(item, changes.settings);
    if (error.isEmpty() && changes.view)
        error = sendViewerCommand(item, kCommandShowView, *changes.view);
    if (error.isEmpty() && changes.orbit)
        error = sendViewerCommand(item, kCommandOrbit, *changes.orbit);
    return error;
}

} // namespace ov3d::apps
