// Groups of four against single queries, and closed meshes of them against leaks.
#include "figures.h"

#include <algorithm>
#include <cmath>
#include <gtest/gtest.h>
#include <limits>
#include <tests/support/counts.h>
#include <zelk_core/math/geometry/group4.h>

namespace {

using namespace Z4::Geometry;
using namespace ZelkTest;
using V = Z4::VectorSIMD4f;

constexpr float INF = std::numeric_limits<float>::infinity();
constexpr float MISS = 7e7F;

TEST(Group4, FourAreAsOne) {
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
        GeometryAABB4 boxes;
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
            const bool twin = Consistent::IntersectRayTriangle(ray, p[0], p[1], p[2], consistent[0], consistent[1],
                                                               consistent[2], sides);
            ASSERT_EQ((IntersectRayTriangle4(ray, groups[i / 4], t, sides) >> i % 4 & 1) != 0, isHit) << round;
            ASSERT_TRUE(Same(V::Broadcast(t[i % 4]), V::Broadcast(one[0]))) << round;
            const unsigned twins = Consistent::IntersectRayTriangle4(ray, groups[i / 4], t, sides);
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

/// A closed mesh around 0: a ring of corners, and one above and one below it; in general position, or on a coarse grid.
struct Mesh {
    Mesh(Input& input, bool isCoarse) {
        corners[RING] = V(0, 0, 2.5F, 0);
        corners[RING + 1] = V(0, 0, -2.5F, 0);
        for (unsigned i = 0; i < RING; ++i) {
            const double angle = 6.283185307179586 * i / RING;
            const double r = input.Number(2, 3);
            corners[i] = V(static_cast<float>(r * std::cos(angle)), static_cast<float>(r * std::sin(angle)),
                           static_cast<float>(input.Number(-1, 1)), 0);
            if (isCoarse) {
                corners[i] = V(std::round(4 * corners[i].X()), std::round(4 * corners[i].Y()),
                               std::round(4 * corners[i].Z()), 0);
            }
        }
        for (unsigned long i = 0; i < 2 * RING; ++i) {
            groups[i / 4].Set(i % 4, corners[i % RING], corners[(i + 1) % RING], corners[RING + i / RING]);
        }
    }

    /// A corner, or a point of an edge.
    V Target(Input& input) const {
        const unsigned i = input.Below(RING);
        const unsigned others[] = {i, (i + 1) % RING, RING, RING + 1};
        const float t = input.OnceIn(4) ? 1 : static_cast<float>(input.Number(0, 1));
        return corners[i] + t * (corners[others[input.Below(4)]] - corners[i]);
    }

    static constexpr unsigned RING = 10;

    V corners[RING + 2];
    GeometryTriangle4 groups[RING / 2];
};

TEST(Group4, NoneLeavesAClosedMesh) {
    Input input(8);
    const Mesh meshes[] = {{input, false}, {input, true}};
    for (unsigned round = 0; round < Repeats(200000, 10000000); ++round) {
        const Mesh& mesh = meshes[round % 2];
        const V origin = round % 2 == 0 ? RandomPoint(input, 0.25F) : V(0, 0, 0, 0);
        const GeometryRay ray(origin, mesh.Target(input) - origin);
        ASSERT_TRUE(IntersectRayAnyTriangle(ray, mesh.groups, Mesh::RING / 2)) << round;
    }
}

} // namespace
