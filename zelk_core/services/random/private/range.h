// Integers in a range from the subtractive draws, for any bounds: everything wraps, nothing overflows or traps.
#pragma once

#include <cstdint>

namespace Z4::Private {

constexpr std::int32_t WrappedSum(std::int32_t left, std::int32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) + static_cast<std::uint32_t>(right));
}

constexpr std::int32_t WrappedDifference(std::int32_t left, std::int32_t right) {
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(left) - static_cast<std::uint32_t>(right));
}

/// `base` + the remainder of `draw()`, which is at least 0, by `divisor`; `base` without a draw when that is 0.
template <class Draw>
constexpr std::int32_t OffsetByRemainder(std::int32_t base, std::int32_t divisor, Draw draw) {
    if (divisor == 0) {
        return base;
    }
    // The remainder has the sign of the draw, whatever that of the divisor; taken unsigned it cannot trap.
    const auto bits = static_cast<std::uint32_t>(divisor);
    const std::uint32_t remainder = static_cast<std::uint32_t>(draw()) % (divisor < 0 ? 0 - bits : bits);
    return WrappedSum(base, static_cast<std::int32_t>(remainder));
}

} // namespace Z4::Private
