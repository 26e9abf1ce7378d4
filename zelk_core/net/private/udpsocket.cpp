#include <zelk_core/net/udpsocket.h>

namespace Z4 {

static_assert(sizeof(DatagramSocket) == sizeof(Socket));

DatagramSocket::~DatagramSocket() = default;

DatagramSocket::DatagramSocket() {
    OpenWith(BerkeleySocket::OpenDatagram);
}

DatagramSocket::DatagramSocket(DatagramSocket&& other) noexcept {
    MoveFrom(other);
}

DatagramSocket& DatagramSocket::operator=(DatagramSocket&& other) noexcept {
    MoveFrom(other);
    return *this;
}

bool DatagramSocket::Open() {
    return OpenWith(BerkeleySocket::OpenDatagram);
}

long DatagramSocket::ReceiveFrom(SocketAddr& peer, char* data, unsigned long size) {
    long received = -1;
    Try([&](unsigned long& error) {
        return WaitFor(SELECT_READABLE, error) &&
               (received = BerkeleySocket::ReceiveFrom(peer, data, size, m_handle, error)) >= 0;
    });
    return received;
}

bool DatagramSocket::SetBroadCast(bool on) {
    return Try([&](unsigned long& error) { return BerkeleySocket::SetBroadCast(on, m_handle, error); });
}

bool DatagramSocket::GetBroadCast() {
    return Read<bool>(BerkeleySocket::GetBroadCast);
}

long DatagramSocket::SendTo(const SocketAddr& peer, const char* data, unsigned long size) {
    long sent = -1;
    Try([&](unsigned long& error) {
        return WaitFor(SELECT_WRITABLE, error) &&
               (sent = BerkeleySocket::SendTo(peer, data, size, m_handle, error)) >= 0;
    });
    return sent;
}

} // namespace Z4
