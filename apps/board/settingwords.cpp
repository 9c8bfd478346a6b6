#include "apps/board/settingwords.h"

#include <QLatin1String>

#include <algorithm>
#include <iterator>

namespace ov3d::apps {

namespace {

struct Word
{
    QLatin1String key;
    const char* label;
    const char* choices; ///< with "|" between, or null
};

constexpr Word kWords[] = {
    {QLatin1String("enable_sky"), "Sky", nullptr},
    {QLatin1String("enable_ground"), "Ground", nullptr},
    {QLatin1String("enable_axis"), "Axes", nullptr},
    {QLatin1String("bg_color"), "Background", nullptr},
    {QLatin1String("light_profile"), "Light", "as set|soft|dramatic|portrait|headlight|backlight"},
    {QLatin1String("hdr_map"), "Environment", nullptr},
    {QLatin1String("hdr_map_type"), "Surroundings", "soft box|bright day|studio|sunset|hall|night"},
    {QLatin1String("use_default_ibl"), "Neutral light", nullptr},
    {QLatin1String("ibl_enabled"), "Ambient light", nullptr},
    {QLatin1String("ibl_intensity"), "Its brightness", nullptr},
    {QLatin1String("sun_enabled"), "Sun", nullptr},
    {QLatin1String("sun_follow"), "Sun follows", nullptr},
    {QLatin1String("sun_intensity"), "Its brightness", nullptr},
    {QLatin1String("sun_color"), "Its colour", nullptr},
    {QLatin1String("sun_dir"), "Its direction", nullptr},
    {QLatin1String("material_type_a"), "Shading", "as in the file|unlit|normals|depth|clay"},
    {QLatin1String("material_type_b"), "Material", "brass|chrome|plastic|glass|stone|rubber|as in the file"},
    {QLatin1String("material_color"), "Its colour", nullptr},
    {QLatin1String("point_size"), "Points", nullptr},
    {QLatin1String("raw_mode"), "Raw colours", nullptr},
    {QLatin1String("wireframe"), "Wireframe", nullptr},
    {QLatin1String("camera_id"), "Projection", "perspective|parallel"},
};

const Word* wordOf(const QString& key)
{
    const auto* found =
        std::find_if(std::begin(kWords), std::end(kWords), [&key](const Word& word) { return word.key == key; });
    return found == std::end(kWords) ? nullptr : found;
}

} // namespace

QStringList panelSettings()
{
    QStringList keys;
    for (const Word& word : kWords)
        keys << word.key;
    return keys;
}

QString settingLabel(const QString& key)
{
    const Word* word = wordOf(key);
    return word ? QString::fromLatin1(word->label) : QString();
}

QStringList settingChoices(const QString& key)
{
    const Word* word = wordOf(key);
    return word && word->choices ? QString::fromLatin1(word->choices).split(QLatin1Char('|')) : QStringList();
}

} // namespace ov3d::apps
