/// @file
/// Marks data that only one thread at a time is meant to touch, without locking it: a debugging aid that documents the
/// rule in the code. This build checks nothing, and code must behave alike in a build that does.
#pragma once

namespace Z4 {

/// Placed beside the data. It has no state in this build, so that copying and assigning it does nothing.
class ConcurrentAccessGuard {
public:
    /// The thread identity that stands for no thread.
    static constexpr unsigned long UNSET_THREAD_ID = 0;

    /// Marks the begin of an access; does nothing in this build.
    void Lock() {}
    /// Marks its end; does nothing in this build.
    void UnLock() {}
};

/// Marks an access from here to the end of the scope. The guard must outlive it.
class [[nodiscard]] AutoAccessGuard {
public:
    explicit AutoAccessGuard(ConcurrentAccessGuard&) {}
    AutoAccessGuard(const AutoAccessGuard&) = delete;
    AutoAccessGuard& operator=(const AutoAccessGuard&) = delete;
};

} // namespace Z4
