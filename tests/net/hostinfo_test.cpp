// Hunted here: text forms that are taken for addresses, a failure of the resolver told as another, a text that stays
// after a failure or runs over its array, results of the resolver that are not given back.
#include "rawsocket.h"

#include <tests/support/contract.h>
#include <tests/support/importhook.h>

#include <string>
#include <tuple>
#include <zelk_core/net/hostinfo.h>
#include <zelk_core/net/socketaddr.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

using HostInfoTest = NetworkTest;

TEST_F(HostInfoTest, TextForms) {
    const auto expect = [](bool ip, bool mac, std::initializer_list<const char*> texts) {
        for (const char* const text : texts) {
            EXPECT_EQ(HostInfo::IsIPAddress(text), ip) << testing::PrintToString(text);
            EXPECT_EQ(HostInfo::IsMACAddress(text), mac) << testing::PrintToString(text);
        }
    };
    expect(true, false, {"0.0.0.0", "255.255.255.255", "127.0.0.1"});
    expect(false, true, {"00:1A:2b:3C:4d:5E", "00-1A-2b-3C-4d-5E"});
    expect(false, false, {nullptr, "", "256.0.0.1", "1.2.3", "1.2.3.4.5", "1.2.3.4.", "1..3.4", "01.2.3.4", "::1"});
    expect(false, false, {"1.2.3.0004", "+1.2.3.4", " 1.2.3.4", "1.2.3.4 ", "00:1A-2b:3C:4d:5E", "00:1A:2b:3C:4d"});
    expect(false, false, {"00:1A:2b:3C:4d:5E:", "00:1A:2b:3C:4d:5G", "00:1A:2b:3C:4d:5g", "00:1A:2b:3C:4d::E"});
    expect(false, false, {"001A2b3C4d5E", "00.1A.2b.3C.4d.5E"});
}

/// A resolver that knows one host, 10.1.2.3, under every name, and answers with a failure where there is one.
class FakeResolver {
public:
    static inline int s_failure, s_reverseFailure;
    static inline int s_questions, s_unfreed;

    FakeResolver() { s_failure = s_reverseFailure = s_questions = s_unfreed = 0; }

private:
    static int WSAAPI Resolve(const char*, const char*, const addrinfo* hints, addrinfo** results) {
        static sockaddr_in address = RawSocket::Loopback(0);
        static addrinfo result{};
        ++s_questions;
        EXPECT_EQ(hints->ai_family, AF_INET);
        address.sin_addr.s_addr = htonl(0x0A010203);
        result.ai_addr = reinterpret_cast<sockaddr*>(&address);
        result.ai_addrlen = sizeof address;
        *results = s_failure == 0 ? &result : nullptr;
        s_unfreed += s_failure == 0 ? 1 : 0;
        return s_failure;
    }
    static void WSAAPI Free(addrinfo*) { --s_unfreed; }
    static int WSAAPI Reverse(const sockaddr* address, socklen_t, char* host, DWORD size, char*, DWORD, int flags) {
        const in_addr number = reinterpret_cast<const sockaddr_in*>(address)->sin_addr;
        strncpy(host, flags == NI_NUMERICHOST ? inet_ntoa(number) : "ten.example", size);
        return s_reverseFailure;
    }

    ImportHook m_resolve{"getaddrinfo", Resolve};
    ImportHook m_free{"freeaddrinfo", Free};
    ImportHook m_reverse{"getnameinfo", Reverse};
};

void ExpectHost(HostInfo host, Error status, const char* address, const std::string& name) {
    EXPECT_EQ(host.GetStatus(), status);
    EXPECT_STREQ(host.GetAddress(), address);
    EXPECT_EQ(host.GetName(), name);
    EXPECT_EQ(host.GetName(), name) << "asked again";
}

TEST_F(HostInfoTest, FromNamesAndAddresses) {
    EXPECT_STRNE(HostInfo("127.0.0.1").GetName(), "") << "of the system's resolver";
    const FakeResolver resolver;
    ExpectHost(HostInfo(), ERR_OK, "0.0.0.0", "ten.example");
    ExpectHost(HostInfo(nullptr), ERR_INVALID, "0.0.0.0", "");
    ExpectHost(HostInfo("10.9.8.7"), ERR_OK, "10.9.8.7", "ten.example");
    EXPECT_EQ(resolver.s_questions, 0) << "an address is not looked up";
    ExpectHost(HostInfo("host"), ERR_OK, "10.1.2.3", "host");
    ExpectHost(HostInfo(std::string(358, 'n').c_str()), ERR_OK, "10.1.2.3", std::string(358, 'n'));
    ExpectHost(HostInfo(std::string(2000, 'n').c_str()), ERR_OK, "10.1.2.3", std::string(358, 'n'));

    SocketAddr address("host", 0xABCD);
    EXPECT_EQ(address.GetAddress(), 0x0A010203u);
    EXPECT_EQ(address.GetPort(), 0xABCD);
    EXPECT_STREQ(address.GetIpAddress(), "10.1.2.3");
    EXPECT_STREQ(SocketAddr(0xFFFEFDFCul, 1).GetIpAddress(), "255.254.253.252");

    resolver.s_reverseFailure = WSATRY_AGAIN;
    ExpectHost(HostInfo("host"), ERR_TIMEOUT, "0.0.0.0", "");
    HostInfo dotted("10.9.8.7");
    EXPECT_STREQ(dotted.GetName(), "");
    EXPECT_EQ(dotted.GetStatus(), ERR_INVALID);
    EXPECT_EQ(resolver.s_unfreed, 0);
}

TEST_F(HostInfoTest, FailuresOfTheResolver) {
    const ExpectContract notStarted(LIBRARY_CHECKS ? 2 : 0);
    const FakeResolver resolver;
    const std::pair<int, Error> rows[] = {
        {8, ERR_OUT_OF_MEMORY}, {10014, ERR_INVALID},     {10022, ERR_INVALID},      {10036, ERR_IN_PROGRESS},
        {10044, ERR_INVALID},   {10047, ERR_UNSUPPORTED}, {10050, ERR_NETWORK_DOWN}, {10093, ERR_DEVICE_NOT_READY},
        {10109, ERR_NOT_FOUND}, {11001, ERR_NOT_FOUND},   {11002, ERR_TIMEOUT},      {11003, ERR_UNHANDLED},
        {11004, ERR_INVALID},   {12345, ERR_UNHANDLED}};
    for (const auto& [number, error] : rows) {
        resolver.s_failure = number;
        ExpectHost(HostInfo("host"), error, "0.0.0.0", "");
        const SocketAddr address("host", 80);
        EXPECT_EQ(address.GetStatus(), error) << number;
        EXPECT_FALSE(address.IsIPv4());
        EXPECT_EQ(address.GetPort(), 0);
    }
}

TEST_F(HostInfoTest, FailuresOfTheConversionToAnAddress) {
    const ImportHook hook(ZELK_FAILING(inet_pton));
    const std::tuple<int, DWORD, Error> rows[] = {{0, WSAEINVAL, ERR_INVALID},
                                                  {-1, WSAEFAULT, ERR_INVALID},
                                                  {-1, WSAEAFNOSUPPORT, ERR_UNSUPPORTED},
                                                  {-1, WSAEINVAL, ERR_UNHANDLED}};
    for (const auto& [result, number, error] : rows) {
        Failure::s_result = result;
        Failure::s_error = number;
        EXPECT_EQ(SocketAddr("1.2.3.4", 80).GetStatus(), error) << result << " with " << number;
    }
    HostInfo host("1.2.3.4");
    EXPECT_STREQ(host.GetName(), "");
    EXPECT_EQ(host.GetStatus(), ERR_INVALID);
}

} // namespace
