/// @file
/// MatrixGeneric, the rows of a matrix, and the operations of all eleven matrices; matrix.h and matrixsimd.h have the
/// classes.
///
/// A point is a row vector on the left of its matrix: p' = p M. So rows 0, 1 and 2 are the images of the x, y and z
/// axes, the fourth row of an affine matrix is its translation, and `a * b` transforms by `a` first. A MatrixSIMD44f
/// and a Matrix44f give the same bits, for both add in the same order.
#pragma once

#include <zelk_core/base/assert.h>
#include <zelk_core/math/vectorgeneric.h>

#include <cmath>
#include <concepts>
#include <utility>

namespace Z4 {

/// `ROWS` vectors of the class `R` one after another and nothing else. `COLUMNS` counts the columns that a matrix has
/// in mathematics: the fourth lane of a SIMD row is beyond them in a matrix of three.
template <class R, unsigned ROW_COUNT, unsigned COLUMN_COUNT>
class MatrixGeneric {
public:
    using RowType = R;
    using Element = typename R::Element;
    static constexpr unsigned ROWS = ROW_COUNT;
    static constexpr unsigned COLUMNS = COLUMN_COUNT;

    /// Leaves the elements unset.
    MatrixGeneric() = default;
    template <std::same_as<R>... Rest>
    requires(sizeof...(Rest) + 1 == ROWS) constexpr MatrixGeneric(const R& first, const Rest&... rest)
        : m_rows{first, rest...} {}

    /// Row `index`, which must be below `ROWS`.
    constexpr const R& Row(unsigned long index) const {
        Z4_ASSERT(index < ROWS, "The index of a row is below their number.");
        return m_rows[index];
    }
    constexpr R& Row(unsigned long index) {
        Z4_ASSERT(index < ROWS, "The index of a row is below their number.");
        return m_rows[index];
    }

private:
    R m_rows[ROWS];
};

/// A MatrixGeneric or one of the classes of matrix.h and matrixsimd.h.
template <class M>
concept Matrix = std::is_base_of_v<MatrixGeneric<typename M::RowType, M::ROWS, M::COLUMNS>, M>;

/// A matrix with as many rows as columns; the others are the affine ones of four rows and three columns.
template <class M>
concept SquareMatrix = Matrix<M> && M::ROWS == M::COLUMNS;

/// A matrix that acts on points of space.
template <class M>
concept SpaceMatrix = Matrix<M> && M::COLUMNS >= 3;

namespace Private {

/// How rows of one class are taken apart and put together: here a plain vector, in matrixsimd.h a SIMD one. A `Scalar`
/// is a number in the form in which rows are multiplied by it, an `Axis` a vector of which x, y and z count.
template <class R>
struct RowTraits {
    using Scalar = typename R::Element;
    using Axis = VectorGeneric<Scalar, 3>;

    static constexpr Scalar Zero() { return 0; }
    static constexpr Scalar One() { return 1; }
    template <unsigned INDEX>
    static constexpr Scalar Lane(const R& row) {
        return row[INDEX];
    }
    static constexpr Axis AxisOf(const R& row) { return Axis(row); }
    static constexpr Scalar Sum(const Axis& axis) { return (axis[0] + axis[1]) + axis[2]; }
    static constexpr Axis Cross(const Axis& a, const Axis& b) { return Z4::Cross(a, b); }
    /// (-(b t), a t, -(d s), c s).
    static constexpr R Dots(const Axis& a, const Axis& b, const Axis& c, const Axis& d, const Axis& s, const Axis& t) {
        return R(-Z4::Dot(b, t), Z4::Dot(a, t), -Z4::Dot(d, s), Z4::Dot(c, s));
    }
    static constexpr bool IsFinitePositive(Scalar value) {
        return value > 0 && value <= std::numeric_limits<Scalar>::max();
    }
    static constexpr Scalar Absolute(Scalar value) { return value < 0 ? -value : value; }

    /// A row of these components, as far as it has them.
    static constexpr R Make(Scalar x, Scalar y, Scalar z, Scalar w) {
        if constexpr (R::SIZE == 2) {
            return R(x, y);
        } else if constexpr (R::SIZE == 3) {
            return R(x, y, z);
        } else {
            return R(x, y, z, w);
        }
    }
    /// `w` is any number in the first.
    static constexpr R Extend(const Axis& axis) { return Extend(axis, 0); }
    static constexpr R Extend(const Axis& axis, Scalar w) { return Make(axis[0], axis[1], axis[2], w); }

    /// Of an affine matrix the linear part, with the translation unset.
    template <class M>
    static constexpr M Transpose(const M& m) {
        M result;
        for (unsigned i = 0; i < M::COLUMNS; ++i) {
            for (unsigned j = 0; j < M::COLUMNS; ++j) {
                result.Row(i)[j] = m.Row(j)[i];
            }
        }
        return result;
    }
};

template <Matrix M>
using TraitsOf = RowTraits<typename M::RowType>;

/// The one order in which rows are added up, whatever the matrix: from the translation, if there is one, to row 0.
template <Matrix M>
constexpr typename M::RowType SumRows(const typename TraitsOf<M>::Scalar& x, const typename TraitsOf<M>::Scalar& y,
                                      const typename TraitsOf<M>::Scalar& z, const M& m) {
    return (z * m.Row(2) + y * m.Row(1)) + x * m.Row(0);
}
template <Matrix M>
constexpr typename M::RowType SumRows(const typename TraitsOf<M>::Scalar& x, const typename TraitsOf<M>::Scalar& y,
                                      const typename TraitsOf<M>::Scalar& z, const typename M::RowType& translation,
                                      const M& m) {
    return ((z * m.Row(2) + translation) + y * m.Row(1)) + x * m.Row(0);
}

/// `row` m, of the rows of a matrix that is multiplied by `m`.
template <Matrix M>
constexpr typename M::RowType TransformRow(const typename M::RowType& row, const M& m) {
    using Traits = TraitsOf<M>;
    if constexpr (M::COLUMNS == 2) {
        return Traits::template Lane<1>(row) * m.Row(1) + Traits::template Lane<0>(row) * m.Row(0);
    } else {
        const auto x = Traits::template Lane<0>(row);
        const auto y = Traits::template Lane<1>(row);
        const auto z = Traits::template Lane<2>(row);
        if constexpr (M::COLUMNS == 3) {
            return SumRows(x, y, z, m);
        } else {
            return SumRows(x, y, z, Traits::template Lane<3>(row) * m.Row(3), m);
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
        result.Row(i) = TraitsOf<M>::Make(row[0], row[1], row[2], row[3]);
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

/// 1 / `determinant`, when that is a finite number and not 0.
template <class Traits>
constexpr bool Reciprocal(const typename Traits::Scalar& determinant, typename Traits::Scalar& result) {
    result = Traits::One() / determinant;
    return Traits::IsFinitePositive(Traits::Absolute(result));
}

/// The parts that the determinant and the inverse of a full matrix are made of, after E. Lengyel, Foundations of Game
/// Engine Development 1: Mathematics, 2016, chapter 1 ("matrix inverses"), there for columns.
template <class M>
struct FullMinors {
    using Traits = TraitsOf<M>;
    using Axis = typename Traits::Axis;
    using Scalar = typename Traits::Scalar;

    constexpr explicit FullMinors(const M& m)
        : a(Traits::AxisOf(m.Row(0))),
          b(Traits::AxisOf(m.Row(1))),
          c(Traits::AxisOf(m.Row(2))),
          d(Traits::AxisOf(m.Row(3))),
          x(Traits::template Lane<3>(m.Row(0))),
          y(Traits::template Lane<3>(m.Row(1))),
          z(Traits::template Lane<3>(m.Row(2))),
          w(Traits::template Lane<3>(m.Row(3))),
          s(Traits::Cross(a, b)),
          t(Traits::Cross(c, d)),
          u(a * y - b * x),
          v(c * w - d * z) {}

    constexpr Scalar Determinant() const { return Traits::Sum(s * v + t * u); }

    Axis a, b, c, d;
    Scalar x, y, z, w;
    Axis s, t, u, v;
};

/// Rows of the rotation by `angle` about (x, y, z), after O. Rodrigues. In double precision whatever the matrix, for a
/// matrix is built once and used often.
inline void FillRotation(double x, double y, double z, double angle, double (&rows)[3][3]) {
    const double length = SquareRoot((x * x + y * y) + z * z);
    if (!(length > 0 && length <= std::numeric_limits<double>::max())) {
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

/// Whether all elements are equal, of SIMD rows all four lanes; a NaN never is.
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

/// The transform by `a` and then by `b`; of affine matrices an affine one.
template <Matrix M>
constexpr M operator*(const M& a, const M& b) {
    return Private::MapRows(a, [&b](const auto& row, [[maybe_unused]] unsigned i) {
        if constexpr (M::ROWS > M::COLUMNS) {
            using Traits = Private::TraitsOf<M>;
            if (i == M::COLUMNS) {
                return Private::SumRows(Traits::template Lane<0>(row), Traits::template Lane<1>(row),
                                        Traits::template Lane<2>(row), b.Row(i), b);
            }
        }
        return Private::TransformRow(row, b);
    });
}
template <Matrix M>
constexpr M& operator*=(M& a, const M& b) {
    return a = a * b;
}

/// The row vector `v` times a square matrix, all components of both: ((z row 2 + w row 3) + y row 1) + x row 0.
template <SquareMatrix M>
constexpr typename M::RowType operator*(const typename M::RowType& v, const M& m) {
    return Private::TransformRow(v, m);
}

/// The direction `d` transformed, without the translation: (z row 2 + y row 1) + x row 0.
template <PlainVector V, SpaceMatrix M>
requires(V::SIZE == 3 && std::is_same_v<typename V::Element, typename M::RowType::Element>) [[nodiscard]] constexpr V
    TransformDirection(const V& d, const M& m) {
    const auto sum = Private::SumRows(d[0], d[1], d[2], m);
    return V(sum[0], sum[1], sum[2]);
}

/// The point `p` transformed, its w taken for 1: ((z row 2 + row 3) + y row 1) + x row 0, in this order; by a linear
/// matrix as a direction. There is no division by the w that a projecting matrix gives.
template <PlainVector V, SpaceMatrix M>
requires(V::SIZE == 3 && std::is_same_v<typename V::Element, typename M::RowType::Element>) [[nodiscard]] constexpr V
    TransformPoint(const V& p, const M& m) {
    if constexpr (M::ROWS == 4) {
        const auto sum = Private::SumRows(p[0], p[1], p[2], m.Row(3), m);
        return V(sum[0], sum[1], sum[2]);
    } else {
        return TransformDirection(p, m);
    }
}

template <SquareMatrix M>
[[nodiscard]] constexpr M Transpose(const M& m) {
    return Private::TraitsOf<M>::Transpose(m);
}

/// Of an affine matrix the determinant of its linear part. Of SIMD matrices in all four lanes.
template <Matrix M>
[[nodiscard]] constexpr typename Private::TraitsOf<M>::Scalar Determinant(const M& m) {
    using Traits = Private::TraitsOf<M>;
    if constexpr (M::COLUMNS == 2) {
        return Cross(m.Row(0), m.Row(1));
    } else if constexpr (M::COLUMNS == 3) {
        const auto cross = Traits::Cross(Traits::AxisOf(m.Row(1)), Traits::AxisOf(m.Row(2)));
        return Traits::Sum(Traits::AxisOf(m.Row(0)) * cross);
    } else {
        return Private::FullMinors<M>(m).Determinant();
    }
}

/// The inverse of a linear or affine matrix; of a Matrix44f and its kin the w column is taken for (0, 0, 0, 1).
/// @return the zero matrix where the determinant of the linear part is 0, infinite or NaN, or so small that its
/// reciprocal is infinite.
template <SpaceMatrix M>
[[nodiscard]] constexpr M InverseAffine(const M& m) {
    using Traits = Private::TraitsOf<M>;
    const auto x = Traits::AxisOf(m.Row(0));
    const auto y = Traits::AxisOf(m.Row(1));
    const auto z = Traits::AxisOf(m.Row(2));
    const auto yz = Traits::Cross(y, z);
    auto scale = Traits::Zero();
    if (!Private::Reciprocal<Traits>(Traits::Sum(x * yz), scale)) {
        return Private::MakeZero<M>();
    }
    // The cross products are the columns of the inverse.
    const auto zero = Traits::Zero();
    M columns;
    columns.Row(0) = Traits::Extend(yz * scale);
    columns.Row(1) = Traits::Extend(Traits::Cross(z, x) * scale);
    columns.Row(2) = Traits::Extend(Traits::Cross(x, y) * scale);
    if constexpr (M::COLUMNS == 4) {
        columns.Row(3) = Traits::Make(0, 0, 0, 0);
    }
    M inverse = Traits::Transpose(columns);
    if constexpr (M::ROWS == 4) {
        const auto moved = Private::SumRows(Traits::template Lane<0>(m.Row(3)), Traits::template Lane<1>(m.Row(3)),
                                            Traits::template Lane<2>(m.Row(3)), inverse);
        inverse.Row(3) = Traits::Extend(Traits::AxisOf(-moved), M::COLUMNS == 4 ? Traits::One() : zero);
    }
    return inverse;
}

/// The inverse of any matrix, without assumptions about its w column; of a linear or affine one InverseAffine().
/// @return the zero matrix where the determinant is 0, infinite or NaN, or so small that its reciprocal is infinite.
template <Matrix M>
[[nodiscard]] constexpr M Inverse(const M& m) {
    using Traits = Private::TraitsOf<M>;
    if constexpr (M::COLUMNS == 3) {
        return InverseAffine(m);
    } else {
        auto scale = Traits::Zero();
        if constexpr (M::COLUMNS == 2) {
            using R = typename M::RowType;
            if (!Private::Reciprocal<Traits>(Determinant(m), scale)) {
                return Private::MakeZero<M>();
            }
            return M(R(m.Row(1)[1], -m.Row(0)[1]) * scale, R(-m.Row(1)[0], m.Row(0)[0]) * scale);
        } else {
            const Private::FullMinors<M> part(m);
            if (!Private::Reciprocal<Traits>(part.Determinant(), scale)) {
                return Private::MakeZero<M>();
            }
            const auto s = part.s * scale;
            const auto t = part.t * scale;
            const auto u = part.u * scale;
            const auto v = part.v * scale;
            using R = typename M::RowType;
            const R columns[4] = {Traits::Extend(Traits::Cross(part.b, v) + t * part.y),
                                  Traits::Extend(Traits::Cross(v, part.a) - t * part.x),
                                  Traits::Extend(Traits::Cross(part.d, u) + s * part.w),
                                  Traits::Extend(Traits::Cross(u, part.c) - s * part.z)};
            M inverse = Traits::Transpose(M(columns[0], columns[1], columns[2], columns[3]));
            inverse.Row(3) = Traits::Dots(part.a, part.b, part.c, part.d, s, t);
            return inverse;
        }
    }
}

/// A matrix of another shape or element type, as in `ConvertMatrix<MatrixSIMD44f>(m)`: what both have is copied,
/// elements rounded, and what only the result has is that of the identity.
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
        result.Row(i) = Private::TraitsOf<To>::Make(element(i, 0), element(i, 1), z, w);
    }
    return result;
}

/// The rotation by `angle` radians about `axis`, a plain or SIMD vector of which x, y and z count, as in
/// `MakeRotation<Matrix34f>(Vector3f::BASE_K, angle)`: counter-clockwise where the axis points at the beholder. The
/// axis may have any length; one without a direction (zero, infinite or NaN) gives the identity. Accurate to about one
/// unit in the last place of a float; sine and cosine are the platform's.
template <SpaceMatrix M, class V>
[[nodiscard]] M MakeRotation(const V& axis, double angle) {
    using Element = typename M::Element;
    double rows[3][3];
    Private::FillRotation(axis[0], axis[1], axis[2], angle, rows);
    M result = Private::MakeIdentity<M>();
    for (unsigned i = 0; i < 3; ++i) {
        result.Row(i) = Private::TraitsOf<M>::Make(static_cast<Element>(rows[i][0]), static_cast<Element>(rows[i][1]),
                                                   static_cast<Element>(rows[i][2]), 0);
    }
    return result;
}
/// The rotation of the plane by `angle` radians, counter-clockwise.
template <Matrix M>
requires(M::COLUMNS == 2) [[nodiscard]] M MakeRotation(double angle) {
    using Element = typename M::Element;
    const auto sine = static_cast<Element>(std::sin(angle));
    const auto cosine = static_cast<Element>(std::cos(angle));
    return M(typename M::RowType(cosine, sine), typename M::RowType(-sine, cosine));
}

/// The translation by x, y and z of a plain or SIMD vector.
template <SpaceMatrix M, class V>
requires(M::ROWS == 4) [[nodiscard]] constexpr M MakeTranslation(const V& translation) {
    M result = Private::MakeIdentity<M>();
    result.Row(3) =
        Private::TraitsOf<M>::Make(translation[0], translation[1], translation[2], M::COLUMNS == 4 ? 1.0F : 0.0F);
    return result;
}

/// The scaling along the axes by the components of a plain or SIMD vector.
template <Matrix M, class V>
[[nodiscard]] constexpr M MakeScale(const V& scale) {
    if constexpr (M::COLUMNS == 2) {
        return Private::MakeDiagonal<M>(scale[0], scale[1], 0, 0);
    } else {
        return Private::MakeDiagonal<M>(scale[0], scale[1], scale[2], 1);
    }
}

} // namespace Z4
