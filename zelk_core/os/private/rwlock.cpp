#include <windows.h>

#include <atomic>
#include <cstddef>
#include <zelk_core/base/assert.h>
#include <zelk_core/os/private/threadlocal.h>
#include <zelk_core/os/rwlock.h>

namespace Z4 {

static_assert(sizeof(RWLockNonRecursive) == sizeof(SRWLOCK));
static_assert(alignof(RWLockNonRecursive) == alignof(SRWLOCK));
static_assert(SRWLOCK(SRWLOCK_INIT).Ptr == nullptr, "the constructors leave a null pointer");
template <>
struct Private::Layout<RWLock> {
    static_assert(offsetof(RWLock, m_lock) == 0);
    static_assert(offsetof(RWLock, m_holds) == sizeof(SRWLOCK));
    static_assert(offsetof(RWLock, m_writerId) == sizeof(SRWLOCK) + sizeof(LONG));
    static_assert(sizeof(RWLock) == sizeof(SRWLOCK) + sizeof(LONG) + sizeof(DWORD));
};

namespace {

// The locks that a thread holds for reading, and how often; a null lock marks a free entry.
struct ReadHolding {
    const RWLock* lock;
    unsigned long count;
};

using ReadHoldings = ReadHolding[4];

Z4_THREAD_LOCAL_IMAGE ReadHoldings readHoldingsImage = {};

// The first entry of this lock, or with null the first free one; null when there is none.
ReadHolding* Find(ReadHoldings& holdings, const RWLock* lock) {
    for (ReadHolding& holding : holdings) {
        if (holding.lock == lock) {
            return &holding;
        }
    }
    return nullptr;
}

bool Reenter(ReadHoldings& holdings, const RWLock* lock) {
    ReadHolding* const holding = Find(holdings, lock);
    if (holding == nullptr) {
        return false;
    }
    ++holding->count;
    return true;
}

void Record(ReadHoldings& holdings, const RWLock* lock) {
    if (ReadHolding* const entry = Find(holdings, nullptr)) {
        *entry = {lock, 1};
    }
}

// Whether the thread is still in afterwards. A lock for which the table had no room is left at once.
bool LeaveOneLevel(ReadHoldings& holdings, const RWLock* lock) {
    ReadHolding* const holding = Find(holdings, lock);
    if (holding == nullptr) {
        return false;
    }
    if (--holding->count != 0) {
        return true;
    }
    holding->lock = nullptr;
    return false;
}

SRWLOCK* SlimLock(void*& lock) {
    return reinterpret_cast<SRWLOCK*>(&lock);
}

// The slim lock orders what these guard; a thread that asks whether it is the writer itself needs no order either.
using Counter = std::atomic_ref<long>;
using WriterId = std::atomic_ref<unsigned long>;

void AddWriteLevel(long& holds, unsigned long& writerId, unsigned long self) {
    Counter(holds).fetch_sub(1);
    WriterId(writerId).store(self, std::memory_order_relaxed);
}

} // namespace

void RWLockNonRecursive::LockReader() {
    InternalLockReader();
}

void RWLockNonRecursive::LockWriter() {
    InternalLockWriter();
}

bool RWLockNonRecursive::TryLockReader() {
    return TryAcquireSRWLockShared(SlimLock(m_lock)) != 0;
}

bool RWLockNonRecursive::TryLockWriter() {
    return TryAcquireSRWLockExclusive(SlimLock(m_lock)) != 0;
}

void RWLockNonRecursive::UnlockReader() {
    Z4_ASSERT(m_lock != nullptr, "A lock that is unlocked is held.");
    ReleaseSRWLockShared(SlimLock(m_lock));
}

void RWLockNonRecursive::UnlockWriter() {
    Z4_ASSERT(m_lock != nullptr, "A lock that is unlocked is held.");
    ReleaseSRWLockExclusive(SlimLock(m_lock));
}

void RWLockNonRecursive::Upgrade() {
    UnlockReader();
    LockWriter();
}

void RWLockNonRecursive::Downgrade() {
    UnlockWriter();
    LockReader();
}

void RWLockNonRecursive::InternalLockReader() {
    AcquireSRWLockShared(SlimLock(m_lock));
}

void RWLockNonRecursive::InternalLockWriter() {
    AcquireSRWLockExclusive(SlimLock(m_lock));
}

void RWLock::LockReader() {
    InternalLockReader();
}

void RWLock::LockShared() {
    InternalLockReader();
}

bool RWLock::TryLockReader() {
    ReadHoldings& holdings = Private::ThisThreads(readHoldingsImage);
    if (!Reenter(holdings, this)) {
        if (TryAcquireSRWLockShared(SlimLock(m_lock)) == 0) {
            return false;
        }
        Record(holdings, this);
    }
    Counter(m_holds).fetch_add(1);
    return true;
}

void RWLock::UnlockReader() {
    Z4_ASSERT(IsReaderLockActive(), "A lock that a reader unlocks is held for reading.");
    Counter(m_holds).fetch_sub(1);
    if (!LeaveOneLevel(Private::ThisThreads(readHoldingsImage), this)) {
        ReleaseSRWLockShared(SlimLock(m_lock));
    }
}

void RWLock::UnlockShared() {
    UnlockReader();
}

void RWLock::LockWriter() {
    InternalLockWriter();
}

void RWLock::LockExclusive() {
    InternalLockWriter();
}

bool RWLock::TryLockWriter() {
    const unsigned long self = GetCurrentThreadId();
    if (WriterId(m_writerId).load(std::memory_order_relaxed) != self &&
        TryAcquireSRWLockExclusive(SlimLock(m_lock)) == 0) {
        return false;
    }
    AddWriteLevel(m_holds, m_writerId, self);
    return true;
}

void RWLock::UnlockWriter() {
    Z4_ASSERT(WriterId(m_writerId).load(std::memory_order_relaxed) == GetCurrentThreadId(),
              "A lock that a writer unlocks is held for writing by the calling thread.");
    constexpr long LAST_LEVEL = -1;
    if (Counter(m_holds).fetch_add(1) == LAST_LEVEL) {
        WriterId(m_writerId).store(NO_WRITER, std::memory_order_relaxed);
        ReleaseSRWLockExclusive(SlimLock(m_lock));
    }
}

void RWLock::UnlockExclusive() {
    UnlockWriter();
}

void RWLock::Upgrade() {
    UnlockReader();
    LockWriter();
}

void RWLock::Downgrade() {
    // Whoever downgrades is done with writing, however deep the calls that took the lock.
    Counter(m_holds).store(-1, std::memory_order_relaxed);
    UnlockWriter();
    LockReader();
}

bool RWLock::IsReaderLockActive() const {
    return Counter(m_holds).load(std::memory_order_relaxed) > 0;
}

bool RWLock::IsSharedLockActive() const {
    return IsReaderLockActive();
}

bool RWLock::IsWriterLockActive() const {
    return Counter(m_holds).load(std::memory_order_relaxed) < 0;
}

bool RWLock::IsExclusiveLockActive() const {
    return IsWriterLockActive();
}

void RWLock::InternalLockReader() {
    Z4_ASSERT(WriterId(m_writerId).load(std::memory_order_relaxed) != GetCurrentThreadId(),
              "A writer does not ask to read, other than through Downgrade().");
    ReadHoldings& holdings = Private::ThisThreads(readHoldingsImage);
    if (!Reenter(holdings, this)) {
        AcquireSRWLockShared(SlimLock(m_lock));
        Record(holdings, this);
    }
    Counter(m_holds).fetch_add(1);
}

void RWLock::InternalLockWriter() {
    Z4_ASSERT(Find(Private::ThisThreads(readHoldingsImage), this) == nullptr,
              "A reader does not ask to write, other than through Upgrade() with one level of reading.");
    const unsigned long self = GetCurrentThreadId();
    if (WriterId(m_writerId).load(std::memory_order_relaxed) != self &&
        TryAcquireSRWLockExclusive(SlimLock(m_lock)) == 0) {
        AcquireSRWLockExclusive(SlimLock(m_lock));
    }
    AddWriteLevel(m_holds, m_writerId, self);
}

} // namespace Z4
