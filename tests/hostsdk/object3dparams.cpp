#include "host/framework/framework.h"

#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <type_traits>
#include <variant>

// The record as one flat array in the order of its fields, in place of an object with names: what the text looks like
// is the host's business, and nothing of a plug-in may lean on it.

namespace {

using Cell = std::variant<bool*, qint32*, float*, double*, std::string*, QString*>;

std::vector<Cell> cellsOf(CEL3DObjectParams& r)
{
    std::vector<Cell> cells{&r.reset_camera, &r.view_type, &r.enable_sky, &r.enable_axis, &r.enable_ground};
    for (float& component : r.bg_color)
        cells.emplace_back(&component);
    for (qint32* integer : {&r.light_profile, &r.material_type_a, &r.material_type_b})
        cells.emplace_back(integer);
    for (double& component : r.material_color)
        cells.emplace_back(&component);
    cells.insert(cells.end(), {&r.material_update, &r.point_size, &r.raw_mode, &r.wireframe, &r.hdr_map,
                               &r.hdr_map_type, &r.sun_follow, &r.hdr_path, &r.ibl_intensity, &r.sun_intensity});
    for (double& component : r.sun_dir)
        cells.emplace_back(&component);
    for (double& component : r.sun_color)
        cells.emplace_back(&component);
    cells.insert(cells.end(), {&r.ibl_enabled, &r.use_default_ibl, &r.sun_enabled, &r.camera_id});
    for (double& value : r.camera_values)
        cells.emplace_back(&value);
    cells.insert(cells.end(), {&r.command, &r.command_code, &r.command_text});
    return cells;
}

QJsonValue read(const Cell& cell)
{
    return std::visit(
        [](auto* field) -> QJsonValue {
            if constexpr (std::is_same_v<decltype(field), std::string*>)
                return QString::fromStdString(*field);
            else if constexpr (std::is_same_v<decltype(field), float*>)
                return double(*field);
            else
                return *field;
        },
        cell);
}

void write(const Cell& cell, const QJsonValue& value)
{
    std::visit(
        [&value](auto* field) {
            using Type = std::remove_pointer_t<decltype(field)>;
            if constexpr (std::is_same_v<Type, bool>)
                *field = value.toBool(*field);
            else if constexpr (std::is_same_v<Type, std::string>)
                *field = value.toString(QString::fromStdString(*field)).toStdString();
            else if constexpr (std::is_same_v<Type, QString>)
                *field = value.toString(*field);
            else if constexpr (std::is_same_v<Type, qint32>)
                *field = value.toInt(*field);
            else
                *field = Type(value.toDouble(double(*field)));
        },
        cell);
}

} // namespace

CEffectLayerParams::~CEffectLayerParams() {}

QString CEffectLayerParams::toJson(const CEffectLayerParams& record)
{
    QJsonArray values;
    if (auto* object = dynamic_cast<const CEL3DObjectParams*>(&record)) {
        for (const Cell& cell : cellsOf(const_cast<CEL3DObjectParams&>(*object)))
            values.append(read(cell));
    }
    return QString::fromUtf8(QJsonDocument(QJsonObject{{"values", values}}).toJson());
}

bool CEffectLayerParams::fromJson(const QString& json, CEffectLayerParams& record)
{
    const QJsonArray values = QJsonDocument::fromJson(json.toUtf8()).object().value("values").toArray();
    auto* object = dynamic_cast<CEL3DObjectParams*>(&record);
    if (object == nullptr || values.isEmpty())
        return false;
    int index = 0;
    for (const Cell& cell : cellsOf(*object))
        write(cell, values.at(index++));
    return true;
}
