#include "apps/document/itemsettings.h"

#include "host/framework/framework.h"

#include <QColor>
#include <QDataStream>
#include <QJsonArray>
#include <QJsonDocument>

#include <algorithm>
#include <cmath>

namespace ov3d::apps {

namespace {

constexpr int kPropertyParams = 101;
constexpr QLatin1String kCommandKey("command");
constexpr QLatin1String kResetKey("reset_camera");

using Type = SettingInfo::Type;

const SettingInfo* infoOf(const QString& key)
{
    const auto& infos = settingInfos();
    const auto found =
        std::find_if(infos.begin(), infos.end(), [&key](const auto& info) { return key == QLatin1String(info.key); });
    return found == infos.end() ? nullptr : &*found;
}

QString numberText(double number)
{
    return QString::number(number, 'g', 12);
}

QString allowedText(const SettingInfo& info)
{
    const QString range = QStringLiteral("from %1 to %2").arg(numberText(info.minimum), numberText(info.maximum));
    switch (info.type) {
    case Type::flag:
        return QStringLiteral("true or false");
    case Type::integer:
        return QStringLiteral("a whole number ") + range;
    case Type::colour:
        return QStringLiteral("three numbers %1, or #RRGGBB").arg(range);
    case Type::numbers:
        break;
    }
    return QStringLiteral("%1 numbers %2").arg(info.count).arg(range);
}

bool isIn(const SettingInfo& info, const QJsonValue& value)
{
    return value.isDouble() && value.toDouble() >= info.minimum && value.toDouble() <= info.maximum;
}

/// The first of the camera values is an angle of view; the range of the table is that of the others.
constexpr double kNarrowestView = 10;
constexpr double kWidestView = 170;

bool isAllowedArray(const SettingInfo& info, const QJsonArray& array)
{
    if (array.size() != info.count ||
        !std::all_of(array.begin(), array.end(), [&info](const QJsonValue& value) { return isIn(info, value); }))
        return false;
    if (info.key == QLatin1String("sun_dir"))
        return std::any_of(array.begin(), array.end(), [](const QJsonValue& value) { return value.toDouble() != 0; });
    if (info.key == QLatin1String("camera_values"))
        return array.first().toDouble() >= kNarrowestView && array.first().toDouble() <= kWidestView;
    return true;
}

bool isAllowed(const SettingInfo& info, const QJsonValue& value)
{
    switch (info.type) {
    case Type::flag:
        return value.isBool();
    case Type::integer:
        return isIn(info, value) && value.toDouble() == std::floor(value.toDouble());
    case Type::colour:
    case Type::numbers:
        break;
    }
    return value.isArray() && isAllowedArray(info, value.toArray());
}

QString refusal(const SettingInfo& info, const QString& value)
{
    QString extra;
    if (info.key == QLatin1String("sun_dir"))
        extra = QStringLiteral(", not all zero");
    else if (info.key == QLatin1String("camera_values"))
        extra = QStringLiteral(", the first from 10 to 170");
    return QStringLiteral("%1: \"%2\" is not %3%4").arg(QLatin1String(info.key), value, allowedText(info), extra);
}

QString valueText(const QJsonValue& value)
{
    const QString text = QString::fromUtf8(QJsonDocument(QJsonArray{value}).toJson(QJsonDocument::Compact));
    constexpr int kShown = 60;
    return text.mid(1, std::min(text.size() - 2, kShown));
}

QJsonValue flagFrom(const QString& text)
{
    for (const char* word : {"true", "1", "on"}) {
        if (text == QLatin1String(word))
            return true;
    }
    for (const char* word : {"false", "0", "off"}) {
        if (text == QLatin1String(word))
            return false;
    }
    return QJsonValue::Undefined;
}

QJsonValue numberFrom(const QString& text)
{
    bool ok = false;
    const double number = text.toDouble(&ok);
    return ok && std::isfinite(number) ? QJsonValue(number) : QJsonValue(QJsonValue::Undefined);
}

QJsonValue valueFrom(const SettingInfo& info, const QString& text)
{
    if (info.type == Type::flag)
        return flagFrom(text);
    if (info.type == Type::integer)
        return numberFrom(text);
    if (info.type == Type::colour && text.startsWith(QLatin1Char('#')) && text.size() == 7 &&
        QColor::isValidColor(text)) {
        const QColor colour(text);
        return QJsonArray{colour.red() / 255.0, colour.green() / 255.0, colour.blue() / 255.0};
    }
    QJsonArray array;
    for (const QString& part : text.split(QLatin1Char(','))) {
        const QJsonValue number = numberFrom(part.trimmed());
        if (number.isUndefined())
            return QJsonValue::Undefined;
        array.append(number);
    }
    return array;
}

bool sendRecord(CBaseObject& item, const QJsonObject& record)
{
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        out << QString::fromUtf8(QJsonDocument(record).toJson(QJsonDocument::Compact));
    }
    QDataStream in(bytes);
    return item.SetSpecialProperty(kPropertyParams, in, false);
}

} // namespace

const std::vector<SettingInfo>& settingInfos()
{
    static const std::vector<SettingInfo> infos = {
        {"reset_camera", Type::flag},
        {"view_type", Type::integer, 0, 8},
        {"enable_sky", Type::flag},
        {"enable_axis", Type::flag},
        {"enable_ground", Type::flag},
        {"bg_color", Type::colour, 0, 1, 3},
        {"light_profile", Type::integer, 0, 5},
        {"material_type_a", Type::integer, 0, 4},
        {"material_type_b", Type::integer, 0, 6},
        {"material_color", Type::colour, 0, 1, 3},
        {"material_update", Type::flag},
        {"point_size", Type::integer, 0, 100, 1, "pixels"},
        {"raw_mode", Type::flag},
        {"wireframe", Type::flag},
        {"hdr_map", Type::flag},
        {"hdr_map_type", Type::integer, 0, 5},
        {"sun_follow", Type::flag},
        {"ibl_intensity", Type::integer, 0, 1'000'000, 1, "candela per square metre"},
        {"sun_intensity", Type::integer, 0, 10'000'000, 1, "lux"},
        {"sun_dir", Type::numbers, -1, 1, 3},
        {"sun_color", Type::colour, 0, 1, 3},
        {"ibl_enabled", Type::flag},
        {"use_default_ibl", Type::flag},
        {"sun_enabled", Type::flag},
        {"camera_id", Type::integer, 0, 1},
        {"camera_values", Type::numbers, -1'000'000, 1'000'000, 6, "degrees, then radii of the model"},
    };
    return infos;
}

QJsonObject allowedSettings(const QJsonObject& settings, QStringList& refusals)
{
    QJsonObject allowed = settings;
    for (auto setting = settings.begin(); setting != settings.end(); ++setting) {
        const SettingInfo* info = infoOf(setting.key());
        if (!info || isAllowed(*info, setting.value()))
            continue;
        refusals << refusal(*info, valueText(setting.value()));
        allowed.remove(setting.key());
    }
    return allowed;
}

QString whySettingsRefused(const QJsonObject& settings)
{
    for (auto setting = settings.begin(); setting != settings.end(); ++setting) {
        const SettingInfo* info = infoOf(setting.key());
        if (info && !isAllowed(*info, setting.value()))
            return refusal(*info, valueText(setting.value()));
    }
    return {};
}

std::optional<QJsonObject> parseSettings(const QStringList& words, QString& error)
{
    QJsonObject settings;
    for (const QString& word : words) {
        const int equals = word.indexOf(QLatin1Char('='));
        const QString key = word.left(equals);
        if (equals <= 0) {
            error = QStringLiteral("\"%1\" is not key=value").arg(word);
            return {};
        }
        const SettingInfo* info = infoOf(key);
        if (!info) {
            error = QStringLiteral("there is no setting \"%1\"").arg(key);
            return {};
        }
        const QString text = word.mid(equals + 1).trimmed();
        const QJsonValue value = valueFrom(*info, text);
        if (value.isUndefined() || !isAllowed(*info, value)) {
            error = refusal(*info, text);
            return {};
        }
        settings.insert(key, value);
    }
    return settings;
}

std::optional<QJsonObject> readSettings(CBaseObject& item)
{
    QByteArray bytes;
    {
        QDataStream out(&bytes, QIODevice::WriteOnly);
        if (!item.GetSpecialProperty(kPropertyParams, out))
            return {};
    }
    QDataStream in(bytes);
    QString text;
    in >> text;
    const QJsonDocument document = QJsonDocument::fromJson(text.toUtf8());
    if (!document.isObject())
        return {};
    return settingsToKeep({}, document.object());
}

QJsonObject settingsToKeep(const QJsonObject& kept, const QJsonObject& current)
{
    QJsonObject merged = kept;
    for (auto setting = current.begin(); setting != current.end(); ++setting)
        merged.insert(setting.key(), setting.value());
    merged.remove(QLatin1String("command_code"));
    merged.remove(QLatin1String("command_text"));
    // Named explicitly in every text: the flag of an earlier one sticks.
    merged.insert(kCommandKey, false);
    merged.insert(kResetKey, false);
    return merged;
}

QString changeSettings(CBaseObject& item, const QJsonObject& changes)
{
    if (QString reason = whySettingsRefused(changes); !reason.isEmpty())
        return reason;
    if (item.isLocked())
        return QStringLiteral("the item is locked");
    const std::optional<QJsonObject> current = readSettings(item);
    if (!current)
        return QStringLiteral("the item has no picture yet");

    QJsonObject record = settingsToKeep(*current, changes);
    const bool resets = changes.value(kResetKey).toBool();
    record.insert(kResetKey, resets);
    if (!sendRecord(item, record))
        return QStringLiteral("the item does not take settings");
    // Set and cleared at once, so that no document keeps it.
    if (resets) {
        record.insert(kResetKey, false);
        sendRecord(item, record);
    }
    return {};
}

} // namespace ov3d::apps
