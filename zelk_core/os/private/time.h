// The arithmetic of the high-resolution counter.
#pragma once

#include <cstdint>

namespace Z4::Private {

/// Counts of a counter with `frequency` counts a second, at least 1000, in a millisecond.
constexpr std::uint64_t CountsPerMilliSec(std::uint64_t frequency) {
    return frequency / 1000;
}

constexpr std::uint64_t MicroSecFromCounts(std::uint64_t counts, std::uint64_t countsPerMilliSec) {
    return counts * 1000 / countsPerMilliSec;
}

} // namespace Z4::Private
