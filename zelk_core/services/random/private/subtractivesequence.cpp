#include <cstddef>
#include <zelk_core/services/random/subtractiverandomgenerator.h>

namespace Z4::Private {

template <>
struct Layout<SubtractiveSequence> {
    static_assert(offsetof(SubtractiveSequence, m_next) == 0);
    static_assert(offsetof(SubtractiveSequence, m_partner) == 4);
    static_assert(offsetof(SubtractiveSequence, m_table) == 8);
    static_assert(offsetof(SubtractiveSequence, m_seed) == 232);
    static_assert(sizeof(SubtractiveSequence) == 236);
};

namespace {

constexpr std::int32_t FIRST_PARTNER = 31;
constexpr std::uint32_t GOLDEN_RATIO_DIGITS = 161'803'398;

/// Of the least number, which has no counterpart, the magnitude all the same.
constexpr std::uint32_t Magnitude(std::uint32_t value) {
    return value > 0x7FFFFFFF ? 0 - value : value;
}

} // namespace

void SubtractiveSequence::Seed(std::int32_t seed) {
    m_seed = seed > 0 ? -seed : seed;
    const std::uint32_t distance = GOLDEN_RATIO_DIGITS - Magnitude(static_cast<std::uint32_t>(m_seed));
    auto previous = static_cast<std::int32_t>(Magnitude(distance) % MODULUS);
    m_table[LENGTH] = previous;
    std::int32_t current = 1;
    // Falling differences from the seed on, scattered over the table: 21 and 55 have no common divisor.
    for (std::int32_t i = 1; i < LENGTH; ++i) {
        const std::int32_t place = 21 * i % LENGTH;
        m_table[place] = current;
        current = Difference(previous, current);
        previous = m_table[place];
    }
    for (int pass = 0; pass < 4; ++pass) {
        for (std::int32_t i = 1; i <= LENGTH; ++i) {
            m_table[i] = Difference(m_table[i], m_table[1 + (i + 30) % LENGTH]);
        }
    }
    m_next = 0;
    m_partner = FIRST_PARTNER;
}

} // namespace Z4::Private
