#include <zelk_core/math/geometry/intersectpair.h>

namespace Z4::Geometry {

using Private::IsWithin;

namespace {

/// What is round on both sides.
bool AreWithin(float distanceSqr, float r0, float r1) {
    return r0 >= 0 && r1 >= 0 && IsWithin(distanceSqr, r0 + r1);
}

/// NaN where x, y or z is NaN, else 0: a segment whose end is NaN counts as a point, but no capsule has such an end.
float FromNan(const VectorSIMD4f& v) {
    return AllTrue3(Equal(v, v)) ? 0 : std::numeric_limits<float>::quiet_NaN();
}

} // namespace

bool IntersectSphereOBB(const VectorSIMD4f& center, float radius, const GeometryOBB& box) {
    VectorSIMD4f closest;
    return IsWithin(Geometry::DistancePointToOBBSqr(center, box, closest), radius);
}

bool IntersectSphereTriangle(const VectorSIMD4f& center, float radius, const VectorSIMD4f& a, const VectorSIMD4f& b,
                             const VectorSIMD4f& c) {
    float uv[2];
    return IsWithin(Geometry::DistancePointToTriangleSqr(center, a, b, c, uv[0], uv[1]), radius);
}

bool IntersectSphereCapsule(const VectorSIMD4f& center, float radius, const VectorSIMD4f& a, const VectorSIMD4f& b,
                            float capsuleRadius) {
    VectorSIMD4f closest;
    float t = 0;
    return AreWithin(Geometry::ClosestPointToSegment(closest, center, a, b, t) + FromNan(b), radius, capsuleRadius);
}

bool IntersectCapsuleCapsule(const VectorSIMD4f& a0, const VectorSIMD4f& a1, float ra, const VectorSIMD4f& b0,
                             const VectorSIMD4f& b1, float rb) {
    float t[2];
    return AreWithin(Geometry::DistanceSegmentToSegmentSqr(a0, a1, b0, b1, t[0], t[1]), ra, rb);
}

bool IntersectCapsuleAABB(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius, const GeometryAABB& box) {
    VectorSIMD4f closest;
    float t = 0;
    return IsWithin(Geometry::DistanceSegmentToAABBSqr(a, b, box, t, closest), radius);
}

bool IntersectCapsuleOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius, const GeometryOBB& box) {
    VectorSIMD4f closest;
    float t = 0;
    return IsWithin(Geometry::DistanceSegmentToOBBSqr(a, b, box, t, closest), radius);
}

bool IntersectCapsuleTriangle(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius, const VectorSIMD4f& t0,
                              const VectorSIMD4f& t1, const VectorSIMD4f& t2) {
    float t[3];
    return IsWithin(Geometry::DistanceSegmentToTriangleSqr(a, b, t0, t1, t2, t[0], t[1], t[2]), radius);
}

namespace Consistent {

bool IntersectSphereSphere(const VectorSIMD4f& c0, float r0, const VectorSIMD4f& c1, float r1) {
    return Private::SpheresMeet<SumOrder::CONSISTENT>(c0, r0, c1, r1);
}

bool IntersectSphereAABB(const VectorSIMD4f& center, float radius, const GeometryAABB& box) {
    return IsWithin(Consistent::DistancePointToAABBSqr(center, box), radius);
}

bool IntersectSphereOBB(const VectorSIMD4f& center, float radius, const GeometryOBB& box) {
    VectorSIMD4f closest;
    return IsWithin(Consistent::DistancePointToOBBSqr(center, box, closest), radius);
}

bool IntersectSphereTriangle(const VectorSIMD4f& center, float radius, const VectorSIMD4f& a, const VectorSIMD4f& b,
                             const VectorSIMD4f& c) {
    float uv[2];
    return IsWithin(Consistent::DistancePointToTriangleSqr(center, a, b, c, uv[0], uv[1]), radius);
}

bool IntersectSphereCapsule(const VectorSIMD4f& center, float radius, const VectorSIMD4f& a, const VectorSIMD4f& b,
                            float capsuleRadius) {
    VectorSIMD4f closest;
    float t = 0;
    return AreWithin(Consistent::ClosestPointToSegment(closest, center, a, b, t) + FromNan(b), radius, capsuleRadius);
}

bool IntersectCapsuleCapsule(const VectorSIMD4f& a0, const VectorSIMD4f& a1, float ra, const VectorSIMD4f& b0,
                             const VectorSIMD4f& b1, float rb) {
    float t[2];
    return AreWithin(Consistent::DistanceSegmentToSegmentSqr(a0, a1, b0, b1, t[0], t[1]), ra, rb);
}

bool IntersectCapsuleAABB(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius, const GeometryAABB& box) {
    VectorSIMD4f closest;
    float t = 0;
    return IsWithin(Consistent::DistanceSegmentToAABBSqr(a, b, box, t, closest), radius);
}

bool IntersectCapsuleOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius, const GeometryOBB& box) {
    VectorSIMD4f closest;
    float t = 0;
    return IsWithin(Consistent::DistanceSegmentToOBBSqr(a, b, box, t, closest), radius);
}

bool IntersectCapsuleTriangle(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius, const VectorSIMD4f& t0,
                              const VectorSIMD4f& t1, const VectorSIMD4f& t2) {
    float t[3];
    return IsWithin(Consistent::DistanceSegmentToTriangleSqr(a, b, t0, t1, t2, t[0], t[1], t[2]), radius);
}

} // namespace Consistent
} // namespace Z4::Geometry
