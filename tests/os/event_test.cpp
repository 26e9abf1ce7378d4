// Faults hunted: a mode or a state taken for the other, a signal lost or given twice, a group that takes some of its
// events and fails, or another event than the first; a list that cannot be waited for and waits, or changes an event; a
// time-out that comes early.
#include "crowd.h"

#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
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

TEST(EventName, IsSharedByItsEventsAndTheirs) {
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
    none.Reset();
    EXPECT_FALSE(none.TryWait());
    EXPECT_FALSE(none.WaitWithTimeout(0xFFFFFFFF));
    none.WaitUntilDone();
    Event sound(true, false, nullptr);
    Event* signalled = &sound;
    Event::WaitAll({&sound, &none});
    EXPECT_FALSE(Event::TryWaitAll({&sound, &none}));
    EXPECT_FALSE(Event::TryWaitAny({&sound, &none}, &signalled));
    EXPECT_EQ(signalled, nullptr);
}

/// As many auto-reset events as one wait may have, none signalled.
class EventGroup : public testing::Test {
protected:
    static constexpr unsigned long SIZE = 64;

    EventGroup() {
        for (unsigned long i = 0; i < SIZE; ++i) {
            m_owned[i] = std::make_unique<Event>(false, true, nullptr);
            events[i] = m_owned[i].get();
        }
    }
    void SignalAll() {
        for (const auto& event : m_owned) {
            event->SetDone();
        }
    }
    /// How many are signalled; takes those signals.
    unsigned long TakeAll() {
        unsigned long taken = 0;
        for (const auto& event : m_owned) {
            taken += event->TryWait() ? 1u : 0u;
        }
        return taken;
    }

    /// The three ways to wait for all, with a time-out of 1 ms where there is one. @return whether all were signalled.
    bool All(unsigned way, unsigned long count = SIZE) {
        switch (way) {
        case 0:
            return Event::TryWaitAll(events.data(), count);
        case 1:
            return Event::WaitAllWithTimeout(events.data(), count, 1);
        default:
            Event::WaitAll(events.data(), count);
            return TakeAll() == 0;
        }
    }
    /// The three ways to wait for any. @return the event that was signalled.
    Event* Any(unsigned way, unsigned long count = SIZE) {
        Event* signalled = events[1];
        bool found = false;
        switch (way) {
        case 0:
            found = Event::TryWaitAny(events.data(), count, &signalled);
            break;
        case 1:
            found = Event::WaitAnyWithTimeout(events.data(), count, 1, &signalled);
            break;
        default:
            Event::WaitAny(events.data(), count, &signalled);
            found = signalled != nullptr;
        }
        EXPECT_EQ(found, signalled != nullptr);
        return signalled;
    }

    std::array<Event*, SIZE + 1> events{}; // one place more than a wait may have

private:
    std::array<std::unique_ptr<Event>, SIZE> m_owned;
};

TEST_F(EventGroup, OfNoOrTooManyEventsIsRefused) {
    for (const unsigned long count : {0ul, SIZE + 1, 0xFFFFFFFFul}) {
        SCOPED_TRACE(count);
        SignalAll();
        const ExpectContract contract(LIBRARY_CHECKS ? 6 : 0);
        for (const unsigned way : {0u, 1u, 2u}) {
            EXPECT_EQ(Any(way, count), nullptr);
        }
        EXPECT_FALSE(All(0, count));
        EXPECT_FALSE(All(1, count));
        Event::WaitAll(events.data(), count);
        EXPECT_EQ(TakeAll(), SIZE);
    }
}

TEST_F(EventGroup, WaitForAllTakesAllOrNone) {
    for (const unsigned way : {0u, 1u, 2u}) {
        for (const unsigned long missing : {0ul, 1ul, SIZE - 1}) {
            SignalAll();
            events[missing]->Reset();
            if (way != 2) {
                EXPECT_FALSE(All(way));
                EXPECT_EQ(TakeAll(), SIZE - 1) << missing;
            } else {
                Actor waiter;
                waiter.Waits([&] { EXPECT_TRUE(All(way)); });
                events[missing]->SetDone();
                waiter.Proceeds();
            }
        }
        SignalAll();
        EXPECT_TRUE(All(way));
        EXPECT_EQ(TakeAll(), 0u);
    }
}

TEST_F(EventGroup, WaitForAnyTakesTheFirstSignalled) {
    EXPECT_EQ(Any(0), nullptr);
    EXPECT_EQ(Any(1), nullptr);
    SignalAll();
    for (unsigned i = 0; i < SIZE; ++i) {
        EXPECT_EQ(Any(i % 3), events[i]);
    }
    for (const unsigned long i : {0ul, 7ul, SIZE - 1}) {
        Actor waiter;
        waiter.Waits([&] { EXPECT_EQ(Any(2), events[i]); });
        events[i]->SetDone();
        waiter.Proceeds();
    }
    SignalAll();
    EXPECT_TRUE(Event::TryWaitAny(events.data(), SIZE, nullptr));
    EXPECT_TRUE(Event::WaitAnyWithTimeout(events.data(), SIZE, 1, nullptr));
    Event::WaitAny(events.data(), SIZE, nullptr);
    EXPECT_EQ(TakeAll(), SIZE - 3);
}

TEST_F(EventGroup, TakesLists) {
    Event first(true, false, nullptr);
    Event second(false, false, nullptr);
    Event* signalled = nullptr;
    EXPECT_FALSE(Event::TryWaitAll({&first, &second}));
    EXPECT_FALSE(Event::WaitAllWithTimeout({&first, &second}, 1));
    EXPECT_TRUE(Event::TryWaitAny({&second, &first}, &signalled));
    EXPECT_EQ(signalled, &first);
    second.SetDone();
    EXPECT_TRUE(Event::TryWaitAll({&first, &second}));
    EXPECT_TRUE(Event::WaitAllWithTimeout({&first, &second}, 1));
    Event::WaitAll({&first, &second});
    EXPECT_TRUE(Event::WaitAnyWithTimeout({&second, &first}, 1, &signalled));
    EXPECT_EQ(signalled, &second);
    Event::WaitAny({&first, &second}, &signalled);
    EXPECT_EQ(signalled, &first);
}

TEST(EventHandOver, LosesNoWakeUp) {
    Event there(false, true, nullptr);
    Event back(false, true, nullptr);
    ExpectNoLostHandOver(
        there, back, [](Event& to) { to.SetDone(); }, [](Event& from) { from.WaitUntilDone(); });
    EXPECT_FALSE(there.TryWait() || back.TryWait());
}

TEST(EventTimeout, NeverComesEarly) {
    ExpectNoEarlyTimeout([](unsigned long i, unsigned long ms) {
        Event never(false, true, nullptr);
        Event done(true, false, nullptr);
        switch (i % 3) {
        case 0:
            return Event::WaitAllWithTimeout({&never, &done}, ms);
        case 1:
            return Event::WaitAnyWithTimeout({&never}, ms, nullptr);
        default:
            return never.WaitWithTimeout(ms);
        }
    });
}

} // namespace
