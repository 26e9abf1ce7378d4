#include <zelk_core/math/matrixsimd.h>

#include <type_traits>

namespace Z4 {

static_assert(sizeof(MatrixSIMD33f) == 48 && alignof(MatrixSIMD33f) == 16);
static_assert(sizeof(MatrixSIMD34f) == 64 && alignof(MatrixSIMD34f) == 16);
static_assert(sizeof(MatrixSIMD44f) == 64 && alignof(MatrixSIMD44f) == 16);
static_assert(std::is_trivially_copyable_v<MatrixSIMD33f> && std::is_trivially_copyable_v<MatrixSIMD34f> &&
              std::is_trivially_copyable_v<MatrixSIMD44f>);

namespace {

constexpr VectorSIMD4f ORIGIN(0.0F, 0.0F, 0.0F, 0.0F);
constexpr VectorSIMD4f X_AXIS(1.0F, 0.0F, 0.0F, 0.0F);
constexpr VectorSIMD4f Y_AXIS(0.0F, 1.0F, 0.0F, 0.0F);
constexpr VectorSIMD4f Z_AXIS(0.0F, 0.0F, 1.0F, 0.0F);
constexpr VectorSIMD4f W_AXIS(0.0F, 0.0F, 0.0F, 1.0F);

} // namespace

constinit const MatrixSIMD33f MatrixSIMD33f::IDENTITY(X_AXIS, Y_AXIS, Z_AXIS);
constinit const MatrixSIMD33f MatrixSIMD33f::ZERO(ORIGIN, ORIGIN, ORIGIN);
constinit const MatrixSIMD34f MatrixSIMD34f::IDENTITY(X_AXIS, Y_AXIS, Z_AXIS, ORIGIN);
constinit const MatrixSIMD34f MatrixSIMD34f::ZERO(ORIGIN, ORIGIN, ORIGIN, ORIGIN);
constinit const MatrixSIMD44f MatrixSIMD44f::IDENTITY(X_AXIS, Y_AXIS, Z_AXIS, W_AXIS);
constinit const MatrixSIMD44f MatrixSIMD44f::ZERO(ORIGIN, ORIGIN, ORIGIN, ORIGIN);

} // namespace Z4
