#include "random.h"

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

TYPED_TEST(EveryVector, HasPackedComponentsAndConstants) {
    using Element = typename TypeParam::Element;
    const TypeParam two[2] = {TypeParam::ONE, TypeParam::ONE + TypeParam::ONE};
    const TypeParam zero = TypeParam::ZERO;
    for (unsigned i = 0; i < TypeParam::SIZE; ++i) {
        EXPECT_EQ(zero[i], Element(0));
        EXPECT_EQ(two[0].Data()[i], Element(1));
    }
    Element packed[2 * TypeParam::SIZE];
    static_assert(sizeof(two) == sizeof(packed));
    std::memcpy(packed, two, sizeof(packed));
    EXPECT_EQ(packed[TypeParam::SIZE - 1], Element(1));
    EXPECT_EQ(packed[TypeParam::SIZE], Element(2));
}

TYPED_TEST(EveryVector, FollowsTheElementsArithmetic) {
    using Element = typename TypeParam::Element;
    using Private::ConvertElement;
    TypeParam a;
    TypeParam b;
    for (unsigned i = 0; i < TypeParam::SIZE; ++i) {
        a[i] = static_cast<Element>(7 + i);
        b[i] = static_cast<Element>(2 * i + 1);
    }
    Element dot = 0;
    for (unsigned i = 0; i < TypeParam::SIZE; ++i) {
        const auto p = static_cast<Element>(7 + i);
        const auto q = static_cast<Element>(2 * i + 1);
        EXPECT_EQ((a + b)[i], static_cast<Element>(p + q));
        EXPECT_EQ((a - b)[i], static_cast<Element>(p - q));
        EXPECT_EQ((a * b)[i], static_cast<Element>(p * q));
        EXPECT_EQ((a / b)[i], static_cast<Element>(p / q));
        EXPECT_EQ((a * 3)[i], static_cast<Element>(p * 3));
        EXPECT_EQ((3 * a / 2)[i], static_cast<Element>(static_cast<Element>(3 * p) / 2));
        EXPECT_EQ((-a)[i], static_cast<Element>(-p));
        EXPECT_EQ(Min(a, b)[i], p < q ? p : q);
        EXPECT_EQ(Max(a, b)[i], p < q ? q : p);
        EXPECT_EQ(Clamp(TypeParam::ZERO, b, a)[i], p < q ? p : q);
        dot = static_cast<Element>(dot + p * q);
    }
    EXPECT_EQ(Dot(a, b), dot);
    EXPECT_EQ(Or(And(a, b), AndNot(b, a)), a);

    TypeParam c = a;
    c += b;
    c -= a;
    c *= a;
    c /= a;
    c *= 4;
    c /= 2;
    EXPECT_EQ(c, b + b);
    c[TypeParam::SIZE - 1] = static_cast<Element>(c[TypeParam::SIZE - 1] + 1);
    EXPECT_FALSE(c == b + b);
    EXPECT_TRUE(AllLess(b, b + b));
    EXPECT_FALSE(AllLess(b + b, c));
    EXPECT_TRUE(AllLessEqual(b + b, c));
    EXPECT_FALSE(AllLessEqual(c, b + b));
}

template <class V>
void ExpectUnitAxes(std::initializer_list<V> axes) {
    unsigned i = 0;
    for (const V& axis : axes) {
        for (unsigned j = 0; j < V::SIZE; ++j) {
            EXPECT_EQ(axis[j], i == j ? 1 : 0) << "axis " << i << " component " << j;
        }
        ++i;
    }
}

/// The masks select the first two, three, four components.
template <class V>
void ExpectMasks(std::initializer_list<VectorGeneric<typename V::Element, V::SIZE>> masks) {
    constexpr unsigned BYTES = sizeof(typename V::Element);
    unsigned selected = 2;
    for (const auto& mask : masks) {
        unsigned char bytes[sizeof(V)];
        std::memcpy(bytes, &mask, sizeof(bytes));
        for (unsigned i = 0; i < sizeof(bytes); ++i) {
            EXPECT_EQ(bytes[i], i / BYTES < selected ? 0xFF : 0) << "mask " << selected << " byte " << i;
        }
        const V kept = And(V::ONE + V::ONE, mask);
        for (unsigned i = 0; i < V::SIZE; ++i) {
            EXPECT_EQ(kept[i], i < selected ? 2 : 0);
        }
        ++selected;
    }
}

template <class V>
class FloatVector : public testing::Test {};
using FloatVectorType = testing::Types<Vector2f, Vector3f, Vector4f, Vector2d, Vector3d, Vector4d>;
TYPED_TEST_SUITE(FloatVector, FloatVectorType);

TYPED_TEST(FloatVector, HasAxesAndMasks) {
    using V = TypeParam;
    if constexpr (V::SIZE == 2) {
        ExpectUnitAxes<V>({V::BASE_I, V::BASE_J});
        ExpectMasks<V>({V::MASK_2D});
    } else if constexpr (V::SIZE == 3) {
        ExpectUnitAxes<V>({V::BASE_I, V::BASE_J, V::BASE_K});
        ExpectMasks<V>({V::MASK_2D, V::MASK_3D});
    } else {
        ExpectUnitAxes<V>({V::BASE_I, V::BASE_J, V::BASE_K, V::BASE_L});
        ExpectMasks<V>({V::MASK_2D, V::MASK_3D, V::MASK_4D});
    }
}

TYPED_TEST(FloatVector, MeasuresLikeDoublePrecision) {
    using Element = typename TypeParam::Element;
    ZelkTest::Random random(41);
    const double epsilon = std::numeric_limits<Element>::epsilon();
    for (int round = 0; round < 1000; ++round) {
        const auto a = random.Vector<TypeParam>();
        const auto b = random.Vector<TypeParam>();
        double dot = 0;
        double magnitude = 0;
        double sqr = 0;
        for (unsigned i = 0; i < TypeParam::SIZE; ++i) {
            dot += static_cast<double>(a[i]) * b[i];
            magnitude += std::fabs(static_cast<double>(a[i]) * b[i]);
            sqr += static_cast<double>(a[i]) * a[i];
        }
        EXPECT_NEAR(Dot(a, b), dot, 4 * epsilon * magnitude);
        EXPECT_NEAR(Length(a), std::sqrt(sqr), 4 * epsilon * std::sqrt(sqr));
        EXPECT_NEAR(LengthSqr(Normalize(a)), 1, 8 * epsilon);
        EXPECT_NEAR(Dot(Normalize(a), a), std::sqrt(sqr), 8 * epsilon * std::sqrt(sqr));
        EXPECT_EQ(Lerp(a, b, 0), a);
        EXPECT_LT(Length(Lerp(a, b, 1) - b), 4 * epsilon * (Length(a) + Length(b)));
        if constexpr (TypeParam::SIZE == 3) {
            EXPECT_NEAR(Dot(Cross(a, b), a), 0, 8 * epsilon * LengthSqr(a) * Length(b));
            // Lagrange: |a x b|^2 + (a . b)^2 = |a|^2 |b|^2.
            const double product = static_cast<double>(LengthSqr(a)) * LengthSqr(b);
            EXPECT_NEAR(LengthSqr(Cross(a, b)) + dot * dot, product, 32 * epsilon * product);
        }
    }
}

TYPED_TEST(FloatVector, DegenerateInputHasDefinedResults) {
    using V = TypeParam;
    using Limits = std::numeric_limits<typename V::Element>;
    EXPECT_EQ(Normalize(V::ZERO), V::ZERO);
    EXPECT_EQ(Normalize(-V::ONE * Limits::denorm_min()), V::ZERO);
    EXPECT_EQ(Normalize(V::ONE * Limits::max()), V::ZERO);
    const V nan = V::ONE * Limits::quiet_NaN();
    EXPECT_FALSE(nan == nan);
    EXPECT_FALSE(AllLessEqual(nan, nan));
    EXPECT_EQ(Min(nan, V::ONE), V::ONE);
    EXPECT_EQ(Max(nan, V::ONE), V::ONE);
    EXPECT_EQ(Clamp(nan, V::ZERO, V::ONE), V::ZERO);
    EXPECT_NE(Normalize(nan)[0], Normalize(nan)[0]);
    EXPECT_EQ(Abs(-V::ONE), V::ONE);
    EXPECT_EQ(V::ONE / Abs(-V::ZERO), V::ONE * Limits::infinity());
    EXPECT_EQ(V::ONE / -V::ZERO, V::ONE * -Limits::infinity());
}

TEST(Vector, CrossProductsAreRightHanded) {
    EXPECT_EQ(Cross(Vector3d::BASE_I, Vector3d::BASE_J), Vector3d::BASE_K);
    EXPECT_EQ(Cross(Vector3f::BASE_J, Vector3f::BASE_K), Vector3f::BASE_I);
    EXPECT_EQ(Cross(Vector3s32(1, 2, 3), Vector3s32(-4, 5, 6)), Vector3s32(-3, -18, 13));
    EXPECT_EQ(Cross(Vector2f::BASE_I, Vector2f::BASE_J), 1);
}

TEST(Vector, IntegersWrapAround) {
    EXPECT_EQ(Vector2s32(0x7FFFFFFF, 0) + Vector2s32::ONE, Vector2s32(std::numeric_limits<int>::min(), 1));
    EXPECT_EQ(Vector2u16(65535, 3) * Vector2u16(65535, 5), Vector2u16(1, 15));
    EXPECT_EQ(Vector2s16(-32768, 0) - Vector2s16::ONE, Vector2s16(32767, -1));
    constexpr auto LEAST = std::numeric_limits<std::int64_t>::min();
    EXPECT_EQ(-Vector2s64(LEAST, 1), Vector2s64(LEAST, -1));
    EXPECT_EQ(Abs(Vector2s64(LEAST, -1)), Vector2s64(LEAST, 1));
    EXPECT_EQ(Dot(Vector2s32(65536, 1), Vector2s32(65536, 7)), 7);
}

template <class To>
void ExpectSaturation() {
    using Element = typename To::Element;
    using Limits = std::numeric_limits<Element>;
    const double infinity = std::numeric_limits<double>::infinity();
    const double end = std::ldexp(1.0, Limits::digits);
    const To outside(Vector4d(infinity, -infinity, std::numeric_limits<double>::quiet_NaN(), end));
    EXPECT_EQ(outside, To(Limits::max(), Limits::min(), 0, Limits::max()));
    const To below(Vector4f(-0.75F, 2.75F, static_cast<float>(Limits::min()), static_cast<float>(end / 2)));
    EXPECT_EQ(below, To(0, 2, Limits::min(), static_cast<Element>(Limits::max() / 2 + 1)));
}

TEST(Vector, ConvertsBetweenElementTypesAndSizes) {
    ExpectSaturation<Vector4s16>();
    ExpectSaturation<Vector4u16>();
    ExpectSaturation<Vector4s32>();
    ExpectSaturation<Vector4u32>();
    ExpectSaturation<Vector4s64>();
    ExpectSaturation<Vector4u64>();
    EXPECT_EQ(Vector3u16(Vector3s32(-1, 65536, 7)), Vector3u16(65535, 0, 7));
    EXPECT_EQ(Vector2f(Vector2d(1e300, 0.1)), Vector2f(std::numeric_limits<float>::infinity(), 0.1F));
    EXPECT_EQ(Vector2f(Vector4f(1, 2, 3, 4)), Vector2f(1, 2));
    EXPECT_EQ(Vector4f(Vector3f(Vector2f(1, 2), 3), 4), Vector4f(1, 2, 3, 4));
    constexpr Vector3d FOLDED = Cross(Vector3d(1, 2, 3), Vector3d(4, 5, 6)) * 2;
    static_assert(FOLDED == Vector3d(-6, 12, -6));
}

} // namespace
