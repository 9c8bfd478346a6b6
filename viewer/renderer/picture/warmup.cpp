#include "viewer/renderer/picture/warmup.h"

#include "viewer/renderer/scene/materiallook.h"

#include <cstdint>

namespace ov3d::renderer {

namespace {

/// A small texture of one colour. @return its index.
int addTexture(ModelData& model, std::uint8_t red, std::uint8_t green, std::uint8_t blue)
{
    TextureData& texture = model.textures.emplace_back();
    texture.width = texture.height = 2;
    for (int i = 0; i < 4; ++i)
        texture.pixels.insert(texture.pixels.end(), {red, green, blue, 255});
    return static_cast<int>(model.textures.size()) - 1;
}

} // namespace

ModelData warmUpModel(Surface surface)
{
    ModelData model;
    model.radius = 1;
    MaterialData& material = model.materials.emplace_back();
    MeshData& mesh = model.meshes.emplace_back();
    mesh.positions = {-1, -1, 0, 1, -1, 0, 0, 1, 0};
    mesh.normals = {0, 0, 1, 0, 0, 1, 0, 0, 1};
    mesh.indices = {0, 1, 2};
    if (surface == Surface::coloured)
        mesh.colours.assign(12, 255);
    if (surface == Surface::textured || surface == Surface::mapped) {
        material.base_texture = addTexture(model, 255, 255, 255);
        mesh.texcoords = {0, 0, 1, 0, 0, 1};
    }
    if (surface == Surface::mapped) {
        material.normal_map.texture = addTexture(model, 128, 128, 255);
        material.roughness_map.texture = addTexture(model, 255, 128, 0);
        material.occlusion_map.texture = addTexture(model, 255, 255, 255);
    }
    return model;
}

protocol::RenderSettings warmUpSettings(Surface surface)
{
    protocol::RenderSettings settings;
    if (surface == Surface::glass)
        settings.material_type_b = kGlassPreset;
    return settings;
}

} // namespace ov3d::renderer
