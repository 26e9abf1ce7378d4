#include "crowd.h"

#include <algorithm>
#include <atomic>
#include <gtest/gtest.h>
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
    std::atomic<unsigned> arriving = 0;
    std::atomic<unsigned> through = 0;
    std::atomic<unsigned> told = 0;
    RunPair(
        [&] {
            while (arriving != 2) {
                std::this_thread::yield();
            }
            // Wake-ups without cause, on the condition variable that a barrier begins with.
            for (int i = 0; i < 10; ++i) {
                std::this_thread::sleep_for(std::chrono::milliseconds(5));
                WakeAllConditionVariable(reinterpret_cast<CONDITION_VARIABLE*>(&barrier));
            }
            EXPECT_EQ(through, 0u);
            told += barrier.Wait() ? 1u : 0u;
        },
        [&] {
            RunCrowd(2, [&](unsigned) {
                ++arriving;
                told += barrier.Wait() ? 1u : 0u;
                ++through;
            });
        });
    EXPECT_EQ(told, 1u);
    EXPECT_EQ(through, 2u);
}

TEST(ThreadBarrierRounds, AreKeptApartAndEndedByOneThreadEach) {
    constexpr unsigned PARTY = 4;
    constexpr unsigned ROUNDS = Repeats(2'000, 100'000);
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
