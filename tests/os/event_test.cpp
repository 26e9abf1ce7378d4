// Faults hunted: a mode or a state taken for the other, a signal lost or given twice, a group that takes some of its
// events and fails, or another event than the first; a list that cannot be waited for and waits, or changes an event; a
// time-out that comes early.
#include "crowd.h"

#include <atomic>
#include <deque>
#include <gtest/gtest.h>
#include <tests/support/contract.h>
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

TEST(EventState, StaysAfterTimeoutsThatDoNotComeEarly) {
    Event never(false, true, nullptr);
    Event done(true, true, nullptr);
    const WaitClock clock;
    EXPECT_FALSE(never.WaitWithTimeout(20));
    EXPECT_FALSE(Event::WaitAllWithTimeout({&done, &never}, 20));
    EXPECT_FALSE(Event::WaitAnyWithTimeout({&never}, 20, nullptr));
    EXPECT_TRUE(clock.HasPassed(60));
    EXPECT_TRUE(done.TryWait());
}

TEST(EventName, IsSharedByItsEventsAlone) {
    Event first(false, true, "zelk event test");
    Event second(true, false, "zelk event test");
    EXPECT_FALSE(second.TryWait()) << "the first one's state stays";
    first.SetDone();
    EXPECT_TRUE(second.TryWait());
    EXPECT_FALSE(first.TryWait()) << "the first one's mode stays";

    Semaphore semaphore(1, 1, "zelk name test");
    Event none(true, false, "zelk name test");
    EXPECT_EQ(none.GetNativeHandle(), nullptr);
    none.SetDone();
    none.Pulse();
    EXPECT_FALSE(none.WaitWithTimeout(0xFFFFFFFF));
    none.WaitUntilDone();
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

    enum Way {
        TRY,
        WITH_TIMEOUT, // of 1 ms
        WITHOUT_LIMIT
    };
    /// Whether all were signalled; true without a limit, where nobody tells.
    bool All(Way way, unsigned long count = SIZE) {
        if (way == WITHOUT_LIMIT) {
            Event::WaitAll(events, count);
        }
        return way == WITHOUT_LIMIT ||
               (way == TRY ? Event::TryWaitAll(events, count) : Event::WaitAllWithTimeout(events, count, 1));
    }
    /// The event that was signalled.
    Event* Any(Way way, unsigned long count = SIZE) {
        Event* signalled = events[1];
        if (way == WITHOUT_LIMIT) {
            Event::WaitAny(events, count, &signalled);
            return signalled;
        }
        const bool found = way == TRY ? Event::TryWaitAny(events, count, &signalled)
                                      : Event::WaitAnyWithTimeout(events, count, 1, &signalled);
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
        const ExpectContract contract(LIBRARY_CHECKS ? 6 : 0);
        for (const Way way : {TRY, WITH_TIMEOUT, WITHOUT_LIMIT}) {
            EXPECT_EQ(Any(way, count), nullptr) << count;
            EXPECT_EQ(All(way, count), way == WITHOUT_LIMIT) << count;
        }
    }
    EXPECT_EQ(TakeAll(), SIZE);
}

TEST_F(EventGroup, WaitForAllTakesAllOrNone) {
    for (const unsigned long missing : {0ul, 1ul, SIZE - 1}) {
        SignalAll();
        events[missing]->Reset();
        EXPECT_FALSE(All(TRY) || All(WITH_TIMEOUT));
        Actor waiter;
        waiter.Waits([&] { All(WITHOUT_LIMIT); });
        events[missing]->SetDone();
        waiter.Proceeds();
        EXPECT_EQ(TakeAll(), 0u);
    }
    for (const Way way : {TRY, WITH_TIMEOUT}) {
        SignalAll();
        EXPECT_TRUE(All(way));
        EXPECT_EQ(TakeAll(), 0u);
    }
}

TEST_F(EventGroup, WaitForAnyTakesTheFirstSignalled) {
    EXPECT_EQ(Any(TRY), nullptr);
    EXPECT_EQ(Any(WITH_TIMEOUT), nullptr);
    SignalAll();
    for (unsigned i = 0; i < SIZE; ++i) {
        EXPECT_EQ(Any(static_cast<Way>(i % 3)), events[i]);
    }
    for (const unsigned long i : {0ul, 7ul, SIZE - 1}) {
        Actor waiter;
        waiter.Waits([&] { EXPECT_EQ(Any(WITHOUT_LIMIT), events[i]); });
        events[i]->SetDone();
        waiter.Proceeds();
    }
    SignalAll();
    EXPECT_TRUE(Event::TryWaitAny(events, SIZE, nullptr)) << "nobody wants to know which";
    EXPECT_EQ(TakeAll(), SIZE - 1);
}

TEST_F(EventGroup, IsAListToo) {
    Event first(false, false, nullptr);
    Event second(true, false, nullptr);
    Event* signalled[3] = {};
    EXPECT_FALSE(Event::TryWaitAll({&first, &second}) || Event::WaitAllWithTimeout({&first, &second}, 1));
    EXPECT_TRUE(Event::TryWaitAny({&first, &second}, &signalled[0]));
    EXPECT_TRUE(Event::WaitAnyWithTimeout({&first, &second}, 1, &signalled[1]));
    Event::WaitAny({&first, &second}, &signalled[2]);
    for (Event* const event : signalled) {
        EXPECT_EQ(event, &second);
    }
}

} // namespace
