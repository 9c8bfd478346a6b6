#pragma once

struct aiUVTransform;

namespace ov3d::renderer {

/// Which texture coordinates a texture uses, and how: u' = m[0][0] u + m[0][1] v + m[0][2], v' alike, v upwards.
struct TexcoordUse
{
    unsigned set = 0;
    double m[2][3] = {{1, 0, 0}, {0, 1, 0}};
};

/// Takes a transform of Assimp's over, as the file meant it.
void applyTransform(const aiUVTransform& transform, bool isGltf, TexcoordUse& use);

/// What leads from coordinates that `leading` has been applied to already to those that `use` wants.
/// @return false when there is no such transform; `m` is as it was then.
bool relativeTransform(const TexcoordUse& use, const TexcoordUse& leading, float (&m)[2][3]);

} // namespace ov3d::renderer
