/// @file
/// Where a segment meets a shape, for one question about each segment. Who asks about many shapes prepares a
/// GeometryRay and uses intersectray.h, whose rules hold here.
///
/// A segment goes from one point, where t = 0, to another, where t = 1, and t is the first that lies in the shape: 0
/// where the segment starts inside a solid. A segment between equal points is a point. One with a NaN or an infinity in
/// x, y or z has no points and meets nothing.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/intersectray.h>
#include <zelk_core/math/vector.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry {

/// Where the segment from `a` to `b` crosses a plane (n.x, n.y, n.z, d). The ends decide, each by the sign of its own
/// n p + d, so that a chain of segments meets a plane whenever its ends lie on different sides.
[[nodiscard]] Z4_API bool IntersectSegmentPlane(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& plane,
                                                float& t);

/// Whether the segment from `a` to `b` meets an axis-aligned box. A segment that does is never missed. One that passes
/// the box may be taken to meet it where moving the box's sides by 1e-6 of their distance from `a` would make it so.
/// There is no division (separating axes, C. Ericson, "Real-Time Collision Detection", 2005, section 5.3.3).
[[nodiscard]] Z4_API bool IntersectSegmentAABB(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryAABB& box);
/// The same with a box in any orientation, whose axes must be perpendicular and of unit length. Rounding may decide
/// either way at its surface.
[[nodiscard]] Z4_API bool IntersectSegmentOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryOBB& box);

/// These are the queries of intersectray.h of the segment from `p` to `q`, with the same shapes.
[[nodiscard]] Z4_API bool IntersectSegmentSphere(const VectorSIMD4f& p, const VectorSIMD4f& q,
                                                 const VectorSIMD4f& center, float radius, float& t);
[[nodiscard]] Z4_API bool IntersectSegmentCapsule(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a,
                                                  const VectorSIMD4f& b, float radius, float& t);
[[nodiscard]] Z4_API bool IntersectSegmentCylinder(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a,
                                                   const VectorSIMD4f& b, float radius, float& t);
[[nodiscard]] Z4_API bool IntersectSegmentTriangle(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a,
                                                   const VectorSIMD4f& b, const VectorSIMD4f& c, float& t,
                                                   Sides sides = Sides::BOTH);
[[nodiscard]] Z4_API bool IntersectSegmentRectangle(const VectorSIMD4f& p, const VectorSIMD4f& q,
                                                    const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                                                    const VectorSIMD4f& edge1, float& t);

/// Where two segments of the plane meet: a0 + s (a1 - a0) is b0 + t (b1 - b0). Whether they do is exact for all finite
/// coordinates, as pointin.h says; s and t are rounded, and 0 or 1 at an end. Of segments that lie along each other,
/// the common point with the least s counts.
[[nodiscard]] Z4_API bool IntersectSegmentSegment2D(Vector2f a0, Vector2f a1, Vector2f b0, Vector2f b1, float& s,
                                                    float& t);

namespace Consistent {

[[nodiscard]] Z4_API bool IntersectSegmentPlane(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& plane,
                                                float& t);
[[nodiscard]] Z4_API bool IntersectSegmentOBB(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryOBB& box);
[[nodiscard]] Z4_API bool IntersectSegmentSphere(const VectorSIMD4f& p, const VectorSIMD4f& q,
                                                 const VectorSIMD4f& center, float radius, float& t);
[[nodiscard]] Z4_API bool IntersectSegmentCapsule(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a,
                                                  const VectorSIMD4f& b, float radius, float& t);
[[nodiscard]] Z4_API bool IntersectSegmentCylinder(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a,
                                                   const VectorSIMD4f& b, float radius, float& t);
[[nodiscard]] Z4_API bool IntersectSegmentTriangle(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& a,
                                                   const VectorSIMD4f& b, const VectorSIMD4f& c, float& t,
                                                   Sides sides = Sides::BOTH);
// They sum nothing, and run in the DLL anyway.
using Geometry::IntersectSegmentAABB;
using Geometry::IntersectSegmentRectangle;
using Geometry::IntersectSegmentSegment2D;

} // namespace Consistent
} // namespace Z4::Geometry
