#include "crowd.h"

#include <array>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <zelk_core/os/autorwlock.h>
#include <zelk_core/os/event.h>
#include <zelk_core/os/rwlock.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

constinit RWLock g_staticLock;
constinit RWLockNonRecursive g_staticLockNonRecursive(4000);

/// The system's lock inside, which is the first member of either class.
template <class LockClass>
SRWLOCK* SlimLock(LockClass& lock) {
    return reinterpret_cast<SRWLOCK*>(&lock);
}

/// The hold counter, which follows it.
long Holds(RWLock& lock) {
    long holds = 0;
    std::memcpy(&holds, reinterpret_cast<const char*>(&lock) + sizeof(SRWLOCK), sizeof holds);
    return holds;
}

unsigned long WriterId(RWLock& lock) {
    unsigned long id = 0;
    std::memcpy(&id, reinterpret_cast<const char*>(&lock) + sizeof(SRWLOCK) + sizeof(long), sizeof id);
    return id;
}

template <class LockClass>
bool IsFree(LockClass& lock) {
    if (TryAcquireSRWLockExclusive(SlimLock(lock)) == 0) {
        return false;
    }
    ReleaseSRWLockExclusive(SlimLock(lock));
    return true;
}

/// How often the system's lock is held shared. Takes those holds apart and puts them back.
template <class LockClass>
unsigned SharedHolds(LockClass& lock) {
    unsigned holds = 0;
    while (!IsFree(lock)) {
        ReleaseSRWLockShared(SlimLock(lock));
        ++holds;
    }
    for (unsigned i = 0; i < holds; ++i) {
        AcquireSRWLockShared(SlimLock(lock));
    }
    return holds;
}

enum class Access {
    NONE,
    READ,
    WRITE
};

/// What another thread is let do with the lock now.
template <class LockClass>
Access AccessElsewhere(LockClass& lock) {
    Access access = Access::NONE;
    std::thread([&] {
        if (lock.TryLockWriter()) {
            lock.UnlockWriter();
            access = Access::WRITE;
        } else if (lock.TryLockReader()) {
            lock.UnlockReader();
            access = Access::READ;
        }
    }).join();
    return access;
}

template <class LockClass>
class ReaderWriterLocks : public testing::Test {};
using BothLocks = testing::Types<RWLock, RWLockNonRecursive>;
TYPED_TEST_SUITE(ReaderWriterLocks, BothLocks);

TYPED_TEST(ReaderWriterLocks, LetReadersShareAndWritersBeAlone) {
    TypeParam lock(4000);
    EXPECT_EQ(AccessElsewhere(lock), Access::WRITE);
    lock.LockReader();
    EXPECT_EQ(AccessElsewhere(lock), Access::READ);
    lock.UnlockReader();
    EXPECT_TRUE(lock.TryLockReader());
    EXPECT_EQ(AccessElsewhere(lock), Access::READ);
    EXPECT_FALSE(lock.TryLockWriter());
    lock.Upgrade();
    EXPECT_EQ(AccessElsewhere(lock), Access::NONE);
    EXPECT_FALSE(lock.TryLockReader());
    lock.Downgrade();
    EXPECT_EQ(AccessElsewhere(lock), Access::READ);
    lock.UnlockReader();
    lock.LockWriter();
    EXPECT_EQ(AccessElsewhere(lock), Access::NONE);
    lock.UnlockWriter();
    EXPECT_TRUE(lock.TryLockWriter());
    EXPECT_EQ(AccessElsewhere(lock), Access::NONE);
    lock.UnlockWriter();
    EXPECT_EQ(AccessElsewhere(lock), Access::WRITE);
}

TYPED_TEST(ReaderWriterLocks, AreHeldByTheirGuards) {
    TypeParam lock;
    {
        AutoReaderLock guard(lock);
        EXPECT_EQ(AccessElsewhere(lock), Access::READ);
    }
    {
        AutoWriterLock guard(lock);
        EXPECT_EQ(AccessElsewhere(lock), Access::NONE);
    }
    EXPECT_EQ(AccessElsewhere(lock), Access::WRITE);
}

TEST(StaticReaderWriterLocks, NeedNoConstruction) {
    AutoReaderLock recursive(g_staticLock);
    AutoReaderLock plain(g_staticLockNonRecursive);
    EXPECT_EQ(AccessElsewhere(g_staticLock), Access::READ);
    EXPECT_EQ(AccessElsewhere(g_staticLockNonRecursive), Access::READ);
}

/// What an update writes in two steps and a reader must see whole.
struct Guarded {
    volatile unsigned long long count = 0;
    volatile unsigned long long mirror = ~0ULL;

    bool Torn() const { return mirror != ~count; }
    void Add() {
        count = count + 1;
        mirror = ~count;
    }
};

/// One of the ways to use a lock, chosen by `step`; returns how many updates it made.
template <class LockClass>
unsigned Use(LockClass& lock, Guarded& guarded, unsigned step, std::atomic<unsigned>& torn) {
    constexpr unsigned ways = 16;
    const auto look = [&] { torn += guarded.Torn() ? 1u : 0u; };
    const auto write = [&] {
        look();
        guarded.Add();
    };
    switch (step % ways) {
    case 0:
        lock.LockWriter();
        write();
        lock.UnlockWriter();
        return 1;
    case 1:
        if (!lock.TryLockWriter()) {
            return 0;
        }
        write();
        lock.UnlockWriter();
        return 1;
    case 2:
        lock.LockReader();
        look();
        lock.Upgrade();
        write();
        lock.UnlockWriter();
        return 1;
    case 3:
        lock.LockWriter();
        write();
        lock.Downgrade();
        look();
        lock.UnlockReader();
        return 1;
    case 4:
        if (lock.TryLockReader()) {
            look();
            lock.UnlockReader();
        }
        return 0;
    default:
        lock.LockReader();
        look();
        lock.UnlockReader();
        return 0;
    }
}

TYPED_TEST(ReaderWriterLocks, LoseNoUpdateAndShowNoHalfOne) {
    constexpr unsigned PER_CROWD = Repeats(50'000, 2'500'000); // shared out to its threads
    for (const unsigned threads : {2u, 4u, 10u, 32u}) {
        TypeParam lock;
        Guarded guarded;
        std::atomic<unsigned> torn = 0;
        std::atomic<unsigned> updates = 0;
        RunCrowd(threads, [&](unsigned self) {
            unsigned own = 0;
            for (unsigned i = 0; i < PER_CROWD / threads; ++i) {
                own += Use(lock, guarded, self + i, torn);
            }
            updates += own;
        });
        EXPECT_EQ(guarded.count, updates) << threads << " threads";
        EXPECT_EQ(torn, 0u) << threads << " threads";
        EXPECT_TRUE(IsFree(lock));
    }
}

TEST(RWLockRecursion, KeepsItsInvariantInMixedDepths) {
    constexpr unsigned THREADS = 5;
    RWLock lock;
    Guarded guarded;
    std::atomic<unsigned> torn = 0;
    std::atomic<unsigned> updates = 0;
    RunCrowd(THREADS, [&](unsigned self) {
        std::mt19937 random(self);
        unsigned own = 0;
        for (unsigned i = 0; i < Repeats(10'000, 250'000); ++i) {
            const unsigned depth = 1 + random() % 4;
            if (random() % 8 == 0) {
                for (unsigned level = 0; level < depth; ++level) {
                    if (level % 2 == 0) {
                        lock.LockWriter();
                    } else {
                        torn += lock.TryLockWriter() ? 0u : 1u;
                    }
                    guarded.Add();
                    ++own;
                }
                if (random() % 2 == 0) {
                    lock.Downgrade();
                    torn += guarded.Torn() ? 1u : 0u;
                    lock.UnlockReader();
                } else {
                    for (unsigned level = 0; level < depth; ++level) {
                        torn += lock.IsWriterLockActive() ? 0u : 1u;
                        lock.UnlockWriter();
                    }
                }
            } else {
                for (unsigned level = 0; level < depth; ++level) {
                    lock.LockReader();
                    torn += guarded.Torn() || !lock.IsReaderLockActive() ? 1u : 0u;
                }
                for (unsigned level = 0; level < depth; ++level) {
                    torn += guarded.Torn() || !lock.IsReaderLockActive() ? 1u : 0u;
                    lock.UnlockReader();
                }
            }
        }
        updates += own;
    });
    EXPECT_EQ(torn, 0u);
    EXPECT_EQ(guarded.count, updates);
    EXPECT_EQ(Holds(lock), 0);
    EXPECT_TRUE(IsFree(lock));
}

TEST(RWLockRecursion, ReadersEnterTheSystemsLockOnce) {
    RWLock lock;
    EXPECT_FALSE(lock.IsReaderLockActive() || lock.IsSharedLockActive());
    lock.LockReader();
    lock.LockShared();
    EXPECT_TRUE(lock.TryLockReader());
    EXPECT_EQ(Holds(lock), 3);
    EXPECT_EQ(SharedHolds(lock), 1u);
    EXPECT_TRUE(lock.IsReaderLockActive() && lock.IsSharedLockActive());
    EXPECT_FALSE(lock.IsWriterLockActive() || lock.IsExclusiveLockActive());
    lock.UnlockReader();
    lock.UnlockShared();
    EXPECT_EQ(SharedHolds(lock), 1u);
    EXPECT_TRUE(lock.IsReaderLockActive());
    lock.UnlockReader();
    EXPECT_TRUE(IsFree(lock));
    EXPECT_FALSE(lock.IsReaderLockActive());
}

TEST(RWLockRecursion, AReaderReentersPastAWaitingWriter) {
    RWLock lock;
    lock.LockReader();
    std::atomic<bool> written = false;
    RunPair(
        [&] {
            // With a writer waiting, the system's lock turns new readers away.
            while (TryAcquireSRWLockShared(SlimLock(lock)) != 0) {
                ReleaseSRWLockShared(SlimLock(lock));
                std::this_thread::yield();
            }
            lock.LockReader();
            EXPECT_TRUE(lock.TryLockReader());
            EXPECT_FALSE(written);
            lock.UnlockReader();
            lock.UnlockReader();
            EXPECT_FALSE(written);
            lock.UnlockReader();
        },
        [&] {
            lock.LockWriter();
            written = true;
            lock.UnlockWriter();
        });
    EXPECT_TRUE(written);
}

TEST(RWLockRecursion, TheWriterCountsDown) {
    RWLock lock;
    EXPECT_EQ(WriterId(lock), 0xFFFFFFFFu);
    lock.LockWriter();
    lock.LockExclusive();
    EXPECT_TRUE(lock.TryLockWriter());
    for (long level = 3; level > 0; --level) {
        EXPECT_EQ(Holds(lock), -level);
        EXPECT_EQ(WriterId(lock), GetCurrentThreadId());
        EXPECT_TRUE(lock.IsWriterLockActive() && lock.IsExclusiveLockActive());
        EXPECT_FALSE(lock.IsReaderLockActive() || lock.IsSharedLockActive());
        EXPECT_EQ(AccessElsewhere(lock), Access::NONE);
        if (level % 2 == 0) {
            lock.UnlockExclusive();
        } else {
            lock.UnlockWriter();
        }
    }
    EXPECT_FALSE(lock.IsWriterLockActive());
    EXPECT_EQ(WriterId(lock), 0xFFFFFFFFu);
    EXPECT_TRUE(IsFree(lock));
}

TEST(RWLockRecursion, DowngradeDropsEveryWriteLevel) {
    RWLock lock;
    for (int depth = 1; depth <= 3; ++depth) {
        for (int level = 0; level < depth; ++level) {
            lock.LockWriter();
        }
        lock.Downgrade();
        EXPECT_EQ(Holds(lock), 1) << depth;
        EXPECT_EQ(WriterId(lock), 0xFFFFFFFFu);
        EXPECT_EQ(SharedHolds(lock), 1u);
        EXPECT_EQ(AccessElsewhere(lock), Access::READ);
        lock.Upgrade();
        EXPECT_EQ(Holds(lock), -1);
        EXPECT_EQ(WriterId(lock), GetCurrentThreadId());
        lock.UnlockWriter();
        EXPECT_TRUE(IsFree(lock));
    }
}

TEST(RWLockHoldings, AFifthLockIsEnteredAnew) {
    std::array<RWLock, 5> locks;
    for (RWLock& lock : locks) {
        lock.LockReader();
        lock.LockReader();
    }
    for (std::size_t i = 0; i < locks.size(); ++i) {
        EXPECT_EQ(Holds(locks[i]), 2);
        EXPECT_EQ(SharedHolds(locks[i]), i < 4 ? 1u : 2u) << i;
    }
    // The place that the first one gives up is the fifth one's from its next entry on.
    locks[0].UnlockReader();
    locks[0].UnlockReader();
    locks[4].LockReader();
    locks[4].LockReader();
    EXPECT_EQ(SharedHolds(locks[4]), 3u);
    EXPECT_EQ(Holds(locks[4]), 4);
    for (int i = 0; i < 4; ++i) {
        locks[4].UnlockReader();
    }
    EXPECT_TRUE(IsFree(locks[4]));
    for (std::size_t i = 1; i < 4; ++i) {
        locks[i].UnlockReader();
        EXPECT_EQ(SharedHolds(locks[i]), 1u);
        locks[i].UnlockReader();
        EXPECT_TRUE(IsFree(locks[i]));
    }
}

TEST(RWLockHoldings, AgreeWithAModelOnRandomUse) {
    constexpr unsigned SEED = 23;
    std::mt19937 random(SEED);
    std::array<RWLock, 7> locks;
    std::map<std::size_t, unsigned> recorded; // at most four
    std::array<unsigned, 7> levels = {};
    std::array<unsigned, 7> shared = {};
    for (int step = 0; step < 100'000; ++step) {
        SCOPED_TRACE(testing::Message() << "step " << step << ", seed " << SEED);
        const std::size_t i = random() % locks.size();
        if (random() % 9 < 4) {
            if (random() % 2 == 0) {
                locks[i].LockReader();
            } else {
                ASSERT_TRUE(locks[i].TryLockReader());
            }
            ++levels[i];
            if (recorded.count(i) != 0) {
                ++recorded[i];
            } else {
                ++shared[i];
                if (recorded.size() < 4) {
                    recorded[i] = 1;
                }
            }
        } else if (levels[i] != 0) {
            locks[i].UnlockReader();
            --levels[i];
            if (recorded.count(i) == 0) {
                --shared[i];
            } else if (--recorded[i] == 0) {
                recorded.erase(i);
                --shared[i];
            }
        }
        ASSERT_EQ(Holds(locks[i]), static_cast<long>(levels[i]));
        ASSERT_EQ(SharedHolds(locks[i]), shared[i]);
    }
    for (std::size_t i = 0; i < locks.size(); ++i) {
        for (; levels[i] != 0; --levels[i]) {
            locks[i].UnlockReader();
        }
        EXPECT_TRUE(IsFree(locks[i]));
    }
}

TEST(RWLockHoldings, BelongToEachThread) {
    RWLock lock;
    lock.LockReader();
    std::thread([&] {
        lock.LockReader();
        EXPECT_EQ(SharedHolds(lock), 2u);
        lock.UnlockReader();
        EXPECT_EQ(SharedHolds(lock), 1u);
    }).join();
    EXPECT_EQ(SharedHolds(lock), 1u);
    lock.UnlockReader();
    EXPECT_TRUE(IsFree(lock));
}

/// A second copy of the library, loaded while the process runs.
class LateLibrary {
public:
    LateLibrary() {
        char original[MAX_PATH];
        GetModuleFileNameA(GetModuleHandleA(ZELK_DLL_FILE), original, sizeof original);
        m_path = std::filesystem::temp_directory_path() /
                 ("zelk_core_late_" + std::to_string(GetCurrentProcessId()) + ".dll");
        std::filesystem::copy_file(original, m_path, std::filesystem::copy_options::overwrite_existing);
        m_module = LoadLibraryW(m_path.c_str());
        m_lock = Find("_ZN2Z46RWLock10LockReaderEv");
        m_unlock = Find("_ZN2Z46RWLock12UnlockReaderEv");
    }
    ~LateLibrary() {
        FreeLibrary(m_module);
        std::filesystem::remove(m_path);
    }
    LateLibrary(const LateLibrary&) = delete;
    LateLibrary& operator=(const LateLibrary&) = delete;

    bool IsSound() const { return m_lock != nullptr && m_unlock != nullptr; }
    void LockReader(RWLock& lock) const { m_lock(&lock); }
    void UnlockReader(RWLock& lock) const { m_unlock(&lock); }

private:
    // For an object and no argument, the same as a member function's convention, which no free function may have.
    using Operation = void(__fastcall*)(RWLock*);

    Operation Find(const char* name) const {
        return reinterpret_cast<Operation>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
    }

    std::filesystem::path m_path;
    HMODULE m_module;
    Operation m_lock;
    Operation m_unlock;
};

TEST(RWLockHoldings, WorkInALibraryLoadedLate) {
    const auto use = [](const LateLibrary& library) {
        std::array<RWLock, 5> locks;
        for (RWLock& lock : locks) {
            library.LockReader(lock);
            library.LockReader(lock);
        }
        for (std::size_t i = 0; i < locks.size(); ++i) {
            EXPECT_EQ(SharedHolds(locks[i]), i < 4 ? 1u : 2u) << i;
        }
        for (RWLock& lock : locks) {
            library.UnlockReader(lock);
            library.UnlockReader(lock);
            EXPECT_TRUE(IsFree(lock));
        }
    };
    // Again and again, since each time the threads get new copies of the thread-local data.
    for (int i = 0; i < 20; ++i) {
        Event started(false, false, nullptr);
        Event loaded(false, false, nullptr);
        const LateLibrary* library = nullptr;
        std::thread older([&] {
            started.SetDone();
            loaded.WaitUntilDone();
            use(*library);
        });
        started.WaitUntilDone();
        const LateLibrary late;
        library = &late;
        EXPECT_TRUE(late.IsSound());
        loaded.SetDone();
        older.join();
        use(late);
        std::thread(use, std::cref(late)).join();
    }
}

} // namespace
