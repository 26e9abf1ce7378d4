/// @file
/// VectorSIMD4f and VectorSIMD3f: four float lanes x, y, z, w in one SSE register, which geometry runs on.
///
/// Operations are lane by lane over all four lanes unless their name ends in 2 or 3, and scalar results are repeated in
/// all four lanes, so that nothing leaves the registers. Square roots and divisions are correctly rounded: no operation
/// uses the processor's reciprocal estimates. NaN spreads through arithmetic as usual; where it is compared away, the
/// operation says what is left. Nothing here traps or fails.
///
/// Objects are aligned to 16 bytes, on the heap too (hostnew.h). Pass them by const reference. The constants are
/// static data: they can be read before, and in, any static initialiser. Any thread.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/math/vector.h>

#include <emmintrin.h>

namespace Z4 {

/// In which order a dot product of three components adds its products.
enum class SumOrder : unsigned char {
    /// x + (y + z), the faster one in registers.
    FAST,
    /// (x + y) + z, what plain code on any platform computes: the same bits everywhere.
    CONSISTENT,
};

/// What both vectors share: `V` is the vector itself, `N` the number of components that count where vectors are
/// compared with ==.
template <class V, unsigned N>
class VectorSIMD : public HostNew<V> {
public:
    using Element = float;

    /// The same number in all four lanes.
    [[nodiscard]] static V Broadcast(float value) { return V(_mm_set1_ps(value)); }
    /// Four floats from memory of any alignment, and back.
    [[nodiscard]] static V Load(const float* source) { return V(_mm_loadu_ps(source)); }
    void Store(float* destination) const { _mm_storeu_ps(destination, m_lanes); }

    const __m128& Native() const { return m_lanes; }

    float X() const { return _mm_cvtss_f32(m_lanes); }
    float Y() const { return _mm_cvtss_f32(Spread<1>()); }
    float Z() const { return _mm_cvtss_f32(Spread<2>()); }
    float W() const { return _mm_cvtss_f32(Spread<3>()); }
    /// Lane `index`, which must be below 4.
    float operator[](unsigned long index) const {
        Z4_ASSERT(index < 4, "The index of a lane is below 4.");
        alignas(16) float lanes[4];
        _mm_store_ps(lanes, m_lanes);
        return lanes[index];
    }

    void SetX(float value) { Set(0, value); }
    void SetY(float value) { Set(1, value); }
    void SetZ(float value) { Set(2, value); }
    void SetW(float value) { Set(3, value); }
    /// Changes lane `index` alone; an index above 3 changes nothing.
    void Set(unsigned long index, float value) {
        const __m128 mask =
            _mm_castsi128_ps(_mm_cmpeq_epi32(_mm_set1_epi32(static_cast<int>(index)), _mm_setr_epi32(0, 1, 2, 3)));
        m_lanes = _mm_or_ps(_mm_and_ps(mask, _mm_set1_ps(value)), _mm_andnot_ps(mask, m_lanes));
    }

    V BroadcastX() const { return V(Spread<0>()); }
    V BroadcastY() const { return V(Spread<1>()); }
    V BroadcastZ() const { return V(Spread<2>()); }
    V BroadcastW() const { return V(Spread<3>()); }

    friend V operator+(const V& a, const V& b) { return V(_mm_add_ps(a.m_lanes, b.m_lanes)); }
    friend V operator-(const V& a, const V& b) { return V(_mm_sub_ps(a.m_lanes, b.m_lanes)); }
    friend V operator*(const V& a, const V& b) { return V(_mm_mul_ps(a.m_lanes, b.m_lanes)); }
    friend V operator/(const V& a, const V& b) { return V(_mm_div_ps(a.m_lanes, b.m_lanes)); }
    friend V operator+(const V& a, float b) { return a + Broadcast(b); }
    friend V operator-(const V& a, float b) { return a - Broadcast(b); }
    friend V operator*(const V& a, float b) { return a * Broadcast(b); }
    friend V operator/(const V& a, float b) { return a / Broadcast(b); }
    friend V operator+(float a, const V& b) { return Broadcast(a) + b; }
    friend V operator-(float a, const V& b) { return Broadcast(a) - b; }
    friend V operator*(float a, const V& b) { return Broadcast(a) * b; }
    friend V operator/(float a, const V& b) { return Broadcast(a) / b; }
    /// Flips the sign bits, of zeros and NaNs too.
    V operator-() const { return V(_mm_xor_ps(m_lanes, _mm_set1_ps(-0.0F))); }

    V& operator+=(const V& b) { return Assign(Self() + b); }
    V& operator-=(const V& b) { return Assign(Self() - b); }
    V& operator*=(const V& b) { return Assign(Self() * b); }
    V& operator/=(const V& b) { return Assign(Self() / b); }
    V& operator+=(float b) { return Assign(Self() + b); }
    V& operator-=(float b) { return Assign(Self() - b); }
    V& operator*=(float b) { return Assign(Self() * b); }
    V& operator/=(float b) { return Assign(Self() / b); }

    /// Whether the components are equal, all four or, of a VectorSIMD3f, the first three; a NaN never is.
    friend bool operator==(const V& a, const V& b) {
        constexpr int COUNTED = (1 << N) - 1;
        return (_mm_movemask_ps(_mm_cmpeq_ps(a.m_lanes, b.m_lanes)) & COUNTED) == COUNTED;
    }

protected:
    VectorSIMD() = default;
    constexpr explicit VectorSIMD(__m128 lanes) : m_lanes(lanes) {}

private:
    template <int LANE>
    __m128 Spread() const {
        return _mm_shuffle_ps(m_lanes, m_lanes, _MM_SHUFFLE(LANE, LANE, LANE, LANE));
    }
    const V& Self() const { return static_cast<const V&>(*this); }
    V& Assign(const V& value) {
        m_lanes = value.m_lanes;
        return static_cast<V&>(*this);
    }

    __m128 m_lanes;
};

/// Four components, all of which count.
class VectorSIMD4f : public VectorSIMD<VectorSIMD4f, 4> {
public:
    /// Leaves the lanes unset.
    VectorSIMD4f() = default;
    constexpr VectorSIMD4f(float x, float y, float z, float w) : VectorSIMD(__m128{x, y, z, w}) {}
    constexpr explicit VectorSIMD4f(__m128 lanes) : VectorSIMD(lanes) {}
    explicit VectorSIMD4f(const Vector4f& v) : VectorSIMD(_mm_loadu_ps(v.Data())) {}
    constexpr VectorSIMD4f(const Vector3f& xyz, float w) : VectorSIMD4f(xyz.X(), xyz.Y(), xyz.Z(), w) {}

    Z4_API static const VectorSIMD4f ZERO;
    Z4_API static const VectorSIMD4f ONE;
    Z4_API static const VectorSIMD4f BASE_I;
    Z4_API static const VectorSIMD4f BASE_J;
    Z4_API static const VectorSIMD4f BASE_K;
    Z4_API static const VectorSIMD4f BASE_L;
    /// All bits set in the first two, three or four lanes, none in the others.
    Z4_API static const __m128 MASK_2D;
    Z4_API static const __m128 MASK_3D;
    Z4_API static const __m128 MASK_4D;
};

/// Three components; the w lane takes part in lane-wise operations, and is 0 in the constants.
class VectorSIMD3f : public VectorSIMD<VectorSIMD3f, 3> {
public:
    /// Leaves the lanes unset.
    VectorSIMD3f() = default;
    /// The w lane becomes 0.
    constexpr VectorSIMD3f(float x, float y, float z) : VectorSIMD(__m128{x, y, z, 0.0F}) {}
    /// Takes all four lanes.
    constexpr explicit VectorSIMD3f(__m128 lanes) : VectorSIMD(lanes) {}
    /// The w lane becomes 0.
    constexpr explicit VectorSIMD3f(const Vector3f& v) : VectorSIMD3f(v.X(), v.Y(), v.Z()) {}

    Z4_API static const VectorSIMD3f ZERO;
    /// (1, 1, 1, 0).
    Z4_API static const VectorSIMD3f ONE;
    Z4_API static const VectorSIMD3f BASE_I;
    Z4_API static const VectorSIMD3f BASE_J;
    Z4_API static const VectorSIMD3f BASE_K;
    /// All bits set in the first two or three lanes, none in the others.
    Z4_API static const __m128 MASK_2D;
    Z4_API static const __m128 MASK_3D;
};

/// The first components as a plain vector; for other element types convert that.
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

/// The smaller and the greater of each lane; `b` where one of the two is NaN, and where both are zeros.
template <class V, unsigned N>
[[nodiscard]] V Min(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(_mm_min_ps(a.Native(), b.Native()));
}
template <class V, unsigned N>
[[nodiscard]] V Max(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(_mm_max_ps(a.Native(), b.Native()));
}

/// `v` moved into [low, high]; `low` where `v` is NaN, and `high` where the bounds are crossed.
template <class V, unsigned N>
[[nodiscard]] V Clamp(const VectorSIMD<V, N>& v, const VectorSIMD<V, N>& low, const VectorSIMD<V, N>& high) {
    return Min(Max(v, low), high);
}

/// Clears the sign bits.
template <class V, unsigned N>
[[nodiscard]] V Abs(const VectorSIMD<V, N>& v) {
    return V(_mm_andnot_ps(_mm_set1_ps(-0.0F), v.Native()));
}

/// Correctly rounded; NaN of a negative number.
template <class V, unsigned N>
[[nodiscard]] V Sqrt(const VectorSIMD<V, N>& v) {
    return V(_mm_sqrt_ps(v.Native()));
}

/// 1 / Sqrt(v), each step correctly rounded; infinity of 0.
template <class V, unsigned N>
[[nodiscard]] V ReciprocalSqrt(const VectorSIMD<V, N>& v) {
    return V(_mm_div_ps(_mm_set1_ps(1.0F), _mm_sqrt_ps(v.Native())));
}

/// The bits of `a` that are set in `b` too.
template <class V, unsigned N>
[[nodiscard]] V And(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(_mm_and_ps(a.Native(), b.Native()));
}
/// The same with one of the raw masks, as in `And(v, VectorSIMD4f::MASK_3D)`.
template <class V, unsigned N>
[[nodiscard]] V And(const VectorSIMD<V, N>& a, const __m128& b) {
    return V(_mm_and_ps(a.Native(), b));
}
/// The bits of `b` that are not set in `a`.
template <class V, unsigned N>
[[nodiscard]] V AndNot(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(_mm_andnot_ps(a.Native(), b.Native()));
}
template <class V, unsigned N>
[[nodiscard]] V Or(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(_mm_or_ps(a.Native(), b.Native()));
}

/// Each bit from `a` where it is set in `mask`, else from `b`.
template <class V, unsigned N>
[[nodiscard]] V Select(const VectorSIMD<V, N>& mask, const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return Or(And(mask, a), AndNot(mask, b));
}

/// Comparisons give masks: all bits of a lane set where it holds, none where it does not or where a NaN is compared.
template <class V, unsigned N>
[[nodiscard]] V Less(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(_mm_cmplt_ps(a.Native(), b.Native()));
}
template <class V, unsigned N>
[[nodiscard]] V LessEqual(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(_mm_cmple_ps(a.Native(), b.Native()));
}
template <class V, unsigned N>
[[nodiscard]] V Greater(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(_mm_cmpgt_ps(a.Native(), b.Native()));
}
template <class V, unsigned N>
[[nodiscard]] V GreaterEqual(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(_mm_cmpge_ps(a.Native(), b.Native()));
}
template <class V, unsigned N>
[[nodiscard]] V Equal(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    return V(_mm_cmpeq_ps(a.Native(), b.Native()));
}

/// Whether the lanes of a mask are set (their sign bits are what is read): all four, x y z, x y, or any of the four.
template <class V, unsigned N>
[[nodiscard]] bool AllTrue(const VectorSIMD<V, N>& mask) {
    return _mm_movemask_ps(mask.Native()) == 0xF;
}
template <class V, unsigned N>
[[nodiscard]] bool AllTrue3(const VectorSIMD<V, N>& mask) {
    return (_mm_movemask_ps(mask.Native()) & 0x7) == 0x7;
}
template <class V, unsigned N>
[[nodiscard]] bool AllTrue2(const VectorSIMD<V, N>& mask) {
    return (_mm_movemask_ps(mask.Native()) & 0x3) == 0x3;
}
template <class V, unsigned N>
[[nodiscard]] bool AnyTrue(const VectorSIMD<V, N>& mask) {
    return _mm_movemask_ps(mask.Native()) != 0;
}

/// Dot product of x, y and z, in all four lanes.
template <SumOrder ORDER = SumOrder::FAST, class V, unsigned N>
[[nodiscard]] V Dot3(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    const V products(_mm_mul_ps(a.Native(), b.Native()));
    if constexpr (ORDER == SumOrder::FAST) {
        return products.BroadcastX() + (products.BroadcastY() + products.BroadcastZ());
    } else {
        return (products.BroadcastX() + products.BroadcastY()) + products.BroadcastZ();
    }
}

/// Dot product of x and y, in all four lanes.
template <class V, unsigned N>
[[nodiscard]] V Dot2(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    const V products(_mm_mul_ps(a.Native(), b.Native()));
    return products.BroadcastX() + products.BroadcastY();
}

/// Squared length of (x, y, z), in all four lanes.
template <SumOrder ORDER = SumOrder::FAST, class V, unsigned N>
[[nodiscard]] V LengthSqr3(const VectorSIMD<V, N>& v) {
    return Dot3<ORDER>(v, v);
}

/// Length of (x, y, z), in all four lanes. The squared length must fit a float.
template <SumOrder ORDER = SumOrder::FAST, class V, unsigned N>
[[nodiscard]] V Length3(const VectorSIMD<V, N>& v) {
    return Sqrt(LengthSqr3<ORDER>(v));
}

/// All four lanes divided by the length of (x, y, z). Zero in all lanes where the squared length is 0, as it is too of
/// vectors shorter than about 1e-23, and where it overflows, from lengths of about 1.8e19 on.
template <SumOrder ORDER = SumOrder::FAST, class V, unsigned N>
[[nodiscard]] V Normalize3(const VectorSIMD<V, N>& v) {
    const V lengthSqr = LengthSqr3<ORDER>(v);
    const V quotient(_mm_div_ps(v.Native(), Sqrt(lengthSqr).Native()));
    return AndNot(Equal(lengthSqr, V::Broadcast(0.0F)), quotient);
}

/// Cross product of the x, y and z lanes, right-handed; the w lane is w w' - w w', so 0 of finite vectors.
template <class V, unsigned N>
[[nodiscard]] V Cross3(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b) {
    constexpr int YZXW = _MM_SHUFFLE(3, 0, 2, 1);
    // The products in the order z, x, y need one shuffle less than in the order x, y, z.
    const __m128 zxy = _mm_sub_ps(_mm_mul_ps(a.Native(), _mm_shuffle_ps(b.Native(), b.Native(), YZXW)),
                                  _mm_mul_ps(_mm_shuffle_ps(a.Native(), a.Native(), YZXW), b.Native()));
    return V(_mm_shuffle_ps(zxy, zxy, YZXW));
}

/// a + (b - a) t: `a` at t = 0 exactly, `b` at t = 1 but for rounding.
template <class V, unsigned N>
[[nodiscard]] V Lerp(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b, const VectorSIMD<V, N>& t) {
    return V(_mm_add_ps(a.Native(), _mm_mul_ps(_mm_sub_ps(b.Native(), a.Native()), t.Native())));
}
template <class V, unsigned N>
[[nodiscard]] V Lerp(const VectorSIMD<V, N>& a, const VectorSIMD<V, N>& b, float t) {
    return Lerp(a, b, V::Broadcast(t));
}

} // namespace Z4
