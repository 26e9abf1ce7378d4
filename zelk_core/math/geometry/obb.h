/// @file
/// GeometryOBB, a box in any orientation, held as its centre, three axes and the half-size along each.
///
/// The axes are the box's own x, y and z directions in space. They should be perpendicular and of unit length, which no
/// operation checks. Corners and coordinates are right for any axes; Contains() and Intersect() are right only for such
/// axes. The corners are numbered as those of a GeometryAABB. The sides belong to the box: what touches them is inside,
/// and boxes that touch overlap.
///
/// Where a name ends in `Consistent`, the operation is that of the name without it, except that its sums run from left
/// to right (see SumOrder). It always runs in the DLL and gives the same bits everywhere.
///
/// A NaN spreads through what is calculated. A box with a NaN in x, y or z of a field contains nothing and overlaps
/// nothing, and a point with one lies in no box. The w lanes take part in sums and copies as the other lanes do; of the
/// questions, only `==` looks at them. Nothing fails or traps. Boxes are plain values: different threads may read one
/// at a time, and who writes must be alone.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/math/geometry/columns.h>
#include <zelk_core/math/matrixsimd.h>
#include <zelk_core/math/vectorsimd.h>

namespace Z4::Geometry {

class GeometryAABB;

/// A box in any orientation. A plain value: different threads may read one at a time, and who writes must be alone.
/// obb.h tells what is expected of the axes, and what becomes of NaN.
class GeometryOBB : public HostNew<GeometryOBB> {
public:
    /// A point at the origin, with the axes of space.
    GeometryOBB() { SetAABB(VectorSIMD4f(0, 0, 0, 0), VectorSIMD4f(0, 0, 0, 0)); }
    /// The box between two corners, along the axes of space. In all four lanes, the extent is (`max` - `min`) / 2 and
    /// the centre is `min` + extent.
    Z4_API GeometryOBB(const VectorSIMD4f& min, const VectorSIMD4f& max);
    /// The box between two corners in the space that `m` maps to ours. The first three rows of `m` become the axes as
    /// they are; they are not normalised, so a scaling stays in them. The centre is transformed by TransformPoint() and
    /// gets w = 1.
    Z4_API GeometryOBB(const VectorSIMD4f& min, const VectorSIMD4f& max, const MatrixSIMD44f& m);
    /// Takes the centre, the three vectors at `axes` and the half-sizes as they are. `axes` is read during the call
    /// only.
    Z4_API GeometryOBB(const VectorSIMD4f& center, const VectorSIMD4f* axes, const VectorSIMD4f& extent);
    /// The box along the axes of space, turned about its centre by Rotate(). The direction of `rotation` is the axis to
    /// turn about, and its length is the angle in radians. A zero vector turns nothing.
    Z4_API GeometryOBB(const VectorSIMD4f& center, const VectorSIMD4f& extent, const VectorSIMD4f& rotation);

    /// Sets the centre, the half-sizes and the axes of space. In spite of the name, the arguments are not two corners.
    void SetAABB(const VectorSIMD4f& center, const VectorSIMD4f& extent) {
        m_center = center;
        m_axes[0] = VectorSIMD4f(1, 0, 0, 0);
        m_axes[1] = VectorSIMD4f(0, 1, 0, 0);
        m_axes[2] = VectorSIMD4f(0, 0, 1, 0);
        m_extent = extent;
    }
    /// Becomes the oriented form of the box; see GeometryAABB::ToOOBox().
    Z4_API void FromAABox(const GeometryAABB& box);
    /// The smallest box along the axes of space that holds this one. Its w lanes are 0. Along an axis whose coordinates
    /// are NaN, it is empty.
    [[nodiscard]] Z4_API GeometryAABB ToAABox() const;

    void SetCenter(const VectorSIMD4f& center) { m_center = center; }
    const VectorSIMD4f& GetCenter() const { return m_center; }
    /// The three axes, one after another.
    const VectorSIMD4f* GetAxisDir() const { return m_axes; }
    /// Half the size along each axis.
    const VectorSIMD4f& GetExtent() const { return m_extent; }

    /// Moves the centre, in all four lanes.
    void Translate(const VectorSIMD4f& offset) { m_center += offset; }
    /// Adds `d` to the three half-sizes.
    void ExpandBy(float d) {
        // Only subtracting +0 leaves every w as it is: -0 plus 0 is +0.
        m_extent -= And(VectorSIMD4f::Broadcast(-d), VectorSIMD4f::MASK_3D);
    }
    /// Adds `v` to the extent, in all four lanes.
    void ExpandBy(const VectorSIMD4f& v) { m_extent += v; }

    /// Whether the point lies in the box: along each axis it is no farther from the centre than the half-size.
    bool Contains(const VectorSIMD4f& point) const { return ContainsWithin<SumOrder::FAST>(point, m_extent); }
    /// The same with `eps` added to each half-size, summed as the names in `Consistent` are.
    Z4_API bool ContainsWithEpsilonConsistent(const VectorSIMD4f& point, float eps) const;

    /// Whether the boxes have a point in common. Either may be flat, a segment or a point.
    ///
    /// Rounding decides where the boxes touch, overlap or miss each other by less than 1e-5 times the sum of their
    /// radii and the distance of their centres. Beyond that, boxes with a common point always give true, and boxes
    /// apart give false with one exception. Where two edges at a small angle come closest, a wider gap can still give
    /// true: one up to 2e-6 of that sum divided by the sine of the angle, and never more than 2e-3 of that sum.
    ///
    /// A NaN in x, y or z gives false, and so does an infinite centre. Other infinities and numbers beyond 1e37 give
    /// either answer.
    ///
    /// This is the separating-axis test with all 15 axes of S. Gottschalk, M. Lin and D. Manocha, OBBTree, SIGGRAPH
    /// 1996, with the guard for parallel edges of C. Ericson, Real-Time Collision Detection, 2005, section 4.4.1.
    Z4_API bool Intersect(const GeometryOBB& other) const;
    /// The same with the box's oriented form, GeometryAABB::ToOOBox(). So a box that is not valid counts as a point at
    /// the origin.
    Z4_API bool Intersect(const GeometryAABB& box) const;

    /// Corner `index`, numbered as by GeometryAABB::operator[]; an index of 8 or more gives the centre. With X, Y and Z
    /// for the axes times their half-sizes, negative on the low sides, the corner is centre + (X + (Y + Z)).
    Z4_API VectorSIMD4f GetBoxVertex(unsigned long index) const;
    /// The same, summed ((centre + X) + Y) + Z.
    Z4_API VectorSIMD4f GetBoxVertexConsistent(unsigned long index) const;
    VectorSIMD4f operator[](unsigned long index) const { return GetBoxVertex(index); }

    /// The least and the greatest coordinate of the corners, as GetBoxVertex() gives them, along `axis`: 0, 1 or 2 for
    /// x, y or z. An `axis` above 2 gives 0.
    Z4_API float GetCoordMin(unsigned long axis) const;
    Z4_API float GetCoordMax(unsigned long axis) const;
    Z4_API void GetCoordMinAndMax(unsigned long axis, float& low, float& high) const;
    /// The same for all four lanes at once. Where a coordinate is NaN at every corner, `low` becomes the greatest float
    /// and `high` its negation.
    Z4_API void GetMinAndMaxAllCoords(VectorSIMD4f& low, VectorSIMD4f& high) const;

    /// The length of the extent in x, y and z. With unit axes it is the radius of the sphere through the corners.
    float GetRadius() const { return Length3(m_extent).X(); }
    /// The dot product of two axes, summed (x + y) + z. Of unit axes it is the cosine of the angle between them.
    float GetXYAxesCosAngle() const { return Dot3<SumOrder::CONSISTENT>(m_axes[0], m_axes[1]).X(); }
    float GetXZAxesCosAngle() const { return Dot3<SumOrder::CONSISTENT>(m_axes[0], m_axes[2]).X(); }
    float GetYZAxesCosAngle() const { return Dot3<SumOrder::CONSISTENT>(m_axes[1], m_axes[2]).X(); }
    /// The matrix that maps the box's own space to ours: its rows are the axes as stored and the centre with w = 1.
    Z4_API MatrixSIMD44f GetMatrix() const;

    /// Maps the box by an affine matrix: its corners go where `m` takes them, and the centre gets w = 1.
    ///
    /// An axis whose squared length is then not 1 within 1e-6 is divided by its length, and its half-size is multiplied
    /// by it. So the axes stay at unit length within 5e-7, however many transforms follow one another. An axis that `m`
    /// maps to nothing stays as it was and gets the half-size 0. A matrix that shears, or that scales differently along
    /// other directions than the axes, leaves the axes no longer perpendicular.
    Z4_API void Transform(const MatrixSIMD44f& m);
    /// The same, with points summed ((x row 0 + y row 1) + z row 2) + row 3.
    Z4_API void TransformConsistent(const MatrixSIMD44f& m);
    GeometryOBB& operator*=(const MatrixSIMD44f& m) {
        Transform(m);
        return *this;
    }
    GeometryOBB operator*(const MatrixSIMD44f& m) const { return GeometryOBB(*this) *= m; }
    /// Turns the box by `angle` radians about the line through its centre with the direction `axis`, as MakeRotation()
    /// does: counter-clockwise for a beholder at whom `axis` points. `axis` may have any length; without a direction
    /// (zero, infinite or NaN) it turns nothing. The axes of the box stay at unit length as by Transform(). Sine and
    /// cosine are the platform's, so last bits may differ between platforms.
    Z4_API void Rotate(const VectorSIMD4f& axis, float angle);

    /// Writes the numbers of the three corners of one triangle of the surface. The triangles 0 to 11 make up the six
    /// faces by twos: z high, z low, x low, x high, y high, y low. Seen from outside, a triangle's corners run
    /// counter-clockwise; `flip` exchanges `b` and `c`, so that they run clockwise. A `triangle` of 12 or more writes
    /// 0, 0, 0.
    Z4_API static void GetFaceTriIndices(unsigned long triangle, unsigned short& a, unsigned short& b,
                                         unsigned short& c, bool flip);

    /// Whether no component of any field, w included, differs from the other box's by more than 1e-6. A component that
    /// is NaN, or two that are infinite alike, count as equal.
    Z4_API bool operator==(const GeometryOBB& other) const;

private:
    friend struct Private::Layout<GeometryOBB>;

    template <SumOrder ORDER>
    VectorSIMD4f AlongAxes(const VectorSIMD4f& v) const {
        return Private::AlongAxes<ORDER>(m_axes, v);
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
