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

/// Where a ray enters and leaves the slab between the planes at `low` and `high`, which are relative to its start.
/// `first` is the ray's first parameter; its last one does not count yet.
///
/// A ray within a plane makes 0 times infinity, a NaN. The operands stand so that Min() and Max() then take the other
/// one, or leave a NaN in `out`, which does not end what comes after: the plane belongs to the slab.
Z4_ALWAYS_INLINE Interval CrossSlab(const VectorSIMD4f& low, const VectorSIMD4f& high, const VectorSIMD4f& inverse,
                                    const VectorSIMD4f& first) {
    const VectorSIMD4f toLow = low * inverse;
    const VectorSIMD4f toHigh = high * inverse;
    return {Max(Min(toHigh, toLow), first), Max(toLow, toHigh)};
}
/// The part of `range` in the slab.
Z4_ALWAYS_INLINE Interval ClipBySlab(const VectorSIMD4f& low, const VectorSIMD4f& high, const VectorSIMD4f& inverse,
                                     const Interval& range) {
    const Interval crossing = CrossSlab(low, high, inverse, range.in);
    return {crossing.in, Min(crossing.out, range.out)};
}

/// The end of an interval, so much further out that rounding makes no ray miss what it touches. Both ends carry the
/// errors of a difference, a reciprocal and a product, half a unit in the last place each. By products, as adding a
/// part of an infinite end to it could give NaN.
Z4_ALWAYS_INLINE VectorSIMD4f Widen(const VectorSIMD4f& out) {
    return Max(out * 1.0000005F, out * 0.9999995F);
}
/// The same for comparisons with a parameter of `range`. From 0 on, an end below 0 has nothing before it, either way.
Z4_ALWAYS_INLINE VectorSIMD4f Widen(const VectorSIMD4f& out, const Interval& range) {
    return range.in.X() < 0 ? Widen(out) : out * 1.0000005F;
}
/// Lane by lane, whether a part of `range` holds a parameter.
Z4_ALWAYS_INLINE VectorSIMD4f HoldsSome(const Interval& part, const Interval& range) {
    return LessEqual(part.in, Widen(part.out, range));
}

/// Whether the slabs in the lanes x, y and z have a parameter of `range` in common, and `isShape` is set there: no
/// start lies behind any end. That asks less than looking for the last start and the first end, which only a hit needs.
/// The ends wait neither for each other nor for that of the range: callers branch on the answer, and processors that
/// foresaw it wrongly wait for it.
Z4_ALWAYS_INLINE bool MeetInCommon3(const Interval& crossing, const Interval& range, const VectorSIMD4f& isShape) {
    const VectorSIMD4f out = Widen(crossing.out, range);
    const VectorSIMD4f isBehind = Or(Or(Less(out, crossing.in), Less(Widen(range.out, range), crossing.in)),
                                     Or(Less(out, Yzx(crossing.in)), Less(out, Zxy(crossing.in))));
    return AllTrue3(AndNot(isBehind, isShape));
}

/// The interval as a query gives it out, within `range` and not backwards. Adding 0 makes -0 to 0, so that the order in
/// which slabs are cut does not show.
Z4_ALWAYS_INLINE Interval Tidy(const Interval& interval, const Interval& range) {
    const VectorSIMD4f in = Min(interval.in, range.out) + 0.0F;
    return {in, Max(interval.out, in)};
}

/// The parameters of `range` that are common to the slabs in the first three lanes, in lane x, tidied.
Z4_ALWAYS_INLINE Interval Common3(const Interval& crossing, const Interval& range) {
    const VectorSIMD4f ends = Min(crossing.out, range.out);
    const VectorSIMD4f in = Max(crossing.in, Max(Yzx(crossing.in), Zxy(crossing.in)));
    return Tidy({in, Min(ends, Min(Yzx(ends), Zxy(ends)))}, range);
}

} // namespace Z4::Private
