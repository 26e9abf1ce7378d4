/// @file
/// MatrixSIMD33f, MatrixSIMD34f and MatrixSIMD44f: transforms whose rows are SIMD vectors.
///
/// A point is a row vector on the left of its matrix: p' = p M. So rows 0, 1 and 2 are the images of the x, y and z
/// axes, row 3 is the translation, and `a * b` transforms by `a` first. The w lanes of a MatrixSIMD33f and a
/// MatrixSIMD34f are 0; an affine MatrixSIMD44f has w = 0 in its axes and w = 1 in its translation.
#pragma once

#include <zelk_core/math/vectorsimd.h>

namespace Z4 {

/// What the three share: `M` is the matrix itself. The default constructor leaves the rows unset.
template <class M, unsigned ROWS>
class MatrixSIMD : public AlignedNew<M> {
public:
    /// Row `index`, which must be below the number of rows.
    const VectorSIMD4f& Row(unsigned long index) const { return m_rows[index]; }
    VectorSIMD4f& Row(unsigned long index) { return m_rows[index]; }

    /// Whether all lanes of all rows are equal.
    friend bool operator==(const M& a, const M& b) {
        VectorSIMD4f equal = Equal(a.Row(0), b.Row(0));
        for (unsigned i = 1; i < ROWS; ++i) {
            equal = And(equal, Equal(a.Row(i), b.Row(i)));
        }
        return AllTrue(equal);
    }

protected:
    MatrixSIMD() = default;
    template <class... Rows>
    constexpr explicit MatrixSIMD(const Rows&... rows) : m_rows{rows...} {}

private:
    VectorSIMD4f m_rows[ROWS];
};

/// Linear.
class MatrixSIMD33f : public MatrixSIMD<MatrixSIMD33f, 3> {
public:
    MatrixSIMD33f() = default;
    constexpr MatrixSIMD33f(const VectorSIMD4f& x, const VectorSIMD4f& y, const VectorSIMD4f& z)
        : MatrixSIMD(x, y, z) {}

    Z4_API static const MatrixSIMD33f IDENTITY;
    Z4_API static const MatrixSIMD33f ZERO;
};

/// Affine: three axes and the translation.
class MatrixSIMD34f : public MatrixSIMD<MatrixSIMD34f, 4> {
public:
    MatrixSIMD34f() = default;
    constexpr MatrixSIMD34f(const VectorSIMD4f& x, const VectorSIMD4f& y, const VectorSIMD4f& z,
                            const VectorSIMD4f& translation)
        : MatrixSIMD(x, y, z, translation) {}

    Z4_API static const MatrixSIMD34f IDENTITY;
    Z4_API static const MatrixSIMD34f ZERO;
};

/// Full homogeneous.
class MatrixSIMD44f : public MatrixSIMD<MatrixSIMD44f, 4> {
public:
    MatrixSIMD44f() = default;
    constexpr MatrixSIMD44f(const VectorSIMD4f& x, const VectorSIMD4f& y, const VectorSIMD4f& z,
                            const VectorSIMD4f& translation)
        : MatrixSIMD(x, y, z, translation) {}

    Z4_API static const MatrixSIMD44f IDENTITY;
    Z4_API static const MatrixSIMD44f ZERO;
};

/// The direction `d` transformed: ((d.z row 2) + (d.y row 1)) + (d.x row 0). The w lane of `d` is not read.
template <class M, unsigned ROWS>
VectorSIMD4f TransformDirection(const VectorSIMD4f& d, const MatrixSIMD<M, ROWS>& m) {
    return (d.BroadcastZ() * m.Row(2) + d.BroadcastY() * m.Row(1)) + d.BroadcastX() * m.Row(0);
}

/// The point `p` transformed, its w taken for 1: (((p.z row 2) + row 3) + (p.y row 1)) + (p.x row 0), in this order.
/// There is no division by the resulting w.
template <class M>
VectorSIMD4f TransformPoint(const VectorSIMD4f& p, const MatrixSIMD<M, 4>& m) {
    return ((p.BroadcastZ() * m.Row(2) + m.Row(3)) + p.BroadcastY() * m.Row(1)) + p.BroadcastX() * m.Row(0);
}

} // namespace Z4
