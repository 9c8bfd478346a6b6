#include "apps/board/settingwords.h"

#include <QLatin1String>

#include <algorithm>
#include <iterator>

namespace ov3d::apps {

namespace {

struct Word
{
    const char* group;
    QLatin1String key;
    const char* label;
    const char* choices; ///< with "|" between, or null
    const char* hint;
};

constexpr Word kWords[] = {
    {"Scene", QLatin1String("enable_sky"), "Sky", nullptr,
     "The surroundings behind the model; the page does not show through them"},
    {"Scene", QLatin1String("enable_ground"), "Ground", nullptr, "A ground below the model"},
    {"Scene", QLatin1String("enable_axis"), "Axes", nullptr, "The directions of the three axes"},
    {"Scene", QLatin1String("bg_color"), "Background", nullptr, "#33FC1A stands for none: the page shows through"},
    {"Light", QLatin1String("light_profile"), "Set-up", "as set below|soft|dramatic|portrait|headlight|back light",
     "A ready-made light in place of the settings below"},
    {"Light", QLatin1String("hdr_map_type"), "Surroundings", "soft box|bright day|studio|sunset|hall|night",
     "What is around the model"},
    {"Light", QLatin1String("hdr_map"), "Mirrored", nullptr, "Shining surfaces show the surroundings"},
    {"Light", QLatin1String("ibl_enabled"), "Ambient light", nullptr, "Light from all around"},
    {"Light", QLatin1String("use_default_ibl"), "Neutral colour", nullptr,
     "The ambient light has no colour of the surroundings"},
    {"Light", QLatin1String("ibl_intensity"), "Brightness", nullptr, "Of the ambient light, candela per square metre"},
    {"Sun", QLatin1String("sun_enabled"), "Sunlight", nullptr, "Light from one direction, with highlights"},
    {"Sun", QLatin1String("sun_follow"), "Follows the view", nullptr, "The sun stays where the viewer stands"},
    {"Sun", QLatin1String("sun_intensity"), "Brightness", nullptr, "Lux"},
    {"Sun", QLatin1String("sun_color"), "Colour", nullptr, "Of the sunlight"},
    {"Sun", QLatin1String("sun_dir"), "Direction", nullptr, "Where the sunlight goes: right, up, toward you"},
    {"Material", QLatin1String("material_type_b"), "Material", "brass|chrome|plastic|glass|stone|rubber|as in the file",
     "What the whole model is made of"},
    {"Material", QLatin1String("material_color"), "Colour", nullptr, "Of a material that is not the file's own"},
    {"Material", QLatin1String("material_type_a"), "Drawn as", "the material|unlit|normals|depth|clay",
     "How surfaces are drawn"},
    {"Material", QLatin1String("wireframe"), "Wireframe", nullptr, "Edges alone"},
    {"Material", QLatin1String("raw_mode"), "File's own colours", nullptr, "Without any light"},
    {"Material", QLatin1String("point_size"), "Point size", nullptr, "Pixels; 0 for the usual size"},
    {"Camera", QLatin1String("camera_id"), "Projection", "perspective|parallel", "How depth is shown"},
};

const Word* wordOf(const QString& key)
{
    const auto* found =
        std::find_if(std::begin(kWords), std::end(kWords), [&key](const Word& word) { return word.key == key; });
    return found == std::end(kWords) ? nullptr : found;
}

} // namespace

QVector<SettingGroup> panelGroups()
{
    QVector<SettingGroup> groups;
    for (const Word& word : kWords) {
        const QString title = QString::fromLatin1(word.group);
        if (groups.isEmpty() || groups.last().title != title)
            groups.append({title, {}});
        groups.last().keys << word.key;
    }
    return groups;
}

QString settingLabel(const QString& key)
{
    const Word* word = wordOf(key);
    return word ? QString::fromLatin1(word->label) : QString();
}

QString settingTitle(const QString& key)
{
    const Word* word = wordOf(key);
    return word ? QString::fromLatin1(word->group) + QStringLiteral(": ") + QString::fromLatin1(word->label) : key;
}

QString settingHint(const QString& key)
{
    const Word* word = wordOf(key);
    return word ? QString::fromLatin1(word->hint) : QString();
}

QStringList settingChoices(const QString& key)
{
    const Word* word = wordOf(key);
    return word && word->choices ? QString::fromLatin1(word->choices).split(QLatin1Char('|')) : QStringList();
}

} // namespace ov3d::apps
