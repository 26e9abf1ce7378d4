#include <zelk_core/math/geometry/intersectray.h>

#include <cstddef>
#include <initializer_list>

namespace Z4 {

template <>
struct Private::Layout<Geometry::GeometryRay> {
    static_assert(offsetof(Geometry::GeometryRay, m_origin) == 0);
    static_assert(offsetof(Geometry::GeometryRay, m_direction) == 16);
    static_assert(offsetof(Geometry::GeometryRay, m_inverse) == 32);
    static_assert(offsetof(Geometry::GeometryRay, m_shear) == 48);
    static_assert(offsetof(Geometry::GeometryRay, m_first) == 64);
    static_assert(offsetof(Geometry::GeometryRay, m_last) == 68);
    static_assert(offsetof(Geometry::GeometryRay, m_inverseLength) == 72);
    static_assert(sizeof(Geometry::GeometryRay) == 80);
    static_assert(alignof(Geometry::GeometryRay) == 16);
};

namespace {

using Geometry::GeometryOBB;
using Geometry::GeometryRay;
using Geometry::Sides;
using Private::Interval;
using Private::Part;

VectorSIMD4f Zero() {
    return VectorSIMD4f::Broadcast(0.0F);
}
/// What of the part lies within the ray's bounds, if anything does.
bool Write(const GeometryRay& ray, const Part& found, float& tIn, float& tOut) {
    return found.WriteWithin(ray.GetFirst(), ray.GetLast(), tIn, tOut);
}

template <SumOrder ORDER>
bool RayPlane(const GeometryRay& ray, const VectorSIMD4f& plane, float& t) {
    const float height = (Dot3<ORDER>(ray.GetOrigin(), plane) + plane.BroadcastW()).X();
    const float slope = Dot3<ORDER>(ray.GetDirection(), plane).X();
    if (slope == 0) {
        if (height != 0 || !(ray.GetFirst() <= ray.GetLast())) {
            return false;
        }
        t = ray.GetFirst();
        return true;
    }
    const float crossing = -height / slope;
    if (!(ray.GetFirst() <= crossing && crossing <= ray.GetLast())) {
        return false;
    }
    t = crossing;
    return true;
}

/// In the frame of the box it is one along the axes.
template <SumOrder ORDER>
bool RayOBB(const GeometryRay& ray, const GeometryOBB& box, float& tIn, float& tOut) {
    const VectorSIMD4f start = Private::AlongAxes<ORDER>(box.GetAxisDir(), ray.GetOrigin() - box.GetCenter());
    const VectorSIMD4f direction = Private::AlongAxes<ORDER>(box.GetAxisDir(), ray.GetDirection());
    const VectorSIMD4f low = -box.GetExtent() - start;
    const VectorSIMD4f high = box.GetExtent() - start;
    const Interval range = ray.GetRange();
    const Interval crossing = Private::CrossSlab(low, high, Private::InverseDirection(direction), range.in);
    // The slabs let a NaN pass; these comparisons do not.
    const VectorSIMD4f isShape = And(LessEqual(Zero(), box.GetExtent()), LessEqual(low, high));
    if (!Private::MeetInCommon3(crossing, range, And(isShape, Equal(direction, direction)))) {
        return false;
    }
    const Interval result = Private::Common3(crossing, range);
    tIn = result.in.X();
    tOut = result.out.X();
    return true;
}

template <SumOrder ORDER>
Part SpherePart(const GeometryRay& ray, const VectorSIMD4f& center, float radius) {
    Part part = Part::Nothing();
    return Private::FindRoundPart<ORDER>(ray.GetOrigin() - center, ray.GetDirection(), radius,
                                         ray.GetInverseLength<ORDER>(), part)
               ? part
               : Part::Nothing();
}

/// The part in the cylinder; none where the axis has no length.
template <SumOrder ORDER>
Part CylinderPart(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius) {
    const VectorSIMD4f axis = b - a;
    const VectorSIMD4f axisSqr = LengthSqr3<ORDER>(axis);
    if (!AllTrue(Less(Zero(), axisSqr))) {
        return Part::Nothing();
    }
    const VectorSIMD4f start = ray.GetOrigin() - a;
    const VectorSIMD4f& direction = ray.GetDirection();
    const VectorSIMD4f height = Dot3<ORDER>(start, axis);
    const VectorSIMD4f slope = Dot3<ORDER>(direction, axis);
    // Seen along the axis.
    const VectorSIMD4f flatStart = start - height / axisSqr * axis;
    const VectorSIMD4f flat = direction - slope / axisSqr * axis;
    const float flatSqr = LengthSqr3<ORDER>(flat).X();
    Part wall = Part::Nothing();
    if (!Private::FindRoundPart<ORDER>(flatStart, flat, radius, flatSqr != 0 ? 1 / Lanes::SquareRoot(flatSqr) : 0,
                                       wall)) {
        return Part::Nothing();
    }
    const Interval cut = Private::ClipBySlab(-height, axisSqr - height, Private::InverseDirection(slope),
                                             {VectorSIMD4f::Broadcast(wall.in), VectorSIMD4f::Broadcast(wall.out)});
    return {cut.in.X(), cut.out.X()};
}

/// What is convex has one part: from the first of its pieces' parts to the last.
template <SumOrder ORDER>
Part CapsulePart(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius) {
    const float axisSqr = LengthSqr3<ORDER>(b - a).X();
    if (axisSqr != axisSqr) {
        return Part::Nothing();
    }
    Part part = Part::Nothing();
    for (const Part& piece : {SpherePart<ORDER>(ray, a, radius), SpherePart<ORDER>(ray, b, radius),
                              CylinderPart<ORDER>(ray, a, b, radius)}) {
        if (!piece.IsEmpty()) {
            part.in = piece.in < part.in ? piece.in : part.in;
            part.out = piece.out > part.out ? piece.out : part.out;
        }
    }
    return part;
}

template <SumOrder ORDER>
bool RayConvex(const GeometryRay& ray, const VectorSIMD4f* planes, unsigned long count, float& tIn, float& tOut) {
    if (count == 0) {
        return false;
    }
    Part part = Part::Everything();
    for (unsigned long i = 0; i < count; ++i) {
        const float height = (Dot3<ORDER>(ray.GetOrigin(), planes[i]) + planes[i].BroadcastW()).X();
        const float slope = Dot3<ORDER>(ray.GetDirection(), planes[i]).X();
        if (height != height) {
            return false;
        }
        const float crossing = slope != 0 ? -height / slope : 0;
        if (slope > 0) {
            part.in = crossing > part.in ? crossing : part.in;
        } else if (slope < 0) {
            part.out = crossing < part.out ? crossing : part.out;
        } else if (!(slope == 0 && height >= 0)) {
            return false;
        }
    }
    return Write(ray, part, tIn, tOut);
}

bool RayRectangle(const GeometryRay& ray, const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                  const VectorSIMD4f& edge1, float& t, float& u, float& v) {
    // The corners in turn: one to a lane.
    const VectorSIMD4f second = corner + edge0;
    __m128 x = (corner - ray.GetOrigin()).Native();
    __m128 y = (second - ray.GetOrigin()).Native();
    __m128 z = ((second + edge1) - ray.GetOrigin()).Native();
    __m128 w = ((corner + edge1) - ray.GetOrigin()).Native();
    Lanes::Transpose(x, y, z, w);
    const Private::ShearedPoints p =
        Private::ShearPoints(ray.GetShear(), VectorSIMD4f(x), VectorSIMD4f(y), VectorSIMD4f(z));
    const auto next = [](const VectorSIMD4f& lanes) {
        return VectorSIMD4f(Lanes::Shuffle<1, 2, 3, 0>(lanes.Native()));
    };
    const VectorSIMD4f nextX = next(p.x);
    const VectorSIMD4f nextY = next(p.y);
    VectorSIMD4f sides = Private::Side(p.x, p.y, nextX, nextY);
    if (AnyTrue(Equal(sides, Zero()))) {
        sides = Private::DecideZeros(sides, p.x, p.y, nextX, nextY);
    }
    const Private::Signs signs = Private::SignsOf<15>(sides);
    if (signs.AreMixed()) {
        return false;
    }
    // How far the point is from one edge, of the way to the opposite one. Without area that is 0 / 0.
    const float atU = (sides.BroadcastW() / (sides.BroadcastW() + sides.BroadcastY())).X();
    const float atV = (sides / (sides + sides.BroadcastZ())).X();
    const float depth = p.depth.X();
    const float crossing = (depth + atU * (p.depth.Y() - depth)) + atV * (p.depth.W() - depth);
    if (!(ray.GetFirst() <= crossing && crossing <= ray.GetLast())) {
        return false;
    }
    t = crossing;
    u = atU;
    v = atV;
    return true;
}

} // namespace

namespace Geometry {

bool IntersectRayPlane(const GeometryRay& ray, const VectorSIMD4f& plane, float& t) {
    return RayPlane<SumOrder::FAST>(ray, plane, t);
}

bool IntersectRayOBB(const GeometryRay& ray, const GeometryOBB& box, float& tIn, float& tOut) {
    return RayOBB<SumOrder::FAST>(ray, box, tIn, tOut);
}

bool IntersectRayCapsule(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius, float& tIn,
                         float& tOut) {
    return Write(ray, CapsulePart<SumOrder::FAST>(ray, a, b, radius), tIn, tOut);
}

bool IntersectRayCylinder(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius,
                          float& tIn, float& tOut) {
    return Write(ray, CylinderPart<SumOrder::FAST>(ray, a, b, radius), tIn, tOut);
}

bool IntersectRayConvex(const GeometryRay& ray, const VectorSIMD4f* planes, unsigned long count, float& tIn,
                        float& tOut) {
    return RayConvex<SumOrder::FAST>(ray, planes, count, tIn, tOut);
}

bool IntersectRayRectangle(const GeometryRay& ray, const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                           const VectorSIMD4f& edge1, float& t, float& u, float& v) {
    return RayRectangle(ray, corner, edge0, edge1, t, u, v);
}

namespace Consistent {

bool IntersectRayPlane(const GeometryRay& ray, const VectorSIMD4f& plane, float& t) {
    return RayPlane<SumOrder::CONSISTENT>(ray, plane, t);
}

bool IntersectRayAABB(const GeometryRay& ray, const GeometryAABB& box, float& tIn, float& tOut) {
    return Geometry::IntersectRayAABB(ray, box, tIn, tOut);
}

bool IntersectRayOBB(const GeometryRay& ray, const GeometryOBB& box, float& tIn, float& tOut) {
    return RayOBB<SumOrder::CONSISTENT>(ray, box, tIn, tOut);
}

bool IntersectRaySphere(const GeometryRay& ray, const VectorSIMD4f& center, float radius, float& tIn, float& tOut) {
    return Write(ray, SpherePart<SumOrder::CONSISTENT>(ray, center, radius), tIn, tOut);
}

bool IntersectRayCapsule(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius, float& tIn,
                         float& tOut) {
    return Write(ray, CapsulePart<SumOrder::CONSISTENT>(ray, a, b, radius), tIn, tOut);
}

bool IntersectRayCylinder(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius,
                          float& tIn, float& tOut) {
    return Write(ray, CylinderPart<SumOrder::CONSISTENT>(ray, a, b, radius), tIn, tOut);
}

bool IntersectRayConvex(const GeometryRay& ray, const VectorSIMD4f* planes, unsigned long count, float& tIn,
                        float& tOut) {
    return RayConvex<SumOrder::CONSISTENT>(ray, planes, count, tIn, tOut);
}

bool IntersectRayTriangle(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                          float& t, float& u, float& v, Sides sides) {
    const VectorSIMD4f& start = ray.GetOrigin();
    return Private::FindTriangleHit<SumOrder::CONSISTENT>(ray.GetShear(), ray.GetFirst(), ray.GetLast(), a - start,
                                                          b - start, c - start, sides == Sides::FRONT, t, u, v);
}

bool IntersectRayRectangle(const GeometryRay& ray, const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                           const VectorSIMD4f& edge1, float& t, float& u, float& v) {
    return RayRectangle(ray, corner, edge0, edge1, t, u, v);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
