#include <zelk_core/base/layout.h>
#include <zelk_core/math/matrix.h>

namespace Z4 {

/// The rows and nothing else, each with its elements and nothing else.
template <Matrix M>
struct Private::Layout<M> {
    static_assert(sizeof(M) == M::ROWS * M::COLUMNS * sizeof(typename M::Element));
    static_assert(std::is_trivially_copyable_v<M>);
    static_assert(std::is_trivially_default_constructible_v<M>);
    static_assert(std::is_standard_layout_v<M>);
};

#define Z4_DEFINE_MATRIX(name)                                           \
    template struct Private::Layout<name>;                               \
    constinit const name name::IDENTITY = Private::MakeIdentity<name>(); \
    constinit const name name::ZERO = Private::MakeZero<name>();

Z4_DEFINE_MATRIX(Matrix22f)
Z4_DEFINE_MATRIX(Matrix22d)
Z4_DEFINE_MATRIX(Matrix33f)
Z4_DEFINE_MATRIX(Matrix33d)
Z4_DEFINE_MATRIX(Matrix34f)
Z4_DEFINE_MATRIX(Matrix34d)
Z4_DEFINE_MATRIX(Matrix44f)
Z4_DEFINE_MATRIX(Matrix44d)

} // namespace Z4
