// Closed meshes of groups of four against leaks, the ends of rays and of groups. That four are as one is what
// fuzz/intersect_fuzz.cpp holds.
#include "figures.h"

#include <cmath>
#include <gtest/gtest.h>
#include <tests/support/counts.h>
#include <zelk_core/math/geometry/group4.h>

namespace {

using namespace Z4::Geometry;
using namespace ZelkTest;
using V = Z4::VectorSIMD4f;

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

TEST(Group4, EndsOfRaysAndOfGroups) {
    GeometryTriangle4 group;
    group.Set(2, {1, 0, 0, 0}, {-1, 1, 0, 0}, {-1, -1, 0, 0});
    float t[3];
    EXPECT_EQ(IntersectRayTriangles(GeometryRay({0, 0, -1, 0}, {0, 0, 1, 0}, 1), &group, 1, t[0], t[1], t[2]), 2u);
    EXPECT_EQ(t[0], 1);
    EXPECT_TRUE(GeometryAABB4().Get(4) == GeometryAABB());
    V corners[3];
    group.Get(4, corners[0], corners[1], corners[2]);
    EXPECT_FALSE(corners[0] == corners[0] || corners[1] == corners[1] || corners[2] == corners[2]);
}

} // namespace
