/// @file
/// Sets of sockets, and the wait on them, so that one thread can serve many.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// A set of at most 64 handles, in the layout of the system's select set. It is a value and owns no socket: whoever
/// closes a socket removes its handle. One object belongs to one thread at a time.
class BerkeleySocketGroup {
public:
    static constexpr unsigned long CAPACITY = 64;

    /// Puts `handle` at the end. Nothing changes when it is there already, or when the group is full; IsInSet() tells.
    Z4_API void Add(long handle);
    /// Takes `handle` out; the others keep their order. Nothing changes when it is not there.
    Z4_API void Remove(long handle);
    Z4_API bool IsInSet(long handle) const;
    void Clear() { m_count = 0; }

    unsigned long GetCount() const { return m_count; }
    /// The handle at `index`; -1 from GetCount() on.
    long GetHandle(unsigned long index) const { return index < m_count ? static_cast<long>(m_handles[index]) : -1; }

    /// Waits until at least one socket is ready for what its group stands for: to be read, to be written to, or to tell
    /// a failure, as in BerkeleySocket::Select(). Then only the ready sockets are left in the groups: wait with copies
    /// of groups that you keep.
    ///
    /// A group may be null. The others must be different objects and together hold a socket, else the failure is
    /// ERR_INVALID; so it is when one of the sockets is closed.
    /// @param timeoutMs milliseconds; 0 never waits, 0xFFFFFFFF waits without limit.
    /// @param error ERR_OK, or why the result is 0 or -1.
    /// @return how many are ready, a socket in two groups counted twice; 0 with ERR_TIMEOUT and all groups empty when
    /// the time has passed; -1 on failure, with the groups as they were.
    [[nodiscard]] Z4_API static long Wait(BerkeleySocketGroup* readable, BerkeleySocketGroup* writable,
                                          BerkeleySocketGroup* failed, unsigned long timeoutMs, unsigned long& error);

private:
    friend struct Private::Layout<BerkeleySocketGroup>;

    std::uint32_t m_count = 0;
    std::uint32_t m_handles[CAPACITY] = {};
};

/// Lets a socket put itself into a group: its class `T` derives from this and has GetHandle(). Where the socket is
/// closed, nothing happens and IsInSet() is false. A group belongs to one thread at a time, and so does a socket.
template <class T>
class BerkeleySocketGroupMember {
public:
    void AddToSet(BerkeleySocketGroup& group) const {
        const long handle = static_cast<const T*>(this)->GetHandle();
        if (handle != -1) {
            group.Add(handle);
        }
    }
    void RemoveFromSet(BerkeleySocketGroup& group) const { group.Remove(static_cast<const T*>(this)->GetHandle()); }
    bool IsInSet(const BerkeleySocketGroup& group) const {
        return group.IsInSet(static_cast<const T*>(this)->GetHandle());
    }

protected:
    BerkeleySocketGroupMember() = default;
    ~BerkeleySocketGroupMember() = default;
};

} // namespace Z4
