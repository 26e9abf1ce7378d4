#include "crowd.h"

#include <algorithm>
#include <array>
#include <atomic>
#include <gtest/gtest.h>
#include <memory>
#include <numeric>
#include <random>
#include <tests/support/contract.h>
#include <zelk_core/os/event.h>
#include <zelk_core/os/semaphore.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

constexpr unsigned long GROUP = 64;

/// As many auto-reset events as one wait may have, none signalled.
class Group {
public:
    Group() {
        for (unsigned long i = 0; i < GROUP; ++i) {
            m_owned[i] = std::make_unique<Event>(false, true, nullptr);
            m_events[i] = m_owned[i].get();
        }
    }

    Event* operator[](unsigned long i) const { return m_events[i]; }
    Event* const* Events() const { return m_events.data(); }

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

private:
    std::array<std::unique_ptr<Event>, GROUP> m_owned;
    // One place more than a wait may have.
    std::array<Event*, GROUP + 1> m_events{};
};

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
            event.SetDone();
            EXPECT_TRUE(event.WaitWithTimeout(0xFFFFFFFF));
        }
    }
}

TEST(EventState, IsThatOfItsHandle) {
    Event event(false, true, nullptr);
    const HANDLE handle = event.GetNativeHandle();
    ASSERT_NE(handle, nullptr);
    EXPECT_EQ(event.GetImpl(), handle);
    EXPECT_TRUE(SetEvent(handle));
    EXPECT_TRUE(event.TryWait());
    event.SetDone();
    EXPECT_EQ(WaitForSingleObject(handle, 0), WAIT_OBJECT_0);
}

TEST(EventState, PulseReleasesWaitersAndLeavesNoSignal) {
    for (const bool autoReset : {false, true}) {
        Event event(false, autoReset, nullptr);
        event.Pulse();
        EXPECT_FALSE(event.TryWait()) << "nobody was waiting";
        std::atomic<bool> released = false;
        RunPair(
            [&] {
                // The other thread may not be waiting yet.
                while (!released) {
                    event.Pulse();
                    std::this_thread::yield();
                }
            },
            [&] {
                event.WaitUntilDone();
                released = true;
            });
        EXPECT_FALSE(event.TryWait());
    }
}

TEST(EventName, IsSharedByItsEvents) {
    Event first(false, true, "zelk event test");
    Event second(true, false, "zelk event test");
    EXPECT_FALSE(second.TryWait()) << "the first one's state stays";
    first.SetDone();
    EXPECT_TRUE(second.TryWait());
    EXPECT_FALSE(first.TryWait()) << "the first one's mode stays";
}

TEST(EventName, TakenByAnotherKindGivesAnEventThatIsNeverSignalled) {
    Semaphore semaphore(1, 1, "zelk name test");
    Event none(true, false, "zelk name test");
    Event sound(true, false, nullptr);
    EXPECT_EQ(none.GetNativeHandle(), nullptr);
    none.SetDone();
    none.Pulse();
    none.Reset();
    EXPECT_FALSE(none.TryWait());
    EXPECT_FALSE(none.WaitWithTimeout(0xFFFFFFFF));
    none.WaitUntilDone();

    Event* signalled = &sound;
    Event::WaitAll({&sound, &none});
    EXPECT_FALSE(Event::TryWaitAll({&sound, &none}));
    EXPECT_FALSE(Event::TryWaitAny({&sound, &none}, &signalled));
    EXPECT_EQ(signalled, nullptr);
}

TEST(EventGroup, OfNoOrTooManyEventsIsRefused) {
    Group group;
    group.SignalAll();
    for (const unsigned long count : {0ul, GROUP + 1, 0xFFFFFFFFul}) {
        SCOPED_TRACE(count);
        const ExpectContract contract(LIBRARY_CHECKS ? 6 : 0);
        Event::WaitAll(group.Events(), count);
        EXPECT_FALSE(Event::TryWaitAll(group.Events(), count));
        EXPECT_FALSE(Event::WaitAllWithTimeout(group.Events(), count, 0xFFFFFFFF));
        Event* signalled = group[0];
        Event::WaitAny(group.Events(), count, &signalled);
        EXPECT_EQ(signalled, nullptr);
        signalled = group[0];
        EXPECT_FALSE(Event::TryWaitAny(group.Events(), count, &signalled));
        EXPECT_EQ(signalled, nullptr);
        signalled = group[0];
        EXPECT_FALSE(Event::WaitAnyWithTimeout(group.Events(), count, 0xFFFFFFFF, &signalled));
        EXPECT_EQ(signalled, nullptr);
    }
    EXPECT_EQ(group.TakeAll(), GROUP);
}

TEST(EventGroup, WaitForAllTakesAllOrNone) {
    Group group;
    EXPECT_FALSE(Event::TryWaitAll(group.Events(), GROUP));
    for (const unsigned long missing : {0ul, 1ul, GROUP - 1}) {
        group.SignalAll();
        group[missing]->Reset();
        EXPECT_FALSE(Event::TryWaitAll(group.Events(), GROUP));
        EXPECT_FALSE(Event::WaitAllWithTimeout(group.Events(), GROUP, 1));
        EXPECT_EQ(group.TakeAll(), GROUP - 1) << missing;
    }
    group.SignalAll();
    EXPECT_TRUE(Event::TryWaitAll(group.Events(), GROUP));
    EXPECT_EQ(group.TakeAll(), 0u);
    group.SignalAll();
    EXPECT_TRUE(Event::WaitAllWithTimeout(group.Events(), GROUP, 0));
    EXPECT_EQ(group.TakeAll(), 0u);
    group.SignalAll();
    Event::WaitAll(group.Events(), GROUP);
    EXPECT_EQ(group.TakeAll(), 0u);
}

TEST(EventGroup, WaitForAnyTakesTheFirstSignalled) {
    Group group;
    Event* signalled = group[0];
    EXPECT_FALSE(Event::TryWaitAny(group.Events(), GROUP, &signalled));
    EXPECT_EQ(signalled, nullptr);
    signalled = group[0];
    EXPECT_FALSE(Event::WaitAnyWithTimeout(group.Events(), GROUP, 1, &signalled));
    EXPECT_EQ(signalled, nullptr);

    group.SignalAll();
    for (unsigned long i = 0; i < GROUP; ++i) {
        switch (i % 3) {
        case 0:
            EXPECT_TRUE(Event::TryWaitAny(group.Events(), GROUP, &signalled));
            break;
        case 1:
            EXPECT_TRUE(Event::WaitAnyWithTimeout(group.Events(), GROUP, 1, &signalled));
            break;
        default:
            Event::WaitAny(group.Events(), GROUP, &signalled);
        }
        EXPECT_EQ(signalled, group[i]);
    }

    group.SignalAll();
    EXPECT_TRUE(Event::TryWaitAny(group.Events(), GROUP, nullptr));
    EXPECT_TRUE(Event::WaitAnyWithTimeout(group.Events(), GROUP, 1, nullptr));
    Event::WaitAny(group.Events(), GROUP, nullptr);
    EXPECT_EQ(group.TakeAll(), GROUP - 3);
    EXPECT_FALSE(Event::TryWaitAny(group.Events(), GROUP, nullptr));
}

TEST(EventGroup, TakesLists) {
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
    const ExpectContract contract(LIBRARY_CHECKS ? 1 : 0);
    EXPECT_FALSE(Event::TryWaitAll({}));
}

TEST(EventGroup, WakesWhoeverWaits) {
    constexpr int ROUNDS = 200;
    std::mt19937 random(20);
    for (const bool waitForAll : {true, false}) {
        Group group;
        Event done(false, true, nullptr);
        unsigned wrong = 0;
        std::atomic<Event*> expected = nullptr;
        RunPair(
            [&] {
                for (int i = 0; i < ROUNDS; ++i) {
                    std::array<unsigned long, GROUP> order;
                    std::iota(order.begin(), order.end(), 0ul);
                    std::shuffle(order.begin(), order.end(), random);
                    expected = group[order[0]];
                    for (unsigned long k = 0; k < (waitForAll ? GROUP : 1); ++k) {
                        group[order[k]]->SetDone();
                    }
                    done.WaitUntilDone();
                }
            },
            [&] {
                for (int i = 0; i < ROUNDS; ++i) {
                    if (waitForAll) {
                        Event::WaitAll(group.Events(), GROUP);
                        wrong += group.TakeAll() != 0 ? 1u : 0u;
                    } else {
                        Event* signalled = nullptr;
                        Event::WaitAny(group.Events(), GROUP, &signalled);
                        wrong += signalled != expected ? 1u : 0u;
                    }
                    done.SetDone();
                }
            });
        EXPECT_EQ(wrong, 0u);
    }
}

TEST(EventHandOver, LosesNoWakeUp) {
    Event there(false, true, nullptr);
    Event back(false, true, nullptr);
    ExpectNoLostHandOver(
        there, back, [](Event& to) { to.SetDone(); }, [](Event& from) { from.WaitUntilDone(); });
    EXPECT_FALSE(there.TryWait());
    EXPECT_FALSE(back.TryWait());
}

TEST(EventTimeout, NeverComesEarly) {
    std::atomic<unsigned> early = 0;
    std::atomic<unsigned> signalled = 0;
    RunCrowd(10, [&](unsigned) {
        Event first(false, true, nullptr);
        Event second(true, false, nullptr);
        for (unsigned long i = 0; i < Repeats(200, 1'000); ++i) {
            const unsigned long ms = 1 + i % 3;
            const WaitClock clock;
            bool result = false;
            switch (i % 4) {
            case 0:
                result = Event::WaitAllWithTimeout({&first, &second}, ms);
                break;
            case 1:
                result = Event::WaitAnyWithTimeout({&first}, ms, nullptr);
                break;
            default:
                result = first.WaitWithTimeout(ms);
            }
            early += clock.HasPassed(ms) ? 0u : 1u;
            signalled += result ? 1u : 0u;
        }
    });
    EXPECT_EQ(early, 0u);
    EXPECT_EQ(signalled, 0u);
}

} // namespace
