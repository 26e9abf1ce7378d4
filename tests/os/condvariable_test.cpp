#include "crowd.h"

#include <algorithm>
#include <atomic>
#include <cstddef>
#include <gtest/gtest.h>
#include <vector>
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

template <class LockClass>
bool HeldHere(LockClass& lock) {
    bool taken = true;
    std::thread([&] {
        taken = lock.TryLock();
        if (taken) {
            lock.Unlock();
        }
    }).join();
    return !taken;
}

TYPED_TEST(CondVariableOver, HoldsTheLockAfterATimeout) {
    TypeParam lock;
    AutoLock guard(lock);
    g_staticCondition.Signal();
    g_staticCondition.Broadcast();
    for (const unsigned long ms : {0ul, 5ul}) {
        EXPECT_FALSE(g_staticCondition.WaitWithTimeout(lock, ms)) << "signals before the wait must not count";
        EXPECT_TRUE(HeldHere(lock));
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

/// A bounded queue of the textbook, with one condition for each side.
template <class LockClass>
class Queue {
public:
    void Push(unsigned item) {
        AutoLock guard(m_lock);
        while (m_count == m_items.size()) {
            m_notFull.Wait(m_lock);
        }
        m_items[(m_first + m_count++) % m_items.size()] = item;
        m_notEmpty.Signal();
    }

    /// @return false when the queue is empty and closed.
    bool Pop(unsigned& item) {
        AutoLock guard(m_lock);
        while (m_count == 0) {
            if (m_closed) {
                return false;
            }
            m_notEmpty.WaitWithTimeout(m_lock, 1000);
        }
        item = m_items[m_first];
        m_first = (m_first + 1) % m_items.size();
        --m_count;
        m_notFull.Signal();
        return true;
    }

    void Close() {
        AutoLock guard(m_lock);
        m_closed = true;
        m_notEmpty.Broadcast();
    }

private:
    LockClass m_lock;
    CondVariable m_notEmpty;
    CondVariable m_notFull;
    std::vector<unsigned> m_items = std::vector<unsigned>(16);
    std::size_t m_first = 0;
    std::size_t m_count = 0;
    bool m_closed = false;
};

TYPED_TEST(CondVariableOver, QueueLosesAndDoublesNothing) {
    constexpr unsigned PRODUCERS = 4;
    constexpr unsigned CONSUMERS = 3;
    constexpr unsigned ITEMS_EACH = Repeats(5'000, 250'000);
    Queue<TypeParam> queue;
    std::vector<std::atomic<unsigned char>> seen(PRODUCERS * ITEMS_EACH);
    std::atomic<unsigned> outOfOrder = 0;
    RunPair(
        [&] {
            RunCrowd(PRODUCERS, [&](unsigned producer) {
                for (unsigned i = 0; i < ITEMS_EACH; ++i) {
                    queue.Push(producer * ITEMS_EACH + i);
                }
            });
            queue.Close();
        },
        [&] {
            RunCrowd(CONSUMERS, [&](unsigned) {
                unsigned next[PRODUCERS] = {};
                unsigned item = 0;
                while (queue.Pop(item)) {
                    ++seen[item];
                    unsigned& expected = next[item / ITEMS_EACH];
                    outOfOrder += item % ITEMS_EACH < expected ? 1u : 0u;
                    expected = item % ITEMS_EACH + 1;
                }
            });
        });
    EXPECT_EQ(outOfOrder, 0u);
    EXPECT_EQ(std::count(seen.begin(), seen.end(), 1), PRODUCERS * ITEMS_EACH);
}

TEST(CondVariableTimeout, NeverComesEarly) {
    constexpr unsigned WAITS = Repeats(200, 1'000);
    std::atomic<unsigned> early = 0;
    std::atomic<unsigned> timedOut = 0;
    RunCrowd(10, [&](unsigned) {
        BlockingLock lock;
        CondVariable condition;
        AutoLock guard(lock);
        for (unsigned long i = 0; i < WAITS; ++i) {
            const unsigned long ms = 1 + i % 3;
            const WaitClock clock;
            // A spurious wake-up may end a wait at any time; only one that says the time ran out must be right.
            if (!condition.WaitWithTimeout(lock, ms)) {
                ++timedOut;
                early += clock.HasPassed(ms) ? 0u : 1u;
            }
        }
    });
    EXPECT_EQ(early, 0u);
    EXPECT_GT(timedOut, 9 * WAITS) << "wake-ups without a signal must be rare";
}

} // namespace
