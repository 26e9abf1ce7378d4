/// @file
/// The lock for templates that take a lock class, where no locking is wanted.
#pragma once

namespace Z4 {

/// Excludes nobody. It has no state, so that copying and assigning it does nothing.
class NulLock {
public:
    void Lock() {}
    /// @return true, always.
    [[nodiscard]] bool TryLock() { return true; }
    void Unlock() {}
};

} // namespace Z4
