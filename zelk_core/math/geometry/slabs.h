/// @file
/// The part of a ray that lies between parallel planes: the kernel of its queries against boxes. In each lane there is
/// one pair of planes. Public because inline queries use it.
///
/// This is T. Kay and J. Kajiya, "Ray Tracing Complex Scenes", SIGGRAPH 1986, with the rounding of each quotient taken
/// into account (T. Ize, "Robust BVH Ray Traversal", Journal of Computer Graphics Techniques, 2013).
#pragma once

#include <limits>
#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/columns.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Private {

/// The parameters from `in` to `out` in each lane; none where `in` is above `out`.
struct Interval {
    VectorSIMD4f in;
    VectorSIMD4f out;
};

/// 1 / d, and +infinity where d is next to 0: the sign of a zero must not count.
inline VectorSIMD4f InverseDirection(const VectorSIMD4f& d) {
    const VectorSIMD4f isZero = Less(Abs(d), VectorSIMD4f::Broadcast((std::numeric_limits<float>::min)()));
    return Select(isZero, VectorSIMD4f::Broadcast(std::numeric_limits<float>::infinity()), 1.0F / d);
}

/// The part of `range` between the planes at `low` and `high`, which are relative to the ray's start.
///
/// A ray within a plane makes 0 times infinity, a NaN. The operands stand so that Min() and Max() then take the other
/// one: the plane belongs to the slab.
Z4_ALWAYS_INLINE Interval ClipBySlab(const VectorSIMD4f& low, const VectorSIMD4f& high, const VectorSIMD4f& inverse,
                                     const Interval& range) {
    const VectorSIMD4f toLow = low * inverse;
    const VectorSIMD4f toHigh = high * inverse;
    return {Max(Min(toHigh, toLow), range.in), Min(Max(toLow, toHigh), range.out)};
}

/// The end of an interval, so much further out that rounding makes no ray miss what it touches. Both ends carry the
/// errors of a difference, a reciprocal and a product, half a unit in the last place each. By products, as adding a
/// part of an infinite end to it could give NaN.
Z4_ALWAYS_INLINE VectorSIMD4f Widen(const VectorSIMD4f& out) {
    return Max(out * 1.0000005F, out * 0.9999995F);
}
/// Lane by lane, whether the interval holds a parameter.
Z4_ALWAYS_INLINE VectorSIMD4f HoldsSome(const Interval& interval) {
    return LessEqual(interval.in, Widen(interval.out));
}
/// In the lanes x, y and z together, whether those of the interval have a parameter in common: no start lies behind any
/// end. That asks less than looking for the last start and the first end, which only a hit needs.
Z4_ALWAYS_INLINE VectorSIMD4f HoldInCommon3(const Interval& interval) {
    const VectorSIMD4f out = Widen(interval.out);
    return And(LessEqual(interval.in, out), And(LessEqual(Yzx(interval.in), out), LessEqual(Zxy(interval.in), out)));
}

/// The interval as a query gives it out, within `range` and not backwards. Adding 0 makes -0 to 0, so that the order in
/// which slabs are cut does not show.
Z4_ALWAYS_INLINE Interval Tidy(const Interval& interval, const Interval& range) {
    const VectorSIMD4f in = Min(interval.in, range.out) + 0.0F;
    return {in, Max(interval.out, in)};
}

/// The parameters that are common to the first three lanes, in lane x.
Z4_ALWAYS_INLINE Interval Common3(const Interval& interval) {
    const VectorSIMD4f in = Max(interval.in, Max(Yzx(interval.in), Zxy(interval.in)));
    const VectorSIMD4f out = Min(interval.out, Min(Yzx(interval.out), Zxy(interval.out)));
    return {in, out};
}

} // namespace Z4::Private
