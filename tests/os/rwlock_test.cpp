// Faults hunted: a writer beside others, a re-entry that waits or that enters the system's lock anew, a level too many
// or too few, a writer that is not forgotten; a table of holdings that is shared between threads, too short or too
// long, or missing on threads older than the library. What threads do to one another, with either lock, proof/
// explores.
#include "crowd.h"

#include <algorithm>
#include <array>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/random.h>
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

/// A lock as one thread uses it, and what that should have made of it.
struct Modelled {
    RWLock lock;
    long holds = 0;        // levels of reading, or negative of writing
    unsigned shared = 0;   // how often the system's lock is held
    unsigned recorded = 0; // of the levels of reading; not 0 for four locks at most

    void EnterReader(bool hasRoom) {
        ++holds;
        shared += recorded == 0 ? 1 : 0;
        recorded += recorded != 0 || hasRoom ? 1 : 0;
    }
    void LeaveReader() {
        --holds;
        recorded -= recorded != 0 ? 1 : 0;
        shared -= recorded == 0 ? 1 : 0;
    }
    void ExpectEqual() {
        EXPECT_EQ(Look(lock).holds, holds);
        ASSERT_EQ(Look(lock).writerId, holds < 0 ? GetCurrentThreadId() : NO_WRITER);
        EXPECT_TRUE(lock.IsReaderLockActive() == (holds > 0) && lock.IsSharedLockActive() == (holds > 0));
        EXPECT_TRUE(lock.IsWriterLockActive() == (holds < 0) && lock.IsExclusiveLockActive() == (holds < 0));
        if (holds < 0) {
            EXPECT_FALSE(TryAcquireSRWLockShared(SlimLock(lock))) << "a writer is alone";
        } else {
            EXPECT_EQ(SharedHolds(lock), shared);
        }
    }
};

TEST(RWLockHoldings, AgreeWithAModelOnRandomUse) {
    Input input(23);
    std::array<Modelled, 7> all;
    for (int step = 0; step < 50'000 && !HasFailure(); ++step) {
        SCOPED_TRACE(step);
        Modelled& one = all[input.Below(7)];
        const bool hasRoom = std::count_if(all.begin(), all.end(), [](const auto& m) { return m.recorded != 0; }) < 4;
        const unsigned choice = step < 49'000 ? input.Below(8) : 7; // in the end all are left
        if (choice < 3 && one.holds >= 0) {
            if (choice == 0 || !one.lock.TryLockReader()) {
                step % 2 == 0 ? one.lock.LockReader() : one.lock.LockShared();
            }
            one.EnterReader(hasRoom);
        } else if (choice < 3) {
            EXPECT_FALSE(one.lock.TryLockReader());
        } else if (choice == 3 && one.holds <= 0) {
            input.OnceIn(2) ? one.lock.LockWriter() : one.lock.LockExclusive();
            --one.holds;
        } else if (choice == 4) {
            EXPECT_EQ(one.lock.TryLockWriter(), one.holds <= 0);
            one.holds -= one.holds <= 0 ? 1 : 0;
        } else if (choice == 5 && one.holds == 1) {
            one.lock.Upgrade();
            one.LeaveReader();
            one.holds = -1;
        } else if (choice == 5 && one.holds < 0) {
            one.lock.Downgrade(); // from whatever level
            one.holds = 0;
            one.EnterReader(hasRoom);
        } else if (one.holds > 0) {
            choice == 6 ? one.lock.UnlockShared() : one.lock.UnlockReader();
            one.LeaveReader();
        } else if (one.holds < 0) {
            choice == 6 ? one.lock.UnlockExclusive() : one.lock.UnlockWriter();
            ++one.holds;
        }
        one.ExpectEqual();
    }
    for (Modelled& one : all) {
        EXPECT_TRUE(IsFree(one.lock));
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
