#pragma once

#include "viewer/camera/vector.h"

#include <cstdint>
#include <string>
#include <vector>

/// A model as plain arrays: what importers produce and scenes are made from. No VTK, no Assimp.
namespace ov3d::renderer {

using camera::Vec3;

/// How positions are kept: world = origin + position * scale. The origin is the centre of the bounding sphere and the
/// scale its radius, so that models of any size and place keep the whole precision of a float.
struct ModelFrame
{
    Vec3 origin;
    double scale = 1;
};

/// An image as its file has it, or as plain pixels.
struct TextureData
{
    std::string name;                  ///< for messages
    std::vector<std::uint8_t> encoded; ///< a PNG, JPEG, BMP or TGA file; empty when `pixels` is set
    std::vector<std::uint8_t> pixels;  ///< RGBA, rows from top to bottom
    int width = 0;                     ///< of `pixels`
    int height = 0;
};

enum class AlphaMode
{
    opaque,
    mask, ///< drawn where alpha reaches the cutoff
    blend,
};

enum class Wrap
{
    repeat,
    clamp,
    mirror,
};

/// Colours are as displayed (sRGB, 0 to 1).
struct MaterialData
{
    std::string name;
    float base_colour[4] = {0.8f, 0.8f, 0.8f, 1.0f};
    int base_texture = -1; ///< index into ModelData::textures, or -1
    Wrap wrap = Wrap::repeat;
    AlphaMode alpha_mode = AlphaMode::opaque;
    float alpha_cutoff = 0.5f;
    bool unlit = false;
};

enum class Primitive
{
    triangles,
    lines,
    points,
};

/// Everything of one material and one kind of primitive.
struct MeshData
{
    std::uint32_t material = 0;
    Primitive primitive = Primitive::triangles;
    std::vector<float> positions;       ///< 3 a vertex, in the model's frame
    std::vector<float> normals;         ///< 3 a vertex; empty for lines and points
    std::vector<float> texcoords;       ///< 2 a vertex, v upwards; empty without a texture
    std::vector<std::uint8_t> colours;  ///< RGBA a vertex, as displayed, base colour included; empty without
    std::vector<std::uint32_t> indices; ///< 3, 2 or 1 a primitive
};

struct ModelData
{
    ModelFrame frame;
    Vec3 box_min; ///< of all drawn vertices, world units, +Y up
    Vec3 box_max;
    double radius = 0; ///< of the bounding sphere around frame.origin, world units

    std::vector<MeshData> meshes;
    std::vector<MaterialData> materials;
    std::vector<TextureData> textures;

    std::vector<std::string> files;   ///< side files that were found, relative to the model's folder
    std::vector<std::string> missing; ///< those that were not, as the model names them
    std::vector<std::string> notes;   ///< what was repaired or left out, in plain words
};

} // namespace ov3d::renderer
