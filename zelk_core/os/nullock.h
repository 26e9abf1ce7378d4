/// @file
/// The lock class for templates that take one, where no locking is wanted.
#pragma once

namespace Z4 {

/// A lock in name only: every operation does nothing and excludes nobody, on any thread. There is no state to copy or
/// to assign.
class NulLock {
public:
    void Lock() {}
    /// @return true, always.
    [[nodiscard]] bool TryLock() { return true; }
    void Unlock() {}
};

} // namespace Z4
