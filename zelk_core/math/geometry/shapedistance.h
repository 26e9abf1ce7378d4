/// @file
/// How far boxes, faces and lines are apart, and where their nearest points lie: the pairs of shapes that distance.h
/// has not. Its rules hold here, too: results are squared, parameters and shapes are given as there, and functions in
/// the namespace `Consistent` sum from left to right, run in the DLL and give the same bits everywhere.
///
/// A box is a solid: what lies in it is 0 away. An axis-aligned box may reach to infinity; the axes of an oriented one
/// must be perpendicular and of unit length. A box that has min > max or a negative half-size, or a NaN in one of
/// these, has no points: the distance is infinite, and nothing is written.
///
/// The error of a distance is a few roundings of the greatest coordinate difference among the arguments. So shapes that
/// meet may come out a little apart; intersectpair.h decides whether they do. Where several pairs of points are
/// nearest, the parameters are those of one of them.
#pragma once

#include <limits>
#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/distance.h>
#include <zelk_core/math/geometry/obb.h>
#include <zelk_core/math/vector.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4 {

namespace Private {

/// From a box that has no points.
inline constexpr float NO_DISTANCE = std::numeric_limits<float>::infinity();

template <SumOrder ORDER>
inline float PointToAABBSqr(const VectorSIMD4f& p, const Geometry::GeometryAABB& box) {
    const VectorSIMD4f way = p - Clamp(p, box.GetMin(), box.GetMax());
    return box.IsValid() ? LengthSqr3<ORDER>(way).X() : NO_DISTANCE;
}
template <SumOrder ORDER>
inline float AABBToAABBSqr(const Geometry::GeometryAABB& a, const Geometry::GeometryAABB& b) {
    const VectorSIMD4f gap = Max(b.GetMin() - a.GetMax(), a.GetMin() - b.GetMax());
    const VectorSIMD4f way = Max(gap, VectorSIMD4f::Broadcast(0.0F));
    return a.IsValid() && b.IsValid() ? LengthSqr3<ORDER>(way).X() : NO_DISTANCE;
}

} // namespace Private

namespace Geometry {

/// The squared distance of `p` from an axis-aligned box; ClosestAABBPointToPoint() has the nearest point.
[[nodiscard]] Z4_API_INLINE float DistancePointToAABBSqr(const VectorSIMD4f& p, const GeometryAABB& box) {
    return Private::PointToAABBSqr<SumOrder::FAST>(p, box);
}
/// The same of an oriented box. Writes the box's point nearest `p` to `closest`, which is `p` itself where it lies
/// inside.
[[nodiscard]] Z4_API float DistancePointToOBBSqr(const VectorSIMD4f& p, const GeometryOBB& box, VectorSIMD4f& closest);
/// The squared distance between two axis-aligned boxes.
[[nodiscard]] Z4_API_INLINE float DistanceAABBToAABBSqr(const GeometryAABB& a, const GeometryAABB& b) {
    return Private::AABBToAABBSqr<SumOrder::FAST>(a, b);
}
/// The squared distance between a segment and an axis-aligned box. Writes the parameter of the segment's nearest point
/// to `t` and the box's nearest point to `closest`. A segment that meets the box does so first at `t`.
///
/// The slope of the squared distance along the segment is followed through the planes of the box's sides to where it
/// is 0, which needs no case for faces, edges and corners.
[[nodiscard]] Z4_API float DistanceSegmentToAABBSqr(const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                    const GeometryAABB& box, float& t, VectorSIMD4f& closest);
/// The same of an oriented box.
[[nodiscard]] Z4_API float DistanceSegmentToOBBSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryOBB& box,
                                                   float& t, VectorSIMD4f& closest);

/// The squared distance of `p` from a triangle. Writes u and v of the nearest point a + u (b - a) + v (c - a). At a
/// corner and on an edge they are exact: 0, 1, or u + v = 1 but for one rounding. The nearest point is found as by
/// ClosestTrianglePointToPoint(), and has its error where a triangle is slender; DistanceSegmentToTriangleSqr() with
/// two equal points has less and takes longer.
[[nodiscard]] Z4_API float DistancePointToTriangleSqr(const VectorSIMD4f& p, const VectorSIMD4f& a,
                                                      const VectorSIMD4f& b, const VectorSIMD4f& c, float& u, float& v);
/// The squared distance of `p` from a rectangle in the plane, given as a corner and two perpendicular edges.
[[nodiscard]] Z4_API float DistancePointToRectangle2DSqr(Vector2f p, Vector2f corner, Vector2f edge0, Vector2f edge1);

/// The squared distance between the lines through `a0` and `a1` and through `b0` and `b1`. Writes the parameters of the
/// nearest points. Parallel lines have many: `t` is then 0. Lines at an angle below 2e-6 may count as parallel;
/// otherwise the error grows with the parameters, since lines at a small angle come nearest far away. Unlike
/// GetShortestSegmentBetweenLines(), it always has an answer. A line through two equal points is that point.
[[nodiscard]] Z4_API float DistanceLineToLineSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                                 const VectorSIMD4f& b1, float& s, float& t);
/// The same between the line through `a` and `b` and the segment from `c` to `d`, whose parameter is `t`.
[[nodiscard]] Z4_API float DistanceLineToSegmentSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                                                    const VectorSIMD4f& d, float& s, float& t);
/// The squared distance between the line through `a` and `b` and a rectangle. Writes the parameters of the nearest
/// points a + t (b - a) and corner + u edge0 + v edge1. Algorithm and error are those of
/// DistanceSegmentToRectangleSqr().
[[nodiscard]] Z4_API float DistanceLineToRectangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                      const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                                                      const VectorSIMD4f& edge1, float& t, float& u, float& v);
/// The squared distance between a segment and a triangle. Writes the parameters of the nearest points a + t (b - a) and
/// t0 + u (t1 - t0) + v (t2 - t0) (P. Schneider and D. Eberly, "Geometric Tools for Computer Graphics", 2003, section
/// 10.3).
[[nodiscard]] Z4_API float DistanceSegmentToTriangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                        const VectorSIMD4f& t0, const VectorSIMD4f& t1,
                                                        const VectorSIMD4f& t2, float& t, float& u, float& v);

/// The squared distance between two triangles: the least of the distances between their edges, from the corners of each
/// to the other's face, and 0 where an edge crosses a face. `params` points to four floats, or is null where they are
/// not wanted. They receive u and v of the first triangle's nearest point a0 + u (a1 - a0) + v (a2 - a0), then those of
/// the second's.
[[nodiscard]] Z4_API float DistanceTriangleToTriangleSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1,
                                                         const VectorSIMD4f& a2, const VectorSIMD4f& b0,
                                                         const VectorSIMD4f& b1, const VectorSIMD4f& b2, float* params);
/// The same between a triangle and a rectangle, whose nearest point is corner + u edge0 + v edge1.
[[nodiscard]] Z4_API float DistanceTriangleToRectangleSqr(const VectorSIMD4f& t0, const VectorSIMD4f& t1,
                                                          const VectorSIMD4f& t2, const VectorSIMD4f& corner,
                                                          const VectorSIMD4f& edge0, const VectorSIMD4f& edge1,
                                                          float* params);
/// The same between two rectangles.
[[nodiscard]] Z4_API float DistanceRectangleToRectangleSqr(const VectorSIMD4f& corner0, const VectorSIMD4f& edge00,
                                                           const VectorSIMD4f& edge01, const VectorSIMD4f& corner1,
                                                           const VectorSIMD4f& edge10, const VectorSIMD4f& edge11,
                                                           float* params);

namespace Consistent {

[[nodiscard]] Z4_API float DistancePointToAABBSqr(const VectorSIMD4f& p, const GeometryAABB& box);
[[nodiscard]] Z4_API float DistancePointToOBBSqr(const VectorSIMD4f& p, const GeometryOBB& box, VectorSIMD4f& closest);
[[nodiscard]] Z4_API float DistanceAABBToAABBSqr(const GeometryAABB& a, const GeometryAABB& b);
[[nodiscard]] Z4_API float DistanceSegmentToAABBSqr(const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                    const GeometryAABB& box, float& t, VectorSIMD4f& closest);
[[nodiscard]] Z4_API float DistanceSegmentToOBBSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const GeometryOBB& box,
                                                   float& t, VectorSIMD4f& closest);
[[nodiscard]] Z4_API float DistancePointToTriangleSqr(const VectorSIMD4f& p, const VectorSIMD4f& a,
                                                      const VectorSIMD4f& b, const VectorSIMD4f& c, float& u, float& v);
[[nodiscard]] Z4_API float DistanceLineToLineSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                                 const VectorSIMD4f& b1, float& s, float& t);
[[nodiscard]] Z4_API float DistanceLineToSegmentSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c,
                                                    const VectorSIMD4f& d, float& s, float& t);
[[nodiscard]] Z4_API float DistanceLineToRectangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                      const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                                                      const VectorSIMD4f& edge1, float& t, float& u, float& v);
[[nodiscard]] Z4_API float DistanceSegmentToTriangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                        const VectorSIMD4f& t0, const VectorSIMD4f& t1,
                                                        const VectorSIMD4f& t2, float& t, float& u, float& v);
[[nodiscard]] Z4_API float DistanceTriangleToTriangleSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1,
                                                         const VectorSIMD4f& a2, const VectorSIMD4f& b0,
                                                         const VectorSIMD4f& b1, const VectorSIMD4f& b2, float* params);
[[nodiscard]] Z4_API float DistanceTriangleToRectangleSqr(const VectorSIMD4f& t0, const VectorSIMD4f& t1,
                                                          const VectorSIMD4f& t2, const VectorSIMD4f& corner,
                                                          const VectorSIMD4f& edge0, const VectorSIMD4f& edge1,
                                                          float* params);
[[nodiscard]] Z4_API float DistanceRectangleToRectangleSqr(const VectorSIMD4f& corner0, const VectorSIMD4f& edge00,
                                                           const VectorSIMD4f& edge01, const VectorSIMD4f& corner1,
                                                           const VectorSIMD4f& edge10, const VectorSIMD4f& edge11,
                                                           float* params);

} // namespace Consistent
} // namespace Geometry
} // namespace Z4
