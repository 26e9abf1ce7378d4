#include <zelk_core/math/geometry/obb.h>

#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/private/corners.h>

#include <cstddef>
#include <limits>

namespace Z4 {

template <>
struct Private::Layout<Geometry::GeometryOBB> {
    static_assert(offsetof(Geometry::GeometryOBB, m_center) == 0);
    static_assert(offsetof(Geometry::GeometryOBB, m_axes) == 16);
    static_assert(offsetof(Geometry::GeometryOBB, m_extent) == 64);
    static_assert(sizeof(Geometry::GeometryOBB) == 80);
    static_assert(alignof(Geometry::GeometryOBB) == 16);
};

namespace Geometry {

namespace {

/// The direction `d`, or with `row` the point, by the matrix `m`. Its fast forms are those of all matrices.
template <SumOrder ORDER>
VectorSIMD4f TransformedDirection(const VectorSIMD4f& d, const MatrixSIMD44f& m) {
    if constexpr (ORDER == SumOrder::FAST) {
        return TransformDirection(d, m);
    } else {
        return (d.BroadcastX() * m.Row(0) + d.BroadcastY() * m.Row(1)) + d.BroadcastZ() * m.Row(2);
    }
}
template <SumOrder ORDER>
VectorSIMD4f TransformedPoint(const VectorSIMD4f& p, const MatrixSIMD44f& m) {
    if constexpr (ORDER == SumOrder::FAST) {
        return TransformPoint(p, m);
    } else {
        return TransformedDirection<ORDER>(p, m) + m.Row(3);
    }
}

} // namespace

GeometryOBB::GeometryOBB(const VectorSIMD4f& min, const VectorSIMD4f& max) {
    const VectorSIMD4f extent = (max - min) * 0.5F;
    SetAABB(min + extent, extent);
}

GeometryOBB::GeometryOBB(const VectorSIMD4f& min, const VectorSIMD4f& max, const MatrixSIMD44f& m)
    : m_center(TransformPoint((min + max) * 0.5F, m)),
      m_axes{m.Row(0), m.Row(1), m.Row(2)},
      m_extent((max - min) * 0.5F) {
    m_center.SetW(1);
}

GeometryOBB::GeometryOBB(const VectorSIMD4f& center, const VectorSIMD4f* axes, const VectorSIMD4f& extent)
    : m_center(center), m_axes{axes[0], axes[1], axes[2]}, m_extent(extent) {}

GeometryOBB::GeometryOBB(const VectorSIMD4f& center, const VectorSIMD4f& extent, const VectorSIMD4f& rotation) {
    SetAABB(center, extent);
    Rotate(rotation, Length3(rotation).X());
}

void GeometryOBB::FromAABox(const GeometryAABB& box) {
    *this = box.ToOOBox();
}

GeometryAABB GeometryOBB::ToAABox() const {
    VectorSIMD4f low;
    VectorSIMD4f high;
    GetMinAndMaxAllCoords(low, high);
    return {And(low, VectorSIMD4f::MASK_3D), And(high, VectorSIMD4f::MASK_3D)};
}

bool GeometryOBB::ContainsWithEpsilonConsistent(const VectorSIMD4f& point, float eps) const {
    return ContainsWithin<SumOrder::CONSISTENT>(point, m_extent + eps);
}

template <SumOrder ORDER>
VectorSIMD4f GeometryOBB::Corner(unsigned long index) const {
    if (index >= Private::CORNER_COUNT) {
        return m_center;
    }
    const VectorSIMD4f extent = Select(Private::HighSides(index), m_extent, -m_extent);
    const VectorSIMD4f x = extent.BroadcastX() * m_axes[0];
    const VectorSIMD4f y = extent.BroadcastY() * m_axes[1];
    const VectorSIMD4f z = extent.BroadcastZ() * m_axes[2];
    if constexpr (ORDER == SumOrder::FAST) {
        return m_center + (x + (y + z));
    } else {
        return ((m_center + x) + y) + z;
    }
}

VectorSIMD4f GeometryOBB::GetBoxVertex(unsigned long index) const {
    return Corner<SumOrder::FAST>(index);
}

VectorSIMD4f GeometryOBB::GetBoxVertexConsistent(unsigned long index) const {
    return Corner<SumOrder::CONSISTENT>(index);
}

float GeometryOBB::GetCoordMin(unsigned long axis) const {
    float low;
    float high;
    GetCoordMinAndMax(axis, low, high);
    return low;
}

float GeometryOBB::GetCoordMax(unsigned long axis) const {
    float low;
    float high;
    GetCoordMinAndMax(axis, low, high);
    return high;
}

void GeometryOBB::GetCoordMinAndMax(unsigned long axis, float& low, float& high) const {
    VectorSIMD4f lows;
    VectorSIMD4f highs;
    GetMinAndMaxAllCoords(lows, highs);
    low = axis < 3 ? lows[axis] : 0;
    high = axis < 3 ? highs[axis] : 0;
}

void GeometryOBB::GetMinAndMaxAllCoords(VectorSIMD4f& low, VectorSIMD4f& high) const {
    // Rounding keeps order and is symmetric, so this is, bit for bit, how far the farthest corner's sum reaches. A
    // corner that is NaN would not be taken, therefore Min and Max prefer their second argument.
    const VectorSIMD4f reach = Abs(m_extent.BroadcastX() * m_axes[0]) +
                               (Abs(m_extent.BroadcastY() * m_axes[1]) + Abs(m_extent.BroadcastZ() * m_axes[2]));
    const VectorSIMD4f center = m_center;
    low = Min(center - reach, VectorSIMD4f::Broadcast(std::numeric_limits<float>::max()));
    high = Max(center + reach, VectorSIMD4f::Broadcast(-std::numeric_limits<float>::max()));
}

MatrixSIMD44f GeometryOBB::GetMatrix() const {
    MatrixSIMD44f m(m_axes[0], m_axes[1], m_axes[2], m_center);
    m.Row(3).SetW(1);
    return m;
}

template <SumOrder ORDER>
void GeometryOBB::TransformAxes(const MatrixSIMD44f& m) {
    for (unsigned k = 0; k < 3; ++k) {
        const VectorSIMD4f before = m_axes[k];
        m_axes[k] = TransformedDirection<ORDER>(before, m);
        // Where nothing has to be done nothing is rounded: a translation keeps axes and half-sizes to the bit.
        if (CheckIfUnitLengthAxis<ORDER>(k)) {
            continue;
        }
        const VectorSIMD4f length = Length3<ORDER>(m_axes[k]);
        const bool vanished = AllTrue(Equal(length, VectorSIMD4f::Broadcast(0)));
        m_axes[k] = vanished ? before : m_axes[k] / length;
        m_extent.Set(k, vanished ? 0 : m_extent[k] * length.X());
    }
}

template <SumOrder ORDER>
void GeometryOBB::TransformBy(const MatrixSIMD44f& m) {
    TransformAxes<ORDER>(m);
    m_center = TransformedPoint<ORDER>(m_center, m);
    m_center.SetW(1);
}

void GeometryOBB::Transform(const MatrixSIMD44f& m) {
    TransformBy<SumOrder::FAST>(m);
}

void GeometryOBB::TransformConsistent(const MatrixSIMD44f& m) {
    TransformBy<SumOrder::CONSISTENT>(m);
}

void GeometryOBB::Rotate(const VectorSIMD4f& axis, float angle) {
    TransformAxes<SumOrder::FAST>(MakeRotation<MatrixSIMD44f>(axis, angle));
}

void GeometryOBB::GetFaceTriIndices(unsigned long triangle, unsigned short& a, unsigned short& b, unsigned short& c,
                                    bool flip) {
    static constexpr unsigned short CORNERS[][3] = {
        {4, 5, 6}, {4, 6, 7}, // z high
        {0, 3, 2}, {0, 2, 1}, // z low
        {0, 5, 4}, {0, 4, 3}, // x low
        {1, 2, 7}, {1, 7, 6}, // x high
        {4, 7, 2}, {4, 2, 3}, // y high
        {0, 1, 6}, {0, 6, 5}, // y low
        {0, 0, 0},            // none
    };
    constexpr unsigned long NONE = sizeof(CORNERS) / sizeof(CORNERS[0]) - 1;
    const unsigned short(&corners)[3] = CORNERS[triangle < NONE ? triangle : NONE];
    a = corners[0];
    b = corners[flip ? 2 : 1];
    c = corners[flip ? 1 : 2];
}

bool GeometryOBB::operator==(const GeometryOBB& other) const {
    const VectorSIMD4f zero = VectorSIMD4f::Broadcast(0);
    VectorSIMD4f differs =
        Or(CaseCompare(m_center - other.m_center, zero), CaseCompare(m_extent - other.m_extent, zero));
    for (unsigned k = 0; k < 3; ++k) {
        differs = Or(differs, CaseCompare(m_axes[k] - other.m_axes[k], zero));
    }
    return !AnyTrue(differs);
}

VectorSIMD4f GeometryOBB::CaseCompare(const VectorSIMD4f& a, const VectorSIMD4f& b) {
    return Greater(Abs(a), b + 1e-6F);
}

template <SumOrder ORDER>
bool GeometryOBB::CheckIfUnitLengthAxis(unsigned k) const {
    return !AnyTrue(CaseCompare(LengthSqr3<ORDER>(m_axes[k]) - 1.0F, VectorSIMD4f::Broadcast(0)));
}

} // namespace Geometry
} // namespace Z4
