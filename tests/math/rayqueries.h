// Each query of geometry/intersectray.h as a function of a ray and some points, for tables.
#pragma once

#include <zelk_core/math/geometry/intersectray.h>

namespace ZelkTest {

/// What a query returns and writes. What it leaves alone stays UNWRITTEN.
struct RayAnswer {
    static constexpr float UNWRITTEN = 7e7F;

    bool isHit = false;
    float written[3] = {UNWRITTEN, UNWRITTEN, UNWRITTEN};
};
struct RayQuery {
    RayAnswer operator()(const Z4::Geometry::GeometryRay& ray, const Z4::VectorSIMD4f* p) const { return call(ray, p); }

    const char* name;
    RayAnswer (*call)(const Z4::Geometry::GeometryRay& ray, const Z4::VectorSIMD4f* p);
};

/// In both forms. Five points are enough for each; a radius is the w of the first. An oriented
/// box is its centre, its extent and its axes.
#define ZELK_RAY_FORM(name, form, call)                                             \
    {                                                                               \
        name, [](const Z4::Geometry::GeometryRay& ray, const Z4::VectorSIMD4f* p) { \
            using namespace Z4::Geometry;                                           \
            RayAnswer a;                                                            \
            a.isHit = form::call;                                                   \
            return a;                                                               \
        }                                                                           \
    }
#define ZELK_RAY_QUERY(name, call) \
    { ZELK_RAY_FORM(#name, Z4::Geometry, call), ZELK_RAY_FORM(#name " (consistent)", Consistent, call) }

enum RayShape {
    PLANE,
    AABB,
    OBB,
    SPHERE,
    CAPSULE,
    CYLINDER,
    CONVEX,
    TRIANGLE,
    FRONT,
    RECTANGLE
};

inline constexpr RayQuery RAY_QUERIES[][2] = {
    ZELK_RAY_QUERY(plane, IntersectRayPlane(ray, p[0], a.written[0])),
    ZELK_RAY_QUERY(aabb, IntersectRayAABB(ray, GeometryAABB(p[0], p[1]), a.written[0], a.written[1])),
    ZELK_RAY_QUERY(obb, IntersectRayOBB(ray, GeometryOBB(p[0], p + 2, p[1]), a.written[0], a.written[1])),
    ZELK_RAY_QUERY(sphere, IntersectRaySphere(ray, p[0], p[0].W(), a.written[0], a.written[1])),
    ZELK_RAY_QUERY(capsule, IntersectRayCapsule(ray, p[0], p[1], p[0].W(), a.written[0], a.written[1])),
    ZELK_RAY_QUERY(cylinder, IntersectRayCylinder(ray, p[0], p[1], p[0].W(), a.written[0], a.written[1])),
    ZELK_RAY_QUERY(convex, IntersectRayConvex(ray, p, 5, a.written[0], a.written[1])),
    ZELK_RAY_QUERY(triangle, IntersectRayTriangle(ray, p[0], p[1], p[2], a.written[0], a.written[1], a.written[2])),
    ZELK_RAY_QUERY(front,
                   IntersectRayTriangle(ray, p[0], p[1], p[2], a.written[0], a.written[1], a.written[2], Sides::FRONT)),
    ZELK_RAY_QUERY(rectangle, IntersectRayRectangle(ray, p[0], p[1], p[2], a.written[0], a.written[1], a.written[2])),
};

#undef ZELK_RAY_QUERY
#undef ZELK_RAY_FORM

} // namespace ZelkTest
