/// @file
/// Operators of all matrices, and how they transform vectors.
///
/// A point is a row vector on the left of its matrix: p' = p M. So rows 0, 1 and 2 are the images of the x, y and z
/// axes, the fourth row of an affine matrix is its translation, and `a * b` transforms by `a` first. Sums have one
/// order whatever the class, from the translation to row 0, so a MatrixSIMD44f and a Matrix44f give the same bits.
#pragma once

#include <zelk_core/math/matrixrow.h>

#include <utility>

namespace Z4 {

namespace Private {

/// The one order in which rows are added up, whatever the matrix: from the translation, if there is one, to row 0.
template <Matrix M>
constexpr typename M::RowType SumRows(const typename MatrixRowOf<M>::Number& x,
                                      const typename MatrixRowOf<M>::Number& y,
                                      const typename MatrixRowOf<M>::Number& z, const M& m) {
    return (z * m.Row(2) + y * m.Row(1)) + x * m.Row(0);
}
template <Matrix M>
constexpr typename M::RowType
SumRows(const typename MatrixRowOf<M>::Number& x, const typename MatrixRowOf<M>::Number& y,
        const typename MatrixRowOf<M>::Number& z, const typename M::RowType& translation, const M& m) {
    return ((z * m.Row(2) + translation) + y * m.Row(1)) + x * m.Row(0);
}

/// `row` m, of the rows of a matrix that is multiplied by `m`.
template <Matrix M>
constexpr typename M::RowType TransformRow(const typename M::RowType& row, const M& m) {
    using Row = MatrixRowOf<M>;
    if constexpr (M::COLUMNS == 2) {
        return Row::template Component<1>(row) * m.Row(1) + Row::template Component<0>(row) * m.Row(0);
    } else {
        const auto x = Row::template Component<0>(row);
        const auto y = Row::template Component<1>(row);
        const auto z = Row::template Component<2>(row);
        if constexpr (M::COLUMNS == 3) {
            return SumRows(x, y, z, m);
        } else {
            return SumRows(x, y, z, Row::template Component<3>(row) * m.Row(3), m);
        }
    }
}

/// Written out rather than looped over, so that the rows stay in registers.
template <Matrix M, class Function>
constexpr M MapRows(const M& m, Function function) {
    return [&]<unsigned... I>(std::integer_sequence<unsigned, I...>) {
        return M(function(m.Row(I), I)...);
    }
    (std::make_integer_sequence<unsigned, M::ROWS>());
}

} // namespace Private

/// Whether all elements are equal; of SIMD rows all four lanes count. -0 equals 0; a NaN equals nothing.
template <Matrix M>
constexpr bool operator==(const M& a, const M& b) {
    for (unsigned i = 0; i < M::ROWS; ++i) {
        if (!(a.Row(i) == b.Row(i))) {
            return false;
        }
    }
    return true;
}

/// Element by element.
template <Matrix M>
constexpr M operator+(const M& a, const M& b) {
    return Private::MapRows(a, [&b](const auto& row, unsigned i) { return row + b.Row(i); });
}
template <Matrix M>
constexpr M operator-(const M& a, const M& b) {
    return Private::MapRows(a, [&b](const auto& row, unsigned i) { return row - b.Row(i); });
}
template <Matrix M>
constexpr M operator*(const M& m, typename M::Element scalar) {
    return Private::MapRows(m, [scalar](const auto& row, unsigned) { return row * scalar; });
}
template <Matrix M>
constexpr M operator*(typename M::Element scalar, const M& m) {
    return m * scalar;
}

/// The matrix product: to transform by it is to transform by `a` and then by `b`. The product of two affine matrices is
/// affine; it is what their full forms with the w column (0, 0, 0, 1) give.
template <Matrix M>
constexpr M operator*(const M& a, const M& b) {
    return Private::MapRows(a, [&b](const auto& row, [[maybe_unused]] unsigned i) {
        if constexpr (M::ROWS > M::COLUMNS) {
            using Row = Private::MatrixRowOf<M>;
            if (i == M::COLUMNS) {
                return Private::SumRows(Row::template Component<0>(row), Row::template Component<1>(row),
                                        Row::template Component<2>(row), b.Row(i), b);
            }
        }
        return Private::TransformRow(row, b);
    });
}
template <Matrix M>
constexpr M& operator*=(M& a, const M& b) {
    return a = a * b;
}

/// The row vector `v` times a square matrix, with all components of both. They are added in this order: of four rows
/// ((z row 2 + w row 3) + y row 1) + x row 0, of fewer the same without the missing ones.
template <SquareMatrix M>
constexpr typename M::RowType operator*(const typename M::RowType& v, const M& m) {
    return Private::TransformRow(v, m);
}

/// The direction `d` transformed: (z row 2 + y row 1) + x row 0. The translation does not count.
template <class V, class M>
requires SpaceVectorOf<V, M>
[[nodiscard]] constexpr V TransformDirection(const V& d, const M& m) {
    const auto sum = Private::SumRows(d[0], d[1], d[2], m);
    return V(sum[0], sum[1], sum[2]);
}

/// The point `p` transformed, as if its w were 1: ((z row 2 + row 3) + y row 1) + x row 0. A linear matrix, which has
/// no row 3, transforms it as a direction. A projecting matrix would give a w to divide by; this is not done.
template <class V, class M>
requires SpaceVectorOf<V, M>
[[nodiscard]] constexpr V TransformPoint(const V& p, const M& m) {
    if constexpr (M::ROWS == 4) {
        const auto sum = Private::SumRows(p[0], p[1], p[2], m.Row(3), m);
        return V(sum[0], sum[1], sum[2]);
    } else {
        return TransformDirection(p, m);
    }
}

/// Rows and columns exchanged.
template <SquareMatrix M>
[[nodiscard]] constexpr M Transpose(const M& m) {
    return Private::MatrixRowOf<M>::Transpose(m);
}

} // namespace Z4
