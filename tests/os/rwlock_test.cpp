// Faults hunted: a writer beside others, a re-entry that waits or that enters the system's lock anew, a level too many
// or too few, a writer that is not forgotten; a table of holdings that is shared between threads, too short or too
// long, or missing on threads older than the library. What threads do to one another, with either lock, proof/
// explores.
#include "crowd.h"

#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
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
constexpr unsigned long NO_WRITER = 0xFFFFFFFF;

Fields Look(const RWLock& lock) {
    Fields fields;
    std::memcpy(&fields, static_cast<const void*>(&lock), sizeof fields);
    return fields;
}

/// The system's lock inside, which is the first member.
SRWLOCK* SlimLock(RWLock& lock) {
    return reinterpret_cast<SRWLOCK*>(&lock);
}

bool IsFree(RWLock& lock) {
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

/// `holds` are levels of reading, or negative of writing; `shared` is how often the system's lock is held for them.
void ExpectHolds(RWLock& lock, long holds, unsigned shared = 0) {
    SCOPED_TRACE(testing::Message() << holds << " levels, " << shared << " shared");
    EXPECT_EQ(Look(lock).holds, holds);
    EXPECT_EQ(Look(lock).writerId, holds < 0 ? GetCurrentThreadId() : NO_WRITER);
    EXPECT_TRUE(lock.IsReaderLockActive() == (holds > 0) && lock.IsSharedLockActive() == (holds > 0));
    EXPECT_TRUE(lock.IsWriterLockActive() == (holds < 0) && lock.IsExclusiveLockActive() == (holds < 0));
    if (holds < 0) {
        EXPECT_FALSE(TryAcquireSRWLockShared(SlimLock(lock))) << "a writer is alone";
    } else {
        EXPECT_EQ(SharedHolds(lock), shared);
    }
}

TEST(RWLockHoldings, AreCountedByLockAndLevel) {
    std::array<RWLock, 5> locks;
    RWLock& fifth = locks[4];
    for (RWLock& lock : locks) {
        const bool isRecorded = &lock != &fifth; // of the others each level holds the system's lock anew
        lock.LockReader();
        ExpectHolds(lock, 1, 1);
        EXPECT_TRUE(lock.TryLockReader());
        ExpectHolds(lock, 2, isRecorded ? 1 : 2);
        lock.LockShared();
        ExpectHolds(lock, 3, isRecorded ? 1 : 3);
        EXPECT_FALSE(lock.TryLockWriter());
    }
    fifth.UnlockShared();
    fifth.UnlockReader();
    ExpectHolds(fifth, 1, 1);
    fifth.Upgrade();
    ExpectHolds(fifth, -1);
    EXPECT_TRUE(fifth.TryLockWriter());
    fifth.LockExclusive();
    fifth.LockWriter();
    ExpectHolds(fifth, -4);
    EXPECT_FALSE(fifth.TryLockReader());
    fifth.UnlockWriter();
    ExpectHolds(fifth, -3);
    fifth.Downgrade(); // from whatever level
    ExpectHolds(fifth, 1, 1);
    fifth.LockReader();
    ExpectHolds(fifth, 2, 2);
    fifth.UnlockReader();
    fifth.UnlockReader();
    ExpectHolds(fifth, 0);
    EXPECT_TRUE(fifth.TryLockWriter());
    fifth.UnlockExclusive();
    ExpectHolds(fifth, 0);

    // The first place that is left is the next one's.
    for (const long left : {2, 1, 0}) {
        locks[1].UnlockReader();
        ExpectHolds(locks[1], left, left != 0 ? 1 : 0);
    }
    EXPECT_TRUE(fifth.TryLockReader() && fifth.TryLockReader() && fifth.TryLockReader());
    ExpectHolds(fifth, 3, 1);
    for (RWLock& lock : locks) {
        for (long held = Look(lock).holds; held > 0; --held) {
            lock.UnlockReader();
        }
        ExpectHolds(lock, 0);
    }
}

TEST(RWLockHoldings, BelongToEachThreadOfALibraryLoadedLate) {
    char original[MAX_PATH];
    GetModuleFileNameA(GetModuleHandleA(ZELK_DLL_FILE), original, sizeof original);
    const std::string copy = original + std::to_string(GetCurrentProcessId()) + ".dll";
    ASSERT_TRUE(CopyFileA(original, copy.c_str(), FALSE));
    using Operation = void(__fastcall*)(RWLock*); // as a member function is called, which no free function may be
    // Again and again, since each time the threads, of which this one is older, get new copies of the thread-local
    // data.
    for (int i = 0; i < 20; ++i) {
        const HMODULE late = LoadLibraryA(copy.c_str());
        Actor younger;
        std::array<RWLock, 5> locks;
        const auto expectHolds = [&](const char* name, unsigned recorded, unsigned unrecorded) {
            const auto operation = reinterpret_cast<Operation>(reinterpret_cast<void*>(GetProcAddress(late, name)));
            const auto callTwice = [&] {
                for (RWLock& lock : locks) {
                    operation(&lock);
                    operation(&lock);
                }
            };
            callTwice();
            younger.Does(callTwice);
            for (RWLock& lock : locks) {
                EXPECT_EQ(SharedHolds(lock), &lock != &locks[4] ? recorded : unrecorded);
            }
        };
        expectHolds("_ZN2Z46RWLock10LockReaderEv", 2, 4);
        expectHolds("_ZN2Z46RWLock12UnlockReaderEv", 0, 0);
        FreeLibrary(late);
    }
    DeleteFileA(copy.c_str());
}

} // namespace
