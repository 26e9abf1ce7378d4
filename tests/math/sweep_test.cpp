// Moving spheres and boxes against samples of their ways: apart before the touch, touching then, and never on a miss.
// That a miss writes nothing is what fuzz/intersect_fuzz.cpp holds.
#include "figures.h"

#include <cmath>
#include <gtest/gtest.h>
#include <zelk_core/math/geometry/plane.h>
#include <zelk_core/math/geometry/shapedistance.h>
#include <zelk_core/math/geometry/sweep.h>

namespace {

using namespace ZelkTest;
using namespace Z4::Geometry;

struct Body {
    V center;
    float radius;
    V move;
    V p[4];
    GeometryOBB box;
};
/// A shape as its sweeps see it, in both forms, and the point of it that is nearest another.
struct Shape {
    const char* name;
    bool (*sweep[2])(const Body& body, float& t, V& contact);
    V (*nearest)(const Body& body, const V& p);
};

#define ZELK_SWEEP(form, call)                                 \
    [](const Body& s, float& t, [[maybe_unused]] V& contact) { \
        using namespace form;                                  \
        return call;                                           \
    }
#define ZELK_SWEEPS(call) \
    { ZELK_SWEEP(Z4::Geometry, Z4::Geometry::call), ZELK_SWEEP(Consistent, Consistent::call) }

const Shape SHAPES[] = {
    {"plane", ZELK_SWEEPS(IntersectSweptSpherePlane(s.center, s.radius, s.move, s.p[0], t)),
     [](const Body& s, const V& p) { return ClosestPointToPlane(p, s.p[0]); }},
    {"sphere", ZELK_SWEEPS(IntersectSweptSphereSphere(s.center, s.radius, s.move, s.p[0], 0.5F, t)),
     [](const Body& s, const V& p) {
         const V way = p - s.p[0];
         const float distance = Length3(way).X();
         return distance <= 0.5F ? p : s.p[0] + 0.5F / distance * way;
     }},
    {"triangle",
     ZELK_SWEEPS(IntersectSweptSphereTriangle(s.center, s.radius, s.move, s.p[0], s.p[1], s.p[2], t, contact)),
     [](const Body& s, const V& p) { return ClosestTrianglePointToPoint(p, s.p[0], s.p[1], s.p[2]); }},
    {"aabb", ZELK_SWEEPS(IntersectSweptSphereAABB(s.center, s.radius, s.move, GeometryAABB(s.p, 2), t, contact)),
     [](const Body& s, const V& p) { return ClosestAABBPointToPoint(p, GeometryAABB(s.p, 2)); }},
    {"obb", ZELK_SWEEPS(IntersectSweptSphereOBB(s.center, s.radius, s.move, s.box, t, contact)),
     [](const Body& s, const V& p) {
         V nearest;
         static_cast<void>(DistancePointToOBBSqr(p, s.box, nearest));
         return nearest;
     }},
};

TEST(Sweep, SpheresTouchAtTheFirstTime) {
    Input input(1);
    constexpr float NEAR = 2e-4F;
    for (const Shape& shape : SHAPES) {
        unsigned hits = 0;
        for (unsigned round = 0; round < 4000; ++round) {
            Body body;
            for (V& p : body.p) {
                p = input.OnceIn(2) ? RandomPoint(input, 3) : V(input.Coarse(), input.Coarse(), input.Coarse(), 0);
            }
            if (input.OnceIn(8)) {
                body.p[input.Below(2)] = body.p[2];
            }
            const Z4::MatrixSIMD44f turn = RandomRotation(input);
            body.box = GeometryOBB(body.p[0], &turn.Row(0), Abs(RandomPoint(input, 2)));
            body.center = RandomPoint(input, 6);
            body.radius = input.OnceIn(6) ? 0.0F : std::fabs(input.Number(1.5F));
            // Often just past a corner or an edge.
            const V target = body.p[input.Below(2)] + body.radius * RandomPoint(input, 1.5F);
            body.move = input.OnceIn(12) ? V(0, 0, 0, 0) : 1.2F * (target - body.center);
            for (const auto& sweep : shape.sweep) {
                float t = 9;
                V contact(9, 9, 9, 9);
                const bool isHit = sweep(body, t, contact);
                const auto distanceAt = [&](float at) {
                    const V p = body.center + at * body.move;
                    return Length3(shape.nearest(body, p) - p).X();
                };
                for (unsigned i = 0; i <= 64 && t != 0; ++i) {
                    const float at = static_cast<float>(i) / 64 * (isHit ? t : 1);
                    ASSERT_GE(distanceAt(at), body.radius - NEAR) << shape.name << ", round " << round;
                }
                if (!isHit) {
                    continue;
                }
                ++hits;
                ASSERT_LE(distanceAt(t), body.radius + NEAR) << shape.name << ", round " << round;
                if (contact.X() != 9) {
                    const V p = body.center + t * body.move;
                    ASSERT_NEAR(Length3(contact - p).X(), distanceAt(t), NEAR) << shape.name << ", round " << round;
                    ASSERT_LE(Length3(shape.nearest(body, contact) - contact).X(), NEAR) << shape.name;
                    ASSERT_EQ(contact.W(), 0);
                }
            }
        }
        EXPECT_TRUE(hits > 2000 && hits < 7500) << shape.name << ": " << hits;
    }
}

TEST(Sweep, BoxesTouchAtTheFirstTime) {
    Input input(2);
    unsigned hits = 0;
    for (unsigned round = 0; round < 8000; ++round) {
        const auto point = [&input] { return V(input.Coarse(), input.Coarse(), input.Coarse(), 0); };
        const V start = 2 * point();
        const GeometryAABB a(start, start + Abs(point()));
        const V corner = point();
        const GeometryAABB b(corner, corner + Abs(point()));
        const V move = 1.5F * (b[input.Below(8)] - a[input.Below(8)] + (input.OnceIn(2) ? point() : V(0, 0, 0, 0)));
        float t = 9;
        V normal(9, 9, 9, 9);
        const bool isHit = IntersectSweptAABBAABB(a, move, b, t, normal);
        for (unsigned i = 0; i <= 64 && t != 0; ++i) {
            GeometryAABB moved(a);
            moved.Translate(static_cast<float>(i) / 64 * (isHit ? t : 1) * move);
            ASSERT_FALSE(moved.Intersect(b, V::Broadcast(-1e-4F))) << round;
        }
        if (isHit) {
            GeometryAABB moved(a);
            moved.Translate(t * move);
            ASSERT_TRUE(moved.Intersect(b, V::Broadcast(1e-4F))) << round;
            ASSERT_EQ(t == 0, a.Intersect(b)) << round;
            ASSERT_EQ(Dot3(normal, normal).X(), t == 0 ? 0 : 1) << round;
            // At the side that it tells of they just meet.
            const float gap = Dot3(normal, moved.GetCenter() - b.GetCenter()).X() -
                              Dot3(Abs(normal), moved.GetExtent() + b.GetExtent()).X();
            ASSERT_NEAR(gap, 0, 1e-4F) << round;
            ++hits;
        }
    }
    EXPECT_TRUE(hits > 2000 && hits < 7500) << hits;
}

TEST(Sweep, DegenerateFigures) {
    const V zero(0, 0, 0, 0);
    const V x(1, 0, 0, 0);
    const V right(4, 0, 0, 0);
    const V one(1, 1, 1, 0);
    const GeometryOBB cube(right - one, right + one);
    float t = 9;
    V contact(9, 9, 9, 9);
    for (const float radius : {-1.0F, NOT}) {
        EXPECT_FALSE(IntersectSweptSpherePlane(zero, radius, right, x, t));
        EXPECT_FALSE(IntersectSweptSphereSphere(zero, radius, right, zero, 5, t));
        EXPECT_FALSE(IntersectSweptSphereSphere(zero, 5, right, zero, radius, t));
        EXPECT_FALSE(IntersectSweptSphereTriangle(zero, radius, right, zero, x, one, t, contact));
        EXPECT_FALSE(IntersectSweptSphereAABB(zero, radius, right, cube.ToAABox(), t, contact));
    }
    const V vague(0, NOT, 0, 0);
    EXPECT_FALSE(IntersectSweptSpherePlane(vague, 1, right, x, t) || IntersectSweptSpherePlane(zero, 1, vague, x, t));
    EXPECT_FALSE(IntersectSweptSphereTriangle(zero, 9, right, zero, x, vague, t, contact));
    EXPECT_FALSE(IntersectSweptSphereAABB(zero, 9, right, GeometryAABB(one, zero), t, contact));
    EXPECT_FALSE(IntersectSweptAABBAABB(GeometryAABB(one, zero), right, cube.ToAABox(), t, contact));
    EXPECT_FALSE(IntersectSweptAABBAABB(cube.ToAABox(), vague, cube.ToAABox(), t, contact));
    EXPECT_TRUE(t == 9 && contact == V(9, 9, 9, 9));
    EXPECT_TRUE(IntersectSweptSphereSphere(zero, 1, zero, {2, 0, 0, 0}, 1, t) && t == 0); // touch, at rest
    EXPECT_TRUE(IntersectSweptSpherePlane(x, 1, zero, x, t) && t == 0);
    EXPECT_TRUE(IntersectSweptSpherePlane({3, 0, 0, 0}, 1, -2 * x, x, t) && t == 1);        // at the end
    EXPECT_TRUE(IntersectSweptSpherePlane({-3, 0, 0, 0}, 1, right, 2 * x, t) && t == 0.5F); // from behind
    EXPECT_TRUE(IntersectSweptSphereAABB(zero, 1, right, cube.ToAABox(), t, contact) && t == 0.5F && contact == 3 * x);
    EXPECT_TRUE(IntersectSweptSphereOBB(zero, 1, right, cube, t, contact) && t == 0.5F && contact == 3 * x);
    const GeometryAABB box(zero, one);
    const GeometryAABB far(3 * one, 4 * one);
    EXPECT_TRUE(IntersectSweptAABBAABB(box, 4 * one, far, t, contact) && t == 0.5F && contact == -x); // all at once
    EXPECT_TRUE(IntersectSweptAABBAABB(far, V(-3, -2, -3, 0), box, t, contact) && t == 1 && contact == V(0, 1, 0, 0));
}

} // namespace
