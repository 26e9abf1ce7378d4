// Threads that do one thing together, and the time that a wait took.
#pragma once

#include <windows.h>

#include <atomic>
#include <chrono>
#include <gtest/gtest.h>
#include <tests/support/counts.h>
#include <thread>
#include <vector>

namespace ZelkTest {

/// Runs `body(index)` on `threads` threads that start together, and returns when all are done.
template <class Body>
void RunCrowd(unsigned threads, Body body) {
    // Not std::barrier, which on this platform now and then leaves a thread asleep.
    std::atomic<unsigned> missing = threads;
    std::vector<std::thread> crowd;
    for (unsigned index = 0; index < threads; ++index) {
        crowd.emplace_back([&, index] {
            --missing;
            while (missing != 0) {
                std::this_thread::yield();
            }
            body(index);
        });
    }
    for (std::thread& thread : crowd) {
        thread.join();
    }
}

/// Runs `here()` on this thread and `there()` on another, and returns when both are done.
template <class Here, class There>
void RunPair(Here here, There there) {
    std::thread partner(there);
    here();
    partner.join();
}

/// Two threads that take turns, where `give(to)` wakes a waiter and `take(from)` waits.
template <class Object, class Give, class Take>
void ExpectNoLostHandOver(Object& there, Object& back, Give give, Take take) {
    constexpr unsigned ROUND_TRIPS = Repeats(3'000, 100'000);
    unsigned long turns = 0;
    unsigned outOfTurn = 0;
    RunPair(
        [&] {
            for (unsigned i = 0; i < ROUND_TRIPS; ++i) {
                ++turns;
                give(there);
                take(back);
                outOfTurn += turns != 2 * i + 2 ? 1u : 0u;
            }
        },
        [&] {
            for (unsigned i = 0; i < ROUND_TRIPS; ++i) {
                take(there);
                ++turns;
                give(back);
            }
        });
    EXPECT_EQ(outOfTurn, 0u);
}

/// Tells whether a wait was at least as long as it should have been. Some systems count waits in ticks of their own,
/// and seen by a finer clock such a wait can end early; so it may be long enough by either clock.
class WaitClock {
public:
    bool HasPassed(unsigned long ms) const {
        const auto passed = std::chrono::steady_clock::now() - m_begin;
        return passed >= std::chrono::milliseconds(ms) || GetTickCount64() - m_beginTicks >= ms;
    }

private:
    std::chrono::steady_clock::time_point m_begin = std::chrono::steady_clock::now();
    ULONGLONG m_beginTicks = GetTickCount64();
};

} // namespace ZelkTest
