// What contains a point, and where segments of the plane meet: exact decisions against whole numbers, and against each
// other.
#include "figures.h"
#include "rayqueries.h"

#include <cmath>
#include <gtest/gtest.h>
#include <vector>
#include <zelk_core/math/geometry/distance.h>

namespace {

using namespace Z4::Geometry;
using namespace ZelkTest;
using Z4::Vector2f;
using Z4::Vector3d;

int SignOf(double value) {
    return (value > 0 ? 1 : 0) - (value < 0 ? 1 : 0);
}

TEST(PointIn, NoRoundingTurnsAPoint) {
    Input input(11);
    for (unsigned round = 0; round < 20000; ++round) {
        // On a line of which floats hold these points exactly, very close to the origin or far away.
        const float slope = input.OnceIn(2) ? 3.0F : -0.625F;
        Vector2f p[3];
        for (Vector2f& point : p) {
            const float x = std::ldexp(std::round(input.Number(1 << 20)), static_cast<int>(input.Below(80)) - 60);
            point = Vector2f(x, slope * x);
        }
        ASSERT_EQ(Orientation2D(p[0], p[1], p[2]), 0) << round;
        const bool isUp = input.OnceIn(2);
        p[2].SetY(std::nextafter(p[2].Y(), isUp ? INF : -INF));
        const int expected = SignOf(p[1].X() - p[0].X()) * (isUp ? 1 : -1);
        ASSERT_EQ(Orientation2D(p[1], p[2], p[0]), expected) << round;
        ASSERT_EQ(Orientation2D(p[0], p[2], p[1]), -expected) << round;
        float s = 0;
        float t = 0;
        ASSERT_EQ(IntersectSegmentSegment2D(p[0], p[1], p[2], p[2], s, t), expected == 0) << round;
    }
    EXPECT_TRUE(Orientation2D({0, 0}, {1, 0}, {0, NOT}) == 0 && Orientation2D({0, 0}, {INF, 0}, {0, 1}) == 0);
}

/// Whether the corners go around `p` an odd number of times: does an odd number of the triangles that the edges make
/// with some other point contain it? The numbers are small, so that doubles are exact.
bool IsInside(const Vector2f& p, const std::vector<V>& corners) {
    const auto side = [](const V& a, const V& b, const V& c) { return SignOf(Cross(Wide(b - a), Wide(c - a)).Z()); };
    const V q(p.X(), p.Y(), 0, 0);
    const V apex(100.3F, 57.7F, 0, 0);
    bool isInside = false;
    for (std::size_t i = 0; i < corners.size(); ++i) {
        const V& a = corners[i];
        const V& b = corners[(i + 1) % corners.size()];
        const int edge = side(a, b, q);
        if (edge == 0 && AllTrue2(And(LessEqual(Min(a, b), q), LessEqual(q, Max(a, b))))) {
            return true;
        }
        isInside = isInside != (edge != 0 && edge == side(b, apex, q) && edge == side(apex, a, q));
    }
    return isInside;
}

TEST(PointIn, PolygonsHaveExactBorders) {
    static constexpr float CONVEX_CORNERS[][2] = {{2, -1}, {2, 0},  {2, 1},   {1, 2},   {0, 2},  {-1, 2},
                                                  {-2, 1}, {-2, 0}, {-2, -1}, {-1, -2}, {0, -2}, {1, -2}};
    Input input(12);
    int inside[2] = {};
    for (unsigned round = 0; round < 40000; ++round) {
        const auto half = [&] { return static_cast<float>(input.Below(11)) / 2 - 2.5F; };
        const bool isConvex = input.OnceIn(2);
        std::vector<V> corners;
        if (isConvex) { // some of them more than once, some on one line
            for (unsigned i = input.Below(12), end = i + 12; i < end; i += input.Below(5)) {
                corners.emplace_back(CONVEX_CORNERS[i % 12][0], CONVEX_CORNERS[i % 12][1], NOT, NOT);
            }
        } else {
            for (unsigned left = input.Below(9); left != 0; --left) {
                corners.push_back(V{half(), half(), 0.0F, 0.0F});
            }
        }
        const Vector2f p{half(), half()};
        const bool expected = IsInside(p, corners);
        ++inside[expected ? 1 : 0];
        // Any power of two gives the same figure.
        const float scale = std::ldexp(1.0F, static_cast<int>(input.Below(100)) - 50);
        for (V& corner : corners) {
            corner *= scale;
        }
        const unsigned long count = corners.size();
        const V* const c = corners.data();
        ASSERT_EQ(IsPointInPolygon2D(scale * p, c, count), expected) << round;
        if (isConvex || count < 3) {
            ASSERT_EQ(IsPointInConvexPolygon2D(scale * p, c, count), expected) << round;
        }
        if (count == 3) {
            ASSERT_EQ(IsPointInTriangle2D(scale * p, ToVector2f(c[2]), ToVector2f(c[0]), ToVector2f(c[1])), expected);
        }
        if (count != 0) {
            corners[input.Below(static_cast<unsigned>(count))].Set(input.Below(2), input.OnceIn(2) ? NOT : INF);
            ASSERT_FALSE(IsPointInPolygon2D(scale * p, c, count)) << round;
        }
    }
    EXPECT_TRUE(inside[0] > 5000 && inside[1] > 5000) << inside[0] << ", " << inside[1];
    const V ring[] = {{-1, -1, 0, 0}, {1, -1, 0, 0}, {0, 1, 0, 0}};
    for (const Vector2f& p : {Vector2f(NOT, 0), Vector2f(0, INF)}) {
        EXPECT_FALSE(IsPointInTriangle2D(p, {-1, -1}, {1, -1}, {0, 1}));
        EXPECT_FALSE(IsPointInTriangle2D({0, 0}, {-1, -1}, {1, -1}, p));
        EXPECT_FALSE(IsPointInPolygon2D(p, ring, 3) || IsPointInConvexPolygon2D(p, ring, 3));
    }
}

TEST(PointIn, TetrahedraAndTrianglesHaveTheirSides) {
    Input input(13);
    int inside[2] = {};
    for (unsigned round = 0; round < 40000; ++round) {
        // Small whole numbers, of which floats lose nothing either; every other time far from the origin.
        const float offset = input.OnceIn(2) ? 1000.0F : 0.0F;
        V p[5];
        Vector3d wide[5];
        for (int i = 0; i < 5; ++i) {
            const auto whole = [&] { return static_cast<float>(input.Below(7)) - 3 + offset; };
            p[i] = V{whole(), whole(), whole(), NOT};
            wide[i] = Wide(p[i]);
        }
        const Vector3d& q = wide[4];
        bool isIn = true;
        for (int i = 0; i < 4; ++i) {
            const Vector3d& a = wide[(i + 1) % 4];
            const Vector3d normal = Cross(wide[(i + 2) % 4] - a, wide[(i + 3) % 4] - a);
            const int inner = SignOf(Dot(normal, wide[i] - a));
            isIn = isIn && inner != 0 && inner * Dot(normal, q - a) >= 0;
        }
        const Vector3d normal = Cross(wide[1] - wide[0], wide[2] - wide[0]);
        bool isOver = LengthSqr(normal) != 0;
        for (int i = 0; i < 3; ++i) {
            isOver = isOver && Dot(normal, Cross(wide[(i + 1) % 3] - wide[i], q - wide[i])) >= 0;
        }
        ++inside[isIn ? 1 : 0];
        const V broken[] = {p[0], p[1], V(NOT, 0, 0, 0), p[3]};
        for (int form = 0; form < 2; ++form) {
            const RayQuery& triangle = POINT_QUERIES[CYLINDER + 1][form];
            const RayQuery& tetrahedron = POINT_QUERIES[CYLINDER + 2][form];
            const GeometryRay point(p[4], p[4]);
            ASSERT_EQ(triangle(point, p).isHit, isOver) << round;
            ASSERT_EQ(tetrahedron(point, p).isHit, isIn) << round;
            ASSERT_FALSE(triangle(point, broken).isHit || tetrahedron(point, broken).isHit) << round;
        }
    }
    EXPECT_TRUE(inside[0] > 1000 && inside[1] > 500) << inside[0] << ", " << inside[1];
    const V a(2, 3, 4, 0);
    EXPECT_TRUE(IsPointInCylinder(a, a, a, 0) && Consistent::IsPointInCylinder(a, a, a, 1));
    EXPECT_FALSE(IsPointInCylinder(a, a, a, -1) || Consistent::IsPointInCylinder(V::ZERO, a, a, 9));
    float t = 7;
    EXPECT_TRUE(IsPointInConvex(a, nullptr, 0) && !IntersectRayConvex(GeometryRay(a, a), nullptr, 0, t, t));
    EXPECT_FALSE(IsPointInConvex({0, NOT, 0, 0}, nullptr, 0));
}

TEST(IntersectSegment, MeetsInThePlaneWhereTheDistanceIsNone) {
    Input input(14);
    int met[2] = {};
    for (unsigned round = 0; round < 40000; ++round) {
        const bool isFine = input.OnceIn(2);
        const auto number = [&] { return isFine ? input.Coarse() : static_cast<float>(input.Below(5)) - 2; };
        V p[4];
        Vector2f q[4];
        const float scale = std::ldexp(1.0F, static_cast<int>(input.Below(100)) - 50);
        for (int i = 0; i < 4; ++i) {
            p[i] = V{number(), number(), 0.0F, 0.0F};
            q[i] = scale * ToVector2f(p[i]);
        }
        float nearest[2];
        // Either nothing, or more than a thousandth.
        const bool expected =
            Consistent::DistanceSegmentToSegment2DSqr(p[0], p[1], p[2], p[3], nearest[0], nearest[1]) < 1e-7F;
        ++met[expected ? 1 : 0];
        float s = 7;
        float t = 7;
        ASSERT_EQ(IntersectSegmentSegment2D(q[0], q[1], q[2], q[3], s, t), expected) << round;
        if (!expected) {
            ASSERT_TRUE(s == 7 && t == 7) << round;
            continue;
        }
        ASSERT_TRUE(s >= 0 && s <= 1 && t >= 0 && t <= 1) << round;
        const V apart = Lerp(p[0], p[1], s) - Lerp(p[2], p[3], t);
        ASSERT_LT(Dot2(apart, apart).X(), 1e-11F) << round;
        // From the other end, the last one becomes the first.
        float last = 0;
        ASSERT_TRUE(IntersectSegmentSegment2D(q[1], q[0], q[2], q[3], last, t)) << round;
        const bool isPoint = p[0] == p[1];
        ASSERT_TRUE(isPoint ? s == 0 : s <= 1 - last + 1e-6F) << round;
        const V b[] = {scale * p[2], scale * p[3]};
        ASSERT_EQ(s == 0, IsPointInPolygon2D(q[0], b, 2)) << round;
        ASSERT_EQ(isPoint || last == 0, IsPointInPolygon2D(q[1], b, 2)) << round;
    }
    EXPECT_TRUE(met[0] > 5000 && met[1] > 5000) << met[0] << ", " << met[1];
    float s = 0;
    float t = 0;
    EXPECT_FALSE(IntersectSegmentSegment2D({-1, 0}, {1, 0}, {0, -1}, {0, INF}, s, t));
    EXPECT_FALSE(IntersectSegmentSegment2D({-1, 0}, {1, NOT}, {0, -1}, {0, 1}, s, t));
}

} // namespace
