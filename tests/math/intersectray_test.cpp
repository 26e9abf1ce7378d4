// Where rays and segments meet shapes, and what contains a point: degenerate figures in one table, solids against
// samples of their insides, boxes and triangles against whole-number arithmetic, groups of four against single queries,
// meshes against leaks.
#include "figures.h"
#include "rayqueries.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <tests/support/counts.h>
#include <zelk_core/math/geometry/plane.h>

namespace {

using V = Z4::VectorSIMD4f;
using Z4::Vector3d;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryRay;
using Z4::Geometry::Sides;
using namespace ZelkTest;

constexpr float INF = std::numeric_limits<float>::infinity();
constexpr float NOT = std::numeric_limits<float>::quiet_NaN();
constexpr float MISS = RayAnswer::UNWRITTEN;

/// What both forms tell of a ray, which meets the shape at `t`; of the segment of eight times its length; of its start.
void Expect(int line, RayShape shape, const GeometryRay& ray, const V* p, float t) {
    for (int form = 0; form < 2; ++form) {
        const RayQuery& query = RAY_QUERIES[shape][form];
        const RayAnswer answer = query(ray, p);
        EXPECT_EQ(answer.isHit, t != MISS) << query.name << ", line " << line;
        EXPECT_EQ(answer.written[0], t) << query.name << ", line " << line;
        GeometryRay none(ray);
        none.SetLast(NOT);
        EXPECT_FALSE(query(none, p).isHit) << query.name << ", line " << line;
        if (shape >= SPHERE && ray.GetFirst() == 0 && ray.GetLast() == GeometryRay::LARGEST) {
            const RayAnswer segment =
                SEGMENT_QUERIES[shape - SPHERE][form]({ray.GetOrigin(), 8 * ray.GetDirection()}, p);
            EXPECT_EQ(segment.isHit, t <= 8) << query.name << ", line " << line;
            // Of boxes it does not tell where.
            EXPECT_EQ(segment.written[0], t <= 8 && shape != AABB && shape != OBB ? t / 8 : MISS)
                << query.name << ", line " << line;
        }
        if (shape <= CYLINDER) {
            const RayAnswer start = query({ray.GetOrigin(), V(0, 0, 0, 0)}, p);
            EXPECT_EQ(POINT_QUERIES[shape][form](ray, p).isHit, start.isHit) << query.name << ", line " << line;
        }
    }
}

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
    const GeometryRay standing({-3, 0, 0, 0}, {-1e-39F, 0, 0, 0}); // too short to lead anywhere
    const V ball(0, 0, 0, 1);
    const V speck(0, 0, 0, 0);
    const V hole(0, 0, 0, -1);
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
        {__LINE__, PLANE, GeometryRay::FromSegment({-3, 0, 0, 0}, zero), {x}, 1},
        {__LINE__, PLANE, GeometryRay::FromSegment({-3, 0, 0, 0}, {-0.001F, 0, 0, 0}), {x}, MISS},
        {__LINE__, AABB, along, {corner, one}, 2},
        {__LINE__, AABB, edge, {corner, one}, 2},
        {__LINE__, AABB, GeometryRay({-3, -1, -1, 0}, {1, -0.0F, -0.0F, 0}), {corner, one}, 2},
        {__LINE__, AABB, inside, {corner, one}, 0},
        {__LINE__, AABB, point, {corner, one}, 0},
        {__LINE__, AABB, point, {zero, one}, 0}, // on its corner
        {__LINE__, AABB, away, {corner, one}, MISS},
        {__LINE__, AABB, GeometryRay({-3, 0, 0, 0}, x, 2.5F, 2.5000002F), {corner, one}, MISS}, // ends before it starts
        {__LINE__, AABB, along, {zero, zero}, 3},
        {__LINE__, AABB, along, {y, one}, MISS},
        {__LINE__, AABB, along, {one, corner}, MISS},
        {__LINE__, AABB, along, {{-INF, -INF, -INF, 0}, {INF, INF, INF, 0}}, 0},
        {__LINE__, AABB, along, {{INF, INF, INF, 0}, {INF, INF, INF, 0}}, MISS},
        {__LINE__, AABB, standing, {corner, one}, MISS},
        {__LINE__, AABB, GeometryRay::FromSegment({-3, 0, 0, 0}, corner), {corner, one}, 1},
        {__LINE__, AABB, GeometryRay::FromLine({3, 0, 0, 0}, {4, 0, 0, 0}), {corner, one}, -4},
        {__LINE__, OBB, edge, {zero, one, y, z, x}, 2},
        {__LINE__, OBB, point, {zero, zero, x, y, z}, 0},
        {__LINE__, OBB, along, {zero, corner, x, y, z}, MISS},
        {__LINE__, SPHERE, along, {ball}, 2},
        {__LINE__, SPHERE, GeometryRay({-3, 1, 0, 0}, x), {ball}, 3},
        {__LINE__, SPHERE, inside, {ball}, 0},
        {__LINE__, SPHERE, point, {ball}, 0},
        {__LINE__, SPHERE, away, {ball}, MISS},
        {__LINE__, SPHERE, along, {speck}, 3},
        {__LINE__, SPHERE, along, {hole}, MISS},
        {__LINE__, CAPSULE, along, {ball, {2, 0, 0, 0}}, 2},
        {__LINE__, CAPSULE, along, {ball, zero}, 2},
        {__LINE__, CAPSULE, point, {ball, zero}, 0},
        {__LINE__, CAPSULE, along, {hole, y}, MISS},
        {__LINE__, CYLINDER, along, {ball, {2, 0, 0, 0}}, 3},
        {__LINE__, CYLINDER, GeometryRay({-3, 1, 0, 0}, x), {ball, x}, 3},
        {__LINE__, CYLINDER, point, {ball, x}, 0},
        {__LINE__, CYLINDER, along, {ball, zero}, MISS},
        {__LINE__, CYLINDER, along, {hole, y}, MISS},
        {__LINE__, CONVEX, along, {{1, 0, 0, 1}, {-1, 0, 0, 1}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}}, 2},
        {__LINE__, CONVEX, along, {{1, 0, 0, 1}, {0, 1, 0, -1}, x, x, x}, MISS}, // parallel and behind
        {__LINE__, CONVEX, along, {{1, 0, 0, -1}, {-1, 0, 0, -1}, x, x, x}, MISS},
        {__LINE__, TRIANGLE, down, {zero, x, y}, 1.5F},
        {__LINE__, FRONT, down, {zero, x, y}, 1.5F},
        {__LINE__, FRONT, down, {zero, y, x}, MISS},
        {__LINE__, TRIANGLE, GeometryRay({0, 0, 3, 0}, {0, 0, -1, 0}), {zero, x, y}, 3}, // at a corner
        {__LINE__, TRIANGLE, GeometryRay({0, 0, 3, 0}, {0, 0, -1, 0}, 3), {zero, x, y}, 3},
        {__LINE__, TRIANGLE, GeometryRay({0, 0, 3, 0}, {0, 0, -1, 0}, 2.99F), {zero, x, y}, MISS},
        {__LINE__, TRIANGLE, along, {zero, x, y}, MISS}, // in its plane
        {__LINE__, TRIANGLE, point, {zero, x, y}, MISS},
        {__LINE__, TRIANGLE, down, {zero, one, one}, MISS},
        {__LINE__, RECTANGLE, down, {zero, x, y}, 1.5F},
        {__LINE__, RECTANGLE, GeometryRay({1, 1, 3, 0}, {0, 0, -1, 0}), {zero, y, x}, 3}, // at a corner
        {__LINE__, RECTANGLE, along, {zero, x, y}, MISS},
        {__LINE__, RECTANGLE, point, {zero, x, y}, MISS},
        {__LINE__, RECTANGLE, down, {zero, x, zero}, MISS},
    };
    // How many lanes of the points count, from x of the first on; w counts in the first five shapes.
    constexpr unsigned LANES[] = {20, 4, 7, 7, 4, 7, 19, 11, 11, 11};
    for (const auto& row : rows) {
        const GeometryRay& ray = row.ray;
        Expect(row.line, row.shape, ray, row.p, row.t);
        for (unsigned lane = 0; row.t != MISS && lane < LANES[row.shape]; ++lane) {
            V p[5];
            std::copy(row.p, row.p + 5, p);
            p[lane / 4].Set(lane % 4, NOT);
            Expect(row.line, row.shape, ray, p, lane % 4 == 3 && row.shape > PLANE ? row.t : MISS);
        }
        for (unsigned i = 0; row.t != MISS && i < 12; ++i) { // in each lane of both, a NaN and an infinity
            V start = ray.GetOrigin();
            V way = ray.GetDirection();
            (i < 6 ? start : way).Set(i % 3, i % 2 == 0 ? NOT : INF);
            Expect(row.line, row.shape, {start, way, ray.GetLast(), ray.GetFirst()}, row.p, MISS);
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
        for (unsigned round = 0; round < 6000; ++round) {
            const Solid solid(shape, input);
            V direction = RandomPoint(input, 1);
            if (input.OnceIn(3)) { // parallel to an axis, of space or of the solid
                direction = input.OnceIn(2) ? V(0, 0, 1.5F, 0) : V(solid.p[1] - solid.p[0]);
            }
            const float first = input.OnceIn(4) ? -0.1F : 0.0F;
            const GeometryRay ray(RandomPoint(input, 6), 20 * direction, 1, first);
            const unsigned form = round % 2;
            const RayQuery& query = RAY_QUERIES[shape][form];
            const RayAnswer answer = query(ray, solid.p);
            const float tIn = answer.written[0];
            const float tOut = answer.written[1];
            for (unsigned i = 0; i <= 40; ++i) {
                const float t = first + static_cast<float>(i) * (1 - first) / 40;
                const double outside = solid.Outside(ray.At(t));
                const bool isIn = answer.isHit && tIn <= t && t <= tOut;
                ASSERT_TRUE(isIn ? outside < NEAR : outside > -NEAR)
                    << query.name << ", round " << round << ", t " << t;
                if (shape <= CYLINDER && std::fabs(outside) > NEAR) {
                    const RayAnswer contained = POINT_QUERIES[shape][form]({ray.At(t), direction}, solid.p);
                    ASSERT_EQ(contained.isHit, outside < 0) << query.name << ", round " << round << ", t " << t;
                }
            }
            if (answer.isHit) {
                ++hits;
                ASSERT_TRUE(first <= tIn && tIn <= tOut && tOut <= 1) << query.name;
                ASSERT_LT(solid.Outside(ray.At(tIn)), NEAR) << query.name << ", round " << round;
                ASSERT_LT(solid.Outside(ray.At(tOut)), NEAR) << query.name << ", round " << round;
            }
            if (shape >= SPHERE && first == 0) {
                const RayAnswer segment = SEGMENT_QUERIES[shape - SPHERE][form](ray, solid.p);
                ASSERT_EQ(segment.isHit, answer.isHit) << query.name << ", round " << round;
                ASSERT_TRUE(segment.written[0] == MISS || std::fabs(segment.written[0] - tIn) < NEAR) << query.name;
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

/// Slabs without division: n / d <= m / e. The box is `scale` times as large, and `growth` more on each side; a way
/// along `d` ends at `last`.
bool MeetsExactly(const Whole& origin, const Whole& d, const Whole& low, const Whole& high, long long last,
                  long long scale, long long growth) {
    struct Ratio {
        long long n, d;
    };
    Ratio in[4] = {{0, 1}};
    Ratio out[4] = {{last * scale, 1}};
    for (int k = 0; k < 3; ++k) {
        const long long sign = d.x[k] < 0 ? -1 : 1;
        const long long ends[] = {scale * (low.x[k] - origin.x[k]) - growth,
                                  scale * (high.x[k] - origin.x[k]) + growth};
        if (d.x[k] == 0 && (ends[0] > 0 || ends[1] < 0)) {
            return false;
        }
        in[k + 1] = d.x[k] == 0 ? in[0] : Ratio{sign * ends[sign > 0 ? 0 : 1], sign * d.x[k]};
        out[k + 1] = d.x[k] == 0 ? out[0] : Ratio{sign * ends[sign > 0 ? 1 : 0], sign * d.x[k]};
    }
    return std::all_of(in, in + 4, [&](const Ratio& a) {
        return std::all_of(out, out + 4, [&](const Ratio& b) { return a.n * b.d <= b.n * a.d; });
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
        const Whole way = input.OnceIn(2) ? Whole{{low.x[0], high.x[1], low.x[2]}} - origin : RandomWhole(input, size);
        const V start = origin.Floats();
        const GeometryRay ray(start, way.Floats());
        const GeometryAABB box(low.Floats(), high.Floats());
        float t = MISS;
        const bool isHit[] = {IntersectRayAABB(ray, box, t),
                              IntersectSegmentAABB(start, start + ray.GetDirection(), box)};
        for (int i = 0; i < 2; ++i) {
            const long long last = i == 0 ? 1 << 20 : 1;
            const bool touches = MeetsExactly(origin, way, low, high, last, 1, 0);
            touching += touches ? 1 : 0;
            ASSERT_TRUE(isHit[i] || !touches) << round;
            ASSERT_TRUE(!isHit[i] || MeetsExactly(origin, way, low, high, last, 1024, 3)) << round;
        }
    }
    EXPECT_GT(touching, 10000);
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
        const bool isTouching = sides[0] == 0 || sides[1] == 0 || sides[2] == 0 || t == 0 || t == 1;
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
        const V start = ray.GetOrigin();
        ASSERT_EQ(Z4::Geometry::IntersectSegmentTriangle(start, start + ray.GetDirection(), a, b, c, out[0]),
                  expected && t <= 1);
    }
    EXPECT_TRUE(decided[0] > 1000 && decided[1] > 200) << decided[0] << ", " << decided[1];
}

} // namespace
