/// @file
/// Locks that let many readers in together, or one writer alone.
///
/// Both block on the system's slim lock, which keeps no order among those who wait, and both need no teardown: a lock
/// may be a static object that is ready before any code runs. A lock must be free when it is destroyed. What a thread
/// has locked, the same thread unlocks, in the mode in which it was locked; only a library built with ZELK_CHECKS
/// notices where not, as far as the lock can tell.
///
/// autorwlock.h has the guards that hold such a lock to the end of a scope.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// The slim lock as it is. A thread that holds it in either mode must not ask for it again: asking to write never
/// returns, asking to read may never return.
class RWLockNonRecursive {
public:
    /// @param spinCount ignored in this build, where the system decides how long to spin.
    constexpr explicit RWLockNonRecursive(unsigned long spinCount = 0) { static_cast<void>(spinCount); }
    RWLockNonRecursive(const RWLockNonRecursive&) = delete;
    RWLockNonRecursive& operator=(const RWLockNonRecursive&) = delete;

    /// Returns when the calling thread is in as a reader.
    Z4_API void LockReader();
    /// Returns when the calling thread is in as the writer.
    Z4_API void LockWriter();
    /// Never waits.
    /// @return true when the calling thread is in.
    [[nodiscard]] Z4_API bool TryLockReader();
    [[nodiscard]] Z4_API bool TryLockWriter();
    Z4_API void UnlockReader();
    Z4_API void UnlockWriter();

    /// Turns the calling thread's read lock into the write lock. Not atomic: the lock is free in between, another
    /// writer may come first, and what was read may have changed.
    Z4_API void Upgrade();
    /// Turns the calling thread's write lock into a read lock. Not atomic: the lock is free in between, and another
    /// writer may come first.
    Z4_API void Downgrade();

private:
    Z4_API void InternalLockReader();
    Z4_API void InternalLockWriter();

    void* m_lock = nullptr;
};

/// The lock that its readers and its writer may take again: each unlocks as often as it locked. A reader that enters
/// again makes no system call and cannot be held up by a writer who waits.
///
/// A reader that enters again is recognised by a table with room for four locks per thread. A fifth lock works, too,
/// but its readers are not recognised: to read it a second time is to enter anew, behind any writer that waits by now.
/// As that writer waits for the first entry to end, both wait for ever.
///
/// The modes do not mix: a reader that asks to write, other than through Upgrade(), and a writer that asks to read
/// never return.
class RWLock {
public:
    /// @param spinCount ignored in this build, where the system decides how long to spin.
    constexpr explicit RWLock(unsigned long spinCount = 0) { static_cast<void>(spinCount); }
    RWLock(const RWLock&) = delete;
    RWLock& operator=(const RWLock&) = delete;

    /// Returns when the calling thread is in as a reader.
    Z4_API void LockReader();
    /// The same as LockReader().
    Z4_API void LockShared();
    /// Never waits.
    /// @return true when the calling thread is in as a reader.
    [[nodiscard]] Z4_API bool TryLockReader();
    /// Gives back one read level.
    Z4_API void UnlockReader();
    /// The same as UnlockReader().
    Z4_API void UnlockShared();

    /// Returns when the calling thread is in as the writer.
    Z4_API void LockWriter();
    /// The same as LockWriter().
    Z4_API void LockExclusive();
    /// Never waits.
    /// @return true when the calling thread is in as the writer.
    [[nodiscard]] Z4_API bool TryLockWriter();
    /// Gives back one write level.
    Z4_API void UnlockWriter();
    /// The same as UnlockWriter().
    Z4_API void UnlockExclusive();

    /// Gives back one read level and takes the write lock. The thread must hold exactly one. Not atomic: the lock is
    /// free in between, another writer may come first, and what was read may have changed.
    Z4_API void Upgrade();
    /// Gives back the write lock, all levels at once, and takes one read level. Not atomic: the lock is free in
    /// between, and another writer may come first.
    Z4_API void Downgrade();

    /// Whether anybody is in as a reader, or as the writer. Unless it is the calling thread itself, that may have
    /// changed before the answer arrives.
    [[nodiscard]] Z4_API bool IsReaderLockActive() const;
    [[nodiscard]] Z4_API bool IsSharedLockActive() const;
    [[nodiscard]] Z4_API bool IsWriterLockActive() const;
    [[nodiscard]] Z4_API bool IsExclusiveLockActive() const;

private:
    friend Private::Layout<RWLock>;

    static constexpr unsigned long NO_WRITER = 0xFFFFFFFF;

    Z4_API void InternalLockReader();
    Z4_API void InternalLockWriter();

    void* m_lock = nullptr;
    // Read levels of all threads, or the write levels of one, negated.
    mutable long m_holds = 0;
    unsigned long m_writerId = NO_WRITER;
};

} // namespace Z4
