#include "examples.h"

//! [example]
void ShowRandom() {
    // From any thread, of one stream for the process:
    Z4::InitializeRandomService();
    Z4::Random::SetSeed(2026);
    const long die = Z4::Random::InRangeS32Inclusive(1, 6);
    std::printf("%s\n", die >= 1 && die <= 6 ? "a die" : "no die");
    Z4::ShutdownRandomService();

    // For replays, a generator of one's own: the same seed gives the same draws, whatever others draw.
    Z4::SubtractiveRandomGenerator first;
    Z4::SubtractiveRandomGenerator second;
    first.SetSeed(7);
    second.SetSeed(7);
    std::printf("%d\n", first.RandS32() == second.RandS32()); // 1
}
//! [example]
