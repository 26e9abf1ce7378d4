// Each query of geometry/intersectpair.h as a function of some points, for tables.
#pragma once

#include <tests/math/queries.h>
#include <zelk_core/math/geometry/intersectpair.h>

namespace ZelkTest {

struct PairQuery {
    const char* name;
    /// How many it takes. A radius is the w of the first point of its shape.
    unsigned points;
    /// The fast form and the consistent one.
    bool (*calls[2])(const VectorSIMD4f* p);
};

#define ZELK_PAIR_FORM(form, call)                                                               \
    [](const VectorSIMD4f* p) {                                                                  \
        using Box = Z4::Geometry::GeometryAABB;                                                  \
        [[maybe_unused]] const auto box = [](const VectorSIMD4f* q) { return Box(q[0], q[1]); }; \
        return Z4::Geometry::form call;                                                          \
    }
#define ZELK_PAIR(name, points, call)                                  \
    {                                                                  \
#        name, points, {                                               \
            ZELK_PAIR_FORM(, call), ZELK_PAIR_FORM(Consistent::, call) \
        }                                                              \
    }

enum PairShapes {
    SPHERE_SPHERE,
    SPHERE_AABB,
    SPHERE_OBB,
    SPHERE_TRIANGLE,
    SPHERE_CAPSULE,
    CAPSULE_CAPSULE,
    CAPSULE_AABB,
    CAPSULE_OBB,
    CAPSULE_TRIANGLE,
    TRIANGLE_AABB,
    TRIANGLE_OBB,
    TRIANGLE_TRIANGLE,
    PAIR_COUNT
};

/// An axis-aligned box is its corners, in whichever order; an oriented one is Turned() about its centre, with its
/// extent.
inline constexpr PairQuery PAIR_QUERIES[PAIR_COUNT] = {
    ZELK_PAIR(sphere_sphere, 2, IntersectSphereSphere(p[0], p[0].W(), p[1], p[1].W())),
    ZELK_PAIR(sphere_aabb, 3, IntersectSphereAABB(p[0], p[0].W(), box(p + 1))),
    ZELK_PAIR(sphere_obb, 3, IntersectSphereOBB(p[0], p[0].W(), Queries::Turned(p[1], p[2]))),
    ZELK_PAIR(sphere_triangle, 4, IntersectSphereTriangle(p[0], p[0].W(), p[1], p[2], p[3])),
    ZELK_PAIR(sphere_capsule, 3, IntersectSphereCapsule(p[0], p[0].W(), p[1], p[2], p[1].W())),
    ZELK_PAIR(capsule_capsule, 4, IntersectCapsuleCapsule(p[0], p[1], p[0].W(), p[2], p[3], p[2].W())),
    ZELK_PAIR(capsule_aabb, 4, IntersectCapsuleAABB(p[0], p[1], p[0].W(), box(p + 2))),
    ZELK_PAIR(capsule_obb, 4, IntersectCapsuleOBB(p[0], p[1], p[0].W(), Queries::Turned(p[2], p[3]))),
    ZELK_PAIR(capsule_triangle, 5, IntersectCapsuleTriangle(p[0], p[1], p[0].W(), p[2], p[3], p[4])),
    ZELK_PAIR(triangle_aabb, 5, IntersectTriangleAABB(p[0], p[1], p[2], box(p + 3))),
    ZELK_PAIR(triangle_obb, 5, IntersectTriangleOBB(p[0], p[1], p[2], Queries::Turned(p[3], p[4]))),
    ZELK_PAIR(triangle_triangle, 6, IntersectTriangleTriangle(p[0], p[1], p[2], p[3], p[4], p[5])),
};

#undef ZELK_PAIR
#undef ZELK_PAIR_FORM

} // namespace ZelkTest
