// What threads wait for: events, semaphores, condition variables and the barrier made of one. Faults hunted: a mode or
// a state taken for the other, a wait with another's limit, a group that takes some of its events and fails, or another
// event than the first; a list that cannot be waited for and waits, or changes an event; counts taken for one another,
// lost or given beyond the maximum, an object where there is none; a signal that is kept for later, a time-out told as
// a wake-up or come early, a lock that is not held again, a wake-up that comes when the barrier may be gone. Who is
// woken by whom, and what a round is, proof/ explores.
#include "crowd.h"

#include <algorithm>
#include <deque>
#include <functional>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/contract.h>
#include <tests/support/importhook.h>
#include <utility>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/condvariable.h>
#include <zelk_core/os/event.h>
#include <zelk_core/os/semaphore.h>
#include <zelk_core/os/threadbarrier.h>

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
    EXPECT_EQ(GetLastError(), 77u) << "it is a pulse that is asked for";
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

TEST(EventGroup, TakesAllOrTheFirstOfUpTo64) {
    constexpr unsigned long SIZE = 64;
    std::deque<Event> owned;
    Event* events[SIZE + 1] = {};
    for (unsigned long i = 0; i < SIZE; ++i) {
        events[i] = &owned.emplace_back(true, true, nullptr);
    }
    const auto signalAll = [&] { std::for_each(owned.begin(), owned.end(), std::mem_fn(&Event::SetDone)); };
    const auto takeAll = [&] { return std::count_if(owned.begin(), owned.end(), std::mem_fn(&Event::TryWait)); };
    for (const unsigned long count : {0ul, SIZE + 1, 0xFFFFFFFFul}) {
        const ExpectContract contract(LIBRARY_CHECKS ? 3 : 0);
        Event* signalled = events[1];
        EXPECT_FALSE(Event::TryWaitAll(events, count));
        EXPECT_FALSE(Event::TryWaitAny(events, count, &signalled));
        EXPECT_EQ(signalled, nullptr);
        Event::WaitAll(events, count);
    }
    for (const unsigned long missing : {0ul, 1ul, SIZE - 1}) {
        signalAll();
        events[missing]->Reset();
        EXPECT_FALSE(Event::TryWaitAll(events, SIZE));
        EXPECT_EQ(takeAll(), SIZE - 1);
    }
    signalAll();
    EXPECT_TRUE(Event::WaitAllWithTimeout(events, SIZE, 0xFFFFFFFF));
    EXPECT_EQ(takeAll(), 0);

    signalAll();
    Event* signalled = nullptr;
    for (Event& next : owned) {
        EXPECT_TRUE(Event::TryWaitAny(events, SIZE, &signalled));
        EXPECT_EQ(signalled, &next);
    }
    EXPECT_FALSE(Event::TryWaitAny(events, SIZE, &signalled));
    EXPECT_EQ(signalled, nullptr);
    events[7]->SetDone();
    EXPECT_TRUE(Event::TryWaitAny(events, SIZE, nullptr)) << "nobody wants to know which";
}

constinit CondVariable g_staticCondition;

template <class LockClass>
void ExpectTimeouts(LockClass&& lock) {
    Actor other;
    const AutoLock guard(lock);
    g_staticCondition.Signal();
    g_staticCondition.Broadcast();
    for (const unsigned long ms : {0ul, 20ul}) {
        const WaitClock clock;
        EXPECT_FALSE(g_staticCondition.WaitWithTimeout(lock, ms)) << "signals before the wait must not count";
        EXPECT_TRUE(clock.HasPassed(ms));
        other.Does([&] { EXPECT_FALSE(lock.TryLock()); });
    }
}

TEST(CondVariableWaits, HoldTheLockAfterATimeout) {
    ExpectTimeouts(AdaptiveLock());
    ExpectTimeouts(BlockingLock());
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
    const ImportHook wake("WakeAllConditionVariable", RecordWake);
    const ImportHook leave("LeaveCriticalSection", RecordLeave);
    for (const unsigned long partyCount : {0ul, 1ul}) {
        ThreadBarrier barrier(partyCount, "name", nullptr);
        EXPECT_TRUE(barrier.Wait(false) && barrier.Wait(true)) << "nobody is waited for";
        EXPECT_EQ(std::exchange(g_calls, {}), "wake leave wake leave ");
    }
}

} // namespace
