#include "rawsocket.h"

#include <host/zelkhost.h>
#include <iphlpapi.h>

#include <string>
#include <vector>
#include <zelk_core/net/hostinfo.h>
#include <zelk_core/net/nicinfo.h>
#include <zelk_core/net/socketaddr.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

using HostInfoTest = NetworkTest;
using NICInfoTest = NetworkTest;

TEST_F(HostInfoTest, TextForms) {
    const struct {
        const char* text;
        bool ip;
        bool mac;
    } rows[] = {
        {nullptr, false, false},
        {"", false, false},
        {"0.0.0.0", true, false},
        {"255.255.255.255", true, false},
        {"127.0.0.1", true, false},
        {"256.0.0.1", false, false},
        {"1.2.3", false, false},
        {"1.2.3.4.5", false, false},
        {"1.2.3.4.", false, false},
        {"1..3.4", false, false},
        {"01.2.3.4", false, false},
        {"1.2.3.0004", false, false},
        {"+1.2.3.4", false, false},
        {" 1.2.3.4", false, false},
        {"1.2.3.4 ", false, false},
        {"::1", false, false},
        {"localhost", false, false},
        {"00:1A:2b:3C:4d:5E", false, true},
        {"00-1A-2b-3C-4d-5E", false, true},
        {"00:1A-2b:3C:4d:5E", false, false},
        {"00:1A:2b:3C:4d", false, false},
        {"00:1A:2b:3C:4d:5E:", false, false},
        {"00:1A:2b:3C:4d:5G", false, false},
        {"001A2b3C4d5E", false, false},
    };
    for (const auto& row : rows) {
        EXPECT_EQ(HostInfo::IsIPAddress(row.text), row.ip) << (row.text != nullptr ? row.text : "null");
        EXPECT_EQ(HostInfo::IsMACAddress(row.text), row.mac) << (row.text != nullptr ? row.text : "null");
    }
}

TEST_F(HostInfoTest, FromNamesAndAddresses) {
    HostInfo nobody(nullptr);
    EXPECT_EQ(nobody.GetStatus(), ERR_INVALID);
    EXPECT_STREQ(nobody.GetAddress(), "0.0.0.0");
    EXPECT_STREQ(nobody.GetName(), "");

    HostInfo local("localhost");
    addrinfo* found = nullptr;
    if (getaddrinfo("localhost", nullptr, nullptr, &found) == 0) {
        freeaddrinfo(found);
        EXPECT_EQ(local.GetStatus(), ERR_OK);
        EXPECT_STREQ(local.GetAddress(), "127.0.0.1");
        EXPECT_STREQ(local.GetName(), "localhost");
    } else {
        EXPECT_NE(local.GetStatus(), ERR_OK) << "a machine without a list of hosts";
    }

    for (const std::string& name : {std::string("no.such.host.invalid"), std::string(2000, 'x')}) {
        HostInfo unknown(name.c_str());
        EXPECT_NE(unknown.GetStatus(), ERR_OK);
        EXPECT_STREQ(unknown.GetAddress(), "0.0.0.0");
        EXPECT_STREQ(unknown.GetName(), "");
        // What the name cannot be resolved to becomes the address's status, too.
        const SocketAddr address(name.c_str(), 80);
        EXPECT_NE(address.GetStatus(), ERR_OK);
        EXPECT_FALSE(address.IsIPv4());
    }

    HostInfo dotted("127.0.0.1");
    EXPECT_STREQ(dotted.GetAddress(), "127.0.0.1");
    char expected[NI_MAXHOST];
    const sockaddr_in loopback = RawSocket::Loopback(0);
    ASSERT_EQ(getnameinfo(reinterpret_cast<const sockaddr*>(&loopback), sizeof loopback, expected, sizeof expected,
                          nullptr, 0, 0),
              0);
    EXPECT_STREQ(dotted.GetName(), expected);
    EXPECT_EQ(dotted.GetStatus(), ERR_OK);

    local = HostInfo();
    EXPECT_STREQ(local.GetAddress(), "0.0.0.0");
    EXPECT_EQ(local.GetStatus(), ERR_OK);
}

TEST_F(HostInfoTest, AddressesReadBack) {
    SocketAddr address(0x01020304ul, 0xABCD);
    EXPECT_EQ(address.GetAddress(), 0x01020304u);
    EXPECT_EQ(address.GetPort(), 0xABCD);
    EXPECT_STREQ(address.GetIpAddress(), "1.2.3.4");
    const SocketAddr text("255.254.253.252", 1);
    EXPECT_EQ(text.GetStatus(), ERR_OK);
    EXPECT_EQ(text.GetAddress(), 0xFFFEFDFCu);
}

/// The system's answer, put in the same words.
std::vector<std::string> SystemAdapters() {
    std::vector<std::string> lines;
    ULONG size = 1 << 20;
    std::vector<ULONGLONG> buffer(size / sizeof(ULONGLONG));
    auto* adapter = reinterpret_cast<IP_ADAPTER_ADDRESSES*>(buffer.data());
    if (GetAdaptersAddresses(AF_UNSPEC, 0, nullptr, adapter, &size) != NO_ERROR) {
        return lines;
    }
    for (; adapter != nullptr; adapter = adapter->Next) {
        std::string line = adapter->AdapterName + std::string(" ") + std::to_string(adapter->IfIndex) + " ";
        for (ULONG i = 0; i < adapter->PhysicalAddressLength; ++i) {
            constexpr char DIGITS[] = "0123456789ABCDEF";
            line += i != 0 ? ":" : "";
            line += DIGITS[adapter->PhysicalAddress[i] >> 4];
            line += DIGITS[adapter->PhysicalAddress[i] & 15];
        }
        for (auto* unicast = adapter->FirstUnicastAddress; unicast != nullptr; unicast = unicast->Next) {
            const auto* const address = reinterpret_cast<const sockaddr_in*>(unicast->Address.lpSockaddr);
            if (address->sin_family == AF_INET) {
                line += std::string(" ") + inet_ntoa(address->sin_addr);
            }
        }
        lines.push_back(line);
    }
    return lines;
}

std::vector<std::string> OurAdapters() {
    std::vector<std::string> lines;
    const NICInfo adapters;
    for (const NICEntry& adapter : adapters) {
        std::string line = (adapter.GetName() != nullptr ? adapter.GetName() : "?") + std::string(" ") +
                           std::to_string(adapter.GetIndex()) + " " + adapter.GetMACAddress();
        for (unsigned long i = 0; i < adapter.GetIPAddressCount(); ++i) {
            line += std::string(" ") + adapter.GetIPAddress(i);
        }
        EXPECT_EQ(adapter.GetIPAddress(adapter.GetIPAddressCount()), nullptr);
        lines.push_back(line);
    }
    return lines;
}

TEST_F(NICInfoTest, IsWhatTheSystemReports) {
    const std::vector<std::string> expected = SystemAdapters();
    EXPECT_FALSE(expected.empty());
    EXPECT_EQ(OurAdapters(), expected);
}

TEST_F(NICInfoTest, LivesWithoutMemory) {
    const std::vector<std::string> expected = OurAdapters();
    std::size_t first = 1;
    for (;; ++first) {
        ZelkHost::FailAllocations(first);
        const std::vector<std::string> found = OurAdapters();
        if (ZelkHost::FailAllocations(0) == 0) {
            EXPECT_EQ(found, expected);
            break;
        }
        EXPECT_TRUE(found.empty() || found.size() == expected.size());
        EXPECT_NE(found, expected) << "allocation " << first;
    }
    EXPECT_GE(first, 4u) << "the system's list, the entries, names and addresses";
}

} // namespace
