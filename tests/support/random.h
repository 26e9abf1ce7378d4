// The one generator of test input. It computes the same in every build, and its seed stands in the test.
#pragma once

#include <cstddef>
#include <cstdint>
#include <iterator>
#include <limits>

namespace ZelkTest {

/// G. Marsaglia, "Xorshift RNGs", 2003, with 32 bits of state.
class Input {
public:
    explicit Input(std::uint32_t seed = 0) : m_state(2463534242 ^ (seed * 0x9E3779B9)) {
        // The one state that never changes.
        m_state = m_state != 0 ? m_state : 1;
    }

    std::uint32_t Bits() {
        m_state ^= m_state << 13;
        m_state ^= m_state >> 17;
        m_state ^= m_state << 5;
        return m_state;
    }
    std::uint64_t LongBits() {
        const std::uint64_t high = Bits();
        return high << 32 | Bits();
    }
    std::uint32_t Below(std::uint32_t end) { return Bits() % end; }
    /// True once in `count` times.
    bool OnceIn(std::uint32_t count) { return Below(count) == 0; }

    /// From -`limit` to `limit`.
    float Number(float limit) {
        return static_cast<float>(static_cast<std::int32_t>(Bits())) * (limit / 2147483648.0F);
    }
    double Number(double low, double high) { return low + (high - low) * (Bits() / 4294967296.0); }
    /// From -4 to 4 in steps of an eighth, so that coincidences and ties are frequent.
    float Coarse() { return static_cast<float>(static_cast<std::int32_t>(Below(65)) - 32) / 8.0F; }
    /// From -10 to 10, and every eighth time a number that arithmetic treats in its own way: zeros, denormals, numbers
    /// whose square leaves the range, infinities and NaN.
    float Number() {
        constexpr float infinity = std::numeric_limits<float>::infinity();
        constexpr float nan = std::numeric_limits<float>::quiet_NaN();
        static constexpr float EDGES[] = {0.0F,     -0.0F,           1.0F,    -1.0F, 1e-45F,
                                          -1e-40F,  1.17549435e-38F, -1e-20F, 1e19F, -3.40282347e38F,
                                          infinity, -infinity,       nan};
        return OnceIn(8) ? EDGES[Below(static_cast<std::uint32_t>(std::size(EDGES)))] : Number(10.0F);
    }

    void Fill(void* data, std::size_t size) {
        for (std::size_t i = 0; i < size; ++i) {
            static_cast<unsigned char*>(data)[i] = static_cast<unsigned char>(Bits() >> 8);
        }
    }

private:
    std::uint32_t m_state;
};

} // namespace ZelkTest
