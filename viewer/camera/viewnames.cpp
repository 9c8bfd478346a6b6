#include "viewer/camera/viewnames.h"

namespace ov3d::camera {

namespace {

struct NamedView
{
    std::string_view name;
    std::int32_t view_type;
};

constexpr NamedView kNamedViews[] = {
    {"front", 1}, {"back", 2}, {"left", 3}, {"right", 4}, {"top", 6}, {"bottom", 7}, {"isometric", 8},
};

} // namespace

std::optional<std::int32_t> viewTypeOfName(std::string_view name)
{
    for (const NamedView& view : kNamedViews)
        if (view.name == name)
            return view.view_type;
    return std::nullopt;
}

} // namespace ov3d::camera
