/// @file
/// The part of a line that lies in something round, and whether a point does: the kernels of the queries against
/// spheres, capsules and cylinders. Public because inline queries use it.
#pragma once

#include <limits>
#include <zelk_core/base/api.h>
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
    return radius >= 0 && distanceSqr <= (reachSqr < largest ? reachSqr : largest);
}

/// Where the line r + t d is no farther than `radius` from 0. `inverse` is 1 over the square of d, and 0 where there is
/// no d: then it is everywhere or nowhere so.
template <SumOrder ORDER>
Z4_ALWAYS_INLINE Part FindRoundPart(const VectorSIMD4f& r, const VectorSIMD4f& d, float radius, float inverse) {
    const float nearestT = -Dot3<ORDER>(r, d).X() * inverse;
    const float rest = radius * radius - LengthSqr3<ORDER>(r + nearestT * d).X();
    if (!(rest >= 0) || !(radius >= 0)) {
        return Part::Nothing();
    }
    if (inverse == 0) {
        return Part::Everything();
    }
    const float half = Lanes::SquareRoot(rest * inverse);
    return {nearestT - half, nearestT + half};
}

} // namespace Z4::Private
