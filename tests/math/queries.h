// Each query of geometry/distance.h and geometry/shapedistance.h as a function of its points in the order of its
// arguments, for tables.
#pragma once

#include <algorithm>
#include <iterator>
#include <string_view>
#include <zelk_core/math/geometry/shapedistance.h>

namespace ZelkTest {

using Z4::VectorSIMD4f;

/// What a query returns and what it writes, else 0: parameters and points.
struct Answer {
    float returned = 0;
    float t[4] = {};
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
/// The box between two points, and one about `center`, turned.
inline Fast::GeometryAABB Between(const VectorSIMD4f& a, const VectorSIMD4f& b) {
    return {Min(a, b), Max(a, b)};
}
inline Fast::GeometryOBB Turned(const VectorSIMD4f& center, const VectorSIMD4f& extent) {
    const VectorSIMD4f axes[] = {{0.6F, 0.8F, 0, 0}, {-0.8F, 0.6F, 0, 0}, {0, 0, 1, 0}};
    return {center, axes, Abs(extent)};
}

#define ZELK_QUERY(name, call) \
    With(#name, []([[maybe_unused]] const VectorSIMD4f* p, [[maybe_unused]] Answer& a) { return call; })
#define ZELK_TWINS(form, suffix)                                                                                     \
    ZELK_QUERY(POINT_TRIANGLE##suffix, form::DistancePointToTriangleSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1])),    \
        ZELK_QUERY(LINE_LINE##suffix, form::DistanceLineToLineSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1])),          \
        ZELK_QUERY(LINE_SEGMENT##suffix, form::DistanceLineToSegmentSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1])),    \
        ZELK_QUERY(LINE_RECTANGLE##suffix,                                                                           \
                   form::DistanceLineToRectangleSqr(p[0], p[1], p[2], p[3], p[4], a.t[0], a.t[1], a.t[2])),          \
        ZELK_QUERY(SEGMENT_TRIANGLE##suffix,                                                                         \
                   form::DistanceSegmentToTriangleSqr(p[0], p[1], p[2], p[3], p[4], a.t[0], a.t[1], a.t[2])),        \
        ZELK_QUERY(TRIANGLES##suffix, form::DistanceTriangleToTriangleSqr(p[0], p[1], p[5], p[2], p[3], p[4], a.t)), \
        ZELK_QUERY(TRIANGLE_RECTANGLE##suffix,                                                                       \
                   form::DistanceTriangleToRectangleSqr(p[0], p[1], p[5], p[2], p[3], p[4], a.t)),                   \
        ZELK_QUERY(RECTANGLES##suffix,                                                                               \
                   form::DistanceRectangleToRectangleSqr(p[0], p[1], p[5], p[2], p[3], p[4], a.t)),                  \
        ZELK_QUERY(POINT_AABB##suffix, form::DistancePointToAABBSqr(p[0], Between(p[1], p[2]))),                     \
        ZELK_QUERY(POINT_OBB##suffix, form::DistancePointToOBBSqr(p[0], Turned(p[1], p[2]), a.points[0])),           \
        ZELK_QUERY(AABBS##suffix, form::DistanceAABBToAABBSqr(Between(p[0], p[1]), Between(p[2], p[3]))),            \
        ZELK_QUERY(SEGMENT_AABB##suffix,                                                                             \
                   form::DistanceSegmentToAABBSqr(p[0], p[1], Between(p[2], p[3]), a.t[0], a.points[0])),            \
        ZELK_QUERY(SEGMENT_OBB##suffix,                                                                              \
                   form::DistanceSegmentToOBBSqr(p[0], p[1], Turned(p[2], p[3]), a.t[0], a.points[0]))

inline constexpr Query FAST[] = {
    ZELK_QUERY(SEGMENT, Fast::ClosestPointToSegment(a.points[0], p[0], p[1], p[2], a.t[0])),
    ZELK_QUERY(SEGMENT_2D, Fast::ClosestPointToSegment2D(a.points[0], p[0], p[1], p[2], a.t[0])),
    ZELK_QUERY(SEGMENT_DISTANCE, Fast::ClosestDistToSegment(p[0], p[1], p[2])),
    ZELK_QUERY(LINE, Fast::DistancePointToLineSqr(p[0], p[1], p[2])),
    ZELK_QUERY(LINE_2D, Fast::DistancePointToLine2DSqr(p[0], p[1], p[2])),
    ZELK_QUERY(LINE_POINT, Fast::ClosestPointToLine(a.points[0], p[0], p[1], p[2])),
    ZELK_QUERY(LINES, Fast::GetShortestSegmentBetweenLines(p[0], p[1], p[2], p[3], a.t[0], a.t[1])),
    ZELK_QUERY(LINES_POINTS,
               Fast::GetShortestSegmentBetweenLines(p[0], p[1], p[2], p[3], a.points[0], a.points[1], a.t[0], a.t[1])),
    ZELK_QUERY(SEGMENTS, Fast::DistanceSegmentToSegmentSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1])),
    ZELK_QUERY(POINT_RECTANGLE, Fast::DistancePointToRectangleSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1])),
    ZELK_QUERY(SEGMENT_RECTANGLE,
               Fast::DistanceSegmentToRectangleSqr(p[0], p[1], p[2], p[3], p[4], a.t[0], a.t[1], a.t[2])),
    ZELK_QUERY(LINE_TRIANGLE, Fast::DistanceLineToTriangleSqr(p[0], p[1], p[2], p[3], p[4], a.t)),
    ZELK_QUERY(TRIANGLE, (a.points[0] = Fast::ClosestTrianglePointToPoint(p[0], p[1], p[2], p[3]), 0)),
    ZELK_QUERY(BOX, (a.points[0] = Fast::ClosestAABBPointToPoint(p[0], Fast::GeometryAABB(p[1], p[2])), 0)),
    ZELK_QUERY(BOX_2D, Fast::DistancePointToAABB2DSqr(ToVector2f(p[0]), ToVector2f(p[1]), ToVector2f(p[2]))),
    ZELK_QUERY(POINT_RECTANGLE_2D, Fast::DistancePointToRectangle2DSqr(ToVector2f(p[0]), ToVector2f(p[1]),
                                                                       ToVector2f(p[2]), ToVector2f(p[3]))),
    ZELK_QUERY(SEGMENT_T_2D_FAST, Fast::DistancePointToSegment2DSqr(p[0], p[1], p[2], a.t[0])),
    ZELK_QUERY(SEGMENTS_2D_FAST, Fast::DistanceSegmentToSegment2DSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1])),
    ZELK_TWINS(Fast, )};
/// The w of SEGMENT_TOLERANT_2D's `p` is the tolerance.
inline constexpr Query CONSISTENT[] = {
    ZELK_QUERY(SEGMENT_CONSISTENT, Consistent::ClosestPointToSegment(a.points[0], p[0], p[1], p[2], a.t[0])),
    ZELK_QUERY(SEGMENT_TOLERANT_2D,
               Consistent::ClosestPointToSegment2D(a.points[0], p[0], p[1], p[2], a.points[1], p[0].W()).W()),
    ZELK_QUERY(SEGMENT_T_2D, Consistent::DistancePointToSegment2DSqr(p[0], p[1], p[2], a.t[0])),
    ZELK_QUERY(LINE_CONSISTENT, Consistent::DistancePointToLineSqr(p[0], p[1], p[2])),
    ZELK_QUERY(LINES_CONSISTENT, Consistent::GetShortestSegmentBetweenLines(p[0], p[1], p[2], p[3], a.t[0], a.t[1])),
    ZELK_QUERY(LINES_POINTS_CONSISTENT, Consistent::GetShortestSegmentBetweenLines(p[0], p[1], p[2], p[3], a.points[0],
                                                                                   a.points[1], a.t[0], a.t[1])),
    ZELK_QUERY(SEGMENTS_CONSISTENT, Consistent::DistanceSegmentToSegmentSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1])),
    ZELK_QUERY(SEGMENTS_2D, Consistent::DistanceSegmentToSegment2DSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1])),
    ZELK_QUERY(LINE_POINT_CONSISTENT, Consistent::ClosestPointToLine(a.points[0], p[0], p[1], p[2])),
    ZELK_QUERY(POINT_RECTANGLE_CONSISTENT,
               Consistent::DistancePointToRectangleSqr(p[0], p[1], p[2], p[3], a.t[0], a.t[1])),
    ZELK_QUERY(SEGMENT_RECTANGLE_CONSISTENT,
               Consistent::DistanceSegmentToRectangleSqr(p[0], p[1], p[2], p[3], p[4], a.t[0], a.t[1], a.t[2])),
    ZELK_QUERY(LINE_TRIANGLE_CONSISTENT, Consistent::DistanceLineToTriangleSqr(p[0], p[1], p[2], p[3], p[4], a.t)),
    ZELK_QUERY(TRIANGLE_CONSISTENT, (a.points[0] = Consistent::ClosestTrianglePointToPoint(p[0], p[1], p[2], p[3]), 0)),
    ZELK_TWINS(Consistent, _CONSISTENT)};

#undef ZELK_TWINS
#undef ZELK_QUERY

/// The last of all where there is none of that name.
inline const Query& Named(std::string_view name) {
    const auto isNamed = [name](const Query& query) { return query.name == name; };
    const Query* const fast = std::find_if(std::begin(FAST), std::end(FAST), isNamed);
    return fast != std::end(FAST) ? *fast : *std::find_if(std::begin(CONSISTENT), std::end(CONSISTENT) - 1, isNamed);
}

} // namespace Queries
} // namespace ZelkTest
