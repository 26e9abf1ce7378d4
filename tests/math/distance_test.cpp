// Hunted here: answers that are wrong in the plain cases, in degenerate ones, at either side of a limit, or with NaN; a
// query that counts lanes it must not, or writes where it must not. The queries' arithmetic is held to plain code by
// the digests, their results to a search by distance_search_test.cpp.
#include "figures.h"
#include "queries.h"

#include <array>
#include <cmath>
#include <gmock/gmock.h>
#include <limits>

namespace {

using V = Z4::VectorSIMD4f;
using namespace ZelkTest::Queries;
using ZelkTest::Answer;
using ZelkTest::Query;

void Expect(const Answer& got, const Answer& expected) {
    const auto numbers = [](const Answer& a) {
        std::array<float, 12> all = {a.returned, a.t[0], a.t[1], a.t[2]};
        a.points[0].Store(&all[4]);
        a.points[1].Store(&all[8]);
        return all;
    };
    EXPECT_THAT(numbers(got), testing::Pointwise(testing::NanSensitiveFloatEq(), numbers(expected)));
}

TEST(Distance, HasTheseAnswers) {
    const V o = V::ZERO;
    const V x4(4, 0, 0, 0);
    const V y2(0, 2, 0, 0);
    const V y4(0, 4, 0, 0);
    // Of a segment whose ends have the w 1 and 5; that of the point, 9, must not count.
    const V a(0, 0, 0, 1);
    const V b(4, 0, 0, 5);
    const V min(-1, -1, -1, -1);
    const V max(1, 2, 3, 4);
    const float nan = std::numeric_limits<float>::quiet_NaN();
    const struct {
        const char* what;
        Query query;
        V p[5];
        Answer expected;
    } rows[] = {
        {"beside", SEGMENT, {{1, 3, 4, 9}, a, b}, {25, {0.25F}, {{1, 0, 0, 2}}}},
        {"behind a", SEGMENT, {{-3, 4, 0, 9}, a, b}, {25, {0}, {a}}},
        {"beyond b", SEGMENT, {{7, 4, 0, 9}, a, b}, {25, {1}, {b}}},
        {"a point", SEGMENT, {{0, 3, 0, 9}, a, a}, {9, {0}, {a}}},
        {"beside", SEGMENT_CONSISTENT, {{1, 3, 4, 9}, a, b}, {25, {0.25F}, {{1, 0, 0, 2}}}},
        {"along z", SEGMENT_2D, {{1, 3, 4, 9}, o, {4, 0, 8, 0}}, {9, {0.25F}, {{1, 0, 2, 0}}}},
        {"along z", SEGMENT_T_2D, {{1, 3, 4, 9}, o, {4, 0, 8, 0}}, {9, {0.25F}}},
        {"root", SEGMENT_DISTANCE, {{1, 3, 4, 9}, a, b}, {5}},
        {"line", LINE, {{9, 3, 4, 9}, a, b}, {25}},
        {"line", LINE_CONSISTENT, {{9, 3, 4, 9}, a, b}, {25}},
        {"line", LINE_POINT, {{8, 3, 4, 9}, o, x4}, {25, {}, {{8, 0, 0, 0}}}},
        {"line along z", LINE_2D, {{9, 3, 4, 9}, o, {4, 0, 7, 0}}, {9}},
        {"a point", LINE, {{1, 2, 2, 9}, o, o}, {9}},
        {"below 1e-6", LINE, {{3, 4, 0, 0}, o, {0.9e-6F, 0, 0, 0}}, {25}},
        {"above 1e-6", LINE, {{3, 4, 0, 0}, o, {1.1e-6F, 0, 0, 0}}, {16}},
        {"differs in w alone", LINE, {{3, 4, 0, 0}, o, {0, 0, 0, 5}}, {25}},
        {"skew", LINES, {a, b, {1, -1, 3, 0}, {1, 1, 3, 0}}, {1, {0.25F, 0.5F}}},
        {"skew", LINES_CONSISTENT, {a, b, {1, -1, 3, 0}, {1, 1, 3, 0}}, {1, {0.25F, 0.5F}}},
        {"NaN", LINES, {{nan, 0, 0, 0}, x4, {0, 1, 0, 0}, {2, 2, 0, 0}}, {1, {nan, nan}}},
        {"no direction", LINES_CONSISTENT, {o, o, {0, 1, 0, 0}, {2, 1, 0, 0}}, {0}},
        {"crossing", SEGMENTS, {a, b, {1, -2, 3, 0}, {1, 2, 3, 0}}, {9, {0.25F, 0.5F}}},
        {"end to end", SEGMENTS, {o, {1, 0, 0, 9}, {4, 4, 0, 0}, {5, 9, 0, 0}}, {25, {1, 0}}},
        {"points", SEGMENTS_CONSISTENT, {o, o, {3, 4, 0, 0}, {3, 4, 0, 0}}, {25}},
        {"crossing along z", SEGMENTS_2D, {o, {4, 0, 9, 0}, {1, -2, 3, 0}, {1, 2, 3, 0}}, {0, {0.25F, 0.5F}}},
        {"over the face", POINT_RECTANGLE, {{2, 1, 5, 9}, o, x4, y2}, {25, {0.5F, 0.5F}}},
        {"beside it", POINT_RECTANGLE, {{7, 6, 0, 9}, o, x4, y2}, {25, {1, 1}}},
        {"a point", POINT_RECTANGLE, {{3, 4, 0, 0}, o, o, o}, {25}},
        {"through", SEGMENT_RECTANGLE, {{1, 1, 4, 0}, {1, 1, -4, 0}, o, x4, y2}, {0, {0.5F, 0.25F, 0.5F}}},
        {"past the edge", SEGMENT_RECTANGLE, {{7, 1, 4, 0}, {7, 1, -4, 0}, o, x4, y2}, {9, {0.5F, 1, 0.5F}}},
        {"through", LINE_TRIANGLE, {{1, 1, 4, 0}, {1, 1, 2, 0}, o, x4, y4}, {0, {2, 0.25F, 0.25F}}},
        {"past the edge", LINE_TRIANGLE, {{-3, 1, 4, 0}, {-3, 1, 2, 0}, o, x4, y4}, {9, {2, 0, 0.25F}}},
        {"no area: its longest edge", TRIANGLE, {{1, 3, 4, 0}, o, x4, {2, 0, 0, 0}}, {0, {}, {{1, 0, 0, 0}}}},
        {"inside", BOX, {{0.5F, 0.5F, 2.5F, 3.5F}, min, max}, {0, {}, {{0.5F, 0.5F, 2.5F, 3.5F}}}},
        {"outside", BOX, {{-7, 7, 3, 9}, min, max}, {0, {}, {{-1, 2, 3, 4}}}},
        {"no inside: min", BOX, {o, {1, 1, 1, 1}, min}, {0, {}, {{1, 1, 1, 1}}}},
        {"NaN: max", BOX, {{0, nan, 0, 0}, min, max}, {0, {}, {{0, 2, 0, 0}}}},
        {"inside", BOX_2D, {{0, 1, 9, 9}, min, max}, {0}},
        {"on the border", BOX_2D, {{1, -1, 9, 9}, min, max}, {0}},
        {"low in x", BOX_2D, {{-4, 1, 9, 9}, min, max}, {9}},
        {"corner", BOX_2D, {{4, 6, 9, 9}, min, max}, {25}},
        {"NaN", BOX_2D, {{6, nan, 9, 9}, min, max}, {0}},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(testing::Message() << row.what << ", row " << &row - rows);
        Expect(row.query(row.p), row.expected);
    }
}

/// The seven regions, and on their borders the first that holds in the order a, b, c, ab, bc, ac.
TEST(Distance, TriangleHasTheseRegions) {
    const V a(0, 0, 0, 1);
    const V b(4, 0, 0, 2);
    const V c(0, 4, 0, 3);
    const struct {
        V p;
        V nearest;
    } rows[] = {
        {{-1, -1, 3, 9}, a},
        {{0, -3, 3, 9}, a},
        {{6, -1, 3, 9}, b},
        {{4, -2, 3, 9}, b},
        {{-1, 6, 3, 9}, c},
        {{2, -2, 3, 9}, {2, 0, 0, 1.5F}},
        {{4, 2, 3, 9}, {3, 1, 0, 2.25F}},
        {{-2, 1, 3, 9}, {0, 1, 0, 1.5F}},
        {{1, 1, 3, 9}, {1, 1, 0, 1.75F}},
        {{1, 2, 0, 9}, {1, 2, 0, 2.25F}},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(Z4::Geometry::ClosestTrianglePointToPoint(row.p, a, b, c), row.nearest) << &row - rows;
    }
}

// Its weights cancel: taken as they are, they give a point that is four times as far away.
TEST(Distance, AThinTriangleHasANearestPointToo) {
    std::array<float, 4> nearest{};
    Z4::Geometry::ClosestTrianglePointToPoint({5, 6, -2, 0}, {5, 8, -5, 0}, {5, 1, 8, 0},
                                              {4.99999428F, 4.49999714F, 1.50000191F, 0})
        .Store(nearest.data());
    EXPECT_NEAR(nearest[1], 6.3F, 0.01F);
    EXPECT_NEAR(nearest[2], -1.84F, 0.01F);
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
        const V p[] = {V(row.x, 1, 5, row.eps), a, b};
        const float away = row.x - 2 * row.t;
        const Answer answer = SEGMENT_TOLERANT_2D(p);
        EXPECT_EQ(answer.points[1], V::Broadcast(row.t)) << row.x;
        EXPECT_EQ(answer.points[0], V(2 * row.t, 0, 0, 0)) << row.x;
        EXPECT_EQ(answer.returned, away * away + 1) << row.x;
    }
    const V point[] = {V(1, 1, 5, -1), a, a};
    EXPECT_TRUE(std::isnan(SEGMENT_TOLERANT_2D(point).points[1].X())) << "0 / 0";
}

TEST(Distance, OfNanIsNan) {
    const struct {
        const char* name;
        Query query;
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
        for (unsigned round = 0; round < 100; ++round) {
            V p[5];
            for (V& point : p) {
                point = ZelkTest::RandomPoint(input, 10);
            }
            p[round % row.arguments].Set(input.Below(row.lanes), std::numeric_limits<float>::quiet_NaN());
            const Answer answer = row.query(p);
            EXPECT_TRUE(std::isnan(answer.returned) || (row.query == TRIANGLE && std::isnan(answer.points[0].W())))
                << row.name << ", argument " << round % row.arguments;
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
        float t[2] = {7, 7};
        V points[2] = {V::ONE, V::ONE};
        const bool found = Z4::Geometry::GetShortestSegmentBetweenLines(origin, {x, 0, 0, 0}, origin, {0, y, 0, 0},
                                                                        points[0], points[1], t[0], t[1]);
        EXPECT_EQ(found, denom >= LIMIT);
        EXPECT_TRUE(t[0] == (found ? 0 : 7) && t[1] == t[0]) << "written where found";
        EXPECT_TRUE(points[0] == (found ? V::ZERO : V::ONE) && points[1] == points[0]);
        const V p[] = {origin, {x, 0, 0, 0}, origin, {0, y, 0, 0}};
        EXPECT_EQ(LINES(p).returned, found ? 1 : 0);
        atLimit += denom == LIMIT ? 1 : 0;
        below += denom < LIMIT ? 1 : 0;
    }
    EXPECT_TRUE(atLimit > 0 && below > 0);
}

TEST(Distance, WritesMayOverlapReads) {
    const V p[] = {{1, 2, 3, 4}, {5, 0, 1, 0}, {-1, 7, 2, 5}, {3, 3, -3, 3}};
    V same[] = {p[0], p[3]};
    float t[2];
    Z4::Geometry::ClosestPointToSegment(same[0], same[0], p[1], p[2], t[0]);
    EXPECT_EQ(same[0], SEGMENT(p).points[0]);
    same[0] = p[0];
    EXPECT_TRUE(
        Z4::Geometry::GetShortestSegmentBetweenLines(same[0], p[1], p[2], same[1], same[0], same[1], t[0], t[1]));
    const Answer apart = LINES_POINTS(p);
    EXPECT_TRUE(same[0] == apart.points[0] && same[1] == apart.points[1] && t[1] == apart.t[1]);
    EXPECT_TRUE(same[0].W() == 0 && same[1].W() == 0);
}

} // namespace
