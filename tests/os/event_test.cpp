// Events and semaphores. Faults hunted: a mode or a state taken for the other, a signal lost or given twice, a group
// that takes some of its events and fails, or another event than the first; a list that cannot be waited for and waits,
// or changes an event; a time-out that comes early; counts taken for one another, lost, doubled or given beyond the
// maximum, a semaphore where there is none.
#include "crowd.h"

#include <atomic>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <tests/support/contract.h>
#include <tests/support/importhook.h>
#include <utility>
#include <zelk_core/os/event.h>
#include <zelk_core/os/semaphore.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

TEST(EventState, FollowsModeAndSignals) {
    for (const bool initialState : {false, true}) {
        for (const bool autoReset : {false, true}) {
            SCOPED_TRACE(testing::Message() << "initial state " << initialState << ", auto-reset " << autoReset);
            Event event(initialState, autoReset, nullptr);
            EXPECT_EQ(event.TryWait(), initialState);
            EXPECT_EQ(event.TryWait(), initialState && !autoReset);
            event.SetDone();
            event.SetDone();
            event.WaitUntilDone();
            EXPECT_EQ(event.WaitWithTimeout(1), !autoReset);
            event.SetDone();
            event.Reset();
            EXPECT_FALSE(event.TryWait());
            event.Pulse();
            EXPECT_FALSE(event.TryWait()) << "nobody was waiting";
            SetEvent(event.GetNativeHandle());
            EXPECT_TRUE(event.WaitWithTimeout(0xFFFFFFFF));
            EXPECT_EQ(event.GetImpl(), event.GetNativeHandle());
        }
    }
}

TEST(EventState, WakesThoseWhoWait) {
    for (const bool autoReset : {false, true}) {
        Event event(false, autoReset, nullptr);
        Actor waiter;
        waiter.Waits([&] { event.WaitUntilDone(); });
        event.SetDone();
        waiter.Proceeds();
        EXPECT_EQ(event.TryWait(), !autoReset);
        event.Reset();

        std::atomic<bool> released = false;
        waiter.Waits([&] { released = event.WaitWithTimeout(0xFFFFFFFF); });
        while (!released) { // The system may miss a waiter.
            event.Pulse();
            std::this_thread::yield();
        }
        waiter.Proceeds();
        EXPECT_FALSE(event.TryWait());
    }
}

DWORD g_limit;

DWORD WINAPI RecordOne(HANDLE, DWORD ms) {
    g_limit = ms;
    return WAIT_TIMEOUT;
}

DWORD WINAPI RecordGroup(DWORD, const HANDLE*, BOOL, DWORD ms) {
    return RecordOne(nullptr, ms);
}

TEST(EventState, TimeLimitsReachTheSystem) {
    Event never(false, true, nullptr);
    Event done(true, true, nullptr);
    const std::function<bool()> waits[] = {
        [&] { return never.WaitWithTimeout(60); },
        [&] { return Event::WaitAllWithTimeout({&never}, 60); },
        [&] { return Event::WaitAnyWithTimeout({&never}, 60, nullptr); },
    };
    for (const auto& wait : waits) {
        const ImportHook one("WaitForSingleObject", RecordOne);
        const ImportHook group("WaitForMultipleObjects", RecordGroup);
        EXPECT_FALSE(wait());
        EXPECT_EQ(std::exchange(g_limit, 0), 60u);
    }
    EXPECT_FALSE(Event::TryWaitAll({&done, &never}));
    Event* signalled = nullptr;
    Event::WaitAny({&never, &done}, &signalled);
    EXPECT_EQ(signalled, &done);
    done.SetDone();
    EXPECT_TRUE(Event::TryWaitAny({&never, &done}, nullptr) && !done.TryWait());
}

/// Takes every free count and gives them back.
unsigned FreeCounts(Semaphore& semaphore) {
    unsigned counts = 0;
    for (; semaphore.TryLock(); ++counts) {
    }
    for (unsigned i = 0; i < counts; ++i) {
        semaphore.Unlock();
    }
    return counts;
}

TEST(SemaphoreCounts, StayBetweenZeroAndTheMaximum) {
    const struct {
        unsigned long initial, maximum, free; // free at first
        bool isThere = true;
    } rows[] = {{2, 3, 2}, {0, 1, 0}, {3, 3, 3}, {0, 0, 0, false}, {2, 1, 0, false}, {0, 0x80000000, 0, false}};
    for (const auto& [initial, maximum, free, isThere] : rows) {
        SCOPED_TRACE(testing::Message() << initial << " of " << maximum);
        Semaphore semaphore(initial, maximum, nullptr);
        EXPECT_EQ(FreeCounts(semaphore), free);
        for (unsigned given = 1; given <= 4; ++given) {
            semaphore.Unlock();
            EXPECT_EQ(FreeCounts(semaphore), isThere ? std::min(free + given, maximum) : 0);
        }
        semaphore.Lock(); // also where there is none
        EXPECT_EQ(FreeCounts(semaphore), isThere ? maximum - 1 : 0);
    }
    Semaphore greatest(0x7FFFFFFF, 0x7FFFFFFF, nullptr);
    EXPECT_TRUE(greatest.TryLock());
}

TEST(Names, AreSharedWithinAKindAlone) {
    Event first(false, true, "zelk event test");
    Event second(true, false, "zelk event test");
    EXPECT_FALSE(second.TryWait()) << "the first one's state stays";
    first.SetDone();
    EXPECT_TRUE(second.TryWait());
    EXPECT_FALSE(first.TryWait()) << "the first one's mode stays";

    Semaphore semaphore(1, 2, "zelk semaphore test");
    Semaphore another(2, 9, "zelk semaphore test");
    EXPECT_EQ(FreeCounts(another), 1u) << "the first one's counts stay";
    another.Lock();
    EXPECT_FALSE(semaphore.TryLock());

    Event none(true, false, "zelk semaphore test");
    Semaphore noSemaphore(1, 1, "zelk event test");
    EXPECT_FALSE(noSemaphore.TryLock() || first.TryWait());
    EXPECT_EQ(none.GetNativeHandle(), nullptr);
    none.SetDone();
    none.Pulse();
    none.WaitUntilDone();
    EXPECT_FALSE(none.WaitWithTimeout(0xFFFFFFFF));
    Event* signalled = &first;
    Event::WaitAll({&second, &none});
    EXPECT_FALSE(Event::TryWaitAny({&second, &none}, &signalled));
    EXPECT_EQ(signalled, nullptr);
}

/// As many auto-reset events as one wait may have, none signalled, and a place more.
class EventGroup : public testing::Test {
protected:
    static constexpr unsigned long SIZE = 64;

    EventGroup() {
        for (unsigned long i = 0; i < SIZE; ++i) {
            events[i] = &m_owned.emplace_back(false, true, nullptr);
        }
    }
    void SignalAll() {
        for (Event& event : m_owned) {
            event.SetDone();
        }
    }
    /// How many are signalled; takes those signals.
    unsigned long TakeAll() {
        unsigned long taken = 0;
        for (Event& event : m_owned) {
            taken += event.TryWait() ? 1u : 0u;
        }
        return taken;
    }

    /// The event that one wait for any takes.
    Event* TakeAny() {
        Event* signalled = events[1];
        const bool found = Event::TryWaitAny(events, SIZE, &signalled);
        EXPECT_EQ(found, signalled != nullptr);
        return signalled;
    }

    Event* events[SIZE + 1] = {};

private:
    std::deque<Event> m_owned;
};

TEST_F(EventGroup, OfNoOrTooManyEventsIsRefused) {
    SignalAll();
    for (const unsigned long count : {0ul, SIZE + 1, 0xFFFFFFFFul}) {
        const ExpectContract contract(LIBRARY_CHECKS ? 3 : 0);
        Event* signalled = events[1];
        EXPECT_FALSE(Event::TryWaitAll(events, count));
        EXPECT_FALSE(Event::TryWaitAny(events, count, &signalled));
        EXPECT_EQ(signalled, nullptr);
        Event::WaitAll(events, count);
    }
    EXPECT_EQ(TakeAll(), SIZE);
}

TEST_F(EventGroup, WaitForAllTakesAllOrNone) {
    for (const unsigned long missing : {0ul, 1ul, SIZE - 1}) {
        SignalAll();
        events[missing]->Reset();
        EXPECT_FALSE(Event::TryWaitAll(events, SIZE));
        Actor waiter;
        waiter.Waits([&] { Event::WaitAll(events, SIZE); });
        events[missing]->SetDone();
        waiter.Proceeds();
        EXPECT_EQ(TakeAll(), 0u);
    }
    SignalAll();
    EXPECT_TRUE(Event::TryWaitAll(events, SIZE));
    SignalAll();
    EXPECT_TRUE(Event::WaitAllWithTimeout(events, SIZE, 1));
    EXPECT_EQ(TakeAll(), 0u);
}

TEST_F(EventGroup, WaitForAnyTakesTheFirstSignalled) {
    SignalAll();
    for (unsigned i = 0; i < SIZE; ++i) {
        EXPECT_EQ(TakeAny(), events[i]);
    }
    EXPECT_EQ(TakeAny(), nullptr);
    Event* signalled = nullptr;
    Actor waiter;
    waiter.Waits([&] { Event::WaitAny(events, SIZE, &signalled); });
    events[7]->SetDone();
    waiter.Proceeds();
    EXPECT_EQ(signalled, events[7]);
    SignalAll();
    EXPECT_TRUE(Event::TryWaitAny(events, SIZE, nullptr)) << "nobody wants to know which";
    EXPECT_EQ(TakeAll(), SIZE - 1);
}

} // namespace
