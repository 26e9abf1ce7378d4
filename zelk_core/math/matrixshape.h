/// @file
/// MatrixGeneric: what every matrix is, a few rows. matrix.h and matrixsimd.h have the classes.
#pragma once

#include <zelk_core/base/assert.h>
#include <zelk_core/math/vectorshape.h>

#include <concepts>

namespace Z4 {

/// A matrix: `ROW_COUNT` vectors of the class `R` one after another and nothing else. It is a plain value: different
/// threads may read one at a time, and who writes must be alone. `COLUMN_COUNT` is how many columns the matrix has in
/// mathematics; a SIMD row of a matrix of three columns has a fourth lane beyond them.
template <class R, unsigned ROW_COUNT, unsigned COLUMN_COUNT>
class MatrixGeneric {
public:
    using RowType = R;
    using Element = typename R::Element;
    static constexpr unsigned ROWS = ROW_COUNT;
    static constexpr unsigned COLUMNS = COLUMN_COUNT;

    /// Leaves the elements unset: reading one before it is written is an error.
    MatrixGeneric() = default;
    /// Takes all rows, from the first to the last.
    template <std::same_as<R>... Rest>
    requires(sizeof...(Rest) + 1 == ROWS) constexpr MatrixGeneric(const R& first, const Rest&... rest)
        : m_rows{first, rest...} {}

    /// Row `index`, which must be below `ROWS`; another index reads or writes beyond the matrix.
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

/// A plain vector that a matrix of plain vectors transforms: of three components, of the same element type.
template <class V, class M>
concept SpaceVectorOf = PlainVector<V> && SpaceMatrix<M> && PlainVector<typename M::RowType> && V::SIZE == 3 &&
                        std::same_as<typename V::Element, typename M::Element>;

} // namespace Z4
