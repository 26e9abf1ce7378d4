#include <zelk_core/net/private/winsock.h>

#include <iphlpapi.h>

#include <cstddef>
#include <cstring>
#include <zelk_core/base/strformat.h>
#include <zelk_core/generics/ealallocator.h>
#include <zelk_core/net/nicinfo.h>

namespace Z4 {

template <>
struct Private::Layout<NICEntry> {
    static_assert(offsetof(NICEntry, m_macAddress) == 0);
    static_assert(offsetof(NICEntry, m_addresses) == 24);
    static_assert(offsetof(NICEntry, m_name) == 28);
    static_assert(offsetof(NICEntry, m_index) == 32);
    static_assert(offsetof(NICEntry, m_addressCount) == 36);
    static_assert(offsetof(NICEntry, m_self) == 40);
    static_assert(sizeof(NICEntry) == 44);
    static_assert(alignof(NICEntry) == 4);
};

template <>
struct Private::Layout<NICInfo> {
    static_assert(offsetof(NICInfo, m_count) == 0);
    static_assert(offsetof(NICInfo, m_entries) == 4);
    static_assert(sizeof(NICInfo) == 8);
};

namespace {

ULONG Read(void* buffer, ULONG& size) {
    constexpr ULONG FLAGS = GAA_FLAG_SKIP_MULTICAST | GAA_FLAG_SKIP_DNS_SERVER;
    return GetAdaptersAddresses(AF_UNSPEC, FLAGS, nullptr, static_cast<IP_ADAPTER_ADDRESSES*>(buffer), &size);
}

/// The system's list of adapters, null when it cannot be had.
IP_ADAPTER_ADDRESSES* ReadAdapters() {
    ULONG size = 15360;
    void* buffer = Private::AllocateFromHost(size, 1);
    if (buffer == nullptr) {
        return nullptr;
    }
    ULONG result = Read(buffer, size);
    if (result == ERROR_BUFFER_OVERFLOW) {
        void* const larger = Private::ReallocateFromHost(buffer, size, 8);
        if (larger != nullptr) {
            buffer = larger;
            result = Read(buffer, size);
        }
    }
    if (result != NO_ERROR) {
        Private::FreeToHost(buffer);
        return nullptr;
    }
    return static_cast<IP_ADAPTER_ADDRESSES*>(buffer);
}

char* DuplicateName(const char* name) {
    const std::size_t size = std::strlen(name) + 1;
    char* const copy = ZelkAllocator::Allocate<char>(size);
    if (copy != nullptr) {
        std::memcpy(copy, name, size);
    }
    return copy;
}

void WriteMacAddress(char* text, std::size_t size, const BYTE* bytes, ULONG count) {
    for (ULONG i = 0; i < count; ++i) {
        StrFormat::snprintf(text + 3 * i, size - 3 * i, i + 1 < count ? "%02X:" : "%02X", bytes[i]);
    }
}

const IP_ADAPTER_UNICAST_ADDRESS* FirstIPv4(const IP_ADAPTER_UNICAST_ADDRESS* address) {
    while (address != nullptr && address->Address.lpSockaddr->sa_family != AF_INET) {
        address = address->Next;
    }
    return address;
}

} // namespace

void NICEntry::Fill(const IP_ADAPTER_ADDRESSES& adapter) {
    m_self = this;
    m_macAddress[0] = '\0';
    m_addressCount = 0;
    m_index = adapter.IfIndex;
    m_name = DuplicateName(adapter.AdapterName);
    constexpr ULONG LONGEST = sizeof m_macAddress / 3;
    if (adapter.PhysicalAddressLength <= LONGEST) {
        WriteMacAddress(m_macAddress, sizeof m_macAddress, adapter.PhysicalAddress, adapter.PhysicalAddressLength);
    }
    std::uint32_t count = 0;
    const IP_ADAPTER_UNICAST_ADDRESS* const first = FirstIPv4(adapter.FirstUnicastAddress);
    for (auto* address = first; address != nullptr; address = FirstIPv4(address->Next)) {
        ++count;
    }
    m_addresses = count != 0 ? ZelkAllocator::Allocate<AddressText>(count) : nullptr;
    if (m_addresses == nullptr) {
        return;
    }
    for (auto* address = first; address != nullptr; address = FirstIPv4(address->Next)) {
        const auto* const ipv4 = reinterpret_cast<const sockaddr_in*>(address->Address.lpSockaddr);
        inet_ntop(AF_INET, &ipv4->sin_addr, m_addresses[m_addressCount++], sizeof(AddressText));
    }
}

const char* NICEntry::GetIPAddress(unsigned long index) const {
    return m_self->m_addresses != nullptr && index < m_self->m_addressCount ? m_self->m_addresses[index] : nullptr;
}

NICInfo::NICInfo() : m_count(0), m_entries(nullptr) {
    IP_ADAPTER_ADDRESSES* const adapters = ReadAdapters();
    if (adapters == nullptr) {
        return;
    }
    std::uint32_t count = 0;
    for (auto* adapter = adapters; adapter != nullptr; adapter = adapter->Next) {
        ++count;
    }
    m_entries = ZelkAllocator::Allocate<NICEntry>(count);
    if (m_entries != nullptr) {
        for (auto* adapter = adapters; adapter != nullptr; adapter = adapter->Next) {
            m_entries[m_count++].Fill(*adapter);
        }
    }
    Private::FreeToHost(adapters);
}

NICInfo::~NICInfo() {
    for (std::uint32_t i = 0; i < m_count; ++i) {
        ZelkAllocator::Free(m_entries[i].m_addresses);
        ZelkAllocator::Free(m_entries[i].m_name);
    }
    ZelkAllocator::Free(m_entries);
}

} // namespace Z4
