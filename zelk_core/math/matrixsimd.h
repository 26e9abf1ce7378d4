/// @file
/// MatrixSIMD33f, MatrixSIMD34f and MatrixSIMD44f: transforms whose rows are SIMD vectors. matrixgeneric.h gives what
/// can be done with them; this header adds how they transform SIMD vectors. matrixarithmetic.h explains the rows.
///
/// The w lanes of a MatrixSIMD33f and a MatrixSIMD34f are 0, and all operations keep them so, as long as they get
/// matrices whose w lanes are 0.
///
/// Objects are aligned to 16 bytes, as vectorsimd.h says of vectors. They are plain values: different threads may read
/// one at a time, and who writes must be alone. The constants are static data, so they can be read before, and in, any
/// static initialiser.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/math/matrixgeneric.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4 {

namespace Private {

/// Numbers are repeated in all lanes, so that rows are multiplied by them without leaving the registers.
template <>
struct MatrixRow<VectorSIMD4f> {
    using Number = VectorSIMD4f;
    using Axis = VectorSIMD4f;

    static Number NumberOf(float element) { return VectorSIMD4f::Broadcast(element); }
    template <unsigned INDEX>
    static Number Component(const VectorSIMD4f& row) {
        return VectorSIMD4f(Lanes::Shuffle<INDEX, INDEX, INDEX, INDEX>(row.Native()));
    }
    static const Axis& AxisOf(const VectorSIMD4f& row) { return row; }
    static Number SumOfAxis(const Axis& axis) { return (axis.BroadcastX() + axis.BroadcastY()) + axis.BroadcastZ(); }
    static Number SumOfRow(const VectorSIMD4f& row) {
        const VectorSIMD4f pairs = row + Shuffle<1, 0, 3, 2>(row, row);
        return pairs + Shuffle<2, 3, 0, 1>(pairs, pairs);
    }
    template <int X, int Y, int Z, int W>
    static VectorSIMD4f Shuffle(const VectorSIMD4f& a, const VectorSIMD4f& b) {
        return VectorSIMD4f(Lanes::Shuffle<X, Y, Z, W>(a.Native(), b.Native()));
    }
    static Axis Cross(const Axis& a, const Axis& b) { return Cross3(a, b); }
    static bool Reciprocal(const Number& number, Number& result) {
        result = NumberOf(1) / number;
        return AllTrue(Less(result * number, NumberOf(2)));
    }

    static constexpr VectorSIMD4f FromElements(float x, float y, float z, float w) { return VectorSIMD4f(x, y, z, w); }
    static const VectorSIMD4f& FromAxis(const Axis& axis) { return axis; }
    static VectorSIMD4f FromAxis(const Axis& axis, const Number& w) {
        const __m128 zw = Lanes::InterleaveHigh(axis.Native(), w.Native());
        return VectorSIMD4f(Lanes::Shuffle<0, 1, 0, 1>(axis.Native(), zw));
    }

    template <class M>
    static M Transpose(const M& m) {
        __m128 x = m.Row(0).Native();
        __m128 y = m.Row(1).Native();
        __m128 z = m.Row(2).Native();
        __m128 w = Lanes::Repeat(0.0F);
        if constexpr (M::COLUMNS == 4) {
            w = m.Row(3).Native();
        }
        Lanes::Transpose(x, y, z, w);
        M result;
        result.Row(0) = VectorSIMD4f(x);
        result.Row(1) = VectorSIMD4f(y);
        result.Row(2) = VectorSIMD4f(z);
        if constexpr (M::COLUMNS == 4) {
            result.Row(3) = VectorSIMD4f(w);
        }
        return result;
    }
};

} // namespace Private

/// Linear: the images of the axes x, y and z, each a row whose w lane is 0. A plain value, as all matrices here:
/// different threads may read one at a time, and who writes must be alone.
class MatrixSIMD33f : public HostNew<MatrixSIMD33f>, public MatrixGeneric<VectorSIMD4f, 3, 3> {
public:
    using MatrixGeneric::MatrixGeneric;
    MatrixSIMD33f() = default;

    Z4_API static const MatrixSIMD33f IDENTITY;
    Z4_API static const MatrixSIMD33f ZERO;
};

/// Affine: the images of the axes and the translation, four rows. Row 3 of its IDENTITY is 0 in all lanes. A plain
/// value.
class MatrixSIMD34f : public HostNew<MatrixSIMD34f>, public MatrixGeneric<VectorSIMD4f, 4, 3> {
public:
    using MatrixGeneric::MatrixGeneric;
    MatrixSIMD34f() = default;

    Z4_API static const MatrixSIMD34f IDENTITY;
    Z4_API static const MatrixSIMD34f ZERO;
};

/// Full homogeneous: it is affine where the w lanes of its rows are 0, 0, 0, 1. A plain value.
class MatrixSIMD44f : public HostNew<MatrixSIMD44f>, public MatrixGeneric<VectorSIMD4f, 4, 4> {
public:
    using MatrixGeneric::MatrixGeneric;
    MatrixSIMD44f() = default;

    Z4_API static const MatrixSIMD44f IDENTITY;
    Z4_API static const MatrixSIMD44f ZERO;
};

/// The direction `d` transformed: (z row 2 + y row 1) + x row 0, in all four lanes. The translation and the w lane of
/// `d` do not count.
template <class V, unsigned N, SpaceMatrix M>
requires(std::same_as<typename M::RowType, VectorSIMD4f>) [[nodiscard]] V
    TransformDirection(const VectorSIMD<V, N>& d, const M& m) {
    const VectorSIMD4f lanes(d.Native());
    return V(Private::SumRows(lanes.BroadcastX(), lanes.BroadcastY(), lanes.BroadcastZ(), m).Native());
}

/// The point `p` transformed, as if its w were 1: ((z row 2 + row 3) + y row 1) + x row 0, in all four lanes. A linear
/// matrix, which has no row 3, transforms it as a direction. A projecting matrix gives a w to divide by; this is not
/// done.
template <class V, unsigned N, SpaceMatrix M>
requires(std::same_as<typename M::RowType, VectorSIMD4f>) [[nodiscard]] V
    TransformPoint(const VectorSIMD<V, N>& p, const M& m) {
    if constexpr (M::ROWS == 4) {
        const VectorSIMD4f lanes(p.Native());
        return V(Private::SumRows(lanes.BroadcastX(), lanes.BroadcastY(), lanes.BroadcastZ(), m.Row(3), m).Native());
    } else {
        return TransformDirection(p, m);
    }
}

} // namespace Z4
