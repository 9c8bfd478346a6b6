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

/// A texture that says something else about a surface than its colour. It is read at the mesh's texture coordinates,
/// moved by `m`: u' = m[0][0] u + m[0][1] v + m[0][2], v' alike, v upwards.
struct TextureMap
{
    int texture = -1; ///< index into ModelData::textures, or -1
    Wrap wrap = Wrap::repeat;
    bool smooth = true; ///< texels are interpolated
    float m[2][3] = {{1, 0, 0}, {0, 1, 0}};
};

/// What the channels of a metallic-roughness texture hold.
enum class RoughnessChannels
{
    roughness_metallic,  ///< green roughness, blue metallic, both factors of the material's own
    specular_glossiness, ///< red, green, blue the reflected colour, as displayed, alpha the glossiness
    roughness,           ///< every channel the roughness
    metallic,            ///< every channel how metallic
};

/// Which way a texture tells what a surface's bumps are.
enum class BumpKind
{
    normals, ///< directions around (0.5, 0.5, 1), green upwards
    unknown, ///< directions or heights: old formats do not say, the picture does
};

/// Colours are as displayed (sRGB, 0 to 1).
struct MaterialData
{
    std::string name;
    float base_colour[4] = {0.8f, 0.8f, 0.8f, 1.0f};
    int base_texture = -1; ///< index into ModelData::textures, or -1
    Wrap wrap = Wrap::repeat;
    bool smooth = true; ///< texels of the base texture are interpolated
    AlphaMode alpha_mode = AlphaMode::opaque;
    float alpha_cutoff = 0.5f;
    int opacity_texture = -1; ///< its grey multiplies the base texture's alpha, at the same place
    bool unlit = false;
    bool double_sided = true; ///< both sides of a translucent surface are seen; of opaque ones they always are,
                              ///< since many files have some faces turned the wrong way round

    float metallic = 0;
    float roughness = 0.55f;
    float emissive[3] = {0, 0, 0};
    float clear_coat = 0; ///< strength of a layer of lacquer
    float clear_coat_roughness = 0;
    float normal_scale = 1;
    float occlusion_strength = 1;

    // Factors of a specular-glossiness texture.
    float specular[3] = {1, 1, 1};
    float glossiness = 1;

    // A material that has one of these has a base texture too, if only a white one.
    TextureMap roughness_map;
    RoughnessChannels roughness_channels = RoughnessChannels::roughness_metallic;
    TextureMap normal_map;
    BumpKind normal_kind = BumpKind::normals;
    TextureMap occlusion_map; ///< red: how much of the light from all around arrives
    TextureMap emissive_map;  ///< multiplied by `emissive`
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
