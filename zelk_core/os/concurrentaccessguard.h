/// @file
/// Marks data that only one thread at a time is meant to touch, without locking it: a debugging aid that documents the
/// rule in the code.
///
/// Where ZELK_CHECKS is defined, an access that begins while one by another thread runs is reported as a broken
/// contract. Accesses of one thread may lie within each other. Nothing waits and nothing fails, with checks or without:
/// a program does the same either way.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>

namespace Z4 {

namespace Private {

/// Notes that the calling thread accesses what `guard` marks, until it calls EndAccess() with the same `access`. That
/// is any address by which the thread tells its accesses apart; one that is begun twice must be ended twice. It takes
/// no memory: the process has room for 256 accesses at a time, and does not note further ones. Any thread.
/// @return false when an access by another thread runs.
Z4_API bool BeginAccess(const void* guard, const void* access);
/// Forgets one access of the calling thread. Does nothing when it was not noted.
Z4_API void EndAccess(const void* access);

} // namespace Private

/// A guard that stands beside the data that it marks. Any thread may call any operation. It has no state, so copying
/// and assigning it does nothing; accesses are known by its address, and must end before it is destroyed.
class ConcurrentAccessGuard {
public:
    /// The thread identity that stands for no thread.
    static constexpr unsigned long UNSET_THREAD_ID = 0;

#if defined(ZELK_CHECKS)
    /// Begins an access by the calling thread. It returns at once. Where another thread's access runs, a checked
    /// program reports that first.
    void Lock() {
        Z4_ASSERT(Private::BeginAccess(this, this), "No other thread accesses the data when an access begins.");
    }
    /// Ends the access that the calling thread began last by Lock(). Does nothing where it began none.
    void UnLock() {
        Private::EndAccess(this);
    }
#else
    void Lock() {}
    void UnLock() {}
#endif
};

/// Marks an access from here to the end of the scope: `AutoAccessGuard access(guard);`. The thread that made it must
/// destroy it, and the ConcurrentAccessGuard must live until then.
class [[nodiscard]] AutoAccessGuard {
public:
#if defined(ZELK_CHECKS)
    // A scope is known by its own address rather than by a field, so that it is as empty as without checks.
    explicit AutoAccessGuard(ConcurrentAccessGuard& guard) {
        Z4_ASSERT(Private::BeginAccess(&guard, this), "No other thread accesses the data when an access begins.");
    }
    ~AutoAccessGuard() {
        Private::EndAccess(this);
    }
#else
    explicit AutoAccessGuard(ConcurrentAccessGuard&) {}
    ~AutoAccessGuard() = default;
#endif
    AutoAccessGuard(const AutoAccessGuard&) = delete;
    AutoAccessGuard& operator=(const AutoAccessGuard&) = delete;
};

} // namespace Z4
