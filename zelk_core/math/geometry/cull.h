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
/// Without a branch, for which answer comes next is hard to foresee.
Z4_ALWAYS_INLINE Geometry::Containment Combine(const PlaneTest& sides, const PlaneTest& ends, bool isShape) {
    const int isSeen = AllTrue(And(sides.notBehind, ends.notBehind)) & isShape;
    return static_cast<Geometry::Containment>(isSeen + (isSeen & AllTrue(And(sides.inFront, ends.inFront))));
}
static_assert(static_cast<int>(Geometry::Containment::INTERSECTING) == 1 &&
              static_cast<int>(Geometry::Containment::INSIDE) == 2);

/// Four planes, prepared for boxes. All is doubled, which saves the halving: the sum of the corners is twice the
/// centre.
class BoxTest {
public:
    explicit BoxTest(const FourPlanes& planes)
        : m_planes{planes.x, planes.y, planes.z, planes.d + planes.d},
          m_reaches{Abs(planes.x), Abs(planes.y), Abs(planes.z), planes.d} {}

    Z4_ALWAYS_INLINE PlaneTest operator()(const Geometry::GeometryAABB& box) const {
        return {m_planes.Along(box.GetMin() + box.GetMax()) + m_planes.d, m_reaches.Along(box.GetFullExtent())};
    }

private:
    FourPlanes m_planes;
    FourPlanes m_reaches;
};

} // namespace Private

namespace Geometry {

/// Where a body lies: wholly INSIDE, INTERSECTING or OUTSIDE.
[[nodiscard]] Z4_API_ALWAYS_INLINE Containment ClassifyAABBByFrustum(const GeometryFrustum& frustum,
                                                                     const GeometryAABB& box) {
    return Private::Combine(Private::BoxTest(frustum.GetSides())(box), Private::BoxTest(frustum.GetEnds())(box),
                            box.IsValid());
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
