#include "featuredistance.h"

#include <zelk_core/math/geometry/shapedistance.h>

namespace Z4 {

namespace {

using Private::DivideBySquare;
using Private::FourVectors;
using Private::Saturate;

using V = VectorSIMD4f;

bool IsShape(const Geometry::GeometryOBB& box) {
    return AllTrue3(LessEqual(V::Broadcast(0.0F), box.GetExtent()));
}

/// The sum of the axes, as often as the lanes of `v` tell.
template <SumOrder ORDER>
V FromFrame(const Geometry::GeometryOBB& box, const V& v) {
    const V* const axes = box.GetAxisDir();
    return Private::Sum<ORDER>(v.BroadcastX() * axes[0], v.BroadcastY() * axes[1], v.BroadcastZ() * axes[2]);
}

/// In the lane x, the greatest of all lanes of both; and the least.
V Greatest(const V& a, const V& b) {
    const V four = Max(a, b);
    const V two = Max(four, V(Lanes::Shuffle<2, 3, 2, 3>(four.Native())));
    return Max(two, two.BroadcastY());
}
V Least(const V& a, const V& b) {
    const V four = Min(a, b);
    const V two = Min(four, V(Lanes::Shuffle<2, 3, 2, 3>(four.Native())));
    return Min(two, two.BroadcastY());
}

/// Parameters, and the slope of the squared distance there.
struct Slopes {
    V t;
    V slope;
};

/// The parameter of the point of the segment from 0 along `d` that is nearest the box from `low` to `high`; of several,
/// the first. The slope of the squared distance along the segment grows, in straight pieces between the parameters
/// where the segment meets the planes of the sides. So it is 0 between the last of those where it is negative and the
/// first where it is positive.
template <SumOrder ORDER>
V FindNearestToBox(const V& d, const V& low, const V& high) {
    const FourVectors along(d);
    const FourVectors lows(low);
    const FourVectors highs(high);
    const V zero = V::Broadcast(0.0F);
    const V one = V::Broadcast(1.0F);
    const auto slopesAt = [&](const V& t) {
        const auto share = [&t](const V& step, const V& from, const V& to) {
            const V at = t * step;
            return step * (at - Clamp(at, from, to));
        };
        return Slopes{t, Private::Sum<ORDER>(share(along.x, lows.x, highs.x), share(along.y, lows.y, highs.y),
                                             share(along.z, lows.z, highs.z))};
    };
    // The ends of the segment are in the lanes that no axis needs. Parallel to a plane, a quotient is any number.
    const V ends = V(Lanes::MaskOfLane(3));
    const Slopes in = slopesAt(AndNot(ends, Saturate(low / d)));
    const Slopes out = slopesAt(Select(ends, one, Saturate(high / d)));
    const V inFalls = LessEqual(in.slope, zero);
    const V outFalls = LessEqual(out.slope, zero);
    const V inRises = LessEqual(zero, in.slope);
    const V outRises = LessEqual(zero, out.slope);
    const V least = V::Broadcast(-FLT_MAX);
    const V greatest = V::Broadcast(FLT_MAX);
    const V lastFall = Greatest(And(inFalls, in.t), And(outFalls, out.t));
    const V firstRise = Least(Select(inRises, in.t, one), Select(outRises, out.t, one));
    // Where the distance only grows, or only falls, the 0 that stands for the missing slope leads to the end.
    const V fall = Greatest(Select(inFalls, in.slope, least), Select(outFalls, out.slope, least));
    const V rise = Least(Select(inRises, in.slope, greatest), Select(outRises, out.slope, greatest));
    const V falling = AndNot(LessEqual(fall, least), fall);
    const V rising = AndNot(LessEqual(greatest, rise), rise);
    const V back = DivideBySquare(rising, rising - falling);
    return Saturate(firstRise - back * (firstRise - lastFall)).BroadcastX();
}

/// How far a point lies outside of the box, axis by axis.
V Excess(const V& p, const V& low, const V& high) {
    return p - Clamp(p, low, high);
}

template <SumOrder ORDER>
float PointToOBBSqr(const V& p, const Geometry::GeometryOBB& box, V& closest) {
    if (!IsShape(box)) {
        return Private::NO_DISTANCE;
    }
    const V at = Private::AlongAxes<ORDER>(box.GetAxisDir(), p - box.GetCenter());
    const V excess = Excess(at, -box.GetExtent(), box.GetExtent());
    closest = p - FromFrame<ORDER>(box, excess);
    return LengthSqr3<ORDER>(excess).X();
}

template <SumOrder ORDER>
float SegmentToAABBSqr(const V& a, const V& b, const Geometry::GeometryAABB& box, float& t, V& closest) {
    if (!box.IsValid()) {
        return Private::NO_DISTANCE;
    }
    const V d = b - a;
    const V low = box.GetMin() - a;
    const V high = box.GetMax() - a;
    const V nearest = FindNearestToBox<ORDER>(d, low, high);
    closest = Geometry::ClosestAABBPointToPoint(a + nearest * d, box);
    t = nearest.X();
    return LengthSqr3<ORDER>(Excess(nearest * d, low, high)).X();
}

template <SumOrder ORDER>
float SegmentToOBBSqr(const V& a, const V& b, const Geometry::GeometryOBB& box, float& t, V& closest) {
    if (!IsShape(box)) {
        return Private::NO_DISTANCE;
    }
    const V d = b - a;
    const V start = Private::AlongAxes<ORDER>(box.GetAxisDir(), a - box.GetCenter());
    const V direction = Private::AlongAxes<ORDER>(box.GetAxisDir(), d);
    const V low = -box.GetExtent() - start;
    const V high = box.GetExtent() - start;
    const V nearest = FindNearestToBox<ORDER>(direction, low, high);
    const V excess = Excess(nearest * direction, low, high);
    closest = (a + nearest * d) - FromFrame<ORDER>(box, excess);
    t = nearest.X();
    return LengthSqr3<ORDER>(excess).X();
}

} // namespace

namespace Geometry {

float DistancePointToOBBSqr(const VectorSIMD4f& p, const GeometryOBB& box, VectorSIMD4f& closest) {
    return PointToOBBSqr<SumOrder::FAST>(p, box, closest);
}

float DistanceSegmentToAABBSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryAABB& box, float& t,
                               VectorSIMD4f& closest) {
    return SegmentToAABBSqr<SumOrder::FAST>(a, b, box, t, closest);
}

float DistanceSegmentToOBBSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryOBB& box, float& t,
                              VectorSIMD4f& closest) {
    return SegmentToOBBSqr<SumOrder::FAST>(a, b, box, t, closest);
}

namespace Consistent {

float DistancePointToAABBSqr(const VectorSIMD4f& p, const GeometryAABB& box) {
    return Private::PointToAABBSqr<SumOrder::CONSISTENT>(p, box);
}

float DistanceAABBToAABBSqr(const GeometryAABB& a, const GeometryAABB& b) {
    return Private::AABBToAABBSqr<SumOrder::CONSISTENT>(a, b);
}

float DistancePointToOBBSqr(const VectorSIMD4f& p, const GeometryOBB& box, VectorSIMD4f& closest) {
    return PointToOBBSqr<SumOrder::CONSISTENT>(p, box, closest);
}

float DistanceSegmentToAABBSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryAABB& box, float& t,
                               VectorSIMD4f& closest) {
    return SegmentToAABBSqr<SumOrder::CONSISTENT>(a, b, box, t, closest);
}

float DistanceSegmentToOBBSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryOBB& box, float& t,
                              VectorSIMD4f& closest) {
    return SegmentToOBBSqr<SumOrder::CONSISTENT>(a, b, box, t, closest);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
