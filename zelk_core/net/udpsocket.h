/// @file
/// A datagram socket.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/net/socket.h>
#include <zelk_core/net/socketgroup.h>

namespace Z4 {

/// See Socket for what all sockets do, and for the thread rule. Send() and Receive() serve a socket that has a peer
/// from Connect(); others name the peer with each datagram.
class Z4_API DatagramSocket : public Socket, public BerkeleySocketGroupMember<DatagramSocket> {
public:
    ~DatagramSocket() override;

    /// Opens a socket. GetLastError() and IsValid() tell whether it did.
    DatagramSocket();

    /// Take over the other's handle, address, settings and last error; it is closed then. Assignment first closes what
    /// this socket had; assigning a socket to itself changes nothing.
    DatagramSocket(DatagramSocket&& other) noexcept;
    DatagramSocket& operator=(DatagramSocket&& other) noexcept;

    [[nodiscard]] bool Open() override;

    /// Receives one datagram as Receive() does, but from any sender, whose address is stored in `peer`; on failure that
    /// stays as it was. The socket must have a port by then: bind it, connect it, or send first.
    [[nodiscard]] virtual long ReceiveFrom(SocketAddr& peer, char* data, unsigned long size);

    /// Whether the socket may send to broadcast addresses; a new one may not.
    virtual bool SetBroadCast(bool on);
    virtual bool GetBroadCast();

    /// Sends one datagram to `peer`, with the waiting and the results of Send(). Where the status of `peer` is not
    /// ERR_OK, or where it holds no address, the failure is ERR_INVALID, and the system is not asked.
    [[nodiscard]] long SendTo(const SocketAddr& peer, const char* data, unsigned long size);
};

using UdpSocket = DatagramSocket;

} // namespace Z4
