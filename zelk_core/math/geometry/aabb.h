/// @file
/// GeometryAABB, a box along the axes of space, held as its two extreme corners.
///
/// A box is valid when min <= max in x, y and z. Its sides belong to it: what touches them is inside, and boxes that
/// touch overlap. The empty box has min above max, so it is not valid. Merging a point into it gives that point. Every
/// valid finite box contains it, and it overlaps none but those as wide as the range of a float.
///
/// Merging, moving and measuring work on all four lanes. Growing and all questions look at x, y and z alone.
///
/// A comparison with NaN does not hold. So a box with a NaN in x, y or z is not valid, contains nothing, lies inside
/// nothing and overlaps nothing, and a point with one lies in no box. Where a point is merged, its NaN lanes leave the
/// box as it is. Sums beyond the range of a float become infinite; a box with an infinite corner has a centre that is
/// infinite or NaN. Nothing fails. Boxes are plain values: different threads may read one at a time, and who writes
/// must be alone.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/math/vectorsimd.h>

#include <limits>

namespace Z4::Geometry {

class GeometryOBB;

/// A box along the axes of space. A plain value: different threads may read one at a time, and who writes must be
/// alone. aabb.h tells which boxes are valid, and what becomes of NaN.
class GeometryAABB : public HostNew<GeometryAABB> {
public:
    /// The empty box: all four lanes of min are the largest finite float, those of max its negation.
    GeometryAABB() { Init(); }
    /// The empty box, whatever the number.
    explicit GeometryAABB(int) : GeometryAABB() {}
    /// Takes the corners as they are, without ordering them.
    GeometryAABB(const VectorSIMD4f& min, const VectorSIMD4f& max) : m_min(min), m_max(max) {}
    /// The smallest box around the `count` points at `points`, in all four lanes. Of no points it is the empty box, and
    /// `points` may be null.
    Z4_API GeometryAABB(const VectorSIMD4f* points, unsigned long count);

    /// Makes this the empty box.
    void Init() {
        m_min = VectorSIMD4f::Broadcast((std::numeric_limits<float>::max)());
        m_max = VectorSIMD4f::Broadcast(-(std::numeric_limits<float>::max)());
    }

    /// Grows as far as needed to hold the point, or the other box, in all four lanes.
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

    /// Moves each side outwards by `d`, or those of an axis by that component of `v`. Negative numbers move them
    /// inwards, even past each other: the box is then not valid. Both w lanes stay as they are.
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
    /// Gives the box the half-size `halfSize` along `axis`, which is 0, 1 or 2 for x, y or z. Its middle stays. An
    /// `axis` above 2 changes nothing.
    Z4_API void SetSize(float halfSize, unsigned char axis);
    /// Moves both corners, in all four lanes.
    void Translate(const VectorSIMD4f& offset) {
        m_min += offset;
        m_max += offset;
    }

    /// (min + max) / 2.
    VectorSIMD4f GetCenter() const { return (m_min + m_max) * 0.5F; }
    /// Half the size, (max - min) / 2. GetFullExtent() is the whole.
    VectorSIMD4f GetExtent() const { return GetFullExtent() * 0.5F; }
    VectorSIMD4f GetFullExtent() const { return m_max - m_min; }
    void GetCenterAndExtents(VectorSIMD4f& center, VectorSIMD4f& extent) const {
        center = GetCenter();
        extent = GetExtent();
    }
    /// Sets min = center - extent and max = center + extent: `extent` is half the size.
    void SetCenterAndExtents(const VectorSIMD4f& center, const VectorSIMD4f& extent) {
        *this = GeometryAABB(center - extent, center + extent);
    }
    /// Half the diagonal in space, which is the radius of the sphere through the corners.
    float GetRadius() const { return Length3(GetExtent()).X(); }

    const VectorSIMD4f& GetMin() const { return m_min; }
    VectorSIMD4f& GetMin() { return m_min; }
    const VectorSIMD4f& GetMax() const { return m_max; }
    VectorSIMD4f& GetMax() { return m_max; }

    /// Whether min <= max in x, y and z.
    bool IsValid() const { return AllTrue3(LessEqual(m_min, m_max)); }

    /// Whether the point lies in the box; the 2D form looks at x and y alone.
    bool Contains(const VectorSIMD4f& point) const {
        return AllTrue3(And(LessEqual(m_min, point), LessEqual(point, m_max)));
    }
    bool ContainsPoint2D(const VectorSIMD4f& point) const {
        return AllTrue2(And(LessEqual(m_min, point), LessEqual(point, m_max)));
    }
    /// Whether the other box lies inside this one, which its corners decide: its min is not below this min, and its max
    /// not above this max. The 2D form looks at x and y alone.
    bool Contains(const GeometryAABB& other) const {
        return AllTrue3(And(LessEqual(m_min, other.m_min), LessEqual(other.m_max, m_max)));
    }
    bool Contains2D(const GeometryAABB& other) const {
        return AllTrue2(And(LessEqual(m_min, other.m_min), LessEqual(other.m_max, m_max)));
    }
    /// Whether the boxes overlap; the 2D form looks at x and y alone.
    bool Intersect(const GeometryAABB& other) const { return AllTrue3(Overlaps(other)); }
    bool IntersectAABB2D(const GeometryAABB& other) const { return AllTrue2(Overlaps(other)); }
    /// Whether no gap along an axis is wider than that component of `tolerance`: each min <= the other's max +
    /// tolerance. Where a component is negative, the boxes must overlap along that axis by at least so much.
    bool Intersect(const GeometryAABB& other, const VectorSIMD4f& tolerance) const {
        return AllTrue3(And(LessEqual(m_min, other.m_max + tolerance), LessEqual(other.m_min, m_max + tolerance)));
    }

    /// Corner `index`; an index of 8 or more gives the centre. The corners 0 to 7 lie on the low (-) and high (+) sides
    /// in x, y and z in this order, as those of an oriented box do: `---  +--  ++-  -+-  -++  --+  +-+  +++`. Corner 0
    /// is min and corner 7 is max, with their w lanes; the others have w = 0.
    Z4_API VectorSIMD4f operator[](unsigned long index) const;

    /// Becomes the smallest box around the oriented one; see GeometryOBB::ToAABox().
    Z4_API void FromOOBox(const GeometryOBB& box);
    /// The same box as an oriented one: GetCenter(), the axes of space, GetExtent(). A box with min > max in x, y or z
    /// gives an oriented box that is zero throughout, axes included.
    [[nodiscard]] Z4_API GeometryOBB ToOOBox() const;

    /// Whether each of the eight components, w included, differs from the other box's by at most 2e-6. Two that are
    /// NaN, or infinite alike, count as different.
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
