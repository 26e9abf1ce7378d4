/// @file
/// GeometryFrustum, what a camera sees: the space in front of six planes. cull.h asks what lies in it.
///
/// Matrices act on row vectors, as everywhere: p' = p M. Any matrix from the space of the scene to clip coordinates
/// will do, orthographic and mirrored ones too. Planes are those of plane.h; in front of them is inside. Points on a
/// plane are inside, and a NaN is outside. Nothing fails or traps. Frusta are plain values: different threads may read
/// one at a time, and who writes must be alone.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/math/geometry/columns.h>
#include <zelk_core/math/matrixsimd.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4 {

namespace Private {

/// Four planes, held coordinate by coordinate.
struct FourPlanes {
    /// The products of the four normals with `v`, whose coordinates are repeated in all lanes of the arguments.
    Z4_ALWAYS_INLINE VectorSIMD4f Along(const VectorSIMD4f& vx, const VectorSIMD4f& vy, const VectorSIMD4f& vz) const {
        return Sum<SumOrder::FAST>(x * vx, y * vy, z * vz);
    }
    Z4_ALWAYS_INLINE VectorSIMD4f Along(const VectorSIMD4f& v) const {
        return Along(v.BroadcastX(), v.BroadcastY(), v.BroadcastZ());
    }
    VectorSIMD4f x, y, z, d;
};

} // namespace Private

namespace Geometry {

/// The depths that a projection gives to what lies between the near and the far plane, after the division by w.
enum class DepthRange : unsigned char {
    ZERO_TO_ONE,
    MINUS_ONE_TO_ONE,
    /// Reversed: 1 is near.
    ONE_TO_ZERO,
};

/// The space in front of six planes: left, right, bottom, top, near, far. A plain value: different threads may read one
/// at a time, and who writes must be alone.
class GeometryFrustum : public HostNew<GeometryFrustum> {
public:
    /// The empty frustum: everything is outside.
    Z4_API GeometryFrustum();
    /// What a camera sees whose matrix takes points of the scene to clip coordinates (G. Gribb and K. Hartmann, "Fast
    /// Extraction of Viewing Frustum Planes from the World-View-Projection Matrix", 2001, for row vectors). A
    /// projection without a far end gives a far plane that everything is in front of. A matrix with a NaN, and one that
    /// sees nothing, gives the empty frustum.
    Z4_API GeometryFrustum(const MatrixSIMD44f& viewProjection, DepthRange depths);
    /// The space in front of the six planes at `planes`, in the order above, with normals of any length. A plane
    /// without a normal has everything in front of it where d >= 0. Planes with a NaN, and those without a normal and
    /// with d < 0, give the empty frustum.
    Z4_API explicit GeometryFrustum(const VectorSIMD4f* planes);

    /// Plane `index`, with unit normal; (0, 0, 0, +infinity) where everything is in front of it, (0, 0, 0, -infinity)
    /// if the frustum is empty. An index above 5 gives 0 in all lanes.
    [[nodiscard]] Z4_API VectorSIMD4f GetPlane(unsigned long index) const;
    /// Writes the eight corners, with w = 1. They are numbered as those of a box: low are left, bottom and near.
    /// @return false, with nothing written, where a corner is not finite, as without a far end.
    [[nodiscard]] Z4_API bool GetCorners(VectorSIMD4f* corners) const;

    /// Whether the point lies in the frustum.
    [[nodiscard]] bool Contains(const VectorSIMD4f& p) const {
        const VectorSIMD4f zero = VectorSIMD4f::Broadcast(0.0F);
        return AllTrue(And(LessEqual(zero, m_planes[0].Along(p) + m_planes[0].d),
                           LessEqual(zero, m_planes[1].Along(p) + m_planes[1].d)));
    }

    /// The planes as queries use them: left, right, bottom and top; near, far, near and far.
    const Private::FourPlanes& GetSides() const { return m_planes[0]; }
    const Private::FourPlanes& GetEnds() const { return m_planes[1]; }

private:
    friend struct Private::Layout<GeometryFrustum>;

    void Set(const VectorSIMD4f* planes);

    Private::FourPlanes m_planes[2];
};

} // namespace Geometry
} // namespace Z4
