/// @file
/// GeometryOBB, a box in any orientation, held as its centre, three axis directions and the half-size along each.
///
/// The axes are the box's own x, y and z directions in space. They should be perpendicular, which no operation checks,
/// and of unit length: corners and coordinates are right for any axes, Contains() and Intersect() count on both. Box
/// corners are numbered as those of a GeometryAABB. Sides are part of the box.
///
/// Forms: operations whose names end in `Consistent` differ from those beside them by the order of their sums alone,
/// from left to right instead of the one that is fastest in registers. They always run in the DLL and give the same
/// bits everywhere, those of plain code in single precision.
///
/// A NaN spreads through what is calculated; a box or a point with NaN in a lane that counts is in no box, and
/// overlaps none. The w lanes take part in sums and copies as the other lanes do, and in no question but ==. Nothing
/// fails or traps; boxes are plain values that different threads may read.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/math/matrixsimd.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry {

class GeometryAABB;

class GeometryOBB : public HostNew<GeometryOBB> {
public:
    /// A point at the origin with the axes of space.
    GeometryOBB() { SetAABB(VectorSIMD4f(0, 0, 0, 0), VectorSIMD4f(0, 0, 0, 0)); }
    /// The box between two corners along the axes of space; the centre is `min` + extent, all four lanes.
    Z4_API GeometryOBB(const VectorSIMD4f& min, const VectorSIMD4f& max);
    /// The box between two corners in the space that `m` maps to ours. The rows of `m` become the axes as they are,
    /// not normalised, and the centre, transformed as by TransformPoint(), gets w = 1.
    Z4_API GeometryOBB(const VectorSIMD4f& min, const VectorSIMD4f& max, const MatrixSIMD44f& m);
    /// Takes the centre, the three vectors at `axes` and the half-sizes as they are.
    Z4_API GeometryOBB(const VectorSIMD4f& center, const VectorSIMD4f* axes, const VectorSIMD4f& extent);
    /// The box along the axes of space, turned about its centre by `rotation`: the direction of that vector is the axis
    /// to turn about, its length the angle in radians, as by Rotate(). A zero vector turns nothing.
    Z4_API GeometryOBB(const VectorSIMD4f& center, const VectorSIMD4f& extent, const VectorSIMD4f& rotation);

    /// Takes a centre and half-sizes, not two corners, and the axes of space.
    void SetAABB(const VectorSIMD4f& center, const VectorSIMD4f& extent) {
        m_center = center;
        m_axes[0] = VectorSIMD4f(1, 0, 0, 0);
        m_axes[1] = VectorSIMD4f(0, 1, 0, 0);
        m_axes[2] = VectorSIMD4f(0, 0, 1, 0);
        m_extent = extent;
    }
    /// Becomes the oriented form of the box; see GeometryAABB::ToOOBox().
    Z4_API void FromAABox(const GeometryAABB& box);
    /// The smallest box around this one along the axes of space, its w lanes 0. Coordinates that are NaN leave it
    /// empty along their axis.
    [[nodiscard]] Z4_API GeometryAABB ToAABox() const;

    void SetCenter(const VectorSIMD4f& center) { m_center = center; }
    const VectorSIMD4f& GetCenter() const { return m_center; }
    /// The three axes, one after another.
    const VectorSIMD4f* GetAxisDir() const { return m_axes; }
    /// Half the size along each axis.
    const VectorSIMD4f& GetExtent() const { return m_extent; }

    /// Moves the centre, in all four lanes.
    void Translate(const VectorSIMD4f& offset) { m_center += offset; }
    /// Adds `d` to the three half-sizes, or `v` to all four lanes of the extent.
    void ExpandBy(float d) {
        // Only subtracting +0 leaves every w as it is: -0 plus 0 is +0.
        m_extent -= And(VectorSIMD4f::Broadcast(-d), VectorSIMD4f::MASK_3D);
    }
    void ExpandBy(const VectorSIMD4f& v) { m_extent += v; }

    bool Contains(const VectorSIMD4f& point) const { return ContainsWithin<SumOrder::FAST>(point, m_extent); }
    /// The same with half-sizes that are greater by `eps`.
    Z4_API bool ContainsWithEpsilonConsistent(const VectorSIMD4f& point, float eps) const;

    /// Whether the boxes have a point in common: the separating-axis test with all 15 axes after S. Gottschalk, M. Lin
    /// and D. Manocha, OBBTree, SIGGRAPH 1996, with the guard for parallel edges of C. Ericson, Real-Time Collision
    /// Detection, 2005, section 4.4.1. Any box may be flat, a segment or a point.
    ///
    /// Rounding can settle either way what is closer than 1e-5 times the sizes and the distance of the centres. Beyond
    /// that, boxes with a common point always overlap, and boxes apart are found so but for one case: where only the
    /// cross product of two edges tells them apart, the guard can bridge a gap of 2e-6 times the sizes over the sine of
    /// the edges' angle; by 2e-3 times the sizes or less, for edges closer to parallel have no gap that the sides would
    /// not show. A NaN in x, y or z and an infinite centre give false; other infinities, and numbers beyond 1e37, give
    /// either answer.
    Z4_API bool Intersect(const GeometryOBB& other) const;
    /// The same with the oriented form of the box, so that an invalid box counts as a point at the origin.
    Z4_API bool Intersect(const GeometryAABB& box) const;

    /// Corner `index`, numbered as by GeometryAABB::operator[]; 8 and above give the centre. With X, Y and Z for the
    /// axes times half-sizes, signed for that corner: centre + (X + (Y + Z)).
    Z4_API VectorSIMD4f GetBoxVertex(unsigned long index) const;
    /// The same as ((centre + X) + Y) + Z.
    Z4_API VectorSIMD4f GetBoxVertexConsistent(unsigned long index) const;
    VectorSIMD4f operator[](unsigned long index) const { return GetBoxVertex(index); }

    /// The least and the greatest x, y or z (`axis` 0, 1, 2) of the corners, as GetBoxVertex() gives them; 0 for an
    /// `axis` above 2.
    Z4_API float GetCoordMin(unsigned long axis) const;
    Z4_API float GetCoordMax(unsigned long axis) const;
    Z4_API void GetCoordMinAndMax(unsigned long axis, float& low, float& high) const;
    /// The same for all four lanes at once. Where all are NaN, `low` is the greatest float and `high` its negation.
    Z4_API void GetMinAndMaxAllCoords(VectorSIMD4f& low, VectorSIMD4f& high) const;

    /// Length of the extent: with unit axes the radius of the sphere through the corners.
    float GetRadius() const { return Length3(m_extent).X(); }
    /// Dot products of two axes, the cosines of the angles between unit ones; summed (x + y) + z.
    float GetXYAxesCosAngle() const { return Dot3<SumOrder::CONSISTENT>(m_axes[0], m_axes[1]).X(); }
    float GetXZAxesCosAngle() const { return Dot3<SumOrder::CONSISTENT>(m_axes[0], m_axes[2]).X(); }
    float GetYZAxesCosAngle() const { return Dot3<SumOrder::CONSISTENT>(m_axes[1], m_axes[2]).X(); }
    /// What maps the box's own directions and the origin to ours: the axes as stored, then the centre with w = 1.
    Z4_API MatrixSIMD44f GetMatrix() const;

    /// Maps the box by an affine matrix: its corners go where `m` takes them, and the centre gets w = 1.
    ///
    /// Axes are brought back to unit length, within 5e-7, and the half-sizes take up what they lose. So rotations and
    /// scalings may follow one another without end. An axis that `m` maps to nothing stays as it was, with half-size
    /// 0. A matrix that scales across the axes or shears leaves them no longer perpendicular.
    Z4_API void Transform(const MatrixSIMD44f& m);
    /// The same with points summed ((x row 0 + y row 1) + z row 2) + row 3.
    Z4_API void TransformConsistent(const MatrixSIMD44f& m);
    GeometryOBB& operator*=(const MatrixSIMD44f& m) {
        Transform(m);
        return *this;
    }
    GeometryOBB operator*(const MatrixSIMD44f& m) const { return GeometryOBB(*this) *= m; }
    /// Turns the box about `axis`, of any length, through its centre, by `angle` radians: counter-clockwise where the
    /// axis points at the beholder. An axis without a direction (zero, infinite or NaN) turns nothing. The axes of the
    /// box stay at unit length as by Transform(). Sine and cosine are the platform's.
    Z4_API void Rotate(const VectorSIMD4f& axis, float angle);

    /// The corners of triangle `triangle` of the box's surface, two triangles to a face, 12 in all, counter-clockwise
    /// where the face is seen from outside; 0, 0, 0 for 12 and above. `flip` exchanges `b` and `c`.
    Z4_API static void GetFaceTriIndices(unsigned long triangle, unsigned short& a, unsigned short& b,
                                         unsigned short& c, bool flip);

    /// Whether no component of any field differs by more than 1e-6, w included. Components whose difference is NaN,
    /// like those of two equal infinities, are passed over.
    Z4_API bool operator==(const GeometryOBB& other) const;

private:
    friend struct Private::Layout<GeometryOBB>;

    /// In the lanes x, y and z, those of three vectors: x of all three, y of all three and z of all three.
    struct Columns {
        Columns(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c) {
            const __m128 xy = Lanes::InterleaveLow(a.Native(), b.Native());
            const __m128 zw = Lanes::InterleaveHigh(a.Native(), b.Native());
            x = VectorSIMD4f(Lanes::Shuffle<0, 1, 0, 0>(xy, c.Native()));
            y = VectorSIMD4f(Lanes::Shuffle<2, 3, 1, 1>(xy, c.Native()));
            z = VectorSIMD4f(Lanes::Shuffle<0, 1, 2, 2>(zw, c.Native()));
        }
        template <SumOrder ORDER>
        VectorSIMD4f Sum() const {
            if constexpr (ORDER == SumOrder::FAST) {
                return x + (y + z);
            } else {
                return (x + y) + z;
            }
        }
        VectorSIMD4f x, y, z;
    };
    /// The dot products of `v` with the three axes, in the lanes x, y and z.
    template <SumOrder ORDER>
    VectorSIMD4f AlongAxes(const VectorSIMD4f& v) const {
        return Columns(m_axes[0] * v, m_axes[1] * v, m_axes[2] * v).template Sum<ORDER>();
    }
    template <SumOrder ORDER>
    bool ContainsWithin(const VectorSIMD4f& point, const VectorSIMD4f& extent) const {
        return AllTrue3(GreaterEqual(extent, Abs(AlongAxes<ORDER>(point - m_center))));
    }
    template <SumOrder ORDER>
    VectorSIMD4f Corner(unsigned long index) const;
    template <SumOrder ORDER>
    void TransformAxes(const MatrixSIMD44f& m);
    template <SumOrder ORDER>
    void TransformBy(const MatrixSIMD44f& m);

    /// A mask of the lanes where |a| > b + 1e-6.
    static VectorSIMD4f CaseCompare(const VectorSIMD4f& a, const VectorSIMD4f& b);
    /// Whether the squared length of axis `k` is 1 within 1e-6; a NaN is taken for it.
    template <SumOrder ORDER>
    bool CheckIfUnitLengthAxis(unsigned k) const;

    VectorSIMD4f m_center;
    VectorSIMD4f m_axes[3];
    VectorSIMD4f m_extent;
};

} // namespace Z4::Geometry
