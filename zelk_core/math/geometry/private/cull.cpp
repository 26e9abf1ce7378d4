#include <zelk_core/math/geometry/cull.h>

#include <algorithm>
#include <bit>
#include <cstring>

namespace Z4 {

namespace {

using Geometry::Containment;
using Geometry::GeometryAABB;
using Geometry::GeometryAABB4;
using Geometry::GeometryFrustum;
using Geometry::GeometryOBB;
using Private::FourPlanes;
using Private::PlaneTest;

/// How far the box reaches along each normal: the sum over its axes.
VectorSIMD4f Reach(const FourPlanes& planes, const GeometryOBB& box) {
    const VectorSIMD4f* const axes = box.GetAxisDir();
    const VectorSIMD4f& extent = box.GetExtent();
    return Private::Sum<SumOrder::FAST>(Abs(planes.Along(axes[0])) * extent.BroadcastX(),
                                        Abs(planes.Along(axes[1])) * extent.BroadcastY(),
                                        Abs(planes.Along(axes[2])) * extent.BroadcastZ());
}

Containment ClassifySphere(const GeometryFrustum& frustum, const VectorSIMD4f& center, const VectorSIMD4f& radius) {
    const auto test = [&](const FourPlanes& planes) { return PlaneTest(planes.Along(center) + planes.d, radius); };
    return Private::Combine(test(frustum.GetSides()), test(frustum.GetEnds()),
                            AllTrue(LessEqual(VectorSIMD4f::Broadcast(0.0F), radius)));
}

/// `see(i)` tells the bits of the bodies that stand in place `i`, `EACH` of them.
template <unsigned long EACH, class See>
unsigned long Cull(unsigned long count, std::uint32_t* visible, See see) {
    constexpr unsigned long PLACES = 32 / EACH;
    unsigned long sum = 0;
    for (unsigned long first = 0; first < count; first += PLACES) {
        const unsigned long places = count - first < PLACES ? count - first : PLACES;
        std::uint32_t bits = 0;
        for (unsigned long i = 0; i < places; ++i) {
            bits |= static_cast<std::uint32_t>(see(first + i)) << (i * EACH);
        }
        visible[first / PLACES] = bits;
        sum += static_cast<unsigned long>(std::popcount(bits));
    }
    return sum;
}

/// One plane, each coordinate in all lanes.
struct SpreadPlane {
    explicit SpreadPlane(const VectorSIMD4f& plane)
        : x(plane.BroadcastX()),
          y(plane.BroadcastY()),
          z(plane.BroadcastZ()),
          doubleD(plane.BroadcastW() + plane.BroadcastW()),
          reachX(Abs(x)),
          reachY(Abs(y)),
          reachZ(Abs(z)) {}

    VectorSIMD4f x, y, z, doubleD;
    VectorSIMD4f reachX, reachY, reachZ;
};

/// What four boxes have along one axis, doubled as in Private::BoxTest.
struct Slabs {
    Slabs(const VectorSIMD4f& low, const VectorSIMD4f& high)
        : middle(low + high), size(high - low), isValid(LessEqual(low, high)) {}

    VectorSIMD4f middle, size, isValid;
};
struct FourBoxes {
    Slabs x, y, z;
};
FourBoxes Prepare(const GeometryAABB4& group) {
    return {Slabs(group.Bound(false, 0), group.Bound(true, 0)), Slabs(group.Bound(false, 1), group.Bound(true, 1)),
            Slabs(group.Bound(false, 2), group.Bound(true, 2))};
}
FourBoxes Prepare(const GeometryAABB* boxes) {
    struct Rows {
        Rows(const VectorSIMD4f& a, const VectorSIMD4f& b, const VectorSIMD4f& c, const VectorSIMD4f& d)
            : x(a.Native()), y(b.Native()), z(c.Native()), w(d.Native()) {
            Lanes::Transpose(x, y, z, w);
        }
        __m128 x, y, z, w;
    };
    const Rows low(boxes[0].GetMin(), boxes[1].GetMin(), boxes[2].GetMin(), boxes[3].GetMin());
    const Rows high(boxes[0].GetMax(), boxes[1].GetMax(), boxes[2].GetMax(), boxes[3].GetMax());
    return {Slabs(VectorSIMD4f(low.x), VectorSIMD4f(high.x)), Slabs(VectorSIMD4f(low.y), VectorSIMD4f(high.y)),
            Slabs(VectorSIMD4f(low.z), VectorSIMD4f(high.z))};
}

/// Bit i as the lowest of byte i.
constexpr std::uint32_t BYTES_OF_BITS[] = {0x00000000, 0x00000001, 0x00000100, 0x00000101, 0x00010000, 0x00010001,
                                           0x00010100, 0x00010101, 0x01000000, 0x01000001, 0x01000100, 0x01000101,
                                           0x01010000, 0x01010001, 0x01010100, 0x01010101};

/// A frustum, prepared for four boxes at a time. It sums as Private::BoxTest does.
class FourBoxesTest {
public:
    struct Result {
        int seen;
        int inside;
    };

    explicit FourBoxesTest(const GeometryFrustum& frustum)
        : m_planes{SpreadPlane(frustum.GetPlane(0)), SpreadPlane(frustum.GetPlane(1)),
                   SpreadPlane(frustum.GetPlane(2)), SpreadPlane(frustum.GetPlane(3)),
                   SpreadPlane(frustum.GetPlane(4)), SpreadPlane(frustum.GetPlane(5))} {}

    /// Bit i stands for box i.
    Z4_ALWAYS_INLINE Result operator()(const FourBoxes& boxes) const {
        VectorSIMD4f seen = And(boxes.x.isValid, And(boxes.y.isValid, boxes.z.isValid));
        VectorSIMD4f inside = seen;
        for (const SpreadPlane& plane : m_planes) {
            const VectorSIMD4f middle = Private::Sum<SumOrder::FAST>(plane.x * boxes.x.middle, plane.y * boxes.y.middle,
                                                                     plane.z * boxes.z.middle) +
                                        plane.doubleD;
            const VectorSIMD4f reach = Private::Sum<SumOrder::FAST>(
                plane.reachX * boxes.x.size, plane.reachY * boxes.y.size, plane.reachZ * boxes.z.size);
            const PlaneTest test(middle, reach);
            seen = And(seen, test.notBehind);
            inside = And(inside, test.inFront);
        }
        return {Lanes::SignBits(seen.Native()), Lanes::SignBits(inside.Native()) & Lanes::SignBits(seen.Native())};
    }

private:
    SpreadPlane m_planes[6];
};

} // namespace

namespace Geometry {

Containment ClassifyOBBByFrustum(const GeometryFrustum& frustum, const GeometryOBB& box) {
    const auto test = [&box](const FourPlanes& planes) {
        return PlaneTest(planes.Along(box.GetCenter()) + planes.d, Reach(planes, box));
    };
    return Private::Combine(test(frustum.GetSides()), test(frustum.GetEnds()),
                            AllTrue3(LessEqual(VectorSIMD4f::Broadcast(0.0F), box.GetExtent())));
}

Containment ClassifySphereByFrustum(const GeometryFrustum& frustum, const VectorSIMD4f& center, float radius) {
    return ClassifySphere(frustum, center, VectorSIMD4f::Broadcast(radius));
}

void ClassifyAABBsByFrustum(const GeometryFrustum& frustum, const GeometryAABB* boxes, unsigned long count,
                            Containment* results) {
    const FourBoxesTest test(frustum);
    unsigned long i = 0;
    for (; i + 4 <= count; i += 4) {
        const FourBoxesTest::Result found = test(Prepare(boxes + i));
        // Both counts of a box are 0 or 1, so that none carries into the next.
        const std::uint32_t where = BYTES_OF_BITS[found.seen] + BYTES_OF_BITS[found.inside];
        std::memcpy(results + i, &where, sizeof where);
    }
    for (; i < count; ++i) {
        results[i] = ClassifyAABBByFrustum(frustum, boxes[i]);
    }
}

unsigned long CullAABBsByFrustum(const GeometryFrustum& frustum, const GeometryAABB* boxes, unsigned long count,
                                 std::uint32_t* visible) {
    const FourBoxesTest test(frustum);
    return Cull<4>((count + 3) / 4, visible, [&](unsigned long i) {
        if (count - 4 * i >= 4) {
            return test(Prepare(boxes + 4 * i)).seen;
        }
        GeometryAABB rest[4];
        std::copy(boxes + 4 * i, boxes + count, rest);
        return test(Prepare(rest)).seen;
    });
}

unsigned long CullAABBsByFrustum(const GeometryFrustum& frustum, const GeometryAABB4* groups, unsigned long count,
                                 std::uint32_t* visible) {
    const FourBoxesTest test(frustum);
    return Cull<4>(count, visible, [&](unsigned long i) { return test(Prepare(groups[i])).seen; });
}

unsigned long CullOBBsByFrustum(const GeometryFrustum& frustum, const GeometryOBB* boxes, unsigned long count,
                                std::uint32_t* visible) {
    return Cull<1>(count, visible, [&](unsigned long i) {
        return ClassifyOBBByFrustum(frustum, boxes[i]) != Containment::OUTSIDE ? 1 : 0;
    });
}

unsigned long CullSpheresByFrustum(const GeometryFrustum& frustum, const VectorSIMD4f* spheres, unsigned long count,
                                   std::uint32_t* visible) {
    return Cull<1>(count, visible, [&](unsigned long i) {
        return ClassifySphere(frustum, spheres[i], spheres[i].BroadcastW()) != Containment::OUTSIDE ? 1 : 0;
    });
}

} // namespace Geometry
} // namespace Z4
