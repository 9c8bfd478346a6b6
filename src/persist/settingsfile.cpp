#include "src/persist/settingsfile.h"

#include <QDebug>
#include <QFile>
#include <QJsonArray>
#include <QJsonDocument>
#include <QJsonObject>

#include <algorithm>

namespace {

constexpr int kComponents = 3;

class SettingsReader
{
public:
    explicit SettingsReader(QJsonObject object)
        : m_object(std::move(object))
    {
    }

    [[nodiscard]] int integer(const char* key) const { return m_object.value(QLatin1String(key)).toInt(0); }
    [[nodiscard]] bool flag(const char* key) const { return integer(key) != 0; }

    template <typename T> void components(const char* key, T (&values)[kComponents]) const
    {
        const QJsonArray array = m_object.value(QLatin1String(key)).toArray();
        for (int i = 0; i < std::min(array.size(), kComponents); ++i)
            values[i] = static_cast<T>(array.at(i).toDouble(0));
    }

private:
    QJsonObject m_object;
};

void readDisplay(const SettingsReader& reader, DisplaySettings& display)
{
    display.enable_sky = reader.flag("enable_sky");
    display.enable_axis = reader.flag("enable_axis");
    display.enable_ground = reader.flag("enable_ground");
    reader.components("bg_color", display.bg_color);
    display.light_profile = reader.integer("light_profile");
}

void readMaterial(const SettingsReader& reader, MaterialSettings& material)
{
    material.material_type_a = reader.integer("material_type_a");
    material.material_type_b = reader.integer("material_type_b");
    reader.components("material_color", material.material_color);
    material.material_update = reader.flag("material_update");
    material.point_size = reader.integer("point_size");
    material.raw_mode = reader.flag("raw_mode");
    material.wireframe = reader.flag("wireframe");
}

void readLighting(const SettingsReader& reader, LightingSettings& lighting)
{
    lighting.hdr_map = reader.flag("hdr_map");
    lighting.hdr_map_type = reader.integer("hdr_map_type");
    lighting.sun_follow = reader.flag("sun_follow");
    lighting.ibl_intensity = reader.integer("ibl_intensity");
    lighting.sun_intensity = reader.integer("sun_intensity");
    reader.components("sun_dir", lighting.sun_dir);
    reader.components("sun_color", lighting.sun_color);
    lighting.ibl_enabled = reader.flag("ibl_enabled");
    lighting.use_default_ibl = reader.flag("use_default_ibl");
    lighting.sun_enabled = reader.flag("sun_enabled");
}

} // namespace

bool readSettingsFile(const QString& path, ViewSettings& view, DisplaySettings& display, MaterialSettings& material,
                      LightingSettings& lighting, CameraSettings& camera)
{
    QFile file(path);
    if (!file.open(QIODevice::ReadOnly | QIODevice::Text))
        return false;
    const QByteArray text = file.read(kMostSettingsBytes + 1);
    if (text.size() > kMostSettingsBytes) {
        qWarning().nospace() << "The settings file " << path << " is left out: it has more than " << kMostSettingsBytes
                             << " bytes";
        return false;
    }
    const SettingsReader reader(QJsonDocument::fromJson(text).object());
    view.reset_camera = reader.flag("reset_camera");
    view.view_type = reader.integer("view_type");
    readDisplay(reader, display);
    readMaterial(reader, material);
    readLighting(reader, lighting);
    reader.components("camera_position", camera.camera_position);
    return true;
}
