/// @file
/// VectorGeneric: what every plain vector is, a few components of one element type. vector.h has the classes.
#pragma once

#include <zelk_core/base/assert.h>

#include <limits>
#include <type_traits>

namespace Z4 {

namespace Private {

/// One component of a vector that is converted to another element type; VectorGeneric's constructor tells how.
template <class To, class From>
constexpr To ConvertElement(From value) {
    if constexpr (std::is_integral_v<To> && std::is_floating_point_v<From>) {
        using Limits = std::numeric_limits<To>;
        // One above the greatest, a power of two, is exact in every floating-point type; the greatest is not.
        // In parentheses here and elsewhere: the system's header may have defined a macro of that name.
        constexpr auto HALF = static_cast<To>((Limits::max)() / 2 + 1);
        constexpr From END = static_cast<From>(HALF) * 2;
        if (value >= END) {
            return (Limits::max)();
        }
        if (value >= static_cast<From>((Limits::min)())) {
            return static_cast<To>(value);
        }
        return value < 0 ? (Limits::min)() : 0;
    } else {
        return static_cast<To>(value);
    }
}

} // namespace Private

/// A vector of `N` elements of type `T`, two to four of them, in the order x, y, z, w. It is a plain value: different
/// threads may read one at a time, and who writes must be alone. The elements lie one after another and nothing else is
/// in it, so an array of vectors is an array of elements, too.
template <class T, unsigned N>
class VectorGeneric {
    static_assert(std::is_arithmetic_v<T> && N >= 2 && N <= 4);

public:
    using Element = T;
    static constexpr unsigned SIZE = N;

    /// Leaves the components unset: reading one before it is written is an error.
    VectorGeneric() = default;
    constexpr VectorGeneric(T x, T y) requires(N == 2) : m_components{x, y} {}
    constexpr VectorGeneric(T x, T y, T z) requires(N == 3) : m_components{x, y, z} {}
    constexpr VectorGeneric(T x, T y, T z, T w) requires(N == 4) : m_components{x, y, z, w} {}
    /// The components of a vector that has one less, and behind them `last`.
    constexpr VectorGeneric(const VectorGeneric<T, (N > 2 ? N - 1 : N)>& first, T last) requires(N > 2) {
        for (unsigned i = 0; i + 1 < N; ++i) {
            m_components[i] = first[i];
        }
        m_components[N - 1] = last;
    }
    /// The first `N` components of `other`, which may have more of them and another element type. Each is converted:
    /// - From a floating-point number to an integer, what stands behind the point is dropped. A number beyond the
    ///   integer's range becomes the nearest end of that range, and NaN becomes 0.
    /// - Between integers, the bits that do not fit are dropped.
    /// - From double to float, the number is rounded; beyond the range of a float it becomes infinite.
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

    /// Component `index`, which must be below `N`; another index reads or writes beyond the vector.
    constexpr const T& operator[](unsigned long index) const {
        Z4_ASSERT(index < N, "The index of a component is below their number.");
        return m_components[index];
    }
    constexpr T& operator[](unsigned long index) {
        Z4_ASSERT(index < N, "The index of a component is below their number.");
        return m_components[index];
    }

    /// The first of the `N` elements. The pointer is good as long as the vector lives.
    constexpr const T* Data() const { return m_components; }
    constexpr T* Data() { return m_components; }

private:
    T m_components[N];
};

/// A VectorGeneric or one of the classes of vector.h.
template <class V>
concept PlainVector = std::is_base_of_v<VectorGeneric<typename V::Element, V::SIZE>, V>;

/// A plain vector of float or double.
template <class V>
concept PlainFloatVector = PlainVector<V> && std::is_floating_point_v<typename V::Element>;

} // namespace Z4
