/// @file
/// The part of a line that lies in something round, and whether a point does: the kernels of the queries against
/// spheres, capsules and cylinders. Public because inline queries use it.
#pragma once

#include <limits>
#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/columns.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Private {

/// The parameters of a line from `in` to `out`; none where `in` is above `out`.
struct Part {
    static constexpr Part Nothing() {
        return {std::numeric_limits<float>::infinity(), -std::numeric_limits<float>::infinity()};
    }
    static constexpr Part Everything() { return {Nothing().out, Nothing().in}; }

    bool IsEmpty() const { return !(in <= out); }
    /// Writes what lies within a ray's bounds.
    /// @return whether anything does; only then is it written.
    bool WriteWithin(float first, float last, float& tIn, float& tOut) const {
        const float from = in > first ? in : first;
        const float to = out < last ? out : last;
        if (!(from <= to)) {
            return false;
        }
        tIn = from;
        tOut = to;
        return true;
    }

    float in;
    float out;
};

/// Whether something so far away from the middle of something round reaches it. No radius reaches what has no points.
Z4_ALWAYS_INLINE bool IsWithin(float distanceSqr, float radius) {
    const float largest = (std::numeric_limits<float>::max)();
    const float reachSqr = radius * radius;
    return distanceSqr <= (reachSqr < largest ? reachSqr : largest) && radius >= 0;
}

/// Where the line r + t d is no farther than `radius` from 0. `inverseLength` is 1 over the length of d. Where it is 0,
/// or NaN because something overflowed, d counts as 0, and the line as the point r: then `part` is all of it, or there
/// is none.
/// @return whether it is anywhere so; only then does `part` tell where.
template <SumOrder ORDER>
Z4_ALWAYS_INLINE bool FindRoundPart(const VectorSIMD4f& r, const VectorSIMD4f& d, float radius, float inverseLength,
                                    Part& part) {
    if (!(inverseLength > 0)) {
        part = Part::Everything();
        return IsWithin(LengthSqr3<ORDER>(r).X(), radius);
    }
    const VectorSIMD4f unit = inverseLength * d;
    const VectorSIMD4f along = r * unit;
    // The cross product, whose length is the distance from the line, in the order z, x, y.
    const VectorSIMD4f across = r * Yzx(unit) - Yzx(r) * unit;
    const __m128 squares = (across * across).Native();
    // The sums of both, one in x and the other in z.
    const VectorSIMD4f sums = Sum<ORDER>(VectorSIMD4f(Lanes::Shuffle<1, 1, 0, 0>(squares, along.Native())),
                                         VectorSIMD4f(Lanes::Shuffle<2, 2, 1, 1>(squares, along.Native())),
                                         VectorSIMD4f(Lanes::Shuffle<0, 0, 2, 2>(squares, along.Native())));
    const float distanceSqr = sums.X();
    if (!IsWithin(distanceSqr, radius)) {
        return false;
    }
    const float half = Sqrt(VectorSIMD4f::Broadcast(radius * radius - distanceSqr)).X();
    const float middle = sums.Z();
    part = {(-half - middle) * inverseLength, (half - middle) * inverseLength};
    return true;
}

} // namespace Z4::Private
