/// @file
/// Functions of the SIMD vectors: extremes, roots, products, lengths.
///
/// A name that ends in 2 or 3 counts the lanes x and y, or x, y and z; the others work lane by lane on all four. One
/// number as the result, such as a dot product, stands in all four lanes.
#pragma once

#include <zelk_core/math/vectorsimdmasks.h>

namespace Z4 {

/// In which order a dot product of three components adds its products. Sums in floating point depend on their order in
/// the last bits.
enum class SumOrder : unsigned char {
    /// x + (y + z), which is faster in registers.
    FAST,
    /// (x + y) + z, from left to right, as plain code of any platform adds. What is calculated in this order throughout
    /// has the same bits everywhere; geometry that promises so stands in a namespace `Consistent` or has that word at
    /// the end of its name.
    CONSISTENT,
};

/// The smaller of each two lanes, p < q ? p : q. So it is that of `b` where one of them is NaN, and where they are
/// zeros of different sign.
template <class V, unsigned N>
[[nodiscard]] V Min(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(Lanes::Min(a.Native(), b.Native()));
}
/// The greater of each two lanes, p > q ? p : q; that of `b` in the same cases.
template <class V, unsigned N>
[[nodiscard]] V Max(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(Lanes::Max(a.Native(), b.Native()));
}

/// Min(Max(v, low), high): each lane of `v` moved into the interval from `low` to `high`. Where `v` is NaN the result
/// is `low`; where `low` is above `high` it is `high`.
template <class V, unsigned N>
[[nodiscard]] V Clamp(const VectorSIMD<V, N>& v, const VectorSIMD<V, N>& low, const VectorSIMD<V, N>& high) {
    return Min(Max(v, low), high);
}

/// The magnitude of each lane: the sign is cleared, of zeros and NaNs too.
template <class V, unsigned N>
[[nodiscard]] V Abs(const VectorSIMD<V, N>& v) {
    return V(Lanes::AndNot(Lanes::Repeat(-0.0F), v.Native()));
}

/// The square root of each lane, correctly rounded; of a negative number NaN.
template <class V, unsigned N>
[[nodiscard]] V Sqrt(const VectorSIMD<V, N>& v) {
    return V(Lanes::SquareRoot(v.Native()));
}

/// 1 / Sqrt(v), the root and the quotient each correctly rounded; of 0 infinity.
template <class V, unsigned N>
[[nodiscard]] V ReciprocalSqrt(const VectorSIMD<V, N>& v) {
    return V(Lanes::Divide(Lanes::Repeat(1.0F), Lanes::SquareRoot(v.Native())));
}

/// The dot product of x, y and z.
template <SumOrder ORDER = SumOrder::FAST, class V, unsigned N>
[[nodiscard]] V Dot3(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    const V products(Lanes::Multiply(a.Native(), b.Native()));
    if constexpr (ORDER == SumOrder::FAST) {
        return products.BroadcastX() + (products.BroadcastY() + products.BroadcastZ());
    } else {
        return (products.BroadcastX() + products.BroadcastY()) + products.BroadcastZ();
    }
}

/// The dot product of x and y.
template <class V, unsigned N>
[[nodiscard]] V Dot2(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    const V products(Lanes::Multiply(a.Native(), b.Native()));
    return products.BroadcastX() + products.BroadcastY();
}

/// The squared length of (x, y, z).
template <SumOrder ORDER = SumOrder::FAST, class V, unsigned N>
[[nodiscard]] V LengthSqr3(const VectorSIMD<V, N>& v) {
    return Dot3<ORDER>(v, v);
}

/// The length of (x, y, z), correctly rounded from its square. From lengths of about 1.8e19 on, the square leaves the
/// range of a float and the result is infinite; below about 1e-23 the square vanishes and the result is 0.
template <SumOrder ORDER = SumOrder::FAST, class V, unsigned N>
[[nodiscard]] V Length3(const VectorSIMD<V, N>& v) {
    return Sqrt(LengthSqr3<ORDER>(v));
}

/// All four lanes divided by Length3(v). Where that is 0, all lanes of the result are 0. Where it is infinite, finite
/// lanes become 0 and infinite ones NaN.
template <SumOrder ORDER = SumOrder::FAST, class V, unsigned N>
[[nodiscard]] V Normalize3(const VectorSIMD<V, N>& v) {
    const V lengthSqr = LengthSqr3<ORDER>(v);
    const V quotient(Lanes::Divide(v.Native(), Sqrt(lengthSqr).Native()));
    return AndNot(Equal(lengthSqr, V::Broadcast(0.0F)), quotient);
}

/// The cross product of the lanes x, y and z, right-handed: x cross y is z. The w lane is w w' - w w', which is 0 where
/// that product is finite.
template <class V, unsigned N>
[[nodiscard]] V Cross3(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    // The products in the order z, x, y need one shuffle less than in the order x, y, z.
    const __m128 zxy = Lanes::Subtract(Lanes::Multiply(a.Native(), Lanes::Shuffle<1, 2, 0, 3>(b.Native())),
                                       Lanes::Multiply(Lanes::Shuffle<1, 2, 0, 3>(a.Native()), b.Native()));
    return V(Lanes::Shuffle<1, 2, 0, 3>(zxy));
}

/// a + (b - a) t, lane by lane. At t = 0 this is `a` exactly, at t = 1 it is `b` but for rounding. `t` may lie outside
/// [0, 1].
template <class V, unsigned N>
[[nodiscard]] V Lerp(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b, const VectorSIMD<V, N>& t) {
    const __m128 way = Lanes::Subtract(b.Native(), a.Native());
    return V(Lanes::Add(a.Native(), Lanes::Multiply(way, t.Native())));
}
template <class V, unsigned N>
[[nodiscard]] V Lerp(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b, float t) {
    return Lerp(a, b, V::Broadcast(t));
}

} // namespace Z4
