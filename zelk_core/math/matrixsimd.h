/// @file
/// MatrixSIMD33f, MatrixSIMD34f and MatrixSIMD44f: transforms whose rows are SIMD vectors. What can be done with them
/// stands in matrixgeneric.h, and the row convention too; points and directions are SIMD vectors.
///
/// The w lanes of a MatrixSIMD33f and a MatrixSIMD34f are 0, and all operations but sums with other lanes keep them so.
///
/// The constants are static data: they can be read before, and in, any static initialiser. Any thread.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/math/matrixgeneric.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4 {

namespace Private {

/// Numbers are repeated in all lanes, so that rows are multiplied by them without leaving the registers.
template <>
struct RowTraits<VectorSIMD4f> {
    using Scalar = VectorSIMD4f;
    using Axis = VectorSIMD4f;

    static Scalar Zero() { return VectorSIMD4f(_mm_setzero_ps()); }
    static Scalar One() { return VectorSIMD4f::Broadcast(1.0F); }
    template <unsigned INDEX>
    static Scalar Lane(const VectorSIMD4f& row) {
        return VectorSIMD4f(_mm_shuffle_ps(row.Native(), row.Native(), _MM_SHUFFLE(INDEX, INDEX, INDEX, INDEX)));
    }
    static const Axis& AxisOf(const VectorSIMD4f& row) { return row; }
    static Scalar Sum(const Axis& axis) { return (axis.BroadcastX() + axis.BroadcastY()) + axis.BroadcastZ(); }
    static Axis Cross(const Axis& a, const Axis& b) { return Cross3(a, b); }
    static VectorSIMD4f Dots(const Axis& a, const Axis& b, const Axis& c, const Axis& d, const Axis& s, const Axis& t) {
        __m128 x = (b * t).Native();
        __m128 y = (a * t).Native();
        __m128 z = (d * s).Native();
        __m128 w = (c * s).Native();
        _MM_TRANSPOSE4_PS(x, y, z, w);
        return VectorSIMD4f(_mm_xor_ps(_mm_add_ps(_mm_add_ps(x, y), z), _mm_setr_ps(-0.0F, 0.0F, -0.0F, 0.0F)));
    }
    static bool IsFinitePositive(const Scalar& value) {
        const Scalar greatest = VectorSIMD4f::Broadcast(std::numeric_limits<float>::max());
        return AllTrue(And(Greater(value, Zero()), LessEqual(value, greatest)));
    }
    static Scalar Absolute(const Scalar& value) { return Abs(value); }

    static constexpr VectorSIMD4f Make(float x, float y, float z, float w) { return VectorSIMD4f(x, y, z, w); }
    static const VectorSIMD4f& Extend(const Axis& axis) { return axis; }
    static VectorSIMD4f Extend(const Axis& axis, const Scalar& w) {
        const __m128 zw = _mm_unpackhi_ps(axis.Native(), w.Native());
        return VectorSIMD4f(_mm_shuffle_ps(axis.Native(), zw, _MM_SHUFFLE(1, 0, 1, 0)));
    }

    template <class M>
    static M Transpose(const M& m) {
        __m128 x = m.Row(0).Native();
        __m128 y = m.Row(1).Native();
        __m128 z = m.Row(2).Native();
        __m128 w = _mm_setzero_ps();
        if constexpr (M::COLUMNS == 4) {
            w = m.Row(3).Native();
        }
        _MM_TRANSPOSE4_PS(x, y, z, w);
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

/// Linear.
class MatrixSIMD33f : public HostNew<MatrixSIMD33f>, public MatrixGeneric<VectorSIMD4f, 3, 3> {
public:
    using MatrixGeneric::MatrixGeneric;
    MatrixSIMD33f() = default;

    Z4_API static const MatrixSIMD33f IDENTITY;
    Z4_API static const MatrixSIMD33f ZERO;
};

/// Affine: the images of the axes and the translation; its IDENTITY translates by 0.
class MatrixSIMD34f : public HostNew<MatrixSIMD34f>, public MatrixGeneric<VectorSIMD4f, 4, 3> {
public:
    using MatrixGeneric::MatrixGeneric;
    MatrixSIMD34f() = default;

    Z4_API static const MatrixSIMD34f IDENTITY;
    Z4_API static const MatrixSIMD34f ZERO;
};

/// Full homogeneous; affine where the w lanes are 0, 0, 0, 1.
class MatrixSIMD44f : public HostNew<MatrixSIMD44f>, public MatrixGeneric<VectorSIMD4f, 4, 4> {
public:
    using MatrixGeneric::MatrixGeneric;
    MatrixSIMD44f() = default;

    Z4_API static const MatrixSIMD44f IDENTITY;
    Z4_API static const MatrixSIMD44f ZERO;
};

/// The direction `d` transformed, without the translation: (z row 2 + y row 1) + x row 0. Its w lane is not read.
template <class V, unsigned N, SpaceMatrix M>
requires(std::same_as<typename M::RowType, VectorSIMD4f>) [[nodiscard]] V
    TransformDirection(const VectorSIMD<V, N>& d, const M& m) {
    const VectorSIMD4f lanes(d.Native());
    return V(Private::SumRows(lanes.BroadcastX(), lanes.BroadcastY(), lanes.BroadcastZ(), m).Native());
}

/// The point `p` transformed, its w taken for 1: ((z row 2 + row 3) + y row 1) + x row 0, in this order; by a linear
/// matrix as a direction. There is no division by the w that a projecting matrix gives.
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
