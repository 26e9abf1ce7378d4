/// @file
/// Numbers whose bytes stand in a fixed order, whatever the processor's own is: for files and network packets.
///
/// Arrays and whole records are swapped by structureswap.h, and read from streams by streams/streamreader.h. Any thread
/// may call everything here at any time; nothing fails.
#pragma once

#include <bit>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <type_traits>

namespace Z4 {

/// Which byte of a number stands first.
enum ByteOrder : int {
    LITTLE_ENDIAN_ORDER = 0, ///< the lowest
    BIG_ENDIAN_ORDER = 1,    ///< the highest; the order of network protocols
};

/// The order of the processor at hand.
inline constexpr ByteOrder NATIVE_ORDER =
    std::endian::native == std::endian::little ? LITTLE_ENDIAN_ORDER : BIG_ENDIAN_ORDER;

namespace Private {

template <std::size_t SIZE>
using UnsignedOfSize = std::conditional_t<
    SIZE == 1, std::uint8_t,
    std::conditional_t<SIZE == 2, std::uint16_t, std::conditional_t<SIZE == 4, std::uint32_t, std::uint64_t>>>;

/// `bool` is left out: not every byte is one.
template <class T>
concept WholeNumber = (std::is_integral_v<T> || std::is_enum_v<T>)&&!std::is_same_v<std::remove_cv_t<T>, bool>;
template <class T>
concept Number = WholeNumber<T> || std::is_same_v<T, float> || std::is_same_v<T, double>;

} // namespace Private

/// `value` with its bytes in reverse. For whole numbers and enumerations: a floating-point number in the wrong order
/// may change on its way through the processor's registers, so load and store those by the functions below.
template <Private::WholeNumber T>
[[nodiscard]] constexpr T ByteSwap(T value) {
    using Bits = Private::UnsignedOfSize<sizeof(T)>;
    const auto bits = static_cast<Bits>(value);
    if constexpr (sizeof(T) == 1) {
        return value;
    } else if constexpr (sizeof(T) == 2) {
        return static_cast<T>(static_cast<Bits>(bits << 8 | bits >> 8));
    } else if constexpr (sizeof(T) == 4) {
        return static_cast<T>(bits << 24 | (bits & 0xFF00) << 8 | (bits >> 8 & 0xFF00) | bits >> 24);
    } else {
        const Bits low = ByteSwap(static_cast<std::uint32_t>(bits >> 32));
        return static_cast<T>(Bits{ByteSwap(static_cast<std::uint32_t>(bits))} << 32 | low);
    }
}

/// Turns a number of the processor's order into one of the order that the name tells, or back, which is the same. Where
/// the two orders are the same, `value` stays as it is.
template <Private::WholeNumber T>
[[nodiscard]] constexpr T ToLittle(T value) {
    return NATIVE_ORDER == LITTLE_ENDIAN_ORDER ? value : ByteSwap(value);
}
template <Private::WholeNumber T>
[[nodiscard]] constexpr T ToBig(T value) {
    return NATIVE_ORDER == BIG_ENDIAN_ORDER ? value : ByteSwap(value);
}

namespace Private {

template <ByteOrder ORDER, Number T>
T Load(const void* from) {
    UnsignedOfSize<sizeof(T)> bits;
    std::memcpy(&bits, from, sizeof(bits));
    bits = ORDER == LITTLE_ENDIAN_ORDER ? ToLittle(bits) : ToBig(bits);
    T value;
    std::memcpy(&value, &bits, sizeof(value));
    return value;
}

template <ByteOrder ORDER, Number T>
void Store(void* to, const T& value) {
    UnsignedOfSize<sizeof(T)> bits;
    std::memcpy(&bits, &value, sizeof(bits));
    bits = ORDER == LITTLE_ENDIAN_ORDER ? ToLittle(bits) : ToBig(bits);
    std::memcpy(to, &bits, sizeof(bits));
}

} // namespace Private

/// The number whose `sizeof(T)` bytes, in the order that the name tells, begin at `from`, which needs no alignment and
/// is not null. `T` is a whole number, an enumeration, `float` or `double`.
template <Private::Number T>
[[nodiscard]] T LoadLittle(const void* from) {
    return Private::Load<LITTLE_ENDIAN_ORDER, T>(from);
}
template <Private::Number T>
[[nodiscard]] T LoadBig(const void* from) {
    return Private::Load<BIG_ENDIAN_ORDER, T>(from);
}

/// Writes the `sizeof(T)` bytes of `value` to `to`, which needs no alignment and is not null.
template <Private::Number T>
void StoreLittle(void* to, const T& value) {
    Private::Store<LITTLE_ENDIAN_ORDER>(to, value);
}
template <Private::Number T>
void StoreBig(void* to, const T& value) {
    Private::Store<BIG_ENDIAN_ORDER>(to, value);
}

} // namespace Z4
