// Hunted here: rows and columns exchanged; an inverse that is none, or that exists where the determinant does not allow
// it; a rotation the wrong way round; lanes beyond the third column that do not stay 0; constants of the wrong shape. A
// sum in another order than the contract says changes a digest.
#include "figures.h"

#include <cmath>
#include <cstring>
#include <gmock/gmock.h>
#include <zelk_core/math/matrix.h>
#include <zelk_core/math/matrixsimd.h>

using namespace Z4;

namespace {

const MatrixSIMD44f g_early = MatrixSIMD44f::IDENTITY * MatrixSIMD44f::IDENTITY;
const Matrix34d g_earlyPlain = Matrix34d::IDENTITY * 3;

TEST(Matrix, ConstantsAreReadyForStaticInitialisers) {
    EXPECT_EQ(g_early, MatrixSIMD44f::IDENTITY);
    EXPECT_EQ(g_earlyPlain.Row(2), Vector3d(0, 0, 3));
}

/// Of any matrix as a full one; and whatever lies beyond its columns is 0.
template <class M>
double At(const M& m, unsigned i, unsigned j) {
    if constexpr (std::is_same_v<typename M::RowType, VectorSIMD4f> && M::COLUMNS == 3) {
        EXPECT_EQ(m.Row(i % M::ROWS)[3], 0);
    }
    return i < M::ROWS && j < M::COLUMNS ? static_cast<double>(m.Row(i)[j]) : (i == j ? 1 : 0);
}

template <class M, class N>
void ExpectNear(const M& m, const N& expected, double bound) {
    for (unsigned i = 0; i < 16; ++i) {
        EXPECT_NEAR(At(m, i / 4, i % 4), At(expected, i / 4, i % 4), bound) << "row " << i / 4 << " column " << i % 4;
    }
}

template <class M>
class EveryMatrix : public testing::Test {
protected:
    static constexpr double EPSILON = std::numeric_limits<typename M::Element>::epsilon();

    /// Well conditioned: three on the diagonal, at most a half beside it.
    static M Make(ZelkTest::Input& input) {
        Matrix44d full;
        for (unsigned i = 0; i < 16; ++i) {
            full.Row(i / 4)[i % 4] = input.Number(-0.5, 0.5) + (i % 5 == 0 ? 3 : 0);
        }
        return ConvertMatrix<M>(full);
    }
    static double First(typename M::Element value) { return static_cast<double>(value); }
    static double First(const VectorSIMD4f& value) {
        EXPECT_EQ(value, value.BroadcastX());
        return value.X();
    }
};
using MatrixType = testing::Types<Matrix22f, Matrix22d, Matrix33f, Matrix33d, Matrix34f, Matrix34d, Matrix44f,
                                  Matrix44d, MatrixSIMD33f, MatrixSIMD34f, MatrixSIMD44f>;
TYPED_TEST_SUITE(EveryMatrix, MatrixType);

TYPED_TEST(EveryMatrix, HasTheseConstants) {
    using Element = typename TypeParam::Element;
    constexpr std::size_t COUNT = sizeof(TypeParam) / sizeof(Element);
    constexpr std::size_t STRIDE = COUNT / TypeParam::ROWS;
    Element identity[COUNT];
    Element zero[COUNT];
    std::memcpy(identity, &TypeParam::IDENTITY, sizeof(identity));
    std::memcpy(zero, &TypeParam::ZERO, sizeof(zero));
    for (std::size_t i = 0; i < COUNT; ++i) {
        EXPECT_EQ(zero[i], 0);
        EXPECT_EQ(identity[i], i % STRIDE == i / STRIDE && i % STRIDE < TypeParam::COLUMNS ? 1 : 0) << "element " << i;
    }
}

TYPED_TEST(EveryMatrix, FollowsTheLaws) {
    using M = TypeParam;
    ZelkTest::Input input(45);
    for (int round = 0; round < 300; ++round) {
        const M a = this->Make(input);
        const M b = this->Make(input);
        const M ab = a * b;
        for (unsigned i = 0; i < 4; ++i) {
            for (unsigned j = 0; j < 4; ++j) {
                double sum = 0;
                for (unsigned k = 0; k < 4; ++k) {
                    sum += At(a, i, k) * At(b, k, j);
                }
                EXPECT_NEAR(At(ab, i, j), sum, 64 * this->EPSILON) << "row " << i << " column " << j;
            }
        }
        M product = a;
        product *= b;
        EXPECT_EQ(product, ab);
        EXPECT_EQ(a + a - a, a * 2 - a);
        EXPECT_EQ(2 * a, a + a);
        EXPECT_FALSE(a == b);
        const double determinant = this->First(Determinant(ab));
        EXPECT_NEAR(this->First(Determinant(a)) * this->First(Determinant(b)), determinant,
                    128 * this->EPSILON * determinant);
        ExpectNear(Inverse(a) * a, M::IDENTITY, 32 * this->EPSILON);
        ExpectNear(a * Inverse(a), M::IDENTITY, 32 * this->EPSILON);
        if constexpr (SquareMatrix<M>) {
            for (unsigned i = 0; i < 16; ++i) {
                EXPECT_EQ(At(Transpose(a), i / 4, i % 4), At(a, i % 4, i / 4));
            }
            EXPECT_EQ(a.Row(1) * b, ab.Row(1));
        }
        if constexpr (SpaceMatrix<M> && M::ROWS == 4) {
            ExpectNear(InverseAffine(a), Inverse(ConvertMatrix<Matrix34d>(a)), 32 * this->EPSILON);
        }
    }
    if constexpr (M::COLUMNS > 2) {
        EXPECT_EQ(this->First(Determinant(MakeScale<M>(Vector3f(2, -3, 4)))), -24);
    }
}

TYPED_TEST(EveryMatrix, SingularOnesHaveTheZeroInverse) {
    using M = TypeParam;
    using Limits = std::numeric_limits<typename M::Element>;
    M equalRows = M::IDENTITY;
    equalRows.Row(0) = equalRows.Row(1);
    M tiny = M::IDENTITY;
    tiny.Row(0) = tiny.Row(0) * Limits::denorm_min();
    M infinite = M::IDENTITY;
    infinite.Row(1) = infinite.Row(1) + infinite.Row(1) * Limits::infinity();
    for (const M& m : {M::ZERO, equalRows, tiny, infinite}) {
        EXPECT_EQ(Inverse(m), M::ZERO);
        if constexpr (SpaceMatrix<M>) {
            EXPECT_EQ(InverseAffine(m), M::ZERO);
        }
    }
    M least = M::IDENTITY;
    least.Row(0) = least.Row(0) * Limits::min();
    EXPECT_EQ(Inverse(Inverse(least)), least) << "its reciprocal is finite";
    EXPECT_FALSE(infinite * M::IDENTITY == infinite) << "NaN";
}

template <class M>
class EverySpaceMatrix : public EveryMatrix<M> {
protected:
    using Vector =
        std::conditional_t<std::is_same_v<typename M::RowType, VectorSIMD4f>, VectorSIMD4f,
                           std::conditional_t<std::is_same_v<typename M::Element, float>, Vector3f, Vector3d>>;
    /// With a w, where there is one, that must not count.
    static Vector MakeVector(double x, double y, double z) {
        const Vector3d v(x, y, z);
        if constexpr (std::is_same_v<Vector, VectorSIMD4f>) {
            return VectorSIMD4f(Vector3f(v), 77);
        } else {
            return Vector(v);
        }
    }
    template <class Expected>
    static void ExpectNear3(const Vector& v, const Expected& expected, double bound) {
        for (unsigned i = 0; i < 3; ++i) {
            EXPECT_NEAR(v[i], expected[i], bound) << i;
        }
    }
};
using SpaceMatrixType = testing::Types<Matrix33f, Matrix33d, Matrix34f, Matrix34d, Matrix44f, Matrix44d, MatrixSIMD33f,
                                       MatrixSIMD34f, MatrixSIMD44f>;
TYPED_TEST_SUITE(EverySpaceMatrix, SpaceMatrixType);

TYPED_TEST(EverySpaceMatrix, TransformsRowVectors) {
    using M = TypeParam;
    ZelkTest::Input input(46);
    const M scale = MakeScale<M>(this->MakeVector(2, 3, 4));
    const auto p = this->MakeVector(1, -1, 0.5);
    this->ExpectNear3(TransformPoint(p, scale), this->MakeVector(2, -3, 2), 0);
    if constexpr (M::ROWS == 4) {
        const M move = MakeTranslation<M>(this->MakeVector(10, 20, 30));
        this->ExpectNear3(TransformPoint(p, scale * move), this->MakeVector(12, 17, 32), 0);
        this->ExpectNear3(TransformPoint(p, move * scale), this->MakeVector(22, 57, 122), 0);
        this->ExpectNear3(TransformDirection(p, move), p, 0);
        this->ExpectNear3(TransformPoint(p, InverseAffine(move)), this->MakeVector(-9, -21, -29.5), 0);
    }
    for (int round = 0; round < 300; ++round) {
        const M m = this->Make(input);
        const auto full = ConvertMatrix<Matrix44d>(m);
        const auto v = this->MakeVector(input.Coarse(), input.Coarse(), -2.5);
        const double bound = 256 * this->EPSILON;
        this->ExpectNear3(TransformDirection(v, m), Vector4d(v[0], v[1], v[2], 0) * full, bound);
        this->ExpectNear3(TransformPoint(v, m), Vector4d(v[0], v[1], v[2], 1) * full, bound);
    }
}

TYPED_TEST(EverySpaceMatrix, RotatesCounterClockwise) {
    using M = TypeParam;
    const double quarter = 1.5707963267948966;
    const double bound = 8 * this->EPSILON;
    const auto x = this->MakeVector(5, 0, 0);
    const auto z = this->MakeVector(0, 0, 0.001);
    this->ExpectNear3(TransformPoint(x, MakeRotation<M>(z, quarter)), this->MakeVector(0, 5, 0), 3 * bound);
    this->ExpectNear3(TransformPoint(z, MakeRotation<M>(x, quarter)), this->MakeVector(0, -0.001, 0), bound);
    for (const double length : {0.0, std::numeric_limits<double>::infinity()}) {
        EXPECT_EQ(MakeRotation<M>(this->MakeVector(length, 0, 0), 1), M::IDENTITY);
    }
    ZelkTest::Input input(47);
    for (int round = 0; round < 300; ++round) {
        const auto axis = this->MakeVector(input.Coarse(), input.Coarse(), 0.5);
        const double angle = input.Number(-10, 10);
        const M rotation = MakeRotation<M>(axis, angle);
        this->ExpectNear3(TransformDirection(axis, rotation), axis, 4 * bound);
        ExpectNear(rotation * MakeRotation<M>(axis, 1), MakeRotation<M>(axis, angle + 1), bound);
        ExpectNear(Inverse(rotation), MakeRotation<M>(axis, -angle), bound);
        EXPECT_NEAR(this->First(Determinant(rotation)), 1, bound);
    }
}

TEST(Matrix, HasTheseAnswers) {
    const Vector2d turned = Vector2d(2, 0) * MakeRotation<Matrix22d>(0.5235987755982988);
    EXPECT_NEAR(turned.X(), 1.7320508075688772, 1e-15);
    EXPECT_NEAR(turned.Y(), 1, 1e-15);
    EXPECT_EQ(Vector2f(1, 2) * MakeScale<Matrix22f>(Vector2f(3, 4)), Vector2f(3, 8));
    EXPECT_EQ(Determinant(Matrix22f(Vector2f(1, 2), Vector2f(3, 4))), -2);
    const Matrix44d exchange(Vector4d::BASE_L, Vector4d::BASE_K, Vector4d::BASE_J, Vector4d::BASE_I);
    EXPECT_EQ(Inverse(exchange), exchange);
}

TEST(Matrix, ConvertsBetweenShapes) {
    const Matrix34f affine(Vector3f(1, 2, 3), Vector3f(4, 5, 6), Vector3f(7, 8, 9), Vector3f(10, 11, 12));
    const auto full = ConvertMatrix<MatrixSIMD44f>(affine);
    EXPECT_EQ(full.Row(2), VectorSIMD4f(7, 8, 9, 0));
    EXPECT_EQ(full.Row(3), VectorSIMD4f(10, 11, 12, 1));
    EXPECT_EQ(ConvertMatrix<Matrix34f>(full), affine);
    EXPECT_EQ(ConvertMatrix<MatrixSIMD34f>(full).Row(3), VectorSIMD4f(10, 11, 12, 0));
    EXPECT_EQ(ConvertMatrix<Matrix22f>(affine).Row(1), Vector2f(4, 5));
}

} // namespace
