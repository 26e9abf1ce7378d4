#include <zelk_core/net/private/select.h> // before anything else of the system

#include <cstddef>
#include <cstring>
#include <zelk_core/base/assert.h>
#include <zelk_core/net/berkeleysocket.h>
#include <zelk_core/net/socketgroup.h>

namespace Z4 {

template <>
struct Private::Layout<BerkeleySocketGroup> {
    static_assert(offsetof(BerkeleySocketGroup, m_count) == offsetof(fd_set, fd_count));
    static_assert(offsetof(BerkeleySocketGroup, m_handles) == offsetof(fd_set, fd_array));
    static_assert(BerkeleySocketGroup::CAPACITY == FD_SETSIZE);
    static_assert(sizeof(BerkeleySocketGroup) == sizeof(fd_set));
    static_assert(sizeof(fd_set) == 260);
};

void BerkeleySocketGroup::Add(long handle) {
    const std::uint32_t wanted = static_cast<std::uint32_t>(handle);
    for (std::uint32_t i = 0; i < m_count; ++i) {
        if (m_handles[i] == wanted) {
            return;
        }
    }
    if (m_count < CAPACITY) {
        m_handles[m_count++] = wanted;
    }
}

void BerkeleySocketGroup::Remove(long handle) {
    const std::uint32_t wanted = static_cast<std::uint32_t>(handle);
    for (std::uint32_t i = 0; i < m_count; ++i) {
        if (m_handles[i] == wanted) {
            --m_count;
            std::memmove(&m_handles[i], &m_handles[i + 1], (m_count - i) * sizeof m_handles[0]);
            return;
        }
    }
}

bool BerkeleySocketGroup::IsInSet(long handle) const {
    BerkeleySocketGroup& group = const_cast<BerkeleySocketGroup&>(*this); // the system only reads
    return __WSAFDIsSet(Private::ToSocket(handle), reinterpret_cast<fd_set*>(&group)) != 0;
}

long BerkeleySocketGroup::Wait(BerkeleySocketGroup* readable, BerkeleySocketGroup* writable,
                               BerkeleySocketGroup* failed, unsigned long timeoutMs, unsigned long& error) {
    Z4_ASSERT((readable != writable && readable != failed) || readable == nullptr, "Each wait has a group of its own.");
    Z4_ASSERT(writable != failed || writable == nullptr, "Each wait has a group of its own.");
    error = ERR_OK;
    const int ready = Private::WaitForSets(reinterpret_cast<fd_set*>(readable), reinterpret_cast<fd_set*>(writable),
                                           reinterpret_cast<fd_set*>(failed), timeoutMs);
    if (ready == 0) {
        error = ERR_TIMEOUT;
    }
    return BerkeleySocket::CountOrFail(ready, error);
}

} // namespace Z4
