#include "host/framework/object3dparams.h"

#include "host/framework/object3dparamsjson.h"

#include <QJsonArray>
#include <QJsonObject>
#include <QJsonValue>

#include <cmath>
#include <cstddef>
#include <limits>

namespace {

// The one list of keys. Reading and writing both walk it, so neither can know a field that the other does not.
template <typename Record, typename Visitor> void visitFields(Record& record, Visitor&& visit)
{
    visit("reset_camera", record.reset_camera);
    visit("view_type", record.view_type);
    visit("enable_sky", record.enable_sky);
    visit("enable_axis", record.enable_axis);
    visit("enable_ground", record.enable_ground);
    visit("bg_color", record.bg_color);
    visit("light_profile", record.light_profile);
    visit("material_type_a", record.material_type_a);
    visit("material_type_b", record.material_type_b);
    visit("material_color", record.material_color);
    visit("material_update", record.material_update);
    visit("point_size", record.point_size);
    visit("raw_mode", record.raw_mode);
    visit("wireframe", record.wireframe);
    visit("hdr_map", record.hdr_map);
    visit("hdr_map_type", record.hdr_map_type);
    visit("sun_follow", record.sun_follow);
    visit("hdr_path", record.hdr_path);
    visit("ibl_intensity", record.ibl_intensity);
    visit("sun_intensity", record.sun_intensity);
    visit("sun_dir", record.sun_dir);
    visit("sun_color", record.sun_color);
    visit("ibl_enabled", record.ibl_enabled);
    visit("use_default_ibl", record.use_default_ibl);
    visit("sun_enabled", record.sun_enabled);
    visit("camera_id", record.camera_id);
    visit("camera_values", record.camera_values);
    visit("command", record.command);
    visit("command_code", record.command_code);
    visit("command_text", record.command_text);
}

QJsonValue toValue(bool value)
{
    return value;
}

QJsonValue toValue(qint32 value)
{
    return value;
}

QJsonValue toValue(float value)
{
    return static_cast<double>(value);
}

QJsonValue toValue(double value)
{
    return value;
}

QJsonValue toValue(const QString& value)
{
    return value;
}

QJsonValue toValue(const std::string& value)
{
    return QString::fromStdString(value);
}

template <typename Number, std::size_t Size> QJsonValue toValue(const Number (&values)[Size])
{
    QJsonArray array;
    for (const Number value : values)
        array.append(toValue(value));
    return array;
}

void takeValue(const QJsonValue& value, bool& field)
{
    if (value.isBool())
        field = value.toBool();
}

void takeValue(const QJsonValue& value, qint32& field)
{
    const double number = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (number >= std::numeric_limits<qint32>::min() && number <= std::numeric_limits<qint32>::max() &&
        number == std::floor(number))
        field = static_cast<qint32>(number);
}

void takeValue(const QJsonValue& value, float& field)
{
    const double number = value.toDouble(std::numeric_limits<double>::quiet_NaN());
    if (std::abs(number) <= static_cast<double>(std::numeric_limits<float>::max()))
        field = static_cast<float>(number);
}

void takeValue(const QJsonValue& value, double& field)
{
    if (value.isDouble())
        field = value.toDouble();
}

void takeValue(const QJsonValue& value, QString& field)
{
    if (value.isString())
        field = value.toString();
}

void takeValue(const QJsonValue& value, std::string& field)
{
    if (value.isString())
        field = value.toString().toStdString();
}

template <typename Number, std::size_t Size> void takeValue(const QJsonValue& value, Number (&fields)[Size])
{
    const QJsonArray array = value.toArray();
    for (std::size_t i = 0; i < Size && i < static_cast<std::size_t>(array.size()); ++i)
        takeValue(array.at(static_cast<int>(i)), fields[i]);
}

} // namespace

CEL3DObjectParams::CEL3DObjectParams()
{
    m_id = QStringLiteral("3d_object");
}

CEL3DObjectParams::CEL3DObjectParams(const CEL3DObjectParams&) = default;
CEL3DObjectParams& CEL3DObjectParams::operator=(const CEL3DObjectParams&) = default;
CEL3DObjectParams::~CEL3DObjectParams() = default;

void writeFields(const CEL3DObjectParams& params, QJsonObject& object)
{
    visitFields(params,
                [&object](const char* key, const auto& field) { object.insert(QLatin1String(key), toValue(field)); });
}

void readFields(const QJsonObject& object, CEL3DObjectParams& params)
{
    visitFields(params,
                [&object](const char* key, auto& field) { takeValue(object.value(QLatin1String(key)), field); });
}
