#include "featuredistance.h"

#include <zelk_core/math/geometry/distance.h>
#include <zelk_core/math/geometry/shapedistance.h>

namespace Z4 {

namespace {

using Private::Straight;

template <SumOrder ORDER, Straight FIRST, Straight SECOND>
float StraightToStraightSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                            const VectorSIMD4f& b1, float& s, float& t) {
    const Private::NearestOnPair nearest = Private::FindNearestOnPair<ORDER, FIRST, SECOND>(a0 - b0, a1 - a0, b1 - b0);
    s = nearest.s.X();
    t = nearest.t.X();
    return nearest.distanceSqr.X();
}

} // namespace

namespace Geometry {

float DistanceSegmentToSegmentSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                  const VectorSIMD4f& b1, float& s, float& t) {
    return StraightToStraightSqr<SumOrder::FAST, Straight::SEGMENT, Straight::SEGMENT>(a0, a1, b0, b1, s, t);
}

float DistanceSegmentToSegment2DSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                    const VectorSIMD4f& b1, float& s, float& t) {
    // In the plane z = 0, sums over three lanes are those over two, to the bit and in either order.
    const __m128 plane = VectorSIMD4f::MASK_2D;
    return DistanceSegmentToSegmentSqr(And(a0, plane), And(a1, plane), And(b0, plane), And(b1, plane), s, t);
}

float DistanceLineToLineSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                            const VectorSIMD4f& b1, float& s, float& t) {
    return StraightToStraightSqr<SumOrder::FAST, Straight::LINE, Straight::LINE>(a0, a1, b0, b1, s, t);
}

float DistanceLineToSegmentSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                               const VectorSIMD4f& d, float& s, float& t) {
    return StraightToStraightSqr<SumOrder::FAST, Straight::LINE, Straight::SEGMENT>(a, b, c, d, s, t);
}

namespace Consistent {

float DistanceSegmentToSegmentSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                  const VectorSIMD4f& b1, float& s, float& t) {
    return StraightToStraightSqr<SumOrder::CONSISTENT, Straight::SEGMENT, Straight::SEGMENT>(a0, a1, b0, b1, s, t);
}

float DistanceSegmentToSegment2DSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                    const VectorSIMD4f& b1, float& s, float& t) {
    return Geometry::DistanceSegmentToSegment2DSqr(a0, a1, b0, b1, s, t);
}

float DistanceLineToLineSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                            const VectorSIMD4f& b1, float& s, float& t) {
    return StraightToStraightSqr<SumOrder::CONSISTENT, Straight::LINE, Straight::LINE>(a0, a1, b0, b1, s, t);
}

float DistanceLineToSegmentSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                               const VectorSIMD4f& d, float& s, float& t) {
    return StraightToStraightSqr<SumOrder::CONSISTENT, Straight::LINE, Straight::SEGMENT>(a, b, c, d, s, t);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
