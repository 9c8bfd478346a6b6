#pragma once

#include "viewer/camera/vector.h"

#include <cmath>

namespace ov3d::renderer {

using camera::Vec3;

/// An affine map in doubles: importers hand over floats, and chains of them lose what models far from the origin need.
struct Matrix
{
    double m[3][4] = {{1, 0, 0, 0}, {0, 1, 0, 0}, {0, 0, 1, 0}};

    [[nodiscard]] Vec3 point(Vec3 p) const
    {
        const Vec3 turned = direction(p);
        return {turned.x + m[0][3], turned.y + m[1][3], turned.z + m[2][3]};
    }

    [[nodiscard]] Vec3 direction(Vec3 d) const
    {
        return {m[0][0] * d.x + m[0][1] * d.y + m[0][2] * d.z, m[1][0] * d.x + m[1][1] * d.y + m[1][2] * d.z,
                m[2][0] * d.x + m[2][1] * d.y + m[2][2] * d.z};
    }

    [[nodiscard]] double determinant() const
    {
        return m[0][0] * (m[1][1] * m[2][2] - m[1][2] * m[2][1]) - m[0][1] * (m[1][0] * m[2][2] - m[1][2] * m[2][0]) +
               m[0][2] * (m[1][0] * m[2][1] - m[1][1] * m[2][0]);
    }

    /// The map of normals, up to a positive factor: the transposed inverse, which also serves singular matrices.
    [[nodiscard]] Matrix forNormals() const
    {
        Matrix cofactors;
        const double sign = determinant() < 0 ? -1.0 : 1.0;
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 3; ++column) {
                const int r1 = (row + 1) % 3, r2 = (row + 2) % 3, c1 = (column + 1) % 3, c2 = (column + 2) % 3;
                cofactors.m[row][column] = sign * (m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1]);
            }
        return cofactors;
    }

    [[nodiscard]] bool isFinite() const
    {
        for (const auto& row : m)
            for (const double value : row)
                if (!std::isfinite(value))
                    return false;
        return true;
    }

    friend Matrix operator*(const Matrix& a, const Matrix& b)
    {
        Matrix product;
        for (int row = 0; row < 3; ++row)
            for (int column = 0; column < 4; ++column)
                product.m[row][column] = a.m[row][0] * b.m[0][column] + a.m[row][1] * b.m[1][column] +
                                         a.m[row][2] * b.m[2][column] + (column == 3 ? a.m[row][3] : 0.0);
        return product;
    }
};

} // namespace ov3d::renderer
