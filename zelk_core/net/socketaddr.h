/// @file
/// An IPv4 address with a port, as the system's socket calls take it.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// A value. Even two reads of one object must not run at once on two threads: GetIpAddress() writes into a buffer of
/// the object.
class SocketAddr {
public:
    /// No address: all zero, with the status ERR_OK.
    SocketAddr() = default;

    /// @param address in the host's byte order, 0x7F000001 for 127.0.0.1. To bind to, 0 stands for every local address.
    /// @param port in the host's byte order. To bind to, 0 lets the system choose.
    Z4_API SocketAddr(unsigned long address, unsigned short port);

    /// Takes the address of `host`, a dotted address or a name. A name is looked up, which may take long and needs the
    /// network (see HostInfo). GetStatus() tells how it went; on failure address and port are 0 and there is no family.
    Z4_API SocketAddr(const char* host, unsigned short port);

    /// ERR_OK, or why the host of the constructor could not be resolved (see HostInfo::GetStatus()).
    Error GetStatus() const { return m_status; }

    /// False for an object without an address: a default one, or that of a host that was not found.
    bool IsIPv4() const;

    /// Both in the host's byte order.
    unsigned long GetAddress() const { return Swap(m_address); }
    unsigned short GetPort() const { return Swap(m_port); }

    /// The dotted address, "0.0.0.0" when there is none. The text belongs to this object and lasts until the next call.
    Z4_API const char* GetIpAddress() const;

private:
    friend class BerkeleySocket;
    friend struct Private::Layout<SocketAddr>;

    // The network's byte order is big-endian.
    static constexpr std::uint16_t Swap(std::uint16_t value) {
        return static_cast<std::uint16_t>(value << 8 | value >> 8);
    }
    static constexpr std::uint32_t Swap(std::uint32_t value) {
        return value << 24 | (value & 0xFF00u) << 8 | (value >> 8 & 0xFF00u) | value >> 24;
    }

    // From here to m_zero the system's own record.
    static constexpr std::uint16_t FAMILY_IPV4 = 2;
    std::uint16_t m_family = 0;
    std::uint16_t m_port = 0;
    std::uint32_t m_address = 0;
    unsigned char m_zero[8] = {};

    mutable char m_text[16] = {};
    Error m_status = ERR_OK;
};

inline bool SocketAddr::IsIPv4() const {
    return m_family == FAMILY_IPV4;
}

} // namespace Z4
