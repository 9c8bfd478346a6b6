#pragma once

#include "viewer/renderer/import/matrix.h"

#include <assimp/matrix4x4.h>

namespace ov3d::renderer {

/// A map that holds something else than finite numbers counts as none.
inline Matrix toMatrix(const aiMatrix4x4& source)
{
    Matrix matrix;
    for (unsigned row = 0; row < 3; ++row)
        for (unsigned column = 0; column < 4; ++column)
            matrix.m[row][column] = double{source[row][column]};
    return matrix.isFinite() ? matrix : Matrix{};
}

} // namespace ov3d::renderer
