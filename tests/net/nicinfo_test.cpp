// Hunted here: a list of adapters that does not fit at first, texts that are cut or run over, addresses of other
// families taken along, and what a refused allocation leaves behind.
#include "rawsocket.h"

#include <tests/support/importhook.h>

#include <iphlpapi.h>

#include <host/zelkhost.h>
#include <string>
#include <vector>
#include <zelk_core/net/nicinfo.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

using NICInfoTest = NetworkTest;

/// A system with two adapters. The first question is answered with a larger size, and so are the next `m_refusals`.
class FakeAdapters {
public:
    static constexpr ULONG NEEDED = 20'000;
    static inline unsigned m_refusals;
    static inline std::vector<ULONG> m_sizes; ///< of the buffers that were offered

    explicit FakeAdapters(unsigned refusals) {
        m_refusals = refusals;
        m_sizes.clear();
    }

private:
    static ULONG WINAPI Answer(ULONG family, ULONG flags, void*, IP_ADAPTER_ADDRESSES* adapters, ULONG* size) {
        EXPECT_EQ(family, static_cast<ULONG>(AF_UNSPEC));
        EXPECT_EQ(flags, 12u);
        m_sizes.push_back(*size);
        *size = NEEDED;
        if (m_sizes.size() <= m_refusals) {
            return ERROR_BUFFER_OVERFLOW;
        }
        static sockaddr_in addresses[3];
        static IP_ADAPTER_UNICAST_ADDRESS unicasts[3];
        for (int i = 0; i < 3; ++i) {
            addresses[i].sin_family = i == 1 ? AF_INET6 : AF_INET; // one of another family
            addresses[i].sin_addr.s_addr = htonl(i == 2 ? 0xFFFEFDFC : 0x01020304);
            unicasts[i].Address.lpSockaddr = reinterpret_cast<sockaddr*>(&addresses[i]);
            unicasts[i].Next = i < 2 ? &unicasts[i + 1] : nullptr;
        }
        static char names[2][8] = {"first", "second"};
        memset(static_cast<void*>(adapters), 0, 2 * sizeof *adapters);
        adapters[0].Next = &adapters[1];
        adapters[0].AdapterName = names[0];
        adapters[0].IfIndex = 7;
        adapters[0].PhysicalAddressLength = 8;
        memcpy(adapters[0].PhysicalAddress, "\x00\x1A\x2b\x3C\x4d\x5E\xFF\x09", 8);
        adapters[0].FirstUnicastAddress = &unicasts[0];
        adapters[1].AdapterName = names[1];
        adapters[1].PhysicalAddressLength = 9;
        return NO_ERROR;
    }

    ImportHook m_hook{"GetAdaptersAddresses", Answer};
};

/// "name index mac address address", and so on.
std::string Adapters() {
    std::string text;
    const NICInfo adapters;
    for (const NICEntry& adapter : adapters) {
        text += (adapter.GetName() != nullptr ? adapter.GetName() : "?") + std::string(" ");
        text += std::to_string(adapter.GetIndex()) + " " + adapter.GetMACAddress();
        for (unsigned long i = 0; i < adapter.GetIPAddressCount(); ++i) {
            text += std::string(" ") + adapter.GetIPAddress(i);
        }
        EXPECT_EQ(adapter.GetIPAddress(adapter.GetIPAddressCount()), nullptr);
        text += ";";
    }
    return text;
}

constexpr const char* BOTH = "first 7 00:1A:2B:3C:4D:5E:FF:09 1.2.3.4 255.254.253.252;second 0 ;";

TEST_F(NICInfoTest, AsksOnceMoreWhereTheListDoesNotFit) {
    const std::vector<ULONG> offers[] = {{15'360}, {15'360, FakeAdapters::NEEDED}, {15'360, FakeAdapters::NEEDED}};
    for (unsigned refusals = 0; refusals < 3; ++refusals) {
        const FakeAdapters adapters(refusals);
        EXPECT_EQ(Adapters(), refusals < 2 ? BOTH : "");
        EXPECT_EQ(adapters.m_sizes, offers[refusals]);
    }
}

TEST_F(NICInfoTest, LivesWithoutMemory) {
    const char* const expected[] = {
        "",
        "",
        "", // the list, the larger list, the entries
        "? 7 00:1A:2B:3C:4D:5E:FF:09 1.2.3.4 255.254.253.252;second 0 ;",
        "first 7 00:1A:2B:3C:4D:5E:FF:09;second 0 ;",
        "first 7 00:1A:2B:3C:4D:5E:FF:09 1.2.3.4 255.254.253.252;? 0 ;",
        BOTH,
    };
    for (std::size_t refused = 1; refused <= std::size(expected); ++refused) {
        const FakeAdapters adapters(1);
        ZelkHost::FailAllocations(refused);
        EXPECT_EQ(Adapters(), expected[refused - 1]) << "allocation " << refused;
        EXPECT_EQ(ZelkHost::FailAllocations(0), refused < std::size(expected) ? 1u : 0u);
    }
}

} // namespace
