/// @file
/// The machine's network adapters and their addresses.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>

struct _IP_ADAPTER_ADDRESSES_LH;

namespace Z4 {

/// One adapter of a NICInfo, which owns it and its texts: they live as long as the NICInfo does. Any number of threads
/// may read it.
class NICEntry {
public:
    /// The hardware address, "00:1A:2B:3C:4D:5E". Empty when there is none, and when it has more than 8 bytes.
    const char* GetMACAddress() const { return m_self->m_macAddress; }
    /// The system's name of the adapter; null when the host had no memory for it.
    const char* GetName() const { return m_self->m_name; }
    /// The system's IPv4 interface index.
    unsigned long GetIndex() const { return m_self->m_index; }
    /// How many IPv4 addresses the adapter has; 0 also when the host had no memory for them.
    unsigned long GetIPAddressCount() const { return m_self->m_addressCount; }
    /// The dotted address at `index`; null from GetIPAddressCount() on.
    Z4_API const char* GetIPAddress(unsigned long index) const;

private:
    friend class NICInfo;
    friend struct Private::Layout<NICEntry>;
    using AddressText = char[46];
    void Fill(const _IP_ADAPTER_ADDRESSES_LH& adapter);

    char m_macAddress[24];
    AddressText* m_addresses;
    char* m_name;
    std::uint32_t m_index;
    std::uint32_t m_addressCount;
    const NICEntry* m_self; // itself, which the accessors go through
};

/// The adapters that the machine had at construction, in the system's order; later changes do not show. The list is
/// empty when the system refuses it or the host has no memory for it. The constructor takes that memory from the host,
/// so a service must be started (base/lifecycle.h); the network need not be. Any number of threads may read one.
///
///     const Z4::NICInfo adapters;
///     for (const Z4::NICEntry& adapter : adapters) {
///         Use(adapter.GetName(), adapter.GetIPAddress(0));
///     }
class NICInfo {
public:
    /// Goes over the adapters forward, on one thread at a time. Good as long as the NICInfo.
    class const_iterator {
    public:
        explicit const_iterator(const NICEntry* entry) : m_entry(entry) {}
        const NICEntry& operator*() const { return *m_entry; }
        const NICEntry* operator->() const { return m_entry; }
        const_iterator& operator++() {
            ++m_entry;
            return *this;
        }
        const_iterator operator++(int) { return const_iterator(m_entry++); }
        bool operator==(const const_iterator&) const = default;

    private:
        const NICEntry* m_entry;
    };

    Z4_API NICInfo();
    Z4_API ~NICInfo();
    NICInfo(const NICInfo&) = delete;
    NICInfo& operator=(const NICInfo&) = delete;

    unsigned long GetCount() const { return m_count; }
    const_iterator begin() const { return const_iterator(m_entries); }
    const_iterator end() const { return const_iterator(m_entries + m_count); }

private:
    friend struct Private::Layout<NICInfo>;

    std::uint32_t m_count;
    NICEntry* m_entries;
};

} // namespace Z4
