/// @file
/// Whether a point lies in a shape.
///
/// The rules of intersectray.h hold. So surfaces and borders belong to their shapes, nothing contains a point with a
/// NaN, and what is no shape contains nothing. A point nearer to a surface than a few roundings of the greatest
/// coordinate difference may get either answer.
///
/// In the plane there is no such doubt: what ends in 2D is exact for all finite coordinates, however large or small
/// (J. R. Shewchuk, "Adaptive Precision Floating-Point Arithmetic and Fast Robust Geometric Predicates", 1997). These
/// queries run in the DLL, and there is one of each for both forms. An infinite coordinate counts as a NaN there. A
/// polygon is the `count` corners at `polygon`, of which x and y count.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/round.h>
#include <zelk_core/math/vector.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry {

[[nodiscard]] Z4_API_INLINE bool IsPointInSphere(const VectorSIMD4f& p, const VectorSIMD4f& center, float radius) {
    return Private::IsWithin(LengthSqr3<SumOrder::FAST>(p - center).X(), radius);
}
/// The capsule is all that is no farther than `radius` from the segment from `a` to `b`. Where these are equal, it is a
/// sphere.
[[nodiscard]] Z4_API bool IsPointInCapsule(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                           float radius);
/// The cylinder has flat ends, and its axis goes from `a` to `b`. Where these are equal, it contains `a` alone.
[[nodiscard]] Z4_API bool IsPointInCylinder(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                            float radius);

/// Whether `p` lies in the triangle as seen along its normal, however far above or below. A triangle without area
/// contains nothing.
[[nodiscard]] Z4_API bool IsPointInTriangle(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                            const VectorSIMD4f& c);
/// The corners may come in any order. A tetrahedron without volume contains nothing.
[[nodiscard]] Z4_API bool IsPointInTetrahedron(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                               const VectorSIMD4f& c, const VectorSIMD4f& d);
/// Whether `p` lies in front of all `count` planes at `planes`, or on them: those of a convex solid that face inwards.
/// A plane is (n.x, n.y, n.z, d), and n p + d >= 0 in front of it. Without planes, nothing keeps `p` out: true.
[[nodiscard]] Z4_API bool IsPointInConvex(const VectorSIMD4f& p, const VectorSIMD4f* planes, unsigned long count);

/// Which way one turns at `b` on the way from `a` to `c`, as exactly as all 2D queries here.
/// @return 1 for a turn to the left, so that the points run counter-clockwise where x points right and y up; -1 for one
/// to the right; 0 where the points lie on one line, and where a coordinate is NaN or infinite.
[[nodiscard]] Z4_API int Orientation2D(Vector2f a, Vector2f b, Vector2f c);
/// The corners may run either way. A triangle without area is its longest edge, and that may be a point.
[[nodiscard]] Z4_API bool IsPointInTriangle2D(Vector2f p, Vector2f a, Vector2f b, Vector2f c);
/// The polygon may have any form, and its corners may run either way. Where its border crosses itself, a point is
/// inside if a way out of there crosses the border an odd number of times (K. Hormann and A. Agathos, "The Point in
/// Polygon Problem for Arbitrary Polygons", 2001). The border is inside. Two corners are a segment, one is a point.
[[nodiscard]] Z4_API bool IsPointInPolygon2D(Vector2f p, const VectorSIMD4f* polygon, unsigned long count);
/// The same of a convex polygon whose corners run counter-clockwise, in logarithmic time (C. Ericson, "Real-Time
/// Collision Detection", 2005, section 5.4.1). Corners may repeat or lie on one line; a point on that line can take
/// linear time. Any answer may be given where the corners run otherwise or are not all finite, as the search does not
/// look at each of them.
[[nodiscard]] Z4_API bool IsPointInConvexPolygon2D(Vector2f p, const VectorSIMD4f* polygon, unsigned long count);

namespace Consistent {

[[nodiscard]] Z4_API bool IsPointInSphere(const VectorSIMD4f& p, const VectorSIMD4f& center, float radius);
[[nodiscard]] Z4_API bool IsPointInCapsule(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                           float radius);
[[nodiscard]] Z4_API bool IsPointInCylinder(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                            float radius);
[[nodiscard]] Z4_API bool IsPointInTriangle(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                            const VectorSIMD4f& c);
[[nodiscard]] Z4_API bool IsPointInTetrahedron(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                               const VectorSIMD4f& c, const VectorSIMD4f& d);
[[nodiscard]] Z4_API bool IsPointInConvex(const VectorSIMD4f& p, const VectorSIMD4f* planes, unsigned long count);
using Geometry::IsPointInConvexPolygon2D;
using Geometry::IsPointInPolygon2D;
using Geometry::IsPointInTriangle2D;
using Geometry::Orientation2D;

} // namespace Consistent
} // namespace Z4::Geometry
