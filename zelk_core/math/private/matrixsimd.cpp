#include <zelk_core/math/matrixsimd.h>

#include <type_traits>

namespace Z4 {

namespace {

template <class M>
constexpr bool
    IS_PACKED = sizeof(M) == M::ROWS * sizeof(VectorSIMD4f) &&
                alignof(M) == 16 && std::is_trivially_copyable_v<M>&& std::is_trivially_default_constructible_v<M>;

} // namespace

static_assert(IS_PACKED<MatrixSIMD33f>);
constinit const MatrixSIMD33f MatrixSIMD33f::IDENTITY = Private::MakeIdentity<MatrixSIMD33f>();
constinit const MatrixSIMD33f MatrixSIMD33f::ZERO = Private::MakeZero<MatrixSIMD33f>();

static_assert(IS_PACKED<MatrixSIMD34f>);
constinit const MatrixSIMD34f MatrixSIMD34f::IDENTITY = Private::MakeIdentity<MatrixSIMD34f>();
constinit const MatrixSIMD34f MatrixSIMD34f::ZERO = Private::MakeZero<MatrixSIMD34f>();

static_assert(IS_PACKED<MatrixSIMD44f>);
constinit const MatrixSIMD44f MatrixSIMD44f::IDENTITY = Private::MakeIdentity<MatrixSIMD44f>();
constinit const MatrixSIMD44f MatrixSIMD44f::ZERO = Private::MakeZero<MatrixSIMD44f>();

} // namespace Z4
