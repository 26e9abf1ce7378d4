/// @file
/// Planes, which are a VectorSIMD4f (n.x, n.y, n.z, d): the points p with n p + d = 0. Where n p + d is positive, p is
/// in front of the plane. The normal n may have any length, except where a contract asks for unit length.
///
/// A body that reaches both sides intersects the plane, and so does one that touches it from behind; one that touches
/// it from the front is in front. What is no shape, such as an invalid box, and what holds a NaN is behind. The other
/// rules are those of intersectray.h.
///
/// What makes planes sums from left to right and runs in the DLL, so that it serves both forms of the queries.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/obb.h>
#include <zelk_core/math/matrixsimd.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry {

/// How much of a body lies within something, or in front of a plane.
enum class Containment : unsigned char {
    OUTSIDE,
    INTERSECTING,
    INSIDE,
};

/// Writes the plane through three points, with unit normal. It is in front where they are seen to run
/// counter-clockwise. The normal is taken at the corner opposite the longest edge, where it is most exact.
/// @return false, with nothing written, where the points lie on one line, or a coordinate is NaN.
[[nodiscard]] Z4_API bool MakePlane(VectorSIMD4f& plane, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                    const VectorSIMD4f& c);
/// Writes the plane that fits the `count` corners of a polygon best, with unit normal. It is in front where they are
/// seen to run counter-clockwise, and goes through their mean (M. Newell's sums; C. Ericson, "Real-Time Collision
/// Detection", 2005, section 12.4.2).
/// @return false, with nothing written, for fewer than three corners, a polygon without area, and where a coordinate is
/// NaN.
[[nodiscard]] Z4_API bool MakePlane(VectorSIMD4f& plane, const VectorSIMD4f* polygon, unsigned long count);
/// The plane through `point` with the normal as given, which keeps its length.
[[nodiscard]] Z4_API VectorSIMD4f MakePlane(const VectorSIMD4f& normal, const VectorSIMD4f& point);

/// Divides the plane by the length of its normal.
/// @return false, with the plane as it was, where that is 0, infinite or NaN.
[[nodiscard]] Z4_API bool NormalizePlane(VectorSIMD4f& plane);
/// The plane after its points have been transformed by a matrix, of which `inverse` is the inverse. The normal's length
/// changes with it.
[[nodiscard]] Z4_API VectorSIMD4f TransformPlane(const VectorSIMD4f& plane, const MatrixSIMD44f& inverse);

/// n p + d: the distance of `p` from the plane in units of the normal's length, negative behind it.
[[nodiscard]] Z4_API float DistancePointToPlane(const VectorSIMD4f& p, const VectorSIMD4f& plane);
/// The point of the plane nearest `p`, with the w of `p`. Where the normal is 0, it is `p`.
[[nodiscard]] Z4_API VectorSIMD4f ClosestPointToPlane(const VectorSIMD4f& p, const VectorSIMD4f& plane);

/// Writes a point of the line that two planes have in common, the one nearest the origin, with w = 1, and the line's
/// direction, with w = 0 (C. Ericson, section 5.4.4).
/// @return false, with nothing written, where the cross product of the normals is 0 or NaN.
[[nodiscard]] Z4_API bool IntersectPlanePlane(const VectorSIMD4f& p, const VectorSIMD4f& q, VectorSIMD4f& point,
                                              VectorSIMD4f& direction);
/// Writes the point that three planes have in common, with w = 1 (C. Ericson, section 5.4.5).
/// @return false, with nothing written, where the determinant of the normals is 0 or NaN.
[[nodiscard]] Z4_API bool IntersectPlanes(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& r,
                                          VectorSIMD4f& point);

/// Where a body lies. `INSIDE` is in front: all of it is in front of the plane or on it. `OUTSIDE` is behind (C.
/// Ericson, section 5.2.3). Boxes with coordinates beyond 1e18 may get any answer.
[[nodiscard]] Z4_API Containment ClassifyAABBByPlane(const GeometryAABB& box, const VectorSIMD4f& plane);
[[nodiscard]] Z4_API Containment ClassifyOBBByPlane(const GeometryOBB& box, const VectorSIMD4f& plane);
[[nodiscard]] Z4_API Containment ClassifySphereByPlane(const VectorSIMD4f& center, float radius,
                                                       const VectorSIMD4f& plane);
[[nodiscard]] Z4_API Containment ClassifyTriangleByPlane(const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                         const VectorSIMD4f& c, const VectorSIMD4f& plane);

namespace Consistent {

[[nodiscard]] Z4_API float DistancePointToPlane(const VectorSIMD4f& p, const VectorSIMD4f& plane);
[[nodiscard]] Z4_API VectorSIMD4f ClosestPointToPlane(const VectorSIMD4f& p, const VectorSIMD4f& plane);
[[nodiscard]] Z4_API bool IntersectPlanePlane(const VectorSIMD4f& p, const VectorSIMD4f& q, VectorSIMD4f& point,
                                              VectorSIMD4f& direction);
[[nodiscard]] Z4_API bool IntersectPlanes(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& r,
                                          VectorSIMD4f& point);
[[nodiscard]] Z4_API Containment ClassifyAABBByPlane(const GeometryAABB& box, const VectorSIMD4f& plane);
[[nodiscard]] Z4_API Containment ClassifyOBBByPlane(const GeometryOBB& box, const VectorSIMD4f& plane);
[[nodiscard]] Z4_API Containment ClassifySphereByPlane(const VectorSIMD4f& center, float radius,
                                                       const VectorSIMD4f& plane);
[[nodiscard]] Z4_API Containment ClassifyTriangleByPlane(const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                         const VectorSIMD4f& c, const VectorSIMD4f& plane);

} // namespace Consistent
} // namespace Z4::Geometry
