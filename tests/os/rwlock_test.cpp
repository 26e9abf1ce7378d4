// Faults hunted: a writer beside others, a reader kept out, an update lost or seen half; a re-entry that waits or that
// enters the system's lock anew, a level too many or too few, a writer that is not forgotten; a table of holdings that
// is shared between threads, too short or too long, or missing on threads older than the library.
#include "crowd.h"

#include <array>
#include <atomic>
#include <cstring>
#include <filesystem>
#include <gtest/gtest.h>
#include <map>
#include <random>
#include <string>
#include <zelk_core/os/autorwlock.h>
#include <zelk_core/os/rwlock.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

/// What an RWLock consists of.
struct Fields {
    SRWLOCK slim;
    long holds;
    unsigned long writerId;
};

Fields Look(const RWLock& lock) {
    Fields fields;
    std::memcpy(&fields, static_cast<const void*>(&lock), sizeof fields);
    return fields;
}

/// The system's lock inside, which is the first member of either class.
template <class LockClass>
SRWLOCK* SlimLock(LockClass& lock) {
    return reinterpret_cast<SRWLOCK*>(&lock);
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
unsigned SharedHolds(RWLock& lock) {
    unsigned holds = 0;
    for (; !IsFree(lock); ++holds) {
        ReleaseSRWLockShared(SlimLock(lock));
    }
    for (unsigned i = 0; i < holds; ++i) {
        AcquireSRWLockShared(SlimLock(lock));
    }
    return holds;
}

/// What `other` is let do with the lock now: 'w'rite, 'r'ead or nothing, '-'.
template <class LockClass>
char Access(LockClass& lock, Actor& other) {
    char access = '-';
    other.Does([&] {
        if (lock.TryLockWriter()) {
            lock.UnlockWriter();
            access = 'w';
        } else if (lock.TryLockReader()) {
            lock.UnlockReader();
            access = 'r';
        }
    });
    return access;
}

template <class LockClass>
class ReaderWriterLocks : public testing::Test {
protected:
    inline static constinit LockClass s_static{4000};
};
using BothLocks = testing::Types<RWLock, RWLockNonRecursive>;
TYPED_TEST_SUITE(ReaderWriterLocks, BothLocks);

TYPED_TEST(ReaderWriterLocks, LetReadersShareAndAWriterBeAlone) {
    auto& lock = this->s_static;
    Actor other;
    EXPECT_EQ(Access(lock, other), 'w');
    {
        AutoReaderLock guard(lock);
        EXPECT_EQ(Access(lock, other), 'r');
    }
    {
        AutoWriterLock guard(lock);
        EXPECT_EQ(Access(lock, other), '-');
    }
    EXPECT_TRUE(lock.TryLockReader());
    EXPECT_FALSE(lock.TryLockWriter());
    EXPECT_EQ(Access(lock, other), 'r');
    lock.Upgrade();
    EXPECT_FALSE(lock.TryLockReader());
    EXPECT_EQ(Access(lock, other), '-');
    lock.Downgrade();
    EXPECT_EQ(Access(lock, other), 'r');
    lock.UnlockReader();
    EXPECT_TRUE(lock.TryLockWriter());
    EXPECT_EQ(Access(lock, other), '-');
    lock.UnlockWriter();
    EXPECT_EQ(Access(lock, other), 'w');
}

TYPED_TEST(ReaderWriterLocks, LetAWaiterInWhenTheOthersLeave) {
    TypeParam lock;
    Actor other;
    lock.LockReader();
    other.Waits([&] { lock.LockWriter(); });
    lock.UnlockReader();
    other.Proceeds();
    Actor reader;
    reader.Waits([&] { lock.LockReader(); });
    other.Does([&] { lock.UnlockWriter(); });
    reader.Proceeds();
    reader.Does([&] { lock.UnlockReader(); });
    EXPECT_TRUE(IsFree(lock));
}

/// What an update writes in two steps and a reader must see whole.
struct Guarded {
    volatile unsigned long long count = 0;
    volatile unsigned long long mirror = ~0ULL;

    unsigned Torn() const { return mirror != ~count ? 1 : 0; }
    void Add() {
        count = count + 1;
        mirror = ~count;
    }
};

TYPED_TEST(ReaderWriterLocks, LoseNoUpdateAndShowNoHalfOne) {
    constexpr unsigned PER_CROWD = Repeats(50'000, 2'500'000); // shared out to its threads
    for (const unsigned threads : {2u, 10u, 32u}) {
        TypeParam lock;
        Guarded guarded;
        std::atomic<unsigned> torn = 0;
        std::atomic<unsigned> updates = 0;
        RunCrowd(threads, [&](unsigned self) {
            for (unsigned i = self; i < self + PER_CROWD / threads; ++i) {
                const unsigned way = i % 16;
                const bool writes = way == 1 ? lock.TryLockWriter() : way < 4;
                if (way == 0 || way == 3) {
                    lock.LockWriter();
                } else if (way != 1) {
                    lock.LockReader();
                }
                if (way == 2) {
                    torn += guarded.Torn();
                    lock.Upgrade();
                }
                torn += way != 1 || writes ? guarded.Torn() : 0;
                if (writes) {
                    guarded.Add();
                    ++updates;
                }
                if (way == 3) {
                    lock.Downgrade();
                    torn += guarded.Torn();
                }
                if (way >= 3) {
                    lock.UnlockReader();
                } else if (writes) {
                    lock.UnlockWriter();
                }
            }
        });
        EXPECT_EQ(guarded.count, updates) << threads << " threads";
        EXPECT_EQ(torn, 0u) << threads << " threads";
        EXPECT_TRUE(IsFree(lock));
    }
}

TEST(RWLockRecursion, AReaderReentersOnceForAllAndPastAWaitingWriter) {
    RWLock lock;
    Actor writer;
    EXPECT_FALSE(lock.IsReaderLockActive() || lock.IsSharedLockActive());
    lock.LockReader();
    lock.LockShared();
    EXPECT_TRUE(lock.TryLockReader());
    EXPECT_EQ(Look(lock).holds, 3);
    EXPECT_EQ(SharedHolds(lock), 1u);
    EXPECT_TRUE(lock.IsReaderLockActive() && lock.IsSharedLockActive());
    EXPECT_FALSE(lock.IsWriterLockActive() || lock.IsExclusiveLockActive());
    writer.Waits([&] { lock.LockWriter(); });
    lock.LockReader();
    EXPECT_TRUE(lock.TryLockReader());
    for (int level = 4; level > 0; --level) {
        lock.UnlockReader();
    }
    EXPECT_TRUE(lock.IsReaderLockActive());
    lock.UnlockShared();
    writer.Proceeds();
    EXPECT_FALSE(lock.IsReaderLockActive());
    writer.Does([&] { lock.UnlockWriter(); });
    EXPECT_TRUE(IsFree(lock));
}

TEST(RWLockRecursion, TheWriterCountsDown) {
    RWLock lock;
    Actor other;
    EXPECT_EQ(Look(lock).writerId, 0xFFFFFFFFu);
    lock.LockWriter();
    lock.LockExclusive();
    EXPECT_TRUE(lock.TryLockWriter());
    for (long level = 3; level > 0; --level) {
        EXPECT_EQ(Look(lock).holds, -level);
        EXPECT_EQ(Look(lock).writerId, GetCurrentThreadId());
        EXPECT_TRUE(lock.IsWriterLockActive() && lock.IsExclusiveLockActive());
        EXPECT_FALSE(lock.IsReaderLockActive() || lock.IsSharedLockActive());
        EXPECT_EQ(Access(lock, other), '-');
        level == 2 ? lock.UnlockExclusive() : lock.UnlockWriter();
    }
    EXPECT_FALSE(lock.IsWriterLockActive());
    EXPECT_EQ(Look(lock).writerId, 0xFFFFFFFFu);
    EXPECT_TRUE(IsFree(lock));
}

TEST(RWLockRecursion, DowngradeDropsEveryWriteLevel) {
    RWLock lock;
    for (int depth = 1; depth <= 3; ++depth) {
        for (int level = 0; level < depth; ++level) {
            lock.LockWriter();
        }
        lock.Downgrade();
        EXPECT_EQ(Look(lock).holds, 1) << depth;
        EXPECT_EQ(Look(lock).writerId, 0xFFFFFFFFu);
        EXPECT_EQ(SharedHolds(lock), 1u);
        lock.Upgrade();
        EXPECT_EQ(Look(lock).holds, -1);
        EXPECT_EQ(Look(lock).writerId, GetCurrentThreadId());
        lock.UnlockWriter();
        EXPECT_TRUE(IsFree(lock));
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
        const bool isRecorded = recorded.count(i) != 0;
        if (random() % 9 < 4) {
            if (random() % 2 == 0) {
                locks[i].LockReader();
            } else {
                ASSERT_TRUE(locks[i].TryLockReader());
            }
            ++levels[i];
            shared[i] += isRecorded ? 0 : 1;
            if (isRecorded || recorded.size() < 4) {
                ++recorded[i];
            }
        } else if (levels[i] != 0) {
            locks[i].UnlockReader();
            --levels[i];
            const bool leaves = !isRecorded || --recorded[i] == 0;
            shared[i] -= leaves ? 1 : 0;
            if (leaves) {
                recorded.erase(i);
            }
        }
        ASSERT_EQ(Look(locks[i]).holds, static_cast<long>(levels[i]));
        ASSERT_EQ(SharedHolds(locks[i]), shared[i]);
    }
    for (std::size_t i = 0; i < locks.size(); ++i) {
        for (; levels[i] != 0; --levels[i]) {
            locks[i].UnlockReader();
        }
        EXPECT_TRUE(IsFree(locks[i]));
    }
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
        lockReader = Find("_ZN2Z46RWLock10LockReaderEv");
        unlockReader = Find("_ZN2Z46RWLock12UnlockReaderEv");
    }
    ~LateLibrary() {
        FreeLibrary(m_module);
        std::filesystem::remove(m_path);
    }
    LateLibrary(const LateLibrary&) = delete;
    LateLibrary& operator=(const LateLibrary&) = delete;

    // For an object and no argument, the same as a member function's convention, which no free function may have.
    using Operation = void(__fastcall*)(RWLock*);
    Operation lockReader = nullptr;
    Operation unlockReader = nullptr;

private:
    Operation Find(const char* name) const {
        return reinterpret_cast<Operation>(reinterpret_cast<void*>(GetProcAddress(m_module, name)));
    }

    std::filesystem::path m_path;
    HMODULE m_module;
};

TEST(RWLockHoldings, BelongToEachThreadOfALibraryLoadedLate) {
    // Again and again, since each time the threads get new copies of the thread-local data.
    for (int i = 0; i < 20; ++i) {
        Actor older;
        older.Does([] {});
        const LateLibrary late;
        ASSERT_TRUE(late.lockReader != nullptr && late.unlockReader != nullptr);
        Actor younger;
        std::array<RWLock, 5> locks;
        const auto enter = [&] {
            for (RWLock& lock : locks) {
                late.lockReader(&lock);
                late.lockReader(&lock);
            }
        };
        const auto leave = [&] {
            for (RWLock& lock : locks) {
                late.unlockReader(&lock);
                late.unlockReader(&lock);
            }
        };
        enter();
        older.Does(enter);
        younger.Does(enter);
        for (std::size_t k = 0; k < locks.size(); ++k) {
            EXPECT_EQ(SharedHolds(locks[k]), k < 4 ? 3u : 6u) << k;
        }
        older.Does(leave);
        younger.Does(leave);
        leave();
        for (RWLock& lock : locks) {
            EXPECT_TRUE(IsFree(lock));
        }
    }
}

} // namespace
