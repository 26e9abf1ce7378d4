// Faults hunted: a round that ends before all are there, in which nobody or more than one is told to be the last, or
// which mixes with the next; a wake-up that comes when the barrier may be gone.
#include "crowd.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/importhook.h>
#include <vector>
#include <zelk_core/os/threadbarrier.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

TEST(ThreadBarrierParty, OfNoneOrOneNeverWaits) {
    for (const unsigned long partyCount : {0ul, 1ul}) {
        ThreadBarrier barrier(partyCount, "name", nullptr);
        for (int i = 0; i < 3; ++i) {
            EXPECT_TRUE(barrier.Wait(false));
            EXPECT_TRUE(barrier.Wait(true));
        }
    }
}

TEST(ThreadBarrierParty, WaitsForTheLastAndTellsOne) {
    ThreadBarrier barrier(3);
    Actor first;
    Actor second;
    first.Waits([&] { EXPECT_FALSE(barrier.Wait()); });
    // A wake-up without cause, on the condition variable that a barrier begins with.
    WakeAllConditionVariable(reinterpret_cast<CONDITION_VARIABLE*>(&barrier));
    second.Waits([&] { EXPECT_FALSE(barrier.Wait()); });
    EXPECT_TRUE(barrier.Wait());
    first.Proceeds();
    second.Proceeds();
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
        const ImportHook wake("WakeAllConditionVariable", reinterpret_cast<void*>(RecordWake));
        const ImportHook leave("LeaveCriticalSection", reinterpret_cast<void*>(RecordLeave));
        EXPECT_TRUE(barrier.Wait());
    }
    EXPECT_EQ(g_calls, "wake leave ");
}

TEST(ThreadBarrierRounds, AreKeptApartAndEndedByOneThreadEach) {
    constexpr unsigned PARTY = 4;
    constexpr unsigned ROUNDS = Repeats(500, 100'000);
    ThreadBarrier barrier(PARTY);
    // Which round each thread is in.
    std::atomic<unsigned> rounds[PARTY] = {};
    std::atomic<unsigned> misplaced = 0;
    std::vector<std::atomic<unsigned char>> told(ROUNDS);
    RunCrowd(PARTY, [&](unsigned self) {
        for (unsigned round = 1; round <= ROUNDS; ++round) {
            rounds[self].store(round, std::memory_order_relaxed);
            if (barrier.Wait()) {
                ++told[round - 1];
            }
            for (const std::atomic<unsigned>& other : rounds) {
                const unsigned seen = other.load(std::memory_order_relaxed);
                misplaced += seen != round && seen != round + 1 ? 1u : 0u;
            }
        }
    });
    EXPECT_EQ(misplaced, 0u);
    EXPECT_EQ(std::count(told.begin(), told.end(), 1), ROUNDS);
}

} // namespace
