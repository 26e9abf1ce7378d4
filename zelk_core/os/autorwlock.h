/// @file
/// Holds a reader-writer lock from here to the end of the scope: `AutoReaderLock guard(lock);`.
#pragma once

namespace Z4 {

/// Enters as a reader at construction and leaves at destruction. `LockClass` is any class with `LockReader()` and
/// `UnlockReader()`. The lock must outlive the guard, and the thread that made the guard must destroy it.
template <class LockClass>
class [[nodiscard]] AutoReaderLock {
public:
    explicit AutoReaderLock(LockClass& lock) : m_lock(lock) { m_lock.LockReader(); }
    ~AutoReaderLock() { m_lock.UnlockReader(); }
    AutoReaderLock(const AutoReaderLock&) = delete;
    AutoReaderLock& operator=(const AutoReaderLock&) = delete;

private:
    LockClass& m_lock;
};

/// Enters as the writer at construction and leaves at destruction. `LockClass` is any class with `LockWriter()` and
/// `UnlockWriter()`. The lock must outlive the guard, and the thread that made the guard must destroy it.
template <class LockClass>
class [[nodiscard]] AutoWriterLock {
public:
    explicit AutoWriterLock(LockClass& lock) : m_lock(lock) { m_lock.LockWriter(); }
    ~AutoWriterLock() { m_lock.UnlockWriter(); }
    AutoWriterLock(const AutoWriterLock&) = delete;
    AutoWriterLock& operator=(const AutoWriterLock&) = delete;

private:
    LockClass& m_lock;
};

} // namespace Z4
