// Each query of geometry/intersectray.h, intersectsegment.h and pointin.h of one shape as a function of a ray, or of a
// point, and some points, for tables.
#pragma once

#include <zelk_core/math/geometry/intersectray.h>
#include <zelk_core/math/geometry/intersectsegment.h>
#include <zelk_core/math/geometry/pointin.h>

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
/// box is its centre, its extent and its axes. `o` is the ray's start, and `e` the point at t = 1: the ends of a
/// segment.
#define ZELK_RAY_FORM(name, form, call)                                                              \
    {                                                                                                \
        name, []([[maybe_unused]] const Z4::Geometry::GeometryRay& ray, const Z4::VectorSIMD4f* p) { \
            using namespace Z4::Geometry;                                                            \
            [[maybe_unused]] const Z4::VectorSIMD4f& o = ray.GetOrigin();                            \
            [[maybe_unused]] const Z4::VectorSIMD4f e = o + ray.GetDirection();                      \
            RayAnswer a;                                                                             \
            a.isHit = form::call;                                                                    \
            return a;                                                                                \
        }                                                                                            \
    }
#define ZELK_RAY_QUERY(name, call) \
    { ZELK_RAY_FORM(#name, Z4::Geometry, call), ZELK_RAY_FORM(#name " (consistent)", Consistent, call) }

enum RayShape {
    CONVEX,
    SPHERE,
    CAPSULE,
    CYLINDER,
    PLANE,
    AABB,
    OBB,
    TRIANGLE,
    FRONT,
    RECTANGLE
};

inline constexpr RayQuery RAY_QUERIES[][2] = {
    ZELK_RAY_QUERY(convex, IntersectRayConvex(ray, p, 5, a.written[0], a.written[1])),
    ZELK_RAY_QUERY(sphere, IntersectRaySphere(ray, p[0], p[0].W(), a.written[0], a.written[1])),
    ZELK_RAY_QUERY(capsule, IntersectRayCapsule(ray, p[0], p[1], p[0].W(), a.written[0], a.written[1])),
    ZELK_RAY_QUERY(cylinder, IntersectRayCylinder(ray, p[0], p[1], p[0].W(), a.written[0], a.written[1])),
    ZELK_RAY_QUERY(plane, IntersectRayPlane(ray, p[0], a.written[0])),
    ZELK_RAY_QUERY(aabb, IntersectRayAABB(ray, GeometryAABB(p[0], p[1]), a.written[0], a.written[1])),
    ZELK_RAY_QUERY(obb, IntersectRayOBB(ray, GeometryOBB(p[0], p + 2, p[1]), a.written[0], a.written[1])),
    ZELK_RAY_QUERY(triangle, IntersectRayTriangle(ray, p[0], p[1], p[2], a.written[0], a.written[1], a.written[2])),
    ZELK_RAY_QUERY(front,
                   IntersectRayTriangle(ray, p[0], p[1], p[2], a.written[0], a.written[1], a.written[2], Sides::FRONT)),
    ZELK_RAY_QUERY(rectangle, IntersectRayRectangle(ray, p[0], p[1], p[2], a.written[0], a.written[1], a.written[2])),
};
/// From SPHERE on.
inline constexpr RayQuery SEGMENT_QUERIES[][2] = {
    ZELK_RAY_QUERY(segment sphere, IntersectSegmentSphere(o, e, p[0], p[0].W(), a.written[0])),
    ZELK_RAY_QUERY(segment capsule, IntersectSegmentCapsule(o, e, p[0], p[1], p[0].W(), a.written[0])),
    ZELK_RAY_QUERY(segment cylinder, IntersectSegmentCylinder(o, e, p[0], p[1], p[0].W(), a.written[0])),
    ZELK_RAY_QUERY(segment plane, IntersectSegmentPlane(o, e, p[0], a.written[0])),
    ZELK_RAY_QUERY(segment aabb, IntersectSegmentAABB(o, e, GeometryAABB(p[0], p[1]))),
    ZELK_RAY_QUERY(segment obb, IntersectSegmentOBB(o, e, GeometryOBB(p[0], p + 2, p[1]))),
    ZELK_RAY_QUERY(segment triangle, IntersectSegmentTriangle(o, e, p[0], p[1], p[2], a.written[0])),
    ZELK_RAY_QUERY(segment front, IntersectSegmentTriangle(o, e, p[0], p[1], p[2], a.written[0], Sides::FRONT)),
    ZELK_RAY_QUERY(segment rectangle, IntersectSegmentRectangle(o, e, p[0], p[1], p[2], a.written[0])),
};
/// Of the ray's start, in the order of RayShape up to CYLINDER.
inline constexpr RayQuery POINT_QUERIES[][2] = {
    ZELK_RAY_QUERY(point convex, IsPointInConvex(o, p, 5)),
    ZELK_RAY_QUERY(point sphere, IsPointInSphere(o, p[0], p[0].W())),
    ZELK_RAY_QUERY(point capsule, IsPointInCapsule(o, p[0], p[1], p[0].W())),
    ZELK_RAY_QUERY(point cylinder, IsPointInCylinder(o, p[0], p[1], p[0].W())),
    ZELK_RAY_QUERY(point triangle, IsPointInTriangle(o, p[0], p[1], p[2])),
    ZELK_RAY_QUERY(point tetrahedron, IsPointInTetrahedron(o, p[0], p[1], p[2], p[3])),
};

#undef ZELK_RAY_QUERY
#undef ZELK_RAY_FORM

} // namespace ZelkTest
