/// @file
/// Bodies of the shortest queries of distance.h, which are compiled into their callers: a call would cost about as much
/// as the query. Each is written once for both orders of summation, and for space and plane. Scalars are repeated in
/// all four lanes.
#pragma once

#include <zelk_core/math/vectorsimd.h>

namespace Z4::Private {

/// Dot product of the first `DIMENSIONS` lanes. Of two products there is one order only.
template <SumOrder ORDER, int DIMENSIONS>
inline VectorSIMD4f Dot(const VectorSIMD4f& a, const VectorSIMD4f& b) {
    static_assert(DIMENSIONS == 2 || DIMENSIONS == 3);
    if constexpr (DIMENSIONS == 2) {
        return Dot2(a, b);
    } else {
        return Dot3<ORDER>(a, b);
    }
}

/// A point of a segment, its parameter, and its squared distance from what it is nearest to.
struct NearestOnSegment {
    VectorSIMD4f point;
    VectorSIMD4f t;
    VectorSIMD4f distanceSqr;
};

/// The point of the segment from `a` to `b` nearest `p` (Ericson, "Real-Time Collision Detection", 2005, section
/// 5.1.2). Branches, because callers tend to ask for neighbouring points in turn, so that they are foreseen well.
template <SumOrder ORDER, int DIMENSIONS>
inline NearestOnSegment FindNearestOnSegment(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                             const VectorSIMD4f& eps) {
    const VectorSIMD4f d = p - a;
    const VectorSIMD4f e = b - a;
    const VectorSIMD4f n = Dot<ORDER, DIMENSIONS>(d, e);
    VectorSIMD4f point = a;
    VectorSIMD4f t = VectorSIMD4f::Broadcast(0.0F);
    VectorSIMD4f residual = d;
    if (AllTrue(Less(eps, n))) {
        const VectorSIMD4f lengthSqr = Dot<ORDER, DIMENSIONS>(e, e);
        if (AllTrue(LessEqual(lengthSqr - n, eps))) {
            point = b;
            t = VectorSIMD4f::Broadcast(1.0F);
            residual = d - e;
        } else {
            t = n / lengthSqr;
            const VectorSIMD4f offset = t * e;
            point = a + offset;
            residual = d - offset;
        }
    }
    return {point, t, Dot<ORDER, DIMENSIONS>(residual, residual)};
}

} // namespace Z4::Private
