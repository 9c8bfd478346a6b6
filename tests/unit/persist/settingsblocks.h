#pragma once

#include "src/persist/viewsettings.h"
#include "src/plugin/ov3dobject.h"

#include <QString>
#include <QStringList>

/// The five settings blocks, so that a test can take, compare and describe them together.
struct SettingsBlocks
{
    ViewSettings view;
    DisplaySettings display;
    MaterialSettings material;
    LightingSettings lighting;
    CameraSettings camera;

    static SettingsBlocks ofItem(const COv3DObject& item)
    {
        return {item.m_viewSettings, item.m_displaySettings, item.m_materialSettings, item.m_lightingSettings,
                item.m_cameraSettings};
    }

    /// The blocks that the item's context points at; all five must be set.
    static SettingsBlocks ofContext(const COv3DObject& item)
    {
        const ViewContext& context = item.m_context;
        return {*context.view_settings, *context.display_settings, *context.material_settings,
                *context.lighting_settings, *context.camera_settings};
    }

    /// Makes them an item's own.
    void putInto(COv3DObject& item) const
    {
        item.m_viewSettings = view;
        item.m_displaySettings = display;
        item.m_materialSettings = material;
        item.m_lightingSettings = lighting;
        item.m_cameraSettings = camera;
    }

    /// Every field on a line of its own, numbers with all their digits.
    [[nodiscard]] QStringList lines() const
    {
        return {line("reset_camera", view.reset_camera),
                line("view_type", view.view_type),
                line("enable_sky", display.enable_sky),
                line("enable_axis", display.enable_axis),
                line("enable_ground", display.enable_ground),
                line("bg_color", display.bg_color, 3),
                line("light_profile", display.light_profile),
                line("material_type_a", material.material_type_a),
                line("material_type_b", material.material_type_b),
                line("material_color", material.material_color, 3),
                line("material_update", material.material_update),
                line("point_size", material.point_size),
                line("raw_mode", material.raw_mode),
                line("wireframe", material.wireframe),
                line("hdr_map", lighting.hdr_map),
                line("hdr_map_type", lighting.hdr_map_type),
                line("sun_follow", lighting.sun_follow),
                QStringLiteral("hdr_path=") + QString::fromStdString(lighting.hdr_path),
                line("ibl_intensity", lighting.ibl_intensity),
                line("sun_intensity", lighting.sun_intensity),
                line("sun_dir", lighting.sun_dir, 3),
                line("sun_color", lighting.sun_color, 3),
                line("ibl_enabled", lighting.ibl_enabled),
                line("use_default_ibl", lighting.use_default_ibl),
                line("sun_enabled", lighting.sun_enabled),
                line("camera_id", camera.camera_id),
                line("camera_values", camera.camera_values, 4),
                line("camera_position", camera.camera_position, 3)};
    }

private:
    static QString line(const char* name, double value)
    {
        return QLatin1String(name) + QLatin1Char('=') + QString::number(value, 'g', 17);
    }

    template <typename T> static QString line(const char* name, const T* values, int count)
    {
        QStringList numbers;
        for (int i = 0; i < count; ++i)
            numbers << QString::number(static_cast<double>(values[i]), 'g', 17);
        return QLatin1String(name) + QLatin1Char('=') + numbers.join(QLatin1Char(' '));
    }
};

/// The lines of `after` that `before` has not, in order.
inline QStringList changedLines(const QStringList& before, const QStringList& after)
{
    QStringList changed;
    for (int i = 0; i < after.size(); ++i) {
        if (after[i] != before.value(i))
            changed << after[i];
    }
    return changed;
}

/// Blocks in which no field has its default and no two numbers are equal; all numbers are exact in single precision.
inline SettingsBlocks unusualSettings()
{
    SettingsBlocks blocks;
    blocks.view = {true, 21};
    blocks.display = {true, true, true, {0.5f, 0.25f, 0.125f}, 22};
    blocks.material = {23, 24, {0.75f, 0.375f, 0.0625f}, true, 25, true, true};
    blocks.lighting = {false, 26,    false, "sky.hdr", 27.0, 28.0, {1.5f, 2.5f, 3.5f}, {4.5f, 5.5f, 6.5f},
                       false, false, false};
    blocks.camera = {29, {30.5, 31.5, 32.5, 33.5}, {34.5, 35.5, 36.5}};
    return blocks;
}
