// Where rays and segments meet shapes, and what contains a point: degenerate figures in one table, solids against
// samples of their insides, boxes and triangles against whole-number arithmetic, meshes against leaks. That a group of
// four answers as its figures do is what fuzz/intersect_fuzz.cpp holds.
#include "figures.h"
#include "rayqueries.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <tests/support/counts.h>
#include <zelk_core/math/geometry/group4.h>
#include <zelk_core/math/geometry/plane.h>

namespace {

using Z4::Vector3d;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryAABB4;
using Z4::Geometry::GeometryOBB;
using Z4::Geometry::GeometryRay;
using Z4::Geometry::GeometryTriangle4;
using Z4::Geometry::Sides;
using namespace ZelkTest;

constexpr float MISS = RayAnswer::UNWRITTEN;

/// What both forms tell of a ray, which meets the shape at `t`; of the segment of eight times its length; of its start.
void Expect(int line, RayShape shape, const GeometryRay& ray, const V* p, float t) {
    for (int form = 0; form < 2; ++form) {
        const RayQuery& query = RAY_QUERIES[shape][form];
        const RayAnswer answer = query(ray, p);
        EXPECT_EQ(answer.isHit, t != MISS) << query.name << ", line " << line;
        EXPECT_EQ(answer.written[0], t) << query.name << ", line " << line;
        if (shape == RECTANGLE && answer.isHit) {
            const V point = p[0] + answer.written[1] * p[1] + answer.written[2] * p[2];
            EXPECT_EQ(Wide(point), Wide(ray.At(answer.written[0]))) << query.name << ", line " << line;
        }
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
    const GeometryRay down({0.25F, 0.5F, 3, 0}, {0, -0.0F, -2, 0});
    const GeometryRay standing({-3, 0, 0, 0}, {-1e-39F, 0, 0, 0}); // too short to lead anywhere
    const V tiny(1e-25F, 0, 0, 0);
    const V tinyY(0, 1e-25F, 0, 0);
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
        {__LINE__, PLANE, down, {{0, 0, 1, -1}}, 1},
        {__LINE__, PLANE, along, {y}, 0}, // within it
        {__LINE__, PLANE, along, {{0, 1, 0, 1}}, MISS},
        {__LINE__, PLANE, point, {{1, 0, 0, -1}}, MISS},
        {__LINE__, PLANE, point, {x}, 0},
        {__LINE__, PLANE, inside, {x}, 0},
        {__LINE__, PLANE, GeometryRay::FromSegment({-3, 0, 0, 0}, zero), {x}, 1},
        {__LINE__, PLANE, GeometryRay::FromSegment({-3, 0, 0, 0}, {-0.001F, 0, 0, 0}), {x}, MISS},
        {__LINE__, AABB, along, {corner, one}, 2},
        {__LINE__, AABB, GeometryRay({-3, -1, -1, 0}, {1, -0.0F, -0.0F, 0}), {corner, one}, 2},
        {__LINE__, AABB, point, {corner, one}, 0},
        {__LINE__, AABB, point, {zero, one}, 0}, // on its corner
        {__LINE__, AABB, away, {corner, one}, MISS},
        {__LINE__, AABB, GeometryRay({-3, 0, 0, 0}, x, 2.5F, 2.5000002F), {corner, one}, MISS}, // ends before it starts
        {__LINE__, AABB, along, {zero, zero}, 3},
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
        {__LINE__, SPHERE, point, {ball}, 0},
        {__LINE__, SPHERE, away, {ball}, MISS},
        {__LINE__, SPHERE, along, {speck}, 3},
        {__LINE__, SPHERE, inside, {hole}, MISS},
        {__LINE__, CAPSULE, along, {ball, {2, 0, 0, 0}}, 2},
        {__LINE__, CAPSULE, along, {ball, zero}, 2},
        {__LINE__, CAPSULE, point, {ball, zero}, 0},
        {__LINE__, CAPSULE, inside, {hole, y}, MISS},
        {__LINE__, CYLINDER, along, {ball, {2, 0, 0, 0}}, 3},
        {__LINE__, CYLINDER, GeometryRay({-3, 1, 0, 0}, x), {ball, x}, 3},
        {__LINE__, CYLINDER, point, {ball, x}, 0},
        {__LINE__, CYLINDER, along, {ball, zero}, MISS},
        {__LINE__, CYLINDER, inside, {hole, y}, MISS},
        {__LINE__, CONVEX, along, {{1, 0, 0, 1}, {-1, 0, 0, 1}, {0, 1, 0, 0}, {0, 0, 1, 0}, {0, 0, 0, 0}}, 2},
        {__LINE__, CONVEX, along, {{1, 0, 0, 1}, {0, 1, 0, -1}, x, x, x}, MISS}, // parallel and behind
        {__LINE__, CONVEX, along, {{1, 0, 0, -1}, {-1, 0, 0, -1}, x, x, x}, MISS},
        {__LINE__, TRIANGLE, down, {zero, x, y}, 1.5F},
        {__LINE__, FRONT, down, {zero, x, y}, 1.5F},
        {__LINE__, FRONT, down, {zero, y, x}, MISS},
        {__LINE__, TRIANGLE, GeometryRay({0, 0, 3, 0}, {0, 0, -1, 0}, 3), {zero, x, y}, 3},
        {__LINE__, TRIANGLE, GeometryRay({0, 0, 3, 0}, {0, 0, -1, 0}, 2.99F), {zero, x, y}, MISS},
        {__LINE__, TRIANGLE, along, {zero, x, y}, MISS}, // in its plane
        {__LINE__, TRIANGLE, point, {zero, x, y}, MISS},
        {__LINE__, TRIANGLE, down, {zero, one, one}, MISS},
        {__LINE__, TRIANGLE, GeometryRay(z, z, 9, -INF), {x, y - x, -x - y}, -1},
        {__LINE__, TRIANGLE, GeometryRay(z, z, 9, NOT), {x, y - x, -x - y}, MISS},
        {__LINE__, TRIANGLE, GeometryRay(-z, z, 9), {tiny, tinyY - tiny, -tiny - tinyY}, 1}, // whose products vanish
        {__LINE__, TRIANGLE, GeometryRay(-z + 2 * tiny, z, 9), {tiny, tinyY - tiny, -tiny - tinyY}, MISS},
        {__LINE__, TRIANGLE, GeometryRay(-z - 2 * tiny, z, 9), {tiny, tinyY - tiny, -tiny - tinyY}, MISS},
        {__LINE__, RECTANGLE, down, {zero, x, y}, 1.5F},
        {__LINE__, RECTANGLE, down, {{-0.5F, 0, 1, 0}, x + z, y + 0.5F * z}, 0.5F},
        {__LINE__, RECTANGLE, GeometryRay({1.25F, 0.5F, 3, 0}, -z), {zero, x, y}, MISS},
        {__LINE__, RECTANGLE, GeometryRay({0.5F, 1.25F, 3, 0}, -z), {zero, x, y}, MISS},
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

/// A solid, and how far a point is outside of it, below 0 inside, about.
struct Solid {
    Solid(RayShape shape, Input& input) : m_shape(shape) {
        for (V& point : p) {
            point = RandomPoint(input, 2, 1 + input.Number(1.0F));
            // Unit normals make heights distances.
            EXPECT_TRUE(shape != CONVEX || Z4::Geometry::NormalizePlane(point));
        }
        if (shape == AABB) {
            const GeometryAABB box(p, 2);
            p[0] = box.GetMin();
            p[1] = box.GetMax();
        } else if (shape == OBB) {
            const Z4::MatrixSIMD44f axes = RandomRotation(input);
            p[1] = Abs(p[1]);
            std::copy(&axes.Row(0), &axes.Row(0) + 3, p + 2);
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
            for (unsigned i = 0; i < 5; ++i) {
                outside = std::max(outside, -(Dot(Wide(q), Wide(p[i])) + p[i].W()));
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
            const GeometryRay ray(RandomPoint(input, 2.5F), 20 * direction, 1, first);
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
using Whole = Z4::Vector3s64;

V Floats(const Whole& p) {
    return {Z4::Vector3f(p), NOT};
}
Whole RandomWhole(Input& input, unsigned size) {
    const auto number = [&] { return static_cast<long long>(input.Below(2 * size + 1)) - size; };
    return Whole{number(), number(), number()};
}

/// Whether the way from 0 to `last` times `d` meets the box: no axis parts them, neither one of the box's nor one that
/// is perpendicular to such a one and to the way.
bool MeetsExactly(const Whole& d, const Whole& low, const Whole& high, long long last) {
    for (unsigned k = 0; k < 3; ++k) {
        const unsigned j = (k + 1) % 3;
        const auto [from, to] = std::minmax({0LL, last * d[k]});
        const auto [least, greatest] = std::minmax({d[j] * low[k], d[j] * high[k]});
        const auto [otherLeast, otherGreatest] = std::minmax({d[k] * low[j], d[k] * high[j]});
        if (low[k] > to || high[k] < from || least > otherGreatest || otherLeast > greatest) {
            return false;
        }
    }
    return true;
}

TEST(IntersectRay, MissesNoBox) {
    Input input(5);
    int touching = 0;
    for (unsigned round = 0; round < Repeats(30000, 3000000); ++round) {
        const unsigned size = 4U << 7 * input.Below(4);
        const Whole origin = RandomWhole(input, size);
        const Whole third = RandomWhole(input, size);
        const Whole way = 3 * third;
        // Every other time, the ray touches a corner there.
        const Whole corner = input.OnceIn(2) ? origin + third : RandomWhole(input, size);
        const Whole opposite = RandomWhole(input, size);
        const Whole low = Min(corner, opposite);
        const Whole high = Max(corner, opposite);
        const V end = Floats(origin + way);
        if (Whole(Z4::ToVector3f(end)) != origin + way) {
            continue;
        }
        const GeometryRay ray = input.OnceIn(2) ? GeometryRay(Floats(origin), Floats(way))
                                                : GeometryRay(Floats(origin), -Floats(way), 0, -GeometryRay::LARGEST);
        const GeometryAABB box(Floats(low), Floats(high));
        float t = MISS;
        const bool isHit[] = {IntersectRayAABB(ray, box, t), IntersectSegmentAABB(ray.GetOrigin(), end, box)};
        // Of the largest, floats hold the ends alone.
        for (int i = size < 1U << 23 ? 0 : 1; i < 2; ++i) {
            const long long last = i == 0 ? 1 << 20 : 1;
            const bool touches = MeetsExactly(way, low - origin, high - origin, last);
            touching += touches ? 1 : 0;
            ASSERT_TRUE(isHit[i] || !touches) << round;
            // The same, 1024 times as large, with a box that has grown by 1.5e-6 of the greatest distance.
            const Whole grown = Whole(1, 1, 1) * (1 + size * 3 / 1000);
            ASSERT_TRUE(!isHit[i] ||
                        MeetsExactly(way, 1024 * (low - origin) - grown, 1024 * (high - origin) + grown, 1024 * last))
                << round;
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
            direction = Whole(0, 0, 0);
            direction[input.Below(3)] = input.OnceIn(2) ? 2 : -4;
        }
        const Whole p[] = {corners[0] - origin, corners[1] - origin, corners[2] - origin};
        const long long sides[] = {Dot(direction, Cross(p[1], p[2])), Dot(direction, Cross(p[2], p[0])),
                                   Dot(direction, Cross(p[0], p[1]))};
        const auto [least, greatest] = std::minmax({sides[0], sides[1], sides[2]});
        const auto sum = static_cast<double>(sides[0] + sides[1] + sides[2]);
        const double t = static_cast<double>(Dot(p[0], Cross(p[1], p[2]))) / sum;
        const bool isTouching = sides[0] == 0 || sides[1] == 0 || sides[2] == 0 || t == 0 || t == 1;
        if (isTouching && !isStraight) {
            continue;
        }
        const bool expected = (least >= 0 || greatest <= 0) && sum != 0 && t >= 0;
        const V a = Floats(corners[0]);
        const V b = Floats(corners[1]);
        const V c = Floats(corners[2]);
        const GeometryRay ray(Floats(origin), Floats(direction));
        float out[3] = {MISS, MISS, MISS};
        ASSERT_EQ(IntersectRayTriangle(ray, a, b, c, out[0], out[1], out[2]), expected) << round;
        ++decided[expected ? 1 : 0];
        if (expected) {
            ASSERT_NEAR(out[0], t, 1e-5 * (1 + std::fabs(t))) << round;
            ASSERT_NEAR(out[1], static_cast<double>(sides[1]) / sum, 1e-5) << round;
            ASSERT_NEAR(out[2], static_cast<double>(sides[2]) / sum, 1e-5) << round;
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

/// A box around 0 whose corners were moved: a closed mesh all the same; in general position, or on a coarse grid.
struct Mesh {
    Mesh(Input& input, bool isCoarse) {
        const Z4::MatrixSIMD44f axes = RandomRotation(input);
        const GeometryOBB box(V::ZERO, &axes.Row(0), {2, 2.5F, 3, 0});
        for (unsigned long i = 0; i < COUNT; ++i) {
            unsigned short at[3];
            GeometryOBB::GetFaceTriIndices(i, at[0], at[1], at[2], false);
            for (unsigned k = 0; k < 3; ++k) {
                Input moves(at[k]);
                const V corner = box[at[k]] + RandomPoint(moves, 0.5F);
                corners[i][k] =
                    isCoarse ? V(std::round(4 * corner.X()), std::round(4 * corner.Y()), std::round(4 * corner.Z()), 0)
                             : corner;
            }
            groups[i / 4].Set(i % 4, corners[i][0], corners[i][1], corners[i][2]);
        }
    }

    /// A corner, or a point of an edge.
    V Target(Input& input) const {
        const V* const p = corners[input.Below(COUNT)];
        const unsigned edge = input.Below(3);
        return Lerp(p[edge], p[(edge + 1) % 3], input.OnceIn(4) ? 1.0F : static_cast<float>(input.Number(0, 1)));
    }

    static constexpr unsigned COUNT = 12;

    V corners[COUNT][3];
    GeometryTriangle4 groups[COUNT / 4];
};

TEST(Group4, NoneLeavesAClosedMesh) {
    Input input(8);
    const Mesh meshes[] = {{input, false}, {input, true}};
    for (unsigned round = 0; round < Repeats(200000, 10000000); ++round) {
        const Mesh& mesh = meshes[round % 2];
        const V origin = round % 2 == 0 ? RandomPoint(input, 0.25F) : V(0, 0, 0, 0);
        const GeometryRay ray(origin, mesh.Target(input) - origin);
        ASSERT_TRUE(IntersectRayAnyTriangle(ray, mesh.groups, Mesh::COUNT / 4)) << round;
    }
}

TEST(Group4, EndsOfRaysAndOfGroups) {
    GeometryTriangle4 group;
    group.Set(2, {1, 0, 0, 0}, {-1, 1, 0, 0}, {-1, -1, 0, 0});
    float t[3];
    EXPECT_EQ(IntersectRayTriangles(GeometryRay({0, 0, -1, 0}, {0, 0, 1, 0}, 1), &group, 1, t[0], t[1], t[2]), 2u);
    EXPECT_EQ(t[0], 1);
    const GeometryAABB box({1, 2, 3, 0}, {4, 6, 8, 0});
    GeometryAABB4 boxes;
    boxes.Set(2, box);
    EXPECT_TRUE(boxes.Get(2) == box && !boxes.Get(3).IsValid() && boxes.Get(4) == GeometryAABB());
    V corners[3];
    group.Get(4, corners[0], corners[1], corners[2]);
    EXPECT_FALSE(corners[0] == corners[0] || corners[1] == corners[1] || corners[2] == corners[2]);
}

} // namespace
