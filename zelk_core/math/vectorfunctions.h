/// @file
/// Functions of the plain vectors: comparisons, bits, products, lengths.
///
/// They take vectors of one class and give that class. Sums run from left to right, in the element type; integers wrap
/// around. What needs no square root can be used in constant expressions. Nothing fails or traps.
#pragma once

#include <zelk_core/math/lanes.h>
#include <zelk_core/math/vectorarithmetic.h>

#include <bit>

namespace Z4 {

namespace Private {

/// The integer that holds the bits of a `T`.
template <class T>
using BitsOf =
    std::conditional_t<sizeof(T) == 8, std::uint64_t, std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint16_t>>;

template <PlainVector V, class Function>
constexpr V MapBits(const V& a, const VectorGeneric<typename V::Element, V::SIZE>& b, Function function) {
    using Element = typename V::Element;
    using Bits = BitsOf<Element>;
    return Map(a, b, [function](Element p, Element q) {
        return std::bit_cast<Element>(static_cast<Bits>(function(std::bit_cast<Bits>(p), std::bit_cast<Bits>(q))));
    });
}

} // namespace Private

/// Whether each component of `a` is less than that of `b`. A comparison with NaN does not hold, so the answer is then
/// false, here and in AllLessEqual().
template <PlainVector V>
[[nodiscard]] constexpr bool AllLess(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::All(a, b, [](Element p, Element q) { return p < q; });
}
template <PlainVector V>
[[nodiscard]] constexpr bool AllLessEqual(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::All(a, b, [](Element p, Element q) { return p <= q; });
}

/// The smaller of each two components, p < q ? p : q. So it is that of `b` where one of them is NaN, and where they are
/// zeros of different sign.
template <PlainVector V>
[[nodiscard]] constexpr V Min(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::Map(a, b, [](Element p, Element q) { return p < q ? p : q; });
}
/// The greater of each two components, p > q ? p : q; that of `b` in the same cases.
template <PlainVector V>
[[nodiscard]] constexpr V Max(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::Map(a, b, [](Element p, Element q) { return p > q ? p : q; });
}

/// Min(Max(v, low), high): each component of `v` moved into the interval from `low` to `high`. Where `v` is NaN the
/// result is `low`; where `low` is above `high` it is `high`.
template <PlainVector V>
[[nodiscard]] constexpr V Clamp(const V& v, const V& low, const V& high) {
    return Min(Max(v, low), high);
}

/// Bit by bit, mainly with the constants MASK_2D to MASK_4D: `And(v, Vector3f::MASK_2D)` clears z.
template <PlainVector V>
[[nodiscard]] constexpr V And(const V& a, const VectorGeneric<typename V::Element, V::SIZE>& b) {
    return Private::MapBits(a, b, [](auto p, auto q) { return p & q; });
}
template <PlainVector V>
[[nodiscard]] constexpr V Or(const V& a, const VectorGeneric<typename V::Element, V::SIZE>& b) {
    return Private::MapBits(a, b, [](auto p, auto q) { return p | q; });
}
/// The bits of `b` that are not set in `a`.
template <PlainVector V>
[[nodiscard]] constexpr V AndNot(const VectorGeneric<typename V::Element, V::SIZE>& a, const V& b) {
    return Private::MapBits(b, a, [](auto p, auto q) { return p & ~q; });
}

/// The magnitude of each component: floating-point ones lose their sign, zeros and NaNs too. The least integer of a
/// signed type has no positive counterpart and stays as it is.
template <PlainVector V>
[[nodiscard]] constexpr V Abs(const V& v) {
    using Element = typename V::Element;
    return Private::Map(v, [](Element p) {
        if constexpr (std::is_floating_point_v<Element>) {
            using Bits = Private::BitsOf<Element>;
            return std::bit_cast<Element>(std::bit_cast<Bits>(p) & (static_cast<Bits>(-1) >> 1));
        } else {
            return p < Element(0) ? Private::Subtract(Element(0), p) : p;
        }
    });
}

/// The products of the components, added from left to right: ((x x' + y y') + z z') + w w'.
template <PlainVector V>
[[nodiscard]] constexpr typename V::Element Dot(const V& a, const V& b) {
    typename V::Element sum = Private::Multiply(a[0], b[0]);
    for (unsigned i = 1; i < V::SIZE; ++i) {
        sum = Private::Add(sum, Private::Multiply(a[i], b[i]));
    }
    return sum;
}

/// Dot(v, v).
template <PlainVector V>
[[nodiscard]] constexpr typename V::Element LengthSqr(const V& v) {
    return Dot(v, v);
}

/// The square root, correctly rounded, of LengthSqr(v). Where that leaves the range of the element type, the result is
/// infinite; where it vanishes, 0. Of floats this happens from lengths of about 1.8e19 on and below about 1e-23, of
/// doubles from about 1.3e154 on and below about 1e-162.
template <PlainFloatVector V>
[[nodiscard]] typename V::Element Length(const V& v) {
    return Lanes::SquareRoot(LengthSqr(v));
}

/// `v` divided by its Length(). Where that is 0, or infinite though `v` is finite, the result is the zero vector. An
/// infinite component becomes NaN; one that is NaN makes all of them NaN.
template <PlainFloatVector V>
[[nodiscard]] V Normalize(const V& v) {
    using Element = typename V::Element;
    const Element length = Length(v);
    return length == 0 ? Private::Map(v, [](Element) { return Element(0); }) : v / length;
}

/// The cross product, right-handed: x cross y is z.
template <PlainVector V>
requires(V::SIZE == 3) [[nodiscard]] constexpr V Cross(const V& a, const V& b) {
    using Private::Multiply;
    using Private::Subtract;
    return V(Subtract(Multiply(a[1], b[2]), Multiply(a[2], b[1])), Subtract(Multiply(a[2], b[0]), Multiply(a[0], b[2])),
             Subtract(Multiply(a[0], b[1]), Multiply(a[1], b[0])));
}
/// Of two vectors of the plane, the z component of their cross product: positive where `b` lies to the left of `a`.
template <PlainVector V>
requires(V::SIZE == 2) [[nodiscard]] constexpr typename V::Element Cross(const V& a, const V& b) {
    return Private::Subtract(Private::Multiply(a[0], b[1]), Private::Multiply(a[1], b[0]));
}

/// a + (b - a) t. At t = 0 this is `a` exactly, at t = 1 it is `b` but for rounding. `t` may lie outside [0, 1].
template <PlainFloatVector V>
[[nodiscard]] constexpr V Lerp(const V& a, const V& b, typename V::Element t) {
    return a + (b - a) * t;
}

} // namespace Z4
