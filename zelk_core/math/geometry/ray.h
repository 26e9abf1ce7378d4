/// @file
/// GeometryRay, a ray, segment or line that is prepared for many questions; intersectray.h and group4.h ask them.
///
/// A ray is the points origin + t direction with first <= t <= last. The direction may have any length: t counts in
/// units of it. What depends on the ray alone, such as the reciprocals of the direction, is calculated once, when it is
/// made.
///
/// Where a component of the origin or the direction is NaN or infinite in x, y or z, and where a bound is NaN, the ray
/// has no points and meets nothing. Only x, y and z count; w is carried along by At(). Sums are made in a fixed order,
/// so that both forms of the queries may use the same ray. Nothing fails or traps. Rays are plain values: different
/// threads may read one at a time, and who writes must be alone.
#pragma once

#include <limits>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/math/geometry/shear.h>
#include <zelk_core/math/geometry/slabs.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry {

/// The points origin + t direction with first <= t <= last. A plain value: different threads may read one at a time,
/// and who writes must be alone. ray.h tells what becomes of NaN.
class GeometryRay : public HostNew<GeometryRay> {
public:
    /// The greatest bound. Wider ones become this one: it leaves room for the error of a float.
    static constexpr float LARGEST = 3.4e38F;

    /// The ray from `origin` in `direction`. Without a direction, it is the point `origin`, whatever t.
    GeometryRay(const VectorSIMD4f& origin, const VectorSIMD4f& direction, float last = LARGEST, float first = 0.0F);
    /// The segment from `a`, where t = 0, to `b`, where t = 1.
    static GeometryRay FromSegment(const VectorSIMD4f& a, const VectorSIMD4f& b) { return {a, b - a, 1.0F}; }
    /// The line through both points, with the same parameter and no end.
    static GeometryRay FromLine(const VectorSIMD4f& a, const VectorSIMD4f& b) { return {a, b - a, LARGEST, -LARGEST}; }

    const VectorSIMD4f& GetOrigin() const { return m_origin; }
    const VectorSIMD4f& GetDirection() const { return m_direction; }
    /// The bounds of t. Of a ray without points, the first is above the last.
    float GetFirst() const { return m_first; }
    float GetLast() const { return m_last; }
    /// Moves the end, for instance to the nearest hit so far. With NaN, and before the first t, the ray has no points.
    void SetLast(float last) {
        const float bounded = last > LARGEST ? LARGEST : last;
        // Far from the first, where there are no points: some queries look a little beyond the end.
        m_last = m_first <= bounded ? bounded : -BEYOND;
    }

    /// origin + t direction, in all four lanes. `t` may lie outside the bounds.
    VectorSIMD4f At(float t) const { return m_origin + t * m_direction; }

    /// What queries have prepared. The reciprocals of the direction, +infinity where that is smaller than the least
    /// normal float:
    const VectorSIMD4f& GetInverseDirection() const { return m_inverse; }
    /// 1 over the length of the direction, whose square is summed in either order; 0 where there is no direction.
    template <SumOrder ORDER>
    float GetInverseLength() const {
        return m_inverseLength[ORDER == SumOrder::FAST ? 0 : 1];
    }
    /// See shear.h.
    const Private::Shear& GetShear() const { return m_shear; }
    /// The bounds in all lanes.
    Private::Interval GetRange() const { return {VectorSIMD4f::Broadcast(m_first), VectorSIMD4f::Broadcast(m_last)}; }

private:
    friend struct Private::Layout<GeometryRay>;

    static constexpr float BEYOND = std::numeric_limits<float>::infinity();

    VectorSIMD4f m_origin;
    VectorSIMD4f m_direction;
    VectorSIMD4f m_inverse;
    Private::Shear m_shear;
    float m_first;
    float m_last;
    float m_inverseLength[2];
};

inline GeometryRay::GeometryRay(const VectorSIMD4f& origin, const VectorSIMD4f& direction, float last, float first)
    : m_origin(origin), m_direction(direction), m_inverse(Private::InverseDirection(direction)) {
    const VectorSIMD4f lengthsSqr(Lanes::InterleaveLow(LengthSqr3<SumOrder::FAST>(direction).Native(),
                                                       LengthSqr3<SumOrder::CONSISTENT>(direction).Native()));
    const VectorSIMD4f inverses = AndNot(Equal(lengthsSqr, VectorSIMD4f::Broadcast(0.0F)), ReciprocalSqrt(lengthsSqr));
    m_inverseLength[0] = inverses.X();
    m_inverseLength[1] = inverses.Y();

    const VectorSIMD4f size = Abs(direction);
    const VectorSIMD4f greatest = Max(size.BroadcastX(), Max(size.BroadcastY(), size.BroadcastZ()));
    // The last of those that are greatest. A direction with NaN has none, and needs none.
    static constexpr unsigned char MAIN[] = {2, 0, 1, 1, 2, 2, 2, 2};
    static constexpr unsigned char NEXT[] = {1, 2, 0};
    const unsigned axis = MAIN[Lanes::SignBits(LessEqual(greatest, size).Native()) & 7];
    float d[4];
    float inverse[4];
    direction.Store(d);
    m_inverse.Store(inverse);
    const float scale = inverse[axis];
    m_shear = {d[NEXT[axis]] * scale, d[NEXT[NEXT[axis]]] * scale, scale,
               axis + (d[axis] < 0 ? Private::Shear::NEGATIVE : 0)};

    const VectorSIMD4f finite = VectorSIMD4f::Broadcast((std::numeric_limits<float>::max)());
    const bool hasPoints = AllTrue3(And(LessEqual(Abs(origin), finite), LessEqual(size, finite)));
    m_first = !hasPoints ? BEYOND : first >= -LARGEST ? first : (first < -LARGEST ? -LARGEST : BEYOND);
    SetLast(last);
}

} // namespace Z4::Geometry
