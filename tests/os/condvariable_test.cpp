// Condition variables, and the barrier that is made of one. Faults hunted: a signal that is kept for later, a time-out
// told as a wake-up or come early, a lock that is not held again, a wake-up that comes when the barrier may be gone.
// Who is woken by whom, and what a round is, proof/ explores.
#include "crowd.h"

#include <gtest/gtest.h>
#include <string>
#include <tests/support/importhook.h>
#include <utility>
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
void ExpectTimeouts(LockClass&& lock) {
    Actor other;
    const AutoLock guard(lock);
    g_staticCondition.Signal();
    g_staticCondition.Broadcast();
    for (const unsigned long ms : {0ul, 20ul}) {
        const WaitClock clock;
        EXPECT_FALSE(g_staticCondition.WaitWithTimeout(lock, ms)) << "signals before the wait must not count";
        EXPECT_TRUE(clock.HasPassed(ms));
        other.Does([&] { EXPECT_FALSE(lock.TryLock()); });
    }
}

TEST(CondVariableWaits, HoldTheLockAfterATimeout) {
    ExpectTimeouts(AdaptiveLock());
    ExpectTimeouts(BlockingLock());
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
    const ImportHook wake("WakeAllConditionVariable", RecordWake);
    const ImportHook leave("LeaveCriticalSection", RecordLeave);
    for (const unsigned long partyCount : {0ul, 1ul}) {
        ThreadBarrier barrier(partyCount, "name", nullptr);
        EXPECT_TRUE(barrier.Wait(false) && barrier.Wait(true)) << "nobody is waited for";
        EXPECT_EQ(std::exchange(g_calls, {}), "wake leave wake leave ");
    }
}

} // namespace
