#include <zelk_core/net/tcpsocket.h>

namespace Z4 {

static_assert(sizeof(TcpSocket) == sizeof(Socket) && sizeof(StreamSocket<TcpSocket>) == sizeof(Socket));

TcpSocket::~TcpSocket() = default;

TcpSocket::TcpSocket() {
    OpenWith(BerkeleySocket::OpenStream);
}

TcpSocket::TcpSocket(const char* host, unsigned short port) : TcpSocket() {
    if (IsValid()) {
        Socket::Connect(host, port);
    }
}

TcpSocket::TcpSocket(unsigned short port) : TcpSocket() {
    if (IsValid()) {
        Socket::Bind(port);
    }
}

TcpSocket::TcpSocket(TcpSocket&& other) {
    MoveFrom(other);
}

TcpSocket& TcpSocket::operator=(TcpSocket&& other) {
    MoveFrom(other);
    return *this;
}

bool TcpSocket::Open() {
    return OpenWith(BerkeleySocket::OpenStream);
}

bool TcpSocket::Accept(TcpSocket& other) const {
    return Try([&](unsigned long& error) {
        other.Close();
        if (!WaitFor(SELECT_READABLE, error)) {
            return false;
        }
        other.m_handle = BerkeleySocket::Accept(other.m_address, m_handle, error);
        // The connection has the listener's mode from the system.
        other.m_blocking = m_blocking;
        return other.m_handle != -1;
    });
}

bool TcpSocket::Listen(unsigned long backlog) {
    return Try([&](unsigned long& error) { return BerkeleySocket::Listen(backlog, m_handle, error); });
}

bool TcpSocket::SetNagleOnOff(bool on) {
    return Try([&](unsigned long& error) { return BerkeleySocket::SetNagleOnOff(on, m_handle, error); });
}

bool TcpSocket::GetNagleOnOff() const {
    return Read<bool>(BerkeleySocket::GetNagleOnOff);
}

bool TcpSocket::SetLingerOnOff(bool on) {
    return Try([&](unsigned long& error) { return BerkeleySocket::SetLingerOnOff(on, m_handle, error); });
}

bool TcpSocket::GetLingerOnOff() const {
    return Read<bool>(BerkeleySocket::GetLingerOnOff);
}

bool TcpSocket::SetLingerSeconds(unsigned long seconds) {
    return Try([&](unsigned long& error) { return BerkeleySocket::SetLingerSeconds(seconds, m_handle, error); });
}

unsigned long TcpSocket::GetLingerSeconds() const {
    return Read<unsigned long>(BerkeleySocket::GetLingerSeconds);
}

} // namespace Z4
