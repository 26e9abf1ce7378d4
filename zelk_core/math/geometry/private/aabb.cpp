#include <zelk_core/math/geometry/aabb.h>

#include <zelk_core/math/geometry/obb.h>
#include <zelk_core/math/geometry/private/corners.h>

#include <cstddef>

namespace Z4 {

template <>
struct Private::Layout<Geometry::GeometryAABB> {
    static_assert(offsetof(Geometry::GeometryAABB, m_min) == 0);
    static_assert(offsetof(Geometry::GeometryAABB, m_max) == 16);
    static_assert(sizeof(Geometry::GeometryAABB) == 32);
    static_assert(alignof(Geometry::GeometryAABB) == 16);
};

namespace Geometry {

GeometryAABB::GeometryAABB(const VectorSIMD4f* points, unsigned long count) {
    Init();
    for (unsigned long i = 0; i < count; ++i) {
        *this += points[i];
    }
}

void GeometryAABB::SetSize(float halfSize, unsigned char axis) {
    if (axis > 2) {
        return;
    }
    const float middle = (m_min[axis] + m_max[axis]) * 0.5F;
    m_min.Set(axis, middle - halfSize);
    m_max.Set(axis, middle + halfSize);
}

VectorSIMD4f GeometryAABB::operator[](unsigned long index) const {
    if (index >= Private::CORNER_COUNT) {
        return GetCenter();
    }
    if (index == 0) {
        return m_min;
    }
    if (index == Private::CORNER_COUNT - 1) {
        return m_max;
    }
    return And(Select(Private::HighSides(index), m_max, m_min), VectorSIMD4f::MASK_3D);
}

void GeometryAABB::FromOOBox(const GeometryOBB& box) {
    *this = box.ToAABox();
}

GeometryOBB GeometryAABB::ToOOBox() const {
    GeometryOBB box;
    if (!AnyTrue(And(Greater(m_min, m_max), VectorSIMD4f::MASK_3D))) {
        box.SetAABB(GetCenter(), GetExtent());
        return box;
    }
    const VectorSIMD4f zero = VectorSIMD4f::Broadcast(0);
    const VectorSIMD4f axes[3] = {zero, zero, zero};
    return {zero, axes, zero};
}

bool GeometryAABB::operator==(const GeometryAABB& other) const {
    const VectorSIMD4f tolerance = VectorSIMD4f::Broadcast(2e-6F);
    return AllTrue(And(LessEqual(Abs(m_min - other.m_min), tolerance), LessEqual(Abs(m_max - other.m_max), tolerance)));
}

} // namespace Geometry
} // namespace Z4
