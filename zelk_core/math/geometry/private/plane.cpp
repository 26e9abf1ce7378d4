#include <zelk_core/math/geometry/plane.h>

#include <limits>

namespace Z4 {

namespace {

using Geometry::Containment;
using Geometry::GeometryAABB;
using Geometry::GeometryOBB;

VectorSIMD4f Zero() {
    return VectorSIMD4f::Broadcast(0.0F);
}
VectorSIMD4f Normal(const VectorSIMD4f& plane) {
    return And(plane, VectorSIMD4f::MASK_3D);
}
VectorSIMD4f WithW(const VectorSIMD4f& v, float w) {
    VectorSIMD4f result(v);
    result.SetW(w);
    return result;
}

/// n p + d in all lanes.
template <SumOrder ORDER>
VectorSIMD4f Height(const VectorSIMD4f& p, const VectorSIMD4f& plane) {
    return Dot3<ORDER>(p, plane) + plane.BroadcastW();
}

bool MakeUnitPlane(VectorSIMD4f& plane, const VectorSIMD4f& normal, const VectorSIMD4f& point) {
    VectorSIMD4f made = WithW(normal, 0.0F);
    if (!Geometry::NormalizePlane(made)) {
        return false;
    }
    plane = Geometry::MakePlane(made, point);
    return true;
}

template <SumOrder ORDER>
VectorSIMD4f ClosestPoint(const VectorSIMD4f& p, const VectorSIMD4f& plane) {
    const VectorSIMD4f normal = Normal(plane);
    const VectorSIMD4f normalSqr = LengthSqr3<ORDER>(normal);
    const VectorSIMD4f way = Height<ORDER>(p, plane) / normalSqr * normal;
    return p - AndNot(Equal(normalSqr, Zero()), way);
}

template <SumOrder ORDER>
bool PlanePlane(const VectorSIMD4f& p, const VectorSIMD4f& q, VectorSIMD4f& point, VectorSIMD4f& direction) {
    const VectorSIMD4f along = Cross3(Normal(p), Normal(q));
    const VectorSIMD4f alongSqr = LengthSqr3<ORDER>(along);
    if (!AllTrue(Less(Zero(), alongSqr))) {
        return false;
    }
    const VectorSIMD4f mixed = q.BroadcastW() * Normal(p) - p.BroadcastW() * Normal(q);
    point = WithW(Cross3(mixed, along) / alongSqr, 1.0F);
    direction = along;
    return true;
}

template <SumOrder ORDER>
bool Planes(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& r, VectorSIMD4f& point) {
    const VectorSIMD4f across = Cross3(Normal(q), Normal(r));
    const VectorSIMD4f determinant = Dot3<ORDER>(p, across);
    if (!AllTrue(Less(Zero(), Abs(determinant)))) {
        return false;
    }
    const VectorSIMD4f mixed = r.BroadcastW() * Normal(q) - q.BroadcastW() * Normal(r);
    const VectorSIMD4f sum = p.BroadcastW() * across + Cross3(Normal(p), mixed);
    point = WithW(-sum / determinant, 1.0F);
    return true;
}

/// Of a body whose middle has the height `middle` and that reaches up and down by `reach`.
Containment Classify(const VectorSIMD4f& middle, const VectorSIMD4f& reach) {
    if (!AllTrue(LessEqual(-reach, middle))) {
        return Containment::OUTSIDE;
    }
    return AllTrue(LessEqual(reach, middle)) ? Containment::INSIDE : Containment::INTERSECTING;
}

/// All doubled, which saves the halving.
template <SumOrder ORDER>
Containment ClassifyAABB(const GeometryAABB& box, const VectorSIMD4f& plane) {
    if (!box.IsValid()) {
        return Containment::OUTSIDE;
    }
    const VectorSIMD4f middle =
        Dot3<ORDER>(box.GetMin() + box.GetMax(), plane) + (plane.BroadcastW() + plane.BroadcastW());
    return Classify(middle, Dot3<ORDER>(box.GetFullExtent(), Abs(plane)));
}

template <SumOrder ORDER>
Containment ClassifyOBB(const GeometryOBB& box, const VectorSIMD4f& plane) {
    if (!AllTrue3(LessEqual(Zero(), box.GetExtent()))) {
        return Containment::OUTSIDE;
    }
    const VectorSIMD4f slopes = Private::AlongAxes<ORDER>(box.GetAxisDir(), plane);
    return Classify(Height<ORDER>(box.GetCenter(), plane), Dot3<ORDER>(box.GetExtent(), Abs(slopes)));
}

/// By squares, for the normal may have any length.
template <SumOrder ORDER>
Containment ClassifySphere(const VectorSIMD4f& center, float radius, const VectorSIMD4f& plane) {
    const float height = Height<ORDER>(center, plane).X();
    const float reachSqr = radius * radius * LengthSqr3<ORDER>(plane).X();
    if (!(radius >= 0) || !(height >= 0 || height * height <= reachSqr)) {
        return Containment::OUTSIDE;
    }
    return height >= 0 && height * height >= reachSqr ? Containment::INSIDE : Containment::INTERSECTING;
}

template <SumOrder ORDER>
Containment ClassifyTriangle(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                             const VectorSIMD4f& plane) {
    // One corner to a lane.
    const Private::Columns products(a * plane, b * plane, c * plane);
    const VectorSIMD4f heights = Private::Sum<ORDER>(products.x, products.y, products.z) + plane.BroadcastW();
    const int inFront = Lanes::SignBits(LessEqual(Zero(), heights).Native()) & 7;
    if (inFront == 0 || !AllTrue3(Equal(heights, heights))) {
        return Containment::OUTSIDE;
    }
    return inFront == 7 ? Containment::INSIDE : Containment::INTERSECTING;
}

} // namespace

namespace Geometry {

bool MakePlane(VectorSIMD4f& plane, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c) {
    const VectorSIMD4f ab = b - a;
    const VectorSIMD4f bc = c - b;
    const VectorSIMD4f ca = a - c;
    const float abSqr = LengthSqr3<SumOrder::CONSISTENT>(ab).X();
    const float bcSqr = LengthSqr3<SumOrder::CONSISTENT>(bc).X();
    const float caSqr = LengthSqr3<SumOrder::CONSISTENT>(ca).X();
    if (abSqr >= bcSqr && abSqr >= caSqr) {
        return MakeUnitPlane(plane, Cross3(bc, ca), c);
    }
    return bcSqr >= caSqr ? MakeUnitPlane(plane, Cross3(ca, ab), a) : MakeUnitPlane(plane, Cross3(ab, bc), b);
}

bool MakePlane(VectorSIMD4f& plane, const VectorSIMD4f* polygon, unsigned long count) {
    if (count < 3) {
        return false;
    }
    // Relative to the first corner, so that a polygon far from the origin loses nothing.
    VectorSIMD4f normal = Zero();
    VectorSIMD4f sum = polygon[1] - polygon[0];
    for (unsigned long i = 2; i < count; ++i) {
        const VectorSIMD4f corner = polygon[i] - polygon[0];
        normal += Cross3(polygon[i - 1] - polygon[0], corner);
        sum += corner;
    }
    return MakeUnitPlane(plane, normal, polygon[0] + sum / static_cast<float>(count));
}

VectorSIMD4f MakePlane(const VectorSIMD4f& normal, const VectorSIMD4f& point) {
    return WithW(normal, -Dot3<SumOrder::CONSISTENT>(normal, point).X());
}

bool NormalizePlane(VectorSIMD4f& plane) {
    const VectorSIMD4f length = Length3<SumOrder::CONSISTENT>(plane);
    const VectorSIMD4f greatest = VectorSIMD4f::Broadcast((std::numeric_limits<float>::max)());
    if (!AllTrue(And(Less(Zero(), length), LessEqual(length, greatest)))) {
        return false;
    }
    plane /= length;
    return true;
}

VectorSIMD4f TransformPlane(const VectorSIMD4f& plane, const MatrixSIMD44f& inverse) {
    const MatrixSIMD44f columns = Transpose(inverse);
    return ((plane.BroadcastX() * columns.Row(0) + plane.BroadcastY() * columns.Row(1)) +
            plane.BroadcastZ() * columns.Row(2)) +
           plane.BroadcastW() * columns.Row(3);
}

float DistancePointToPlane(const VectorSIMD4f& p, const VectorSIMD4f& plane) {
    return Height<SumOrder::FAST>(p, plane).X();
}

VectorSIMD4f ClosestPointToPlane(const VectorSIMD4f& p, const VectorSIMD4f& plane) {
    return ClosestPoint<SumOrder::FAST>(p, plane);
}

bool IntersectPlanePlane(const VectorSIMD4f& p, const VectorSIMD4f& q, VectorSIMD4f& point, VectorSIMD4f& direction) {
    return PlanePlane<SumOrder::FAST>(p, q, point, direction);
}

bool IntersectPlanes(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& r, VectorSIMD4f& point) {
    return Planes<SumOrder::FAST>(p, q, r, point);
}

Containment ClassifyAABBByPlane(const GeometryAABB& box, const VectorSIMD4f& plane) {
    return ClassifyAABB<SumOrder::FAST>(box, plane);
}

Containment ClassifyOBBByPlane(const GeometryOBB& box, const VectorSIMD4f& plane) {
    return ClassifyOBB<SumOrder::FAST>(box, plane);
}

Containment ClassifySphereByPlane(const VectorSIMD4f& center, float radius, const VectorSIMD4f& plane) {
    return ClassifySphere<SumOrder::FAST>(center, radius, plane);
}

Containment ClassifyTriangleByPlane(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                                    const VectorSIMD4f& plane) {
    return ClassifyTriangle<SumOrder::FAST>(a, b, c, plane);
}

namespace Consistent {

float DistancePointToPlane(const VectorSIMD4f& p, const VectorSIMD4f& plane) {
    return Height<SumOrder::CONSISTENT>(p, plane).X();
}

VectorSIMD4f ClosestPointToPlane(const VectorSIMD4f& p, const VectorSIMD4f& plane) {
    return ClosestPoint<SumOrder::CONSISTENT>(p, plane);
}

bool IntersectPlanePlane(const VectorSIMD4f& p, const VectorSIMD4f& q, VectorSIMD4f& point, VectorSIMD4f& direction) {
    return PlanePlane<SumOrder::CONSISTENT>(p, q, point, direction);
}

bool IntersectPlanes(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& r, VectorSIMD4f& point) {
    return Planes<SumOrder::CONSISTENT>(p, q, r, point);
}

Containment ClassifyAABBByPlane(const GeometryAABB& box, const VectorSIMD4f& plane) {
    return ClassifyAABB<SumOrder::CONSISTENT>(box, plane);
}

Containment ClassifyOBBByPlane(const GeometryOBB& box, const VectorSIMD4f& plane) {
    return ClassifyOBB<SumOrder::CONSISTENT>(box, plane);
}

Containment ClassifySphereByPlane(const VectorSIMD4f& center, float radius, const VectorSIMD4f& plane) {
    return ClassifySphere<SumOrder::CONSISTENT>(center, radius, plane);
}

Containment ClassifyTriangleByPlane(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                                    const VectorSIMD4f& plane) {
    return ClassifyTriangle<SumOrder::CONSISTENT>(a, b, c, plane);
}

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
