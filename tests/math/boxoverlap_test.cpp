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
    return {double{v[0]}, double{v[1]}, double{v[2]}};
}

/// A box in double precision, its half-sizes greater by `growth`, which should exceed what double precision rounds: an
/// edge along a side would be on either.
struct WideBox {
    WideBox(const GeometryOBB& box, double growth) : center(Wide(box.GetCenter())) {
        for (unsigned k = 0; k < 3; ++k) {
            axes[k] = Wide(box.GetAxisDir()[k]);
            extent[k] = double{box.GetExtent()[k]} + growth;
        }
    }
    /// Whether the segment from `p` to `q` meets the box: what is left of it after clipping by all slabs.
    bool Meets(const Vector3d& p, const Vector3d& q) const {
        double first = 0;
        double last = 1;
        for (unsigned k = 0; k < 3; ++k) {
            const double start = Dot(p - center, axes[k]);
            const double way = Dot(q - p, axes[k]);
            if (way == 0) {
                if (std::fabs(start) > extent[k]) {
                    return false;
                }
                continue;
            }
            const double in = (-extent[k] - start) / way;
            const double out = (extent[k] - start) / way;
            first = std::max(first, std::min(in, out));
            last = std::min(last, std::max(in, out));
        }
        return first <= last;
    }
    bool MeetsEdgeOf(const WideBox& other) const {
        for (unsigned k = 0; k < 3; ++k) {
            const Vector3d along = other.axes[k] * other.extent[k];
            const Vector3d across1 = other.axes[(k + 1) % 3] * other.extent[(k + 1) % 3];
            const Vector3d across2 = other.axes[(k + 2) % 3] * other.extent[(k + 2) % 3];
            for (unsigned edge = 0; edge < 4; ++edge) {
                const Vector3d middle =
                    other.center + across1 * (edge % 2 == 0 ? -1.0 : 1.0) + across2 * (edge < 2 ? -1.0 : 1.0);
                if (Meets(middle - along, middle + along)) {
                    return true;
                }
            }
        }
        return false;
    }

    Vector3d center;
    Vector3d axes[3];
    double extent[3];
};

/// Two convex bodies have a point in common when an edge of one meets the other or one lies within the other, which
/// then has all edges of the first: no axis is tried.
bool Overlap(const WideBox& a, const WideBox& b) {
    return a.MeetsEdgeOf(b) || b.MeetsEdgeOf(a);
}
/// Whether no gap up to `distance` lies between the boxes.
bool OverlapNearly(const GeometryOBB& a, const GeometryOBB& b, double distance) {
    return Overlap(WideBox(a, distance), WideBox(b, 0));
}
/// Whether the boxes overlap wherever one of them is moved by up to `distance` / sqrt(3): the positions at which they
/// do are convex, so six of them stand for all between.
bool OverlapFirmly(const GeometryOBB& a, const GeometryOBB& b, double distance) {
    for (const Vector3d& axis : {Vector3d::BASE_I, Vector3d::BASE_J, Vector3d::BASE_K}) {
        for (const double way : {-distance, distance}) {
            WideBox moved(b, 0);
            moved.center += axis * way;
            if (!Overlap(WideBox(a, 1e-9 * distance), moved)) {
                return false;
            }
        }
    }
    return true;
}

/// The least sine of the angles between edges of the two boxes.
double LeastSine(const GeometryOBB& a, const GeometryOBB& b) {
    double least = 1;
    for (unsigned i = 0; i < 9; ++i) {
        least = std::min(least, Length(Cross(Wide(a.GetAxisDir()[i / 3]), Wide(b.GetAxisDir()[i % 3]))));
    }
    return least;
}

GeometryOBB RandomBox(Input& input, const MatrixSIMD44f& rotation) {
    float extent[3];
    for (float& size : extent) {
        // From long beams to plates, segments and points.
        size = input.Below(4) == 0 ? 0 : static_cast<float>(std::pow(10, input.Number(-2, 1)));
    }
    return {VectorSIMD4f(0, 0, 0, 0), &rotation.Row(0), VectorSIMD4f(extent[0], extent[1], extent[2], 0)};
}

/// Moves `b` until it nearly touches `a`, as seen along a random direction.
void BringNear(Input& input, const GeometryOBB& a, GeometryOBB& b) {
    const Vector3d way{input.Number(-1, 1), input.Number(-1, 1), input.Number(-1, 1)};
    const Vector3d start = Wide(a[input.Below(input.Below(2) == 0 ? 8 : 9)]);
    const auto place = [&](double distance) {
        const Vector3d center = start + way * distance;
        b.SetCenter(VectorSIMD4f(static_cast<float>(center[0]), static_cast<float>(center[1]),
                                 static_cast<float>(center[2]), 0));
    };
    double near = 0;
    double far = 100;
    for (int step = 0; step < 30; ++step) {
        const double middle = (near + far) / 2;
        place(middle);
        (OverlapNearly(a, b, 1e-12) ? near : far) = middle;
    }
    place(input.Below(2) == 0 ? near * input.Number(0.9, 1) : far + std::pow(10, input.Number(-4, 0)));
}

TEST(ObbOverlap, AgreesWithEdgesAgainstSolids) {
    Input input(1);
    unsigned overlapping = 0;
    unsigned apart = 0;
    constexpr unsigned ROUNDS = 10000;
    for (unsigned round = 0; round < ROUNDS; ++round) {
        const MatrixSIMD44f rotation = ZelkTest::RandomRotation(input);
        // Any orientation, or nearly or exactly that of the first.
        const double angles[] = {3 * input.Number(-1, 1), std::pow(10, input.Number(-8, -1)), 0};
        const VectorSIMD4f otherAxis(1, input.Number(1.0F), static_cast<float>(input.Below(2)), 0);
        const auto turn = Z4::MakeRotation<MatrixSIMD44f>(otherAxis, angles[input.Below(3)]);
        const GeometryOBB a = RandomBox(input, rotation);
        GeometryOBB b = RandomBox(input, rotation * turn);
        BringNear(input, a, b);

        const double sizes = double{a.GetRadius()} + double{b.GetRadius()} + Length(Wide(b.GetCenter()));
        const double guard = std::min(2e-3, 2e-6 / std::max(1e-30, LeastSine(a, b)));
        const bool found = a.Intersect(b);
        if (OverlapFirmly(a, b, 1e-5 * sizes)) {
            ASSERT_TRUE(found && b.Intersect(a)) << round;
            ++overlapping;
        }
        if (!OverlapNearly(a, b, std::max(1e-5, guard) * sizes)) {
            ASSERT_FALSE(found || b.Intersect(a)) << round;
            ++apart;
        }
    }
    EXPECT_GT(overlapping, ROUNDS / 5);
    EXPECT_GT(apart, ROUNDS / 5);
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
