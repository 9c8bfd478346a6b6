#include "viewer/renderer/import/texcoorduse.h"

#include <assimp/material.h>
#include <cmath>

namespace ov3d::renderer {
namespace {

void applyPlainTransform(const aiUVTransform& transform, TexcoordUse& use)
{
    use.m[0][0] = double{transform.mScaling.x};
    use.m[0][2] = double{transform.mTranslation.x};
    use.m[1][1] = double{transform.mScaling.y};
    use.m[1][2] = double{transform.mTranslation.y};
}

/// Assimp translates a glTF's transform into one around the image's centre, and its own step that applies it disagrees
/// with that. So the file's values are recovered, and applied as the extension's definition has them.
void applyGltfTransform(const aiUVTransform& transform, TexcoordUse& use)
{
    const double scaleX = double{transform.mScaling.x};
    const double scaleY = double{transform.mScaling.y};
    const double cosine = std::cos(-double{transform.mRotation});
    const double sine = std::sin(-double{transform.mRotation});
    const double offsetX = double{transform.mTranslation.x} - 0.5 * scaleX * (-cosine + sine + 1);
    const double offsetY = -(double{transform.mTranslation.y} - 0.5 * scaleY * (sine + cosine - 1) - 1 + scaleY);
    // With v downwards: u' = cos sx u + sin sy v + ox, v' = -sin sx u + cos sy v + oy. Here v is 1 less that.
    use.m[0][0] = cosine * scaleX;
    use.m[0][1] = -sine * scaleY;
    use.m[0][2] = sine * scaleY + offsetX;
    use.m[1][0] = sine * scaleX;
    use.m[1][1] = cosine * scaleY;
    use.m[1][2] = 1 - cosine * scaleY - offsetY;
}

} // namespace

void applyTransform(const aiUVTransform& transform, bool isGltf, TexcoordUse& use)
{
    isGltf ? applyGltfTransform(transform, use) : applyPlainTransform(transform, use);
}

bool relativeTransform(const TexcoordUse& use, const TexcoordUse& leading, float (&m)[2][3])
{
    const double(&l)[2][3] = leading.m;
    const double(&u)[2][3] = use.m;
    const double determinant = l[0][0] * l[1][1] - l[0][1] * l[1][0];
    if (determinant == 0 || !std::isfinite(1.0 / determinant))
        return false;
    for (int row = 0; row < 2; ++row) {
        const double a = (u[row][0] * l[1][1] - u[row][1] * l[1][0]) / determinant;
        const double b = (u[row][1] * l[0][0] - u[row][0] * l[0][1]) / determinant;
        m[row][0] = static_cast<float>(a);
        m[row][1] = static_cast<float>(b);
        m[row][2] = static_cast<float>(u[row][2] - a * l[0][2] - b * l[1][2]);
    }
    return true;
}

} // namespace ov3d::renderer
