// Each query of geometry/distance.h as a function of its points in the order of its arguments, for tables.
#pragma once

#include <zelk_core/math/geometry/distance.h>

namespace ZelkTest {

using Z4::VectorSIMD4f;

/// What a query returns and what it writes, else 0: parameters and points.
struct Answer {
    float returned = 0;
    float t[3] = {};
    VectorSIMD4f points[2] = {VectorSIMD4f(0, 0, 0, 0), VectorSIMD4f(0, 0, 0, 0)};
};
struct Query {
    Answer operator()(const VectorSIMD4f* p) const { return call(p); }

    const char* name;
    Answer (*call)(const VectorSIMD4f* p);
};

namespace Queries {

namespace Fast = Z4::Geometry;
namespace Consistent = Z4::Geometry::Consistent;

// Called with the query as a lambda, for the address of an imported function is no constant in every ABI.
template <class Call>
constexpr Query With(const char* name, Call) {
    return {name, [](const VectorSIMD4f* p) {
                Answer a;
                a.returned = static_cast<float>(Call()(p, a));
                return a;
            }};
}
#define ZELK_QUERY(name, call)    \
    inline constexpr Query name = \
        With(#name, []([[maybe_unused]] const VectorSIMD4f* p, [[maybe_unused]] Answer& a) { return call; })

ZELK_QUERY(SEGMENT, Fast::ClosestPointToSegment(a.points[0], p[0], p[1], p[2], a.t[0]));
ZELK_QUERY(SEGMENT_2D, Fast::ClosestPointToSegment2D(a.points[0], p[0], p[1], p[2], a.t[0]));
ZELK_QUERY(SEGMENT_CONSISTENT, Consistent::ClosestPointToSegment(a.points[0], p[0], p[1], p[2], a.t[0]));
/// The w of `p` is the tolerance.
ZELK_QUERY(SEGMENT_TOLERANT_2D,
           Consistent::ClosestPointToSegment2D(a.points[0], p[0], p[1], p[2], a.points[1], p[0].W()).W());
ZELK_QUERY(SEGMENT_T_2D, Consistent::DistancePointToSegment2DSqr(p[0], p[1], p[2], a.t[0]));
ZELK_QUERY(SEGMENT_DISTANCE, Fast::ClosestDistToSegment(p[0], p[1], p[2]));
ZELK_QUERY(LINE, Fast::DistancePointToLineSqr(p[0], p[1], p[2]));
ZELK_QUERY(LINE_2D, Fast::DistancePointToLine2DSqr(p[0], p[1], p[2]));
ZELK_QUERY(LINE_CONSISTENT, Consistent::DistancePointToLineSqr(p[0], p[1], p[2]));
ZELK_QUERY(LINE_POINT, Fast::ClosestPointToLine(a.points[0], p[0], p[1], p[2]));
ZELK_QUERY(LINES, Fast::GetShortestSegmentBetweenLines(p[0], p[1], p[2], p[3], a.t[0], a.t[1]));
ZELK_QUERY(LINES_CONSISTENT, Consistent::GetShortestSegmentBetweenLines(p[0], p[1], p[2], p[3], a.t[0], a.t[1]));
ZELK_QUERY(LINES_POINTS,
           Fast::GetShortestSegmentBetweenLines(p[0], p[1], p[2], p[3], a.points[0], a.points[1], a.t[0], a.t[1]));
ZELK_QUERY(LINES_POINTS_CONSISTENT, Consistent::GetShortestSegmentBetweenLines(p[0], p[1], p[2], p[3], a.points[0],
                                                                               a.points[1], a.t[0], a.t[1]));
ZELK_QUERY(SEGMENTS, Fast::DistanceSegmentToSegmentSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1]));
ZELK_QUERY(SEGMENTS_CONSISTENT, Consistent::DistanceSegmentToSegmentSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1]));
ZELK_QUERY(SEGMENTS_2D, Consistent::DistanceSegmentToSegment2DSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1]));
ZELK_QUERY(POINT_RECTANGLE, Fast::DistancePointToRectangleSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1]));
ZELK_QUERY(SEGMENT_RECTANGLE,
           Fast::DistanceSegmentToRectangleSqr(p[0], p[1], p[2], p[3], p[4], a.t[0], a.t[1], a.t[2]));
ZELK_QUERY(LINE_TRIANGLE, Fast::DistanceLineToTriangleSqr(p[0], p[1], p[2], p[3], p[4], a.t));
ZELK_QUERY(TRIANGLE, (a.points[0] = Fast::ClosestTrianglePointToPoint(p[0], p[1], p[2], p[3]), 0));
ZELK_QUERY(BOX, (a.points[0] = Fast::ClosestAABBPointToPoint(p[0], Fast::GeometryAABB(p[1], p[2])), 0));
ZELK_QUERY(BOX_2D, Fast::DistancePointToAABB2DSqr(ToVector2f(p[0]), ToVector2f(p[1]), ToVector2f(p[2])));

#undef ZELK_QUERY

inline constexpr Query FAST[] = {
    SEGMENT,  SEGMENT_2D,      SEGMENT_DISTANCE,  LINE,          LINE_2D,  LINE_POINT, LINES,  LINES_POINTS,
    SEGMENTS, POINT_RECTANGLE, SEGMENT_RECTANGLE, LINE_TRIANGLE, TRIANGLE, BOX,        BOX_2D,
};
inline constexpr Query CONSISTENT[] = {
    SEGMENT_CONSISTENT, SEGMENT_TOLERANT_2D,     SEGMENT_T_2D,        LINE_CONSISTENT,
    LINES_CONSISTENT,   LINES_POINTS_CONSISTENT, SEGMENTS_CONSISTENT, SEGMENTS_2D,
};

} // namespace Queries
} // namespace ZelkTest
