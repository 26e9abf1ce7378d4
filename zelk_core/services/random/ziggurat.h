/// @file
/// The arithmetic of ZigRandomGenerator, without its lock: Marsaglia and Tsang, "The Ziggurat Method for Generating
/// Random Variables", Journal of Statistical Software 5(8), 2000. Fields have the names that the paper gives them.
///
/// The density is covered by layers of equal area, stacked like the steps of a ziggurat. A draw chooses a layer by its
/// lowest bits and, as a whole, a point across the layer; nearly always that point lies under the curve for sure, which
/// one comparison tells.
#pragma once

#include <cstdint>
#include <zelk_core/base/layout.h>

namespace Z4::Private {

/// A stream of normal and exponential deviates, for one thread at a time.
class Ziggurat {
public:
    static constexpr unsigned NORMAL_LAYERS = 128;
    static constexpr unsigned EXPONENTIAL_LAYERS = 256;

    /// Mixes `seed` into the register, which is 0 at first. Nothing else may be called before the first time.
    void Seed(std::uint32_t seed);

    /// The next 32 bits: the register before and after the step, added.
    std::uint32_t Shr3() {
        m_jz = m_jsr;
        m_jsr ^= m_jsr << 13;
        m_jsr ^= m_jsr >> 17;
        m_jsr ^= m_jsr << 5;
        return m_jz + m_jsr;
    }

    /// Uniform, above 0 and below 1.
    float Uni() { return static_cast<float>(0.5 + static_cast<std::int32_t>(Shr3()) * 2.328306e-10); }

    /// Mean 0, standard deviation 1.
    float Normal() {
        DrawNormal();
        return IsInsideNormal() ? NormalCandidate() : NFix();
    }

    /// Mean 1.
    float Exponential() {
        DrawExponential();
        return IsInsideExponential() ? ExponentialCandidate() : EFix();
    }

    /// Settles what the last normal or exponential draw left outside its layer's inner part.
    float NFix();
    float EFix();

private:
    friend struct Layout<Ziggurat>;

    void BuildNormalTables();
    void BuildExponentialTables();

    void DrawNormal() {
        m_hz = static_cast<std::int32_t>(Shr3());
        m_iz = static_cast<std::uint32_t>(m_hz) % NORMAL_LAYERS;
    }
    bool IsInsideNormal() const {
        const auto bits = static_cast<std::uint32_t>(m_hz);
        return (m_hz < 0 ? 0 - bits : bits) < m_kn[m_iz];
    }
    float NormalCandidate() const { return static_cast<float>(m_hz) * m_wn[m_iz]; }

    void DrawExponential() {
        m_jz = Shr3();
        m_iz = m_jz % EXPONENTIAL_LAYERS;
    }
    bool IsInsideExponential() const { return m_jz < m_ke[m_iz]; }
    float ExponentialCandidate() const { return static_cast<float>(m_jz) * m_we[m_iz]; }

    std::uint32_t m_seeded = 0;             ///< whether the tables are filled
    std::uint32_t m_jz = 0;                 ///< the register before its last step, or the last exponential draw
    std::uint32_t m_jsr = 0;                ///< the shift register
    std::int32_t m_hz = 0;                  ///< the last normal draw
    std::uint32_t m_iz = 0;                 ///< the layer of the last draw; 0 is the base, which the tail belongs to
    std::uint32_t m_kn[NORMAL_LAYERS];      ///< below it in magnitude, a normal draw lies under the curve for sure
    std::uint32_t m_ke[EXPONENTIAL_LAYERS]; ///< the same for exponential draws
    float m_wn[NORMAL_LAYERS];              ///< a layer's width, divided by the scale of a draw
    float m_fn[NORMAL_LAYERS];              ///< the density at a layer's right edge
    float m_we[EXPONENTIAL_LAYERS];         ///< as m_wn
    float m_fe[EXPONENTIAL_LAYERS];         ///< as m_fn
};

} // namespace Z4::Private
