#include <zelk_core/base/layout.h>
#include <zelk_core/math/vectorsimd.h>

#include <bit>
#include <concepts>
#include <type_traits>

namespace Z4 {

/// One register.
template <class V>
requires std::derived_from<V, HostNew<V>>
struct Private::Layout<V> {
    static_assert(sizeof(V) == 16);
    static_assert(alignof(V) == 16);
    static_assert(std::is_trivially_copyable_v<V>);
    static_assert(std::is_trivially_default_constructible_v<V>);
};
template struct Private::Layout<VectorSIMD4f>;
template struct Private::Layout<VectorSIMD3f>;

namespace {

constexpr float ALL_BITS = std::bit_cast<float>(0xFFFFFFFFU);

} // namespace

constinit const VectorSIMD4f VectorSIMD4f::ZERO(0.0F, 0.0F, 0.0F, 0.0F);
constinit const VectorSIMD4f VectorSIMD4f::ONE(1.0F, 1.0F, 1.0F, 1.0F);
constinit const VectorSIMD4f VectorSIMD4f::BASE_I(1.0F, 0.0F, 0.0F, 0.0F);
constinit const VectorSIMD4f VectorSIMD4f::BASE_J(0.0F, 1.0F, 0.0F, 0.0F);
constinit const VectorSIMD4f VectorSIMD4f::BASE_K(0.0F, 0.0F, 1.0F, 0.0F);
constinit const VectorSIMD4f VectorSIMD4f::BASE_L(0.0F, 0.0F, 0.0F, 1.0F);
constinit const __m128 VectorSIMD4f::MASK_2D = {ALL_BITS, ALL_BITS, 0.0F, 0.0F};
constinit const __m128 VectorSIMD4f::MASK_3D = {ALL_BITS, ALL_BITS, ALL_BITS, 0.0F};
constinit const __m128 VectorSIMD4f::MASK_4D = {ALL_BITS, ALL_BITS, ALL_BITS, ALL_BITS};

constinit const VectorSIMD3f VectorSIMD3f::ZERO(0.0F, 0.0F, 0.0F);
constinit const VectorSIMD3f VectorSIMD3f::ONE(1.0F, 1.0F, 1.0F);
constinit const VectorSIMD3f VectorSIMD3f::BASE_I(1.0F, 0.0F, 0.0F);
constinit const VectorSIMD3f VectorSIMD3f::BASE_J(0.0F, 1.0F, 0.0F);
constinit const VectorSIMD3f VectorSIMD3f::BASE_K(0.0F, 0.0F, 1.0F);
constinit const __m128 VectorSIMD3f::MASK_2D = {ALL_BITS, ALL_BITS, 0.0F, 0.0F};
constinit const __m128 VectorSIMD3f::MASK_3D = {ALL_BITS, ALL_BITS, ALL_BITS, 0.0F};

} // namespace Z4
