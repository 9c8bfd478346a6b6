#pragma once

#include "tests/support/singleitemtestbase.h"
#include "tests/unit/persist/propertystream.h"
#include "tests/unit/persist/settingsblocks.h"

#include <QDataStream>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>
#include <iterator>

template <typename T, typename Value> void assign(T (&values)[3], Value first, Value second, Value third)
{
    values[0] = static_cast<T>(first);
    values[1] = static_cast<T>(second);
    values[2] = static_cast<T>(third);
}

/// A record that says the same as unusualSettings().
inline CEL3DObjectParams unusualRecord()
{
    CEL3DObjectParams record;
    record.reset_camera = true;
    record.view_type = 21;
    record.enable_sky = record.enable_axis = record.enable_ground = true;
    assign(record.bg_color, 0.5, 0.25, 0.125);
    record.light_profile = 22;
    record.material_type_a = 23;
    record.material_type_b = 24;
    assign(record.material_color, 0.75, 0.375, 0.0625);
    record.material_update = true;
    record.point_size = 25;
    record.raw_mode = record.wireframe = true;
    record.hdr_map = false;
    record.hdr_map_type = 26;
    record.sun_follow = false;
    record.hdr_path = "sky.hdr";
    record.ibl_intensity = 27;
    record.sun_intensity = 28;
    assign(record.sun_dir, 1.5, 2.5, 3.5);
    assign(record.sun_color, 4.5, 5.5, 6.5);
    record.ibl_enabled = record.use_default_ibl = record.sun_enabled = false;
    record.camera_id = 29;
    const double cameraValues[] = {31.5, 32.5, 33.5, 34.5, 35.5, 36.5};
    std::copy(std::begin(cameraValues), std::end(cameraValues), record.camera_values);
    return record;
}

inline QJsonObject jsonOf(const CEL3DObjectParams& record)
{
    return QJsonDocument::fromJson(CEffectLayerParams::toJson(record).toUtf8()).object();
}

/// Base of tests of the property that carries the parameter record as one text.
class ParameterTestBase : public SingleItemTestBase
{
protected:
    static constexpr int kParams = 101;   ///< the property of the record
    static constexpr int kProgress = 104; ///< the property of the load's progress

    /// Sets the blocks that the item's context points at; the viewer must be ready.
    void setLive(const SettingsBlocks& blocks)
    {
        ViewContext& context = m_item->m_context;
        *context.view_settings = blocks.view;
        *context.display_settings = blocks.display;
        *context.material_settings = blocks.material;
        *context.lighting_settings = blocks.lighting;
        *context.camera_settings = blocks.camera;
    }

    /// @return the record that the item answers, an empty object when it answers none.
    QJsonObject read()
    {
        QByteArray bytes;
        QDataStream out(&bytes, QIODevice::WriteOnly);
        if (!m_item->GetSpecialProperty(kParams, out))
            return {};
        return QJsonDocument::fromJson(textOfStream(bytes).toUtf8()).object();
    }

    /// @return whether the item took the record.
    bool write(const QJsonObject& record)
    {
        QDataStream in(streamOfText(QString::fromUtf8(QJsonDocument(record).toJson())));
        return m_item->SetSpecialProperty(kParams, in, false);
    }
};
