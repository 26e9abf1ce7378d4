// Faults hunted: a signal that wakes nobody, a broadcast that wakes one, a signal that is kept for later, a time-out
// told as a wake-up or come early, a lock that is not held again. The orders of threads, proof/ explores.
#include "crowd.h"

#include <gtest/gtest.h>
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

TYPED_TEST(CondVariableOver, HoldsTheLockAfterATimeout) {
    TypeParam lock;
    Actor other;
    AutoLock guard(lock);
    g_staticCondition.Signal();
    g_staticCondition.Broadcast();
    for (const unsigned long ms : {0ul, 20ul}) {
        const WaitClock clock;
        EXPECT_FALSE(g_staticCondition.WaitWithTimeout(lock, ms)) << "signals before the wait must not count";
        EXPECT_TRUE(clock.HasPassed(ms));
        other.Does([&] { EXPECT_FALSE(lock.TryLock()); });
    }
}

TYPED_TEST(CondVariableOver, WakesOneOrAll) {
    TypeParam lock;
    CondVariable given;
    CondVariable changed;
    unsigned waiting = 0;
    unsigned tickets = 0;
    RunCrowd(4, [&](unsigned index) {
        AutoLock guard(lock);
        if (index == 0) {
            for (const unsigned others : {3u, 2u}) {
                while (waiting != others) {
                    changed.Wait(lock);
                }
                tickets = others == 3 ? 1 : 2;
                others == 3 ? given.Signal() : given.Broadcast();
            }
            return;
        }
        ++waiting;
        changed.Signal();
        while (tickets == 0) {
            if (index == 1) {
                EXPECT_TRUE(given.WaitWithTimeout(lock, 0xFFFFFFFF));
            } else {
                given.Wait(lock);
            }
        }
        --tickets;
        --waiting;
        changed.Signal();
    });
    EXPECT_EQ(waiting + tickets, 0u);
}

} // namespace
