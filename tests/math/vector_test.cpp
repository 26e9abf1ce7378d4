// Hunted here: a constant with a wrong component or read before it is made; an operator that is another one, or that
// promotes, saturates or traps where integers wrap; conversions off by one at the ends of a range; comparisons that NaN
// passes; a product with a wrong sign or sum.
#include "figures.h"

#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <limits>
#include <zelk_core/math/vector.h>

using namespace Z4;

namespace {

// Read while the program's own static objects are still being made.
const Vector3f g_early = Vector3f::BASE_J + Vector3f::ONE;
const Vector2u64 g_earlyWhole = Vector2u64::ONE;
const Vector3d g_earlyMasked = And(Vector3d(5, 6, 7), Vector3d::MASK_2D);

TEST(Vector, ConstantsAreReadyForStaticInitialisers) {
    EXPECT_EQ(g_early, Vector3f(1, 2, 1));
    EXPECT_EQ(g_earlyWhole, Vector2u64(1, 1));
    EXPECT_EQ(g_earlyMasked, Vector3d(5, 6, 0));
}

template <class V>
class EveryVector : public testing::Test {};
using EveryVectorType =
    testing::Types<Vector2f, Vector3f, Vector4f, Vector2d, Vector3d, Vector4d, Vector2s16, Vector3s16, Vector4s16,
                   Vector2u16, Vector3u16, Vector4u16, Vector2s32, Vector3s32, Vector4s32, Vector2u32, Vector3u32,
                   Vector4u32, Vector2s64, Vector3s64, Vector4s64, Vector2u64, Vector3u64, Vector4u64>;
TYPED_TEST_SUITE(EveryVector, EveryVectorType);

TYPED_TEST(EveryVector, FollowsTheArithmeticOfItsElements) {
    using V = TypeParam;
    using T = typename V::Element;
    V a;
    V b;
    T dot = 0;
    for (unsigned i = 0; i < V::SIZE; ++i) {
        a[i] = static_cast<T>(7 + i);
        b[i] = static_cast<T>(4 * i + 1);
        dot = static_cast<T>(dot + a[i] * b[i]);
    }
    V compound = a;
    ((((compound += b) *= b) -= a) /= b) *= 3;
    const struct {
        const char* name;
        V result;
        T (*expected)(T p, T q);
    } rows[] = {
        {"ZERO", V::ZERO, [](T, T) { return T(0); }},
        {"ONE", V::ONE, [](T, T) { return T(1); }},
        {"+", a + b, [](T p, T q) { return static_cast<T>(p + q); }},
        {"-", a - b, [](T p, T q) { return static_cast<T>(p - q); }},
        {"*", a * b, [](T p, T q) { return static_cast<T>(p * q); }},
        {"/", a / b, [](T p, T q) { return static_cast<T>(p / q); }},
        {"scaled", 3 * a / 2, [](T p, T) { return static_cast<T>(static_cast<T>(3 * p) / 2); }},
        {"negated", -a, [](T p, T) { return static_cast<T>(-p); }},
        {"compound", compound, [](T p, T q) { return static_cast<T>(static_cast<T>((p + q) * q - p) / q * 3); }},
        {"Min", Min(a, b), [](T p, T q) { return p < q ? p : q; }},
        {"Max", Max(a, b), [](T p, T q) { return p < q ? q : p; }},
        {"Clamp", Clamp(V::ZERO, b, a), [](T p, T q) { return p < q ? p : q; }},
        {"Abs", Abs(-a), [](T p, T) { return std::is_unsigned_v<T> ? static_cast<T>(-p) : p; }},
        {"bits", Or(And(a, b), AndNot(b, a)), [](T p, T) { return p; }},
    };
    for (const auto& row : rows) {
        for (unsigned i = 0; i < V::SIZE; ++i) {
            EXPECT_EQ(row.result.Data()[i], row.expected(a[i], b[i])) << row.name << ' ' << i;
        }
    }
    EXPECT_EQ(Dot(a, b), dot);
    EXPECT_EQ(LengthSqr(b), Dot(b, b));
    for (unsigned i = 0; i < V::SIZE; ++i) {
        V other = a;
        EXPECT_TRUE(other == a && AllLessEqual(a, other) && !AllLess(a, other));
        other[i] = static_cast<T>(other[i] - 1);
        EXPECT_FALSE(other == a || AllLessEqual(a, other)) << i;
        EXPECT_TRUE(AllLessEqual(other, a) && AllLess(other, a + V::ONE)) << i;
    }
}

template <class V>
class FloatVector : public testing::Test {};
using FloatVectorType = testing::Types<Vector2f, Vector3f, Vector4f, Vector2d, Vector3d, Vector4d>;
TYPED_TEST_SUITE(FloatVector, FloatVectorType);

TYPED_TEST(FloatVector, HasAxesAndMasks) {
    using V = TypeParam;
    const void* axes[] = {&V::BASE_I, &V::BASE_J, nullptr, nullptr};
    const void* masks[] = {nullptr, &V::MASK_2D, nullptr, nullptr};
    if constexpr (V::SIZE > 2) {
        axes[2] = &V::BASE_K;
        masks[2] = &V::MASK_3D;
    }
    if constexpr (V::SIZE > 3) {
        axes[3] = &V::BASE_L;
        masks[3] = &V::MASK_4D;
    }
    unsigned char mask[sizeof(V)] = {};
    for (unsigned i = 0; i < V::SIZE; ++i) {
        V axis = V::ZERO;
        axis[i] = 1;
        EXPECT_EQ(std::memcmp(axes[i], &axis, sizeof(V)), 0) << i;
        std::memset(mask, 0xFF, (i + 1) * sizeof(typename V::Element));
        EXPECT_TRUE(i == 0 || std::memcmp(masks[i], mask, sizeof(V)) == 0) << i;
    }
}

TYPED_TEST(FloatVector, LengthsAndComparisonsHaveTheseAnswers) {
    using V = TypeParam;
    using Limits = std::numeric_limits<typename V::Element>;
    const V nan = V::ONE * Limits::quiet_NaN();
    EXPECT_TRUE(Normalize(V::BASE_J * 4) == V::BASE_J && Length(V::BASE_I * -4) == 4);
    EXPECT_TRUE(Lerp(V::ONE, V::ONE * 5, 0.25F) == V::ONE * 2);
    for (const V& vanishing : {V::ZERO, -V::ONE * Limits::denorm_min(), V::ONE * Limits::max()}) {
        EXPECT_EQ(Normalize(vanishing), V::ZERO);
    }
    EXPECT_NE(Normalize(nan)[0], Normalize(nan)[0]);
    EXPECT_FALSE(nan == nan || AllLess(nan, nan) || AllLessEqual(nan, nan));
    EXPECT_EQ(Min(nan, V::ONE), V::ONE);
    EXPECT_EQ(Max(nan, V::ONE), V::ONE);
    EXPECT_EQ(Clamp(nan, V::ZERO, V::ONE), V::ZERO);
    EXPECT_EQ(V::ONE / Abs(-V::ZERO), V::ONE * Limits::infinity());
    EXPECT_EQ(V::ONE / -V::ZERO, V::ONE * -Limits::infinity());
}

TEST(Vector, CrossProductsAreRightHanded) {
    EXPECT_EQ(Cross(Vector3s32(1, 2, 3), Vector3s32(-4, 5, 6)), Vector3s32(-3, -18, 13));
    EXPECT_EQ(Cross(Vector2f(2, 0), Vector2f(5, 3)), 6);
}

TEST(Vector, IntegersWrapAround) {
    constexpr auto LEAST = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(Vector2s32(0x7FFFFFFF, 0) + Vector2s32::ONE, Vector2s32(std::numeric_limits<int>::min(), 1));
    EXPECT_EQ(Vector2u16(65535, 3) * Vector2u16(65535, 5), Vector2u16(1, 15));
    EXPECT_EQ(Vector2s16(-32768, 0) - Vector2s16::ONE, Vector2s16(32767, -1));
    EXPECT_EQ(-Vector2s64(LEAST, 1), Vector2s64(LEAST, -1));
    EXPECT_EQ(Abs(Vector2s64(LEAST, 1)), Vector2s64(LEAST, 1));
    EXPECT_EQ(Dot(Vector2s32(65536, 1), Vector2s32(65536, 7)), 7);
}

template <class... To>
void ExpectSaturation() {
    const auto expect = []<class T>(T*) {
        using Limits = std::numeric_limits<typename T::Element>;
        using Wide = std::numeric_limits<double>;
        const double end = std::ldexp(1.0, Limits::digits);
        const T outside(Vector4d(Wide::infinity(), -Wide::infinity(), Wide::quiet_NaN(), end));
        EXPECT_EQ(outside, T(Limits::max(), Limits::min(), 0, Limits::max()));
        const T inside(Vector4f(-0.75F, 2.75F, static_cast<float>(Limits::min()), static_cast<float>(end / 2)));
        EXPECT_EQ(inside, T(0, 2, Limits::min(), static_cast<typename T::Element>(Limits::max() / 2 + 1)));
    };
    (expect(static_cast<To*>(nullptr)), ...);
}

TEST(Vector, ConvertsBetweenElementTypesAndSizes) {
    ExpectSaturation<Vector4s16, Vector4u16, Vector4s32, Vector4u32, Vector4s64, Vector4u64>();
    EXPECT_EQ(Vector3u16(Vector3s32(-1, 65536, 7)), Vector3u16(65535, 0, 7));
    EXPECT_EQ(Vector2f(Vector2d(1e300, 0.1)), Vector2f(std::numeric_limits<float>::infinity(), 0.1F));
    EXPECT_EQ(Vector2f(Vector4f(1, 2, 3, 4)), Vector2f(1, 2));
    EXPECT_EQ(Vector4f(Vector3f(Vector2f(1, 2), 3), 4), Vector4f(1, 2, 3, 4));
    static_assert(Cross(Vector3d(1, 2, 3), Vector3d(4, 5, 6)) * 2 == Vector3d(-6, 12, -6));
}

} // namespace
