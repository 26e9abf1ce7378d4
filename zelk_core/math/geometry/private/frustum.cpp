#include <zelk_core/math/geometry/frustum.h>

#include <zelk_core/math/geometry/plane.h>
#include <zelk_core/math/geometry/private/corners.h>

#include <cstddef>
#include <limits>

namespace Z4 {

template <>
struct Private::Layout<Geometry::GeometryFrustum> {
    static_assert(offsetof(Geometry::GeometryFrustum, m_planes) == 0);
    static_assert(sizeof(Geometry::GeometryFrustum) == 128);
    static_assert(alignof(Geometry::GeometryFrustum) == 16);
};

namespace {

constexpr unsigned PLANES = 6;
constexpr float BEYOND = std::numeric_limits<float>::infinity();

Private::FourPlanes Turn(const VectorSIMD4f& p, const VectorSIMD4f& q, const VectorSIMD4f& r, const VectorSIMD4f& s) {
    __m128 x = p.Native();
    __m128 y = q.Native();
    __m128 z = r.Native();
    __m128 d = s.Native();
    Lanes::Transpose(x, y, z, d);
    return {VectorSIMD4f(x), VectorSIMD4f(y), VectorSIMD4f(z), VectorSIMD4f(d)};
}

} // namespace

namespace Geometry {

void GeometryFrustum::Set(const VectorSIMD4f* planes) {
    VectorSIMD4f units[PLANES];
    bool isEmpty = false;
    for (unsigned i = 0; i < PLANES; ++i) {
        units[i] = planes[i];
        if (!NormalizePlane(units[i])) {
            // The planes of a projection without an end have no normal.
            isEmpty = isEmpty || !(LengthSqr3(planes[i]).X() == 0 && planes[i].W() >= 0);
            units[i] = VectorSIMD4f(0, 0, 0, BEYOND);
        }
        isEmpty = isEmpty || units[i].W() != units[i].W();
    }
    for (VectorSIMD4f& unit : units) {
        unit = isEmpty ? VectorSIMD4f(0, 0, 0, -BEYOND) : unit;
    }
    m_planes[0] = Turn(units[0], units[1], units[2], units[3]);
    m_planes[1] = Turn(units[4], units[5], units[4], units[5]);
}

GeometryFrustum::GeometryFrustum() {
    const VectorSIMD4f behind(0, 0, 0, -1);
    const VectorSIMD4f planes[PLANES] = {behind, behind, behind, behind, behind, behind};
    Set(planes);
}

// A point p is in front where, of its clip coordinates (x, y, z, w), -w <= x <= w and so on. Each of them is the
// product of p with a column.
GeometryFrustum::GeometryFrustum(const MatrixSIMD44f& viewProjection, DepthRange depths) {
    const MatrixSIMD44f columns = Transpose(viewProjection);
    const VectorSIMD4f& x = columns.Row(0);
    const VectorSIMD4f& y = columns.Row(1);
    const VectorSIMD4f& z = columns.Row(2);
    const VectorSIMD4f& w = columns.Row(3);
    const VectorSIMD4f low = depths == DepthRange::MINUS_ONE_TO_ONE ? w + z : z;
    const VectorSIMD4f high = w - z;
    const bool isReversed = depths == DepthRange::ONE_TO_ZERO;
    const VectorSIMD4f planes[PLANES] = {w + x, w - x, w + y, w - y, isReversed ? high : low, isReversed ? low : high};
    Set(planes);
}

GeometryFrustum::GeometryFrustum(const VectorSIMD4f* planes) {
    Set(planes);
}

VectorSIMD4f GeometryFrustum::GetPlane(unsigned long index) const {
    if (index >= PLANES) {
        return VectorSIMD4f(0, 0, 0, 0);
    }
    const Private::FourPlanes& four = m_planes[index / 4];
    const unsigned long lane = index % 4;
    return VectorSIMD4f(four.x[lane], four.y[lane], four.z[lane], four.d[lane]);
}

bool GeometryFrustum::GetCorners(VectorSIMD4f* corners) const {
    VectorSIMD4f found[Private::CORNER_COUNT];
    const VectorSIMD4f greatest = VectorSIMD4f::Broadcast((std::numeric_limits<float>::max)());
    for (unsigned long i = 0; i < Private::CORNER_COUNT; ++i) {
        const int high = Lanes::SignBits(Private::HighSides(i).Native());
        const auto plane = [&](unsigned long axis) { return GetPlane(2 * axis + ((high >> axis & 1) != 0 ? 1 : 0)); };
        if (!Consistent::IntersectPlanes(plane(0), plane(1), plane(2), found[i]) ||
            !AllTrue3(LessEqual(Abs(found[i]), greatest))) {
            return false;
        }
    }
    for (unsigned long i = 0; i < Private::CORNER_COUNT; ++i) {
        corners[i] = found[i];
    }
    return true;
}

} // namespace Geometry
} // namespace Z4
