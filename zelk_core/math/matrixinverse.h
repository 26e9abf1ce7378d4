/// @file
/// Determinants and inverses of all matrices.
#pragma once

#include <zelk_core/math/matrixarithmetic.h>
#include <zelk_core/math/matrixmake.h>

namespace Z4 {

namespace Private {

/// A full matrix taken for a 2x2 matrix of 2x2 blocks: `a` and `b` side by side above `c` and `d`, each block a row
/// with its elements in reading order. The inverse is that of E. Zhang, Fast 4x4 Matrix Inverse with SSE SIMD,
/// Explained, 2017. Below, |A| is the determinant of a block and A# its adjugate.
template <Matrix M>
struct MatrixBlocks {
    using Row = MatrixRowOf<M>;
    using Block = typename M::RowType;
    using Number = typename Row::Number;

    constexpr explicit MatrixBlocks(const M& m)
        : a(Row::template Shuffle<0, 1, 0, 1>(m.Row(0), m.Row(1))),
          b(Row::template Shuffle<2, 3, 2, 3>(m.Row(0), m.Row(1))),
          c(Row::template Shuffle<0, 1, 0, 1>(m.Row(2), m.Row(3))),
          d(Row::template Shuffle<2, 3, 2, 3>(m.Row(2), m.Row(3))),
          ab(AdjugateTimes(a, b)),
          dc(AdjugateTimes(d, c)) {
        const Block evenTimesOdd = Row::template Shuffle<0, 2, 0, 2>(m.Row(0), m.Row(2)) *
                                   Row::template Shuffle<1, 3, 1, 3>(m.Row(1), m.Row(3));
        const Block oddTimesEven = Row::template Shuffle<1, 3, 1, 3>(m.Row(0), m.Row(2)) *
                                   Row::template Shuffle<0, 2, 0, 2>(m.Row(1), m.Row(3));
        const Block determinants = evenTimesOdd - oddTimesEven;
        detA = Row::template Component<0>(determinants);
        detB = Row::template Component<1>(determinants);
        detC = Row::template Component<2>(determinants);
        detD = Row::template Component<3>(determinants);
    }

    /// |A| |D| + |B| |C| - trace(A# B D# C)
    constexpr Number Determinant() const {
        return (detA * detD + detB * detC) - Row::SumOfRow(ab * Permute<0, 2, 1, 3>(dc));
    }

    /// `scale` is the reciprocal of the determinant.
    constexpr M Inverse(const Number& scale) const {
        const Block signs = Row::FromElements(1, -1, -1, 1) * scale;
        const Block x = (a * detD - Times(b, dc)) * signs;
        const Block y = (c * detB - TimesAdjugate(d, ab)) * signs;
        const Block z = (b * detC - TimesAdjugate(a, dc)) * signs;
        const Block w = (d * detA - Times(c, ab)) * signs;
        // The blocks of the inverse are the adjugates: their signs are right, their elements lie the other way round.
        return M(Row::template Shuffle<3, 1, 3, 1>(x, y), Row::template Shuffle<2, 0, 2, 0>(x, y),
                 Row::template Shuffle<3, 1, 3, 1>(z, w), Row::template Shuffle<2, 0, 2, 0>(z, w));
    }

    template <int X, int Y, int Z, int W>
    static constexpr Block Permute(const Block& p) {
        return Row::template Shuffle<X, Y, Z, W>(p, p);
    }
    static constexpr Block Times(const Block& p, const Block& q) {
        return p * Permute<0, 3, 0, 3>(q) + Permute<1, 0, 3, 2>(p) * Permute<2, 1, 2, 1>(q);
    }
    /// P# Q
    static constexpr Block AdjugateTimes(const Block& p, const Block& q) {
        return Permute<3, 3, 0, 0>(p) * q - Permute<1, 1, 2, 2>(p) * Permute<2, 3, 0, 1>(q);
    }
    /// P Q#
    static constexpr Block TimesAdjugate(const Block& p, const Block& q) {
        return p * Permute<3, 0, 3, 0>(q) - Permute<1, 0, 3, 2>(p) * Permute<2, 1, 2, 1>(q);
    }

    Block a, b, c, d;
    Block ab; ///< A# B
    Block dc; ///< D# C
    Number detA, detB, detC, detD;
};

} // namespace Private

/// The determinant; of an affine matrix that of its linear part. A SIMD matrix gives it in all four lanes of a vector.
template <Matrix M>
[[nodiscard]] constexpr typename Private::MatrixRowOf<M>::Number Determinant(const M& m) {
    using Row = Private::MatrixRowOf<M>;
    if constexpr (M::COLUMNS == 2) {
        return Cross(m.Row(0), m.Row(1));
    } else if constexpr (M::COLUMNS == 3) {
        const auto cross = Row::Cross(Row::AxisOf(m.Row(1)), Row::AxisOf(m.Row(2)));
        return Row::SumOfAxis(Row::AxisOf(m.Row(0)) * cross);
    } else {
        return Private::MatrixBlocks<M>(m).Determinant();
    }
}

/// The inverse of a linear or affine matrix. A full matrix is taken for affine: its w column is not read, and that of
/// the result is (0, 0, 0, 1).
/// @return the zero matrix where 1 / determinant of the linear part is not a finite number other than 0: where the
/// determinant is 0, infinite, NaN, or so small that its reciprocal is infinite.
template <SpaceMatrix M>
[[nodiscard]] constexpr M InverseAffine(const M& m) {
    using Row = Private::MatrixRowOf<M>;
    const auto x = Row::AxisOf(m.Row(0));
    const auto y = Row::AxisOf(m.Row(1));
    const auto z = Row::AxisOf(m.Row(2));
    const auto yz = Row::Cross(y, z);
    auto scale = Row::NumberOf(0);
    if (!Row::Reciprocal(Row::SumOfAxis(x * yz), scale)) {
        return Private::MakeZero<M>();
    }
    // The cross products are the columns of the inverse.
    M columns;
    columns.Row(0) = Row::FromAxis(yz * scale);
    columns.Row(1) = Row::FromAxis(Row::Cross(z, x) * scale);
    columns.Row(2) = Row::FromAxis(Row::Cross(x, y) * scale);
    if constexpr (M::COLUMNS == 4) {
        columns.Row(3) = Row::FromElements(0, 0, 0, 0);
    }
    M inverse = Row::Transpose(columns);
    if constexpr (M::ROWS == 4) {
        const auto moved = Private::SumRows(Row::template Component<0>(m.Row(3)), Row::template Component<1>(m.Row(3)),
                                            Row::template Component<2>(m.Row(3)), inverse);
        inverse.Row(3) = Row::FromAxis(Row::AxisOf(-moved), Row::NumberOf(M::COLUMNS == 4 ? 1 : 0));
    }
    return inverse;
}

/// The inverse of any matrix. Of a full one all elements count, so that projecting matrices have theirs, too; of a
/// linear or affine one it is InverseAffine().
/// @return the zero matrix where the determinant is 0, infinite, NaN, or so small that its reciprocal is infinite.
template <Matrix M>
[[nodiscard]] constexpr M Inverse(const M& m) {
    using Row = Private::MatrixRowOf<M>;
    if constexpr (M::COLUMNS == 3) {
        return InverseAffine(m);
    } else {
        auto scale = Row::NumberOf(0);
        if constexpr (M::COLUMNS == 2) {
            using R = typename M::RowType;
            if (!Row::Reciprocal(Determinant(m), scale)) {
                return Private::MakeZero<M>();
            }
            return M(R(m.Row(1)[1], -m.Row(0)[1]) * scale, R(-m.Row(1)[0], m.Row(0)[0]) * scale);
        } else {
            const Private::MatrixBlocks<M> blocks(m);
            if (!Row::Reciprocal(blocks.Determinant(), scale)) {
                return Private::MakeZero<M>();
            }
            return blocks.Inverse(scale);
        }
    }
}

} // namespace Z4
