/// @file
/// The process's random numbers: Random draws from one shared object, so that nobody has to hold a generator.
///
/// InitializeRandomService() (lifecycle.h) makes the object, seeded from the clocks. Uniform draws wait for each other,
/// and so do normal and exponential draws, but not one kind for the other. What the generators are good for and where
/// they are weak stands in subtractiverandomgenerator.h and zigrandomgenerator.h: nothing here is fit for secrets.
#pragma once

#include <atomic>
#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/services/random/subtractiverandomgenerator.h>
#include <zelk_core/services/random/zigrandomgenerator.h>

namespace Z4 {

/// The draws from the shared object, all static. Any thread may call anything but SingletonShutdown(), from the
/// start-up of the service to its shut-down. The object needs memory of the host. Where the host refused it, each call
/// tries to make the object again. While that fails, SetSeed() does nothing, and a draw returns what a 0 from the
/// generator would give: 0, `lo` or `mean`.
class Random {
public:
    /// The object; null when the host refuses its memory. It is made if there is none; a draw makes it, too. Where that
    /// happens without the service, the object stays until somebody calls SingletonShutdown().
    Z4_API static Random* Instance();
    /// For the service's start-up: makes the object. Any thread, any number of times.
    Z4_API static void SingletonInit();
    /// For the service's shut-down: destroys the object, if there is one. Nothing may use it meanwhile.
    Z4_API static void SingletonShutdown();

    /// Starts the uniform stream of `seed` from its beginning, as SubtractiveRandomGenerator::SetSeed() does, and
    /// combines `seed` with the state of the other, as ZigRandomGenerator::SetSeed() does. Equal seeds therefore repeat
    /// the uniform draws, but not the normal and exponential ones. A seed of 0 starts the uniform stream at a place
    /// taken from the clock and leaves the other as it is. Do not seed with Time::Get(): the state of the other begins
    /// as the second in which the object was made, and seeding with that same second makes it 0, so that Normal()
    /// returns `mean` and Exponential() 0 from then on. The two are seeded one after the other: another thread can draw
    /// in between.
    Z4_API static void SetSeed(unsigned long seed);

    /// 0 to 9,999,999.
    Z4_API static long RandS32();
    /// RandS32() times 1e-7: 0 to 0.9999999, never 1.
    Z4_API static float Rand();
    /// Rand() * (hi - lo) + lo, each step rounded to float. The bounds may come in either order. Rounding can yield
    /// `hi` itself. Where hi - lo is beyond the range of a float, the result is infinite or NaN.
    Z4_API static float InRange(float lo, float hi);
    /// `lo` + RandS32() % (`hi` - `lo`), so `hi` itself is never drawn; `lo`, without a draw, when both are equal.
    /// RandS32() has 10,000,000 values: of a wider range only the first 10,000,000 numbers come up, and where the width
    /// does not divide 10,000,000, numbers near `lo` come up more often. With `hi` below `lo` the result still counts
    /// upwards from `lo`: (10, 4) gives 10 to 15. The sum wraps around at 32 bits.
    Z4_API static long InRangeS32(long lo, long hi);
    /// As InRangeS32() with the width `hi` - `lo` + 1, so `hi` can be drawn, too. Where that width is 0 in 32 bits,
    /// which is so for the full range, the result is `lo`, without a draw.
    Z4_API static long InRangeS32Inclusive(long lo, long hi);

    /// As ZigRandomGenerator::RNOR, from the shared generator.
    Z4_API static float Normal(float mean, float sigma);
    /// As ZigRandomGenerator::REXP, from the shared generator: rate 1.
    Z4_API static float Exponential();

    Random(const Random&) = delete;
    Random& operator=(const Random&) = delete;

private:
    friend struct Private::Layout<Random>;

    Random();
    ~Random();

    static Random* GetPrivateInstance();
    static Random* CreateInstance();

    /// 0, 1 while one thread makes what belongs there, or its address.
    static std::atomic<std::uintptr_t> m_singletonInstanceRandom;
    static std::atomic<std::uintptr_t> m_singletonAllocatorRandom;

    [[maybe_unused]] unsigned char m_flag;
    SubtractiveRandomGenerator m_subtractive;
    ZigRandomGenerator m_ziggurat;
};

/// The random-number function that a shuffle asks for: called with the number of elements left, it chooses one. Any
/// thread may call it, as Random. It is biased as Random::InRangeS32() is. A shuffle with it reaches few of the orders
/// that many elements can have.
class RandomShuffleFunctor {
public:
    /// 0 to |`n`| - 1; 0, without a draw, when `n` is 0.
    Z4_API int operator()(int n) const;
};

} // namespace Z4
