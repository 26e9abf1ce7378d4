// Condition variables, and the barrier that is made of one. Faults hunted: a signal that wakes nobody, a broadcast that
// wakes one, a signal that is kept for later, a time-out told as a wake-up or come early, a lock that is not held
// again; a round that ends before all are there, in which nobody or more than one is told to be the last, or which
// mixes with the next; a wake-up that comes when the barrier may be gone. The orders of threads, proof/ explores.
#include "crowd.h"

#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/importhook.h>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/condvariable.h>
#include <zelk_core/os/threadbarrier.h>

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
    for (const unsigned long ms : {0ul, 20ul}) {
        const WaitClock clock;
        EXPECT_FALSE(g_staticCondition.WaitWithTimeout(lock, ms)) << "signals before the wait must not count";
        EXPECT_TRUE(clock.HasPassed(ms));
        other.Does([&] { EXPECT_FALSE(lock.TryLock()); });
    }
}

TYPED_TEST(CondVariableOver, WakesOneOrAll) {
    TypeParam lock;
    CondVariable given;
    std::atomic<unsigned> tickets = 0;
    Actor waiters[3];
    for (Actor& waiter : waiters) {
        waiter.Waits([&] {
            AutoLock guard(lock);
            while (tickets == 0) {
                &waiter == waiters ? given.Wait(lock) : static_cast<void>(given.WaitWithTimeout(lock, 0xFFFFFFFF));
            }
            --tickets;
        });
    }
    const auto give = [&](unsigned count, void (CondVariable::*wake)()) {
        AutoLock guard(lock);
        tickets = count;
        (given.*wake)();
    };
    give(1, &CondVariable::Signal);
    while (tickets != 0) {
        std::this_thread::yield();
    }
    give(2, &CondVariable::Broadcast);
    for (Actor& waiter : waiters) {
        waiter.Proceeds();
    }
    EXPECT_EQ(tickets, 0u);
}

TEST(ThreadBarrierParty, OfNoneOrOneNeverWaits) {
    for (const unsigned long partyCount : {0ul, 1ul}) {
        ThreadBarrier barrier(partyCount, "name", nullptr);
        EXPECT_TRUE(barrier.Wait(false) && barrier.Wait(true) && barrier.Wait(true));
    }
}

TEST(ThreadBarrierParty, WaitsForTheLastAndTellsOne) {
    ThreadBarrier barrier(3);
    Actor first;
    Actor second;
    std::atomic<bool> isThrough;
    for (int round = 0; round < 3; ++round) {
        isThrough = false;
        first.Waits([&] {
            EXPECT_FALSE(barrier.Wait());
            isThrough = true;
        });
        // A wake-up without cause, on the condition variable that a barrier begins with.
        WakeAllConditionVariable(reinterpret_cast<CONDITION_VARIABLE*>(&barrier));
        second.Waits([&] { EXPECT_FALSE(barrier.Wait()); });
        EXPECT_FALSE(isThrough);
        EXPECT_TRUE(barrier.Wait());
        first.Proceeds();
        second.Proceeds();
    }
}

std::string g_calls;

void WINAPI RecordWake(CONDITION_VARIABLE*) {
    g_calls += "wake ";
}

void WINAPI RecordLeave(CRITICAL_SECTION* section) {
    g_calls += "leave ";
    LeaveCriticalSection(section);
}

TEST(ThreadBarrierParty, IsWokenUnderTheLock) {
    ThreadBarrier barrier(1);
    g_calls.clear();
    {
        const ImportHook wake("WakeAllConditionVariable", RecordWake);
        const ImportHook leave("LeaveCriticalSection", RecordLeave);
        EXPECT_TRUE(barrier.Wait());
    }
    EXPECT_EQ(g_calls, "wake leave ");
}

} // namespace
