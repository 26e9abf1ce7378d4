#include <zelk_core/base/layout.h>
#include <zelk_core/math/matrixsimd.h>

#include <type_traits>

namespace Z4 {

/// One register for each row.
template <Matrix M>
struct Private::Layout<M> {
    static_assert(sizeof(M) == M::ROWS * sizeof(VectorSIMD4f));
    static_assert(alignof(M) == 16);
    static_assert(std::is_trivially_copyable_v<M>);
    static_assert(std::is_trivially_default_constructible_v<M>);
};
template struct Private::Layout<MatrixSIMD33f>;
template struct Private::Layout<MatrixSIMD34f>;
template struct Private::Layout<MatrixSIMD44f>;

constinit const MatrixSIMD33f MatrixSIMD33f::IDENTITY = Private::MakeIdentity<MatrixSIMD33f>();
constinit const MatrixSIMD33f MatrixSIMD33f::ZERO = Private::MakeZero<MatrixSIMD33f>();

constinit const MatrixSIMD34f MatrixSIMD34f::IDENTITY = Private::MakeIdentity<MatrixSIMD34f>();
constinit const MatrixSIMD34f MatrixSIMD34f::ZERO = Private::MakeZero<MatrixSIMD34f>();

constinit const MatrixSIMD44f MatrixSIMD44f::IDENTITY = Private::MakeIdentity<MatrixSIMD44f>();
constinit const MatrixSIMD44f MatrixSIMD44f::ZERO = Private::MakeZero<MatrixSIMD44f>();

} // namespace Z4
