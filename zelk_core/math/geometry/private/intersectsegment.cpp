#include "orientation.h"

#include <limits>
#include <zelk_core/math/geometry/intersectsegment.h>

namespace Z4 {

namespace {

using Geometry::GeometryOBB;
using Geometry::GeometryRay;
using Private::Interval;
using Private::Orientation;
using Private::Yzx;

VectorSIMD4f Zero() {
    return VectorSIMD4f::Broadcast(0.0F);
}
VectorSIMD4f Greatest() {
    return VectorSIMD4f::Broadcast((std::numeric_limits<float>::max)());
}
/// A difference is finite only where both points are.
bool HasPoints(const VectorSIMD4f& way) {
    return AllTrue3(LessEqual(Abs(way), Greatest()));
}

template <SumOrder ORDER>
bool SegmentPlane(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& plane, float& t) {
    const float start = (Dot3<ORDER>(a, plane) + plane.BroadcastW()).X();
    const float end = (Dot3<ORDER>(b, plane) + plane.BroadcastW()).X();
    const bool isCrossing = (start <= 0 && end >= 0) || (start >= 0 && end <= 0);
    const float crossing = start != 0 ? start / (start - end) : 0;
    if (!isCrossing || !(crossing <= 1) || !HasPoints(b - a)) {
        return false;
    }
    t = crossing;
    return true;
}

/// The range that the products with a number from `low` to `high` have.
Interval Products(const VectorSIMD4f& factor, const VectorSIMD4f& low, const VectorSIMD4f& high) {
    const VectorSIMD4f ofLow = factor * low;
    const VectorSIMD4f ofHigh = factor * high;
    return {Min(ofLow, ofHigh), Max(ofLow, ofHigh)};
}

/// Whether the way from 0 to `way` meets the box from `low` to `max`. The axes that may part them are the box's own and
/// the cross products of these with the way. Along the latter the way is the number 0, and the box reaches over it
/// where way.y x and way.x y, for instance, have a value in common; rounding errors that could part them are those of
/// slabs.
bool MeetsBox(const VectorSIMD4f& way, const VectorSIMD4f& low, const VectorSIMD4f& max) {
    // Infinity times 0 is a NaN. From a low end, Products() takes none.
    const VectorSIMD4f high = Min(Greatest(), max);
    const Interval one = Products(Yzx(way), low, high);
    const Interval other = Products(way, Yzx(low), Yzx(high));
    const VectorSIMD4f own = And(LessEqual(low, Max(way, Zero())), LessEqual(Min(way, Zero()), high));
    const VectorSIMD4f crossed =
        And(LessEqual(one.in, Private::Widen(other.out)), LessEqual(other.in, Private::Widen(one.out)));
    return AllTrue3(And(own, crossed));
}

template <SumOrder ORDER>
bool SegmentOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryOBB& box) {
    const VectorSIMD4f way = b - a;
    const VectorSIMD4f start = Private::AlongAxes<ORDER>(box.GetAxisDir(), a - box.GetCenter());
    return HasPoints(way) && AllTrue3(LessEqual(Zero(), box.GetExtent())) &&
           MeetsBox(Private::AlongAxes<ORDER>(box.GetAxisDir(), way), -box.GetExtent() - start,
                    box.GetExtent() - start);
}

/// The parameter of a point of a segment, of which the coordinates are given. Adding 0 makes -0 to 0.
float ParameterAt(double point, double from, double to) {
    return from != to ? static_cast<float>((point - from) / (to - from)) + 0.0F : 0.0F;
}

/// Of segments on one line, which may be points.
bool MeetAlong(const Vector2d& a0, const Vector2d& a1, const Vector2d& b0, const Vector2d& b1, float& s, float& t) {
    // In one of the two coordinates all points of the line differ; the greater differences are the better ones.
    const Vector2d way = Abs(a1 - a0) + Abs(b1 - b0) + Abs(b0 - a0);
    const unsigned axis = way.X() >= way.Y() ? 0 : 1;
    const double sign = a1[axis] < a0[axis] ? -1 : 1;
    const double a[] = {sign * a0[axis], sign * a1[axis]};
    const double b[] = {sign * b0[axis], sign * b1[axis]};
    const bool isTurned = b[1] < b[0];
    const double first = b[isTurned ? 1 : 0];
    const double last = b[isTurned ? 0 : 1];
    const double common = first > a[0] ? first : a[0];
    if (common > a[1] || common > last) {
        return false;
    }
    s = ParameterAt(common, a[0], a[1]);
    t = ParameterAt(common, b[0], b[1]);
    return true;
}

} // namespace

namespace Geometry {

bool IntersectSegmentPlane(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& plane, float& t) {
    return SegmentPlane<SumOrder::FAST>(a, b, plane, t);
}

bool IntersectSegmentAABB(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryAABB& box) {
    const VectorSIMD4f way = b - a;
    return HasPoints(way) && AllTrue3(LessEqual(box.GetMin(), box.GetMax())) &&
           MeetsBox(way, box.GetMin() - a, box.GetMax() - a);
}

bool IntersectSegmentOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryOBB& box) {
    return SegmentOBB<SumOrder::FAST>(a, b, box);
}

bool IntersectSegmentSphere(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& center, float radius,
                            float& t) {
    return IntersectRaySphere(GeometryRay::FromSegment(p, q), center, radius, t);
}

bool IntersectSegmentCapsule(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a, const VectorSIMD4f& b,
                             float radius, float& t) {
    return IntersectRayCapsule(GeometryRay::FromSegment(p, q), a, b, radius, t);
}

bool IntersectSegmentCylinder(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a,
                              const VectorSIMD4f& b, float radius, float& t) {
    return IntersectRayCylinder(GeometryRay::FromSegment(p, q), a, b, radius, t);
}

bool IntersectSegmentTriangle(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a,
                              const VectorSIMD4f& b, const VectorSIMD4f& c, float& t, Sides sides) {
    float u = 0;
    float v = 0;
    return IntersectRayTriangle(GeometryRay::FromSegment(p, q), a, b, c, t, u, v, sides);
}

bool IntersectSegmentRectangle(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& corner,
                               const VectorSIMD4f& edge0, const VectorSIMD4f& edge1, float& t) {
    float u = 0;
    float v = 0;
    return IntersectRayRectangle(GeometryRay::FromSegment(p, q), corner, edge0, edge1, t, u, v);
}

bool IntersectSegmentSegment2D(Vector2f a0, Vector2f a1, Vector2f b0, Vector2f b1, float& s, float& t) {
    if (!Private::IsFinite(a0) || !Private::IsFinite(a1) || !Private::IsFinite(b0) || !Private::IsFinite(b1)) {
        return false;
    }
    const double ofA[] = {Orientation(b0, b1, a0), Orientation(b0, b1, a1)};
    const double ofB[] = {Orientation(a0, a1, b0), Orientation(a0, a1, b1)};
    const auto areOnOneSide = [](const double(&sides)[2]) {
        return (sides[0] > 0 && sides[1] > 0) || (sides[0] < 0 && sides[1] < 0);
    };
    if (areOnOneSide(ofA) || areOnOneSide(ofB)) {
        return false;
    }
    if (ofA[0] == 0 && ofA[1] == 0) {
        return MeetAlong(Vector2d(a0), Vector2d(a1), Vector2d(b0), Vector2d(b1), s, t);
    }
    s = ParameterAt(0, ofA[0], ofA[1]);
    t = ParameterAt(0, ofB[0], ofB[1]);
    return true;
}

namespace Consistent {

bool IntersectSegmentPlane(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& plane, float& t) {
    return SegmentPlane<SumOrder::CONSISTENT>(a, b, plane, t);
}

bool IntersectSegmentOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryOBB& box) {
    return SegmentOBB<SumOrder::CONSISTENT>(a, b, box);
}

bool IntersectSegmentSphere(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& center, float radius,
                            float& t) {
    float out = 0;
    return Consistent::IntersectRaySphere(GeometryRay::FromSegment(p, q), center, radius, t, out);
}

bool IntersectSegmentCapsule(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a, const VectorSIMD4f& b,
                             float radius, float& t) {
    float out = 0;
    return Consistent::IntersectRayCapsule(GeometryRay::FromSegment(p, q), a, b, radius, t, out);
}

bool IntersectSegmentCylinder(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a,
                              const VectorSIMD4f& b, float radius, float& t) {
    float out = 0;
    return Consistent::IntersectRayCylinder(GeometryRay::FromSegment(p, q), a, b, radius, t, out);
}

bool IntersectSegmentTriangle(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a,
                              const VectorSIMD4f& b, const VectorSIMD4f& c, float& t, Sides sides) {
    float u = 0;
    float v = 0;
    return Consistent::IntersectRayTriangle(GeometryRay::FromSegment(p, q), a, b, c, t, u, v, sides);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
