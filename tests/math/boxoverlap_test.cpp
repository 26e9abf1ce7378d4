// Hunted here: boxes that overlap and are not found so, or the other way round, at any angle, flat ones too; touching
// that does not count; a NaN that lets boxes overlap.
#include "figures.h"

#include <algorithm>
#include <cmath>
#include <gmock/gmock.h>
#include <limits>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/obb.h>

namespace {

using Z4::MatrixSIMD44f;
using Z4::Vector3d;
using Z4::VectorSIMD4f;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryOBB;
using ZelkTest::Input;

Vector3d Wide(const VectorSIMD4f& v) {
    return Vector3d(ToVector3f(v));
}
VectorSIMD4f Narrow(const Vector3d& v) {
    return VectorSIMD4f(Z4::Vector3f(v), 0);
}

/// A box at the origin, from long beams to plates, segments and points.
struct Body {
    Body(Input& input, const MatrixSIMD44f& rotation) : axes{rotation.Row(0), rotation.Row(1), rotation.Row(2)} {
        for (double& size : extent) {
            size = input.OnceIn(4) ? 0 : std::pow(10, input.Number(-2, 1));
        }
    }
    Vector3d Extent() const { return {extent[0], extent[1], extent[2]}; }
    Vector3d Axis(unsigned k) const { return Wide(axes[k]); }
    GeometryOBB Box(const Vector3d& center, double growth) const {
        return {Narrow(center), axes, Narrow(Extent() + Vector3d::ONE * growth)};
    }
    /// A point of the box, grown by `growth`, that is farthest along `direction`. Where a whole edge or face is, it is
    /// any point of that.
    Vector3d Farthest(Input& input, const Vector3d& direction, double growth) const {
        Vector3d point = Vector3d::ZERO;
        for (unsigned k = 0; k < 3; ++k) {
            const double along = Dot(direction, Axis(k));
            const double side = std::fabs(along) < 1e-6 ? input.Number(-1, 1) : std::copysign(1.0, along);
            point += Axis(k) * (side * (extent[k] + growth));
        }
        return point;
    }

    VectorSIMD4f axes[3];
    double extent[3];
};

/// Boxes are brought together until they touch: face to face, edge to edge, or with any points of theirs. On one side
/// of that position they overlap, on the other a plane lies between them.
TEST(ObbOverlap, BeginsWhereBoxesTouch) {
    Input input(1);
    for (unsigned round = 0; round < 20000; ++round) {
        const MatrixSIMD44f rotation = ZelkTest::RandomRotation(input);
        // Any orientation, or nearly or exactly that of the first.
        const double angles[] = {input.Number(-3, 3), std::pow(10, input.Number(-8, -1)), 0};
        const VectorSIMD4f turnAxis(1, input.Number(1.0F), static_cast<float>(input.Below(2)), 0);
        const auto turn = Z4::MakeRotation<MatrixSIMD44f>(turnAxis, angles[input.Below(3)]);
        const Body a(input, rotation);
        const Body b(input, rotation * turn);

        const Vector3d axis0 = a.Axis(input.Below(3));
        const Vector3d axis1 = b.Axis(input.Below(3));
        const Vector3d across = Cross(axis0, axis1);
        const Vector3d ways[] = {axis0, Length(across) > 1e-6 ? across : axis1, Wide(ZelkTest::RandomPoint(input, 1))};
        const Vector3d way = Normalize(ways[input.Below(3)]) * (input.OnceIn(2) ? 1.0 : -1.0);
        // What float rounds of the sizes and the distance. Where edges are nearly parallel, their cross product is no
        // axis to the library: it may then take boxes for overlapping that are farther apart.
        double leastSine = 1;
        for (unsigned i = 0; i < 9; ++i) {
            leastSine = std::min(leastSine, Length(Cross(a.Axis(i / 3), b.Axis(i % 3))));
        }
        const double sizes = 0.01 + 2 * (Length(a.Extent()) + Length(b.Extent()));
        const double margin = 1e-5 * sizes;
        const double guard = std::max(margin, std::min(2e-3, 2e-6 / std::max(1e-30, leastSine)) * sizes);

        const Vector3d touching = a.Farthest(input, way, guard) - b.Farthest(input, -way, 0);
        const GeometryOBB apart[] = {a.Box(Vector3d::ZERO, 0), b.Box(touching * input.Number(1, 1.1), 0)};
        EXPECT_FALSE(apart[0].Intersect(apart[1]) || apart[1].Intersect(apart[0])) << round;
        const GeometryOBB meeting[] = {a.Box(Vector3d::ZERO, guard + margin),
                                       b.Box(touching * std::min(1.0, input.Number(0.5, 2)), 0)};
        EXPECT_TRUE(meeting[0].Intersect(meeting[1]) && meeting[1].Intersect(meeting[0])) << round;
    }
}

/// Whole numbers and quarter turns leave nothing to round, so that touching counts to the bit, of flat boxes too.
TEST(ObbOverlap, IsExactForWholeNumbersAndQuarterTurns) {
    Input input(2);
    const MatrixSIMD44f turns[] = {
        MatrixSIMD44f::IDENTITY,
        {VectorSIMD4f::BASE_J, VectorSIMD4f::BASE_K, VectorSIMD4f::BASE_I, VectorSIMD4f::BASE_L},
        {-VectorSIMD4f::BASE_J, VectorSIMD4f::BASE_I, VectorSIMD4f::BASE_K, VectorSIMD4f::BASE_L}};
    for (unsigned round = 0; round < 40000; ++round) {
        const auto whole = [&input](unsigned count, int low) {
            float lanes[4] = {};
            for (unsigned k = 0; k < 3; ++k) {
                lanes[k] = static_cast<float>(static_cast<int>(input.Below(count)) + low);
            }
            return VectorSIMD4f::Load(lanes);
        };
        const VectorSIMD4f centerA = whole(5, -2);
        const GeometryOBB a(centerA, &turns[input.Below(3)].Row(0), whole(3, 0));
        const VectorSIMD4f centerB = whole(9, -4);
        const GeometryOBB b(centerB, &turns[input.Below(3)].Row(0), whole(3, 0));
        const bool expected = a.ToAABox().Intersect(b.ToAABox());
        ASSERT_EQ(a.Intersect(b), expected) << round;
        ASSERT_EQ(a.Intersect(b.ToAABox()), expected) << round;
    }
}

TEST(ObbOverlap, IsFalseForNotANumberAndNegativeSizes) {
    const MatrixSIMD44f axes = MatrixSIMD44f::IDENTITY;
    const VectorSIMD4f fields[5] = {VectorSIMD4f::ONE, axes.Row(0), axes.Row(1), axes.Row(2), VectorSIMD4f::ONE};
    const GeometryOBB good(fields[0], &fields[1], fields[4]);
    ASSERT_TRUE(good.Intersect(good));
    for (unsigned component = 0; component < 15; ++component) {
        for (const float bad : {std::numeric_limits<float>::quiet_NaN(), -5.0F}) {
            if (bad < 0 && component / 3 % 4 != 0) {
                continue; // an axis, which need not be perpendicular any more
            }
            VectorSIMD4f changed[5] = {fields[0], fields[1], fields[2], fields[3], fields[4]};
            changed[component / 3].Set(component % 3, bad);
            const GeometryOBB box(changed[0], &changed[1], changed[4]);
            EXPECT_FALSE(box.Intersect(good) || good.Intersect(box)) << bad << ' ' << component;
        }
    }
}

} // namespace
