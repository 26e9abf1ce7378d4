/// @file
/// Four boxes, or four triangles, that one ray meets at once: the leaves and nodes of trees. Each member of a group is
/// treated as the query for one treats it, to the same bits. The rules of intersectray.h hold.
///
/// Groups are plain values: different threads may read one at a time, and who writes must be alone.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/intersectray.h>
#include <zelk_core/math/geometry/ray.h>

namespace Z4::Geometry {

/// Four boxes along the axes of space, held coordinate by coordinate. A plain value: different threads may read one at
/// a time, and who writes must be alone.
class GeometryAABB4 : public HostNew<GeometryAABB4> {
public:
    /// Four empty boxes, which nothing meets.
    Z4_API GeometryAABB4();
    /// The four boxes at `boxes`, which are read during the call only.
    Z4_API explicit GeometryAABB4(const GeometryAABB* boxes);

    /// Changes box `index`. An index above 3 changes nothing.
    Z4_API void Set(unsigned long index, const GeometryAABB& box);
    /// Box `index`, with w = 0 in both corners; of an index above 3 the empty box.
    [[nodiscard]] Z4_API GeometryAABB Get(unsigned long index) const;

    /// What the four boxes have along `axis`, which is 0 to 2 for x to z: the least coordinates, one in each lane, or,
    /// where `isMax`, the greatest.
    const VectorSIMD4f& Bound(bool isMax, unsigned long axis) const {
        Z4_ASSERT(axis < 3, "The axis is below 3.");
        return m_bounds[isMax ? 1 : 0][axis];
    }

private:
    friend struct Private::Layout<GeometryAABB4>;

    VectorSIMD4f m_bounds[2][3];
};

/// Four triangles, held coordinate by coordinate. A plain value: different threads may read one at a time, and who
/// writes must be alone.
class GeometryTriangle4 : public HostNew<GeometryTriangle4> {
public:
    /// Four triangles whose corners are NaN, so that nothing meets them.
    Z4_API GeometryTriangle4();

    /// Changes triangle `index`. An index above 3 changes nothing.
    Z4_API void Set(unsigned long index, const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c);
    /// Writes the corners of triangle `index`, with w = 0. An index above 3 writes NaN.
    Z4_API void Get(unsigned long index, VectorSIMD4f& a, VectorSIMD4f& b, VectorSIMD4f& c) const;

    /// The coordinates along `axis` of corner `corner`, both 0 to 2, of the four triangles, one in each lane.
    const VectorSIMD4f& Corner(unsigned long corner, unsigned long axis) const {
        Z4_ASSERT(corner < 3 && axis < 3, "Corner and axis are below 3.");
        return m_corners[corner][axis];
    }

private:
    friend struct Private::Layout<GeometryTriangle4>;

    VectorSIMD4f m_corners[3][3];
};

/// Which of four boxes the ray meets: bit i stands for box i. Writes IntersectRayAABB()'s `tIn` of each to a lane of
/// `t`, +infinity for those that are missed, so that sorting puts them last. `t` is always written.
[[nodiscard]] Z4_API_ALWAYS_INLINE unsigned IntersectRayAABB4(const GeometryRay& ray, const GeometryAABB4& boxes,
                                                              VectorSIMD4f& t) {
    const VectorSIMD4f& origin = ray.GetOrigin();
    const VectorSIMD4f& inverse = ray.GetInverseDirection();
    const Private::Interval range = ray.GetRange();
    const auto clip = [&boxes](unsigned long axis, const VectorSIMD4f& start, const VectorSIMD4f& factor,
                               const Private::Interval& part) {
        return Private::ClipBySlab(boxes.Bound(false, axis) - start, boxes.Bound(true, axis) - start, factor, part);
    };
    const auto isValid = [&boxes](unsigned long axis) {
        return LessEqual(boxes.Bound(false, axis), boxes.Bound(true, axis));
    };
    const Private::Interval x = clip(0, origin.BroadcastX(), inverse.BroadcastX(), range);
    const Private::Interval y = clip(1, origin.BroadcastY(), inverse.BroadcastY(), x);
    const Private::Interval z = clip(2, origin.BroadcastZ(), inverse.BroadcastZ(), y);
    const VectorSIMD4f hits = And(And(Private::HoldsSome(z, range), isValid(0)), And(isValid(1), isValid(2)));
    t = Select(hits, Private::Tidy(z, range).in, VectorSIMD4f::Broadcast(std::numeric_limits<float>::infinity()));
    return static_cast<unsigned>(Lanes::SignBits(hits.Native()));
}

/// Which of four triangles the ray meets: bit i stands for triangle i. Writes IntersectRayTriangle()'s `t` of each to a
/// lane of `t`, +infinity for those that are missed; `t` is always written. For the weights of the one that is wanted,
/// ask IntersectRayTriangle().
[[nodiscard]] Z4_API unsigned IntersectRayTriangle4(const GeometryRay& ray, const GeometryTriangle4& triangles,
                                                    VectorSIMD4f& t, Sides sides = Sides::BOTH);

/// Finds the first of all triangles that the ray meets, in `count` groups at `groups`; of several at the same t, the
/// one with the least number. Writes what IntersectRayTriangle() does.
/// @return the triangle's number, 4 times that of its group plus that in the group; 4 `count`, with nothing written,
/// where the ray meets none.
[[nodiscard]] Z4_API unsigned long IntersectRayTriangles(const GeometryRay& ray, const GeometryTriangle4* groups,
                                                         unsigned long count, float& t, float& u, float& v,
                                                         Sides sides = Sides::BOTH);
/// Whether the ray meets any of the triangles, for shadows and lines of sight. It stops at the first group that is met.
[[nodiscard]] Z4_API bool IntersectRayAnyTriangle(const GeometryRay& ray, const GeometryTriangle4* groups,
                                                  unsigned long count, Sides sides = Sides::BOTH);

namespace Consistent {

[[nodiscard]] Z4_API unsigned IntersectRayTriangle4(const GeometryRay& ray, const GeometryTriangle4& triangles,
                                                    VectorSIMD4f& t, Sides sides = Sides::BOTH);

} // namespace Consistent
} // namespace Z4::Geometry
