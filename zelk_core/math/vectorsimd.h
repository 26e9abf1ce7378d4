/// @file
/// VectorSIMD4f and VectorSIMD3f: four float lanes x, y, z, w in one SSE register, which geometry runs on.
///
/// Operations work lane by lane on all four lanes, unless their name ends in 2 or 3: those count x and y, or x, y and
/// z. A result that is one number is repeated in all four lanes, so that nothing leaves the registers before X() is
/// asked for. Square roots and divisions are correctly rounded: no operation uses the processor's reciprocal estimates.
/// NaN and infinity follow IEEE 754; where an operation compares a NaN, it says what comes out. Nothing here traps or
/// fails.
///
/// Objects are aligned to 16 bytes: by the compiler where they are variables and members, by base/hostnew.h after
/// `new`, and by the caller in any other memory. Pass them by const reference. They are plain values: different threads
/// may read one at a time, and who writes must be alone. The constants are static data, so they can be read before, and
/// in, any static initialiser. ZERO and ONE have 0 and 1 in all components; BASE_I, BASE_J, BASE_K and BASE_L have 1 in
/// x, y, z and w and 0 in the others.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/math/vector.h>
#include <zelk_core/math/vectorsimdfunctions.h>
#include <zelk_core/math/vectorsimdmasks.h>
#include <zelk_core/math/vectorsimdshape.h>

namespace Z4 {

/// Four components in a register, all of which `==` compares. A plain value: different threads may read one at a time,
/// and who writes must be alone.
class VectorSIMD4f : public VectorSIMD<VectorSIMD4f, 4> {
public:
    /// Leaves the lanes unset: reading one before it is written is an error.
    VectorSIMD4f() = default;
    constexpr VectorSIMD4f(float x, float y, float z, float w) : VectorSIMD(__m128{x, y, z, w}) {}
    constexpr explicit VectorSIMD4f(__m128 lanes) : VectorSIMD(lanes) {}
    explicit VectorSIMD4f(const Vector4f& v) : VectorSIMD(Lanes::Load(v.Data())) {}
    constexpr VectorSIMD4f(const Vector3f& xyz, float w) : VectorSIMD4f(xyz.X(), xyz.Y(), xyz.Z(), w) {}

    Z4_API static const VectorSIMD4f ZERO;
    Z4_API static const VectorSIMD4f ONE;
    Z4_API static const VectorSIMD4f BASE_I;
    Z4_API static const VectorSIMD4f BASE_J;
    Z4_API static const VectorSIMD4f BASE_K;
    Z4_API static const VectorSIMD4f BASE_L;
    /// For And(): all bits set in the first two lanes, and in MASK_3D and MASK_4D in the first three and four; none in
    /// the others.
    Z4_API static const __m128 MASK_2D;
    Z4_API static const __m128 MASK_3D;
    Z4_API static const __m128 MASK_4D;
};

/// Three components in a register, which `==` compares; for threads a plain value as VectorSIMD4f. The w lane takes
/// part in all operations on four lanes; it is 0 in the constants and after construction from components.
class VectorSIMD3f : public VectorSIMD<VectorSIMD3f, 3> {
public:
    /// Leaves the lanes unset: reading one before it is written is an error.
    VectorSIMD3f() = default;
    constexpr VectorSIMD3f(float x, float y, float z) : VectorSIMD(__m128{x, y, z, 0.0F}) {}
    /// Takes all four lanes as they are.
    constexpr explicit VectorSIMD3f(__m128 lanes) : VectorSIMD(lanes) {}
    constexpr explicit VectorSIMD3f(const Vector3f& v) : VectorSIMD3f(v.X(), v.Y(), v.Z()) {}

    Z4_API static const VectorSIMD3f ZERO;
    /// (1, 1, 1, 0).
    Z4_API static const VectorSIMD3f ONE;
    Z4_API static const VectorSIMD3f BASE_I;
    Z4_API static const VectorSIMD3f BASE_J;
    Z4_API static const VectorSIMD3f BASE_K;
    /// For And(): all bits set in the first two lanes, and in MASK_3D in the first three; none in the others.
    Z4_API static const __m128 MASK_2D;
    Z4_API static const __m128 MASK_3D;
};

/// The first two, three or four lanes as a plain vector of floats. For other element types convert that in turn:
/// `Vector3d(ToVector3f(v))`.
template <class V, unsigned N>
[[nodiscard]] Vector4f ToVector4f(const VectorSIMD<V, N>& v) {
    Vector4f result;
    v.Store(result.Data());
    return result;
}
template <class V, unsigned N>
[[nodiscard]] Vector3f ToVector3f(const VectorSIMD<V, N>& v) {
    return Vector3f(v.X(), v.Y(), v.Z());
}
template <class V, unsigned N>
[[nodiscard]] Vector2f ToVector2f(const VectorSIMD<V, N>& v) {
    return Vector2f(v.X(), v.Y());
}

} // namespace Z4
