// Hunted here: places of a group that are none, a solid of no planes, triangles so small that the products of their
// coordinates vanish, rays that begin nowhere.
#include <gtest/gtest.h>
#include <limits>
#include <zelk_core/math/geometry/group4.h>
#include <zelk_core/math/geometry/intersectray.h>

namespace {

using namespace Z4::Geometry;
using V = Z4::VectorSIMD4f;

TEST(GeometryEdges, BeyondAGroupIsNothing) {
    EXPECT_TRUE(GeometryAABB4().Get(4) == GeometryAABB());
    V a;
    V b;
    V c;
    GeometryTriangle4().Get(4, a, b, c);
    EXPECT_FALSE(a == a || b == b || c == c);
}

TEST(GeometryEdges, RaysMeetTinyTrianglesButNoSolidOfNothing) {
    float t = 7;
    float u = 7;
    float v = 7;
    const GeometryRay ray({0, 0, -1, 0}, {0, 0, 1, 0});
    EXPECT_FALSE(IntersectRayConvex(ray, nullptr, 0, t, u));
    for (const float shift : {0.0F, 2e-25F, -2e-25F}) {
        const bool isHit = IntersectRayTriangle(ray, {shift + 1e-25F, 0, 0, 0}, {shift - 1e-25F, 1e-25F, 0, 0},
                                                {shift - 1e-25F, -1e-25F, 0, 0}, t, u, v);
        EXPECT_EQ(isHit, shift == 0) << shift;
    }
    EXPECT_EQ(t, 1);
    constexpr float ENDS[] = {-std::numeric_limits<float>::infinity(), std::numeric_limits<float>::quiet_NaN()};
    for (const float first : ENDS) {
        const GeometryRay line({0, 0, 1, 0}, {0, 0, 1, 0}, 9, first);
        const bool isHit = IntersectRayTriangle(line, {1, 0, 0, 0}, {-1, 1, 0, 0}, {-1, -1, 0, 0}, t, u, v);
        EXPECT_EQ(isHit, first == first);
    }
}

TEST(GeometryEdges, ATriangleAtTheEndOfTheRayIsHit) {
    GeometryTriangle4 group;
    group.Set(2, {1, 0, 0, 0}, {-1, 1, 0, 0}, {-1, -1, 0, 0});
    float t[3];
    EXPECT_EQ(IntersectRayTriangles(GeometryRay({0, 0, -1, 0}, {0, 0, 1, 0}, 1), &group, 1, t[0], t[1], t[2]), 2u);
    EXPECT_EQ(t[0], 1);
}

} // namespace
