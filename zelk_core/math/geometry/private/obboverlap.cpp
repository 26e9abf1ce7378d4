#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/obb.h>

namespace Z4::Geometry {

using Private::Columns;
using Private::Yzx;
using Private::Zxy;

// Everything is seen from this box, A, whose axes are then the unit vectors; r0, r1 and r2 are those of the other box,
// B, and t is the way from centre to centre. An axis separates when the shadow of t on it is longer than those of both
// half-boxes together. One vector tests three axes at a time. Each test asks whether the shadows meet, which is false
// of NaN.
bool GeometryOBB::Intersect(const GeometryOBB& other) const {
    const Columns frame(m_axes[0], m_axes[1], m_axes[2]);
    const auto fromHere = [&frame](const VectorSIMD4f& v) {
        return v.BroadcastX() * frame.x + (v.BroadcastY() * frame.y + v.BroadcastZ() * frame.z);
    };
    const VectorSIMD4f offset = other.m_center - m_center;
    const VectorSIMD4f t = fromHere(offset);
    const VectorSIMD4f r0 = fromHere(other.m_axes[0]);
    const VectorSIMD4f r1 = fromHere(other.m_axes[1]);
    const VectorSIMD4f r2 = fromHere(other.m_axes[2]);
    const VectorSIMD4f bx = other.m_extent.BroadcastX();
    const VectorSIMD4f by = other.m_extent.BroadcastY();
    const VectorSIMD4f bz = other.m_extent.BroadcastZ();

    // The three axes of A.
    if (!AllTrue3(LessEqual(Abs(t), m_extent + (bx * Abs(r0) + (by * Abs(r1) + bz * Abs(r2)))))) {
        return false;
    }
    // The three axes of B.
    const Columns reaches(m_extent * Abs(r0), m_extent * Abs(r1), m_extent * Abs(r2));
    const VectorSIMD4f reach = Private::Sum<SumOrder::FAST>(reaches.x, reaches.y, reaches.z);
    if (!AllTrue3(LessEqual(Abs(other.AlongAxes<SumOrder::FAST>(offset)), other.m_extent + reach))) {
        return false;
    }
    // The cross products of an axis of A, one to a lane, with an axis of B. That of parallel edges is only rounding
    // errors, three units in the last place of 1 at most, of which the guard keeps clear.
    const VectorSIMD4f guard = VectorSIMD4f::Broadcast(1e-6F);
    const VectorSIMD4f abs0 = Abs(r0) + guard;
    const VectorSIMD4f abs1 = Abs(r1) + guard;
    const VectorSIMD4f abs2 = Abs(r2) + guard;
    const VectorSIMD4f ayzx = Yzx(m_extent);
    const VectorSIMD4f azxy = Zxy(m_extent);
    const auto meets = [&](const VectorSIMD4f& r, const VectorSIMD4f& abs, const VectorSIMD4f& otherReach) {
        return LessEqual(Abs(Cross3(r, t)), (ayzx * Zxy(abs) + azxy * Yzx(abs)) + otherReach);
    };
    return AllTrue3(And(And(meets(r0, abs0, by * abs2 + bz * abs1), meets(r1, abs1, bz * abs0 + bx * abs2)),
                        meets(r2, abs2, bx * abs1 + by * abs0)));
}

bool GeometryOBB::Intersect(const GeometryAABB& box) const {
    return Intersect(box.ToOOBox());
}

} // namespace Z4::Geometry
