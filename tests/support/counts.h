// How often a body repeats itself. Most faults show in few rounds; the soak tier compiles the same sources for the
// many.
#pragma once

namespace ZelkTest {

inline constexpr bool SOAK = ZELK_SOAK;

/// `usual` in the tests, `soak` in the program of the soak tier.
constexpr unsigned Repeats(unsigned usual, unsigned soak) {
    return SOAK ? soak : usual;
}

} // namespace ZelkTest
