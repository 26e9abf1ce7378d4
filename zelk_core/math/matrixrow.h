/// @file
/// MatrixRow: how the rows of a matrix are taken apart and put together, here those that are plain vectors.
/// matrixsimd.h has the same for SIMD rows, and the operations of matrices are written once over both.
#pragma once

#include <zelk_core/math/matrixshape.h>
#include <zelk_core/math/vectorgeneric.h>

namespace Z4::Private {

/// A *number* is what a row is multiplied by: an element, or for SIMD rows a vector with that element in all lanes. An
/// *axis* is a vector of which x, y and z count.
template <class R>
struct MatrixRow {
    using Number = typename R::Element;
    using Axis = VectorGeneric<Number, 3>;

    static constexpr Number NumberOf(typename R::Element element) { return element; }
    template <unsigned INDEX>
    static constexpr Number Component(const R& row) {
        return row[INDEX];
    }
    static constexpr Axis AxisOf(const R& row) { return Axis(row); }
    /// (x + y) + z, always in this order.
    static constexpr Number SumOfAxis(const Axis& axis) { return (axis[0] + axis[1]) + axis[2]; }
    /// (x + y) + (z + w), always in this order.
    static constexpr Number SumOfRow(const R& row) { return (row[0] + row[1]) + (row[2] + row[3]); }
    /// The elements X and Y of `a` and Z and W of `b`.
    template <int X, int Y, int Z, int W>
    static constexpr R Shuffle(const R& a, const R& b) {
        return R(a[X], a[Y], b[Z], b[W]);
    }
    static constexpr Axis Cross(const Axis& a, const Axis& b) { return Z4::Cross(a, b); }
    /// 1 / `number`.
    /// @return whether that is a finite number other than 0.
    static constexpr bool Reciprocal(Number number, Number& result) {
        result = 1 / number;
        return result * number < 2; // about 1, or else infinite or NaN
    }

    /// As many of these components as a row has.
    static constexpr R FromElements(Number x, Number y, Number z, Number w) {
        if constexpr (R::SIZE == 2) {
            return R(x, y);
        } else if constexpr (R::SIZE == 3) {
            return R(x, y, z);
        } else {
            return R(x, y, z, w);
        }
    }
    static constexpr R FromAxis(const Axis& axis, Number w) { return FromElements(axis[0], axis[1], axis[2], w); }
    /// Where w does not count: it is any number.
    static constexpr R FromAxis(const Axis& axis) { return FromAxis(axis, 0); }
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
using MatrixRowOf = MatrixRow<typename M::RowType>;

} // namespace Z4::Private
