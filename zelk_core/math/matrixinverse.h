/// @file
/// Determinants and inverses of all matrices.
#pragma once

#include <zelk_core/math/matrixarithmetic.h>
#include <zelk_core/math/matrixmake.h>

namespace Z4 {

namespace Private {

/// The parts of the determinant and the inverse of a full matrix, by the names of E. Lengyel, Foundations of Game
/// Engine Development 1: Mathematics, 2016, chapter 1 ("matrix inverses"), where they are those of columns: a to d are
/// the axes of rows 0 to 3 and x to w their last components; s = a x b, t = c x d, u = a y - b x, v = c w - d z.
template <Matrix M>
struct InverseParts {
    using Row = MatrixRowOf<M>;
    using Axis = typename Row::Axis;
    using Number = typename Row::Number;

    constexpr explicit InverseParts(const M& m)
        : a(Row::AxisOf(m.Row(0))),
          b(Row::AxisOf(m.Row(1))),
          c(Row::AxisOf(m.Row(2))),
          d(Row::AxisOf(m.Row(3))),
          x(Row::template Component<3>(m.Row(0))),
          y(Row::template Component<3>(m.Row(1))),
          z(Row::template Component<3>(m.Row(2))),
          w(Row::template Component<3>(m.Row(3))),
          s(Row::Cross(a, b)),
          t(Row::Cross(c, d)),
          u(a * y - b * x),
          v(c * w - d * z) {}

    constexpr Number Determinant() const { return Row::SumOfAxis(s * v + t * u); }

    Axis a, b, c, d;
    Number x, y, z, w;
    Axis s, t, u, v;
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
        return Private::InverseParts<M>(m).Determinant();
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
            const Private::InverseParts<M> part(m);
            if (!Row::Reciprocal(part.Determinant(), scale)) {
                return Private::MakeZero<M>();
            }
            const auto s = part.s * scale;
            const auto t = part.t * scale;
            const auto u = part.u * scale;
            const auto v = part.v * scale;
            using R = typename M::RowType;
            const R columns[4] = {
                Row::FromAxis(Row::Cross(part.b, v) + t * part.y), Row::FromAxis(Row::Cross(v, part.a) - t * part.x),
                Row::FromAxis(Row::Cross(part.d, u) + s * part.w), Row::FromAxis(Row::Cross(u, part.c) - s * part.z)};
            M inverse = Row::Transpose(M(columns[0], columns[1], columns[2], columns[3]));
            inverse.Row(3) = Row::InverseTranslation(part.a, part.b, part.c, part.d, s, t);
            return inverse;
        }
    }
}

} // namespace Z4
