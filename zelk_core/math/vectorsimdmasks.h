/// @file
/// Comparisons and bits of the SIMD vectors: decisions that stay in the registers.
///
/// A comparison gives a mask: a lane has all its bits set where the comparison holds, and none where it does not. It
/// never holds where a NaN is compared. Masks are combined with And() and Or(), choose between lanes with Select(), and
/// become a `bool` with AllTrue() and its kin.
#pragma once

#include <zelk_core/math/vectorsimdshape.h>

namespace Z4 {

template <class V, unsigned N>
[[nodiscard]] V Less(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(Lanes::Less(a.Native(), b.Native()));
}
template <class V, unsigned N>
[[nodiscard]] V LessEqual(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(Lanes::LessEqual(a.Native(), b.Native()));
}
template <class V, unsigned N>
[[nodiscard]] V Greater(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return Less(b, a);
}
template <class V, unsigned N>
[[nodiscard]] V GreaterEqual(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return LessEqual(b, a);
}
template <class V, unsigned N>
[[nodiscard]] V Equal(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(Lanes::Equal(a.Native(), b.Native()));
}

/// The bits that are set in both.
template <class V, unsigned N>
[[nodiscard]] V And(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(Lanes::And(a.Native(), b.Native()));
}
/// The same with one of the raw masks: `And(v, VectorSIMD4f::MASK_3D)` clears w.
template <class V, unsigned N>
[[nodiscard]] V And(const VectorSIMD<V, N>& a, const __m128& b) {
    return V(Lanes::And(a.Native(), b));
}
/// The bits of `b` that are not set in `a`.
template <class V, unsigned N>
[[nodiscard]] V AndNot(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(Lanes::AndNot(a.Native(), b.Native()));
}
/// The bits that are set in either.
template <class V, unsigned N>
[[nodiscard]] V Or(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(Lanes::Or(a.Native(), b.Native()));
}

/// Each bit from `a` where it is set in `mask`, else from `b`.
template <class V, unsigned N>
[[nodiscard]] V Select(const VectorSIMD<V, N>& mask, const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return Or(And(mask, a), AndNot(mask, b));
}

/// Whether a mask is set in all four lanes. Of each lane the sign bit alone is read, here and below.
template <class V, unsigned N>
[[nodiscard]] bool AllTrue(const VectorSIMD<V, N>& mask) {
    return Lanes::SignBits(mask.Native()) == 0xF;
}
/// Whether it is set in x, y and z.
template <class V, unsigned N>
[[nodiscard]] bool AllTrue3(const VectorSIMD<V, N>& mask) {
    return (Lanes::SignBits(mask.Native()) & 0x7) == 0x7;
}
/// Whether it is set in x and y.
template <class V, unsigned N>
[[nodiscard]] bool AllTrue2(const VectorSIMD<V, N>& mask) {
    return (Lanes::SignBits(mask.Native()) & 0x3) == 0x3;
}
/// Whether it is set in any of the four lanes.
template <class V, unsigned N>
[[nodiscard]] bool AnyTrue(const VectorSIMD<V, N>& mask) {
    return Lanes::SignBits(mask.Native()) != 0;
}

} // namespace Z4
