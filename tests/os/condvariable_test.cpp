// Faults hunted: a signal that wakes nobody or all, one that is kept for later, a time-out told as a wake-up or come
// early, a lock that is not held again.
#include "crowd.h"

#include <gtest/gtest.h>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/condvariable.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

constinit CondVariable g_staticCondition;

template <class LockClass>
class CondVariableOver : public testing::Test {};
using Locks = testing::Types<AdaptiveLock, AdaptiveLockNonRecursive, BlockingLock, BlockingLockNonRecursive>;
TYPED_TEST_SUITE(CondVariableOver, Locks);

TYPED_TEST(CondVariableOver, HoldsTheLockAfterATimeout) {
    TypeParam lock;
    Actor other;
    AutoLock guard(lock);
    g_staticCondition.Signal();
    g_staticCondition.Broadcast();
    for (const unsigned long ms : {0ul, 5ul}) {
        EXPECT_FALSE(g_staticCondition.WaitWithTimeout(lock, ms)) << "signals before the wait must not count";
        other.Does([&] { EXPECT_FALSE(lock.TryLock()); });
    }
}

TYPED_TEST(CondVariableOver, WakesOneOrAll) {
    constexpr unsigned WAITERS = 5;
    TypeParam lock;
    CondVariable condition;
    CondVariable arrived;
    unsigned waiting = 0;
    unsigned tickets = 0;
    unsigned through = 0;
    unsigned timedOut = 0;
    const auto waitUntil = [&](const unsigned& value, unsigned wanted) {
        while (value != wanted) {
            arrived.Wait(lock);
        }
    };
    RunPair(
        [&] {
            AutoLock guard(lock);
            waitUntil(waiting, WAITERS);
            tickets = 1;
            condition.Signal();
            waitUntil(through, 1);
            EXPECT_EQ(waiting, WAITERS - 1);
            tickets = WAITERS - 1;
            condition.Broadcast();
            waitUntil(through, WAITERS);
        },
        [&] {
            RunCrowd(WAITERS, [&](unsigned index) {
                AutoLock guard(lock);
                ++waiting;
                arrived.Signal();
                while (tickets == 0) {
                    if (index % 2 == 0) {
                        condition.Wait(lock);
                    } else {
                        timedOut += condition.WaitWithTimeout(lock, 0xFFFFFFFF) ? 0u : 1u;
                    }
                }
                --tickets;
                --waiting;
                ++through;
                arrived.Signal();
            });
        });
    EXPECT_EQ(tickets, 0u);
    EXPECT_EQ(timedOut, 0u);
}

TYPED_TEST(CondVariableOver, LosesNoHandOver) {
    constexpr unsigned ROUND_TRIPS = Repeats(3'000, 100'000); // of two hand-overs each, and for each of four locks
    TypeParam lock;
    CondVariable turned;
    unsigned turn = 0;
    const auto play = [&](unsigned self) {
        for (unsigned i = 0; i < ROUND_TRIPS; ++i) {
            AutoLock guard(lock);
            while (turn % 2 != self) {
                turned.Wait(lock);
            }
            ++turn;
            turned.Signal();
        }
    };
    RunPair([&] { play(0); }, [&] { play(1); });
    EXPECT_EQ(turn, 2 * ROUND_TRIPS);
}

TEST(CondVariableTimeout, NeverComesEarly) {
    ExpectNoEarlyTimeout([](unsigned long, unsigned long ms) {
        BlockingLock lock;
        CondVariable condition;
        const AutoLock guard(lock);
        return condition.WaitWithTimeout(lock, ms);
    });
}

} // namespace
