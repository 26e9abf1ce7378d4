#include <zelk_core/net/private/winsock.h>

#include <cstddef>
#include <zelk_core/net/hostinfo.h>
#include <zelk_core/net/socket.h>
#include <zelk_core/net/socketaddr.h>

namespace Z4 {

struct SocketLayout {
    static_assert(offsetof(SocketAddr, m_family) == offsetof(sockaddr_in, sin_family));
    static_assert(offsetof(SocketAddr, m_port) == offsetof(sockaddr_in, sin_port));
    static_assert(offsetof(SocketAddr, m_address) == offsetof(sockaddr_in, sin_addr));
    static_assert(offsetof(SocketAddr, m_text) == sizeof(sockaddr_in) && SocketAddr::FAMILY_IPV4 == AF_INET);
    static_assert(offsetof(SocketAddr, m_status) == 32);
    static_assert(sizeof(SocketAddr) == 36);

    static_assert(offsetof(Socket, m_address) == 4);
    static_assert(offsetof(Socket, m_handle) == 40);
    static_assert(offsetof(Socket, m_lastError) == 44);
    static_assert(offsetof(Socket, m_timeout) == 48);
    static_assert(offsetof(Socket, m_blocking) == 52);
    static_assert(sizeof(Socket) == 56);
};

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
    switch (inet_pton(AF_INET, info.GetAddress(), &m_address)) {
    case 1:
        break;
    case 0:
        m_status = ERR_INVALID;
        break;
    default:
        switch (WSAGetLastError()) {
        case WSAEFAULT:
            m_status = ERR_INVALID;
            break;
        case WSAEAFNOSUPPORT:
            m_status = ERR_UNSUPPORTED;
            break;
        default:
            m_status = ERR_UNHANDLED;
            break;
        }
    }
}

const char* SocketAddr::GetIpAddress() const {
    inet_ntop(AF_INET, &m_address, m_text, sizeof m_text);
    return m_text;
}

} // namespace Z4
