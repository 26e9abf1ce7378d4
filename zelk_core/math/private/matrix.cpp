#include <zelk_core/math/matrix.h>

namespace Z4 {

namespace {

template <class M, unsigned ELEMENTS>
constexpr bool IS_PACKED =
    sizeof(M) == ELEMENTS * sizeof(typename M::Element) &&
    std::is_trivially_copyable_v<M>&& std::is_trivially_default_constructible_v<M>&& std::is_standard_layout_v<M>;

} // namespace

static_assert(IS_PACKED<Matrix22f, 4>);
constinit const Matrix22f Matrix22f::IDENTITY = Private::MakeIdentity<Matrix22f>();
constinit const Matrix22f Matrix22f::ZERO = Private::MakeZero<Matrix22f>();

static_assert(IS_PACKED<Matrix22d, 4>);
constinit const Matrix22d Matrix22d::IDENTITY = Private::MakeIdentity<Matrix22d>();
constinit const Matrix22d Matrix22d::ZERO = Private::MakeZero<Matrix22d>();

static_assert(IS_PACKED<Matrix33f, 9>);
constinit const Matrix33f Matrix33f::IDENTITY = Private::MakeIdentity<Matrix33f>();
constinit const Matrix33f Matrix33f::ZERO = Private::MakeZero<Matrix33f>();

static_assert(IS_PACKED<Matrix33d, 9>);
constinit const Matrix33d Matrix33d::IDENTITY = Private::MakeIdentity<Matrix33d>();
constinit const Matrix33d Matrix33d::ZERO = Private::MakeZero<Matrix33d>();

static_assert(IS_PACKED<Matrix34f, 12>);
constinit const Matrix34f Matrix34f::IDENTITY = Private::MakeIdentity<Matrix34f>();
constinit const Matrix34f Matrix34f::ZERO = Private::MakeZero<Matrix34f>();

static_assert(IS_PACKED<Matrix34d, 12>);
constinit const Matrix34d Matrix34d::IDENTITY = Private::MakeIdentity<Matrix34d>();
constinit const Matrix34d Matrix34d::ZERO = Private::MakeZero<Matrix34d>();

static_assert(IS_PACKED<Matrix44f, 16>);
constinit const Matrix44f Matrix44f::IDENTITY = Private::MakeIdentity<Matrix44f>();
constinit const Matrix44f Matrix44f::ZERO = Private::MakeZero<Matrix44f>();

static_assert(IS_PACKED<Matrix44d, 16>);
constinit const Matrix44d Matrix44d::IDENTITY = Private::MakeIdentity<Matrix44d>();
constinit const Matrix44d Matrix44d::ZERO = Private::MakeZero<Matrix44d>();

} // namespace Z4
