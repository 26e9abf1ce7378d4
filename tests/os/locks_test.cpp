// Faults hunted: a lock that lets two in, a level too many or too few, a wait that blocks too early, too late or not at
// all, a critical section that is not where callers find it, a copy that shares its state.
#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstring>
#include <emmintrin.h>
#include <gtest/gtest.h>
#include <new>
#include <tests/os/crowd.h>
#include <tests/support/contract.h>
#include <tests/support/importhook.h>
#include <thread>
#include <type_traits>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/nullock.h>
#include <zelk_core/os/semaphore.h>
#include <zelk_core/os/spinlock.h>

namespace {

using namespace Z4;
using ZelkTest::Actor;

struct BinarySemaphore : Semaphore {
    BinarySemaphore() : Semaphore(1, 1, nullptr) {}
};

template <class LockClass>
bool IsFree(LockClass& lock, Actor& other) {
    bool taken = false;
    other.Does([&] {
        taken = lock.TryLock();
        if (taken) {
            lock.Unlock();
        }
    });
    return taken;
}

template <class LockClass>
class Exclusion : public testing::Test {};
using ExcludingLocks = testing::Types<AdaptiveLock, AdaptiveLockNonRecursive, BlockingLock, BlockingLockNonRecursive,
                                      NonRecursiveSpinLock, BinarySemaphore>;
TYPED_TEST_SUITE(Exclusion, ExcludingLocks);

TYPED_TEST(Exclusion, LosesNoIncrementUnderContention) {
    // Shared out to the threads. Each step of a semaphore is a call of the system.
    constexpr unsigned SHARE = std::is_same_v<TypeParam, BinarySemaphore> ? 20 : 1;
    constexpr unsigned PER_CROWD = ZelkTest::Repeats(40'000, 2'000'000) / SHARE;
    for (const unsigned threads : {2u, 10u, 32u}) {
        TypeParam lock;
        // Not atomic, and wider than one instruction writes.
        volatile unsigned long long count = 0;
        volatile unsigned long long mirror = ~0ULL;
        std::atomic<unsigned> torn = 0;
        ZelkTest::RunCrowd(threads, [&](unsigned) {
            for (unsigned i = 0; i < PER_CROWD / threads; ++i) {
                if (i % 2 == 0 || !lock.TryLock()) {
                    lock.Lock();
                }
                torn += mirror != ~count ? 1u : 0u;
                count = count + 1;
                mirror = ~count;
                lock.Unlock();
            }
        });
        EXPECT_EQ(count, PER_CROWD / threads * threads) << threads << " threads";
        EXPECT_EQ(torn, 0u) << threads << " threads";
    }
}

TYPED_TEST(Exclusion, IsHeldUntilUnlockLetsTheNextIn) {
    TypeParam lock;
    Actor other;
    EXPECT_TRUE(lock.TryLock());
    EXPECT_FALSE(IsFree(lock, other));
    lock.Unlock();
    EXPECT_TRUE(IsFree(lock, other));
    {
        AutoLock guard(lock);
        other.Waits([&] { lock.Lock(); });
    }
    other.Proceeds();
    EXPECT_FALSE(lock.TryLock());
    other.Does([&] { lock.Unlock(); });
    EXPECT_TRUE(IsFree(lock, other));
}

template <class LockClass>
class CriticalSectionLocks : public testing::Test {};
using LocksOnCriticalSections =
    testing::Types<AdaptiveLock, AdaptiveLockNonRecursive, BlockingLock, BlockingLockNonRecursive>;
TYPED_TEST_SUITE(CriticalSectionLocks, LocksOnCriticalSections);

TYPED_TEST(CriticalSectionLocks, AreRecursiveAndShowTheirSection) {
    TypeParam lock;
    Actor other;
    ASSERT_EQ(lock.GetInternalLockImpl(), &lock);
    auto* const section = static_cast<CRITICAL_SECTION*>(lock.GetInternalLockImpl());
    EnterCriticalSection(section);
    EXPECT_TRUE(lock.TryLock());
    lock.Lock();
    EXPECT_EQ(section->RecursionCount, 3);
    for (int held = 3; held > 0; --held) {
        EXPECT_FALSE(IsFree(lock, other)) << held;
        lock.Unlock();
    }
    EXPECT_TRUE(IsFree(lock, other));
}

template <class LockClass>
unsigned long SpinCount(LockClass& lock) {
    unsigned long count = 0;
    std::memcpy(&count, static_cast<char*>(lock.GetInternalLockImpl()) + sizeof(CRITICAL_SECTION), sizeof count);
    return count;
}

TEST(AdaptiveLockSpinCount, FollowsTheCriticalSection) {
    AdaptiveLock byDefault;
    AdaptiveLock withCount(7, "name");
    AdaptiveLockNonRecursive twinByDefault;
    AdaptiveLockNonRecursive twinByName("name");
    AdaptiveLockNonRecursive twinWithCount(0xFFFFFFFF, nullptr);
    EXPECT_EQ(SpinCount(byDefault), 100u);
    EXPECT_EQ(SpinCount(withCount), 7u);
    EXPECT_EQ(SpinCount(twinByDefault), 100u);
    EXPECT_EQ(SpinCount(twinByName), 100u);
    EXPECT_EQ(SpinCount(twinWithCount), 0xFFFFFFFFu);
}

using Clock = std::chrono::steady_clock;

/// The shortest of several measurements, since interruptions only lengthen them.
Clock::duration TimeOfPauses(unsigned pauses) {
    Clock::duration shortest = Clock::duration::max();
    for (int i = 0; i < 20; ++i) {
        const Clock::time_point begin = Clock::now();
        for (unsigned p = 0; p < pauses; ++p) {
            _mm_pause();
        }
        shortest = std::min(shortest, Clock::now() - begin);
    }
    return shortest;
}

unsigned long g_refusals;
unsigned long g_attempts;
unsigned long g_blocks;

BOOL WINAPI RefuseAttempts(CRITICAL_SECTION*) {
    return ++g_attempts > g_refusals ? TRUE : FALSE;
}

void WINAPI CountBlock(CRITICAL_SECTION*) {
    ++g_blocks;
}

/// Locks where the system refuses the first attempts; how long it took.
template <class LockClass>
Clock::duration LockRefused(LockClass& lock, unsigned long refusals) {
    const ZelkTest::ImportHook attempt("TryEnterCriticalSection", reinterpret_cast<void*>(RefuseAttempts));
    const ZelkTest::ImportHook block("EnterCriticalSection", reinterpret_cast<void*>(CountBlock));
    g_refusals = refusals;
    g_attempts = g_blocks = 0;
    const Clock::time_point begin = Clock::now();
    lock.Lock();
    return Clock::now() - begin;
}

TEST(AdaptiveLockSpinCount, IsHowOftenItTriesAgain) {
    const Clock::duration round = TimeOfPauses(1000);
    for (const unsigned long spinCount : {0ul, 1ul, 100ul, 2000ul}) {
        SCOPED_TRACE(spinCount);
        AdaptiveLock lock(spinCount, nullptr);
        // Half of it leaves room for a measurement made while the processor ran slower.
        EXPECT_GE(LockRefused(lock, 0xFFFFFFFF), spinCount * round / 2);
        EXPECT_EQ(g_attempts, spinCount + 1);
        EXPECT_EQ(g_blocks, 1u);
        LockRefused(lock, spinCount);
        EXPECT_EQ(g_attempts, spinCount + 1);
        EXPECT_EQ(g_blocks, 0u) << "the last attempt succeeds";
    }
    AdaptiveLock greedy(0xFFFFFFFF, nullptr);
    LockRefused(greedy, 5000);
    EXPECT_EQ(g_attempts, 5001u);
    EXPECT_EQ(g_blocks, 0u) << "never blocks at the greatest";
    BlockingLock blocking;
    LockRefused(blocking, 0);
    EXPECT_EQ(g_attempts, 0u);
    EXPECT_EQ(g_blocks, 1u);
}

TEST(BlockingLockAssignment, CopiesTheBareState) {
    alignas(BlockingLock) unsigned char places[2][sizeof(BlockingLock)];
    auto* const held = new (places[0]) BlockingLock("held");
    auto* const target = new (places[1]) BlockingLock;
    unsigned char before[sizeof(BlockingLock)];
    std::memcpy(before, places[1], sizeof before);
    held->Lock();
    *target = *held;
    EXPECT_EQ(std::memcmp(places[0], places[1], sizeof(BlockingLock)), 0);
    held->Unlock();
    // Only with its own state back may the target be destroyed too.
    std::memcpy(places[1], before, sizeof before);
    target->~BlockingLock();
    held->~BlockingLock();
}

unsigned long Word(const NonRecursiveSpinLock& lock) {
    unsigned long word = 0;
    std::memcpy(&word, static_cast<const void*>(&lock), sizeof word);
    return word;
}

constinit NonRecursiveSpinLock g_staticLock;

TEST(SpinLock, IsOneWordThatIsOneWhileHeld) {
    EXPECT_EQ(Word(g_staticLock), 0u);
    g_staticLock.Lock();
    EXPECT_EQ(Word(g_staticLock), 1u);
    EXPECT_FALSE(g_staticLock.TryLock());
    EXPECT_EQ(Word(g_staticLock), 1u);
    NonRecursiveSpinLock copy(g_staticLock);
    NonRecursiveSpinLock assigned;
    assigned = g_staticLock;
    g_staticLock.Unlock();
    EXPECT_EQ(Word(g_staticLock), 0u);
    EXPECT_FALSE(copy.TryLock() || assigned.TryLock()) << "copies are as held as their original was";
    assigned = g_staticLock;
    EXPECT_TRUE(assigned.TryLock());
    const ZelkTest::ExpectContract held(1);
    g_staticLock.Unlock();
    EXPECT_EQ(Word(g_staticLock), 0u);
}

TEST(NulLocks, GrantAndKeepNothing) {
    NulLock lock;
    EXPECT_TRUE(lock.TryLock());
    EXPECT_TRUE(lock.TryLock());
    AutoLock guard(lock);
    lock = NulLock();
    static_assert(std::is_empty_v<NulLock>);
}

} // namespace
