// How often a body repeats itself. Most faults show in few rounds; the soak tier compiles the same sources for the
// many.
#pragma once

namespace ZelkTest {

#if defined(ZELK_SOAK)
inline constexpr bool SOAK = true;
#else
inline constexpr bool SOAK = false;
#endif

/// `usual` in the tests, `soak` in the program of the soak tier.
constexpr unsigned Repeats(unsigned usual, unsigned soak) {
    return SOAK ? soak : usual;
}

} // namespace ZelkTest
