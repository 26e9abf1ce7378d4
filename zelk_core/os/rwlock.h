/// @file
/// Locks that let many readers in together, or one writer alone.
///
/// Both block on the system's slim lock, which keeps no order among those who wait. Both need no teardown and may be
/// static objects that are ready before any code runs. A lock must be free when it is destroyed. The thread that locked
/// it must unlock it, in the mode in which it was locked; otherwise the lock is broken from then on, and a library that
/// was built with ZELK_CHECKS reports it where the lock can tell.
///
/// Any thread may call any operation. autorwlock.h has the guards that hold such a lock to the end of a scope.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// A reader-writer lock for any number of threads, which is the slim lock of the system as it is. A thread that holds
/// it, in whatever mode, must not lock it again, because it can wait for itself for ever then.
class RWLockNonRecursive {
public:
    /// @param spinCount ignored in this build, where the system decides how long to spin.
    constexpr explicit RWLockNonRecursive(unsigned long spinCount = 0) { static_cast<void>(spinCount); }
    RWLockNonRecursive(const RWLockNonRecursive&) = delete;
    RWLockNonRecursive& operator=(const RWLockNonRecursive&) = delete;

    /// Waits until the calling thread is in as a reader.
    Z4_API void LockReader();
    /// Waits until the calling thread is in as the writer.
    Z4_API void LockWriter();
    /// Never waits.
    /// @return true when the calling thread is in as a reader.
    [[nodiscard]] Z4_API bool TryLockReader();
    /// Never waits.
    /// @return true when the calling thread is in as the writer.
    [[nodiscard]] Z4_API bool TryLockWriter();
    /// Undoes a LockReader() or a successful TryLockReader() of the calling thread.
    Z4_API void UnlockReader();
    /// Undoes a LockWriter() or a successful TryLockWriter() of the calling thread.
    Z4_API void UnlockWriter();

    /// UnlockReader() and then LockWriter(). The lock is free in between, so another writer may come first: read again
    /// what you have read.
    Z4_API void Upgrade();
    /// UnlockWriter() and then LockReader(). The lock is free in between, so another writer may come first.
    Z4_API void Downgrade();

private:
    Z4_API void InternalLockReader();
    Z4_API void InternalLockWriter();

    void* m_lock = nullptr;
};

/// A reader-writer lock for any number of threads. A thread that is in as a reader may lock it for reading again, and
/// the writer may lock it for writing again; each must unlock it as often as it locked it. Every locking that is not
/// yet undone is one level.
///
/// A thread that reads may read again, without waiting and without a system call, even while a writer waits. It is
/// recognised by a table with room for four locks per thread. A fifth lock works, too, but its readers are not
/// recognised: to read it a second time is to enter anew, behind any writer that waits by now. As that writer waits for
/// the first entry to end, both wait for ever.
///
/// The modes do not mix: a reader that locks for writing, other than by Upgrade(), waits for ever, and so does the
/// writer that locks for reading, other than by Downgrade().
class RWLock {
public:
    /// @param spinCount ignored in this build, where the system decides how long to spin.
    constexpr explicit RWLock(unsigned long spinCount = 0) { static_cast<void>(spinCount); }
    RWLock(const RWLock&) = delete;
    RWLock& operator=(const RWLock&) = delete;

    /// Waits until the calling thread is in as a reader, one level deeper.
    Z4_API void LockReader();
    /// The same as LockReader().
    Z4_API void LockShared();
    /// Never waits.
    /// @return true when the calling thread is in as a reader, one level deeper.
    [[nodiscard]] Z4_API bool TryLockReader();
    /// Gives back one level of the calling thread, which must be in as a reader.
    Z4_API void UnlockReader();
    /// The same as UnlockReader().
    Z4_API void UnlockShared();

    /// Waits until the calling thread is in as the writer, one level deeper.
    Z4_API void LockWriter();
    /// The same as LockWriter().
    Z4_API void LockExclusive();
    /// Never waits.
    /// @return true when the calling thread is in as the writer, one level deeper.
    [[nodiscard]] Z4_API bool TryLockWriter();
    /// Gives back one level of the calling thread, which must be in as the writer.
    Z4_API void UnlockWriter();
    /// The same as UnlockWriter().
    Z4_API void UnlockExclusive();

    /// UnlockReader() and then LockWriter(), for a thread that reads one level deep; with more it waits for ever. The
    /// lock is free in between, so another writer may come first: read again what you have read.
    Z4_API void Upgrade();
    /// Gives back all levels of the writer at once and then calls LockReader(). The lock is free in between, so another
    /// writer may come first.
    Z4_API void Downgrade();

    /// Whether some thread is in as a reader. Unless it is the calling thread itself, that may have changed by the time
    /// the answer arrives.
    [[nodiscard]] Z4_API bool IsReaderLockActive() const;
    /// The same as IsReaderLockActive().
    [[nodiscard]] Z4_API bool IsSharedLockActive() const;
    /// Whether some thread is in as the writer. Unless it is the calling thread itself, that may have changed by the
    /// time the answer arrives.
    [[nodiscard]] Z4_API bool IsWriterLockActive() const;
    /// The same as IsWriterLockActive().
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
