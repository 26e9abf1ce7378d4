// Where rays meet shapes: degenerate figures in one table, solids against samples of their insides, boxes and triangles
// against whole-number arithmetic, groups of four against single queries, meshes against leaks.
#include "figures.h"
#include "rayqueries.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <tests/support/counts.h>
#include <vector>
#include <zelk_core/math/geometry/distance.h>
#include <zelk_core/math/geometry/group4.h>
#include <zelk_core/math/geometry/plane.h>

namespace {

using V = Z4::VectorSIMD4f;
using Z4::Vector3d;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryOBB;
using Z4::Geometry::GeometryRay;
using Z4::Geometry::GeometryTriangle4;
using Z4::Geometry::Sides;
using namespace ZelkTest;

constexpr float INF = std::numeric_limits<float>::infinity();
constexpr float NOT = std::numeric_limits<float>::quiet_NaN();
constexpr float MISS = RayAnswer::UNWRITTEN;

TEST(IntersectRay, DegenerateFigures) {
    const V x(1, 0, 0, 0);
    const V y(0, 1, 0, 0);
    const V z(0, 0, 1, 0);
    const V zero(0, 0, 0, 0);
    const V corner(-1, -1, -1, 0);
    const V one(1, 1, 1, 0);
    const GeometryRay along({-3, 0, 0, 0}, x);
    const GeometryRay edge({-3, 1, 1, 0}, x);
    const GeometryRay inside(zero, x);
    const GeometryRay point(zero, zero);
    const GeometryRay away({3, 3, 3, 0}, zero);
    const GeometryRay down({0.25F, 0.25F, 3, 0}, {0, -0.0F, -2, 0});
    const GeometryRay lost(zero, {1, NOT, 0, 0});
    const V ball(0, 0, 0, 1);
    const V speck(0, 0, 0, 0);
    const V hole(0, 0, 0, -1);
    const V vague(0, NOT, 0, 1);
    const struct {
        int line;
        RayShape shape;
        GeometryRay ray;
        V p[5];
        float t; // MISS: nothing is written
    } rows[] = {
        {__LINE__, PLANE, along, {x}, 3},
        {__LINE__, PLANE, along, {y}, 0}, // within it
        {__LINE__, PLANE, along, {{0, 1, 0, 1}}, MISS},
        {__LINE__, PLANE, point, {{1, 0, 0, -1}}, MISS},
        {__LINE__, PLANE, point, {x}, 0},
        {__LINE__, PLANE, lost, {{0, 0, 1, 0}}, MISS},
        {__LINE__, PLANE, GeometryRay::FromSegment({-3, 0, 0, 0}, zero), {x}, 1},
        {__LINE__, PLANE, GeometryRay::FromSegment({-3, 0, 0, 0}, {-0.001F, 0, 0, 0}), {x}, MISS},
        {__LINE__, PLANE, GeometryRay::FromLine(x, one), {{1, 0, 0, NOT}}, MISS},
        {__LINE__, AABB, along, {corner, one}, 2},
        {__LINE__, AABB, edge, {corner, one}, 2},
        {__LINE__, AABB, GeometryRay({-3, -1, -1, 0}, {1, -0.0F, -0.0F, 0}), {corner, one}, 2},
        {__LINE__, AABB, inside, {corner, one}, 0},
        {__LINE__, AABB, point, {corner, one}, 0},
        {__LINE__, AABB, point, {zero, one}, 0}, // on its corner
        {__LINE__, AABB, away, {corner, one}, MISS},
        {__LINE__, AABB, lost, {corner, one}, MISS},
        {__LINE__, AABB, GeometryRay({-3, 0, 0, 0}, x, 2.5F, 2.5000002F), {corner, one}, MISS}, // ends before it starts
        {__LINE__, AABB, along, {zero, zero}, 3},
        {__LINE__, AABB, along, {y, one}, MISS},
        {__LINE__, AABB, along, {one, corner}, MISS},
        {__LINE__, AABB, along, {corner, {1, NOT, 1, 0}}, MISS},
        {__LINE__, AABB, along, {{-INF, -INF, -INF, 0}, {INF, INF, INF, 0}}, 0},
        {__LINE__, AABB, along, {{INF, INF, INF, 0}, {INF, INF, INF, 0}}, MISS},
        {__LINE__,
         AABB,
         GeometryRay({-3, 0, 0, 0}, {-1e-39F, 0, 0, 0}),
         {corner, one},
         MISS}, // too short to lead there
        {__LINE__, AABB, GeometryRay::FromSegment({-3, 0, 0, 0}, corner), {corner, one}, 1},
        {__LINE__, AABB, GeometryRay::FromLine({3, 0, 0, 0}, {4, 0, 0, 0}), {corner, one}, -4},
        {__LINE__, OBB, along, {zero, one, x, y, z}, 2},
        {__LINE__, OBB, edge, {zero, one, y, z, x}, 2},
        {__LINE__, OBB, point, {zero, zero, x, y, z}, 0},
        {__LINE__, OBB, along, {zero, corner, x, y, z}, MISS},
        {__LINE__, OBB, along, {{0, NOT, 0, 0}, one, x, y, z}, MISS},
        {__LINE__, OBB, along, {zero, {1, NOT, 1, 0}, x, y, z}, MISS},
        {__LINE__, OBB, point, {zero, one, x, y, {0, NOT, 1, 0}}, MISS},
        {__LINE__, SPHERE, along, {ball}, 2},
        {__LINE__, SPHERE, GeometryRay({-3, 1, 0, 0}, x), {ball}, 3},
        {__LINE__, SPHERE, inside, {ball}, 0},
        {__LINE__, SPHERE, point, {ball}, 0},
        {__LINE__, SPHERE, away, {ball}, MISS},
        {__LINE__, SPHERE, along, {speck}, 3},
        {__LINE__, SPHERE, along, {hole}, MISS},
        {__LINE__, SPHERE, along, {vague}, MISS},
        {__LINE__, SPHERE, along, {{0, 0, 0, NOT}}, MISS},
        {__LINE__, CAPSULE, along, {ball, {2, 0, 0, 0}}, 2},
        {__LINE__, CAPSULE, along, {ball, zero}, 2},
        {__LINE__, CAPSULE, point, {ball, zero}, 0},
        {__LINE__, CAPSULE, along, {hole, y}, MISS},
        {__LINE__, CAPSULE, along, {ball, vague}, MISS},
        {__LINE__, CYLINDER, along, {ball, {2, 0, 0, 0}}, 3},
        {__LINE__, CYLINDER, GeometryRay({-3, 1, 0, 0}, x), {ball, x}, 3},
        {__LINE__, CYLINDER, inside, {ball, x}, 0},
        {__LINE__, CYLINDER, point, {ball, x}, 0},
        {__LINE__, CYLINDER, along, {ball, zero}, MISS},
        {__LINE__, CYLINDER, along, {hole, y}, MISS},
        {__LINE__, CYLINDER, along, {ball, vague}, MISS},
        {__LINE__, CONVEX, along, {{1, 0, 0, 1}, {-1, 0, 0, 1}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}}, 2},
        {__LINE__, CONVEX, along, {{1, 0, 0, 1}, {0, 1, 0, -1}, x, x, x}, MISS}, // parallel and behind
        {__LINE__, CONVEX, along, {{1, 0, 0, -1}, {-1, 0, 0, -1}, x, x, x}, MISS},
        {__LINE__, CONVEX, along, {{1, 0, 0, NOT}, x, x, x, x}, MISS},
        {__LINE__, TRIANGLE, down, {zero, x, y}, 1.5F},
        {__LINE__, FRONT, down, {zero, x, y}, 1.5F},
        {__LINE__, FRONT, down, {zero, y, x}, MISS},
        {__LINE__, TRIANGLE, down, {zero, y, x}, 1.5F},
        {__LINE__, TRIANGLE, GeometryRay({0, 0, 3, 0}, {0, 0, -1, 0}), {zero, x, y}, 3}, // at a corner
        {__LINE__, TRIANGLE, GeometryRay({0, 0, 3, 0}, {0, 0, -1, 0}, 3), {zero, x, y}, 3},
        {__LINE__, TRIANGLE, GeometryRay({0, 0, 3, 0}, {0, 0, -1, 0}, 2.99F), {zero, x, y}, MISS},
        {__LINE__, TRIANGLE, along, {zero, x, y}, MISS}, // in its plane
        {__LINE__, TRIANGLE, point, {zero, x, y}, MISS},
        {__LINE__, TRIANGLE, down, {zero, one, one}, MISS},
        {__LINE__, TRIANGLE, down, {zero, x, {0, 1, NOT, 0}}, MISS},
        {__LINE__, TRIANGLE, lost, {x, y, z}, MISS},
        {__LINE__, RECTANGLE, down, {zero, x, y}, 1.5F},
        {__LINE__, RECTANGLE, GeometryRay({1, 1, 3, 0}, {0, 0, -1, 0}), {zero, y, x}, 3}, // at a corner
        {__LINE__, RECTANGLE, along, {zero, x, y}, MISS},
        {__LINE__, RECTANGLE, point, {zero, x, y}, MISS},
        {__LINE__, RECTANGLE, down, {zero, x, zero}, MISS},
        {__LINE__, RECTANGLE, down, {zero, x, {0, NOT, 0, 0}}, MISS},
    };
    for (const auto& row : rows) {
        for (const RayQuery& query : RAY_QUERIES[row.shape]) {
            const RayAnswer answer = query(row.ray, row.p);
            EXPECT_EQ(answer.isHit, row.t != MISS) << query.name << ", line " << row.line;
            EXPECT_EQ(answer.written[0], row.t) << query.name << ", line " << row.line;
            GeometryRay none(row.ray);
            none.SetLast(NOT);
            EXPECT_FALSE(query(none, row.p).isHit) << query.name << ", line " << row.line;
        }
    }
    EXPECT_EQ(GeometryRay(x, y, INF, -INF).GetLast(), GeometryRay::LARGEST);
    EXPECT_EQ(GeometryRay(x, y, INF, -INF).GetFirst(), -GeometryRay::LARGEST);
}

Vector3d Wide(const V& v) {
    return Vector3d(Z4::ToVector3f(v));
}

/// A solid as points for its query, and how far a point is outside of it, below 0 inside, about.
struct Solid {
    Solid(RayShape shape, Input& input) : m_shape(shape) {
        for (V& point : p) {
            point = RandomPoint(input, 4, static_cast<float>(input.Number(0.2, 3)));
        }
        if (shape == AABB) {
            const V low = Min(p[0], p[1]);
            p[1] = Max(p[0], p[1]);
            p[0] = low;
        } else if (shape == OBB) {
            p[1] = Abs(p[1]);
            const Z4::MatrixSIMD44f rotation = RandomRotation(input);
            for (unsigned i = 0; i < 3; ++i) {
                p[2 + i] = rotation.Row(i);
            }
        } else if (shape == CONVEX) { // whose planes have unit normals, so that their heights are distances
            for (V& plane : p) {
                EXPECT_TRUE(Z4::Geometry::NormalizePlane(plane));
            }
        }
    }

    double Outside(const V& q) const {
        const auto boxed = [](const Vector3d& d, const V& extent) {
            const Vector3d e = Abs(d) - Wide(extent);
            return std::max({e.X(), e.Y(), e.Z()});
        };
        const Vector3d axis = Wide(p[1] - p[0]);
        const Vector3d d = Wide(q) - Wide(p[0]);
        const double along = Dot(d, axis) / LengthSqr(axis);
        double outside = -1e9;
        switch (m_shape) {
        case AABB:
            return boxed(Wide(q) - Wide(GeometryAABB(p[0], p[1]).GetCenter()), GeometryAABB(p[0], p[1]).GetExtent());
        case OBB:
            return boxed({Dot(d, Wide(p[2])), Dot(d, Wide(p[3])), Dot(d, Wide(p[4]))}, p[1]);
        case SPHERE:
            return Length(d) - p[0].W();
        case CAPSULE:
            return Length(d - axis * std::clamp(along, 0.0, 1.0)) - p[0].W();
        case CYLINDER:
            return std::max({Length(d - axis * along) - p[0].W(), -along * Length(axis), (along - 1) * Length(axis)});
        default:
            for (const V& plane : p) {
                outside = std::max(outside, -(Dot(Wide(q), Wide(plane)) + plane.W()));
            }
            return outside;
        }
    }

    V p[5];

private:
    RayShape m_shape;
};

TEST(IntersectRay, MeetsSolidsWhereTheyAre) {
    constexpr double NEAR = 1e-4;
    Input input(4);
    for (const RayShape shape : {AABB, OBB, SPHERE, CAPSULE, CYLINDER, CONVEX}) {
        int hits = 0;
        for (unsigned round = 0; round < 3000; ++round) {
            const Solid solid(shape, input);
            V direction = RandomPoint(input, 1);
            if (input.OnceIn(3)) { // parallel to an axis, of space or of the solid
                direction = input.OnceIn(2) ? V(0, 0, 1.5F, 0) : V(solid.p[1] - solid.p[0]);
            }
            const float first = input.OnceIn(4) ? -1.0F : 0.0F;
            const GeometryRay ray(RandomPoint(input, 6), direction, 20, first);
            for (const RayQuery& query : RAY_QUERIES[shape]) {
                const RayAnswer answer = query(ray, solid.p);
                const float tIn = answer.written[0];
                const float tOut = answer.written[1];
                hits += answer.isHit ? 1 : 0;
                for (unsigned i = 0; i <= 40; ++i) {
                    const float t = first + static_cast<float>(i) * (20 - first) / 40;
                    const double outside = solid.Outside(ray.At(t));
                    if (!answer.isHit || t < tIn || t > tOut) {
                        ASSERT_GT(outside, -NEAR) << query.name << ", round " << round << ", t " << t;
                    } else {
                        ASSERT_LT(outside, NEAR) << query.name << ", round " << round << ", t " << t;
                    }
                }
                if (answer.isHit) {
                    ASSERT_TRUE(first <= tIn && tIn <= tOut && tOut <= 20) << query.name;
                    ASSERT_LT(solid.Outside(ray.At(tIn)), NEAR) << query.name << ", round " << round;
                    ASSERT_LT(solid.Outside(ray.At(tOut)), NEAR) << query.name << ", round " << round;
                }
            }
        }
        EXPECT_GT(hits, 200) << shape;
    }
}

/// Points with whole coordinates, as both arithmetics see them.
struct Whole {
    long long x[3];

    V Floats() const { return {static_cast<float>(x[0]), static_cast<float>(x[1]), static_cast<float>(x[2]), NOT}; }
    Whole operator-(const Whole& b) const { return {{x[0] - b.x[0], x[1] - b.x[1], x[2] - b.x[2]}}; }
};
Whole RandomWhole(Input& input, unsigned size) {
    const auto number = [&] { return static_cast<long long>(input.Below(2 * size + 1)) - size; };
    const long long x = number();
    const long long y = number();
    return {{x, y, number()}};
}

/// Slabs without division: n / d <= m / e. The box is `scale` times as large, and `growth` more on each side.
bool MeetsExactly(const Whole& origin, const Whole& d, const Whole& low, const Whole& high, long long scale,
                  long long growth) {
    struct Ratio {
        long long n, d;
        bool LessEqual(const Ratio& other) const { return n * other.d <= other.n * d; }
    };
    Ratio in[4] = {{0, 1}};
    Ratio out[4] = {{1LL << 40, 1}};
    for (int k = 0; k < 3; ++k) {
        const long long toLow = scale * (low.x[k] - origin.x[k]) - growth;
        const long long toHigh = scale * (high.x[k] - origin.x[k]) + growth;
        if (d.x[k] == 0 && (toLow > 0 || toHigh < 0)) {
            return false;
        }
        in[k + 1] = d.x[k] == 0 ? in[0] : (d.x[k] > 0 ? Ratio{toLow, d.x[k]} : Ratio{-toHigh, -d.x[k]});
        out[k + 1] = d.x[k] == 0 ? Ratio{1LL << 30, 1} : (d.x[k] > 0 ? Ratio{toHigh, d.x[k]} : Ratio{-toLow, -d.x[k]});
    }
    out[0] = {1LL << 30, 1};
    return std::all_of(in, in + 4, [&](const Ratio& a) {
        return std::all_of(out, out + 4, [&](const Ratio& b) { return a.LessEqual(b); });
    });
}

TEST(IntersectRay, MissesNoBox) {
    Input input(5);
    int touching = 0;
    for (unsigned round = 0; round < Repeats(30000, 3000000); ++round) {
        const unsigned size = input.OnceIn(2) ? 4 : 1000;
        const Whole origin = RandomWhole(input, size);
        Whole low = RandomWhole(input, size);
        Whole high = RandomWhole(input, size);
        for (int k = 0; k < 3; ++k) {
            if (low.x[k] > high.x[k]) {
                std::swap(low.x[k], high.x[k]);
            }
        }
        // Often at a corner, which the ray then touches.
        const Whole direction =
            input.OnceIn(2) ? Whole{{low.x[0], high.x[1], low.x[2]}} - origin : RandomWhole(input, size);
        const GeometryRay ray(origin.Floats(), direction.Floats());
        const GeometryAABB box(low.Floats(), high.Floats());
        float t = MISS;
        const bool isHit = IntersectRayAABB(ray, box, t);
        const bool touches = MeetsExactly(origin, direction, low, high, 1, 0);
        touching += touches ? 1 : 0;
        ASSERT_TRUE(isHit || !touches) << round;
        ASSERT_TRUE(!isHit || MeetsExactly(origin, direction, low, high, 1024, 3)) << round;
    }
    EXPECT_GT(touching, 5000);
}

TEST(IntersectRay, DecidesTrianglesAsWholeNumbersDo) {
    Input input(6);
    int decided[2] = {};
    for (unsigned round = 0; round < Repeats(20000, 2000000); ++round) {
        const Whole origin = RandomWhole(input, 8);
        const Whole corners[3] = {RandomWhole(input, 8), RandomWhole(input, 8), RandomWhole(input, 8)};
        Whole direction = RandomWhole(input, 8);
        const bool isStraight = input.OnceIn(2);
        if (isStraight) { // shearing is then exact, touching too
            direction = {{0, 0, 0}};
            direction.x[input.Below(3)] = input.OnceIn(2) ? 2 : -4;
        }
        const Vector3d d = Wide(direction.Floats());
        Vector3d p[3];
        for (int i = 0; i < 3; ++i) {
            p[i] = Wide((corners[i] - origin).Floats());
        }
        // Exact, as all numbers are small.
        const double sides[] = {Dot(d, Cross(p[1], p[2])), Dot(d, Cross(p[2], p[0])), Dot(d, Cross(p[0], p[1]))};
        const auto [least, greatest] = std::minmax({sides[0], sides[1], sides[2]});
        const double sum = sides[0] + sides[1] + sides[2];
        const double t = Dot(p[0], Cross(p[1], p[2])) / sum;
        const bool isTouching = sides[0] == 0 || sides[1] == 0 || sides[2] == 0 || t == 0;
        if (isTouching && !isStraight) {
            continue;
        }
        const bool expected = (least >= 0 || greatest <= 0) && sum != 0 && t >= 0;
        const V a = corners[0].Floats();
        const V b = corners[1].Floats();
        const V c = corners[2].Floats();
        const GeometryRay ray(origin.Floats(), direction.Floats());
        float out[3] = {MISS, MISS, MISS};
        ASSERT_EQ(IntersectRayTriangle(ray, a, b, c, out[0], out[1], out[2]), expected) << round;
        ++decided[expected ? 1 : 0];
        if (expected) {
            ASSERT_NEAR(out[0], t, 1e-5 * (1 + std::fabs(t))) << round;
            ASSERT_NEAR(out[1], sides[1] / sum, 1e-5) << round;
            ASSERT_NEAR(out[2], sides[2] / sum, 1e-5) << round;
            float same[3];
            ASSERT_EQ(IntersectRayTriangle(ray, a, b, c, same[0], same[1], same[2], Sides::FRONT), sum < 0) << round;
            ASSERT_TRUE(Z4::Geometry::Consistent::IntersectRayTriangle(ray, a, b, c, same[0], same[1], same[2]));
            ASSERT_NEAR(same[0], t, 1e-5 * (1 + std::fabs(t))) << round;
        }
    }
    EXPECT_TRUE(decided[0] > 1000 && decided[1] > 200) << decided[0] << ", " << decided[1];
}

TEST(IntersectRay, FourAreAsOne) {
    Input input(7);
    for (unsigned round = 0; round < 10000; ++round) {
        const unsigned kind = input.Below(3);
        const auto point = [&] {
            return kind == 0   ? RandomPoint(input, 2)
                   : kind == 1 ? V{input.Coarse(), input.Coarse(), input.Coarse(), 0.0F}
                               : EdgePoint(input);
        };
        const GeometryRay ray(point(), point(), 100, input.OnceIn(2) ? -1.0F : 0.0F);
        const Sides sides = input.OnceIn(2) ? Sides::BOTH : Sides::FRONT;
        Z4::Geometry::GeometryAABB4 boxes;
        GeometryTriangle4 groups[2];
        V corners[8][3];
        for (unsigned long i = 0; i < 8; ++i) {
            for (V& corner : corners[i]) {
                corner = point();
            }
            if (i > 2 && input.OnceIn(4)) { // the same once more
                std::copy(corners[i - 3], corners[i - 3] + 3, corners[i]);
            }
            groups[i / 4].Set(i % 4, corners[i][0], corners[i][1], corners[i][2]);
        }
        for (unsigned long i = 0; i < 3; ++i) { // the last one stays empty
            boxes.Set(i, GeometryAABB(Min(corners[i][0], corners[i][1]), corners[i][1]));
        }
        V t;
        const unsigned boxHits = IntersectRayAABB4(ray, boxes, t);
        for (unsigned long i = 0; i < 4; ++i) {
            float one = INF;
            ASSERT_EQ((boxHits >> i & 1) != 0, IntersectRayAABB(ray, boxes.Get(i), one)) << round;
            ASSERT_TRUE(Same(V::Broadcast(t[i]), V::Broadcast(one))) << round << ": " << t[i] << ", " << one;
        }
        unsigned long nearest = 8;
        float best[3] = {INF, MISS, MISS};
        for (unsigned long i = 0; i < 8; ++i) {
            const V(&p)[3] = corners[i];
            float one[3] = {INF, 0, 0};
            float consistent[3] = {INF, 0, 0};
            const bool isHit = IntersectRayTriangle(ray, p[0], p[1], p[2], one[0], one[1], one[2], sides);
            const bool twin = Z4::Geometry::Consistent::IntersectRayTriangle(ray, p[0], p[1], p[2], consistent[0],
                                                                             consistent[1], consistent[2], sides);
            ASSERT_EQ((IntersectRayTriangle4(ray, groups[i / 4], t, sides) >> i % 4 & 1) != 0, isHit) << round;
            ASSERT_TRUE(Same(V::Broadcast(t[i % 4]), V::Broadcast(one[0]))) << round;
            const unsigned twins = Z4::Geometry::Consistent::IntersectRayTriangle4(ray, groups[i / 4], t, sides);
            ASSERT_EQ((twins >> i % 4 & 1) != 0, twin) << round;
            ASSERT_TRUE(Same(V::Broadcast(t[i % 4]), V::Broadcast(consistent[0]))) << round;
            if (one[0] < best[0]) {
                nearest = i;
                std::copy(one, one + 3, best);
            }
        }
        float found[3] = {INF, MISS, MISS};
        ASSERT_EQ(IntersectRayTriangles(ray, groups, 2, found[0], found[1], found[2], sides), nearest) << round;
        ASSERT_TRUE(std::equal(found, found + 3, best)) << round;
        ASSERT_EQ(IntersectRayAnyTriangle(ray, groups, 2, sides), nearest != 8) << round;
    }
}

/// A closed mesh around 0: a ball with dents, or on a coarse grid.
class Mesh {
public:
    Mesh(Input& input, bool isCoarse) {
        for (auto& row : m_corners) {
            for (V& corner : row) {
                corner = V(0, 0, 0, 0);
            }
        }
        for (unsigned i = 0; i <= ROWS; ++i) {
            for (unsigned j = 0; j < COLUMNS; ++j) {
                const double theta = 3.141592653589793 * i / ROWS;
                const double phi = 6.283185307179586 * j / COLUMNS;
                const double r = input.Number(2, 3);
                V corner(static_cast<float>(r * std::sin(theta) * std::cos(phi)),
                         static_cast<float>(r * std::sin(theta) * std::sin(phi)),
                         static_cast<float>(r * std::cos(theta)), 0);
                if (isCoarse) {
                    corner = V(std::round(4 * corner.X()), std::round(4 * corner.Y()), std::round(4 * corner.Z()), 0);
                }
                m_corners[i][j] = (i == 0 || i == ROWS) && j != 0 ? m_corners[i][0] : corner;
            }
        }
        for (unsigned i = 0; i < ROWS; ++i) {
            for (unsigned j = 0; j < COLUMNS; ++j) {
                const V* const quad[] = {&At(i, j), &At(i + 1, j), &At(i + 1, j + 1), &At(i, j + 1)};
                Add(*quad[0], *quad[1], *quad[2]);
                Add(*quad[0], *quad[2], *quad[3]);
            }
        }
    }

    /// A corner, or a point of an edge.
    V Target(Input& input) const {
        const unsigned i = input.Below(ROWS);
        const unsigned j = input.Below(COLUMNS);
        const V& from = At(i, j);
        const unsigned step = input.Below(4);
        const V& to = step == 0 ? from : At(i + (step & 1), j + (step >> 1));
        return from + static_cast<float>(input.Number(0, 1)) * (to - from);
    }
    const std::vector<GeometryTriangle4>& Groups() const { return m_groups; }

private:
    static constexpr unsigned ROWS = 6;
    static constexpr unsigned COLUMNS = 8;

    const V& At(unsigned i, unsigned j) const { return m_corners[i][j % COLUMNS]; }
    void Add(const V& a, const V& b, const V& c) {
        if (m_count % 4 == 0) {
            m_groups.emplace_back();
        }
        m_groups.back().Set(m_count++ % 4, a, b, c);
    }

    V m_corners[ROWS + 1][COLUMNS];
    std::vector<GeometryTriangle4> m_groups;
    unsigned long m_count = 0;
};

TEST(IntersectRay, NoneLeavesAClosedMesh) {
    Input input(8);
    const Mesh meshes[] = {{input, false}, {input, true}};
    for (unsigned round = 0; round < Repeats(200000, 10000000); ++round) {
        const Mesh& mesh = meshes[round % 2];
        const V origin = round % 2 == 0 ? RandomPoint(input, 0.25F) : V(0, 0, 0, 0);
        const GeometryRay ray(origin, mesh.Target(input) - origin);
        ASSERT_TRUE(IntersectRayAnyTriangle(ray, mesh.Groups().data(), mesh.Groups().size())) << round;
    }
}

TEST(Plane, GoesThroughItsPoints) {
    using namespace Z4::Geometry;
    Input input(9);
    for (unsigned round = 0; round < 2000; ++round) {
        const V p[] = {RandomPoint(input, 5, 1), RandomPoint(input, 5, 1), RandomPoint(input, 5, 1)};
        const V q = RandomPoint(input, 5, 1);
        V planes[3];
        ASSERT_TRUE(MakePlane(planes[0], p[0], p[1], p[2]));
        ASSERT_TRUE(MakePlane(planes[1], p, 3));
        planes[2] = MakePlane(RandomPoint(input, 2), p[0]);
        // A slender triangle's own planes differ; at its corners they do not.
        for (unsigned i = 0; i < 3; ++i) {
            ASSERT_NEAR(DistancePointToPlane(p[i], planes[0]), 0, 2e-5);
            ASSERT_NEAR(Consistent::DistancePointToPlane(p[i], planes[1]), 0, 2e-4);
        }
        ASSERT_NEAR(DistancePointToPlane(p[0], planes[2]), 0, 2e-5);
        const V foot = ClosestPointToPlane(q, planes[2]);
        ASSERT_NEAR(DistancePointToPlane(foot, planes[2]), 0, 1e-4);
        ASSERT_LT(Length3(Cross3(foot - q, planes[2])).X(), 1e-3);
        V point;
        V direction;
        if (IntersectPlanePlane(planes[0], planes[2], point, direction) && LengthSqr3(direction).X() > 0.1F) {
            ASSERT_NEAR(DistancePointToPlane(point, planes[0]), 0, 1e-3);
            ASSERT_NEAR(DistancePointToPlane(point + direction, planes[2]), 0, 1e-3);
            V meeting;
            const V third = MakePlane(direction, q);
            ASSERT_TRUE(IntersectPlanes(planes[0], planes[2], third, meeting));
            ASSERT_NEAR(DistancePointToPlane(meeting, third), 0, 1e-3);
            ASSERT_NEAR(DistancePointToPlane(meeting, planes[0]), 0, 1e-3);
            ASSERT_EQ(meeting.W(), 1);
        }
        Z4::MatrixSIMD44f m = RandomRotation(input);
        m.Row(3) = q;
        const V moved = TransformPlane(planes[2], InverseAffine(m));
        ASSERT_NEAR(DistancePointToPlane(TransformPoint(p[1], m), moved), DistancePointToPlane(p[1], planes[2]), 1e-4);
        ASSERT_FALSE(MakePlane(point, p[0], p[0], p[1]));
        ASSERT_FALSE(MakePlane(point, p, 2));
    }
}

TEST(Plane, ClassifiesByAllCorners) {
    using namespace Z4::Geometry;
    Input input(10);
    int seen[3] = {};
    for (unsigned round = 0; round < 4000; ++round) {
        const auto coarse = [&] { return V{input.Coarse(), input.Coarse(), input.Coarse(), 0.0F}; };
        const V p[] = {coarse(), coarse(), coarse()};
        const V plane{input.Coarse(), input.Coarse(), input.Coarse(), input.Coarse()};
        const GeometryAABB box(p, 2);
        // All of these numbers are small multiples of 1/64, so that touching is exact.
        const auto of = [&](const auto& corners, unsigned long count) {
            unsigned long inFront = 0;
            for (unsigned long i = 0; i < count; ++i) {
                const double height = Dot(Wide(corners[i]), Wide(plane)) + plane.W();
                inFront += height >= 0 ? 1 : 0;
            }
            return inFront == count ? Containment::INSIDE
                                    : (inFront != 0 ? Containment::INTERSECTING : Containment::OUTSIDE);
        };
        const Containment expected = of(box, 8);
        ++seen[static_cast<int>(expected)];
        ASSERT_EQ(ClassifyAABBByPlane(box, plane), expected) << round;
        ASSERT_EQ(Consistent::ClassifyAABBByPlane(box, plane), expected) << round;
        ASSERT_EQ(ClassifyOBBByPlane(box.ToOOBox(), plane), expected) << round;
        ASSERT_EQ(Consistent::ClassifyOBBByPlane(box.ToOOBox(), plane), expected) << round;
        ASSERT_EQ(ClassifyTriangleByPlane(p[0], p[1], p[2], plane), of(p, 3)) << round;
        ASSERT_EQ(Consistent::ClassifyTriangleByPlane(p[0], p[1], p[2], plane), of(p, 3)) << round;
        // Beside a plane along the axes, a ball is its box.
        const V level(0, 2, 0, plane.W());
        const GeometryAABB cube(p[0] - 0.5F, p[0] + 0.5F);
        ASSERT_EQ(ClassifySphereByPlane(p[0], 0.5F, level), ClassifyAABBByPlane(cube, level)) << round;
        ASSERT_EQ(Consistent::ClassifySphereByPlane(p[0], 0.5F, level), ClassifyAABBByPlane(cube, level)) << round;
    }
    EXPECT_TRUE(seen[0] > 100 && seen[1] > 100 && seen[2] > 100);
    const V up(0, 1, 0, 9);
    EXPECT_EQ(ClassifyAABBByPlane(GeometryAABB(), up), Containment::OUTSIDE);
    EXPECT_EQ(ClassifySphereByPlane(V::ZERO, -1, up), Containment::OUTSIDE);
    EXPECT_EQ(ClassifySphereByPlane({0, NOT, 0, 0}, 1, up), Containment::OUTSIDE);
    EXPECT_EQ(ClassifyOBBByPlane(GeometryOBB(V::ZERO, -V::ONE), up), Containment::OUTSIDE);
    EXPECT_EQ(ClassifyTriangleByPlane(V::ZERO, V::ZERO, {0, NOT, 0, 0}, up), Containment::OUTSIDE);
}

} // namespace
