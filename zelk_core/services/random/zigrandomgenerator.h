/// @file
/// Normal and exponential deviates by the ziggurat method (Marsaglia and Tsang, "The Ziggurat Method for Generating
/// Random Variables", Journal of Statistical Software 5(8), 2000), with 128 and 256 layers, fed by a shift register.
///
/// It serves games and simulation, never secrets. Three things to know before using it:
/// - The register runs through one cycle of 2^32 - 1 states, and a seed chooses where the stream begins. All streams
///   therefore overlap. The lowest 7 or 8 bits of a draw choose its layer and are part of its value, too.
/// - RNOR() is normally distributed. REXP() is exponentially distributed below 4.349 only: values between there and
///   7.697 are 12 % too few, nearly all of them missing just below 7.697, and values beyond 7.697 are too many (1 of
///   506 instead of 1 of 2202). Its mean is 1.004 and its variance 1.052. This stays as it is, because streams are
///   kept; private/ziggurat.cpp tells the cause.
/// - SetSeed() combines the seed with the present state by exclusive or. Seeding with the very number that is the state
///   makes it 0, and 0 never changes again: RNOR() returns the mean and REXP() 0 from then on. This happens when
///   SetSeed() is called with the constructor's seed before the first draw, so also with the time of the day after a
///   construction with 0. A library that is built with its checks reports it.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/services/random/ziggurat.h>

namespace Z4 {

/// A stream of deviates. Any thread may call anything, derived classes their part, too: each operation holds the
/// generator's own lock. Generators share nothing with each other.
class ZigRandomGenerator {
public:
    /// @param seed where the stream begins; 0 stands for the seconds since 1970. Equal seeds give equal streams.
    Z4_API explicit ZigRandomGenerator(unsigned long seed);
    Z4_API ~ZigRandomGenerator();
    ZigRandomGenerator(const ZigRandomGenerator&) = delete;
    ZigRandomGenerator& operator=(const ZigRandomGenerator&) = delete;

    /// Combines `seed` with the present state by exclusive or, so the stream that follows depends on both; it is not
    /// the stream of a generator constructed with `seed`. 0 changes nothing.
    Z4_API void SetSeed(unsigned long seed);

    /// The next normal deviate. `sigma`, the standard deviation, may be negative, too; a `sigma` of 0 gives `mean`.
    Z4_API float RNOR(float mean, float sigma);
    /// The next exponential deviate of rate 1, at least 0.
    Z4_API float REXP();

    /// The density of the normal distribution at `x`. A negative `sigma` gives the negative of the density, one of 0
    /// gives NaN.
    Z4_API double TNOR(double x, double mean, double sigma);
    /// exp(-x lambda) / lambda: at rate `lambda`, the chance to exceed `x`, divided by the rate; the density would be
    /// lambda times exp(-x lambda). A `lambda` of 0 gives infinity.
    Z4_API double TEXP(double x, double lambda);

protected:
    /// The next 32 bits.
    Z4_API unsigned long SHR3();
    /// The next uniform deviate, above 0 and below 1.
    Z4_API float UNI();
    /// @name The slow paths
    /// Settle the last draw of the path as if it had failed its quick test, with as many draws as it takes. Each call
    /// holds the lock, but not from the draw before: they mean something only where no other thread draws.
    /// @{
    Z4_API float NFix();
    Z4_API float EFix();
    /// @}

private:
    friend struct Private::Layout<ZigRandomGenerator>;

    Private::Ziggurat m_ziggurat;
    AdaptiveLock m_lock;
};

} // namespace Z4
