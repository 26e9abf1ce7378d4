/// @file
/// VectorGeneric, `N` components of any element type, and the operations of all plain vectors; vector.h has the
/// classes.
///
/// Every operation takes vectors of one class and gives that class. Sums run from left to right, in the element type.
/// Integer arithmetic wraps around at the ends of its type, signed too. Floating-point NaN spreads through arithmetic;
/// where it is compared away, the operation says what is left. What needs no square root is `constexpr`.
#pragma once

#include <zelk_core/base/assert.h>

#include <emmintrin.h>

#include <bit>
#include <cstdint>
#include <limits>
#include <type_traits>

namespace Z4 {

namespace Private {

/// Converts one element. To an integer from a floating-point number: towards 0, saturated to the range, 0 of NaN.
/// Between integers: modulo the range. To a narrower floating-point type: rounded, infinity beyond its range.
template <class To, class From>
constexpr To ConvertElement(From value) {
    if constexpr (std::is_integral_v<To> && std::is_floating_point_v<From>) {
        using Limits = std::numeric_limits<To>;
        // One above the greatest, a power of two, is exact in every floating-point type; the greatest is not.
        constexpr auto HALF = static_cast<To>(Limits::max() / 2 + 1);
        constexpr From END = static_cast<From>(HALF) * 2;
        if (value >= END) {
            return Limits::max();
        }
        if (value >= static_cast<From>(Limits::min())) {
            return static_cast<To>(value);
        }
        return value < 0 ? Limits::min() : 0;
    } else {
        return static_cast<To>(value);
    }
}

} // namespace Private

/// `N` elements of type `T` one after another and nothing else, in the order x, y, z, w.
template <class T, unsigned N>
class VectorGeneric {
    static_assert(std::is_arithmetic_v<T> && N >= 2 && N <= 4);

public:
    using Element = T;
    static constexpr unsigned SIZE = N;

    /// Leaves the components unset.
    VectorGeneric() = default;
    constexpr VectorGeneric(T x, T y) requires(N == 2) : m_components{x, y} {}
    constexpr VectorGeneric(T x, T y, T z) requires(N == 3) : m_components{x, y, z} {}
    constexpr VectorGeneric(T x, T y, T z, T w) requires(N == 4) : m_components{x, y, z, w} {}
    /// A vector of one component less, and the last.
    constexpr VectorGeneric(const VectorGeneric<T, (N > 2 ? N - 1 : N)>& first, T last) requires(N > 2) {
        for (unsigned i = 0; i + 1 < N; ++i) {
            m_components[i] = first[i];
        }
        m_components[N - 1] = last;
    }
    /// The first components of a vector of another element type or of more components. Floating-point numbers become
    /// integers towards 0, those out of range the nearest end of it and NaN 0; integers wrap around; what is too great
    /// for a float becomes infinite.
    template <class U, unsigned M>
    requires(M >= N) constexpr explicit VectorGeneric(const VectorGeneric<U, M>& other) {
        for (unsigned i = 0; i < N; ++i) {
            m_components[i] = Private::ConvertElement<T>(other[i]);
        }
    }

    constexpr T X() const { return m_components[0]; }
    constexpr T Y() const { return m_components[1]; }
    constexpr T Z() const requires(N > 2) { return m_components[2]; }
    constexpr T W() const requires(N > 3) { return m_components[3]; }
    constexpr void SetX(T value) { m_components[0] = value; }
    constexpr void SetY(T value) { m_components[1] = value; }
    constexpr void SetZ(T value) requires(N > 2) { m_components[2] = value; }
    constexpr void SetW(T value) requires(N > 3) { m_components[3] = value; }

    /// Component `index`, which must be below `N`.
    constexpr const T& operator[](unsigned long index) const {
        Z4_ASSERT(index < N, "The index of a component is below their number.");
        return m_components[index];
    }
    constexpr T& operator[](unsigned long index) {
        Z4_ASSERT(index < N, "The index of a component is below their number.");
        return m_components[index];
    }

    /// The `N` elements in memory.
    constexpr const T* Data() const { return m_components; }
    constexpr T* Data() { return m_components; }

private:
    T m_components[N];
};

/// A VectorGeneric or one of the classes of vector.h.
template <class V>
concept PlainVector = std::is_base_of_v<VectorGeneric<typename V::Element, V::SIZE>, V>;

/// One of float or double.
template <class V>
concept PlainFloatVector = PlainVector<V> && std::is_floating_point_v<typename V::Element>;

namespace Private {

/// What arithmetic on `T` runs in: wide enough not to be promoted to `int`, unsigned so that it wraps.
template <class T>
using Arithmetic =
    std::conditional_t<std::is_floating_point_v<T>, T,
                       std::conditional_t<sizeof(T) == sizeof(std::uint64_t), std::uint64_t, std::uint32_t>>;

template <class T>
constexpr T Add(T a, T b) {
    return static_cast<T>(static_cast<Arithmetic<T>>(a) + static_cast<Arithmetic<T>>(b));
}
template <class T>
constexpr T Subtract(T a, T b) {
    return static_cast<T>(static_cast<Arithmetic<T>>(a) - static_cast<Arithmetic<T>>(b));
}
template <class T>
constexpr T Multiply(T a, T b) {
    return static_cast<T>(static_cast<Arithmetic<T>>(a) * static_cast<Arithmetic<T>>(b));
}

/// The integer that holds the bits of a `T`.
template <class T>
using BitsOf =
    std::conditional_t<sizeof(T) == 8, std::uint64_t, std::conditional_t<sizeof(T) == 4, std::uint32_t, std::uint16_t>>;

inline float SquareRoot(float value) {
    return _mm_cvtss_f32(_mm_sqrt_ss(_mm_set_ss(value)));
}
inline double SquareRoot(double value) {
    const __m128d lanes = _mm_set_sd(value);
    return _mm_cvtsd_f64(_mm_sqrt_sd(lanes, lanes));
}

template <PlainVector V, class Function>
constexpr V Map(const V& a, Function function) {
    V result;
    for (unsigned i = 0; i < V::SIZE; ++i) {
        result[i] = function(a[i]);
    }
    return result;
}

template <PlainVector V, class Function>
constexpr V Map(const V& a, const VectorGeneric<typename V::Element, V::SIZE>& b, Function function) {
    V result;
    for (unsigned i = 0; i < V::SIZE; ++i) {
        result[i] = function(a[i], b[i]);
    }
    return result;
}

template <PlainVector V, class Test>
constexpr bool All(const V& a, const V& b, Test test) {
    for (unsigned i = 0; i < V::SIZE; ++i) {
        if (!test(a[i], b[i])) {
            return false;
        }
    }
    return true;
}

template <PlainVector V, class Function>
constexpr V MapBits(const V& a, const VectorGeneric<typename V::Element, V::SIZE>& b, Function function) {
    using Element = typename V::Element;
    using Bits = BitsOf<Element>;
    return Map(a, b, [function](Element p, Element q) {
        return std::bit_cast<Element>(static_cast<Bits>(function(std::bit_cast<Bits>(p), std::bit_cast<Bits>(q))));
    });
}

} // namespace Private

/// Component by component.
template <PlainVector V>
constexpr V operator+(const V& a, const V& b) {
    return Private::Map(a, b, Private::Add<typename V::Element>);
}
template <PlainVector V>
constexpr V operator-(const V& a, const V& b) {
    return Private::Map(a, b, Private::Subtract<typename V::Element>);
}
template <PlainVector V>
constexpr V operator*(const V& a, const V& b) {
    return Private::Map(a, b, Private::Multiply<typename V::Element>);
}
/// Of integers: towards 0; no component of `b` may be 0, nor -1 under the least number: the processor traps.
template <PlainVector V>
constexpr V operator/(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::Map(a, b, [](Element p, Element q) { return static_cast<Element>(p / q); });
}

/// With one number for all components.
template <PlainVector V>
constexpr V operator*(const V& v, typename V::Element scalar) {
    using Element = typename V::Element;
    return Private::Map(v, [scalar](Element p) { return Private::Multiply(p, scalar); });
}
template <PlainVector V>
constexpr V operator*(typename V::Element scalar, const V& v) {
    return v * scalar;
}
/// Of integers as the division by a vector.
template <PlainVector V>
constexpr V operator/(const V& v, typename V::Element scalar) {
    using Element = typename V::Element;
    return Private::Map(v, [scalar](Element p) { return static_cast<Element>(p / scalar); });
}

/// Flips the sign of floating-point components, of zeros too; integers are subtracted from 0.
template <PlainVector V>
constexpr V operator-(const V& v) {
    using Element = typename V::Element;
    return Private::Map(v, [](Element p) {
        if constexpr (std::is_floating_point_v<Element>) {
            return -p;
        } else {
            return Private::Subtract(Element(0), p);
        }
    });
}

template <PlainVector V>
constexpr V& operator+=(V& a, const V& b) {
    return a = a + b;
}
template <PlainVector V>
constexpr V& operator-=(V& a, const V& b) {
    return a = a - b;
}
template <PlainVector V>
constexpr V& operator*=(V& a, const V& b) {
    return a = a * b;
}
template <PlainVector V>
constexpr V& operator/=(V& a, const V& b) {
    return a = a / b;
}
template <PlainVector V>
constexpr V& operator*=(V& v, typename V::Element scalar) {
    return v = v * scalar;
}
template <PlainVector V>
constexpr V& operator/=(V& v, typename V::Element scalar) {
    return v = v / scalar;
}

/// Whether all components are equal; a NaN never is.
template <PlainVector V>
constexpr bool operator==(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::All(a, b, [](Element p, Element q) { return p == q; });
}
/// Whether the comparison holds of every component; it never does of a NaN.
template <PlainVector V>
[[nodiscard]] constexpr bool AllLess(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::All(a, b, [](Element p, Element q) { return p < q; });
}
template <PlainVector V>
[[nodiscard]] constexpr bool AllLessEqual(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::All(a, b, [](Element p, Element q) { return p <= q; });
}

/// The smaller and the greater of each component; of `b` where one of the two is NaN.
template <PlainVector V>
[[nodiscard]] constexpr V Min(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::Map(a, b, [](Element p, Element q) { return p < q ? p : q; });
}
template <PlainVector V>
[[nodiscard]] constexpr V Max(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::Map(a, b, [](Element p, Element q) { return p > q ? p : q; });
}

/// `v` moved into [low, high]; `low` where `v` is NaN, and `high` where the bounds are crossed.
template <PlainVector V>
[[nodiscard]] constexpr V Clamp(const V& v, const V& low, const V& high) {
    return Min(Max(v, low), high);
}

/// Bit by bit, mainly with the constants MASK_2D to MASK_4D, as in `And(v, Vector3f::MASK_2D)`.
template <PlainVector V>
[[nodiscard]] constexpr V And(const V& a, const VectorGeneric<typename V::Element, V::SIZE>& b) {
    return Private::MapBits(a, b, [](auto p, auto q) { return p & q; });
}
template <PlainVector V>
[[nodiscard]] constexpr V Or(const V& a, const VectorGeneric<typename V::Element, V::SIZE>& b) {
    return Private::MapBits(a, b, [](auto p, auto q) { return p | q; });
}
/// The bits of `b` that are not set in `a`.
template <PlainVector V>
[[nodiscard]] constexpr V AndNot(const VectorGeneric<typename V::Element, V::SIZE>& a, const V& b) {
    return Private::MapBits(b, a, [](auto p, auto q) { return p & ~q; });
}

/// Clears the sign of floating-point components; the least integer of a signed type stays as it is.
template <PlainVector V>
[[nodiscard]] constexpr V Abs(const V& v) {
    using Element = typename V::Element;
    return Private::Map(v, [](Element p) {
        if constexpr (std::is_floating_point_v<Element>) {
            using Bits = Private::BitsOf<Element>;
            return std::bit_cast<Element>(std::bit_cast<Bits>(p) & (static_cast<Bits>(-1) >> 1));
        } else {
            return p < Element(0) ? Private::Subtract(Element(0), p) : p;
        }
    });
}

template <PlainVector V>
[[nodiscard]] constexpr typename V::Element Dot(const V& a, const V& b) {
    typename V::Element sum = Private::Multiply(a[0], b[0]);
    for (unsigned i = 1; i < V::SIZE; ++i) {
        sum = Private::Add(sum, Private::Multiply(a[i], b[i]));
    }
    return sum;
}

template <PlainVector V>
[[nodiscard]] constexpr typename V::Element LengthSqr(const V& v) {
    return Dot(v, v);
}

/// The squared length must fit the element type.
template <PlainFloatVector V>
[[nodiscard]] typename V::Element Length(const V& v) {
    return Private::SquareRoot(LengthSqr(v));
}

/// `v` divided by its length. Zero where the squared length is 0, as it is too of floats shorter than about 1e-23 and
/// doubles shorter than about 1e-162, and where it overflows, from lengths of about 1.8e19 and 1.3e154 on.
template <PlainFloatVector V>
[[nodiscard]] V Normalize(const V& v) {
    using Element = typename V::Element;
    const Element length = Length(v);
    return length == 0 ? Private::Map(v, [](Element) { return Element(0); }) : v / length;
}

/// Right-handed.
template <PlainVector V>
requires(V::SIZE == 3) [[nodiscard]] constexpr V Cross(const V& a, const V& b) {
    using Private::Multiply;
    using Private::Subtract;
    return V(Subtract(Multiply(a[1], b[2]), Multiply(a[2], b[1])), Subtract(Multiply(a[2], b[0]), Multiply(a[0], b[2])),
             Subtract(Multiply(a[0], b[1]), Multiply(a[1], b[0])));
}
/// The z component of the cross product of two vectors of the plane: positive where `b` lies to the left of `a`.
template <PlainVector V>
requires(V::SIZE == 2) [[nodiscard]] constexpr typename V::Element Cross(const V& a, const V& b) {
    return Private::Subtract(Private::Multiply(a[0], b[1]), Private::Multiply(a[1], b[0]));
}

/// a + (b - a) t: `a` at t = 0 exactly, `b` at t = 1 but for rounding.
template <PlainFloatVector V>
[[nodiscard]] constexpr V Lerp(const V& a, const V& b, typename V::Element t) {
    return a + (b - a) * t;
}

} // namespace Z4
