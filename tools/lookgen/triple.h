// Three doubles and a 3x3 matrix: all the linear algebra that the film model needs.
#pragma once

#include <array>

namespace lookgen {

using Triple = std::array<double, 3>;
using Matrix = std::array<Triple, 3>; // rows

inline Triple operator*(const Matrix& m, const Triple& v) {
    Triple out{};
    for (int row = 0; row < 3; ++row)
        out[row] = m[row][0] * v[0] + m[row][1] * v[1] + m[row][2] * v[2];
    return out;
}

inline Matrix operator*(const Matrix& a, const Matrix& b) {
    Matrix out{};
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col)
            out[row][col] = a[row][0] * b[0][col] + a[row][1] * b[1][col] + a[row][2] * b[2][col];
    return out;
}

// By cofactors; the matrices here are far from singular.
inline Matrix inverse(const Matrix& m) {
    const auto cofactor = [&](int row, int col) {
        const int r1 = (row + 1) % 3, r2 = (row + 2) % 3, c1 = (col + 1) % 3, c2 = (col + 2) % 3;
        return m[r1][c1] * m[r2][c2] - m[r1][c2] * m[r2][c1];
    };
    const double determinant = m[0][0] * cofactor(0, 0) + m[0][1] * cofactor(0, 1) + m[0][2] * cofactor(0, 2);
    Matrix out{};
    for (int row = 0; row < 3; ++row)
        for (int col = 0; col < 3; ++col)
            out[row][col] = cofactor(col, row) / determinant;
    return out;
}

} // namespace lookgen
