// Events and semaphores. Faults hunted: a mode or a state taken for the other, a wait with another's limit, a group
// that takes some of its events and fails, or another event than the first; a list that cannot be waited for and waits,
// or changes an event; counts taken for one another, lost or given beyond the maximum, an object where there is
// none.
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <span>
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

DWORD g_limit;

DWORD WINAPI RecordWait(HANDLE, DWORD ms) {
    g_limit = ms;
    return WAIT_TIMEOUT;
}

DWORD WINAPI RecordGroupWait(DWORD, const HANDLE*, BOOL, DWORD ms) {
    return RecordWait(nullptr, ms);
}

TEST(EventState, CallsReachTheSystemWithTheirLimits) {
    Event event(true, false, nullptr);
    Semaphore semaphore(1, 1, nullptr);
    Event* signalled = &event;
    const struct {
        DWORD limit;
        std::function<bool()> wait;
    } rows[] = {
        {INFINITE, [&] { return event.WaitUntilDone(), false; }},
        {0, [&] { return event.TryWait(); }},
        {60, [&] { return event.WaitWithTimeout(60); }},
        {INFINITE, [&] { return Event::WaitAll({&event}), false; }},
        {0, [&] { return Event::TryWaitAll({&event}); }},
        {60, [&] { return Event::WaitAllWithTimeout({&event}, 60); }},
        {INFINITE, [&] { return Event::WaitAny({&event}, &signalled), signalled != nullptr; }},
        {0, [&] { return Event::TryWaitAny({&event}, nullptr); }},
        {60, [&] { return Event::WaitAnyWithTimeout({&event}, 60, nullptr); }},
        {INFINITE, [&] { return semaphore.Lock(), false; }},
        {0, [&] { return semaphore.TryLock(); }},
    };
    for (const auto& [limit, wait] : rows) {
        const ImportHook one("WaitForSingleObject", RecordWait);
        const ImportHook group("WaitForMultipleObjects", RecordGroupWait);
        EXPECT_FALSE(wait());
        EXPECT_EQ(std::exchange(g_limit, 99), limit);
    }
    const ImportHook pulse(ZELK_FAILING(PulseEvent));
    Failure::s_error = 77;
    event.Pulse();
    EXPECT_EQ(GetLastError(), 77u);
}

unsigned TakeAll(Semaphore& semaphore) {
    unsigned counts = 0;
    for (; semaphore.TryLock(); ++counts) {
    }
    return counts;
}

TEST(SemaphoreCounts, StayBetweenZeroAndTheMaximum) {
    Semaphore semaphore(2, 3, "zelk semaphore test");
    EXPECT_EQ(TakeAll(semaphore), 2u);
    for (int i = 0; i < 4; ++i) {
        semaphore.Unlock();
    }
    Semaphore same(1, 9, "zelk semaphore test");
    EXPECT_EQ(TakeAll(same), 3u) << "those of one name share the first one's counts";
    Semaphore none(2, 1, nullptr);
    none.Unlock();
    none.Lock();
    EXPECT_FALSE(none.TryLock());
}

TEST(EventState, IsSharedByThoseOfOneName) {
    Event event(false, true, "zelk event test");
    Event same(true, false, "zelk event test");
    EXPECT_FALSE(same.TryWait()) << "the first one's state stays";
    event.SetDone();
    EXPECT_TRUE(same.TryWait() && !event.TryWait()) << "the first one's mode stays";

    const Semaphore ofThatName(1, 1, "zelk semaphore test");
    Event none(true, false, "zelk semaphore test");
    EXPECT_EQ(none.GetNativeHandle(), nullptr);
    none.SetDone();
    none.WaitUntilDone();
    EXPECT_FALSE(none.TryWait());
    Event* signalled = &event;
    EXPECT_FALSE(Event::TryWaitAny({&event, &none}, &signalled));
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
        EXPECT_EQ(TakeAll(), SIZE - 1);
    }
    SignalAll();
    EXPECT_TRUE(Event::WaitAllWithTimeout(events, SIZE, 0xFFFFFFFF));
    EXPECT_EQ(TakeAll(), 0u);
}

TEST_F(EventGroup, WaitForAnyTakesTheFirstSignalled) {
    SignalAll();
    Event* signalled = nullptr;
    for (Event* const next : std::span(events, SIZE)) {
        EXPECT_TRUE(Event::TryWaitAny(events, SIZE, &signalled));
        EXPECT_EQ(signalled, next);
    }
    EXPECT_FALSE(Event::TryWaitAny(events, SIZE, &signalled));
    EXPECT_EQ(signalled, nullptr);
    events[7]->SetDone();
    EXPECT_TRUE(Event::TryWaitAny(events, SIZE, nullptr)) << "nobody wants to know which";
}

} // namespace
