/// @file
/// Sets of sockets, and the wait on them, so that one thread can serve many.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>

namespace Z4 {

/// At most 64 handles, in the layout of the system's select set. A value; it owns no socket, and a socket that closes
/// stays in it until it is removed.
class BerkeleySocketGroup {
public:
    static constexpr unsigned long CAPACITY = 64;

    /// Puts `handle` at the end. A handle that is there already changes nothing, nor does any other once the group is
    /// full: IsInSet() tells.
    Z4_API void Add(long handle);
    /// Keeps the others' order; nothing happens when `handle` is not there.
    Z4_API void Remove(long handle);
    Z4_API bool IsInSet(long handle) const;
    void Clear() { m_count = 0; }

    unsigned long GetCount() const { return m_count; }
    /// The handle at `index`, -1 beyond the last.
    long GetHandle(unsigned long index) const { return index < m_count ? static_cast<long>(m_handles[index]) : -1; }

    /// Waits until a socket of a group is ready: `readable` and `writable` as in BerkeleySocket::Select(), `failed`
    /// likewise. Each may be null, and no two the same group; together they must hold a socket, else ERR_INVALID.
    /// Groups come back with the ready sockets only, so wait on copies of those you keep.
    /// @param timeoutMs milliseconds; 0 never waits, 0xFFFFFFFF waits without limit.
    /// @return how many are ready, over all groups; 0 when the time has passed, all groups empty then and `error`
    /// ERR_TIMEOUT; -1 on failure, the groups untouched (a closed socket in a group is ERR_INVALID).
    [[nodiscard]] Z4_API static long Wait(BerkeleySocketGroup* readable, BerkeleySocketGroup* writable,
                                          BerkeleySocketGroup* failed, unsigned long timeoutMs, unsigned long& error);

private:
    friend struct SocketGroupLayout;

    std::uint32_t m_count = 0;
    std::uint32_t m_handles[CAPACITY] = {};
};

/// Lets a socket class `T`, which derives from this and has GetHandle(), put itself into a group.
template <class T>
class BerkeleySocketGroupMember {
public:
    /// Nothing happens for a closed socket.
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
