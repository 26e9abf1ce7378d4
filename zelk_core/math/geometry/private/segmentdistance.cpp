#include "featuredistance.h"

#include <zelk_core/math/geometry/distance.h>

namespace Z4 {

namespace {

using Private::DivideBySquare;
using Private::FindNearestOnPair;
using Private::FirstShape;
using Private::NearestOnPair;
using Private::Saturate;

template <SumOrder ORDER>
float SegmentToSegmentSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                          const VectorSIMD4f& b1, float& s, float& t) {
    const NearestOnPair nearest = FindNearestOnPair<ORDER, FirstShape::SEGMENT>(a0 - b0, a1 - a0, b1 - b0);
    s = nearest.s.X();
    t = nearest.t.X();
    return nearest.distanceSqr.X();
}

/// A point of a line or segment at `t`, one of a face at (`u`, `v`), and how far apart they are.
struct FeaturePair {
    VectorSIMD4f t;
    VectorSIMD4f u;
    VectorSIMD4f v;
    VectorSIMD4f distanceSqr;

    /// Becomes the nearer pair. A distance that is NaN stays so: the first pair takes all arguments into account.
    void Improve(const FeaturePair& other) {
        const VectorSIMD4f nearer = Less(other.distanceSqr, distanceSqr);
        t = Select(nearer, other.t, t);
        u = Select(nearer, other.u, u);
        v = Select(nearer, other.v, v);
        distanceSqr = Select(nearer, other.distanceSqr, distanceSqr);
    }
};

/// The pair of a point, given by its difference from the rectangle's corner, and the point of the rectangle nearest it.
FeaturePair PairWithRectangle(const VectorSIMD4f& t, const VectorSIMD4f& fromCorner, const VectorSIMD4f& edge0,
                              const VectorSIMD4f& edge1) {
    const VectorSIMD4f u = Saturate(DivideBySquare(Dot3(fromCorner, edge0), LengthSqr3(edge0)));
    const VectorSIMD4f v = Saturate(DivideBySquare(Dot3(fromCorner, edge1), LengthSqr3(edge1)));
    return {t, u, v, LengthSqr3((fromCorner - u * edge0) - v * edge1)};
}

} // namespace

namespace Geometry {

float DistanceSegmentToSegmentSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                  const VectorSIMD4f& b1, float& s, float& t) {
    return SegmentToSegmentSqr<SumOrder::FAST>(a0, a1, b0, b1, s, t);
}

float DistanceSegmentToRectangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& corner,
                                    const VectorSIMD4f& edge0, const VectorSIMD4f& edge1, float& t, float& u,
                                    float& v) {
    const VectorSIMD4f r = a - corner;
    const VectorSIMD4f d = b - a;
    const VectorSIMD4f crossingT = Saturate(Private::FindPlaneCrossing(r, d, Cross3(edge0, edge1)));
    const VectorSIMD4f ends[] = {VectorSIMD4f::Broadcast(0.0F), VectorSIMD4f::Broadcast(1.0F)};
    FeaturePair nearest = PairWithRectangle(crossingT, r + crossingT * d, edge0, edge1);
    for (const VectorSIMD4f& end : ends) {
        nearest.Improve(PairWithRectangle(end, r + end * d, edge0, edge1));
        const NearestOnPair along0 = FindNearestOnPair<SumOrder::FAST, FirstShape::SEGMENT>(r - end * edge1, d, edge0);
        nearest.Improve({along0.s, along0.t, end, along0.distanceSqr});
        const NearestOnPair along1 = FindNearestOnPair<SumOrder::FAST, FirstShape::SEGMENT>(r - end * edge0, d, edge1);
        nearest.Improve({along1.s, end, along1.t, along1.distanceSqr});
    }
    t = nearest.t.X();
    u = nearest.u.X();
    v = nearest.v.X();
    return nearest.distanceSqr.X();
}

float DistancePointToRectangleSqr(const VectorSIMD4f& p, const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                                  const VectorSIMD4f& edge1, float& u, float& v) {
    const FeaturePair nearest = PairWithRectangle(VectorSIMD4f::Broadcast(0.0F), p - corner, edge0, edge1);
    u = nearest.u.X();
    v = nearest.v.X();
    return nearest.distanceSqr.X();
}

float DistanceLineToTriangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& t0,
                                const VectorSIMD4f& t1, const VectorSIMD4f& t2, float* params) {
    const VectorSIMD4f zero = VectorSIMD4f::Broadcast(0.0F);
    const VectorSIMD4f r = a - t0;
    const VectorSIMD4f d = b - a;
    const VectorSIMD4f edge0 = t1 - t0;
    const VectorSIMD4f edge1 = t2 - t0;
    // Not the coordinates of the crossing itself: where the line grazes the face, their errors lead away from the line,
    // those of its parameter do not.
    const VectorSIMD4f n = Cross3(edge0, edge1);
    const VectorSIMD4f crossing = r + Private::FindPlaneCrossing(r, d, n) * d;
    const auto [u, v] = Private::FindFootInTriangle(crossing, edge0, edge1, n);
    const VectorSIMD4f toFace = (u * edge0 + v * edge1) - r;
    const VectorSIMD4f t = DivideBySquare(Dot3(d, toFace), LengthSqr3(d));
    FeaturePair nearest = {t, u, v, LengthSqr3(toFace - t * d)};

    const NearestOnPair along0 = FindNearestOnPair<SumOrder::FAST, FirstShape::LINE>(r, d, edge0);
    nearest.Improve({along0.s, along0.t, zero, along0.distanceSqr});
    const NearestOnPair along1 = FindNearestOnPair<SumOrder::FAST, FirstShape::LINE>(r, d, edge1);
    nearest.Improve({along1.s, zero, along1.t, along1.distanceSqr});
    const NearestOnPair opposite = FindNearestOnPair<SumOrder::FAST, FirstShape::LINE>(r - edge0, d, edge1 - edge0);
    nearest.Improve({opposite.s, VectorSIMD4f::Broadcast(1.0F) - opposite.t, opposite.t, opposite.distanceSqr});

    if (params != nullptr) {
        params[0] = nearest.t.X();
        params[1] = nearest.u.X();
        params[2] = nearest.v.X();
    }
    return nearest.distanceSqr.X();
}

namespace Consistent {

float DistanceSegmentToSegmentSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                  const VectorSIMD4f& b1, float& s, float& t) {
    return SegmentToSegmentSqr<SumOrder::CONSISTENT>(a0, a1, b0, b1, s, t);
}

float DistanceSegmentToSegment2DSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                    const VectorSIMD4f& b1, float& s, float& t) {
    // In the plane z = 0, sums over three lanes are those over two, to the bit.
    const __m128 plane = VectorSIMD4f::MASK_2D;
    return SegmentToSegmentSqr<SumOrder::CONSISTENT>(And(a0, plane), And(a1, plane), And(b0, plane), And(b1, plane), s,
                                                     t);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
