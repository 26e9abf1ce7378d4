/// @file
/// A datagram socket.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/net/socket.h>
#include <zelk_core/net/socketgroup.h>

namespace Z4 {

/// Send() and Receive() serve a connected one; others name the peer with each datagram.
class Z4_API DatagramSocket : public Socket, public BerkeleySocketGroupMember<DatagramSocket> {
public:
    ~DatagramSocket() override;

    /// Opens; GetLastError() tells whether it did.
    DatagramSocket();
    DatagramSocket(DatagramSocket&& other);
    DatagramSocket& operator=(DatagramSocket&& other);

    [[nodiscard]] bool Open() override;

    /// As Receive(), from anybody; `peer` is who sent it.
    [[nodiscard]] virtual long ReceiveFrom(SocketAddr& peer, char* data, unsigned long size);

    /// Allows sending to broadcast addresses.
    virtual bool SetBroadCast(bool on);
    virtual bool GetBroadCast();

    /// As Send(), to `peer`. ERR_INVALID, without a call, for an address that is not usable.
    [[nodiscard]] long SendTo(const SocketAddr& peer, const char* data, unsigned long size);
};

using UdpSocket = DatagramSocket;

} // namespace Z4
