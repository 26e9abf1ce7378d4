#include <zelk_core/net/private/winsock.h>

#include <cstddef>
#include <cstring>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/private/copytext.h>
#include <zelk_core/net/hostinfo.h>

namespace Z4 {

template <>
struct Private::Layout<HostInfo> {
    static_assert(offsetof(HostInfo, m_status) == 0);
    static_assert(offsetof(HostInfo, m_name) == 4);
    static_assert(offsetof(HostInfo, m_address) == 363);
    static_assert(sizeof(HostInfo) == 412);
};

namespace {

constexpr char UNKNOWN_ADDRESS[] = "0.0.0.0";

bool IsDigit(char c) {
    return c >= '0' && c <= '9';
}

bool IsHexDigit(char c) {
    return IsDigit(c) || (c >= 'a' && c <= 'f') || (c >= 'A' && c <= 'F');
}

/// Reads a number of 0 to 255 without leading zeros; `text` is left behind it.
bool SkipByte(const char*& text) {
    const char* const begin = text;
    int value = 0;
    while (IsDigit(*text) && text - begin < 3) {
        value = value * 10 + (*text++ - '0');
    }
    const std::ptrdiff_t digits = text - begin;
    return digits > 0 && value <= 255 && (*begin != '0' || digits == 1);
}

} // namespace

bool HostInfo::IsIPAddress(const char* text) {
    if (text == nullptr) {
        return false;
    }
    for (int i = 0; i < 4; ++i) {
        if (!SkipByte(text) || *text != (i < 3 ? '.' : '\0')) {
            return false;
        }
        ++text;
    }
    return true;
}

bool HostInfo::IsMACAddress(const char* text) {
    constexpr std::size_t LENGTH = 17;
    if (text == nullptr || strnlen(text, LENGTH + 1) != LENGTH || (text[2] != ':' && text[2] != '-')) {
        return false;
    }
    for (std::size_t i = 0; i < LENGTH; ++i) {
        if (i % 3 == 2 ? text[i] != text[2] : !IsHexDigit(text[i])) {
            return false;
        }
    }
    return true;
}

Error HostInfo::AnalyseError(int number) {
    switch (number) {
    case 0:
        return ERR_OK;
    case WSA_NOT_ENOUGH_MEMORY:
        return ERR_OUT_OF_MEMORY;
    case WSAEFAULT:
    case WSAEINVAL:
    case WSAESOCKTNOSUPPORT:
    case WSANO_DATA:
        return ERR_INVALID;
    case WSAEINPROGRESS:
        return ERR_IN_PROGRESS;
    case WSAEAFNOSUPPORT:
        return ERR_UNSUPPORTED;
    case WSAENETDOWN:
        return ERR_NETWORK_DOWN;
    case WSANOTINITIALISED:
        return ERR_DEVICE_NOT_READY;
    case WSATYPE_NOT_FOUND:
    case WSAHOST_NOT_FOUND:
        return ERR_NOT_FOUND;
    case WSATRY_AGAIN:
        return ERR_TIMEOUT;
    default:
        return ERR_UNHANDLED;
    }
}

HostInfo::HostInfo() : m_status(ERR_OK), m_name{}, m_address{} {
    Private::CopyTruncated(m_address, UNKNOWN_ADDRESS);
}

HostInfo::HostInfo(const char* host) : HostInfo() {
    if (host == nullptr) {
        m_status = ERR_INVALID;
    } else if (IsIPAddress(host)) {
        Private::CopyTruncated(m_address, host);
    } else {
        Resolve(host);
    }
}

void HostInfo::Resolve(const char* host) {
    addrinfo hints{};
    hints.ai_family = AF_INET;
    // Otherwise each address comes once for every kind of socket.
    hints.ai_socktype = SOCK_STREAM;
    addrinfo* results = nullptr;
    int number = getaddrinfo(host, nullptr, &hints, &results);
    if (number == 0) {
        number = getnameinfo(results->ai_addr, static_cast<socklen_t>(results->ai_addrlen), m_address, sizeof m_address,
                             nullptr, 0, NI_NUMERICHOST);
        freeaddrinfo(results);
    }
    Z4_ASSERT(number != WSANOTINITIALISED, "The network is started (InitializeOS()) until the look-up returns.");
    m_status = AnalyseError(number);
    if (m_status == ERR_OK) {
        Private::CopyTruncated(m_name, host);
    } else {
        Private::CopyTruncated(m_address, UNKNOWN_ADDRESS);
    }
}

const char* HostInfo::GetName() {
    if (m_status != ERR_OK || m_name[0] != '\0') {
        return m_name;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    if (inet_pton(AF_INET, m_address, &address.sin_addr) != 1 ||
        getnameinfo(reinterpret_cast<const sockaddr*>(&address), sizeof address, m_name, sizeof m_name, nullptr, 0,
                    0) != 0) {
        m_status = ERR_INVALID;
        m_name[0] = '\0';
    }
    return m_name;
}

} // namespace Z4
