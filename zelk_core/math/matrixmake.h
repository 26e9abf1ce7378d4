/// @file
/// Making matrices: conversions, rotations, translations and scalings.
#pragma once

#include <zelk_core/math/matrixrow.h>

#include <cmath>
#include <limits>

namespace Z4 {

namespace Private {

/// x, y, z in the diagonal of the linear part and `corner` in the lower right of a full matrix, else 0.
template <Matrix M>
constexpr M MakeDiagonal(typename M::Element x, typename M::Element y, typename M::Element z,
                         typename M::Element corner) {
    using Element = typename M::Element;
    const Element diagonal[4] = {x, y, z, corner};
    M result;
    for (unsigned i = 0; i < M::ROWS; ++i) {
        Element row[4] = {};
        row[i] = i < M::COLUMNS ? diagonal[i] : 0;
        result.Row(i) = MatrixRowOf<M>::FromElements(row[0], row[1], row[2], row[3]);
    }
    return result;
}
template <Matrix M>
constexpr M MakeIdentity() {
    return MakeDiagonal<M>(1, 1, 1, 1);
}
template <Matrix M>
constexpr M MakeZero() {
    return MakeDiagonal<M>(0, 0, 0, 0);
}

/// Rows of the rotation by `angle` about (x, y, z), after O. Rodrigues. In double precision whatever the matrix, for a
/// matrix is built once and used often.
inline void FillRotation(double x, double y, double z, double angle, double (&rows)[3][3]) {
    const double length = Lanes::SquareRoot((x * x + y * y) + z * z);
    if (!(length > 0 && length <= (std::numeric_limits<double>::max)())) {
        FillRotation(1, 0, 0, 0, rows);
        return;
    }
    const double axis[3] = {x / length, y / length, z / length};
    const double sine = std::sin(angle);
    const double cosine = std::cos(angle);
    // Row i is the image of unit axis i: e_i cos + (k x e_i) sin + k k_i (1 - cos).
    const double cross[3][3] = {{0, axis[2], -axis[1]}, {-axis[2], 0, axis[0]}, {axis[1], -axis[0], 0}};
    for (unsigned i = 0; i < 3; ++i) {
        for (unsigned j = 0; j < 3; ++j) {
            rows[i][j] = (i == j ? cosine : 0) + cross[i][j] * sine + axis[i] * axis[j] * (1 - cosine);
        }
    }
}

} // namespace Private

/// A matrix of another shape or element type, as in `ConvertMatrix<MatrixSIMD44f>(m)`. Elements that both shapes have
/// are copied, from double to float rounded; those that only the result has are the identity's.
template <Matrix To, Matrix From>
[[nodiscard]] constexpr To ConvertMatrix(const From& m) {
    using Element = typename To::Element;
    const auto element = [&m](unsigned i, unsigned j) -> Element {
        if (i < From::ROWS && j < From::COLUMNS) {
            return static_cast<Element>(m.Row(i)[j]);
        }
        return static_cast<Element>(i == j ? 1 : 0);
    };
    To result;
    for (unsigned i = 0; i < To::ROWS; ++i) {
        const Element z = To::COLUMNS >= 3 ? element(i, 2) : 0;
        const Element w = To::COLUMNS == 4 ? element(i, 3) : 0;
        result.Row(i) = Private::MatrixRowOf<To>::FromElements(element(i, 0), element(i, 1), z, w);
    }
    return result;
}

/// The rotation by `angle` radians about `axis`, as in `MakeRotation<Matrix34f>(Vector3f::BASE_K, angle)`. It turns
/// counter-clockwise for a beholder at whom the axis points.
///
/// `axis` is a plain or SIMD vector of which x, y and z count, of any length; one without a direction (zero, infinite
/// or NaN) gives the identity. `angle` must be finite. Elements are calculated in double precision with the platform's
/// sine and cosine, so floats are accurate to about one unit in the last place, and their last bits may differ between
/// platforms.
template <SpaceMatrix M, class V>
[[nodiscard]] M MakeRotation(const V& axis, double angle) {
    using Element = typename M::Element;
    double rows[3][3];
    Private::FillRotation(axis[0], axis[1], axis[2], angle, rows);
    M result = Private::MakeIdentity<M>();
    for (unsigned i = 0; i < 3; ++i) {
        result.Row(i) = Private::MatrixRowOf<M>::FromElements(
            static_cast<Element>(rows[i][0]), static_cast<Element>(rows[i][1]), static_cast<Element>(rows[i][2]), 0);
    }
    return result;
}
/// The rotation of the plane by `angle` radians, counter-clockwise: from x towards y.
template <Matrix M>
requires(M::COLUMNS == 2) [[nodiscard]] M MakeRotation(double angle) {
    using Element = typename M::Element;
    const auto sine = static_cast<Element>(std::sin(angle));
    const auto cosine = static_cast<Element>(std::cos(angle));
    return M(typename M::RowType(cosine, sine), typename M::RowType(-sine, cosine));
}

/// The translation by x, y and z of a plain or SIMD vector, as in `MakeTranslation<MatrixSIMD44f>(offset)`.
template <SpaceMatrix M, class V>
requires(M::ROWS == 4) [[nodiscard]] constexpr M MakeTranslation(const V& translation) {
    M result = Private::MakeIdentity<M>();
    result.Row(3) = Private::MatrixRowOf<M>::FromElements(translation[0], translation[1], translation[2],
                                                          M::COLUMNS == 4 ? 1.0F : 0.0F);
    return result;
}

/// The scaling along the axes by the first two or three components of a plain or SIMD vector, as many as the linear
/// part of the matrix has rows.
template <Matrix M, class V>
[[nodiscard]] constexpr M MakeScale(const V& scale) {
    if constexpr (M::COLUMNS == 2) {
        return Private::MakeDiagonal<M>(scale[0], scale[1], 0, 0);
    } else {
        return Private::MakeDiagonal<M>(scale[0], scale[1], scale[2], 1);
    }
}

} // namespace Z4
