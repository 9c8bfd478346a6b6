#pragma once

#include <QJsonObject>
#include <QString>
#include <QStringList>

#include <optional>
#include <vector>

class CBaseObject;

namespace ov3d::apps {

/// One setting that users may change (docs/settings.md).
struct SettingInfo
{
    enum class Type
    {
        flag,
        integer,
        numbers, ///< an array of `count` numbers
        colour,  ///< three numbers; also written as #RRGGBB
    };

    const char* key;
    Type type;
    double minimum = 0;
    double maximum = 1;
    int count = 1;
    const char* unit = "";
};

/// Every setting, in the order of the documentation.
const std::vector<SettingInfo>& settingInfos();

/// What of the settings may reach an item: unknown keys stay, refused values are left out, each with a line in
/// `refusals`.
QJsonObject allowedSettings(const QJsonObject& settings, QStringList& refusals);

/// Looks for values of a wrong type or out of range. Unknown keys pass: they are somebody else's.
/// @return an empty text, or a message that names the key, the value and what is allowed.
QString whySettingsRefused(const QJsonObject& settings);

/// Reads "key=value" words: true, false, 1, 0, on, off; whole numbers; numbers with commas between; colours also as
/// #RRGGBB. @return nothing, with a message in `error`, for an unknown key or a value that is refused.
std::optional<QJsonObject> parseSettings(const QStringList& words, QString& error);

/// The item's whole record (special property 101), without what only a command needs. GUI thread.
/// @return nothing while the item has shown no picture.
std::optional<QJsonObject> readSettings(CBaseObject& item);

/// Changes some of the item's settings; the others keep their values. They act with the item's next picture. GUI
/// thread.
/// @param changes  keys of the record; unknown ones are left out.
/// @return an empty text, or why nothing has changed: refused values, a locked item, one without a picture.
QString changeSettings(CBaseObject& item, const QJsonObject& changes);

/// The record as a document keeps it: what the item says over what was kept before, so that keys of others survive.
/// Nothing in it acts by itself: no command, no reset.
QJsonObject settingsToKeep(const QJsonObject& kept, const QJsonObject& current);

} // namespace ov3d::apps
