// Faults hunted: a broken duty of locks, waits and access guards that is not reported, and a kept one that is.
#include "crowd.h"

#include <algorithm>
#include <functional>
#include <gtest/gtest.h>
#include <tests/support/contract.h>
#include <type_traits>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/concurrentaccessguard.h>
#include <zelk_core/os/condvariable.h>
#include <zelk_core/os/event.h>
#include <zelk_core/os/rwlock.h>
#include <zelk_core/os/threadbarrier.h>

namespace {

using namespace Z4;
using ZelkTest::ExpectContract;
using ZelkTest::IsReported;

TEST(Contracts, OfLocksAndWaitsAreChecked) {
    if (!ZelkTest::LIBRARY_CHECKS) {
        GTEST_SKIP() << "this library was built without its checks";
    }
    AdaptiveLock freeAdaptive, heldAdaptive;
    BlockingLock freeBlocking, heldBlocking;
    RWLock freeRW, read, written;
    RWLockNonRecursive freePlain;
    CondVariable condition;
    ThreadBarrier barrier(2);
    Event event(true, false, nullptr);
    heldAdaptive.Lock();
    heldBlocking.Lock();
    heldBlocking.Lock();
    read.LockReader();
    written.LockWriter();
    ZelkTest::Actor other;
    other.Waits([&] { barrier.Wait(); });
    const struct {
        const char* duty;
        std::function<void()> misuse;
    } misuses[] = {
        {"unlocking a free adaptive lock", [&] { freeAdaptive.Unlock(); }},
        {"unlocking a free blocking lock", [&] { freeBlocking.Unlock(); }},
        {"destroying a held adaptive lock", [&] { heldAdaptive.~AdaptiveLock(); }},
        {"destroying a held blocking lock", [&] { heldBlocking.~BlockingLock(); }},
        {"waiting with a free lock", [&] { condition.WaitWithTimeout(freeBlocking, 0); }},
        {"waiting with a lock held twice", [&] { condition.WaitWithTimeout(heldBlocking, 0); }},
        {"destroying a barrier with a waiter", [&] { barrier.~ThreadBarrier(); }},
        {"writing by a reader", [&] { read.LockWriter(); }},
        {"reading by the writer", [&] { written.LockReader(); }},
        {"unlocking a reader as the writer", [&] { read.UnlockWriter(); }},
        {"unlocking the writer as a reader", [&] { written.UnlockReader(); }},
        {"unlocking a reader of a free lock", [&] { freeRW.UnlockReader(); }},
        {"unlocking a reader of a free plain lock", [&] { freePlain.UnlockReader(); }},
        {"unlocking the writer of a free plain lock", [&] { freePlain.UnlockWriter(); }},
        {"a group with a null event",
         [&] {
             Event::WaitAll({&event, nullptr});
         }},
    };
    for (const auto& [duty, misuse] : misuses) {
        EXPECT_TRUE(IsReported(misuse)) << duty;
    }
    barrier.Wait();
    other.Proceeds();
    other.Does([&] {
        EXPECT_TRUE(IsReported([&] { heldAdaptive.Unlock(); })) << "unlocking what another thread holds";
        EXPECT_TRUE(IsReported([&] { written.UnlockWriter(); })) << "unlocking what another thread writes";
    });
    written.UnlockWriter();
    read.UnlockReader();
    heldBlocking.Unlock();
    heldBlocking.Unlock();
    heldAdaptive.Unlock();
}

/// An access on another thread, nested, breaks the contract so often.
void ExpectReports(unsigned reports, ConcurrentAccessGuard& guard) {
    const ExpectContract expected(reports);
    std::thread([&] {
        guard.Lock();
        const AutoAccessGuard access(guard);
        guard.UnLock();
    }).join();
}

TEST(AccessGuards, ReportOverlappingThreadsAsFarAsThereIsRoom) {
    static_assert(std::is_empty_v<ConcurrentAccessGuard> && std::is_empty_v<AutoAccessGuard>);
    static_assert(std::is_move_assignable_v<ConcurrentAccessGuard> && ConcurrentAccessGuard::UNSET_THREAD_ID == 0);
    ConcurrentAccessGuard guards[300];
    guards[0].Lock();
    {
        const AutoAccessGuard nested(guards[0]);
        ConcurrentAccessGuard copy(guards[0]);
        ExpectReports(0, copy);
    }
    std::for_each(guards + 1, std::end(guards), [](ConcurrentAccessGuard& guard) { guard.Lock(); });
    ExpectReports(2, guards[0]);
    ExpectReports(2, guards[255]);
    ExpectReports(0, guards[256]);
    for (ConcurrentAccessGuard& guard : guards) {
        guard.UnLock();
        guard.UnLock(); // once too often
    }
    ExpectReports(0, guards[0]);
    ExpectReports(0, guards[255]);
}

} // namespace
