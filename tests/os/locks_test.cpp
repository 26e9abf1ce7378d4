#include <windows.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <emmintrin.h>
#include <gtest/gtest.h>
#include <new>
#include <tests/os/crowd.h>
#include <tests/support/contract.h>
#include <thread>
#include <type_traits>
#include <vector>
#include <zelk_core/os/adaptivelock.h>
#include <zelk_core/os/autolock.h>
#include <zelk_core/os/blockinglock.h>
#include <zelk_core/os/nullock.h>
#include <zelk_core/os/spinlock.h>

namespace {

using namespace Z4;

template <class LockClass>
bool TryLockElsewhere(LockClass& lock) {
    bool taken = false;
    std::thread([&] {
        taken = lock.TryLock();
        if (taken) {
            lock.Unlock();
        }
    }).join();
    return taken;
}

template <class LockClass>
unsigned long SpinCount(LockClass& lock) {
    unsigned long count = 0;
    std::memcpy(&count, static_cast<char*>(lock.GetInternalLockImpl()) + sizeof(CRITICAL_SECTION), sizeof count);
    return count;
}

// What the guarded increments work on: not atomic, and wider than one instruction writes.
struct Guarded {
    volatile unsigned long long count = 0;
    volatile unsigned long long mirror = ~0ULL;
};

template <class LockClass>
class Exclusion : public testing::Test {};
using ExcludingLocks = testing::Types<AdaptiveLock, AdaptiveLockNonRecursive, BlockingLock, BlockingLockNonRecursive,
                                      NonRecursiveSpinLock>;
TYPED_TEST_SUITE(Exclusion, ExcludingLocks);

TYPED_TEST(Exclusion, LosesNoIncrementUnderContention) {
    constexpr unsigned PER_CROWD = ZelkTest::Repeats(40'000, 2'000'000); // shared out to its threads
    std::atomic<unsigned> refusals = 0;
    for (const unsigned threads : {2u, 4u, 8u, 10u, 32u}) {
        TypeParam lock;
        Guarded guarded;
        std::atomic<unsigned> torn = 0;
        ZelkTest::RunCrowd(threads, [&](unsigned) {
            for (unsigned i = 0; i < PER_CROWD / threads; ++i) {
                if (i % 2 == 0) {
                    lock.Lock();
                } else if (!lock.TryLock()) {
                    refusals.fetch_add(1, std::memory_order_relaxed);
                    lock.Lock();
                }
                torn += guarded.mirror != ~guarded.count ? 1u : 0u;
                guarded.count = guarded.count + 1;
                guarded.mirror = ~guarded.count;
                lock.Unlock();
            }
        });
        EXPECT_EQ(guarded.count, PER_CROWD) << threads << " threads";
        EXPECT_EQ(torn, 0u) << threads << " threads";
    }
    if (ZelkTest::SOAK && std::thread::hardware_concurrency() > 1) {
        EXPECT_GT(refusals, 0u) << "there was no contention";
    }
}

TYPED_TEST(Exclusion, IsHeldFromLockAndTryLockUntilUnlock) {
    TypeParam lock;
    lock.Lock();
    EXPECT_FALSE(TryLockElsewhere(lock));
    lock.Unlock();
    EXPECT_TRUE(TryLockElsewhere(lock));
    EXPECT_TRUE(lock.TryLock());
    EXPECT_FALSE(TryLockElsewhere(lock));
    lock.Unlock();
    EXPECT_TRUE(TryLockElsewhere(lock));
}

TYPED_TEST(Exclusion, ScopeHoldsTheLock) {
    TypeParam lock;
    {
        AutoLock guard(lock);
        EXPECT_FALSE(TryLockElsewhere(lock));
    }
    EXPECT_TRUE(TryLockElsewhere(lock));
}

template <class LockClass>
class CriticalSectionLocks : public testing::Test {};
using LocksOnCriticalSections =
    testing::Types<AdaptiveLock, AdaptiveLockNonRecursive, BlockingLock, BlockingLockNonRecursive>;
TYPED_TEST_SUITE(CriticalSectionLocks, LocksOnCriticalSections);

TYPED_TEST(CriticalSectionLocks, AreFreeAfterAsManyUnlocksAsLocks) {
    TypeParam lock;
    lock.Lock();
    EXPECT_TRUE(lock.TryLock());
    lock.Lock();
    for (int held = 3; held > 0; --held) {
        EXPECT_FALSE(TryLockElsewhere(lock)) << held;
        lock.Unlock();
    }
    EXPECT_TRUE(TryLockElsewhere(lock));
}

TYPED_TEST(CriticalSectionLocks, ShowTheirCriticalSection) {
    TypeParam lock;
    ASSERT_EQ(lock.GetInternalLockImpl(), &lock);
    auto* const section = static_cast<CRITICAL_SECTION*>(lock.GetInternalLockImpl());
    EnterCriticalSection(section);
    EXPECT_FALSE(TryLockElsewhere(lock));
    lock.Unlock();
    lock.Lock();
    EXPECT_EQ(section->OwningThread, reinterpret_cast<HANDLE>(static_cast<ULONG_PTR>(GetCurrentThreadId())));
    EXPECT_EQ(section->RecursionCount, 1);
    LeaveCriticalSection(section);
    EXPECT_TRUE(TryLockElsewhere(lock));
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

/// A lock held here that another thread is trying to take. A waiter that blocks shows in the section's count.
template <class LockClass>
class Contention {
public:
    explicit Contention(LockClass& lock) : m_lock(lock) {
        m_lock.Lock();
        m_held = Count();
        m_contender = std::thread([this] {
            m_begin = Clock::now();
            m_trying = true;
            m_lock.Lock();
            m_through = true;
            m_lock.Unlock();
        });
        while (!m_trying) {
            std::this_thread::yield();
        }
    }
    ~Contention() {
        m_lock.Unlock();
        m_contender.join();
        EXPECT_TRUE(m_through);
    }
    Contention(const Contention&) = delete;
    Contention& operator=(const Contention&) = delete;

    bool Blocked() const { return Count() != m_held; }
    bool Through() const { return m_through; }

    /// Waits until the contender blocks; the time that it took to get there, or zero when it has not for a minute.
    Clock::duration UntilBlocked() const {
        while (Clock::now() - m_begin < std::chrono::minutes(1)) {
            if (Blocked()) {
                return Clock::now() - m_begin;
            }
            std::this_thread::yield();
        }
        return {};
    }

private:
    LONG Count() const {
        return *static_cast<volatile LONG*>(&static_cast<CRITICAL_SECTION*>(m_lock.GetInternalLockImpl())->LockCount);
    }

    LockClass& m_lock;
    LONG m_held;
    Clock::time_point m_begin;
    std::atomic<bool> m_trying = false;
    std::atomic<bool> m_through = false;
    std::thread m_contender;
};

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

TEST(AdaptiveLockSpinCount, BlocksOnceItIsSpent) {
    const Clock::duration round = TimeOfPauses(1000);
    for (const unsigned long spinCount : {0ul, 1ul, 100ul, 2000ul}) {
        AdaptiveLock lock(spinCount, nullptr);
        const Contention contention(lock);
        const Clock::duration spun = contention.UntilBlocked();
        ASSERT_NE(spun.count(), 0) << "never blocked with spin count " << spinCount;
        // Half of it leaves room for a measurement made while the processor ran slower.
        EXPECT_GE(spun, spinCount * round / 2) << spinCount;
        EXPECT_FALSE(contention.Through());
    }
    BlockingLock lock;
    EXPECT_NE(Contention(lock).UntilBlocked().count(), 0);
}

TEST(AdaptiveLockSpinCount, NeverBlocksAtItsGreatest) {
    const Clock::duration manyRounds = 1000 * TimeOfPauses(1000);
    AdaptiveLock lock(0xFFFFFFFF, nullptr);
    const Contention contention(lock);
    const Clock::time_point begin = Clock::now();
    while (Clock::now() - begin < manyRounds + std::chrono::milliseconds(100)) {
        ASSERT_FALSE(contention.Blocked());
        ASSERT_FALSE(contention.Through());
        std::this_thread::yield();
    }
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
    static_assert(sizeof(NonRecursiveSpinLock) == 4);
    EXPECT_EQ(Word(g_staticLock), 0u);
    g_staticLock.Lock();
    EXPECT_EQ(Word(g_staticLock), 1u);
    EXPECT_FALSE(g_staticLock.TryLock());
    EXPECT_EQ(Word(g_staticLock), 1u);
    g_staticLock.Unlock();
    EXPECT_EQ(Word(g_staticLock), 0u);
    const ZelkTest::ExpectContract held(1);
    g_staticLock.Unlock();
    EXPECT_EQ(Word(g_staticLock), 0u);
}

TEST(SpinLock, CopiesAreAsHeldAsTheirOriginal) {
    NonRecursiveSpinLock held;
    held.Lock();
    NonRecursiveSpinLock copy(held);
    EXPECT_FALSE(copy.TryLock());
    NonRecursiveSpinLock assigned;
    assigned = held;
    EXPECT_FALSE(assigned.TryLock());
    held.Unlock();
    EXPECT_FALSE(copy.TryLock()) << "a copy is a lock of its own";
    assigned = held;
    EXPECT_TRUE(assigned.TryLock());
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
