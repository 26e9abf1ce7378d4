/// @file
/// What remains of polygons and segments in front of planes. Planes are those of plane.h.
///
/// Polygons are convex and lie in one plane; their corners stand in either order round. All four lanes of a corner are
/// interpolated where an edge is cut, so that w may carry anything. An edge is always cut from its end in front to its
/// end behind: two polygons that share an edge, and a segment with the same ends, get the same point, to the bit.
///
/// A part must have corners off the plane. What touches the plane from behind, with a corner or an edge, leaves
/// nothing in front; a polygon that lies in the plane counts as in front. Corners on the plane belong to both sides.
/// Nothing remains of fewer than three corners, and of a polygon with a NaN in x, y or z. Of a polygon that is not
/// convex, the corners in a row about the one that is farthest on their side remain.
///
/// Results must not overlap the arguments, or each other. They are written up to the count that is returned. Queries in
/// the namespace `Consistent` are those of the same name outside it, with dot products summed from left to right.
/// Nothing fails, traps or allocates, and any thread may call.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry {

/// Writes to `clipped` what of the `count` corners of a polygon remains in front of the plane (I. Sutherland and G.
/// Hodgman, "Reentrant Polygon Clipping", Communications of the ACM, 1974). `clipped` has room for `count` + 1 points.
/// @return how many corners remain: 0, or 3 to `count` + 1.
Z4_API unsigned long ClipPolygon(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f& plane,
                                 VectorSIMD4f* clipped);

/// Writes both parts of a polygon, each as ClipPolygon() writes what is in front, with new corners that are the same to
/// the bit. `front` and `back` have room for `count` + 1 points each.
Z4_API void SplitPolygon(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f& plane,
                         VectorSIMD4f* front, unsigned long& frontCount, VectorSIMD4f* back, unsigned long& backCount);

/// Writes to `clipped` what of the `count` corners of a polygon remains in front of all `planeCount` planes, which are
/// taken one after another as by ClipPolygon(). Without planes that is the polygon. `clipped` and `scratch` have room
/// for `count` + `planeCount` points each; what `scratch` then holds has no meaning.
/// @return how many corners remain: 0, or 3 to `count` + `planeCount`.
Z4_API unsigned long ClipPolygonByConvex(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f* planes,
                                         unsigned long planeCount, VectorSIMD4f* clipped, VectorSIMD4f* scratch);

/// Moves the ends of a segment so that what of it lies in front of all `count` planes, or on them, remains; one point
/// is enough. An end that need not move keeps its bits. Without planes the segment remains.
/// @return false, with nothing written, where nothing remains, or x, y or z is NaN.
[[nodiscard]] Z4_API bool ClipSegment(VectorSIMD4f& a, VectorSIMD4f& b, const VectorSIMD4f* planes,
                                      unsigned long count);

namespace Consistent {

Z4_API unsigned long ClipPolygon(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f& plane,
                                 VectorSIMD4f* clipped);
Z4_API void SplitPolygon(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f& plane,
                         VectorSIMD4f* front, unsigned long& frontCount, VectorSIMD4f* back, unsigned long& backCount);
Z4_API unsigned long ClipPolygonByConvex(const VectorSIMD4f* polygon, unsigned long count, const VectorSIMD4f* planes,
                                         unsigned long planeCount, VectorSIMD4f* clipped, VectorSIMD4f* scratch);
[[nodiscard]] Z4_API bool ClipSegment(VectorSIMD4f& a, VectorSIMD4f& b, const VectorSIMD4f* planes,
                                      unsigned long count);

} // namespace Consistent
} // namespace Z4::Geometry
