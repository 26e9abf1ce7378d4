#include <zelk_core/math/geometry/cull.h>

#include <bit>

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

/// The outer half of ClassifyAABBByFrustum().
bool Sees(const Private::BoxTest& sides, const Private::BoxTest& ends, const GeometryAABB& box) {
    const VectorSIMD4f notBehind = And(sides(box).notBehind, ends(box).notBehind);
    const int valid = Lanes::SignBits(LessEqual(box.GetMin(), box.GetMax()).Native()) | 8;
    return (Lanes::SignBits(notBehind.Native()) & valid) == 15;
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
    const Private::BoxTest sides(frustum.GetSides());
    const Private::BoxTest ends(frustum.GetEnds());
    for (unsigned long i = 0; i < count; ++i) {
        results[i] = Private::Combine(sides(boxes[i]), ends(boxes[i]), boxes[i].IsValid());
    }
}

unsigned long CullAABBsByFrustum(const GeometryFrustum& frustum, const GeometryAABB* boxes, unsigned long count,
                                 std::uint32_t* visible) {
    const Private::BoxTest sides(frustum.GetSides());
    const Private::BoxTest ends(frustum.GetEnds());
    return Cull<1>(count, visible, [&](unsigned long i) { return Sees(sides, ends, boxes[i]) ? 1 : 0; });
}

unsigned long CullAABBsByFrustum(const GeometryFrustum& frustum, const GeometryAABB4* groups, unsigned long count,
                                 std::uint32_t* visible) {
    const SpreadPlane planes[] = {SpreadPlane(frustum.GetPlane(0)), SpreadPlane(frustum.GetPlane(1)),
                                  SpreadPlane(frustum.GetPlane(2)), SpreadPlane(frustum.GetPlane(3)),
                                  SpreadPlane(frustum.GetPlane(4)), SpreadPlane(frustum.GetPlane(5))};
    return Cull<4>(count, visible, [&](unsigned long i) {
        const GeometryAABB4& group = groups[i];
        VectorSIMD4f sum[3];
        VectorSIMD4f size[3];
        VectorSIMD4f seen = VectorSIMD4f(VectorSIMD4f::MASK_4D);
        for (unsigned long axis = 0; axis < 3; ++axis) {
            const VectorSIMD4f& low = group.Bound(false, axis);
            const VectorSIMD4f& high = group.Bound(true, axis);
            sum[axis] = low + high;
            size[axis] = high - low;
            seen = And(seen, LessEqual(low, high));
        }
        for (const SpreadPlane& plane : planes) {
            const VectorSIMD4f middle =
                Private::Sum<SumOrder::FAST>(plane.x * sum[0], plane.y * sum[1], plane.z * sum[2]) + plane.doubleD;
            const VectorSIMD4f reach =
                Private::Sum<SumOrder::FAST>(plane.reachX * size[0], plane.reachY * size[1], plane.reachZ * size[2]);
            seen = And(seen, PlaneTest(middle, reach).notBehind);
        }
        return Lanes::SignBits(seen.Native());
    });
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
