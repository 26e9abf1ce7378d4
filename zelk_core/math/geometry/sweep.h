/// @file
/// When a sphere or a box that moves first touches a shape: collision that is not missed between two frames.
///
/// The body moves from where it is by `move`. The parameter t in [0, 1] stands for the way t `move`; it is 0 where the
/// two touch at the start. `contact` is the point of the shape that is touched, at the start the one nearest the
/// sphere's centre, with w = 0.
///
/// The other rules are those of intersectray.h: touching is a hit, results are written on a hit only, and a NaN, a
/// negative radius and an invalid box meet nothing. A body that does not move touches what it overlaps. Coordinates are
/// finite.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/obb.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry {

/// A plane is that of plane.h, and is touched from both sides (C. Ericson, "Real-Time Collision Detection", 2005,
/// section 5.5.3).
[[nodiscard]] Z4_API bool IntersectSweptSpherePlane(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                                                    const VectorSIMD4f& plane, float& t);
/// The second sphere rests. Of two that move, `move` is the way of the first less that of the second (C. Ericson,
/// section 5.5.5).
[[nodiscard]] Z4_API bool IntersectSweptSphereSphere(const VectorSIMD4f& c0, float r0, const VectorSIMD4f& move,
                                                     const VectorSIMD4f& c1, float r1, float& t);
/// The first of the touches with the triangle's face and its three edges, each of which is a capsule to the sphere's
/// centre (C. Ericson, section 5.5.6). A triangle without area is its edges.
[[nodiscard]] Z4_API bool IntersectSweptSphereTriangle(const VectorSIMD4f& center, float radius,
                                                       const VectorSIMD4f& move, const VectorSIMD4f& a,
                                                       const VectorSIMD4f& b, const VectorSIMD4f& c, float& t,
                                                       VectorSIMD4f& contact);
/// The sphere's centre meets the box grown by the radius; where that is beyond an edge, it is the first of the twelve
/// edges' capsules that counts (C. Ericson, section 5.5.7).
[[nodiscard]] Z4_API bool IntersectSweptSphereAABB(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                                                   const GeometryAABB& box, float& t, VectorSIMD4f& contact);
/// The same in the frame of the box, whose axes must be perpendicular and of unit length.
[[nodiscard]] Z4_API bool IntersectSweptSphereOBB(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                                                  const GeometryOBB& box, float& t, VectorSIMD4f& contact);
/// Box `a` moves, and `b` rests. Writes the unit normal of that side of `b` which is touched last, of several at once
/// the first of x, y and z; with w = 0. Where they touch at the start, the normal is 0. Boxes that meet are never
/// missed, as in IntersectRayAABB().
[[nodiscard]] Z4_API bool IntersectSweptAABBAABB(const GeometryAABB& a, const VectorSIMD4f& move, const GeometryAABB& b,
                                                 float& t, VectorSIMD4f& normal);

namespace Consistent {

[[nodiscard]] Z4_API bool IntersectSweptSpherePlane(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                                                    const VectorSIMD4f& plane, float& t);
[[nodiscard]] Z4_API bool IntersectSweptSphereSphere(const VectorSIMD4f& c0, float r0, const VectorSIMD4f& move,
                                                     const VectorSIMD4f& c1, float r1, float& t);
[[nodiscard]] Z4_API bool IntersectSweptSphereTriangle(const VectorSIMD4f& center, float radius,
                                                       const VectorSIMD4f& move, const VectorSIMD4f& a,
                                                       const VectorSIMD4f& b, const VectorSIMD4f& c, float& t,
                                                       VectorSIMD4f& contact);
[[nodiscard]] Z4_API bool IntersectSweptSphereAABB(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                                                   const GeometryAABB& box, float& t, VectorSIMD4f& contact);
[[nodiscard]] Z4_API bool IntersectSweptSphereOBB(const VectorSIMD4f& center, float radius, const VectorSIMD4f& move,
                                                  const GeometryOBB& box, float& t, VectorSIMD4f& contact);
/// The same bits as outside the namespace, as nothing is summed.
[[nodiscard]] Z4_API bool IntersectSweptAABBAABB(const GeometryAABB& a, const VectorSIMD4f& move, const GeometryAABB& b,
                                                 float& t, VectorSIMD4f& normal);

} // namespace Consistent
} // namespace Z4::Geometry
