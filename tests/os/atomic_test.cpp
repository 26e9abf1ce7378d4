// Faults hunted: the value before taken for the value after, a half of 64 bits lost or seen alone, an operation that is
// not one step.
#include <cstdint>
#include <gtest/gtest.h>
#include <limits>
#include <new>
#include <tests/os/crowd.h>
#include <type_traits>
#include <zelk_core/os/atomic.h>

namespace {

using Z4::Atomic;

template <class T>
class AtomicOperations : public testing::Test {};
using Operands = testing::Types<long, unsigned long, int, unsigned, long long, unsigned long long>;
TYPED_TEST_SUITE(AtomicOperations, Operands);

TYPED_TEST(AtomicOperations, ReturnAndLeaveTheirValues) {
    using T = TypeParam;
    // A pattern in each half, so that a half that gets lost shows.
    constexpr T WIDE = static_cast<T>(0x1234'5678'9ABC'DEF0ull);
    constexpr T MASK = static_cast<T>(0xF0F0'0F0F'FFFF'0000ull);
    // Aligned to 4 bytes only, as on a 32-bit stack.
    alignas(16) unsigned char place[4 + sizeof(T)];
    T& value = *new (place + 4) T(5);
    EXPECT_EQ(Atomic::Add(value, 3), T{8});
    EXPECT_EQ(Atomic::Sub(value, 2), T{6});
    EXPECT_EQ(Atomic::Increment(value), T{7});
    EXPECT_EQ(Atomic::Decrement(value), T{6});
    EXPECT_EQ(Atomic::PostIncrement(value), T{6});
    EXPECT_EQ(Atomic::PostDecrement(value), T{7});
    EXPECT_EQ(Atomic::Exchange(value, WIDE), T{6});
    EXPECT_EQ(Atomic::Get(value), WIDE);
    EXPECT_EQ(Atomic::ExchangeIfEqual(value, T{6}, T{1}), WIDE) << "not equal, not replaced";
    EXPECT_EQ(Atomic::ExchangeIfEqual(value, WIDE, T{0x0F}), WIDE);
    EXPECT_EQ(Atomic::Or(value, 0xF0), T{0x0F});
    EXPECT_EQ(value, T{0xFF});
    value = WIDE;
    EXPECT_EQ(Atomic::And(value, MASK), WIDE);
    EXPECT_EQ(value, static_cast<T>(WIDE & MASK));
    EXPECT_EQ(Atomic::Xor(value, WIDE), static_cast<T>(WIDE & MASK));
    EXPECT_EQ(value, static_cast<T>((WIDE & MASK) ^ WIDE));
    value = 0;
    EXPECT_EQ(Atomic::Get(value), T{0});
}

TYPED_TEST(AtomicOperations, WrapAround) {
    using T = TypeParam;
    using Limits = std::numeric_limits<T>;
    T value = Limits::max();
    EXPECT_EQ(Atomic::Increment(value), Limits::min());
    EXPECT_EQ(Atomic::Decrement(value), Limits::max());
    EXPECT_EQ(Atomic::PostIncrement(value), Limits::max());
    EXPECT_EQ(Atomic::PostDecrement(value), Limits::min());
    EXPECT_EQ(Atomic::Add(value, Limits::max()), static_cast<T>(-2)) << "signed or not";
    EXPECT_EQ(Atomic::Sub(value, Limits::max()), Limits::max());
}

enum class State : std::uint32_t {
    IDLE,
    BUSY = 0x8000'0001
};

TEST(AtomicOperands, IncludeEnumerations) {
    State state = State::IDLE;
    EXPECT_EQ(Atomic::ExchangeIfEqual(state, State::IDLE, State::BUSY), State::IDLE);
    EXPECT_EQ(Atomic::ExchangeIfEqual(state, State::IDLE, State::IDLE), State::BUSY);
    EXPECT_EQ(Atomic::Get(state), State::BUSY);
    static_assert(!Z4::AtomicOperand<bool> && !Z4::AtomicOperand<short> && !Z4::AtomicOperand<double>);
}

TEST(Atomic64, LosesNothingBetweenThreads) {
    constexpr unsigned ROUNDS = 100'000;
    constexpr long long BEGIN = 0x7FFF'FFFF - 1000; // close below the carry from the low to the high half
    long long sum = BEGIN;
    long long bits = 0;
    ZelkTest::RunCrowd(4, [&](unsigned t) {
        const long long own = 0x1'0000'0001 << t;
        for (unsigned i = 0; i < ROUNDS; ++i) {
            Atomic::Add(sum, 5);
            Atomic::PostDecrement(sum);
            EXPECT_EQ(Atomic::Or(bits, own) & own, 0);
            EXPECT_EQ(Atomic::Xor(bits, own) & own, own);
        }
    });
    EXPECT_EQ(sum, BEGIN + 4ll * 4 * ROUNDS);
    EXPECT_EQ(bits, 0);
}

TEST(Atomic64, IsNeverSeenHalfWrittenEvenAcrossCacheLines) {
    alignas(64) static unsigned char lines[128];
    for (const unsigned offset : {0u, 4u, 60u}) {
        // On two lines a system may take milliseconds for each access.
        const unsigned rounds = offset == 60 ? 500 : 200'000;
        auto& value = *reinterpret_cast<volatile long long*>(lines + offset);
        Atomic::Exchange(value, 0);
        std::atomic<unsigned> torn = 0;
        ZelkTest::RunCrowd(2, [&](unsigned t) {
            for (unsigned i = 0; i < rounds; ++i) {
                const long long seen = t == 0 ? Atomic::Exchange(value, -static_cast<long long>(i & 1)) //
                                              : Atomic::Get(value);
                torn += seen != 0 && seen != -1 ? 1u : 0u;
            }
        });
        EXPECT_EQ(torn, 0u) << offset;
    }
}

} // namespace
