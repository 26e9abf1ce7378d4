/// @file
/// What a frustum sees of boxes and spheres, one or many. Only the six planes are asked, as drawing needs it: a body
/// outside that is behind none of the planes by itself, near an edge of the frustum, may be INTERSECTING. A body in the
/// frustum is never OUTSIDE, but for rounding: one that reaches in by less than 1e-6 of its distance from the origin
/// may be.
///
/// What touches a plane from behind is INTERSECTING. An invalid box, a box with a negative half-size, a negative radius
/// and what holds a NaN are OUTSIDE. Coordinates beyond 1e18 may get any answer. Where one query serves many bodies,
/// each gets the answer of the query for one. Nothing fails, traps or allocates, and any thread may call.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/frustum.h>
#include <zelk_core/math/geometry/group4.h>
#include <zelk_core/math/geometry/obb.h>
#include <zelk_core/math/geometry/plane.h>

namespace Z4 {

namespace Private {

/// Masks of the planes that a body with this middle, reaching so far, is not behind, and of those it is in front of.
struct PlaneTest {
    Z4_ALWAYS_INLINE PlaneTest(const VectorSIMD4f& middle, const VectorSIMD4f& reach)
        : notBehind(LessEqual(-reach, middle)), inFront(LessEqual(reach, middle)) {}

    VectorSIMD4f notBehind;
    VectorSIMD4f inFront;
};
Z4_ALWAYS_INLINE Geometry::Containment Combine(const PlaneTest& sides, const PlaneTest& ends, bool isShape) {
    if (!isShape || !AllTrue(And(sides.notBehind, ends.notBehind))) {
        return Geometry::Containment::OUTSIDE;
    }
    return AllTrue(And(sides.inFront, ends.inFront)) ? Geometry::Containment::INSIDE
                                                     : Geometry::Containment::INTERSECTING;
}
/// All doubled, which saves the halving: the sum of the corners is twice the centre.
Z4_ALWAYS_INLINE PlaneTest TestBox(const FourPlanes& planes, const VectorSIMD4f& sum, const VectorSIMD4f& size) {
    return {planes.Along(sum) + (planes.d + planes.d), planes.Reach(size)};
}

} // namespace Private

namespace Geometry {

/// Where a body lies: wholly INSIDE, INTERSECTING or OUTSIDE.
[[nodiscard]] Z4_API_INLINE Containment ClassifyAABBByFrustum(const GeometryFrustum& frustum, const GeometryAABB& box) {
    const VectorSIMD4f sum = box.GetMin() + box.GetMax();
    const VectorSIMD4f size = box.GetFullExtent();
    return Private::Combine(Private::TestBox(frustum.GetSides(), sum, size),
                            Private::TestBox(frustum.GetEnds(), sum, size), box.IsValid());
}
/// The axes should be perpendicular and of unit length.
[[nodiscard]] Z4_API Containment ClassifyOBBByFrustum(const GeometryFrustum& frustum, const GeometryOBB& box);
[[nodiscard]] Z4_API Containment ClassifySphereByFrustum(const GeometryFrustum& frustum, const VectorSIMD4f& center,
                                                         float radius);

/// Writes to `results[i]` where box `i` of `count` lies.
Z4_API void ClassifyAABBsByFrustum(const GeometryFrustum& frustum, const GeometryAABB* boxes, unsigned long count,
                                   Containment* results);

/// Finds which of `count` bodies are not OUTSIDE. Bit i % 32 of `visible[i / 32]` stands for body i; the unused bits of
/// the last word are 0. A sphere has its radius in w. Of groups, `count` counts the groups; a box has the number 4
/// times that of its group plus that in the group.
/// @return how many bits are set.
Z4_API unsigned long CullAABBsByFrustum(const GeometryFrustum& frustum, const GeometryAABB* boxes, unsigned long count,
                                        std::uint32_t* visible);
Z4_API unsigned long CullAABBsByFrustum(const GeometryFrustum& frustum, const GeometryAABB4* groups,
                                        unsigned long count, std::uint32_t* visible);
Z4_API unsigned long CullOBBsByFrustum(const GeometryFrustum& frustum, const GeometryOBB* boxes, unsigned long count,
                                       std::uint32_t* visible);
Z4_API unsigned long CullSpheresByFrustum(const GeometryFrustum& frustum, const VectorSIMD4f* spheres,
                                          unsigned long count, std::uint32_t* visible);

} // namespace Geometry
} // namespace Z4
