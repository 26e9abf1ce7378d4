// How often a body repeats itself. Most faults show in few rounds; `make soak` runs the same programs for the many.
#pragma once

#include <cstdlib>

namespace ZelkTest {

inline const bool SOAK = std::getenv("ZELK_SOAK") != nullptr;

inline unsigned Repeats(unsigned usual, unsigned soak) {
    return SOAK ? soak : usual;
}

} // namespace ZelkTest
