#include "random.h"

#include <bit>
#include <cstring>
#include <gmock/gmock.h>
#include <zelk_core/math/vectorsimd.h>

using namespace Z4;

namespace {

const VectorSIMD4f g_early = And(VectorSIMD4f::ONE + VectorSIMD4f::BASE_L, VectorSIMD4f::MASK_3D);

TEST(VectorSIMD, ConstantsAreReadyForStaticInitialisers) {
    EXPECT_EQ(g_early, VectorSIMD4f(1, 1, 1, 0));
}

std::uint32_t Bits(float value) {
    return std::bit_cast<std::uint32_t>(value);
}

/// The same bits, or both NaN, whose bits depend on the order of the operands.
void ExpectSame(float got, float expected, const char* what, unsigned lane) {
    if (expected != expected) {
        EXPECT_NE(got, got) << what << " lane " << lane;
    } else {
        EXPECT_EQ(Bits(got), Bits(expected)) << what << " lane " << lane;
    }
}

void ExpectBits(const void* value, std::initializer_list<std::uint32_t> expected) {
    std::uint32_t lanes[4];
    std::memcpy(lanes, value, sizeof(lanes));
    EXPECT_THAT(lanes, testing::ElementsAreArray(expected));
}

TEST(VectorSIMD, ConstantsHaveTheseBits) {
    constexpr std::uint32_t ONE = 0x3F800000;
    constexpr std::uint32_t ALL = 0xFFFFFFFF;
    ExpectBits(&VectorSIMD4f::ZERO, {0, 0, 0, 0});
    ExpectBits(&VectorSIMD4f::ONE, {ONE, ONE, ONE, ONE});
    ExpectBits(&VectorSIMD4f::BASE_I, {ONE, 0, 0, 0});
    ExpectBits(&VectorSIMD4f::BASE_J, {0, ONE, 0, 0});
    ExpectBits(&VectorSIMD4f::BASE_K, {0, 0, ONE, 0});
    ExpectBits(&VectorSIMD4f::BASE_L, {0, 0, 0, ONE});
    ExpectBits(&VectorSIMD4f::MASK_2D, {ALL, ALL, 0, 0});
    ExpectBits(&VectorSIMD4f::MASK_3D, {ALL, ALL, ALL, 0});
    ExpectBits(&VectorSIMD4f::MASK_4D, {ALL, ALL, ALL, ALL});
    ExpectBits(&VectorSIMD3f::ZERO, {0, 0, 0, 0});
    ExpectBits(&VectorSIMD3f::ONE, {ONE, ONE, ONE, 0});
    ExpectBits(&VectorSIMD3f::BASE_I, {ONE, 0, 0, 0});
    ExpectBits(&VectorSIMD3f::BASE_J, {0, ONE, 0, 0});
    ExpectBits(&VectorSIMD3f::BASE_K, {0, 0, ONE, 0});
    ExpectBits(&VectorSIMD3f::MASK_2D, {ALL, ALL, 0, 0});
    ExpectBits(&VectorSIMD3f::MASK_3D, {ALL, ALL, ALL, 0});
}

TEST(VectorSIMD, LanesAreReadAndWrittenOneByOne) {
    const float memory[5] = {0, 1, 2, 3, 4};
    for (unsigned lane = 0; lane < 4; ++lane) {
        VectorSIMD4f v = VectorSIMD4f::Load(memory + 1);
        v.Set(lane, -5);
        for (unsigned i = 0; i < 4; ++i) {
            EXPECT_EQ(v[i], i == lane ? -5 : memory[i + 1]);
        }
        v.Set(lane + 4, 99);
        EXPECT_EQ(v[lane], -5);
    }
    VectorSIMD4f v = VectorSIMD4f::ZERO;
    v.SetX(1);
    v.SetY(2);
    v.SetZ(3);
    v.SetW(4);
    EXPECT_EQ(v, VectorSIMD4f(1, 2, 3, 4));
    EXPECT_THAT((std::array{v.X(), v.Y(), v.Z(), v.W()}), testing::ElementsAre(1, 2, 3, 4));
    EXPECT_EQ(v.BroadcastX() * 1000.0F + v.BroadcastY() * 100.0F + v.BroadcastZ() * 10.0F + v.BroadcastW(),
              VectorSIMD4f::Broadcast(1234));
    float stored[5] = {};
    v.Store(stored + 1);
    EXPECT_THAT(stored, testing::ElementsAre(0, 1, 2, 3, 4));
    EXPECT_EQ(ToVector4f(v), Vector4f(1, 2, 3, 4));
    EXPECT_EQ(VectorSIMD4f(ToVector3f(v), 9), VectorSIMD4f(1, 2, 3, 9));
    EXPECT_EQ(VectorSIMD4f(ToVector4f(v)), v);
    EXPECT_EQ(VectorSIMD3f(Vector3f(1, 2, 3)).W(), 0);
    EXPECT_EQ(ToVector2f(v), Vector2f(1, 2));
}

TEST(VectorSIMD, ThreeComponentsCompareWithoutTheFourth) {
    EXPECT_TRUE(VectorSIMD3f(_mm_setr_ps(1, 2, 3, 4)) == VectorSIMD3f(1, 2, 3));
    EXPECT_FALSE(VectorSIMD3f(1, 2, 4) == VectorSIMD3f(1, 2, 3));
    EXPECT_FALSE(VectorSIMD4f(1, 2, 3, 4) == VectorSIMD4f(1, 2, 3, 0));
}

struct LaneOperation {
    const char* name;
    VectorSIMD4f (*vector)(const VectorSIMD4f&, const VectorSIMD4f&);
    float (*scalar)(float, float);
};

float MaskOf(bool condition) {
    return std::bit_cast<float>(condition ? 0xFFFFFFFFU : 0U);
}

using V = VectorSIMD4f;
const LaneOperation LANE_OPERATIONS[] = {
    {"+", [](const V& a, const V& b) { return a + b; }, [](float a, float b) { return a + b; }},
    {"-", [](const V& a, const V& b) { return a - b; }, [](float a, float b) { return a - b; }},
    {"*", [](const V& a, const V& b) { return a * b; }, [](float a, float b) { return a * b; }},
    {"/", [](const V& a, const V& b) { return a / b; }, [](float a, float b) { return a / b; }},
    {"compound",
     [](const V& a, const V& b) {
         V v = a;
         v += b;
         v *= a;
         v -= b;
         return v /= a;
     },
     [](float a, float b) { return ((a + b) * a - b) / a; }},
    {"with float", [](const V& a, const V& b) { return 2.0F * a + b / 3.0F - 1.0F; },
     [](float a, float b) { return 2.0F * a + b / 3.0F - 1.0F; }},
    {"float with", [](const V& a, const V& b) { return (2.0F - a) * (1.0F + b) / (3.0F / a); },
     [](float a, float b) { return (2.0F - a) * (1.0F + b) / (3.0F / a); }},
    {"negate", [](const V& a, const V&) { return -a; }, [](float a, float) { return -a; }},
    {"min", [](const V& a, const V& b) { return Min(a, b); }, [](float a, float b) { return a < b ? a : b; }},
    {"max", [](const V& a, const V& b) { return Max(a, b); }, [](float a, float b) { return a > b ? a : b; }},
    {"clamp", [](const V& a, const V& b) { return Clamp(a, b, V::ONE); },
     [](float a, float b) {
         const float c = a > b ? a : b;
         return c < 1 ? c : 1;
     }},
    {"abs", [](const V& a, const V&) { return Abs(a); },
     [](float a, float) { return std::bit_cast<float>(Bits(a) & 0x7FFFFFFF); }},
    // The double root of a float, rounded to float, is the correctly rounded one (53 >= 2 24 + 2).
    {"sqrt", [](const V& a, const V&) { return Sqrt(a); },
     [](float a, float) { return static_cast<float>(std::sqrt(static_cast<double>(a))); }},
    {"1/sqrt", [](const V& a, const V&) { return ReciprocalSqrt(a); },
     [](float a, float) { return 1.0F / static_cast<float>(std::sqrt(static_cast<double>(a))); }},
    {"lerp", [](const V& a, const V& b) { return Lerp(a, b, 0.375F); },
     [](float a, float b) { return a + (b - a) * 0.375F; }},
    {"<", [](const V& a, const V& b) { return Less(a, b); }, [](float a, float b) { return MaskOf(a < b); }},
    {"<=", [](const V& a, const V& b) { return LessEqual(a, b); }, [](float a, float b) { return MaskOf(a <= b); }},
    {">", [](const V& a, const V& b) { return Greater(a, b); }, [](float a, float b) { return MaskOf(a > b); }},
    {">=", [](const V& a, const V& b) { return GreaterEqual(a, b); }, [](float a, float b) { return MaskOf(a >= b); }},
    {"==", [](const V& a, const V& b) { return Equal(a, b); }, [](float a, float b) { return MaskOf(a == b); }},
    {"select", [](const V& a, const V& b) { return Select(Less(a, b), a, -b); },
     [](float a, float b) { return a < b ? a : -b; }},
};

TEST(VectorSIMD, LanesFollowScalarArithmetic) {
    ZelkTest::Random random(42);
    for (int round = 0; round < 5000 && !testing::Test::HasFailure(); ++round) {
        const V a(random.Edge(), random.Edge(), random.Edge(), random.Edge());
        const V b(random.Edge(), random.Edge(), random.Edge(), random.Edge());
        for (const LaneOperation& operation : LANE_OPERATIONS) {
            const V result = operation.vector(a, b);
            for (unsigned lane = 0; lane < 4; ++lane) {
                ExpectSame(result[lane], operation.scalar(a[lane], b[lane]), operation.name, lane);
            }
        }
    }
}

TEST(VectorSIMD, MasksAreTestedByLanes) {
    for (unsigned set = 0; set < 16; ++set) {
        const V lanes(static_cast<float>(set & 1), static_cast<float>(set & 2), static_cast<float>(set & 4),
                      static_cast<float>(set & 8));
        const V mask = Greater(lanes, V::ZERO);
        EXPECT_EQ(AllTrue(mask), set == 15);
        EXPECT_EQ(AllTrue3(mask), (set & 7) == 7);
        EXPECT_EQ(AllTrue2(mask), (set & 3) == 3);
        EXPECT_EQ(AnyTrue(mask), set != 0);
    }
}

TEST(VectorSIMD, DotProductsAddInTheirOrder) {
    ZelkTest::Random random(43);
    unsigned different = 0;
    for (int round = 0; round < 100000 && !testing::Test::HasFailure(); ++round) {
        const V a(random.Edge(), random.Edge(), random.Edge(), random.Edge());
        const V b(random.Edge(), random.Edge(), random.Edge(), random.Edge());
        const float x = a[0] * b[0];
        const float y = a[1] * b[1];
        const float z = a[2] * b[2];
        const V fast = Dot3(a, b);
        const V consistent = Dot3<SumOrder::CONSISTENT>(a, b);
        const V length = Length3<SumOrder::CONSISTENT>(a);
        const double sqr = (a[0] * a[0] + a[1] * a[1]) + a[2] * a[2];
        for (unsigned lane = 0; lane < 4; ++lane) {
            ExpectSame(fast[lane], x + (y + z), "fast", lane);
            ExpectSame(consistent[lane], (x + y) + z, "consistent", lane);
            ExpectSame(Dot2(a, b)[lane], x + y, "2D", lane);
            ExpectSame(length[lane], static_cast<float>(std::sqrt(sqr)), "length", lane);
        }
        different += Bits(fast[0]) != Bits(consistent[0]) ? 1U : 0U;
    }
    EXPECT_GT(different, 100U);
}

TEST(VectorSIMD, NormalisesAndCrosses) {
    ZelkTest::Random random(44);
    for (int round = 0; round < 1000; ++round) {
        const V a(random.Vector<Vector4f>());
        const V b(random.Vector<Vector4f>());
        const float length = Length3<SumOrder::CONSISTENT>(a).X();
        EXPECT_EQ(Normalize3<SumOrder::CONSISTENT>(a), a / length);
        EXPECT_EQ(ToVector3f(Cross3(a, b)), Cross(ToVector3f(a), ToVector3f(b)));
        EXPECT_EQ(Cross3(a, b).W(), 0);
    }
    const float infinity = std::numeric_limits<float>::infinity();
    EXPECT_EQ(Normalize3(V(0, -0.0F, 0, 7)), V::ZERO);
    EXPECT_EQ(Normalize3(V(1e-30F, 0, 0, 0)), V::ZERO);
    EXPECT_EQ(Normalize3(V(3e38F, 3e38F, 0, 1)), V::ZERO);
    EXPECT_FALSE(Normalize3(V(infinity, 0, 0, 0)) == V::ZERO);
    EXPECT_EQ(VectorSIMD3f(Normalize3(VectorSIMD3f(0, 3, 4))), VectorSIMD3f(0, 0.6F, 0.8F));
}

} // namespace
