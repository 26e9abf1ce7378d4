// Hunted here: answers that are wrong in the plain cases, in degenerate ones, at either side of a limit, or with NaN; a
// query that counts lanes it must not, or writes where it must not. The queries' arithmetic is held to plain code by
// the digests, their results to a search by distance_search_test.cpp.
#include "figures.h"

#include <cmath>
#include <functional>
#include <gmock/gmock.h>
#include <limits>
#include <zelk_core/math/geometry/distance.h>

namespace {

using V = Z4::VectorSIMD4f;
using namespace Z4::Geometry;
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

/// What a query returns, and then the numbers that it writes; 7 is what nobody writes.
using Answer = std::vector<float>;
using Query = std::function<Answer(const V* p)>;

template <class Function>
Query Point(Function query) {
    return [query](const V* p) { return Answer{query(p[0], p[1], p[2])}; };
}
template <class Function>
Query PointT(Function query) {
    return [query](const V* p) {
        V closest;
        float t = 7;
        const float distanceSqr = query(closest, p[0], p[1], p[2], t);
        return Answer{distanceSqr, t, closest.X(), closest.Y(), closest.Z(), closest.W()};
    };
}
template <class Function>
Query Pair(Function query) {
    return [query](const V* p) {
        float s = 7;
        float t = 7;
        const auto result = static_cast<float>(query(p[0], p[1], p[2], p[3], s, t));
        return Answer{result, s, t};
    };
}

const Query SEGMENT = PointT(ClosestPointToSegment);
const Query SEGMENT_2D = PointT(ClosestPointToSegment2D);
const Query SEGMENT_CONSISTENT = PointT(Consistent::ClosestPointToSegment);
const Query SEGMENT_DISTANCE = Point(ClosestDistToSegment);
const Query SEGMENT_T_2D = [](const V* p) {
    float t = 7;
    const float distanceSqr = Consistent::DistancePointToSegment2DSqr(p[0], p[1], p[2], t);
    return Answer{distanceSqr, t};
};
const Query LINE = Point(DistancePointToLineSqr);
const Query LINE_2D = Point(DistancePointToLine2DSqr);
const Query LINE_CONSISTENT = Point(Consistent::DistancePointToLineSqr);
using Parameters = bool (*)(const V&, const V&, const V&, const V&, float&, float&);
const Query LINES = Pair<Parameters>(GetShortestSegmentBetweenLines);
const Query LINES_CONSISTENT = Pair<Parameters>(Consistent::GetShortestSegmentBetweenLines);
const Query SEGMENTS = Pair(DistanceSegmentToSegmentSqr);
const Query SEGMENTS_CONSISTENT = Pair(Consistent::DistanceSegmentToSegmentSqr);
const Query SEGMENTS_2D = Pair(Consistent::DistanceSegmentToSegment2DSqr);
const Query POINT_RECTANGLE = Pair(DistancePointToRectangleSqr);
const Query SEGMENT_RECTANGLE = [](const V* p) {
    Answer a = {0, 7, 7, 7};
    a[0] = DistanceSegmentToRectangleSqr(p[0], p[1], p[2], p[3], p[4], a[1], a[2], a[3]);
    return a;
};
const Query LINE_TRIANGLE = [](const V* p) {
    Answer a = {0, 7, 7, 7};
    a[0] = DistanceLineToTriangleSqr(p[0], p[1], p[2], p[3], p[4], &a[1]);
    return a;
};
const Query TRIANGLE = [](const V* p) {
    const V nearest = ClosestTrianglePointToPoint(p[0], p[1], p[2], p[3]);
    return Answer{nearest.X(), nearest.Y(), nearest.Z(), nearest.W()};
};
const Query BOX = [](const V* p) {
    const V nearest = ClosestAABBPointToPoint(p[0], GeometryAABB(p[1], p[2]));
    return Answer{nearest.X(), nearest.Y(), nearest.Z(), nearest.W()};
};
const Query BOX_2D = [](const V* p) {
    return Answer{DistancePointToAABB2DSqr(ToVector2f(p[0]), ToVector2f(p[1]), ToVector2f(p[2]))};
};

TEST(Distance, HasTheseAnswers) {
    const float w = 9; // must not count in a distance
    const struct {
        const char* what;
        const Query& query;
        V p[5];
        Answer expected;
    } rows[] = {
        {"beside", SEGMENT, {{1, 3, 4, 1}, {0, 0, 0, 1}, {4, 0, 0, 5}}, {25, 0.25F, 1, 0, 0, 2}},
        {"behind a", SEGMENT, {{-3, 4, 0, w}, {0, 0, 0, 1}, {4, 0, 0, 5}}, {25, 0, 0, 0, 0, 1}},
        {"beyond b", SEGMENT, {{7, 4, 0, w}, {0, 0, 0, 1}, {4, 0, 0, 5}}, {25, 1, 4, 0, 0, 5}},
        {"a point", SEGMENT, {{0, 3, 0, w}, {0, 0, 0, 1}, {0, 0, 0, 1}}, {9, 0, 0, 0, 0, 1}},
        {"consistent", SEGMENT_CONSISTENT, {{1, 3, 4, 1}, {0, 0, 0, 1}, {4, 0, 0, 5}}, {25, 0.25F, 1, 0, 0, 2}},
        {"along z", SEGMENT_2D, {{1, 3, 4, 0}, {0, 0, 0, 0}, {4, 0, 8, 0}}, {9, 0.25F, 1, 0, 2, 0}},
        {"along z", SEGMENT_T_2D, {{1, 3, 4, 0}, {0, 0, 0, 0}, {4, 0, 8, 0}}, {9, 0.25F}},
        {"root", SEGMENT_DISTANCE, {{1, 3, 4, w}, {0, 0, 0, 0}, {4, 0, 0, 0}}, {5}},
        {"line", LINE, {{9, 3, 4, w}, {0, 0, 0, 0}, {4, 0, 0, 0}}, {25}},
        {"line", LINE_CONSISTENT, {{9, 3, 4, w}, {0, 0, 0, 0}, {4, 0, 0, 0}}, {25}},
        {"line along z", LINE_2D, {{9, 3, 4, w}, {0, 0, 0, 0}, {4, 0, 7, 0}}, {9}},
        {"a = b", LINE, {{1, 2, 2, w}, {0, 0, 0, 0}, {0, 0, 0, 0}}, {9}},
        {"below 1e-6", LINE, {{3, 4, 0, 0}, {0, 0, 0, 0}, {0.9e-6F, 0, 0, 0}}, {25}},
        {"above 1e-6", LINE, {{3, 4, 0, 0}, {0, 0, 0, 0}, {1.1e-6F, 0, 0, 0}}, {16}},
        {"differs in w alone", LINE, {{3, 4, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 5}}, {25}},
        {"skew", LINES, {{0, 0, 0, w}, {2, 0, 0, 0}, {1, -1, 3, 0}, {1, 1, 3, 0}}, {1, 0.5F, 0.5F}},
        {"skew", LINES_CONSISTENT, {{0, 0, 0, w}, {2, 0, 0, 0}, {1, -1, 3, 0}, {1, 1, 3, 0}}, {1, 0.5F, 0.5F}},
        {"parallel", LINES, {{0, 0, 0, 0}, {2, 0, 0, 0}, {0, 1, 0, 0}, {2, 1, 0, 0}}, {0, 7, 7}},
        {"no direction", LINES_CONSISTENT, {{0, 0, 0, 0}, {0, 0, 0, 0}, {0, 1, 0, 0}, {2, 1, 0, 0}}, {0, 7, 7}},
        {"NaN",
         LINES,
         {{NOT_A_NUMBER, 0, 0, 0}, {2, 0, 0, 0}, {0, 1, 0, 0}, {2, 2, 0, 0}},
         {1, NOT_A_NUMBER, NOT_A_NUMBER}},
        {"crossing", SEGMENTS, {{0, 0, 0, w}, {4, 0, 0, 0}, {1, -2, 3, 0}, {1, 2, 3, 0}}, {9, 0.25F, 0.5F}},
        {"end to end", SEGMENTS, {{0, 0, 0, 0}, {1, 0, 0, w}, {4, 4, 0, 0}, {5, 9, 0, 0}}, {25, 1, 0}},
        {"points", SEGMENTS_CONSISTENT, {{1, 0, 0, 0}, {1, 0, 0, 0}, {4, 4, 0, 0}, {4, 4, 0, 0}}, {25, 0, 0}},
        {"crossing along z", SEGMENTS_2D, {{0, 0, 0, 0}, {4, 0, 9, 0}, {1, -2, 3, 0}, {1, 2, 3, 0}}, {0, 0.25F, 0.5F}},
        {"over the face", POINT_RECTANGLE, {{2, 1, 5, w}, {0, 0, 0, 0}, {4, 0, 0, 0}, {0, 2, 0, 0}}, {25, 0.5F, 0.5F}},
        {"beside it", POINT_RECTANGLE, {{7, 6, 0, w}, {0, 0, 0, 0}, {4, 0, 0, 0}, {0, 2, 0, 0}}, {25, 1, 1}},
        {"a point", POINT_RECTANGLE, {{3, 4, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}, {0, 0, 0, 0}}, {25, 0, 0}},
        {"through",
         SEGMENT_RECTANGLE,
         {{1, 1, 4, 0}, {1, 1, -4, 0}, {0, 0, 0, 0}, {4, 0, 0, 0}, {0, 2, 0, 0}},
         {0, 0.5F, 0.25F, 0.5F}},
        {"past the edge",
         SEGMENT_RECTANGLE,
         {{7, 1, 4, 0}, {7, 1, -4, 0}, {0, 0, 0, 0}, {4, 0, 0, 0}, {0, 2, 0, 0}},
         {9, 0.5F, 1, 0.5F}},
        {"through",
         LINE_TRIANGLE,
         {{1, 1, 4, 0}, {1, 1, 2, 0}, {0, 0, 0, 0}, {4, 0, 0, 0}, {0, 4, 0, 0}},
         {0, 2, 0.25F, 0.25F}},
        {"past the edge",
         LINE_TRIANGLE,
         {{-3, 1, 4, 0}, {-3, 1, 2, 0}, {0, 0, 0, 0}, {4, 0, 0, 0}, {0, 4, 0, 0}},
         {9, 2, 0, 0.25F}},
        {"inside", BOX, {{0.5F, 0.5F, 2.5F, 3.5F}, {-1, -1, -1, -1}, {1, 2, 3, 4}}, {0.5F, 0.5F, 2.5F, 3.5F}},
        {"outside", BOX, {{-7, 7, 3, 9}, {-1, -1, -1, -1}, {1, 2, 3, 4}}, {-1, 2, 3, 4}},
        {"no inside: min", BOX, {{0, 0, 0, 0}, {1, 1, 1, 1}, {-1, -1, -1, -1}}, {1, 1, 1, 1}},
        {"NaN: max", BOX, {{0, NOT_A_NUMBER, 0, 0}, {-1, -1, -1, -1}, {1, 2, 3, 4}}, {0, 2, 0, 0}},
        {"inside", BOX_2D, {{0, 1, 9, 9}, {-1, 0, 0, 0}, {3, 2, 0, 0}}, {0}},
        {"on the border", BOX_2D, {{3, 0, 9, 9}, {-1, 0, 0, 0}, {3, 2, 0, 0}}, {0}},
        {"low in x", BOX_2D, {{-4, 1, 9, 9}, {-1, 0, 0, 0}, {3, 2, 0, 0}}, {9}},
        {"corner", BOX_2D, {{6, 6, 9, 9}, {-1, 0, 0, 0}, {3, 2, 0, 0}}, {25}},
        {"NaN", BOX_2D, {{6, NOT_A_NUMBER, 9, 9}, {-1, 0, 0, 0}, {3, 2, 0, 0}}, {0}},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(row.query(row.p), testing::Pointwise(testing::NanSensitiveFloatEq(), row.expected))
            << row.what << ", row " << &row - rows;
    }
}

/// The seven regions of a triangle, and their borders, which the first region in the order a, b, c, ab, bc, ac takes.
TEST(Distance, TriangleHasTheseRegions) {
    const V a(0, 0, 0, 1);
    const V b(4, 0, 0, 2);
    const V c(0, 4, 0, 3);
    const struct {
        V p;
        Answer nearest;
    } rows[] = {
        {{-1, -1, 3, 9}, {0, 0, 0, 1}},   {{0, -3, 3, 9}, {0, 0, 0, 1}},    {{6, -1, 3, 9}, {4, 0, 0, 2}},
        {{4, -2, 3, 9}, {4, 0, 0, 2}},    {{-1, 6, 3, 9}, {0, 4, 0, 3}},    {{2, -2, 3, 9}, {2, 0, 0, 1.5F}},
        {{3, 3, 3, 9}, {2, 2, 0, 2.5F}},  {{-2, 1, 3, 9}, {0, 1, 0, 1.5F}}, {{1, 1, 3, 9}, {1, 1, 0, 1.75F}},
        {{1, 2, 0, 9}, {1, 2, 0, 2.25F}},
    };
    for (const auto& row : rows) {
        const V p[] = {row.p, a, b, c};
        EXPECT_THAT(TRIANGLE(p), testing::ElementsAreArray(row.nearest)) << &row - rows;
    }
    const V flat[] = {{1, 3, 4, 0}, {0, 0, 0, 0}, {4, 0, 0, 0}, {2, 0, 0, 0}};
    EXPECT_THAT(TRIANGLE(flat), testing::ElementsAre(1, 0, 0, 0)) << "its longest edge";
}

TEST(Distance, SegmentHasATolerance) {
    const V a(0, 0, 0, 0);
    const V b(2, 0, 0, 0);
    const struct {
        float x;
        float eps;
        float t;
    } rows[] = {{0.25F, 0.5F, 0}, {0.26F, 0.5F, 0.13F}, {1.75F, 0.5F, 1}, {1.74F, 0.5F, 0.87F},
                {0.5F, 0, 0.25F}, {-1, -3, -0.5F},      {-2, -3, 0},      {3, -3, 1.5F}};
    for (const auto& row : rows) {
        V closest;
        V t;
        const V p(row.x, 1, 5, 0);
        const V distanceSqr = Consistent::ClosestPointToSegment2D(closest, p, a, b, t, row.eps);
        EXPECT_EQ(t, V::Broadcast(row.t)) << row.x;
        EXPECT_EQ(closest, V(2 * row.t, 0, 0, 0)) << row.x;
        EXPECT_EQ(distanceSqr, V::Broadcast((row.x - 2 * row.t) * (row.x - 2 * row.t) + 1)) << row.x;
        Consistent::ClosestPointToSegment2D(closest, p, a, a, t, -1);
        EXPECT_NE(t.X(), t.X()) << "0 / 0";
    }
}

TEST(Distance, OfNanIsNan) {
    const struct {
        const char* name;
        const Query& query;
        unsigned arguments;
        unsigned lanes;
    } rows[] = {
        {"line", LINE, 3, 3},
        {"line, 2D", LINE_2D, 3, 2},
        {"segments", SEGMENTS, 4, 3},
        {"segments, 2D", SEGMENTS_2D, 4, 2},
        {"segment and rectangle", SEGMENT_RECTANGLE, 5, 3},
        {"point and rectangle", POINT_RECTANGLE, 4, 3},
        {"line and triangle", LINE_TRIANGLE, 5, 3},
        {"triangle", TRIANGLE, 4, 3},
        {"segment", SEGMENT, 2, 3},
    };
    ZelkTest::Input input(3);
    for (const auto& row : rows) {
        for (unsigned round = 0; round < 50; ++round) {
            V p[5];
            for (V& point : p) {
                point = ZelkTest::RandomPoint(input, 10);
            }
            const unsigned argument = round % row.arguments;
            p[argument].Set(input.Below(row.lanes), NOT_A_NUMBER);
            EXPECT_TRUE(std::isnan(row.query(p)[0])) << row.name << ", argument " << argument;
        }
    }
}

TEST(Distance, LinesAreParallelBelowTheLimit) {
    constexpr float LIMIT = 0.0001F;
    const V origin = V::Broadcast(0);
    int atLimit = 0;
    int below = 0;
    for (float x = 0.5F; x < 2; x += 0.001F) {
        const float y = 0.01F / x;
        const float denom = (x * x) * (y * y);
        const V p[] = {origin, {x, 0, 0, 0}, origin, {0, y, 0, 0}};
        EXPECT_EQ(LINES(p), denom >= LIMIT ? (Answer{1, 0, 0}) : (Answer{0, 7, 7}));
        atLimit += denom == LIMIT ? 1 : 0;
        below += denom < LIMIT ? 1 : 0;
    }
    EXPECT_TRUE(atLimit > 0 && below > 0);
}

TEST(Distance, WritesMayOverlapReads) {
    const V p[] = {{1, 2, 3, 4}, {5, 0, 1, 0}, {-1, 7, 2, 5}, {3, 3, -3, 3}};
    V apart[2];
    V same[] = {p[0], p[1], p[2], p[3]};
    float t[4];
    ClosestPointToSegment(apart[0], p[0], p[1], p[2], t[0]);
    ClosestPointToSegment(same[0], same[0], p[1], p[2], t[1]);
    EXPECT_TRUE(same[0] == apart[0] && t[0] == t[1]);
    same[0] = p[0];
    EXPECT_TRUE(GetShortestSegmentBetweenLines(p[0], p[1], p[2], p[3], apart[0], apart[1], t[0], t[1]));
    EXPECT_TRUE(GetShortestSegmentBetweenLines(same[0], p[1], p[2], same[3], same[0], same[3], t[2], t[3]));
    EXPECT_TRUE(same[0] == apart[0] && same[3] == apart[1] && t[0] == t[2] && t[1] == t[3]);
    EXPECT_TRUE(same[0].W() == 0 && same[3].W() == 0);
}

} // namespace
