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
    using Unsigned = std::make_unsigned_t<T>;
    using Limits = std::numeric_limits<T>;
    // A pattern in each half, so that a half that gets lost shows.
    constexpr T VALUES[] = {
        0, 5, static_cast<T>(-1), static_cast<T>(0x1234'5678'9ABC'DEF0ull), Limits::min(), Limits::max()};
    // Aligned to 4 bytes only, as on a 32-bit stack.
    alignas(16) unsigned char place[4 + sizeof(T)];
    T& value = *new (place + 4) T(0);
    for (const T a : VALUES) {
        for (const T b : VALUES) {
            const T sum = static_cast<T>(static_cast<Unsigned>(a) + static_cast<Unsigned>(b));
            const T difference = static_cast<T>(static_cast<Unsigned>(a) - static_cast<Unsigned>(b));
            const struct {
                T (*operation)(volatile T&, T);
                T returned, left;
            } rows[] = {{Atomic::Add<T>, sum, sum}, {Atomic::Sub<T>, difference, difference},
                        {Atomic::And<T>, a, a & b}, {Atomic::Or<T>, a, a | b},
                        {Atomic::Xor<T>, a, a ^ b}, {Atomic::Exchange<T>, a, b}};
            for (const auto& [operation, returned, left] : rows) {
                value = a;
                EXPECT_EQ(operation(value, b), returned);
                EXPECT_EQ(Atomic::Get(value), left);
            }
            value = a;
            EXPECT_EQ(Atomic::ExchangeIfEqual(value, b, T{7}), a);
            EXPECT_EQ(value, a == b ? T{7} : a);
        }
        value = a;
        const T next = static_cast<T>(static_cast<Unsigned>(a) + 1);
        EXPECT_EQ(Atomic::Increment(value), next);
        EXPECT_EQ(Atomic::PostDecrement(value), next);
        EXPECT_EQ(Atomic::PostIncrement(value), a);
        EXPECT_EQ(Atomic::Decrement(value), a);
    }
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

TEST(Atomic64, IsChangedAndSeenInOneStepEvenAcrossCacheLines) {
    constexpr long long ONE_IN_EACH_HALF = 0x1'0000'0001;
    alignas(64) unsigned char lines[128] = {};
    for (const unsigned offset : {4u, 60u}) {
        // On two lines a system may take milliseconds for each access.
        const unsigned rounds = offset == 60 ? 100 : 100'000;
        auto& value = *reinterpret_cast<volatile long long*>(lines + offset);
        auto& other = *reinterpret_cast<volatile long long*>(lines + offset + 8);
        long long balance = 0;
        std::atomic<unsigned> torn = 0;
        ZelkTest::RunCrowd(4, [&](unsigned) {
            for (unsigned i = 0; i < rounds; ++i) {
                Atomic::Add(value, ONE_IN_EACH_HALF);
                torn += Atomic::Get(value) % ONE_IN_EACH_HALF != 0 ? 1u : 0u;
                const long long given = i * ONE_IN_EACH_HALF;
                Atomic::Add(balance, given - Atomic::Exchange(other, given));
            }
        });
        EXPECT_EQ(torn, 0u) << offset;
        EXPECT_EQ(balance, Atomic::Get(other)) << "what was given and has not come back";
        EXPECT_EQ(Atomic::Get(value), 4 * rounds * ONE_IN_EACH_HALF);
    }
}

} // namespace
