#include <zelk_core/math/vector.h>

namespace Z4 {

namespace {

/// Size and alignment of nothing but its elements, for plain and for derived classes.
template <class V>
constexpr bool IS_PACKED =
    sizeof(V) == V::SIZE * sizeof(typename V::Element) &&
    std::is_trivially_copyable_v<V>&& std::is_trivially_default_constructible_v<V>&& std::is_standard_layout_v<V>;

constexpr float ONES_F = std::bit_cast<float>(0xFFFFFFFFU);
constexpr double ONES_D = std::bit_cast<double>(0xFFFFFFFFFFFFFFFFULL);

} // namespace

static_assert(IS_PACKED<Vector2f>);
constinit const Vector2f Vector2f::ZERO(0.0F, 0.0F);
constinit const Vector2f Vector2f::ONE(1.0F, 1.0F);
constinit const Vector2f Vector2f::BASE_I(1.0F, 0.0F);
constinit const Vector2f Vector2f::BASE_J(0.0F, 1.0F);
constinit const VectorGeneric<float, 2> Vector2f::MASK_2D(ONES_F, ONES_F);

static_assert(IS_PACKED<Vector3f>);
constinit const Vector3f Vector3f::ZERO(0.0F, 0.0F, 0.0F);
constinit const Vector3f Vector3f::ONE(1.0F, 1.0F, 1.0F);
constinit const Vector3f Vector3f::BASE_I(1.0F, 0.0F, 0.0F);
constinit const Vector3f Vector3f::BASE_J(0.0F, 1.0F, 0.0F);
constinit const Vector3f Vector3f::BASE_K(0.0F, 0.0F, 1.0F);
constinit const VectorGeneric<float, 3> Vector3f::MASK_2D(ONES_F, ONES_F, 0.0F);
constinit const VectorGeneric<float, 3> Vector3f::MASK_3D(ONES_F, ONES_F, ONES_F);

static_assert(IS_PACKED<Vector4f>);
constinit const Vector4f Vector4f::ZERO(0.0F, 0.0F, 0.0F, 0.0F);
constinit const Vector4f Vector4f::ONE(1.0F, 1.0F, 1.0F, 1.0F);
constinit const Vector4f Vector4f::BASE_I(1.0F, 0.0F, 0.0F, 0.0F);
constinit const Vector4f Vector4f::BASE_J(0.0F, 1.0F, 0.0F, 0.0F);
constinit const Vector4f Vector4f::BASE_K(0.0F, 0.0F, 1.0F, 0.0F);
constinit const Vector4f Vector4f::BASE_L(0.0F, 0.0F, 0.0F, 1.0F);
constinit const VectorGeneric<float, 4> Vector4f::MASK_2D(ONES_F, ONES_F, 0.0F, 0.0F);
constinit const VectorGeneric<float, 4> Vector4f::MASK_3D(ONES_F, ONES_F, ONES_F, 0.0F);
constinit const VectorGeneric<float, 4> Vector4f::MASK_4D(ONES_F, ONES_F, ONES_F, ONES_F);

static_assert(IS_PACKED<Vector2d>);
constinit const Vector2d Vector2d::ZERO(0.0, 0.0);
constinit const Vector2d Vector2d::ONE(1.0, 1.0);
constinit const Vector2d Vector2d::BASE_I(1.0, 0.0);
constinit const Vector2d Vector2d::BASE_J(0.0, 1.0);
constinit const VectorGeneric<double, 2> Vector2d::MASK_2D(ONES_D, ONES_D);

static_assert(IS_PACKED<Vector3d>);
constinit const Vector3d Vector3d::ZERO(0.0, 0.0, 0.0);
constinit const Vector3d Vector3d::ONE(1.0, 1.0, 1.0);
constinit const Vector3d Vector3d::BASE_I(1.0, 0.0, 0.0);
constinit const Vector3d Vector3d::BASE_J(0.0, 1.0, 0.0);
constinit const Vector3d Vector3d::BASE_K(0.0, 0.0, 1.0);
constinit const VectorGeneric<double, 3> Vector3d::MASK_2D(ONES_D, ONES_D, 0.0);
constinit const VectorGeneric<double, 3> Vector3d::MASK_3D(ONES_D, ONES_D, ONES_D);

static_assert(IS_PACKED<Vector4d>);
constinit const Vector4d Vector4d::ZERO(0.0, 0.0, 0.0, 0.0);
constinit const Vector4d Vector4d::ONE(1.0, 1.0, 1.0, 1.0);
constinit const Vector4d Vector4d::BASE_I(1.0, 0.0, 0.0, 0.0);
constinit const Vector4d Vector4d::BASE_J(0.0, 1.0, 0.0, 0.0);
constinit const Vector4d Vector4d::BASE_K(0.0, 0.0, 1.0, 0.0);
constinit const Vector4d Vector4d::BASE_L(0.0, 0.0, 0.0, 1.0);
constinit const VectorGeneric<double, 4> Vector4d::MASK_2D(ONES_D, ONES_D, 0.0, 0.0);
constinit const VectorGeneric<double, 4> Vector4d::MASK_3D(ONES_D, ONES_D, ONES_D, 0.0);
constinit const VectorGeneric<double, 4> Vector4d::MASK_4D(ONES_D, ONES_D, ONES_D, ONES_D);

static_assert(IS_PACKED<Vector2s16>);
constinit const Vector2s16 Vector2s16::ZERO(0, 0);
constinit const Vector2s16 Vector2s16::ONE(1, 1);
static_assert(IS_PACKED<Vector3s16>);
constinit const Vector3s16 Vector3s16::ZERO(0, 0, 0);
constinit const Vector3s16 Vector3s16::ONE(1, 1, 1);
static_assert(IS_PACKED<Vector4s16>);
constinit const Vector4s16 Vector4s16::ZERO(0, 0, 0, 0);
constinit const Vector4s16 Vector4s16::ONE(1, 1, 1, 1);

static_assert(IS_PACKED<Vector2u16>);
constinit const Vector2u16 Vector2u16::ZERO(0, 0);
constinit const Vector2u16 Vector2u16::ONE(1, 1);
static_assert(IS_PACKED<Vector3u16>);
constinit const Vector3u16 Vector3u16::ZERO(0, 0, 0);
constinit const Vector3u16 Vector3u16::ONE(1, 1, 1);
static_assert(IS_PACKED<Vector4u16>);
constinit const Vector4u16 Vector4u16::ZERO(0, 0, 0, 0);
constinit const Vector4u16 Vector4u16::ONE(1, 1, 1, 1);

static_assert(IS_PACKED<Vector2s32>);
constinit const Vector2s32 Vector2s32::ZERO(0, 0);
constinit const Vector2s32 Vector2s32::ONE(1, 1);
static_assert(IS_PACKED<Vector3s32>);
constinit const Vector3s32 Vector3s32::ZERO(0, 0, 0);
constinit const Vector3s32 Vector3s32::ONE(1, 1, 1);
static_assert(IS_PACKED<Vector4s32>);
constinit const Vector4s32 Vector4s32::ZERO(0, 0, 0, 0);
constinit const Vector4s32 Vector4s32::ONE(1, 1, 1, 1);

static_assert(IS_PACKED<Vector2u32>);
constinit const Vector2u32 Vector2u32::ZERO(0, 0);
constinit const Vector2u32 Vector2u32::ONE(1, 1);
static_assert(IS_PACKED<Vector3u32>);
constinit const Vector3u32 Vector3u32::ZERO(0, 0, 0);
constinit const Vector3u32 Vector3u32::ONE(1, 1, 1);
static_assert(IS_PACKED<Vector4u32>);
constinit const Vector4u32 Vector4u32::ZERO(0, 0, 0, 0);
constinit const Vector4u32 Vector4u32::ONE(1, 1, 1, 1);

static_assert(IS_PACKED<Vector2s64>);
constinit const Vector2s64 Vector2s64::ZERO(0, 0);
constinit const Vector2s64 Vector2s64::ONE(1, 1);
static_assert(IS_PACKED<Vector3s64>);
constinit const Vector3s64 Vector3s64::ZERO(0, 0, 0);
constinit const Vector3s64 Vector3s64::ONE(1, 1, 1);
static_assert(IS_PACKED<Vector4s64>);
constinit const Vector4s64 Vector4s64::ZERO(0, 0, 0, 0);
constinit const Vector4s64 Vector4s64::ONE(1, 1, 1, 1);

static_assert(IS_PACKED<Vector2u64>);
constinit const Vector2u64 Vector2u64::ZERO(0, 0);
constinit const Vector2u64 Vector2u64::ONE(1, 1);
static_assert(IS_PACKED<Vector3u64>);
constinit const Vector3u64 Vector3u64::ZERO(0, 0, 0);
constinit const Vector3u64 Vector3u64::ONE(1, 1, 1);
static_assert(IS_PACKED<Vector4u64>);
constinit const Vector4u64 Vector4u64::ZERO(0, 0, 0, 0);
constinit const Vector4u64 Vector4u64::ONE(1, 1, 1, 1);

} // namespace Z4
