// Hunted here: answers that are wrong in the plain cases, in degenerate ones, or at either side of a limit; a query
// that counts lanes it must not, or writes where it must not. The queries' arithmetic, with NaN too, is held to plain
// code by the digests, their results are proven by distance_search_test.cpp.
#include "figures.h"
#include "queries.h"

#include <algorithm>
#include <cstdlib>
#include <gmock/gmock.h>
#include <sstream>
#include <tests/support/rows.h>

namespace {

using namespace ZelkTest::Queries;
using namespace ZelkTest;

std::vector<float> Numbers(std::string text) {
    std::replace(text.begin(), text.end(), ',', ' ');
    std::istringstream words(text);
    std::vector<float> numbers;
    for (std::string word; words >> word;) {
        numbers.push_back(std::strtof(word.c_str(), nullptr));
    }
    return numbers;
}

TEST(Distance, HasTheseAnswers) {
    for (const Row& row : Rows("distance.txt")) {
        const Query& query = Named(row.Text(0));
        EXPECT_EQ(query.name, row.Text(0)) << row.Where();
        std::vector<float> lanes = Numbers(row.Text(2));
        lanes.resize(24);
        V points[6];
        for (unsigned i = 0; i < 6; ++i) {
            points[i] = V::Load(&lanes[4 * i]);
        }
        const Answer answer = query(points);
        float got[13] = {answer.returned, answer.t[0], answer.t[1], answer.t[2], answer.t[3]};
        answer.points[0].Store(got + 5);
        answer.points[1].Store(got + 9);
        std::vector<float> expected = Numbers(row.Text(3));
        expected.resize(5);
        const std::vector<float> written = row.Size() > 4 ? Numbers(row.Text(4)) : std::vector<float>();
        expected.insert(expected.end(), written.begin(), written.end());
        expected.resize(13);
        EXPECT_THAT(got, testing::Pointwise(testing::NanSensitiveFloatEq(), expected)) << row.Where();
    }
}

TEST(Distance, ParametersOfALineAndATriangleAreAskedForOrNot) {
    const V p[] = {{0, 0, 3, 0}, {1, 0, 3, 0}, {0, -1, 0, 0}, {1, -1, 0, 0}, {0, 4, 1, 0}};
    EXPECT_EQ(Z4::Geometry::DistanceLineToTriangleSqr(p[0], p[1], p[2], p[3], p[4], nullptr),
              Named("LINE_TRIANGLE")(p).returned);
}

TEST(Distance, FromNoBoxIsInfinite) {
    using namespace Z4::Geometry;
    const GeometryAABB unit(V::ZERO, V::ONE);
    float t = 7;
    V closest = V::ONE;
    for (const float bad : {-1.0F, NOT}) {
        const GeometryAABB box(V::ZERO, {1, bad, 1, 0});
        const GeometryOBB oriented(V::ZERO, {1, bad, 1, 0}, V::ZERO);
        for (const float distance :
             {DistancePointToAABBSqr(V::ZERO, box), DistanceAABBToAABBSqr(unit, box), DistanceAABBToAABBSqr(box, unit),
              DistanceSegmentToAABBSqr(V::ZERO, V::ONE, box, t, closest),
              DistancePointToOBBSqr(V::ZERO, oriented, closest),
              DistanceSegmentToOBBSqr(V::ZERO, V::ONE, oriented, t, closest)}) {
            EXPECT_EQ(distance, INF);
        }
    }
    EXPECT_TRUE(t == 7 && closest == V::ONE) << "unwritten";
    const GeometryAABB half({0, -INF, -INF, 0}, V::Broadcast(INF));
    EXPECT_EQ(DistanceSegmentToAABBSqr({-3, 0, 0, 0}, {-2, 9, 9, 0}, half, t, closest), 4);
    EXPECT_TRUE(t == 1 && closest == V(0, 9, 9, 0)) << "to a half-space";
}

TEST(Distance, WritesMayOverlapReads) {
    const V p[] = {{1, 2, 3, 4}, {5, 0, 1, 0}, {-1, 7, 2, 5}, {3, 3, -3, 3}};
    V same[] = {p[0], p[3]};
    float t[2];
    Z4::Geometry::ClosestPointToSegment(same[0], same[0], p[1], p[2], t[0]);
    EXPECT_EQ(same[0], Named("SEGMENT")(p).points[0]);
    same[0] = p[0];
    EXPECT_TRUE(
        Z4::Geometry::GetShortestSegmentBetweenLines(same[0], p[1], p[2], same[1], same[0], same[1], t[0], t[1]));
    const Answer apart = Named("LINES_POINTS")(p);
    EXPECT_TRUE(same[0] == apart.points[0] && same[1] == apart.points[1] && t[1] == apart.t[1]);
    EXPECT_TRUE(same[0].W() == 0 && same[1].W() == 0);
}

} // namespace
