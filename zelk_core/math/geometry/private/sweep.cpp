#include <zelk_core/math/geometry/sweep.h>

#include <bit>
#include <limits>
#include <zelk_core/math/geometry/distance.h>
#include <zelk_core/math/geometry/intersectray.h>

namespace Z4 {

namespace {

using Geometry::GeometryAABB;
using Geometry::GeometryOBB;
using Geometry::GeometryRay;
using Private::Interval;

VectorSIMD4f Zero() {
    return VectorSIMD4f::Broadcast(0.0F);
}

/// The way of a sphere's centre; without points where there is no sphere.
GeometryRay WayOf(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move) {
    return GeometryRay(center, move, radius >= 0 ? 1.0F : -1.0F);
}
bool HasPoints(const GeometryRay& ray) {
    return ray.GetFirst() <= ray.GetLast();
}

template <SumOrder ORDER>
bool RayCapsule(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b, float radius, float& t) {
    float out = 0;
    if constexpr (ORDER == SumOrder::FAST) {
        return Geometry::IntersectRayCapsule(ray, a, b, radius, t, out);
    } else {
        return Geometry::Consistent::IntersectRayCapsule(ray, a, b, radius, t, out);
    }
}

/// How far a point moves towards a plane, of which it may be on either side: at first `height` away, nearing it by
/// `speed`.
template <SumOrder ORDER>
struct Approach {
    Approach(const GeometryRay& way, const VectorSIMD4f& normal, const VectorSIMD4f& d)
        : height((Dot3<ORDER>(way.GetOrigin(), normal) + d).X()), speed(-Dot3<ORDER>(way.GetDirection(), normal).X()) {
        if (height < 0) {
            height = -height;
            speed = -speed;
        }
    }
    /// When it comes as near as `reach`: 0 where it is so at first, and above 1 where it does not.
    float TimeOf(float reach) const {
        if (height <= reach) {
            return 0;
        }
        return speed > 0 ? (height - reach) / speed : std::numeric_limits<float>::infinity();
    }

    float height;
    float speed;
};

template <SumOrder ORDER>
bool SpherePlane(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move, const VectorSIMD4f& plane,
                 float& t) {
    const GeometryRay way = WayOf(center, radius, move);
    const float found = Approach<ORDER>(way, plane, plane.BroadcastW()).TimeOf(radius * Length3<ORDER>(plane).X());
    if (!HasPoints(way) || !(found <= 1)) {
        return false;
    }
    t = found;
    return true;
}

template <SumOrder ORDER>
bool SphereSphere(const VectorSIMD4f& c0, float r0, const VectorSIMD4f& move, const VectorSIMD4f& c1, float r1,
                  float& t) {
    if (!(r1 >= 0)) {
        return false;
    }
    const GeometryRay way = WayOf(c0, r0, move);
    float out = 0;
    Private::Part part = Private::Part::Nothing();
    return Private::FindRoundPart<ORDER>(c0 - c1, move, r0 + r1, way.GetInverseLength<ORDER>(), part) &&
           part.WriteWithin(way.GetFirst(), way.GetLast(), t, out);
}

/// The first of several touches. Of those at one time, that which is nearest the centre.
struct Touch {
    void Take(float at, const VectorSIMD4f& point, float distanceSqr) {
        if (at < t || (at == t && distanceSqr < nearestSqr)) {
            t = at;
            contact = point;
            nearestSqr = distanceSqr;
        }
    }
    template <SumOrder ORDER>
    void TakeEdge(const GeometryRay& way, float radius, const VectorSIMD4f& a, const VectorSIMD4f& b) {
        float at = 0;
        if (RayCapsule<ORDER>(way, a, b, radius, at)) {
            const auto nearest = Private::FindNearestOnSegment<ORDER, 3>(way.At(at), a, b, Zero());
            Take(at, nearest.point, nearest.distanceSqr.X());
        }
    }
    /// @return whether there is any; only then it is written.
    bool Write(float& tOut, VectorSIMD4f& contactOut) const {
        if (!(t <= 1)) {
            return false;
        }
        tOut = t;
        contactOut = And(contact, VectorSIMD4f::MASK_3D);
        return true;
    }

    float t = std::numeric_limits<float>::infinity();
    float nearestSqr = t;
    VectorSIMD4f contact = Zero();
};

template <SumOrder ORDER>
bool SphereTriangle(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move, const VectorSIMD4f& a,
                    const VectorSIMD4f& b, const VectorSIMD4f& c, float& t, VectorSIMD4f& contact) {
    const GeometryRay way = WayOf(center, radius, move);
    const VectorSIMD4f normal = Cross3(b - a, c - a);
    const float normalSqr = LengthSqr3<ORDER>(normal).X();
    if (!HasPoints(way) || normalSqr != normalSqr) {
        return false;
    }
    Touch first;
    if (normalSqr > 0) {
        const GeometryRay fromA(center - a, move, 1.0F);
        const float at = Approach<ORDER>(fromA, normal, Zero()).TimeOf(radius * Lanes::SquareRoot(normalSqr));
        if (!(at <= 1)) {
            return false; // not even its plane
        }
        const VectorSIMD4f p = fromA.At(at);
        const VectorSIMD4f height = Dot3<ORDER>(p, normal) / normalSqr;
        const VectorSIMD4f foot = p - height * normal;
        const auto isWithin = [&](const VectorSIMD4f& from, const VectorSIMD4f& to) {
            return AllTrue(LessEqual(Zero(), Dot3<ORDER>(Cross3(to - from, foot - from), normal)));
        };
        if (isWithin(Zero(), b - a) && isWithin(b - a, c - a) && isWithin(c - a, Zero())) {
            first.Take(at, a + foot, (height * height).X() * normalSqr);
        }
    }
    first.TakeEdge<ORDER>(way, radius, a, b);
    first.TakeEdge<ORDER>(way, radius, b, c);
    first.TakeEdge<ORDER>(way, radius, c, a);
    return first.Write(t, contact);
}

/// The box is along the axes.
template <SumOrder ORDER>
bool SphereBox(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move, const GeometryAABB& box, float& t,
               VectorSIMD4f& contact) {
    const GeometryRay way = WayOf(center, radius, move);
    float at = 0;
    if (!box.IsValid() || !Geometry::IntersectRayAABB(way, box.GetExpandBy(radius), at)) {
        return false;
    }
    const VectorSIMD4f& low = box.GetMin();
    const VectorSIMD4f& high = box.GetMax();
    const VectorSIMD4f p = way.At(at);
    const int beyond = Lanes::SignBits(Or(Less(p, low), Less(high, p)).Native()) & 7;
    Touch first;
    if (std::has_single_bit(static_cast<unsigned>(beyond)) || beyond == 0) {
        first.Take(at, Geometry::ClosestAABBPointToPoint(p, box), 0.0F);
    } else {
        // Within the grown box, but beyond the edges, only their capsules can be in the way.
        const auto corner = [&](int bits) { return Select(VectorSIMD4f(Lanes::MaskOfBits(bits)), high, low); };
        for (const int along : {1, 2, 4}) {
            for (int bits = 0; bits < 8; ++bits) {
                if ((bits & along) == 0) {
                    first.TakeEdge<ORDER>(way, radius, corner(bits), corner(bits | along));
                }
            }
        }
    }
    return first.Write(t, contact);
}

template <SumOrder ORDER>
bool SphereOBB(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move, const GeometryOBB& box, float& t,
               VectorSIMD4f& contact) {
    const VectorSIMD4f* const axes = box.GetAxisDir();
    const VectorSIMD4f start = Private::AlongAxes<ORDER>(axes, center - box.GetCenter());
    VectorSIMD4f found;
    if (!SphereBox<ORDER>(start, radius, Private::AlongAxes<ORDER>(axes, move),
                          GeometryAABB(-box.GetExtent(), box.GetExtent()), t, found)) {
        return false;
    }
    const VectorSIMD4f offset =
        Private::Sum<ORDER>(found.BroadcastX() * axes[0], found.BroadcastY() * axes[1], found.BroadcastZ() * axes[2]);
    contact = And(box.GetCenter() + offset, VectorSIMD4f::MASK_3D);
    return true;
}

/// The first box shrinks to a point, and the other grows by it.
bool AABBAABB(const GeometryAABB& a, const VectorSIMD4f& move, const GeometryAABB& b, float& t, VectorSIMD4f& normal) {
    const GeometryRay way(Zero(), move, 1.0F);
    const VectorSIMD4f low = b.GetMin() - a.GetMax();
    const VectorSIMD4f high = b.GetMax() - a.GetMin();
    const Interval range = way.GetRange();
    const Interval crossing = Private::CrossSlab(low, high, way.GetInverseDirection(), range.in);
    if (!HasPoints(way) || !a.IsValid() ||
        !Private::MeetInCommon3(crossing, range, LessEqual(b.GetMin(), b.GetMax()))) {
        return false;
    }
    const VectorSIMD4f isAbove = Less(Zero(), low);
    const VectorSIMD4f isApart = Or(isAbove, Less(high, Zero()));
    if ((Lanes::SignBits(isApart.Native()) & 7) == 0) {
        t = 0;
        normal = Zero();
        return true;
    }
    // Of the slabs that are not yet entered, that which is entered last.
    const VectorSIMD4f entries = Select(isApart, crossing.in, VectorSIMD4f::Broadcast(-1.0F));
    const VectorSIMD4f last = Max(entries, Max(Private::Yzx(entries), Private::Zxy(entries)));
    const auto axis = std::countr_zero(static_cast<unsigned>(Lanes::SignBits(LessEqual(last, entries).Native())));
    const VectorSIMD4f sides = Select(isAbove, VectorSIMD4f::Broadcast(-1.0F), VectorSIMD4f::Broadcast(1.0F));
    t = Private::Common3(crossing, range).in.X();
    normal = And(sides, Lanes::MaskOfLane(static_cast<unsigned long>(axis)));
    return true;
}

} // namespace

namespace Geometry {

bool IntersectSweptSpherePlane(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                               const VectorSIMD4f& plane, float& t) {
    return SpherePlane<SumOrder::FAST>(center, radius, move, plane, t);
}

bool IntersectSweptSphereSphere(const VectorSIMD4f& c0, float r0, const VectorSIMD4f& move, const VectorSIMD4f& c1,
                                float r1, float& t) {
    return SphereSphere<SumOrder::FAST>(c0, r0, move, c1, r1, t);
}

bool IntersectSweptSphereTriangle(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                                  const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c, float& t,
                                  VectorSIMD4f& contact) {
    return SphereTriangle<SumOrder::FAST>(center, radius, move, a, b, c, t, contact);
}

bool IntersectSweptSphereAABB(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                              const GeometryAABB& box, float& t, VectorSIMD4f& contact) {
    return SphereBox<SumOrder::FAST>(center, radius, move, box, t, contact);
}

bool IntersectSweptSphereOBB(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move, const GeometryOBB& box,
                             float& t, VectorSIMD4f& contact) {
    return SphereOBB<SumOrder::FAST>(center, radius, move, box, t, contact);
}

bool IntersectSweptAABBAABB(const GeometryAABB& a, const VectorSIMD4f& move, const GeometryAABB& b, float& t,
                            VectorSIMD4f& normal) {
    return AABBAABB(a, move, b, t, normal);
}

namespace Consistent {

bool IntersectSweptSpherePlane(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                               const VectorSIMD4f& plane, float& t) {
    return SpherePlane<SumOrder::CONSISTENT>(center, radius, move, plane, t);
}

bool IntersectSweptSphereSphere(const VectorSIMD4f& c0, float r0, const VectorSIMD4f& move, const VectorSIMD4f& c1,
                                float r1, float& t) {
    return SphereSphere<SumOrder::CONSISTENT>(c0, r0, move, c1, r1, t);
}

bool IntersectSweptSphereTriangle(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                                  const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c, float& t,
                                  VectorSIMD4f& contact) {
    return SphereTriangle<SumOrder::CONSISTENT>(center, radius, move, a, b, c, t, contact);
}

bool IntersectSweptSphereAABB(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                              const GeometryAABB& box, float& t, VectorSIMD4f& contact) {
    return SphereBox<SumOrder::CONSISTENT>(center, radius, move, box, t, contact);
}

bool IntersectSweptSphereOBB(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move, const GeometryOBB& box,
                             float& t, VectorSIMD4f& contact) {
    return SphereOBB<SumOrder::CONSISTENT>(center, radius, move, box, t, contact);
}

bool IntersectSweptAABBAABB(const GeometryAABB& a, const VectorSIMD4f& move, const GeometryAABB& b, float& t,
                            VectorSIMD4f& normal) {
    return AABBAABB(a, move, b, t, normal);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
