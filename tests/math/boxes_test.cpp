// Hunted here: a side that is not part of its box, or a lane that counts where it must not; corners and triangles in
// another order; boxes that change when they are converted, grown, moved or turned; empty and flat boxes; tolerances.
// The boxes' arithmetic is held to plain code by the digests.
#include "figures.h"

#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/obb.h>

namespace {

using V = Z4::VectorSIMD4f;
using Z4::MatrixSIMD44f;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryOBB;
using ZelkTest::Input;
using ZelkTest::Same;

constexpr float GREATEST = std::numeric_limits<float>::max();
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();

bool Is(const GeometryAABB& box, const V& min, const V& max) {
    return Same(box.GetMin(), min) && Same(box.GetMax(), max);
}
bool Same(const GeometryOBB& a, const GeometryOBB& b) {
    return std::memcmp(static_cast<const void*>(&a), static_cast<const void*>(&b), sizeof(a)) == 0;
}

TEST(Aabb, StartsEmptyAndMergesPoints) {
    GeometryAABB box(7);
    EXPECT_TRUE(Is(box, V::Broadcast(GREATEST), V::Broadcast(-GREATEST)));
    EXPECT_FALSE(box.IsValid());
    const V points[] = {{1, 2, 3, 4}, {0, 0, 0, 0}, {-1, NOT_A_NUMBER, 5, -6}};
    EXPECT_TRUE(GeometryAABB(points, 0) == GeometryAABB());
    const GeometryAABB one = box + points[0];
    EXPECT_TRUE(Is(one, points[0], points[0]) && one.IsValid());
    const GeometryAABB all(points, 3);
    EXPECT_TRUE(Is(all, V(-1, 0, 0, -6), V(1, 2, 5, 4)));
    EXPECT_TRUE(one + (GeometryAABB() + points[1]) + points[2] == all);
    EXPECT_TRUE(all + GeometryAABB() == all);
    box = all;
    box.Init();
    EXPECT_FALSE(box.Intersect(all) || all.Intersect(box));
    EXPECT_TRUE(all.Contains(box));
}

TEST(Aabb, GrowsAndMoves) {
    GeometryAABB box(V(1, 2, 3, -0.0F), V(5, 4, 3, -0.0F));
    EXPECT_TRUE(Is(box.GetExpandBy(2), {-1, 0, 1, -0.0F}, {7, 6, 5, -0.0F}));
    box.ExpandBy(V(1, -0.5F, 0, 9));
    EXPECT_TRUE(Is(box, {0, 2.5F, 3, -0.0F}, {6, 3.5F, 3, -0.0F}));
    box.SetSize(4, 3);
    EXPECT_TRUE(Is(box, {0, 2.5F, 3, -0.0F}, {6, 3.5F, 3, -0.0F}));
    box.SetSize(4, 1);
    box.SetSize(2, 2);
    EXPECT_TRUE(Is(box, {0, -1, 1, -0.0F}, {6, 7, 5, -0.0F}));
    box.Translate(V(1, 1, 1, 1));
    EXPECT_TRUE(Is(box, {1, 0, 2, 1}, {7, 8, 6, 1}));

    V center;
    V extent;
    box.GetCenterAndExtents(center, extent);
    EXPECT_TRUE(Same(center, V(4, 4, 4, 1)) && Same(extent, V(3, 4, 2, 0)));
    EXPECT_TRUE(Same(box.GetFullExtent(), V(6, 8, 4, 0)));
    EXPECT_EQ(GeometryAABB(V(0, 0, 0, 0), V(4, 6, 12, 99)).GetRadius(), 7.0F);
    GeometryAABB rebuilt;
    rebuilt.SetCenterAndExtents(center, extent);
    EXPECT_TRUE(Is(rebuilt, box.GetMin(), box.GetMax()));
}

TEST(Aabb, ComparesEachComponentWithATolerance) {
    float numbers[8] = {1, 1, 1, 1, 1, 1, 1, 1};
    const auto box = [&numbers] { return GeometryAABB(V::Load(numbers), V::Load(numbers + 4)); };
    const GeometryAABB original = box();
    for (float& number : numbers) {
        for (const float change : {1.9e-6F, -1.9e-6F, 3e-6F, -3e-6F, NOT_A_NUMBER}) {
            number = 1 + change;
            EXPECT_EQ(box() == original, std::fabs(change) < 2e-6F) << &number - numbers << ' ' << change;
        }
        number = 1;
    }
}

/// Every question, with a side of one box at a side of the other or just beyond it, in each lane.
TEST(Aabb, SidesBelongToTheBox) {
    const V min(-1, -2, -3, -4);
    const V max(1, 2, 3, 4);
    const GeometryAABB box(min, max);
    const auto with = [](V v, unsigned lane, float number) {
        v.Set(lane, number);
        return v;
    };
    for (unsigned k = 0; k < 4; ++k) {
        const bool in3 = k > 2;
        const bool in2 = k > 1;
        for (const float outward : {-GREATEST, GREATEST}) {
            const float side = outward < 0 ? min[k] : max[k];
            const float beyond = std::nextafter(side, outward);
            const V at = with(V::ZERO, k, side);
            const V off = with(V::ZERO, k, beyond);
            const V bad = with(V::ZERO, k, NOT_A_NUMBER);
            SCOPED_TRACE(testing::Message() << "lane " << k << " towards " << outward);
            EXPECT_TRUE(box.Contains(at) && box.ContainsPoint2D(at));
            EXPECT_EQ(box.Contains(off), in3);
            EXPECT_EQ(box.ContainsPoint2D(off), in2);
            EXPECT_EQ(box.Contains(bad), in3);
            EXPECT_EQ(box.ContainsPoint2D(bad), in2);
            EXPECT_TRUE(box.Contains(box) && box.Contains2D(box));
            GeometryAABB larger(box);
            (outward < 0 ? larger.GetMin() : larger.GetMax()).Set(k, beyond);
            EXPECT_EQ(box.Contains(larger), in3);
            EXPECT_EQ(box.Contains2D(larger), in2);
            EXPECT_TRUE(larger.Contains(box) && larger.Contains2D(box));
            // A box that touches at this side, and one that just does not.
            const V far = with(V::ZERO, k, outward / 2);
            const GeometryAABB touching(Min(at, far), Max(at, far));
            const GeometryAABB apart(Min(off, far), Max(off, far));
            EXPECT_TRUE(box.Intersect(touching) && touching.IntersectAABB2D(box));
            EXPECT_TRUE(box.Intersect(apart) == in3 && apart.Intersect(box) == in3);
            EXPECT_TRUE(box.IntersectAABB2D(apart) == in2 && apart.IntersectAABB2D(box) == in2);
            const V gap = with(V::ZERO, k, 0.5F);
            const V near = with(V::ZERO, k, side + std::copysign(0.5F, outward));
            const V farther = with(V::ZERO, k, std::nextafter(near[k], outward));
            for (const auto& [first, second] : {std::pair(near, true), std::pair(farther, in3)}) {
                const GeometryAABB other(Min(first, far), Max(first, far));
                EXPECT_TRUE(box.Intersect(other, gap) == second && other.Intersect(box, gap) == second);
            }
            EXPECT_EQ(box.Intersect(touching, -gap), in3) << "an overlap of that depth is asked for";
        }
        EXPECT_TRUE(GeometryAABB(max, max).IsValid());
        EXPECT_EQ(GeometryAABB(with(min, k, 5), max).IsValid(), in3);
        EXPECT_EQ(GeometryAABB(with(min, k, NOT_A_NUMBER), max).IsValid(), in3);
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
    EXPECT_TRUE(Same(box[8], V(1, 0, 1, 9)) && Same(box[~0UL], box[8]));
    EXPECT_TRUE(Same(oriented[8], V(1, 0, 1, 9)) && Same(oriented.GetBoxVertexConsistent(99), oriented[8]));
    EXPECT_TRUE(Same(oriented.GetExtent(), V(2, 2, 4, 1)));
    EXPECT_EQ(oriented.GetCoordMax(3), 0.0F);

    EXPECT_TRUE(Same(box.ToOOBox(), oriented));
    GeometryOBB from;
    from.FromAABox(box);
    EXPECT_TRUE(Same(from, oriented));
    GeometryAABB back;
    back.FromOOBox(oriented);
    EXPECT_TRUE(Is(back, V(-1, -2, -3, 0), V(3, 2, 5, 0)));
    static constexpr unsigned char ZEROS[sizeof(GeometryOBB)] = {};
    const GeometryOBB nothing = GeometryAABB(max, min).ToOOBox();
    EXPECT_EQ(std::memcmp(static_cast<const void*>(&nothing), ZEROS, sizeof(ZEROS)), 0);
    EXPECT_EQ(GeometryAABB(V(0, 0, 0, 1), V(2, 2, 2, 0)).ToOOBox().GetExtent().X(), 1) << "w does not count";
    // The zeroed form of an invalid box is a point at the origin.
    EXPECT_TRUE(GeometryOBB().Intersect(GeometryAABB(max, min)));
    EXPECT_FALSE(GeometryOBB(max, max + V::ONE).Intersect(GeometryAABB(max, min)));
}

GeometryOBB EdgeBox(Input& input) {
    const V axes[3] = {ZelkTest::EdgePoint(input), ZelkTest::EdgePoint(input), ZelkTest::EdgePoint(input)};
    return GeometryOBB{ZelkTest::EdgePoint(input), axes, ZelkTest::EdgePoint(input)};
}

TEST(Obb, CoordinatesAreThoseOfTheCorners) {
    Input input(3);
    for (int round = 0; round < 20000 && !HasFailure(); ++round) {
        const GeometryOBB box = EdgeBox(input);
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
        const GeometryAABB aligned = box.ToAABox();
        EXPECT_TRUE(aligned.GetMin() == And(low, V::MASK_3D) && aligned.GetMax() == And(high, V::MASK_3D)) << round;
    }
}

TEST(Obb, SidesBelongToTheBox) {
    const V extent(1, 2, 4, 0);
    const V axes[3] = {{0, 1, 0, 0}, {0, 0, -1, 0}, {-1, 0, 0, 0}};
    const V center(10, 20, 30, 1);
    const GeometryOBB box(center, axes, extent);
    for (unsigned k = 0; k < 3; ++k) {
        for (const float sign : {-1.0F, 1.0F}) {
            const V at = center + axes[k] * (sign * extent[k]);
            EXPECT_TRUE(box.Contains(at) && box.ContainsWithEpsilonConsistent(at, 0)) << k;
            const V off = center + axes[k] * (sign * (extent[k] + 0.125F));
            EXPECT_FALSE(box.Contains(off) || box.ContainsWithEpsilonConsistent(off, 0.0625F)) << k;
            EXPECT_TRUE(box.ContainsWithEpsilonConsistent(off, 0.125F)) << k;
        }
        V bad(center);
        bad.Set(k, NOT_A_NUMBER);
        EXPECT_FALSE(box.Contains(bad) || box.ContainsWithEpsilonConsistent(bad, 1));
    }
}

TEST(Obb, IsPlacedByMatrices) {
    MatrixSIMD44f m(V(0, 2, 0, 0), V(-3, 0, 0, 0), V(0, 0, 1, 0), V(10, 20, 30, 1));
    const V min(0, 0, 0, 0);
    const V max(2, 4, 6, 0);
    const GeometryOBB placed(min, max, m);
    EXPECT_TRUE(Same(placed.GetCenter(), V(4, 22, 33, 1)) && Same(placed.GetExtent(), V(1, 2, 3, 0)));
    EXPECT_TRUE(Same(placed.GetAxisDir()[1], m.Row(1))) << "not normalised";
    const GeometryOBB moved = GeometryOBB(min, max) * m;
    GeometryOBB consistent(min, max);
    consistent.TransformConsistent(m);
    EXPECT_TRUE(Same(moved, consistent)) << "nothing is rounded here";
    EXPECT_TRUE(Same(moved.GetExtent(), V(2, 6, 3, 0)));
    for (unsigned long i = 0; i < 8; ++i) {
        const V expected = TransformPoint(GeometryOBB(min, max)[i], m);
        EXPECT_TRUE(AllTrue3(Equal(placed[i], expected)) && AllTrue3(Equal(moved[i], expected))) << i;
    }
    EXPECT_TRUE(moved.GetMatrix() == MatrixSIMD44f(V::BASE_J, -V::BASE_I, V::BASE_K, V(4, 22, 33, 1)));
    m.Row(1) = V::ZERO;
    const GeometryOBB flat = GeometryOBB(min, max) * m;
    EXPECT_TRUE(Same(flat.GetExtent(), V(2, 0, 3, 0)));
    EXPECT_TRUE(Same(flat.GetAxisDir()[1], V::BASE_J)) << "as before";

    // Many transforms leave unit axes, and a translation leaves all but the centre to the bit.
    Input input(4);
    GeometryOBB box(V::ONE, V::ONE, V(1, 2, 3, 0));
    for (int round = 0; round < 10000; ++round) {
        box *= ZelkTest::RandomRotation(input);
        box.Rotate(ZelkTest::RandomPoint(input, 5), input.Number(9));
    }
    for (unsigned k = 0; k < 3; ++k) {
        EXPECT_NEAR(Z4::Length3(box.GetAxisDir()[k]).X(), 1, 5.1e-7);
    }
    const GeometryOBB pushed = box * Z4::MakeTranslation<MatrixSIMD44f>(V(1, 2, 3, 0));
    GeometryOBB shifted(box);
    shifted.SetCenter(pushed.GetCenter());
    EXPECT_TRUE(Same(pushed, shifted));
}

/// Transform sums from the translation, TransformConsistent from left to right.
TEST(Obb, FormsDifferInTheOrderOfTheirSums) {
    // In floats 1e8 + 1 is 1e8.
    const MatrixSIMD44f m(V(1, 0, 0, 0), V(-1e8F, 1, 0, 0), V(1e8F, 0, 1, 0), V(3, 0, 0, 1));
    GeometryOBB box(V::ONE, V::ZERO, V::ZERO);
    EXPECT_EQ((box * m).GetCenter().X(), 1);
    box.TransformConsistent(m);
    EXPECT_EQ(box.GetCenter().X(), 3);
    const V axes[3] = {{1, 0, 0, 0}, {1e8F, 1, 0, 0}, {-1e8F, 0, 1, 0}};
    const GeometryOBB skewed(V(1, 0, 0, 0), axes, V::ONE);
    EXPECT_EQ(skewed.GetBoxVertex(7).X(), 2);
    EXPECT_EQ(skewed.GetBoxVertexConsistent(7).X(), 0);
}

TEST(Obb, TurnsAboutItsCentre) {
    const float quarter = 1.57079633F;
    const V center(1, 2, 3, 1);
    const V extent(1, 2, 3, 0);
    GeometryOBB box(center, extent, V(0, 0, 0, 0));
    const GeometryOBB before(box);
    box.Rotate(V(0, 0, 0, 0), 1);
    EXPECT_TRUE(Same(box, before));
    box.Rotate(V(0, 0, 7, 0), quarter);
    const V turned[3] = {{0, 1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 1, 0}};
    EXPECT_TRUE(box == GeometryOBB(center, turned, extent));
    EXPECT_TRUE(box == GeometryOBB(center, extent, V(0, 0, quarter, 0)));
    const V skew[3] = {{1, 0, 0, 0}, {2, 1, 0, 0}, {3, 4, 5, 0}};
    const GeometryOBB skewed(center, skew, V(2, 3, 6, 9));
    EXPECT_EQ(skewed.GetXYAxesCosAngle(), 2.0F);
    EXPECT_EQ(skewed.GetXZAxesCosAngle(), 3.0F);
    EXPECT_EQ(skewed.GetYZAxesCosAngle(), 10.0F);
    EXPECT_EQ(skewed.GetRadius(), 7.0F);
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

    float numbers[20];
    std::memcpy(static_cast<void*>(numbers), &box, sizeof(box));
    for (float& number : numbers) {
        number = 0.5F;
    }
    const auto made = [&numbers] {
        GeometryOBB result;
        std::memcpy(static_cast<void*>(&result), numbers, sizeof(result));
        return result;
    };
    const GeometryOBB original = made();
    for (float& number : numbers) {
        for (const float change : {0.9e-6F, -0.9e-6F, 1.1e-6F, -1.1e-6F}) {
            number = 0.5F + change;
            EXPECT_EQ(made() == original, std::fabs(change) < 1e-6F) << &number - numbers;
        }
        number = 0.5F;
    }
}

TEST(Obb, TrianglesCoverTheSurfaceFacingOutward) {
    const GeometryOBB box(V(1, 2, 3, 0), V(1, 2, 3, 0), V(1, 1, 1, 0));
    static constexpr unsigned short CORNERS[][3] = {{4, 5, 6}, {4, 6, 7}, {0, 3, 2}, {0, 2, 1}, {0, 5, 4},
                                                    {0, 4, 3}, {1, 2, 7}, {1, 7, 6}, {4, 7, 2}, {4, 2, 3},
                                                    {0, 1, 6}, {0, 6, 5}, {0, 0, 0}};
    float area = 0;
    for (unsigned long triangle = 0; triangle < 13; ++triangle) {
        const unsigned short(&expected)[3] = CORNERS[triangle];
        unsigned short corner[3];
        GeometryOBB::GetFaceTriIndices(triangle, corner[0], corner[1], corner[2], false);
        EXPECT_THAT(corner, testing::ElementsAreArray(expected));
        GeometryOBB::GetFaceTriIndices(triangle, corner[0], corner[2], corner[1], true);
        EXPECT_THAT(corner, testing::ElementsAreArray(expected));
        const V normal = Cross3(box[corner[1]] - box[corner[0]], box[corner[2]] - box[corner[0]]);
        EXPECT_TRUE(triangle == 12 || Dot3(normal, box[corner[0]] - box.GetCenter()).X() > 0) << triangle;
        area += Z4::Length3(normal).X() / 2;
    }
    EXPECT_NEAR(area, 8 * (1 * 2 + 2 * 3 + 3 * 1), 1e-3);
}

} // namespace
