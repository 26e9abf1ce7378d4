/// @file
/// How far two shapes are apart, and where their nearest points lie. Results whose names end in `Sqr`, and those of the
/// queries that write the nearest point, are squared distances: compare them with squared radii.
///
/// Shapes. A segment goes from `a` to `b`, and its parameter t in [0, 1] stands for a + t (b - a). A line goes through
/// two points; its parameter is the same without bounds. A rectangle is a corner and the two edges that leave it, which
/// are vectors and perpendicular: u and v in [0, 1] stand for `corner` + u `edge0` + v `edge1`. A triangle is its three
/// corners in any order. Degenerate shapes are the segment or the point that they have shrunk to; a parameter that then
/// has no meaning is one of its range, 0 where nothing else is said.
///
/// Lanes. Dot products and lengths are those of x, y and z, in the 2D queries of x and y. All else is done lane by lane
/// in all four, so that the w of a returned point follows from those of the arguments, and in the 2D queries z too.
///
/// Forms. The functions in `Consistent` differ from those beside them by the order in which they sum a dot product,
/// (x + y) + z instead of x + (y + z). They give the same bits everywhere: those of plain code that is evaluated from
/// left to right in single precision. They always run in the DLL, out of reach of the caller's compiler flags.
///
/// Range. Differences of coordinates should be 0 or between 1e-6 and 1e9 in magnitude: products of four of them must
/// fit a float. Beyond that results lose accuracy or become infinite or NaN. A NaN in a lane that counts makes the
/// distance NaN where nothing else is said. Nothing hangs or traps; the processor is expected in its usual mode
/// (rounding to nearest, denormals kept, exceptions masked). Nothing fails or allocates, any thread may call, and
/// what is written may be the same objects as what is read.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/nearestpoint.h>
#include <zelk_core/math/vector.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry {

/// Writes the point of the segment nearest `p` to `closest` and its parameter to `t`: exactly `a` and 0 when `p` lies
/// behind `a` or when the segment is a point, exactly `b` and 1 when it lies beyond `b`.
/// @return the squared distance. A segment with a NaN in `b` counts as the point `a`.
Z4_API_INLINE float ClosestPointToSegment(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                          const VectorSIMD4f& b, float& t) {
    const Private::NearestOnSegment nearest =
        Private::FindNearestOnSegment<SumOrder::FAST, 3>(p, a, b, VectorSIMD4f::Broadcast(0.0F));
    closest = nearest.point;
    t = nearest.t.X();
    return nearest.distanceSqr.X();
}

/// The same seen along z: nearest in x and y.
Z4_API_INLINE float ClosestPointToSegment2D(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                            const VectorSIMD4f& b, float& t) {
    const Private::NearestOnSegment nearest =
        Private::FindNearestOnSegment<SumOrder::FAST, 2>(p, a, b, VectorSIMD4f::Broadcast(0.0F));
    closest = nearest.point;
    t = nearest.t.X();
    return nearest.distanceSqr.X();
}

/// Distance, not squared, of `p` from a segment; as ClosestPointToSegment.
Z4_API float ClosestDistToSegment(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b);

/// Squared distance of `p` from the line through `a` and `b`. Where these differ by at most 1e-6 in each of the four
/// lanes, and where they differ only in lanes that do not count, the line is the point `a`.
Z4_API float DistancePointToLineSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b);
/// The same seen along z.
Z4_API float DistancePointToLine2DSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b);
/// As DistancePointToLineSqr; writes the nearest point of the line, too.
Z4_API float ClosestPointToLine(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                const VectorSIMD4f& b);

/// Finds the shortest segment between the lines p1 p2 and p3 p4: from p1 + mua (p2 - p1) to p3 + mub (p4 - p3) (Bourke,
/// "The shortest line between two lines in 3D", 1998).
/// @return false, with nothing written, when |p2 - p1|^2 |p4 - p3|^2 sin^2 of the angle between them is below 0.0001:
/// parallel lines, lines without a direction, and very short pairs of points. True otherwise; NaN gives true and NaN.
[[nodiscard]] Z4_API bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2,
                                                         const VectorSIMD4f& p3, const VectorSIMD4f& p4, float& mua,
                                                         float& mub);
/// Writes the two nearest points, too; their w is 0.
[[nodiscard]] Z4_API bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2,
                                                         const VectorSIMD4f& p3, const VectorSIMD4f& p4,
                                                         VectorSIMD4f& pa, VectorSIMD4f& pb, float& mua, float& mub);

/// Squared distance between two segments. Writes the parameters of the nearest points, of the first segment to `s` and
/// of the second to `t`; where parallel segments run side by side, of one of the nearest pairs. The error of the
/// distance is a few float roundings of the greatest coordinate difference, at any angle.
///
/// The lines' nearest points come from cross products (Goldman, "Intersection of Two Lines in Three-Space", Graphics
/// Gems, 1990), which nearly parallel segments do not upset, and are clamped as by Ericson, "Real-Time Collision
/// Detection", 2005, section 5.1.9.
Z4_API float DistanceSegmentToSegmentSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                         const VectorSIMD4f& b1, float& s, float& t);

/// Squared distance between a segment and a rectangle. Writes the parameter of the nearest point of the segment to `t`
/// and the coordinates of that of the rectangle to `u` and `v`; of one of them where several are nearest.
///
/// The least over all features: where the segment crosses the plane, its two ends, and the four edges (Schneider and
/// Eberly, "Geometric Tools for Computer Graphics", 2003, chapter 10). Error as DistanceSegmentToSegmentSqr.
Z4_API float DistanceSegmentToRectangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& corner,
                                           const VectorSIMD4f& edge0, const VectorSIMD4f& edge1, float& t, float& u,
                                           float& v);

/// Squared distance of `p` from a rectangle. Writes the coordinates of the nearest point to `u` and `v` (Ericson,
/// "Real-Time Collision Detection", 2005, section 5.1.4). Of edges that are not perpendicular, the point is one of the
/// parallelogram, but not always the nearest.
Z4_API float DistancePointToRectangleSqr(const VectorSIMD4f& p, const VectorSIMD4f& corner, const VectorSIMD4f& edge0,
                                         const VectorSIMD4f& edge1, float& u, float& v);

/// Squared distance between the line through `a` and `b` and a triangle. `params` receives three floats t, u, v for the
/// nearest points a + t (b - a) and t0 + u (t1 - t0) + v (t2 - t0), with u, v in [0, 1] and u + v <= 1 but for
/// rounding; null when they are not wanted. Where a and b coincide, the line is the point `a`.
///
/// The least over where the line crosses the triangle and the three edges (Schneider and Eberly, as above). Error as
/// DistanceSegmentToSegmentSqr.
Z4_API float DistanceLineToTriangleSqr(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& t0,
                                       const VectorSIMD4f& t1, const VectorSIMD4f& t2, float* params);

/// Squared distance of a point from a box in the plane: 0 inside and on its border. Of a box whose `min` exceeds its
/// `max`, the result means nothing. A point with a NaN is 0 away.
Z4_API float DistancePointToAABB2DSqr(Vector2f p, Vector2f min, Vector2f max);

/// The point of the box nearest `p`, `p` itself when inside: max(min(p, box.max), box.min) in all four lanes. Of a box
/// whose `min` exceeds its `max` it is `min`; a NaN coordinate of `p` becomes that of `max`.
Z4_API_INLINE VectorSIMD4f ClosestAABBPointToPoint(const VectorSIMD4f& p, const GeometryAABB& box) {
    return Max(Min(p, box.GetMax()), box.GetMin());
}

/// The point of the triangle nearest `p`: exactly a corner where that is nearest (Ericson, "Real-Time Collision
/// Detection", 2005, section 5.1.5).
///
/// Of a triangle hardly wider than a segment, and for a point far from it, rounding can spoil the weights of a point
/// inside the face. Where it has by more than a thousandth, they are computed anew from cross products, which lose
/// less; a triangle without area is thus its longest edge.
Z4_API VectorSIMD4f ClosestTrianglePointToPoint(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b,
                                                const VectorSIMD4f& c);

namespace Consistent {

Z4_API float ClosestPointToSegment(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                   const VectorSIMD4f& b, float& t);
/// The fast form's query with a tolerance: the nearest point is `a` unless (p - a) (b - a) > `eps`, and then `b` where
/// |b - a|^2 - (p - a) (b - a) <= `eps`. `t` receives the parameter in all four lanes. With a negative `eps`, a segment
/// that is a point gives NaN.
/// @return the squared distance in all four lanes.
Z4_API VectorSIMD4f ClosestPointToSegment2D(VectorSIMD4f& closest, const VectorSIMD4f& p, const VectorSIMD4f& a,
                                            const VectorSIMD4f& b, VectorSIMD4f& t, float eps);
/// As the fast form of ClosestPointToSegment2D.
Z4_API float DistancePointToSegment2DSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b, float& t);

Z4_API float DistancePointToLineSqr(const VectorSIMD4f& p, const VectorSIMD4f& a, const VectorSIMD4f& b);

[[nodiscard]] Z4_API bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2,
                                                         const VectorSIMD4f& p3, const VectorSIMD4f& p4, float& mua,
                                                         float& mub);
[[nodiscard]] Z4_API bool GetShortestSegmentBetweenLines(const VectorSIMD4f& p1, const VectorSIMD4f& p2,
                                                         const VectorSIMD4f& p3, const VectorSIMD4f& p4,
                                                         VectorSIMD4f& pa, VectorSIMD4f& pb, float& mua, float& mub);

Z4_API float DistanceSegmentToSegmentSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                         const VectorSIMD4f& b1, float& s, float& t);
/// DistanceSegmentToSegmentSqr seen along z. Segments that cross there are 0 apart but for rounding.
Z4_API float DistanceSegmentToSegment2DSqr(const VectorSIMD4f& a0, const VectorSIMD4f& a1, const VectorSIMD4f& b0,
                                           const VectorSIMD4f& b1, float& s, float& t);

} // namespace Consistent
} // namespace Z4::Geometry
