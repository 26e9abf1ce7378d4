/// @file
/// How far two shapes are apart, and where their nearest points lie. Every query returns the squared distance, to be
/// compared with squared radii, except where its contract says otherwise.
///
/// The shapes:
/// - A segment goes from `a` to `b`. Its parameter t in [0, 1] stands for the point a + t (b - a).
/// - A line goes through two points; its parameter is the same, without bounds.
/// - A rectangle is a corner and the two edges that leave it. Edges are vectors, not points, and perpendicular. The
///   coordinates u and v in [0, 1] stand for the point `corner` + u `edge0` + v `edge1`.
/// - A triangle is its three corners, in any order.
///
/// A shape may have shrunk to a segment or to a point: it then counts as that. A parameter that has lost its meaning is
/// some number of its range, and 0 where nothing else is said.
///
/// Dot products and lengths count the lanes x, y and z, in the 2D queries x and y: those see the shapes along z.
/// Everything else is done in all four lanes, so the w of a point that is written follows from those of the arguments,
/// and in the 2D queries z does, too.
///
/// Functions in the namespace `Consistent` are those of the same name outside it, where their contract says nothing
/// else, except that they sum dot products from left to right (see SumOrder). They always run in the DLL, out of reach
/// of the caller's compiler flags, and give the same bits everywhere.
///
/// Differences of coordinates should be 0 or between 1e-6 and 1e9 in magnitude, because products of four of them must
/// fit a float. Beyond that, results lose accuracy or become infinite or NaN. A NaN in a lane that counts makes the
/// distance NaN where nothing else is said. The processor is expected in its usual mode: rounding to nearest, denormals
/// kept, exceptions masked. Nothing fails, traps, hangs or allocates, and any thread may call. What is written may be
/// the same objects as what is read.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/nearestpoint.h>
#include <zelk_core/math/vector.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry {

/// Writes the point of the segment nearest `p` to `closest` and its parameter to `t`. Where `p` lies behind `a`, and
/// where the segment is a point, they are exactly `a` and 0; where `p` lies beyond `b`, exactly `b` and 1. A segment
/// with a NaN in `b` counts as the point `a` (C. Ericson, "Real-Time Collision Detection", 2005, section 5.1.2).
/// @return the squared distance.
Z4_API_INLINE float ClosestPointToSegment(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                          const VectorSIMD4f& b, float& t) {
    const Private::NearestOnSegment nearest =
        Private::FindNearestOnSegment<SumOrder::FAST, 3>(p, a, b, VectorSIMD4f::Broadcast(0.0F));
    closest = nearest.point;
    t = nearest.t.X();
    return nearest.distanceSqr.X();
}

/// The same, with the distance in x and y.
Z4_API_INLINE float ClosestPointToSegment2D(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                            const VectorSIMD4f& b, float& t) {
    const Private::NearestOnSegment nearest =
        Private::FindNearestOnSegment<SumOrder::FAST, 2>(p, a, b, VectorSIMD4f::Broadcast(0.0F));
    closest = nearest.point;
    t = nearest.t.X();
    return nearest.distanceSqr.X();
}

/// What ClosestPointToSegment2D() returns, without the point; it writes the parameter to `t`.
Z4_API_INLINE float DistancePointToSegment2DSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                float& t) {
    VectorSIMD4f closest;
    return ClosestPointToSegment2D(closest, p, a, b, t);
}

/// The distance of `p` from the segment, not squared: the square root of what ClosestPointToSegment() returns.
Z4_API float ClosestDistToSegment(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b);

/// The squared distance of `p` from the line through `a` and `b`. The line counts as the point `a` where these differ
/// by at most 1e-6 in each of the four lanes, and where they differ only in lanes that do not count.
Z4_API float DistancePointToLineSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b);
/// The same, with the distance in x and y.
Z4_API float DistancePointToLine2DSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b);
/// As DistancePointToLineSqr(); it writes the nearest point of the line to `closest`, too.
Z4_API float ClosestPointToLine(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                const VectorSIMD4f& b);

/// Finds the shortest segment between the line through p1 and p2 and that through p3 and p4. It goes from
/// p1 + mua (p2 - p1) to p3 + mub (p4 - p3) (P. Bourke, "The shortest line between two lines in 3D", 1998).
/// @return false, with nothing written, where |p2 - p1|^2 |p4 - p3|^2 sin^2(angle) is below 0.0001. That is so of
/// parallel lines, of lines through two equal points, and of lines given by points that are very close together.
/// Otherwise true. A NaN gives true and writes NaN.
[[nodiscard]] Z4_API bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2,
                                                         const VectorSIMD4f& p3, const VectorSIMD4f& p4, float& mua,
                                                         float& mub);
/// The same; it writes the two nearest points to `pa` and `pb`, too, with w = 0.
[[nodiscard]] Z4_API bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2,
                                                         const VectorSIMD4f& p3, const VectorSIMD4f& p4,
                                                         VectorSIMD4f& pa, VectorSIMD4f& pb, float& mua, float& mub);

/// The squared distance between two segments. Writes the parameters of the nearest points, that of the first segment to
/// `s` and that of the second to `t`; where several pairs of points are nearest, those of one of them. The error of the
/// distance is a few roundings of the greatest coordinate difference, at any angle between the segments.
///
/// The nearest points of the lines come from cross products, which stay accurate where segments are nearly parallel
/// (R. Goldman, "Intersection of Two Lines in Three-Space", Graphics Gems, 1990). They are clamped as by C. Ericson,
/// "Real-Time Collision Detection", 2005, section 5.1.9.
Z4_API float DistanceSegmentToSegmentSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                         const VectorSIMD4f& b1, float& s, float& t);

/// The same, with the distance in x and y. Segments that cross, seen along z, are 0 apart but for rounding.
Z4_API float DistanceSegmentToSegment2DSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                           const VectorSIMD4f& b1, float& s, float& t);

/// The squared distance between a segment and a rectangle. Writes the parameter of the segment's nearest point to `t`
/// and the coordinates of the rectangle's to `u` and `v`; where several pairs of points are nearest, those of one of
/// them. The error of the distance is that of DistanceSegmentToSegmentSqr().
///
/// This is the least of the distances at the segment's crossing with the plane, at its two ends, and from the four
/// edges (P. Schneider and D. Eberly, "Geometric Tools for Computer Graphics", 2003, chapter 10).
Z4_API float DistanceSegmentToRectangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& corner,
                                           const VectorSIMD4f& edge0, const VectorSIMD4f& edge1, float& t, float& u,
                                           float& v);

/// The squared distance of `p` from a rectangle. Writes the coordinates of the nearest point to `u` and `v` (C.
/// Ericson, "Real-Time Collision Detection", 2005, section 5.1.4). Where the edges are not perpendicular, that is a
/// point of the parallelogram, but not always the nearest.
Z4_API float DistancePointToRectangleSqr(const VectorSIMD4f& p, const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                                         const VectorSIMD4f& edge1, float& u, float& v);

/// The squared distance between the line through `a` and `b` and a triangle. Where `a` and `b` are equal, the line is
/// that point. The error of the distance is that of DistanceSegmentToSegmentSqr().
///
/// `params` points to three floats, or is null where they are not wanted. They receive t, u and v of the nearest points
/// a + t (b - a) and t0 + u (t1 - t0) + v (t2 - t0); u and v lie in [0, 1] and u + v <= 1, but for rounding.
///
/// This is the least of the distances where the line crosses the triangle, and from the three edges (P. Schneider and
/// D. Eberly, as above).
Z4_API float DistanceLineToTriangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& t0,
                                       const VectorSIMD4f& t1, const VectorSIMD4f& t2, float* params);

/// The squared distance of a point from a box in the plane; inside and on the border it is 0. Where `min` exceeds
/// `max`, the result means nothing. A point with a NaN is 0 away.
Z4_API float DistancePointToAABB2DSqr(Vector2f p, Vector2f min, Vector2f max);

/// The point of the box nearest `p`, which is `p` itself where it lies inside: max(min(p, box.max), box.min) in all
/// four lanes. Where the box's min exceeds its max, that is min; where `p` is NaN, it is max.
Z4_API_INLINE VectorSIMD4f ClosestAABBPointToPoint(const VectorSIMD4f& p, const GeometryAABB& box) {
    return Max(Min(p, box.GetMax()), box.GetMin());
}

/// The point of the triangle nearest `p`. Where that is a corner, it is exactly that corner (C. Ericson, "Real-Time
/// Collision Detection", 2005, section 5.1.5).
///
/// A point inside the face is a sum of the corners with weights. Rounding can spoil the weights where the triangle is
/// hardly wider than a segment, or `p` is far away. Where they are wrong by more than about a thousandth, the nearest
/// point is searched anew with cross products, which lose less. A triangle without area counts as its longest edge.
Z4_API VectorSIMD4f ClosestTrianglePointToPoint(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                const VectorSIMD4f& c);

namespace Consistent {

Z4_API float ClosestPointToSegment(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                   const VectorSIMD4f& b, float& t);
/// ClosestPointToSegment2D() with a tolerance. With n = dot(p - a, b - a) and l = dot(b - a, b - a), both of x and y,
/// `closest` is `a` where n > `eps` does not hold, else `b` where l - n <= `eps`, else a + (n / l) (b - a). `t`
/// receives the parameter, 0, 1 or n / l, in all four lanes. A negative `eps` lets a segment of one point divide 0 by
/// 0: NaN.
/// @return the squared distance in all four lanes.
Z4_API VectorSIMD4f ClosestPointToSegment2D(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                            const VectorSIMD4f& b, VectorSIMD4f& t, float eps);
Z4_API float DistancePointToSegment2DSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, float& t);

Z4_API float DistancePointToLineSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b);
Z4_API float ClosestPointToLine(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                const VectorSIMD4f& b);

[[nodiscard]] Z4_API bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2,
                                                         const VectorSIMD4f& p3, const VectorSIMD4f& p4, float& mua,
                                                         float& mub);
[[nodiscard]] Z4_API bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2,
                                                         const VectorSIMD4f& p3, const VectorSIMD4f& p4,
                                                         VectorSIMD4f& pa, VectorSIMD4f& pb, float& mua, float& mub);

Z4_API float DistanceSegmentToSegmentSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                         const VectorSIMD4f& b1, float& s, float& t);
Z4_API float DistanceSegmentToSegment2DSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                           const VectorSIMD4f& b1, float& s, float& t);
Z4_API float DistanceSegmentToRectangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& corner,
                                           const VectorSIMD4f& edge0, const VectorSIMD4f& edge1, float& t, float& u,
                                           float& v);
Z4_API float DistancePointToRectangleSqr(const VectorSIMD4f& p, const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                                         const VectorSIMD4f& edge1, float& u, float& v);
Z4_API float DistanceLineToTriangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& t0,
                                       const VectorSIMD4f& t1, const VectorSIMD4f& t2, float* params);
Z4_API VectorSIMD4f ClosestTrianglePointToPoint(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                const VectorSIMD4f& c);

} // namespace Consistent
} // namespace Z4::Geometry
