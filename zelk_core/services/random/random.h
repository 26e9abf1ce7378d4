/// @file
/// The process's random numbers: Random draws from one shared object, so that nobody has to hold a generator.
///
/// InitializeRandomService() (lifecycle.h) makes the object, seeded from the clocks. Any thread may call anything
/// between start-up and shut-down; uniform draws wait for each other, normal and exponential draws likewise, but not
/// one kind for the other. What the generators are good for and where they are weak stands in
/// subtractiverandomgenerator.h and zigrandomgenerator.h: nothing here is fit for secrets.
#pragma once

#include <atomic>
#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/services/random/subtractiverandomgenerator.h>
#include <zelk_core/services/random/zigrandomgenerator.h>

namespace Z4 {

/// Where the host refused the object's memory, each draw tries to make the object again; while that fails SetSeed()
/// does nothing, and a draw yields what a 0 from the generator would: 0, `lo` or `mean`.
class Random {
public:
    /// The object, made if there is none; a draw makes it, too, when the service is not up, and the next
    /// SingletonShutdown() then releases it. Null when the host refuses the memory.
    Z4_API static Random* Instance();
    /// For the service's start-up: makes the object. Any thread, any number of times.
    Z4_API static void SingletonInit();
    /// For the service's shut-down: destroys the object, if there is one. Nothing may use it meanwhile.
    Z4_API static void SingletonShutdown();

    /// Starts the uniform stream of `seed` from its beginning, as SubtractiveRandomGenerator::SetSeed, and mixes `seed`
    /// into the other, as ZigRandomGenerator::SetSeed. So equal seeds repeat the uniform draws but not the normal and
    /// exponential ones, and a seed of 0 makes the uniform draws anew and leaves the others as they are. The two are
    /// seeded one after the other, not as one step.
    Z4_API static void SetSeed(unsigned long seed);

    /// 0 to 9,999,999.
    Z4_API static long RandS32();
    /// RandS32() times 1e-7: 0 to 0.9999999, never 1.
    Z4_API static float Rand();
    /// Rand() (hi - lo) + lo, each step rounded to float: `hi` itself can come out by rounding, and a width that does
    /// not fit a float gives infinity or a NaN. Bounds in either order.
    Z4_API static float InRange(float lo, float hi);
    /// `lo` plus the remainder of RandS32() by the width hi - lo, in arithmetic that wraps; `lo` without a draw when
    /// they are equal. A width beyond 10,000,000 is not filled, one that does not divide it is filled with a bias
    /// towards `lo`. A negative width counts upwards, too, by its magnitude: (10, 4) gives 10 to 15.
    Z4_API static long InRangeS32(long lo, long hi);
    /// As InRangeS32() with the width hi - lo + 1; `lo` without a draw when that is 0, as it also is for the full range
    /// of 32 bits.
    Z4_API static long InRangeS32Inclusive(long lo, long hi);

    /// As ZigRandomGenerator::RNOR, from the shared generator.
    Z4_API static float Normal(float mean, float sigma);
    /// As ZigRandomGenerator::REXP, from the shared generator: rate 1.
    Z4_API static float Exponential();

    Random(const Random&) = delete;
    Random& operator=(const Random&) = delete;

private:
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

/// The random-number function that a shuffle asks for: `random(n)` with n elements left. As biased as
/// Random::InRangeS32, and a shuffle of many elements reaches few of their orders.
class RandomShuffleFunctor {
public:
    /// 0 without a draw when `n` is 0, else 0 to |n| - 1.
    Z4_API int operator()(int n) const;
};

} // namespace Z4
