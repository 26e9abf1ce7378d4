/// @file
/// GeometryAABB, a box along the axes of space, held as its two extreme corners.
///
/// A box is valid when min <= max in x, y and z. The empty box, with min above max, is the neutral one: merging a point
/// into it gives that point, it lies inside every valid finite box and overlaps none. Sides count as part of the box:
/// what touches them is inside, and boxes that touch overlap.
///
/// Lanes: merging, moving and measuring are done in all four, growing and all questions look at x, y and z alone.
/// A comparison with NaN does not hold, so a box or a point with a NaN in x, y or z is neither valid nor inside nor
/// overlapping; of a merged point, lanes that are NaN are passed over. Sums that leave the range of a float become
/// infinite, and the centre of a box with an infinite corner is infinite or NaN. Nothing fails; boxes are plain values
/// that different threads may read.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/math/vectorsimd.h>

#include <limits>

namespace Z4::Geometry {

class GeometryOBB;

class GeometryAABB : public HostNew<GeometryAABB> {
public:
    /// The empty box: all four lanes of min are the largest finite float, those of max its negation.
    GeometryAABB() { Init(); }
    /// The empty box, whatever the number.
    explicit GeometryAABB(int) : GeometryAABB() {}
    /// Takes the corners as they are, without ordering them.
    GeometryAABB(const VectorSIMD4f& min, const VectorSIMD4f& max) : m_min(min), m_max(max) {}
    /// The smallest box around `count` points, in all four lanes; of no points the empty box.
    Z4_API GeometryAABB(const VectorSIMD4f* points, unsigned long count);

    /// Makes this the empty box.
    void Init() {
        m_min = VectorSIMD4f::Broadcast(std::numeric_limits<float>::max());
        m_max = VectorSIMD4f::Broadcast(-std::numeric_limits<float>::max());
    }

    /// Merges a point into the box, or another box, in all four lanes.
    GeometryAABB& operator+=(const VectorSIMD4f& point) {
        m_min = Min(point, m_min);
        m_max = Max(point, m_max);
        return *this;
    }
    GeometryAABB& operator+=(const GeometryAABB& other) {
        m_min = Min(other.m_min, m_min);
        m_max = Max(other.m_max, m_max);
        return *this;
    }
    GeometryAABB operator+(const VectorSIMD4f& point) const { return GeometryAABB(*this) += point; }
    GeometryAABB operator+(const GeometryAABB& other) const { return GeometryAABB(*this) += other; }

    /// Moves every side out by `d`, or by the x, y and z of `v`; in when negative, which can leave an invalid box.
    void ExpandBy(float d) { ExpandBy(VectorSIMD4f::Broadcast(d)); }
    void ExpandBy(const VectorSIMD4f& v) {
        // Only subtracting +0 leaves every w as it is: -0 plus 0 is +0.
        m_min -= And(v, VectorSIMD4f::MASK_3D);
        m_max -= And(-v, VectorSIMD4f::MASK_3D);
    }
    [[nodiscard]] GeometryAABB GetExpandBy(float d) const {
        GeometryAABB box(*this);
        box.ExpandBy(d);
        return box;
    }
    /// Gives the box the half-size `halfSize` along `axis` (0, 1, 2 for x, y, z), about its middle there. An `axis`
    /// above 2 changes nothing.
    Z4_API void SetSize(float halfSize, unsigned char axis);
    /// Moves both corners, in all four lanes.
    void Translate(const VectorSIMD4f& offset) {
        m_min += offset;
        m_max += offset;
    }

    VectorSIMD4f GetCenter() const { return (m_min + m_max) * 0.5F; }
    /// Half the size; GetFullExtent() is the whole.
    VectorSIMD4f GetExtent() const { return GetFullExtent() * 0.5F; }
    VectorSIMD4f GetFullExtent() const { return m_max - m_min; }
    void GetCenterAndExtents(VectorSIMD4f& center, VectorSIMD4f& extent) const {
        center = GetCenter();
        extent = GetExtent();
    }
    /// min = center - extent and max = center + extent, where `extent` is half the size.
    void SetCenterAndExtents(const VectorSIMD4f& center, const VectorSIMD4f& extent) {
        *this = GeometryAABB(center - extent, center + extent);
    }
    /// Half the diagonal: the radius of the sphere through the corners.
    float GetRadius() const { return Length3(GetExtent()).X(); }

    const VectorSIMD4f& GetMin() const { return m_min; }
    VectorSIMD4f& GetMin() { return m_min; }
    const VectorSIMD4f& GetMax() const { return m_max; }
    VectorSIMD4f& GetMax() { return m_max; }

    bool IsValid() const { return AllTrue3(LessEqual(m_min, m_max)); }

    bool Contains(const VectorSIMD4f& point) const {
        return AllTrue3(And(LessEqual(m_min, point), LessEqual(point, m_max)));
    }
    bool ContainsPoint2D(const VectorSIMD4f& point) const {
        return AllTrue2(And(LessEqual(m_min, point), LessEqual(point, m_max)));
    }
    /// Whether the other box lies inside this one, in space or seen along z.
    bool Contains(const GeometryAABB& other) const {
        return AllTrue3(And(LessEqual(m_min, other.m_min), LessEqual(other.m_max, m_max)));
    }
    bool Contains2D(const GeometryAABB& other) const {
        return AllTrue2(And(LessEqual(m_min, other.m_min), LessEqual(other.m_max, m_max)));
    }
    /// Whether the boxes overlap, in space or seen along z.
    bool Intersect(const GeometryAABB& other) const { return AllTrue3(Overlaps(other)); }
    bool IntersectAABB2D(const GeometryAABB& other) const { return AllTrue2(Overlaps(other)); }
    /// Whether the boxes overlap or are apart by no more than the x, y and z of `tolerance` along these axes: min <=
    /// the other's max + tolerance, both ways. A negative tolerance asks for an overlap of that depth.
    bool Intersect(const GeometryAABB& other, const VectorSIMD4f& tolerance) const {
        return AllTrue3(And(LessEqual(m_min, other.m_max + tolerance), LessEqual(other.m_min, m_max + tolerance)));
    }

    /// Corner `index`; 8 and above give the centre. Low (-) and high (+) sides of the corners 0 to 7 in x, y, z:
    /// `---  +--  ++-  -+-  -++  --+  +-+  +++`, as of an oriented box. The corners 0 and 7 are min and max with all
    /// their lanes, the others have w = 0.
    Z4_API VectorSIMD4f operator[](unsigned long index) const;

    /// Becomes the smallest box around the oriented one; see GeometryOBB::ToAABox().
    Z4_API void FromOOBox(const GeometryOBB& box);
    /// The same box as an oriented one. One with min > max in x, y or z gives an oriented box that is zero throughout,
    /// axes included.
    [[nodiscard]] Z4_API GeometryOBB ToOOBox() const;

    /// Whether no component of the corners differs by more than 2e-6, w included.
    Z4_API bool operator==(const GeometryAABB& other) const;

private:
    friend struct Private::Layout<GeometryAABB>;

    VectorSIMD4f Overlaps(const GeometryAABB& other) const {
        return And(LessEqual(m_min, other.m_max), LessEqual(other.m_min, m_max));
    }

    VectorSIMD4f m_min;
    VectorSIMD4f m_max;
};

} // namespace Z4::Geometry
