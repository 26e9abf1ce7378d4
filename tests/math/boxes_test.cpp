#include "random.h"

#include <algorithm>
#include <array>
#include <bit>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <vector>
#include <zelk_core/math/geometry/aabb.h>
#include <zelk_core/math/geometry/obb.h>

namespace {

using Z4::MatrixSIMD44f;
using Z4::VectorSIMD4f;
using Z4::Geometry::GeometryAABB;
using Z4::Geometry::GeometryOBB;
using ZelkTest::Random;

constexpr float GREATEST = std::numeric_limits<float>::max();
constexpr float INF = std::numeric_limits<float>::infinity();
constexpr float NOT_A_NUMBER = std::numeric_limits<float>::quiet_NaN();
constexpr int SIGNS[8][3] = {{-1, -1, -1}, {1, -1, -1}, {1, 1, -1}, {-1, 1, -1},
                             {-1, 1, 1},   {-1, -1, 1}, {1, -1, 1}, {1, 1, 1}};

/// The same bits, where one NaN is as good as another: which of two NaNs a sum returns is the compiler's choice.
bool Same(float a, float b) {
    return std::bit_cast<std::uint32_t>(a) == std::bit_cast<std::uint32_t>(b) || (std::isnan(a) && std::isnan(b));
}
bool Same(const VectorSIMD4f& a, const VectorSIMD4f& b) {
    return Same(a[0], b[0]) && Same(a[1], b[1]) && Same(a[2], b[2]) && Same(a[3], b[3]);
}
bool Same(const GeometryOBB& a, const GeometryOBB& b) {
    const VectorSIMD4f* const x = a.GetAxisDir();
    const VectorSIMD4f* const y = b.GetAxisDir();
    return Same(a.GetCenter(), b.GetCenter()) && Same(x[0], y[0]) && Same(x[1], y[1]) && Same(x[2], y[2]) &&
           Same(a.GetExtent(), b.GetExtent());
}

VectorSIMD4f RandomVector(Random& random, float size, float w = 0) {
    const auto number = [&] { return static_cast<float>(random.Number(-size, size)); };
    const float x = number();
    const float y = number();
    return {x, y, number(), w};
}
VectorSIMD4f EdgeVector(Random& random) {
    constexpr float EDGES[] = {0, -0.0F, 1e-45F, -1e-20F, 1e19F, -GREATEST, INF, -INF, NOT_A_NUMBER};
    float lanes[4];
    for (float& lane : lanes) {
        lane = random.Index(8) == 0 ? EDGES[random.Index(9)] : static_cast<float>(random.Number(-10, 10));
    }
    return VectorSIMD4f::Load(lanes);
}
/// Any rotation, without the platform's sine: the rows that a quaternion stands for.
MatrixSIMD44f RandomRotation(Random& random) {
    double q[4];
    double square = 0;
    for (double& component : q) {
        component = random.Number(-1, 1);
        square += component * component;
    }
    MatrixSIMD44f m = MatrixSIMD44f::IDENTITY;
    for (unsigned i = 0; i < 3; ++i) {
        const unsigned j = (i + 1) % 3;
        const unsigned k = (i + 2) % 3;
        m.Row(i).Set(i, static_cast<float>(1 - 2 * (q[j] * q[j] + q[k] * q[k]) / square));
        m.Row(i).Set(j, static_cast<float>(2 * (q[i] * q[j] + q[k] * q[3]) / square));
        m.Row(i).Set(k, static_cast<float>(2 * (q[i] * q[k] - q[j] * q[3]) / square));
    }
    return m;
}
GeometryOBB RandomBox(Random& random, float spread, float size) {
    const VectorSIMD4f center = RandomVector(random, spread);
    return {center, &RandomRotation(random).Row(0), Abs(RandomVector(random, size))};
}
/// Any axes at all, numbers of every kind.
GeometryOBB EdgeBox(Random& random) {
    const VectorSIMD4f center = EdgeVector(random);
    const VectorSIMD4f axes[3] = {EdgeVector(random), EdgeVector(random), EdgeVector(random)};
    return {center, axes, EdgeVector(random)};
}

TEST(Aabb, StartsEmptyAndMergesPoints) {
    GeometryAABB box(7);
    EXPECT_TRUE(Same(box.GetMin(), VectorSIMD4f::Broadcast(GREATEST)));
    EXPECT_TRUE(Same(box.GetMax(), VectorSIMD4f::Broadcast(-GREATEST)));
    EXPECT_FALSE(box.IsValid());
    const VectorSIMD4f points[] = {{1, 2, 3, 4}, {-1, NOT_A_NUMBER, 5, -6}, {0, 0, 0, 0}};
    EXPECT_TRUE(GeometryAABB(points, 0) == GeometryAABB());
    const GeometryAABB one = box + points[0];
    EXPECT_TRUE(Same(one.GetMin(), points[0]) && Same(one.GetMax(), points[0]) && one.IsValid());
    const GeometryAABB all(points, 3);
    EXPECT_TRUE(Same(all.GetMin(), VectorSIMD4f(-1, 0, 0, -6)) && Same(all.GetMax(), VectorSIMD4f(1, 2, 5, 4)));
    EXPECT_TRUE(one + (GeometryAABB() + points[1] + points[2]) == all);
    EXPECT_TRUE(all + GeometryAABB() == all);
    box = all;
    box.Init();
    EXPECT_FALSE(box.Intersect(all) || all.Intersect(box));
    EXPECT_TRUE(all.Contains(box));
}

TEST(Aabb, GrowsAndMoves) {
    const GeometryAABB box(VectorSIMD4f(1, 2, 3, -0.0F), VectorSIMD4f(5, 4, 3, -0.0F));
    const auto is = [](const GeometryAABB& b, const VectorSIMD4f& min, const VectorSIMD4f& max) {
        return Same(b.GetMin(), min) && Same(b.GetMax(), max);
    };
    EXPECT_TRUE(is(box.GetExpandBy(2), {-1, 0, 1, -0.0F}, {7, 6, 5, -0.0F}));
    GeometryAABB changed(box);
    changed.ExpandBy(VectorSIMD4f(1, -0.5F, 0, 9));
    EXPECT_TRUE(is(changed, {0, 2.5F, 3, -0.0F}, {6, 3.5F, 3, -0.0F}));
    changed.SetSize(4, 3);
    EXPECT_TRUE(is(changed, {0, 2.5F, 3, -0.0F}, {6, 3.5F, 3, -0.0F}));
    changed.SetSize(4, 1);
    EXPECT_TRUE(is(changed, {0, -1, 3, -0.0F}, {6, 7, 3, -0.0F}));
    GeometryAABB deep(changed);
    deep.SetSize(2, 2);
    EXPECT_TRUE(is(deep, {0, -1, 1, -0.0F}, {6, 7, 5, -0.0F}));
    changed.Translate(VectorSIMD4f(1, 1, 1, 1));
    EXPECT_TRUE(is(changed, {1, 0, 4, 1}, {7, 8, 4, 1}));

    VectorSIMD4f center;
    VectorSIMD4f extent;
    changed.GetCenterAndExtents(center, extent);
    EXPECT_TRUE(Same(center, VectorSIMD4f(4, 4, 4, 1)) && Same(extent, VectorSIMD4f(3, 4, 0, 0)));
    EXPECT_TRUE(Same(changed.GetFullExtent(), VectorSIMD4f(6, 8, 0, 0)));
    EXPECT_EQ(changed.GetRadius(), 5.0F);
    GeometryAABB rebuilt;
    rebuilt.SetCenterAndExtents(center, extent);
    EXPECT_TRUE(rebuilt == changed);
    rebuilt.GetMin().SetW(1 + 1e-6F);
    EXPECT_TRUE(rebuilt == changed);
    rebuilt.GetMin().SetW(1 + 3e-6F);
    EXPECT_FALSE(rebuilt == changed);
}

TEST(Aabb, QuestionsAgreeWithPlainComparisons) {
    Random random(1);
    const auto vector = [&random] {
        constexpr float VALUES[] = {-2, -1, 0, 1, 2, 3, INF, -INF, NOT_A_NUMBER};
        float lanes[4];
        for (float& lane : lanes) {
            lane = VALUES[random.Index(random.Index(8) == 0 ? 9 : 6)];
        }
        return VectorSIMD4f::Load(lanes);
    };
    for (int round = 0; round < 100000; ++round) {
        const VectorSIMD4f a[2] = {vector(), vector()};
        const VectorSIMD4f b[2] = {vector(), vector()};
        const VectorSIMD4f t = vector();
        bool valid = true;
        // Of x and y, then of z too.
        bool hasPoint[2] = {true, true};
        bool hasBox[2] = {true, true};
        bool meets[2] = {true, true};
        bool meetsNearly = true;
        for (unsigned k = 0; k < 3; ++k) {
            valid = valid && a[0][k] <= a[1][k];
            for (unsigned space = k == 2 ? 1 : 0; space < 2; ++space) {
                hasPoint[space] = hasPoint[space] && a[0][k] <= t[k] && t[k] <= a[1][k];
                hasBox[space] = hasBox[space] && a[0][k] <= b[0][k] && b[1][k] <= a[1][k];
                meets[space] = meets[space] && a[0][k] <= b[1][k] && b[0][k] <= a[1][k];
            }
            meetsNearly = meetsNearly && a[0][k] <= b[1][k] + t[k] && b[0][k] <= a[1][k] + t[k];
        }
        const GeometryAABB box(a[0], a[1]);
        const GeometryAABB other(b[0], b[1]);
        ASSERT_EQ(box.IsValid(), valid);
        ASSERT_EQ(box.ContainsPoint2D(t), hasPoint[0]);
        ASSERT_EQ(box.Contains(t), hasPoint[1]);
        ASSERT_EQ(box.Contains2D(other), hasBox[0]);
        ASSERT_EQ(box.Contains(other), hasBox[1]);
        ASSERT_EQ(box.IntersectAABB2D(other), meets[0]);
        ASSERT_EQ(box.Intersect(other), meets[1]);
        ASSERT_EQ(box.Intersect(other, t), meetsNearly);
    }
}

TEST(Boxes, ShareCornersAndConvertIntoEachOther) {
    const VectorSIMD4f min(-1, -2, -3, 8);
    const VectorSIMD4f max(3, 2, 5, 10);
    const GeometryAABB box(min, max);
    const GeometryOBB oriented(min, max);
    for (unsigned long i = 0; i < 8; ++i) {
        for (unsigned k = 0; k < 3; ++k) {
            const float side = SIGNS[i][k] < 0 ? min[k] : max[k];
            EXPECT_EQ(box[i][k], side);
            EXPECT_EQ(oriented[i][k], side);
        }
        EXPECT_EQ(box[i][3], i == 0 ? 8.0F : i == 7 ? 10.0F : 0.0F);
    }
    EXPECT_TRUE(Same(box[8], VectorSIMD4f(1, 0, 1, 9)) && Same(box[~0UL], box[8]));
    EXPECT_TRUE(Same(oriented[8], VectorSIMD4f(1, 0, 1, 9)) && Same(oriented.GetBoxVertexConsistent(99), oriented[8]));
    EXPECT_TRUE(Same(oriented.GetExtent(), VectorSIMD4f(2, 2, 4, 1)));

    EXPECT_TRUE(Same(box.ToOOBox(), oriented));
    GeometryOBB from;
    from.FromAABox(box);
    EXPECT_TRUE(Same(from, oriented));
    GeometryAABB back;
    back.FromOOBox(oriented);
    EXPECT_TRUE(Same(back.GetMin(), VectorSIMD4f(-1, -2, -3, 0)) && Same(back.GetMax(), VectorSIMD4f(3, 2, 5, 0)));
    const GeometryOBB nothing = GeometryAABB(max, min).ToOOBox();
    static constexpr unsigned char ZEROS[sizeof(GeometryOBB)] = {};
    EXPECT_EQ(std::memcmp(static_cast<const void*>(&nothing), ZEROS, sizeof(ZEROS)), 0);
    // The zeroed form of an invalid box is a point at the origin.
    EXPECT_TRUE(GeometryOBB().Intersect(GeometryAABB(max, min)));
    EXPECT_FALSE(GeometryOBB(max, max + VectorSIMD4f::ONE).Intersect(GeometryAABB(max, min)));
}

/// What a scalar implementation calculates, in one of the two orders.
struct PlainBox {
    explicit PlainBox(const GeometryOBB& box, bool consistent) : leftToRight(consistent) {
        box.GetCenter().Store(center);
        box.GetExtent().Store(extent);
        for (unsigned k = 0; k < 3; ++k) {
            box.GetAxisDir()[k].Store(axes[k]);
        }
    }
    float Dot(const float* a, const float* b) const {
        return leftToRight ? a[0] * b[0] + a[1] * b[1] + a[2] * b[2] : a[0] * b[0] + (a[1] * b[1] + a[2] * b[2]);
    }
    bool Contains(const VectorSIMD4f& p, float eps) const {
        const float d[3] = {p[0] - center[0], p[1] - center[1], p[2] - center[2]};
        for (unsigned k = 0; k < 3; ++k) {
            if (!(extent[k] + eps >= std::fabs(Dot(axes[k], d)))) {
                return false;
            }
        }
        return true;
    }
    VectorSIMD4f Corner(unsigned i) const {
        float lanes[4];
        for (unsigned k = 0; k < 4; ++k) {
            float term[3];
            for (unsigned axis = 0; axis < 3; ++axis) {
                term[axis] = static_cast<float>(SIGNS[i][axis]) * extent[axis] * axes[axis][k];
            }
            lanes[k] =
                leftToRight ? center[k] + term[0] + term[1] + term[2] : center[k] + (term[0] + (term[1] + term[2]));
        }
        return VectorSIMD4f::Load(lanes);
    }
    void Map(float (&v)[4], const MatrixSIMD44f& m, bool isPoint) const {
        float result[4];
        for (unsigned k = 0; k < 4; ++k) {
            const float x = v[0] * m.Row(0)[k];
            const float y = v[1] * m.Row(1)[k];
            const float z = v[2] * m.Row(2)[k];
            const float t = m.Row(3)[k];
            if (leftToRight) {
                result[k] = isPoint ? x + y + z + t : x + y + z;
            } else {
                result[k] = isPoint ? z + t + y + x : z + y + x;
            }
        }
        std::memcpy(v, result, sizeof(v));
    }
    void Transform(const MatrixSIMD44f& m) {
        for (unsigned k = 0; k < 3; ++k) {
            const auto before = std::to_array(axes[k]);
            Map(axes[k], m, false);
            const float square = Dot(axes[k], axes[k]);
            if (!(std::fabs(square - 1) > 1e-6F)) {
                continue;
            }
            const float length = std::sqrt(square);
            for (unsigned lane = 0; lane < 4; ++lane) {
                axes[k][lane] = length == 0 ? before[lane] : axes[k][lane] / length;
            }
            extent[k] = length == 0 ? 0 : extent[k] * length;
        }
        Map(center, m, true);
        center[3] = 1;
    }
    GeometryOBB Box() const {
        const VectorSIMD4f rows[3] = {VectorSIMD4f::Load(axes[0]), VectorSIMD4f::Load(axes[1]),
                                      VectorSIMD4f::Load(axes[2])};
        return {VectorSIMD4f::Load(center), rows, VectorSIMD4f::Load(extent)};
    }

    bool leftToRight;
    float center[4];
    float axes[3][4];
    float extent[4];
};

/// What BothFormsGiveTheBitsOfPlainCode gets from the consistent forms.
constexpr std::uint64_t CONSISTENT_DIGEST = 9469662751534921556U;

/// Results of pseudo-random queries, as one number.
class Digest {
public:
    void Add(float value) {
        const auto bits = std::isnan(value) ? 0x7FC00000U : std::bit_cast<std::uint32_t>(value);
        m_hash = (m_hash ^ bits) * 0x100000001B3;
        m_hash ^= m_hash >> 32;
    }
    void Add(const VectorSIMD4f& v) {
        for (unsigned k = 0; k < 4; ++k) {
            Add(v[k]);
        }
    }
    void Add(const GeometryOBB& box) {
        Add(box.GetCenter());
        Add(box.GetExtent());
        for (unsigned k = 0; k < 3; ++k) {
            Add(box.GetAxisDir()[k]);
        }
    }
    std::uint64_t Value() const { return m_hash; }

private:
    std::uint64_t m_hash = 0xCBF29CE484222325;
};

TEST(Obb, BothFormsGiveTheBitsOfPlainCode) {
    Random random(2);
    Digest digest;
    unsigned inside = 0;
    for (unsigned round = 0; round < 100000; ++round) {
        const bool isOrdinary = round % 4 != 0;
        const GeometryOBB box = isOrdinary ? RandomBox(random, 5, 3) : EdgeBox(random);
        const PlainBox plain(box, true);
        const PlainBox plainFast(box, false);
        const unsigned corner = random.Index(8);
        const float eps = static_cast<float>(random.Number(-0.5, 1));
        const VectorSIMD4f point = isOrdinary             ? box.GetCenter() + RandomVector(random, 2)
                                   : random.Index(2) == 0 ? box[corner]
                                                          : EdgeVector(random);

        ASSERT_TRUE(Same(box.GetBoxVertexConsistent(corner), plain.Corner(corner))) << round;
        ASSERT_TRUE(Same(box.GetBoxVertex(corner), plainFast.Corner(corner))) << round;
        ASSERT_EQ(box.ContainsWithEpsilonConsistent(point, eps), plain.Contains(point, eps)) << round;
        ASSERT_EQ(box.Contains(point), plainFast.Contains(point, 0)) << round;
        inside += box.Contains(point) ? 1U : 0U;

        MatrixSIMD44f m = RandomRotation(random);
        m.Row(3) = RandomVector(random, 9, 1);
        const unsigned row = random.Index(4);
        if (round % 16 == 0) {
            m.Row(row) = EdgeVector(random);
        } else if (round % 3 == 0) {
            m.Row(row) *= static_cast<float>(random.Number(0, 2));
        }
        GeometryOBB consistent(box);
        consistent.TransformConsistent(m);
        PlainBox transformed(plain);
        transformed.Transform(m);
        ASSERT_TRUE(Same(consistent, transformed.Box())) << round;
        PlainBox transformedFast(plainFast);
        transformedFast.Transform(m);
        ASSERT_TRUE(Same(box * m, transformedFast.Box())) << round;

        digest.Add(box.GetBoxVertexConsistent(corner));
        digest.Add(box.ContainsWithEpsilonConsistent(point, eps) ? 1.0F : 0.0F);
        digest.Add(consistent);
    }
    EXPECT_GT(inside, 10000U);
    EXPECT_LT(inside, 60000U);
    EXPECT_EQ(digest.Value(), CONSISTENT_DIGEST) << "every compiler gives this one";
}

TEST(Obb, CoordinatesAreThoseOfTheCorners) {
    Random random(3);
    for (int round = 0; round < 20000; ++round) {
        const GeometryOBB box = random.Index(2) == 0 ? RandomBox(random, 5, 3) : EdgeBox(random);
        GeometryAABB around;
        for (unsigned long i = 0; i < 8; ++i) {
            around += box[i];
        }
        VectorSIMD4f low;
        VectorSIMD4f high;
        box.GetMinAndMaxAllCoords(low, high);
        ASSERT_TRUE(low == around.GetMin() && high == around.GetMax()) << round;
        const unsigned axis = random.Index(3);
        ASSERT_EQ(box.GetCoordMin(axis), low[axis]);
        ASSERT_EQ(box.GetCoordMax(axis), high[axis]);
        around.GetMin().SetW(0);
        around.GetMax().SetW(0);
        ASSERT_TRUE(box.ToAABox().GetMin() == around.GetMin() && box.ToAABox().GetMax() == around.GetMax());
    }
    EXPECT_EQ(GeometryOBB(VectorSIMD4f::ONE, VectorSIMD4f::ONE).GetCoordMax(3), 0.0F);
}

TEST(Obb, IsPlacedByMatrices) {
    MatrixSIMD44f m(VectorSIMD4f(0, 2, 0, 0), VectorSIMD4f(-3, 0, 0, 0), VectorSIMD4f(0, 0, 1, 0),
                    VectorSIMD4f(10, 20, 30, 1));
    const VectorSIMD4f min(0, 0, 0, 0);
    const VectorSIMD4f max(2, 4, 6, 0);
    const GeometryOBB placed(min, max, m);
    EXPECT_TRUE(Same(placed.GetCenter(), VectorSIMD4f(4, 22, 33, 1)));
    EXPECT_TRUE(Same(placed.GetExtent(), VectorSIMD4f(1, 2, 3, 0)));
    EXPECT_TRUE(Same(placed.GetAxisDir()[1], m.Row(1))) << "not normalised";
    const GeometryOBB moved = GeometryOBB(min, max) * m;
    EXPECT_TRUE(Same(moved.GetExtent(), VectorSIMD4f(2, 6, 3, 0)));
    EXPECT_TRUE(Same(moved.GetAxisDir()[1], VectorSIMD4f(-1, 0, 0, 0)));
    for (unsigned long i = 0; i < 8; ++i) {
        const VectorSIMD4f expected = TransformPoint(GeometryOBB(min, max)[i], m);
        EXPECT_TRUE(AllTrue3(Equal(placed[i], expected)) && AllTrue3(Equal(moved[i], expected))) << i;
    }
    EXPECT_TRUE(moved.GetMatrix() == MatrixSIMD44f(VectorSIMD4f::BASE_J, -VectorSIMD4f::BASE_I, VectorSIMD4f::BASE_K,
                                                   VectorSIMD4f(4, 22, 33, 1)));

    m.Row(1) = VectorSIMD4f::ZERO;
    const GeometryOBB flat = GeometryOBB(min, max) * m;
    EXPECT_TRUE(Same(flat.GetExtent(), VectorSIMD4f(2, 0, 3, 0)));
    EXPECT_TRUE(Same(flat.GetAxisDir()[1], VectorSIMD4f::BASE_J)) << "as before";

    // Many transforms leave unit axes, and a translation leaves all but the centre to the bit.
    Random random(4);
    GeometryOBB box = RandomBox(random, 1, 1);
    for (int round = 0; round < 10000; ++round) {
        box *= RandomRotation(random);
        box.Rotate(RandomVector(random, 5), static_cast<float>(random.Number(-9, 9)));
    }
    for (unsigned k = 0; k < 3; ++k) {
        EXPECT_NEAR(Z4::Length3(box.GetAxisDir()[k]).X(), 1, 5.1e-7);
    }
    const GeometryOBB pushed = box * Z4::MakeTranslation<MatrixSIMD44f>(VectorSIMD4f(1, 2, 3, 0));
    GeometryOBB shifted(box);
    shifted.SetCenter(pushed.GetCenter());
    EXPECT_TRUE(Same(pushed, shifted));
}

TEST(Obb, TurnsAboutItsCentre) {
    const double pi = 3.14159265358979323846;
    const VectorSIMD4f center(1, 2, 3, 1);
    const VectorSIMD4f extent(1, 2, 3, 0);
    GeometryOBB box(center, extent, VectorSIMD4f(0, 0, 0, 0));
    const GeometryOBB before(box);
    box.Rotate(VectorSIMD4f(0, 0, 0, 0), 1);
    EXPECT_TRUE(Same(box, before));
    box.Rotate(VectorSIMD4f(0, 0, 7, 0), static_cast<float>(pi / 2));
    const VectorSIMD4f quarter[3] = {{0, 1, 0, 0}, {-1, 0, 0, 0}, {0, 0, 1, 0}};
    EXPECT_TRUE(box == GeometryOBB(center, quarter, extent));
    EXPECT_TRUE(box == GeometryOBB(center, extent, VectorSIMD4f(0, 0, static_cast<float>(pi / 2), 0)));
    EXPECT_NEAR(box.GetXYAxesCosAngle() + box.GetXZAxesCosAngle() + box.GetYZAxesCosAngle(), 0, 1e-6);
    const VectorSIMD4f skew[3] = {{1, 0, 0, 0}, {2, 1, 0, 0}, {3, 4, 5, 0}};
    const GeometryOBB skewed(center, skew, extent);
    EXPECT_EQ(skewed.GetXYAxesCosAngle(), 2.0F);
    EXPECT_EQ(skewed.GetXZAxesCosAngle(), 3.0F);
    EXPECT_EQ(skewed.GetYZAxesCosAngle(), 10.0F);
    EXPECT_EQ(GeometryOBB(center, skew, VectorSIMD4f(2, 3, 6, 9)).GetRadius(), 7.0F);
}

TEST(Obb, ChangesInPlace) {
    GeometryOBB box;
    EXPECT_TRUE(box == GeometryOBB(VectorSIMD4f::ZERO, VectorSIMD4f::ZERO));
    box.SetAABB(VectorSIMD4f(1, 2, 3, 4), VectorSIMD4f(5, 6, 7, -0.0F));
    box.ExpandBy(1);
    EXPECT_TRUE(Same(box.GetExtent(), VectorSIMD4f(6, 7, 8, -0.0F)));
    box.ExpandBy(VectorSIMD4f::ONE);
    EXPECT_TRUE(Same(box.GetExtent(), VectorSIMD4f(7, 8, 9, 1)));
    box.Translate(VectorSIMD4f::ONE);
    EXPECT_TRUE(Same(box.GetCenter(), VectorSIMD4f(2, 3, 4, 5)));
    EXPECT_TRUE(box.Contains(VectorSIMD4f(9, 11, -5, 0))) << "a corner";

    // Each component of each field counts in ==.
    float numbers[20];
    std::memcpy(static_cast<void*>(numbers), &box, sizeof(box));
    for (float& number : numbers) {
        const float original = number;
        for (const float change : {0.9e-6F, 2e-6F}) {
            number = 0.5F;
            GeometryOBB a;
            std::memcpy(static_cast<void*>(&a), numbers, sizeof(a));
            number = 0.5F + change;
            GeometryOBB b;
            std::memcpy(static_cast<void*>(&b), numbers, sizeof(b));
            EXPECT_EQ(a == b, change < 1e-6F);
            EXPECT_EQ(b == a, change < 1e-6F);
        }
        number = original;
    }
}

TEST(Obb, TrianglesCoverTheSurfaceFacingOutward) {
    const GeometryOBB box(VectorSIMD4f(1, 2, 3, 0), VectorSIMD4f(1, 2, 3, 0), VectorSIMD4f(1, 1, 1, 0));
    int edges[8][8] = {};
    float area = 0;
    for (unsigned long triangle = 0; triangle < 12; ++triangle) {
        unsigned short corner[3];
        unsigned short flipped[3];
        GeometryOBB::GetFaceTriIndices(triangle, corner[0], corner[1], corner[2], false);
        GeometryOBB::GetFaceTriIndices(triangle, flipped[0], flipped[1], flipped[2], true);
        EXPECT_THAT(flipped, testing::ElementsAre(corner[0], corner[2], corner[1]));
        const VectorSIMD4f normal = Cross3(box[corner[1]] - box[corner[0]], box[corner[2]] - box[corner[0]]);
        EXPECT_GT(Dot3(normal, box[corner[0]] - box.GetCenter()).X(), 0.0F) << triangle;
        area += Z4::Length3(normal).X() / 2;
        for (unsigned k = 0; k < 3; ++k) {
            ++edges[corner[k]][corner[(k + 1) % 3]];
        }
    }
    EXPECT_NEAR(area, 8 * (1 * 2 + 2 * 3 + 3 * 1), 1e-3);
    for (unsigned i = 0; i < 8; ++i) {
        for (unsigned j = 0; j < 8; ++j) {
            EXPECT_EQ(edges[i][j], edges[j][i]) << i << ' ' << j << ": the surface is closed";
        }
    }
    // Which of a face's diagonals is cut, and where a triangle starts.
    const unsigned short table[][4] = {{0, 4, 5, 6}, {3, 0, 2, 1},  {7, 1, 7, 6},
                                       {8, 4, 7, 2}, {11, 0, 6, 5}, {12, 0, 0, 0}};
    for (const auto& row : table) {
        unsigned short corner[3];
        GeometryOBB::GetFaceTriIndices(row[0], corner[0], corner[1], corner[2], false);
        EXPECT_THAT(corner, testing::ElementsAre(row[1], row[2], row[3]));
    }
}

} // namespace
