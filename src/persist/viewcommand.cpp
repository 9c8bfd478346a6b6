#include "src/plugin/ov3dobject.h"

namespace {

/// Builds the settings text: one line, no blanks besides those of the opening.
class CommandText
{
public:
    void add(const char* key, int value) { addScalar(key, QString::number(value)); }
    void add(const char* key, double value) { addScalar(key, number(value)); }

    template <typename T> void add(const char* key, const T (&values)[3])
    {
        addScalar(key, QLatin1Char('[') + number(double(values[0])) + QLatin1Char(',') + number(double(values[1])) +
                           QLatin1Char(',') + number(double(values[2])) + QLatin1Char(']'));
    }

    [[nodiscard]] QString finished() const { return m_text + QLatin1Char('}'); }

private:
    static QString number(double value) { return QString::number(value, 'g', 6); }

    void addScalar(const char* key, const QString& value)
    {
        if (!m_isFirst)
            m_text += QLatin1Char(',');
        m_isFirst = false;
        m_text += QLatin1Char('"') + QLatin1String(key) + QLatin1String("\":") + value;
    }

    QString m_text = QStringLiteral("{             "); // a brace and thirteen blanks
    bool m_isFirst = true;
};

} // namespace

QString COv3DObject::buildViewCommand() const
{
    // hdr_map alone is read from the live block, once there is one.
    const bool hdrMap = m_context.lighting_settings ? m_context.lighting_settings->hdr_map : m_lightingSettings.hdr_map;

    CommandText text;
    text.add("reset_camera", m_viewSettings.reset_camera);
    text.add("view_type", m_viewSettings.view_type);
    text.add("enable_sky", m_displaySettings.enable_sky);
    text.add("enable_axis", m_displaySettings.enable_axis);
    text.add("enable_ground", m_displaySettings.enable_ground);
    text.add("bg_color", m_displaySettings.bg_color);
    text.add("enable_ground", m_displaySettings.enable_ground); // again, in the place of light_profile
    text.add("material_type_a", m_materialSettings.material_type_a);
    text.add("material_type_b", m_materialSettings.material_type_b);
    text.add("material_color", m_materialSettings.material_color);
    text.add("material_update", m_materialSettings.material_update);
    text.add("raw_mode", m_materialSettings.raw_mode);
    text.add("wireframe", m_materialSettings.wireframe);
    text.add("hdr_map", hdrMap);
    text.add("hdr_map_type", m_lightingSettings.hdr_map_type);
    text.add("sun_follow", m_lightingSettings.sun_follow);
    text.add("ibl_intensity", m_lightingSettings.ibl_intensity);
    text.add("sun_intensity", m_lightingSettings.sun_intensity);
    text.add("sun_dir", m_lightingSettings.sun_dir);
    text.add("sun_color", m_lightingSettings.sun_color);
    text.add("ibl_enabled", m_lightingSettings.ibl_enabled);
    text.add("use_default_ibl", m_lightingSettings.use_default_ibl);
    text.add("sun_enabled", m_lightingSettings.sun_enabled);
    text.add("camera_position", m_cameraSettings.camera_position);
    text.add("is_history", m_context.is_history);
    return text.finished();
}
