#include <zelk_core/net/private/winsock.h>

#include <cstddef>
#include <zelk_core/net/hostinfo.h>
#include <zelk_core/net/socketaddr.h>

namespace Z4 {

template <>
struct Private::Layout<SocketAddr> {
    static_assert(offsetof(SocketAddr, m_family) == offsetof(sockaddr_in, sin_family));
    static_assert(offsetof(SocketAddr, m_port) == offsetof(sockaddr_in, sin_port));
    static_assert(offsetof(SocketAddr, m_address) == offsetof(sockaddr_in, sin_addr));
    static_assert(offsetof(SocketAddr, m_text) == sizeof(sockaddr_in));
    static_assert(offsetof(SocketAddr, m_status) == 32);
    static_assert(sizeof(SocketAddr) == 36);
    static_assert(SocketAddr::FAMILY_IPV4 == AF_INET);
};

namespace {

/// What the system's conversion of a dotted text came to.
Error StatusOfConversion(int result) {
    if (result == 1) {
        return ERR_OK;
    }
    if (result == 0) {
        return ERR_INVALID;
    }
    switch (WSAGetLastError()) {
    case WSAEFAULT:
        return ERR_INVALID;
    case WSAEAFNOSUPPORT:
        return ERR_UNSUPPORTED;
    default:
        return ERR_UNHANDLED;
    }
}

} // namespace

SocketAddr::SocketAddr(unsigned long address, unsigned short port)
    : m_family(FAMILY_IPV4), m_port(Swap(port)), m_address(Swap(static_cast<std::uint32_t>(address))) {}

SocketAddr::SocketAddr(const char* host, unsigned short port) {
    const HostInfo info(host);
    m_status = info.GetStatus();
    if (m_status != ERR_OK) {
        return;
    }
    m_family = FAMILY_IPV4;
    m_port = Swap(port);
    m_status = StatusOfConversion(inet_pton(AF_INET, info.GetAddress(), &m_address));
}

const char* SocketAddr::GetIpAddress() const {
    inet_ntop(AF_INET, &m_address, m_text, sizeof m_text);
    return m_text;
}

} // namespace Z4
