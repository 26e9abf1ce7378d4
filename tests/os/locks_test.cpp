// Faults hunted: a lock that lets two in, a level too many or too few, a wait that blocks too early, too late or not at
// all, a critical section that is not where callers find it. Whether contenders exclude one another, proof/ explores.
#include "crowd.h"

#include <algorithm>
#include <emmintrin.h>
#include <gtest/gtest.h>
#include <tests/support/contract.h>
#include <tests/support/importhook.h>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/rwlock.h>
#include <zelk_core/os/spinlock.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

/// A reader-writer lock as its writers see it.
template <class LockClass>
struct ForWriting : LockClass {
    void Lock() { this->LockWriter(); }
    bool TryLock() { return this->TryLockWriter(); }
    void Unlock() { this->UnlockWriter(); }
};

template <class LockClass>
class Exclusion : public testing::Test {
protected:
    bool IsFree() {
        bool taken = false;
        other.Does([&] {
            taken = lock.TryLock();
            if (taken) {
                lock.Unlock();
            }
        });
        return taken;
    }

    LockClass lock;
    Actor other;
};
using ExcludingLocks = testing::Types<AdaptiveLock, AdaptiveLockNonRecursive, BlockingLock, BlockingLockNonRecursive,
                                      NonRecursiveSpinLock, ForWriting<RWLock>, ForWriting<RWLockNonRecursive>>;
TYPED_TEST_SUITE(Exclusion, ExcludingLocks);

TYPED_TEST(Exclusion, IsHeldUntilUnlockLetsTheNextIn) {
    EXPECT_TRUE(this->lock.TryLock());
    EXPECT_FALSE(this->IsFree());
    this->lock.Unlock();
    {
        const AutoLock guard(this->lock);
        this->other.Waits([&] { this->lock.Lock(); });
    }
    this->other.Proceeds();
    EXPECT_FALSE(this->lock.TryLock());
    this->other.Does([&] { this->lock.Unlock(); });
    // What lies on a critical section is recursive and shows it.
    if constexpr (requires { this->lock.GetInternalLockImpl(); }) {
        auto* const section = static_cast<CRITICAL_SECTION*>(this->lock.GetInternalLockImpl());
        EnterCriticalSection(section);
        EXPECT_TRUE(this->lock.TryLock());
        this->lock.Lock();
        for (int held = 3; held > 0; --held) {
            EXPECT_EQ(section->RecursionCount, held);
            this->lock.Unlock();
        }
    }
    EXPECT_TRUE(this->IsFree());
}

using Clock = std::chrono::steady_clock;

/// The shortest of several measurements, since interruptions only lengthen them.
Clock::duration TimeOf1000Pauses() {
    Clock::duration shortest = Clock::duration::max();
    for (int i = 0; i < 20; ++i) {
        const Clock::time_point begin = Clock::now();
        for (int pause = 0; pause < 1000; ++pause) {
            _mm_pause();
        }
        shortest = std::min(shortest, Clock::now() - begin);
    }
    return shortest;
}

unsigned long g_refusals, g_attempts, g_blocks;

BOOL WINAPI RefuseAttempts(CRITICAL_SECTION*) {
    return ++g_attempts > g_refusals ? TRUE : FALSE;
}

void WINAPI CountBlock(CRITICAL_SECTION*) {
    ++g_blocks;
}

/// Locks where the system refuses the first attempts; how long it took.
template <class LockClass>
Clock::duration LockRefused(LockClass&& lock, unsigned long refusals) {
    const ImportHook attempt("TryEnterCriticalSection", RefuseAttempts);
    const ImportHook block("EnterCriticalSection", CountBlock);
    g_refusals = refusals;
    g_attempts = g_blocks = 0;
    const Clock::time_point begin = Clock::now();
    lock.Lock();
    return Clock::now() - begin;
}

TEST(AdaptiveLockSpinCount, IsHowOftenItTriesAgain) {
    constexpr unsigned long ALL = 0xFFFFFFFF;
    const auto expectSpins = [](unsigned long spinCount, auto&& lock) {
        LockRefused(lock, spinCount);
        EXPECT_TRUE(g_attempts == spinCount + 1 && g_blocks == 0) << spinCount << ": the last attempt succeeds";
        LockRefused(lock, ALL);
        EXPECT_TRUE(g_attempts == spinCount + 1 && g_blocks == 1) << spinCount << ": then it blocks";
    };
    expectSpins(100, AdaptiveLock());
    expectSpins(100, AdaptiveLockNonRecursive("name"));
    expectSpins(7, AdaptiveLock(7, "name"));
    expectSpins(1, AdaptiveLockNonRecursive(1, nullptr));
    expectSpins(0, AdaptiveLock(0, nullptr));
    LockRefused(AdaptiveLock(ALL, nullptr), 5000);
    EXPECT_EQ(g_attempts, 5001u) << "the greatest never blocks";
    LockRefused(BlockingLock(), 0);
    EXPECT_TRUE(g_attempts == 0 && g_blocks == 1) << "it blocks at once";

    // Half of it leaves room for a measurement made while the processor ran slower.
    const Clock::duration round = TimeOf1000Pauses();
    EXPECT_GE(LockRefused(AdaptiveLock(2000, nullptr), ALL), 2000 * round / 2);
}

constinit NonRecursiveSpinLock g_staticLock;

TEST(SpinLock, IsOneWordThatIsOneWhileHeld) {
    const auto word = [](const NonRecursiveSpinLock& lock) { return reinterpret_cast<const unsigned long&>(lock); };
    g_staticLock.Lock();
    NonRecursiveSpinLock copy(g_staticLock);
    NonRecursiveSpinLock assigned;
    assigned = g_staticLock;
    for (NonRecursiveSpinLock* const lock : {&g_staticLock, &copy, &assigned}) {
        EXPECT_EQ(word(*lock), 1u) << "copies are as held as their original was";
        EXPECT_FALSE(lock->TryLock());
        lock->Unlock();
        const ExpectContract held(1);
        lock->Unlock();
        EXPECT_EQ(word(*lock), 0u);
    }
}

} // namespace
