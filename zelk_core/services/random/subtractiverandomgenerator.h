/// @file
/// Uniform integers below ten million by subtraction, cheap and repeatable: the generator behind Random's uniform
/// draws.
///
/// A lagged Fibonacci generator (Knuth, "The Art of Computer Programming", volume 2, section 3.2.2, "subtractive"
/// method), here with the modulus 10^7: each value is the one 55 draws back less the one 24 draws back. It is for games
/// and simulation, never for secrets, and it has weaknesses that a user should know:
/// - Three values 0, 24 and 55 draws apart determine each other. Birthday-spacing, random-walk and gap tests see that;
///   so does a simulation that takes about 55 values a step, or fixed triples of them.
/// - There are 10^7 values and no more: a result in a greater range has gaps, a result modulo n is biased towards its
///   low values where n does not divide 10^7, and the low bits are no better than the high ones: modulo 2, 4, … 128
///   the stream is a lagged Fibonacci sequence by itself.
/// - Seeds s and -s give the same stream, and there are at most 10^7 streams: seeds whose distances from 161803398
///   agree modulo 10^7 share one.
/// - 55 draws back to back reveal the whole state.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/os/adaptivelock.h>

namespace Z4 {

namespace Private {

/// The arithmetic without the lock.
class SubtractiveSequence {
public:
    static constexpr std::int32_t MODULUS = 10'000'000;

    /// Any seed; 0 is one like the others.
    void Seed(std::int32_t seed);

    /// 0 to MODULUS - 1. Only after Seed().
    std::int32_t Draw() {
        m_next = Following(m_next);
        m_partner = Following(m_partner);
        const std::int32_t value = Difference(m_table[m_next], m_table[m_partner]);
        m_table[m_next] = value;
        return value;
    }

private:
    friend struct Layout<SubtractiveSequence>;

    static constexpr std::int32_t LENGTH = 55;

    static constexpr std::int32_t Following(std::int32_t index) { return index == LENGTH ? 1 : index + 1; }

    /// Modulo MODULUS, of two numbers below it.
    static constexpr std::int32_t Difference(std::int32_t left, std::int32_t right) {
        const std::int32_t difference = left - right;
        return difference < 0 ? difference + MODULUS : difference;
    }

    std::int32_t m_next;
    std::int32_t m_partner;
    std::int32_t m_table[LENGTH + 1]; ///< entry 0 is unused
    std::int32_t m_seed;              ///< as last used: negated when it was positive
};

} // namespace Private

/// A stream under a lock of its own: any thread may call anything.
class SubtractiveRandomGenerator {
public:
    /// As SetSeed(0).
    Z4_API SubtractiveRandomGenerator();
    SubtractiveRandomGenerator(const SubtractiveRandomGenerator&) = delete;
    SubtractiveRandomGenerator& operator=(const SubtractiveRandomGenerator&) = delete;

    /// Starts the stream of `seed`, taken as signed, from its beginning. 0 stands for the lower half of the
    /// high-resolution counter, so the stream is another one each time.
    Z4_API void SetSeed(unsigned long seed);
    /// The next value, 0 to 9,999,999.
    Z4_API long RandS32();

private:
    friend struct Private::Layout<SubtractiveRandomGenerator>;

    AdaptiveLock m_lock;
    Private::SubtractiveSequence m_sequence;
};

} // namespace Z4
