#include "viewer/renderer/picture/warmup.h"

namespace ov3d::renderer {

ModelData warmUpModel(bool textured)
{
    ModelData model;
    model.radius = 1;
    MaterialData& material = model.materials.emplace_back();
    MeshData& mesh = model.meshes.emplace_back();
    mesh.positions = {-1, -1, 0, 1, -1, 0, 0, 1, 0};
    mesh.normals = {0, 0, 1, 0, 0, 1, 0, 0, 1};
    mesh.indices = {0, 1, 2};
    if (textured) {
        material.base_texture = 0;
        mesh.texcoords = {0, 0, 1, 0, 0, 1};
        TextureData& texture = model.textures.emplace_back();
        texture.width = texture.height = 2;
        texture.pixels.assign(16, 255);
    }
    return model;
}

} // namespace ov3d::renderer
