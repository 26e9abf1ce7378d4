/// @file
/// Marks data that only one thread at a time is meant to touch, without locking it: a debugging aid that documents the
/// rule in the code.
///
/// Where ZELK_CHECKS is defined, an access that begins while one by another thread runs is reported as a broken
/// contract; accesses of one thread may lie within each other. Nothing waits or fails either way, and the accesses go
/// on as they would without checks.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/assert.h>

namespace Z4 {

namespace Private {

/// Notes that the calling thread accesses what `guard` marks, until EndAccess() with the same `access`, any address
/// that tells this access from the others of its thread; one that is used twice must be ended twice. Needs no memory:
/// there is room for 256 accesses at a time in the process, and further ones are not noted. Any thread.
/// @return false when an access by another thread runs.
Z4_API bool BeginAccess(const void* guard, const void* access);
/// Forgets one access of the calling thread; nothing when it was not noted.
Z4_API void EndAccess(const void* access);

} // namespace Private

/// Placed beside the data. It has no state, so that copying and assigning it does nothing: accesses are known by its
/// address, and must end before it goes.
class ConcurrentAccessGuard {
public:
    /// The thread identity that stands for no thread.
    static constexpr unsigned long UNSET_THREAD_ID = 0;

#if defined(ZELK_CHECKS)
    /// Marks the begin of an access by the calling thread.
    void Lock() {
        Z4_ASSERT(Private::BeginAccess(this, this), "No other thread accesses the data when an access begins.");
    }
    /// Marks its end, on the same thread.
    void UnLock() {
        Private::EndAccess(this);
    }
#else
    void Lock() {}
    void UnLock() {}
#endif
};

/// Marks an access from here to the end of the scope. The guard must outlive it.
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
