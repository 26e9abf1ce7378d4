// Hunted here: a side that is not part of its box, or a lane that counts where it must not; corners and triangles in
// another order; boxes that change when they are converted, grown, moved or turned; empty and flat boxes; tolerances;
// touching that does not count, and a NaN that lets boxes overlap. The boxes' arithmetic is held to plain code by the
// digests.
#include "figures.h"

#include <algorithm>
#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/obb.h>

namespace {

using Z4::MatrixSIMD44f;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryOBB;
using namespace ZelkTest;
using ZelkTest::Same;

constexpr float GREATEST = std::numeric_limits<float>::max();

bool Is(const GeometryAABB& box, const V& min, const V& max) {
    return Same(box.GetMin(), min) && Same(box.GetMax(), max);
}
bool Same(const GeometryOBB& a, const GeometryOBB& b) {
    return std::memcmp(static_cast<const void*>(&a), static_cast<const void*>(&b), sizeof(a)) == 0;
}
V With(V v, unsigned lane, float number) {
    v.Set(lane, number);
    return v;
}

TEST(Aabb, MergesGrowsAndMoves) {
    const V points[] = {{1, 2, 3, 4}, {0, 0, 0, 0}, {-1, NOT, 5, -6}};
    const GeometryAABB none(points, 0);
    EXPECT_TRUE(Is(none, V::Broadcast(GREATEST), V::Broadcast(-GREATEST)) && !none.IsValid());
    const GeometryAABB one = none + points[0];
    EXPECT_TRUE(Is(one, points[0], points[0]) && one.IsValid());
    const GeometryAABB all(points, 3);
    EXPECT_TRUE(Is(all, V(-1, 0, 0, -6), V(1, 2, 5, 4)));
    EXPECT_TRUE(one + (GeometryAABB() + points[1]) + points[2] == all);
    EXPECT_TRUE(all + none == all && all.Contains(none));
    EXPECT_FALSE(none.Intersect(all) || all.Intersect(none));

    GeometryAABB box(V(1, 2, 3, -0.0F), V(5, 4, 3, -0.0F));
    EXPECT_TRUE(Is(box.GetExpandBy(2), {-1, 0, 1, -0.0F}, {7, 6, 5, -0.0F}));
    box.ExpandBy(V(1, -0.5F, 0, 9));
    box.SetSize(4, 3); // no such axis
    EXPECT_TRUE(Is(box, {0, 2.5F, 3, -0.0F}, {6, 3.5F, 3, -0.0F}));
    box.SetSize(4, 1);
    box.SetSize(2, 2);
    EXPECT_TRUE(Is(box, {0, -1, 1, -0.0F}, {6, 7, 5, -0.0F}));
    box.Translate(V(1, 1, 1, 1));
    EXPECT_TRUE(Is(box, {1, 0, 2, 1}, {7, 8, 6, 1}));
    EXPECT_TRUE(Same(box.GetFullExtent(), V(6, 8, 4, 0)));
    V center;
    V extent;
    box.GetCenterAndExtents(center, extent);
    EXPECT_TRUE(Same(center, V(4, 4, 4, 1)) && Same(extent, V(3, 4, 2, 0)));
    GeometryAABB rebuilt;
    rebuilt.SetCenterAndExtents(center, extent);
    EXPECT_TRUE(Is(rebuilt, box.GetMin(), box.GetMax()));
    rebuilt.Init();
    EXPECT_TRUE(rebuilt == none);
    EXPECT_EQ(GeometryAABB(V(0, 0, 0, 0), V(4, 6, 12, 99)).GetRadius(), 7.0F);
}

/// A box whose number at `index` is another.
template <class Box>
Box WithNumber(Box box, unsigned index, float number) {
    float numbers[sizeof(Box) / sizeof(float)];
    std::memcpy(numbers, static_cast<const void*>(&box), sizeof(box));
    numbers[index] = number;
    std::memcpy(static_cast<void*>(&box), numbers, sizeof(box));
    return box;
}

template <class Box>
void ExpectTolerance(const Box& box, float base, float tolerance, bool nanIsEqual) {
    for (unsigned index = 0; index < sizeof(Box) / sizeof(float); ++index) {
        for (const float change : {0.9F, -0.9F, 1.1F, -1.1F, NOT}) {
            EXPECT_EQ(WithNumber(box, index, base + change * tolerance) == box,
                      change == change ? std::fabs(change) < 1 : nanIsEqual)
                << index << ' ' << change;
        }
    }
}
TEST(Boxes, AreEqualWithinATolerance) {
    const V half = V::Broadcast(0.5F);
    const V axes[] = {half, half, half};
    ExpectTolerance(GeometryAABB(V::Broadcast(1), V::Broadcast(1)), 1, 2e-6F, false);
    ExpectTolerance(GeometryOBB(half, axes, half), 0.5F, 1e-6F, true);
}

/// Small whole numbers, so that sides touch, and NaN, against the same questions lane by lane.
TEST(Aabb, SidesBelongToTheBox) {
    Input input(6);
    for (unsigned round = 0; round < 40000; ++round) {
        const auto number = [&] { return input.OnceIn(40) ? NOT : static_cast<float>(input.Below(4)); };
        const auto point = [&] { return V{number(), number(), number(), number()}; };
        const GeometryAABB a{point(), point() + 2};
        const GeometryAABB b{point(), point() + 2};
        const V p = point();
        const V gap = point() - 2;
        bool flat[4] = {true, true, true, true};
        bool full[4] = {true, true, true, true};
        for (unsigned k = 0; k < 3; ++k) {
            const float low = a.GetMin()[k];
            const float high = a.GetMax()[k];
            const float otherLow = b.GetMin()[k];
            const float otherHigh = b.GetMax()[k];
            const bool answers[] = {low <= p[k] && p[k] <= high, low <= otherLow && otherHigh <= high,
                                    low <= otherHigh && otherLow <= high,
                                    low <= otherHigh + gap[k] && otherLow <= high + gap[k]};
            for (unsigned i = 0; i < 4; ++i) {
                full[i] = full[i] && answers[i];
                flat[i] = flat[i] && (k == 2 || answers[i]);
            }
        }
        ASSERT_TRUE(a.ContainsPoint2D(p) == flat[0] && a.Contains2D(b) == flat[1] && a.IntersectAABB2D(b) == flat[2])
            << round;
        ASSERT_TRUE(a.Contains(p) == full[0] && a.Contains(b) == full[1]) << round;
        ASSERT_TRUE(a.Intersect(b) == full[2] && a.Intersect(b, gap) == full[3]) << round;
        ASSERT_EQ(a.IsValid(), AllTrue3(LessEqual(a.GetMin(), a.GetMax()))) << round;
    }
}

TEST(Boxes, ShareCornersAndConvertIntoEachOther) {
    static constexpr int SIGNS[8][3] = {{-1, -1, -1}, {1, -1, -1}, {1, 1, -1}, {-1, 1, -1},
                                        {-1, 1, 1},   {-1, -1, 1}, {1, -1, 1}, {1, 1, 1}};
    const V min(-1, -2, -3, 8);
    const V max(3, 2, 5, 10);
    const GeometryAABB box(min, max);
    const GeometryOBB oriented(min, max);
    for (unsigned long i = 0; i < 8; ++i) {
        for (unsigned k = 0; k < 3; ++k) {
            const float side = SIGNS[i][k] < 0 ? min[k] : max[k];
            EXPECT_TRUE(box[i][k] == side && oriented[i][k] == side && oriented.GetBoxVertexConsistent(i)[k] == side);
        }
        EXPECT_EQ(box[i][3], i == 0 ? 8.0F : i == 7 ? 10.0F : 0.0F);
    }
    for (const V& center : {box[8], box[~0UL], oriented[8], oriented.GetBoxVertexConsistent(99)}) {
        EXPECT_TRUE(Same(center, V(1, 0, 1, 9)));
    }
    EXPECT_TRUE(Same(oriented.GetExtent(), V(2, 2, 4, 1)));
    EXPECT_TRUE(Same(box.ToOOBox(), oriented));
    GeometryAABB back;
    back.FromOOBox(oriented);
    EXPECT_TRUE(Is(back, V(-1, -2, -3, 0), V(3, 2, 5, 0)));
    EXPECT_EQ(GeometryAABB(V(0, 0, 0, 1), V(2, 2, 2, 0)).ToOOBox().GetExtent().X(), 1) << "w does not count";
    // An invalid box is all zeros, which is a point at the origin.
    static constexpr unsigned char ZEROS[sizeof(GeometryOBB)] = {};
    const GeometryAABB invalid(max, min);
    const GeometryOBB nothing = invalid.ToOOBox();
    EXPECT_EQ(std::memcmp(static_cast<const void*>(&nothing), ZEROS, sizeof(ZEROS)), 0);
    EXPECT_TRUE(GeometryOBB().Intersect(invalid) && !GeometryOBB(max, max + V::ONE).Intersect(invalid));
}

TEST(Obb, CoordinatesAreThoseOfTheCorners) {
    Input input(3);
    for (int round = 0; round < 20000 && !HasFailure(); ++round) {
        const V axes[3] = {EdgePoint(input), EdgePoint(input), EdgePoint(input)};
        const GeometryOBB box{EdgePoint(input), axes, EdgePoint(input)};
        GeometryAABB around;
        for (unsigned long i = 0; i < 8; ++i) {
            around += box[i];
        }
        V low;
        V high;
        box.GetMinAndMaxAllCoords(low, high);
        EXPECT_TRUE(low == around.GetMin() && high == around.GetMax()) << round;
        const unsigned axis = input.Below(3);
        EXPECT_TRUE(box.GetCoordMin(axis) == low[axis] && box.GetCoordMax(axis) == high[axis]) << round;
        EXPECT_TRUE(Is(box.ToAABox(), And(low, V::MASK_3D), And(high, V::MASK_3D))) << round;
    }
    EXPECT_EQ(GeometryOBB(V::ONE, V::ONE).GetCoordMax(3), 0.0F);
}

TEST(Obb, IsPlacedByMatrices) {
    MatrixSIMD44f m(V(0, 2, 0, 0), V(-3, 0, 0, 0), V(0, 0, 1, 0), V(10, 20, 30, 1));
    const GeometryOBB box(V::ZERO, V(2, 4, 6, 0));
    const GeometryOBB placed(V::ZERO, V(2, 4, 6, 0), m);
    EXPECT_TRUE(Same(placed.GetExtent(), V(1, 2, 3, 0)) && Same(placed.GetAxisDir()[1], m.Row(1))) << "not normalised";
    const GeometryOBB moved = box * m;
    GeometryOBB consistent(box);
    consistent.TransformConsistent(m);
    EXPECT_TRUE(Same(moved, consistent)) << "nothing is rounded here";
    EXPECT_TRUE(Same(moved.GetExtent(), V(2, 6, 3, 0)));
    EXPECT_TRUE(moved.GetMatrix() == MatrixSIMD44f(V::BASE_J, -V::BASE_I, V::BASE_K, V(4, 22, 33, 1)));
    for (unsigned long i = 0; i < 8; ++i) {
        const V expected = TransformPoint(box[i], m);
        EXPECT_TRUE(AllTrue3(Equal(placed[i], expected)) && AllTrue3(Equal(moved[i], expected))) << i;
    }
    m.Row(1) = V::ZERO;
    const GeometryOBB flat = box * m;
    EXPECT_TRUE(Same(flat.GetExtent(), V(2, 0, 3, 0)));
    EXPECT_TRUE(Same(flat.GetAxisDir()[1], V::BASE_J)) << "as before";
}

TEST(Obb, TurnsAboutItsCentre) {
    const float quarter = 1.57079633F;
    const V center(1, 2, 3, 1);
    const V extent(1, 2, 3, 0);
    GeometryOBB box(center, extent, V::ZERO);
    const GeometryOBB before(box);
    box.Rotate(V::ZERO, 1);
    EXPECT_TRUE(Same(box, before));
    box.Rotate(V(0, 0, 7, 0), quarter);
    const V turned[3] = {{0, 1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 1, 0}};
    EXPECT_TRUE(box == GeometryOBB(center, turned, extent));
    EXPECT_TRUE(box == GeometryOBB(center, extent, V(0, 0, quarter, 0)));

    // Many transforms leave unit axes, and a translation leaves all but the centre to the bit.
    Input input(4);
    for (int round = 0; round < 10000; ++round) {
        box *= RandomRotation(input);
        box.Rotate(RandomPoint(input, 5), input.Number(9));
    }
    for (unsigned k = 0; k < 3; ++k) {
        EXPECT_NEAR(Z4::Length3(box.GetAxisDir()[k]).X(), 1, 5.1e-7);
    }
    const GeometryOBB pushed = box * Z4::MakeTranslation<MatrixSIMD44f>(V(1, 2, 3, 0));
    box.SetCenter(pushed.GetCenter());
    EXPECT_TRUE(Same(pushed, box));
}

TEST(Obb, ChangesInPlace) {
    GeometryOBB box;
    EXPECT_TRUE(Same(box, GeometryOBB(V::ZERO, V::ZERO)));
    box.SetAABB(V(1, 2, 3, 4), V(5, 6, 7, -0.0F));
    box.ExpandBy(1);
    EXPECT_TRUE(Same(box.GetExtent(), V(6, 7, 8, -0.0F)));
    box.ExpandBy(V::ONE);
    EXPECT_TRUE(Same(box.GetExtent(), V(7, 8, 9, 1)));
    box.Translate(V::ONE);
    EXPECT_TRUE(Same(box.GetCenter(), V(2, 3, 4, 5)));
    const V skew[3] = {{1, 0, 0, 0}, {2, 1, 0, 0}, {3, 4, 5, 0}};
    const GeometryOBB skewed(V::ONE, skew, V(2, 3, 6, 9));
    EXPECT_TRUE(skewed.GetXYAxesCosAngle() == 2 && skewed.GetXZAxesCosAngle() == 3);
    EXPECT_TRUE(skewed.GetYZAxesCosAngle() == 10 && skewed.GetRadius() == 7);
}

/// They cover the surface, and face outward.
TEST(Obb, TrianglesHaveTheseCorners) {
    static constexpr unsigned short CORNERS[][3] = {{4, 5, 6}, {4, 6, 7}, {0, 3, 2}, {0, 2, 1}, {0, 5, 4},
                                                    {0, 4, 3}, {1, 2, 7}, {1, 7, 6}, {4, 7, 2}, {4, 2, 3},
                                                    {0, 1, 6}, {0, 6, 5}, {0, 0, 0}};
    for (unsigned long triangle = 0; triangle < std::size(CORNERS); ++triangle) {
        for (const bool flip : {false, true}) {
            unsigned short corner[3];
            GeometryOBB::GetFaceTriIndices(triangle, corner[0], corner[flip ? 2 : 1], corner[flip ? 1 : 2], flip);
            EXPECT_THAT(corner, testing::ElementsAreArray(CORNERS[triangle])) << flip;
        }
    }
}

/// Whole numbers and quarter turns leave nothing to round, so that touching counts to the bit, of flat boxes too.
TEST(Obb, IsExactForWholeNumbersAndQuarterTurns) {
    Input input(2);
    const MatrixSIMD44f turns[] = {MatrixSIMD44f::IDENTITY,
                                   {V::BASE_J, V::BASE_K, V::BASE_I, V::BASE_L},
                                   {-V::BASE_J, V::BASE_I, V::BASE_K, V::BASE_L}};
    for (unsigned round = 0; round < 40000; ++round) {
        const auto whole = [&input](unsigned count, int low) {
            float lanes[4] = {};
            for (unsigned k = 0; k < 3; ++k) {
                lanes[k] = static_cast<float>(static_cast<int>(input.Below(count)) + low);
            }
            return V::Load(lanes);
        };
        const V centerA = whole(5, -2);
        const GeometryOBB a(centerA, &turns[input.Below(3)].Row(0), whole(3, 0));
        const V centerB = whole(9, -4);
        const GeometryOBB b(centerB, &turns[input.Below(3)].Row(0), whole(3, 0));
        const GeometryAABB bounds = a.ToAABox();
        const bool expected = bounds.Intersect(b.ToAABox());
        ASSERT_EQ(a.Intersect(b), expected) << round;
        ASSERT_EQ(a.Intersect(b.ToAABox()), expected) << round;
        const V p = input.OnceIn(20) ? With(centerA, input.Below(3), NOT) : whole(9, -4);
        ASSERT_EQ(a.Contains(p), bounds.Contains(p)) << round;
        ASSERT_EQ(a.ContainsWithEpsilonConsistent(p, 0), bounds.Contains(p)) << round;
        ASSERT_EQ(a.ContainsWithEpsilonConsistent(p, 1), bounds.GetExpandBy(1).Contains(p)) << round;
    }
}

TEST(Obb, OverlapsNoneOfNotANumberOrNegativeSize) {
    const GeometryOBB good(V::ONE, V::ONE, V::ZERO);
    for (unsigned i = 0; i < sizeof(good) / sizeof(float); ++i) {
        const GeometryOBB bad = WithNumber(good, i, NOT);
        EXPECT_TRUE(bad.Intersect(good) == (i % 4 == 3) && good.Intersect(bad) == (i % 4 == 3)) << i;
    }
    const GeometryOBB negative(V::ONE, {1, -5, 1, 0}, V::ZERO);
    EXPECT_FALSE(negative.Intersect(good) || good.Intersect(negative));
}

} // namespace
