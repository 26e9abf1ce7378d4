// Faults hunted: a round that ends before all are there, in which nobody or more than one is told to be the last, or
// which mixes with the next; a wake-up that comes when the barrier may be gone. The orders of threads, proof/ explores.
#include "crowd.h"

#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/importhook.h>
#include <zelk_core/os/threadbarrier.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

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
