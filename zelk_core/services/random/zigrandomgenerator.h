/// @file
/// Normal and exponential deviates by the ziggurat method (Marsaglia and Tsang, "The Ziggurat Method for Generating
/// Random Variables", Journal of Statistical Software 5(8), 2000), with 128 and 256 layers, fed by a shift register.
///
/// For games and simulation, never for secrets. What a user should know:
/// - The register runs through one cycle of 2^32 - 1 states whatever the seed: seeds choose where the stream begins.
///   All streams overlap. The lowest 7 or 8 bits of a draw choose its layer and are part of its value, too.
/// - RNOR() is distributed as it should be. REXP() is not, far out: 1 of 506 values lies beyond 7.697 where 1 of 2202
///   should, and as many are missing between 4.349 and 7.697, 12 % of all there and nearly all of those just below
///   7.697. Its mean is 1.004 for that, its variance 1.052. Below 4.349 the shape is right. private/ziggurat.cpp tells
///   why; the stream is kept for the sake of what was made with it.
/// - SetSeed() combines the seed with the present state by exclusive or. Seeding with the very number that is the state
///   makes it 0, and 0 never changes again: RNOR() returns the mean and REXP() 0 from then on. This happens when
///   SetSeed() is called with the constructor's seed before the first draw, so also with the time of the day after a
///   construction with 0. A library that is built with its checks reports it.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/os/adaptivelock.h>

namespace Z4 {

namespace Private {

/// The arithmetic without the lock.
class Ziggurat {
public:
    static constexpr unsigned NORMAL_LAYERS = 128;
    static constexpr unsigned EXPONENTIAL_LAYERS = 256;

    /// Mixes `seed` into the register, which is 0 at first. Nothing else may be called before the first time.
    void Seed(std::uint32_t seed);
    /// Whether the register is 0 and stays so.
    bool IsStuck() const { return m_jsr == 0; }

    std::uint32_t Shr3() {
        m_jz = m_jsr;
        m_jsr ^= m_jsr << 13;
        m_jsr ^= m_jsr >> 17;
        m_jsr ^= m_jsr << 5;
        return m_jz + m_jsr;
    }

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

    std::uint32_t m_seeded = 0;
    std::uint32_t m_jz = 0;  ///< the register before the last step, or the last exponential draw
    std::uint32_t m_jsr = 0; ///< the register
    std::int32_t m_hz = 0;   ///< the last normal draw
    std::uint32_t m_iz = 0;  ///< the layer of the last draw
    std::uint32_t m_kn[NORMAL_LAYERS];
    std::uint32_t m_ke[EXPONENTIAL_LAYERS];
    float m_wn[NORMAL_LAYERS];
    float m_fn[NORMAL_LAYERS];
    float m_we[EXPONENTIAL_LAYERS];
    float m_fe[EXPONENTIAL_LAYERS];
};

} // namespace Private

/// A stream of deviates. Any thread may call anything, derived classes their part, too: each operation holds the
/// generator's own lock. Generators share nothing with each other.
class Z4_API ZigRandomGenerator {
public:
    /// @param seed where the stream begins; 0 stands for the seconds since 1970. Equal seeds give equal streams.
    explicit ZigRandomGenerator(unsigned long seed);
    ~ZigRandomGenerator();
    ZigRandomGenerator(const ZigRandomGenerator&) = delete;
    ZigRandomGenerator& operator=(const ZigRandomGenerator&) = delete;

    /// Mixes `seed` into the register by exclusive or; it does not begin the seed's stream. 0 changes nothing.
    void SetSeed(unsigned long seed);

    /// The next normal deviate. `sigma`, the standard deviation, may be negative, too; a `sigma` of 0 gives `mean`.
    float RNOR(float mean, float sigma);
    /// The next exponential deviate of rate 1, at least 0.
    float REXP();

    /// The normal density at `x`. A `sigma` of 0 gives what the division gives.
    double TNOR(double x, double mean, double sigma);
    /// exp(-x lambda) / lambda: at rate `lambda`, the chance to exceed `x`, divided by the rate; the density would be
    /// lambda times exp(-x lambda). A `lambda` of 0 gives infinity.
    double TEXP(double x, double lambda);

protected:
    /// The next 32 bits.
    unsigned long SHR3();
    /// The next uniform deviate, above 0 and below 1.
    float UNI();
    /// @name The slow paths
    /// Settle the last draw of the path as if it had failed its quick test, with as many draws as it takes. Each call
    /// holds the lock, but not from the draw before: they mean something only where no other thread draws.
    /// @{
    float NFix();
    float EFix();
    /// @}

private:
    Private::Ziggurat m_ziggurat;
    AdaptiveLock m_lock;
};

} // namespace Z4
