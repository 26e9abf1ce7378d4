#include <zelk_core/base/layout.h>
#include <zelk_core/math/vector.h>

#include <bit>

namespace Z4 {

/// The elements and nothing else, for the template and for the classes derived from it.
template <PlainVector V>
struct Private::Layout<V> {
    static_assert(sizeof(V) == V::SIZE * sizeof(typename V::Element));
    static_assert(std::is_trivially_copyable_v<V>);
    static_assert(std::is_trivially_default_constructible_v<V>);
    static_assert(std::is_standard_layout_v<V>);
};

template struct Private::Layout<Vector2f>;
template struct Private::Layout<Vector3f>;
template struct Private::Layout<Vector4f>;
template struct Private::Layout<Vector2d>;
template struct Private::Layout<Vector3d>;
template struct Private::Layout<Vector4d>;

namespace {

constexpr float ONES_F = std::bit_cast<float>(0xFFFFFFFFU);
constexpr double ONES_D = std::bit_cast<double>(0xFFFFFFFFFFFFFFFFULL);

template <PlainVector V>
constexpr V Repeat(typename V::Element value) {
    V result;
    for (unsigned i = 0; i < V::SIZE; ++i) {
        result[i] = value;
    }
    return result;
}

} // namespace

constinit const Vector2f Vector2f::ZERO(0.0F, 0.0F);
constinit const Vector2f Vector2f::ONE(1.0F, 1.0F);
constinit const Vector2f Vector2f::BASE_I(1.0F, 0.0F);
constinit const Vector2f Vector2f::BASE_J(0.0F, 1.0F);
constinit const VectorGeneric<float, 2> Vector2f::MASK_2D(ONES_F, ONES_F);

constinit const Vector3f Vector3f::ZERO(0.0F, 0.0F, 0.0F);
constinit const Vector3f Vector3f::ONE(1.0F, 1.0F, 1.0F);
constinit const Vector3f Vector3f::BASE_I(1.0F, 0.0F, 0.0F);
constinit const Vector3f Vector3f::BASE_J(0.0F, 1.0F, 0.0F);
constinit const Vector3f Vector3f::BASE_K(0.0F, 0.0F, 1.0F);
constinit const VectorGeneric<float, 3> Vector3f::MASK_2D(ONES_F, ONES_F, 0.0F);
constinit const VectorGeneric<float, 3> Vector3f::MASK_3D(ONES_F, ONES_F, ONES_F);

constinit const Vector4f Vector4f::ZERO(0.0F, 0.0F, 0.0F, 0.0F);
constinit const Vector4f Vector4f::ONE(1.0F, 1.0F, 1.0F, 1.0F);
constinit const Vector4f Vector4f::BASE_I(1.0F, 0.0F, 0.0F, 0.0F);
constinit const Vector4f Vector4f::BASE_J(0.0F, 1.0F, 0.0F, 0.0F);
constinit const Vector4f Vector4f::BASE_K(0.0F, 0.0F, 1.0F, 0.0F);
constinit const Vector4f Vector4f::BASE_L(0.0F, 0.0F, 0.0F, 1.0F);
constinit const VectorGeneric<float, 4> Vector4f::MASK_2D(ONES_F, ONES_F, 0.0F, 0.0F);
constinit const VectorGeneric<float, 4> Vector4f::MASK_3D(ONES_F, ONES_F, ONES_F, 0.0F);
constinit const VectorGeneric<float, 4> Vector4f::MASK_4D(ONES_F, ONES_F, ONES_F, ONES_F);

constinit const Vector2d Vector2d::ZERO(0.0, 0.0);
constinit const Vector2d Vector2d::ONE(1.0, 1.0);
constinit const Vector2d Vector2d::BASE_I(1.0, 0.0);
constinit const Vector2d Vector2d::BASE_J(0.0, 1.0);
constinit const VectorGeneric<double, 2> Vector2d::MASK_2D(ONES_D, ONES_D);

constinit const Vector3d Vector3d::ZERO(0.0, 0.0, 0.0);
constinit const Vector3d Vector3d::ONE(1.0, 1.0, 1.0);
constinit const Vector3d Vector3d::BASE_I(1.0, 0.0, 0.0);
constinit const Vector3d Vector3d::BASE_J(0.0, 1.0, 0.0);
constinit const Vector3d Vector3d::BASE_K(0.0, 0.0, 1.0);
constinit const VectorGeneric<double, 3> Vector3d::MASK_2D(ONES_D, ONES_D, 0.0);
constinit const VectorGeneric<double, 3> Vector3d::MASK_3D(ONES_D, ONES_D, ONES_D);

constinit const Vector4d Vector4d::ZERO(0.0, 0.0, 0.0, 0.0);
constinit const Vector4d Vector4d::ONE(1.0, 1.0, 1.0, 1.0);
constinit const Vector4d Vector4d::BASE_I(1.0, 0.0, 0.0, 0.0);
constinit const Vector4d Vector4d::BASE_J(0.0, 1.0, 0.0, 0.0);
constinit const Vector4d Vector4d::BASE_K(0.0, 0.0, 1.0, 0.0);
constinit const Vector4d Vector4d::BASE_L(0.0, 0.0, 0.0, 1.0);
constinit const VectorGeneric<double, 4> Vector4d::MASK_2D(ONES_D, ONES_D, 0.0, 0.0);
constinit const VectorGeneric<double, 4> Vector4d::MASK_3D(ONES_D, ONES_D, ONES_D, 0.0);
constinit const VectorGeneric<double, 4> Vector4d::MASK_4D(ONES_D, ONES_D, ONES_D, ONES_D);

#define Z4_DEFINE_INTEGER_VECTOR(name, element, size)  \
    template struct Private::Layout<name>;             \
    constinit const name name::ZERO = Repeat<name>(0); \
    constinit const name name::ONE = Repeat<name>(1);
Z4_FOR_EACH_INTEGER_VECTOR(Z4_DEFINE_INTEGER_VECTOR)

} // namespace Z4
