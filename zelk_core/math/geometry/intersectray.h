/// @file
/// Where a ray meets a shape. Prepare a GeometryRay once, and ask about many shapes.
///
/// These rules hold for all queries here, in plane.h and in group4.h; a contract names only exceptions.
/// - A solid, such as a box, a sphere, a capsule or a cylinder, includes its inside and its surface. A triangle and a
///   rectangle include their border. Touching is a hit.
/// - The parameter t of a hit counts in units of the ray's direction and lies within the ray's bounds. A ray that
/// starts
///   inside a solid meets it at its first t. Queries with `tIn` and `tOut` write both ends of the part that lies in the
///   solid; those with `t` write the first of them.
/// - Results are written on a hit only. They may be the same objects as the arguments.
/// - A ray without points meets nothing, and so does a shape with a NaN in a lane that counts. A box that is empty or
///   otherwise not valid, a negative radius and a count of 0 are no shapes: nothing meets them. A sphere of radius 0, a
///   flat box and a box that is a point are shapes like any other.
/// - A ray without a direction is a point. It meets the solids that contain it, at its first t; the planes that it lies
///   on exactly; and no triangle or rectangle.
/// - Differences of coordinates should be 0 or between 1e-6 and 1e9 in magnitude. Beyond that, results lose accuracy,
///   and either answer may be given. Axis-aligned boxes may reach to infinity.
/// - A ray that passes a shape's surface by less than a few roundings of the greatest coordinate difference among the
///   arguments may hit or miss it, and t has an error that moves the point by so much, where nothing else is said.
/// - Queries in the namespace `Consistent` are those of the same name outside it, except that they sum dot products
/// from
///   left to right (see SumOrder). They always run in the DLL and give the same bits everywhere.
///
/// Queries that are compiled into their callers promise what they do only where the caller's compiler leaves products
/// and sums apart, which the installed package asks of it (`-ffp-contract=off`).
///
/// Dot products count x, y and z. Nothing fails, traps or allocates, and any thread may call.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/obb.h>
#include <zelk_core/math/geometry/ray.h>
#include <zelk_core/math/geometry/round.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry {

/// Which side of a triangle can be hit.
enum class Sides : unsigned char {
    BOTH,
    /// That from which its corners are seen to run counter-clockwise.
    FRONT,
};

/// Where the ray crosses a plane (n.x, n.y, n.z, d), the points p with n p + d = 0. A ray parallel to the plane hits it
/// at its first t if it starts on it exactly, and else never.
[[nodiscard]] Z4_API bool IntersectRayPlane(const GeometryRay& ray, const VectorSIMD4f& plane, float& t);

/// Ray and axis-aligned box. A ray that meets the box is never missed. One that passes it may be taken to meet it where
/// moving the box's sides by 1e-6 of their distance from the ray's start would make it so.
///
/// This is the slab test of slabs.h.
[[nodiscard]] Z4_API_ALWAYS_INLINE bool IntersectRayAABB(const GeometryRay& ray, const GeometryAABB& box, float& tIn,
                                                         float& tOut) {
    const Private::Interval range = ray.GetRange();
    const Private::Interval crossing = Private::CrossSlab(
        box.GetMin() - ray.GetOrigin(), box.GetMax() - ray.GetOrigin(), ray.GetInverseDirection(), range.in);
    // One way out, so that a caller who counts hits gets no branch.
    const bool isHit = Private::MeetInCommon3(crossing, range, LessEqual(box.GetMin(), box.GetMax()));
    if (isHit) {
        const Private::Interval result = Private::Common3(crossing, range);
        tIn = result.in.X();
        tOut = result.out.X();
    }
    return isHit;
}

/// Ray and box in any orientation, whose axes must be perpendicular and of unit length.
[[nodiscard]] Z4_API bool IntersectRayOBB(const GeometryRay& ray, const GeometryOBB& box, float& tIn, float& tOut);

/// Ray and sphere. How far the line passes the centre is calculated by itself, as the length of a cross product with
/// the unit direction, and not as the difference of two large squares. That keeps small spheres far away accurate (E.
/// Haines, J. Günther and T. Akenine-Möller, "Precision Improvements for Ray/Sphere Intersection", Ray Tracing Gems,
/// 2019, with Lagrange's identity).
[[nodiscard]] Z4_API_ALWAYS_INLINE bool IntersectRaySphere(const GeometryRay& ray, const VectorSIMD4f& center,
                                                           float radius, float& tIn, float& tOut) {
    Private::Part part = Private::Part::Nothing();
    return Private::FindRoundPart<SumOrder::FAST>(ray.GetOrigin() - center, ray.GetDirection(), radius,
                                                  ray.GetInverseLength<SumOrder::FAST>(), part) &&
           part.WriteWithin(ray.GetFirst(), ray.GetLast(), tIn, tOut);
}

/// Ray and capsule, the points no farther than `radius` from the segment from `a` to `b`. Where `a` and `b` are equal,
/// that is a sphere.
[[nodiscard]] Z4_API bool IntersectRayCapsule(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                              float radius, float& tIn, float& tOut);

/// Ray and cylinder with flat ends, whose axis goes from `a` to `b`. Where these are equal, nothing is hit (C. Ericson,
/// "Real-Time Collision Detection", 2005, section 5.3.7, with the root of IntersectRaySphere()).
[[nodiscard]] Z4_API bool IntersectRayCylinder(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                               float radius, float& tIn, float& tOut);

/// Ray and the convex solid in front of all `count` planes at `planes`. A plane is (n.x, n.y, n.z, d), and n p + d >= 0
/// in front of it (M. Cyrus and J. Beck, "Generalized Two- and Three-Dimensional Clipping", 1978).
[[nodiscard]] Z4_API bool IntersectRayConvex(const GeometryRay& ray, const VectorSIMD4f* planes, unsigned long count,
                                             float& tIn, float& tOut);

/// The same queries without the far end.
[[nodiscard]] Z4_ALWAYS_INLINE bool IntersectRayAABB(const GeometryRay& ray, const GeometryAABB& box, float& t) {
    float out = 0;
    return IntersectRayAABB(ray, box, t, out);
}
[[nodiscard]] Z4_ALWAYS_INLINE bool IntersectRayOBB(const GeometryRay& ray, const GeometryOBB& box, float& t) {
    float out = 0;
    return IntersectRayOBB(ray, box, t, out);
}
[[nodiscard]] Z4_ALWAYS_INLINE bool IntersectRaySphere(const GeometryRay& ray, const VectorSIMD4f& center, float radius,
                                                       float& t) {
    float out = 0;
    return IntersectRaySphere(ray, center, radius, t, out);
}
[[nodiscard]] Z4_ALWAYS_INLINE bool IntersectRayCapsule(const GeometryRay& ray, const VectorSIMD4f& a,
                                                        const VectorSIMD4f& b, float radius, float& t) {
    float out = 0;
    return IntersectRayCapsule(ray, a, b, radius, t, out);
}
[[nodiscard]] Z4_ALWAYS_INLINE bool IntersectRayCylinder(const GeometryRay& ray, const VectorSIMD4f& a,
                                                         const VectorSIMD4f& b, float radius, float& t) {
    float out = 0;
    return IntersectRayCylinder(ray, a, b, radius, t, out);
}

/// Ray and triangle. The hit is (1 - u - v) `a` + u `b` + v `c`, which is the point at `t`; u and v are not negative,
/// and their sum exceeds 1 by no more than rounding. A ray in the plane of a triangle misses it, and a triangle without
/// area is never hit.
///
/// Watertight: a ray at an edge or a corner that triangles share hits at least one of them, so that none passes through
/// a closed mesh. shear.h has the algorithm and the reason.
[[nodiscard]] Z4_API_ALWAYS_INLINE bool IntersectRayTriangle(const GeometryRay& ray, const VectorSIMD4f& a,
                                                             const VectorSIMD4f& b, const VectorSIMD4f& c, float& t,
                                                             float& u, float& v, Sides sides = Sides::BOTH) {
    const VectorSIMD4f& start = ray.GetOrigin();
    return Private::FindTriangleHit<SumOrder::FAST>(ray.GetShear(), ray.GetFirst(), ray.GetLast(), a - start, b - start,
                                                    c - start, sides == Sides::FRONT, t, u, v);
}

/// Ray and rectangle. The hit is `corner` + u `edge0` + v `edge1`. Any two edges that are not parallel will do: the
/// shape is then a parallelogram. A ray in its plane misses it. Watertight as IntersectRayTriangle() where rectangles
/// and triangles share corners, of which the rectangle has `corner`, `corner` + `edge0`, `corner` + `edge1` and
/// (`corner` + `edge0`) + `edge1`.
[[nodiscard]] Z4_API bool IntersectRayRectangle(const GeometryRay& ray, const VectorSIMD4f& corner,
                                                const VectorSIMD4f& edge0, const VectorSIMD4f& edge1, float& t,
                                                float& u, float& v);

namespace Consistent {

[[nodiscard]] Z4_API bool IntersectRayPlane(const GeometryRay& ray, const VectorSIMD4f& plane, float& t);
/// The same bits as outside the namespace, as nothing is summed; but always in the DLL.
[[nodiscard]] Z4_API bool IntersectRayAABB(const GeometryRay& ray, const GeometryAABB& box, float& tIn, float& tOut);
[[nodiscard]] Z4_API bool IntersectRayOBB(const GeometryRay& ray, const GeometryOBB& box, float& tIn, float& tOut);
[[nodiscard]] Z4_API bool IntersectRaySphere(const GeometryRay& ray, const VectorSIMD4f& center, float radius,
                                             float& tIn, float& tOut);
[[nodiscard]] Z4_API bool IntersectRayCapsule(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                              float radius, float& tIn, float& tOut);
[[nodiscard]] Z4_API bool IntersectRayCylinder(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                               float radius, float& tIn, float& tOut);
[[nodiscard]] Z4_API bool IntersectRayConvex(const GeometryRay& ray, const VectorSIMD4f* planes, unsigned long count,
                                             float& tIn, float& tOut);
[[nodiscard]] Z4_API bool IntersectRayTriangle(const GeometryRay& ray, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                               const VectorSIMD4f& c, float& t, float& u, float& v,
                                               Sides sides = Sides::BOTH);
[[nodiscard]] Z4_API bool IntersectRayRectangle(const GeometryRay& ray, const VectorSIMD4f& corner,
                                                const VectorSIMD4f& edge0, const VectorSIMD4f& edge1, float& t,
                                                float& u, float& v);

} // namespace Consistent
} // namespace Z4::Geometry
