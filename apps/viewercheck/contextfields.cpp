#include "apps/viewercheck/testitem.h"

#include <algorithm>
#include <array>

namespace ov3d::viewercheck {

namespace {

struct Field
{
    std::size_t offset;
    const char* name;
};

constexpr std::array kFields{
    Field{offsetof(ViewContext, op), "op"},
    Field{offsetof(ViewContext, width), "width"},
    Field{offsetof(ViewContext, height), "height"},
    Field{offsetof(ViewContext, frame_width), "frame_width"},
    Field{offsetof(ViewContext, frame_height), "frame_height"},
    Field{offsetof(ViewContext, pad20), "padding"},
    Field{offsetof(ViewContext, frame_buffer), "frame_buffer"},
    Field{offsetof(ViewContext, model_path), "model_path"},
    Field{offsetof(ViewContext, mouse_type), "the mouse record"},
    Field{offsetof(ViewContext, pad325), "padding"},
    Field{offsetof(ViewContext, view_settings), "the settings pointers"},
    Field{offsetof(ViewContext, first_draw), "first_draw"},
    Field{offsetof(ViewContext, pad361), "padding"},
    Field{offsetof(ViewContext, camera_settings), "camera_settings"},
    Field{offsetof(ViewContext, is_history), "is_history"},
    Field{offsetof(ViewContext, reserved377), "a reserved byte"},
    Field{offsetof(ViewContext, object_id), "object_id"},
    Field{offsetof(ViewContext, reserved384), "a reserved byte"},
    Field{offsetof(ViewContext, scene_status), "scene_status"},
    Field{offsetof(ViewContext, reserved768), "a reserved byte"},
    Field{offsetof(ViewContext, status_saved), "status_saved"},
    Field{offsetof(ViewContext, pad770), "padding"},
    Field{offsetof(ViewContext, file_list), "file_list"},
    Field{offsetof(ViewContext, progress_callback), "progress_callback"},
    Field{offsetof(ViewContext, app_path), "app_path"},
    Field{offsetof(ViewContext, model_format), "model_format"},
    Field{offsetof(ViewContext, result), "result"},
};

} // namespace

std::string fieldAt(std::ptrdiff_t offset)
{
    if (offset < 0)
        return "memory in front of the context";
    if (offset >= static_cast<std::ptrdiff_t>(sizeof(ViewContext)))
        return "memory behind the context";
    const auto next = std::upper_bound(kFields.begin(), kFields.end(), static_cast<std::size_t>(offset),
                                       [](std::size_t value, const Field& field) { return value < field.offset; });
    return std::prev(next)->name;
}

bool writesInto(const Access& access, std::size_t offset, std::size_t size)
{
    const auto begin = static_cast<std::ptrdiff_t>(offset);
    return access.isWrite && access.offset >= begin && access.offset < begin + static_cast<std::ptrdiff_t>(size);
}

} // namespace ov3d::viewercheck
