#include "random.h"

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

/// The oracle: any matrix as a full one in double precision, and what is done with it the long way.
struct Full {
    double at[4][4];
};

template <class M>
Full ToFull(const M& m) {
    Full full = {};
    for (unsigned i = 0; i < 4; ++i) {
        for (unsigned j = 0; j < 4; ++j) {
            full.at[i][j] = i < M::ROWS && j < M::COLUMNS ? static_cast<double>(m.Row(i)[j]) : (i == j ? 1 : 0);
        }
    }
    return full;
}

Full Product(const Full& a, const Full& b) {
    Full product = {};
    for (unsigned i = 0; i < 4; ++i) {
        for (unsigned j = 0; j < 4; ++j) {
            for (unsigned k = 0; k < 4; ++k) {
                product.at[i][j] += a.at[i][k] * b.at[k][j];
            }
        }
    }
    return product;
}

double LeibnizDeterminant(const Full& m) {
    double sum = 0;
    for (unsigned code = 0; code < 256; ++code) {
        const unsigned column[4] = {code & 3, code >> 2 & 3, code >> 4 & 3, code >> 6};
        double term = 1;
        for (unsigned i = 0; i < 4; ++i) {
            for (unsigned j = 0; j < i; ++j) {
                term *= column[j] == column[i] ? 0 : (column[j] > column[i] ? -1 : 1);
            }
            term *= m.at[i][column[i]];
        }
        sum += term;
    }
    return sum;
}

template <class M>
void ExpectNear(const M& m, const Full& expected, double bound) {
    const Full full = ToFull(m);
    for (unsigned i = 0; i < 4; ++i) {
        for (unsigned j = 0; j < 4; ++j) {
            EXPECT_NEAR(full.at[i][j], expected.at[i][j], bound) << "row " << i << " column " << j;
        }
    }
}

/// The fourth lanes of the rows of three are 0.
template <class M>
void ExpectCleanLanes([[maybe_unused]] const M& m) {
    if constexpr (std::is_same_v<typename M::RowType, VectorSIMD4f> && M::COLUMNS == 3) {
        for (unsigned i = 0; i < M::ROWS; ++i) {
            EXPECT_EQ(m.Row(i)[3], 0);
        }
    }
}

template <class M>
class EveryMatrix : public testing::Test {
protected:
    static constexpr double EPSILON = std::numeric_limits<typename M::Element>::epsilon();

    /// Well conditioned: three on the diagonal, at most a half beside it.
    static M Make(ZelkTest::Random& random) {
        Matrix44d full;
        for (unsigned i = 0; i < 4; ++i) {
            for (unsigned j = 0; j < 4; ++j) {
                full.Row(i)[j] = random.Number(-0.5, 0.5) + (i == j ? 3 : 0);
            }
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

TYPED_TEST(EveryMatrix, AgreesWithDoublePrecision) {
    using M = TypeParam;
    ZelkTest::Random random(45);
    for (int round = 0; round < 300; ++round) {
        const M a = this->Make(random);
        const M b = this->Make(random);
        const Full product = Product(ToFull(a), ToFull(b));
        ExpectNear(a * b, product, 64 * this->EPSILON);
        M c = a;
        c *= b;
        EXPECT_EQ(c, a * b);
        EXPECT_EQ(a + a - a, a * 2 - a);
        EXPECT_EQ(2 * a, a + a);
        EXPECT_FALSE(a == b);
        const double determinant = LeibnizDeterminant(ToFull(a));
        EXPECT_NEAR(this->First(Determinant(a)), determinant, 64 * this->EPSILON * determinant);
        const M inverse = Inverse(a);
        ExpectNear(inverse * a, ToFull(M::IDENTITY), 32 * this->EPSILON);
        ExpectNear(a * inverse, ToFull(M::IDENTITY), 32 * this->EPSILON);
        ExpectCleanLanes(a * b);
        ExpectCleanLanes(inverse);
        if constexpr (SquareMatrix<M>) {
            const Full full = ToFull(Transpose(a));
            const Full original = ToFull(a);
            for (unsigned i = 0; i < 16; ++i) {
                EXPECT_EQ(full.at[i / 4][i % 4], original.at[i % 4][i / 4]);
            }
            ExpectCleanLanes(Transpose(a));
            EXPECT_EQ(a.Row(1) * b, (a * b).Row(1));
        }
        if constexpr (SpaceMatrix<M> && M::ROWS == 4) {
            ExpectNear(InverseAffine(a), ToFull(Inverse(ConvertMatrix<Matrix34d>(a))), 32 * this->EPSILON);
        }
    }
}

TYPED_TEST(EveryMatrix, SingularOnesHaveTheZeroInverse) {
    using M = TypeParam;
    const auto infinity = std::numeric_limits<typename M::Element>::infinity();
    M equalRows = M::IDENTITY;
    equalRows.Row(0) = equalRows.Row(1);
    M emptyColumn = M::IDENTITY;
    emptyColumn.Row(1) = M::ZERO.Row(1);
    M tiny = M::IDENTITY;
    tiny.Row(0) = tiny.Row(0) * std::numeric_limits<typename M::Element>::denorm_min();
    M infinite = M::IDENTITY;
    infinite.Row(1) = infinite.Row(1) + infinite.Row(1) * infinity;
    for (const M& m : {M::ZERO, equalRows, emptyColumn, tiny, infinite}) {
        EXPECT_EQ(Inverse(m), M::ZERO);
        if constexpr (SpaceMatrix<M>) {
            EXPECT_EQ(InverseAffine(m), M::ZERO);
        }
    }
    EXPECT_FALSE(infinite * M::IDENTITY == infinite);
}

template <class M>
class EverySpaceMatrix : public EveryMatrix<M> {
protected:
    using Vector =
        std::conditional_t<std::is_same_v<typename M::RowType, VectorSIMD4f>, VectorSIMD4f,
                           std::conditional_t<std::is_same_v<typename M::Element, float>, Vector3f, Vector3d>>;
    static Vector MakeVector(double x, double y, double z) {
        using Element = typename M::Element;
        const VectorGeneric<Element, 3> v(Vector3d(x, y, z));
        if constexpr (std::is_same_v<Vector, VectorSIMD4f>) {
            return VectorSIMD4f(v[0], v[1], v[2], 77);
        } else {
            return Vector(v[0], v[1], v[2]);
        }
    }
    static void ExpectNear3(const Vector& v, double x, double y, double z, double bound) {
        EXPECT_NEAR(v[0], x, bound);
        EXPECT_NEAR(v[1], y, bound);
        EXPECT_NEAR(v[2], z, bound);
    }
};
using SpaceMatrixType = testing::Types<Matrix33f, Matrix33d, Matrix34f, Matrix34d, Matrix44f, Matrix44d, MatrixSIMD33f,
                                       MatrixSIMD34f, MatrixSIMD44f>;
TYPED_TEST_SUITE(EverySpaceMatrix, SpaceMatrixType);

TYPED_TEST(EverySpaceMatrix, TransformsRowVectors) {
    using M = TypeParam;
    ZelkTest::Random random(46);
    for (int round = 0; round < 300; ++round) {
        const M m = this->Make(random);
        const Full full = ToFull(m);
        const double v[3] = {std::ldexp(random.Index(4096), -9), std::ldexp(random.Index(4096), -9), -2.5};
        double direction[3] = {};
        double point[3] = {};
        for (unsigned j = 0; j < 3; ++j) {
            direction[j] = v[0] * full.at[0][j] + v[1] * full.at[1][j] + v[2] * full.at[2][j];
            point[j] = direction[j] + full.at[3][j];
        }
        const auto given = this->MakeVector(v[0], v[1], v[2]);
        this->ExpectNear3(TransformDirection(given, m), direction[0], direction[1], direction[2], 256 * this->EPSILON);
        this->ExpectNear3(TransformPoint(given, m), point[0], point[1], point[2], 256 * this->EPSILON);
        ExpectCleanLanes(m);
    }
}

TYPED_TEST(EverySpaceMatrix, RotatesCounterClockwise) {
    using M = TypeParam;
    const double quarter = 1.5707963267948966;
    const double bound = 4 * this->EPSILON;
    const auto x = this->MakeVector(5, 0, 0);
    const auto z = this->MakeVector(0, 0, 0.001);
    this->ExpectNear3(TransformPoint(x, MakeRotation<M>(z, quarter)), 0, 5, 0, 5 * bound);
    this->ExpectNear3(TransformPoint(z, MakeRotation<M>(x, quarter)), 0, -0.001, 0, bound);
    for (const double length : {0.0, static_cast<double>(std::numeric_limits<double>::infinity())}) {
        EXPECT_EQ(MakeRotation<M>(this->MakeVector(length, 0, 0), 1), M::IDENTITY);
    }
    ZelkTest::Random random(47);
    for (int round = 0; round < 300; ++round) {
        const auto axis = this->MakeVector(random.Number(-1, 1), random.Number(-1, 1), random.Number(0.5, 1));
        const double angle = random.Number(-10, 10);
        const M rotation = MakeRotation<M>(axis, angle);
        this->ExpectNear3(TransformDirection(axis, rotation), axis[0], axis[1], axis[2], 2 * bound);
        ExpectNear(rotation * MakeRotation<M>(axis, 1), ToFull(MakeRotation<M>(axis, angle + 1)), 2 * bound);
        ExpectNear(Inverse(rotation), ToFull(MakeRotation<M>(axis, -angle)), 2 * bound);
        EXPECT_NEAR(this->First(Determinant(rotation)), 1, 2 * bound);
        ExpectCleanLanes(rotation);
    }
}

TYPED_TEST(EverySpaceMatrix, ScalesAndTranslates) {
    using M = TypeParam;
    const M scale = MakeScale<M>(this->MakeVector(2, 3, 4));
    const auto p = this->MakeVector(1, -1, 0.5);
    this->ExpectNear3(TransformPoint(p, scale), 2, -3, 2, 0);
    if constexpr (M::ROWS == 4) {
        const M move = MakeTranslation<M>(this->MakeVector(10, 20, 30));
        this->ExpectNear3(TransformPoint(p, scale * move), 12, 17, 32, 0);
        this->ExpectNear3(TransformPoint(p, move * scale), 22, 57, 122, 0);
        this->ExpectNear3(TransformDirection(p, move), 1, -1, 0.5, 0);
        this->ExpectNear3(TransformPoint(p, InverseAffine(move)), -9, -21, -29.5, 0);
    }
}

TEST(Matrix, PlaneRotationAndScale) {
    const Vector2d turned = Vector2d(2, 0) * MakeRotation<Matrix22d>(0.5235987755982988);
    EXPECT_NEAR(turned.X(), 1.7320508075688772, 1e-15);
    EXPECT_NEAR(turned.Y(), 1, 1e-15);
    EXPECT_EQ(Vector2f(1, 2) * MakeScale<Matrix22f>(Vector2f(3, 4)), Vector2f(3, 8));
}

TEST(Matrix, FullInverseHandlesProjections) {
    const Matrix44d projection(Vector4d(1.5, 0, 0, 0), Vector4d(0, 2, 0, 0), Vector4d(0, 0, 1.25, 1),
                               Vector4d(0, 0, -0.5, 0));
    ExpectNear(projection * Inverse(projection), ToFull(Matrix44d::IDENTITY), 1e-15);
    const Matrix44d exchange(Vector4d::BASE_L, Vector4d::BASE_K, Vector4d::BASE_J, Vector4d::BASE_I);
    EXPECT_EQ(Inverse(exchange), exchange);
}

/// Registers and plain floats give the same bits.
template <class Simd, class Plain>
void ExpectSameBits(unsigned seed) {
    ZelkTest::Random random(seed);
    for (int round = 0; round < 20000 && !testing::Test::HasFailure(); ++round) {
        Matrix44f full;
        Matrix44f other;
        for (unsigned i = 0; i < 4; ++i) {
            full.Row(i) = random.Vector<Vector4f>();
            other.Row(i) = random.Vector<Vector4f>();
        }
        const auto a = ConvertMatrix<Plain>(full);
        const auto b = ConvertMatrix<Plain>(other);
        const auto simdA = ConvertMatrix<Simd>(a);
        const auto simdB = ConvertMatrix<Simd>(b);
        EXPECT_EQ(ConvertMatrix<Plain>(simdA * simdB), a * b);
        EXPECT_EQ(ConvertMatrix<Plain>(Inverse(simdA)), Inverse(a));
        EXPECT_EQ(ConvertMatrix<Plain>(InverseAffine(simdA)), InverseAffine(a));
        EXPECT_EQ(Determinant(simdA).X(), Determinant(a));
        const auto p = random.Vector<Vector3f>();
        EXPECT_EQ(ToVector3f(TransformPoint(VectorSIMD4f(p, 1), simdA)), TransformPoint(p, a));
        EXPECT_EQ(ToVector3f(TransformDirection(VectorSIMD3f(p), simdA)), TransformDirection(p, a));
    }
}

TEST(Matrix, RegistersAndPlainFloatsGiveTheSameBits) {
    ExpectSameBits<MatrixSIMD33f, Matrix33f>(48);
    ExpectSameBits<MatrixSIMD34f, Matrix34f>(49);
    ExpectSameBits<MatrixSIMD44f, Matrix44f>(50);
}

TEST(Matrix, PointsAreSummedFromTheTranslation) {
    const MatrixSIMD44f m(VectorSIMD4f(1, 0, 0, 0), VectorSIMD4f(1e8F, 1, 0, 0), VectorSIMD4f(-1e8F, 0, 1, 0),
                          VectorSIMD4f(3, 4, 5, 1));
    // ((-1e8 + 3) + 1e8) + 1: the 3 is lost in the first sum.
    EXPECT_EQ(TransformPoint(VectorSIMD4f(1, 1, 1, 55), m), VectorSIMD4f(1, 5, 6, 1));
}

TEST(Matrix, ConvertsBetweenShapes) {
    const Matrix34f affine(Vector3f(1, 2, 3), Vector3f(4, 5, 6), Vector3f(7, 8, 9), Vector3f(10, 11, 12));
    const auto full = ConvertMatrix<MatrixSIMD44f>(affine);
    EXPECT_EQ(full.Row(2), VectorSIMD4f(7, 8, 9, 0));
    EXPECT_EQ(full.Row(3), VectorSIMD4f(10, 11, 12, 1));
    EXPECT_EQ(ConvertMatrix<Matrix34f>(full), affine);
    EXPECT_EQ(ConvertMatrix<MatrixSIMD34f>(full).Row(3), VectorSIMD4f(10, 11, 12, 0));
    EXPECT_EQ(ConvertMatrix<Matrix44d>(Matrix22f::IDENTITY), Matrix44d::IDENTITY);
    EXPECT_EQ(ConvertMatrix<Matrix22f>(affine).Row(1), Vector2f(4, 5));
}

} // namespace
