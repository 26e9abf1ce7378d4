/// @file
/// Whether two shapes have a point in common: spheres, capsules, boxes, triangles and frusta. The rules of
/// intersectray.h hold: solids include their surface, faces their border, and touching is a hit; what is no shape and
/// what holds a NaN meets nothing.
///
/// A capsule holds the points no farther than `radius` from the segment from `a` to `b`. A triangle without area counts
/// as its longest edge. Oriented boxes must have perpendicular axes of unit length.
///
/// Shapes that touch, or miss touching by no more than a few roundings of the greatest coordinate difference among the
/// arguments, may get either answer, where nothing else is said. For coordinates that are small whole numbers, touching
/// triangles and axis-aligned boxes always meet.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/frustum.h>
#include <zelk_core/math/geometry/obb.h>
#include <zelk_core/math/geometry/round.h>
#include <zelk_core/math/geometry/shapedistance.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4 {

namespace Private {

template <SumOrder ORDER>
inline bool SpheresMeet(const VectorSIMD4f& c0, float r0, const VectorSIMD4f& c1, float r1) {
    return r0 >= 0 && r1 >= 0 && IsWithin(LengthSqr3<ORDER>(c1 - c0).X(), r0 + r1);
}

} // namespace Private

namespace Geometry {

/// A sphere and another shape (C. Ericson, "Real-Time Collision Detection", 2005, sections 5.2.5 to 5.2.7).
[[nodiscard]] Z4_API_INLINE bool IntersectSphereSphere(const VectorSIMD4f& c0, float r0, const VectorSIMD4f& c1,
                                                       float r1) {
    return Private::SpheresMeet<SumOrder::FAST>(c0, r0, c1, r1);
}
[[nodiscard]] Z4_API_INLINE bool IntersectSphereAABB(const VectorSIMD4f& center, float radius,
                                                     const GeometryAABB& box) {
    return Private::IsWithin(DistancePointToAABBSqr(center, box), radius);
}
[[nodiscard]] Z4_API bool IntersectSphereOBB(const VectorSIMD4f& center, float radius, const GeometryOBB& box);
[[nodiscard]] Z4_API bool IntersectSphereTriangle(const VectorSIMD4f& center, float radius, const VectorSIMD4f& a,
                                                  const VectorSIMD4f& b, const VectorSIMD4f& c);
[[nodiscard]] Z4_API bool IntersectSphereCapsule(const VectorSIMD4f& center, float radius, const VectorSIMD4f& a,
                                                 const VectorSIMD4f& b, float capsuleRadius);

/// A capsule and another shape, by the distance of its segment from it.
[[nodiscard]] Z4_API bool IntersectCapsuleCapsule(const VectorSIMD4f& a0, const VectorSIMD4f& a1, float ra,
                                                  const VectorSIMD4f& b0, const VectorSIMD4f& b1, float rb);
[[nodiscard]] Z4_API bool IntersectCapsuleAABB(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius,
                                               const GeometryAABB& box);
[[nodiscard]] Z4_API bool IntersectCapsuleOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius,
                                              const GeometryOBB& box);
[[nodiscard]] Z4_API bool IntersectCapsuleTriangle(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius,
                                                   const VectorSIMD4f& t0, const VectorSIMD4f& t1,
                                                   const VectorSIMD4f& t2);

/// Triangle and axis-aligned box, which may reach to infinity (T. Akenine-Möller, "Fast 3D Triangle-Box Overlap
/// Testing", Journal of Graphics Tools, 2001; the part of the box within the triangle's bounds is asked). A triangle
/// that is hardly wider than a segment may be taken to meet a box that is farther away: by a few roundings of its
/// length, times its length over its width.
[[nodiscard]] Z4_API bool IntersectTriangleAABB(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                                                const GeometryAABB& box);
/// The same with an oriented box.
[[nodiscard]] Z4_API bool IntersectTriangleOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                                               const GeometryOBB& box);

/// Two triangles, in one plane or not. Triangles with a common point always give true. Where two edges at a small angle
/// come closest, a gap up to 2e-6 of the triangles' sizes divided by the sine of the angle can still give true, and so
/// can one over a triangle that is hardly wider than a segment, as above.
///
/// These are separating axes (D. Eberly, "Dynamic Collision Detection using Oriented Bounding Boxes", 2002): the two
/// normals; the products of the edges, each of which is the way in which one edge's line passes the other's; and
/// the normals of the edges in the plane, where both triangles lie in one.
[[nodiscard]] Z4_API bool IntersectTriangleTriangle(const VectorSIMD4f& a0, const VectorSIMD4f& a1,
                                                    const VectorSIMD4f& a2, const VectorSIMD4f& b0,
                                                    const VectorSIMD4f& b1, const VectorSIMD4f& b2);
/// The same; it writes the ends of the segment that the triangles share to `p` and `q`. These are equal where they
/// share a point alone, but for rounding. Triangles at an angle below 1e-5 share more than a segment or hardly a line:
/// both are then one common point. The ends have the error of the triangles' heights over each other's plane, divided
/// by the sine of the angle between these.
[[nodiscard]] Z4_API bool IntersectTriangleTriangle(const VectorSIMD4f& a0, const VectorSIMD4f& a1,
                                                    const VectorSIMD4f& a2, const VectorSIMD4f& b0,
                                                    const VectorSIMD4f& b1, const VectorSIMD4f& b2, VectorSIMD4f& p,
                                                    VectorSIMD4f& q);

/// Whether a body reaches into a frustum. cull.h asks the planes alone, which keeps some bodies near an edge of the
/// frustum that this test leaves out, at a multiple of the time. Where a frustum has no far end, this asks the planes
/// alone, too. The planes of a frustum must bound its eight corners and no others. Boxes beyond 1e18 may get any
/// answer.
///
/// These are separating axes over all normals and all pairs of edges (S. Gottschalk, "Separating Axis Theorem", 1996).
/// They are summed from left to right in the DLL and so serve both forms.
[[nodiscard]] Z4_API bool IntersectFrustumAABB(const GeometryFrustum& frustum, const GeometryAABB& box);
[[nodiscard]] Z4_API bool IntersectFrustumOBB(const GeometryFrustum& frustum, const GeometryOBB& box);
[[nodiscard]] Z4_API bool IntersectFrustumTriangle(const GeometryFrustum& frustum, const VectorSIMD4f& a,
                                                   const VectorSIMD4f& b, const VectorSIMD4f& c);
[[nodiscard]] Z4_API bool IntersectFrustumFrustum(const GeometryFrustum& f, const GeometryFrustum& g);

namespace Consistent {

[[nodiscard]] Z4_API bool IntersectSphereSphere(const VectorSIMD4f& c0, float r0, const VectorSIMD4f& c1, float r1);
[[nodiscard]] Z4_API bool IntersectSphereAABB(const VectorSIMD4f& center, float radius, const GeometryAABB& box);
[[nodiscard]] Z4_API bool IntersectSphereOBB(const VectorSIMD4f& center, float radius, const GeometryOBB& box);
[[nodiscard]] Z4_API bool IntersectSphereTriangle(const VectorSIMD4f& center, float radius, const VectorSIMD4f& a,
                                                  const VectorSIMD4f& b, const VectorSIMD4f& c);
[[nodiscard]] Z4_API bool IntersectSphereCapsule(const VectorSIMD4f& center, float radius, const VectorSIMD4f& a,
                                                 const VectorSIMD4f& b, float capsuleRadius);
[[nodiscard]] Z4_API bool IntersectCapsuleCapsule(const VectorSIMD4f& a0, const VectorSIMD4f& a1, float ra,
                                                  const VectorSIMD4f& b0, const VectorSIMD4f& b1, float rb);
[[nodiscard]] Z4_API bool IntersectCapsuleAABB(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius,
                                               const GeometryAABB& box);
[[nodiscard]] Z4_API bool IntersectCapsuleOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius,
                                              const GeometryOBB& box);
[[nodiscard]] Z4_API bool IntersectCapsuleTriangle(const VectorSIMD4f& a, const VectorSIMD4f& b, float radius,
                                                   const VectorSIMD4f& t0, const VectorSIMD4f& t1,
                                                   const VectorSIMD4f& t2);
[[nodiscard]] Z4_API bool IntersectTriangleAABB(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                                                const GeometryAABB& box);
[[nodiscard]] Z4_API bool IntersectTriangleOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                                               const GeometryOBB& box);
[[nodiscard]] Z4_API bool IntersectTriangleTriangle(const VectorSIMD4f& a0, const VectorSIMD4f& a1,
                                                    const VectorSIMD4f& a2, const VectorSIMD4f& b0,
                                                    const VectorSIMD4f& b1, const VectorSIMD4f& b2);
[[nodiscard]] Z4_API bool IntersectTriangleTriangle(const VectorSIMD4f& a0, const VectorSIMD4f& a1,
                                                    const VectorSIMD4f& a2, const VectorSIMD4f& b0,
                                                    const VectorSIMD4f& b1, const VectorSIMD4f& b2, VectorSIMD4f& p,
                                                    VectorSIMD4f& q);

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
