/// @file
/// Operators of the plain vectors: + - * / and ==.
///
/// An operator takes vectors of one class and gives a vector of that class; where it takes a single number, that counts
/// for every component. All work component by component and can be used in constant expressions. Integers wrap around
/// at the ends of their type, signed ones too. A component that is NaN makes that component of the result NaN.
#pragma once

#include <zelk_core/math/vectorshape.h>

#include <cstdint>

namespace Z4 {

namespace Private {

/// The type that `T` is calculated in. Integers get an unsigned one, which wraps, of 32 bits or more, so that the
/// language does not promote it to a signed one.
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

} // namespace Private

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
/// The quotients. Those of integers drop what is left over. The processor traps where an integer is divided by 0, and
/// where the least number of a signed type of 32 or 64 bits is divided by -1: the caller keeps clear of both.
template <PlainVector V>
constexpr V operator/(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::Map(a, b, [](Element p, Element q) { return static_cast<Element>(p / q); });
}

template <PlainVector V>
constexpr V operator*(const V& v, typename V::Element scalar) {
    using Element = typename V::Element;
    return Private::Map(v, [scalar](Element p) { return Private::Multiply(p, scalar); });
}
template <PlainVector V>
constexpr V operator*(typename V::Element scalar, const V& v) {
    return v * scalar;
}
/// The quotients; of integers as of the division by a vector.
template <PlainVector V>
constexpr V operator/(const V& v, typename V::Element scalar) {
    using Element = typename V::Element;
    return Private::Map(v, [scalar](Element p) { return static_cast<Element>(p / scalar); });
}

/// Floating-point components get the other sign, zeros and NaNs too. Integers are subtracted from 0, so the least of a
/// signed type stays as it is.
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

/// Whether all components are equal. -0 equals 0; a NaN equals nothing, so a vector with one does not equal itself.
template <PlainVector V>
constexpr bool operator==(const V& a, const V& b) {
    using Element = typename V::Element;
    return Private::All(a, b, [](Element p, Element q) { return p == q; });
}

} // namespace Z4
