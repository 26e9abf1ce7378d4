#include <zelk_core/base/assert.h>
#include <zelk_core/net/tcpsocket.h>

namespace Z4 {

static_assert(sizeof(TcpSocket) == sizeof(Socket));
static_assert(sizeof(StreamSocket<TcpSocket>) == sizeof(Socket));

TcpSocket::~TcpSocket() = default;

TcpSocket::TcpSocket() {
    OpenWith(BerkeleySocket::OpenStream);
}

TcpSocket::TcpSocket(const char* host, unsigned short port) : TcpSocket() {
    if (IsValid()) {
        static_cast<void>(Socket::Connect(host, port)); // the last error tells
    }
}

TcpSocket::TcpSocket(unsigned short port) : TcpSocket() {
    if (IsValid()) {
        static_cast<void>(Socket::Bind(port)); // the last error tells
    }
}

TcpSocket::TcpSocket(TcpSocket&& other) noexcept {
    MoveFrom(other);
}

TcpSocket& TcpSocket::operator=(TcpSocket&& other) noexcept {
    MoveFrom(other);
    return *this;
}

bool TcpSocket::Open() {
    return OpenWith(BerkeleySocket::OpenStream);
}

bool TcpSocket::Accept(TcpSocket& other) const {
    Z4_ASSERT(&other != this, "The connection is accepted into a socket other than the listener.");
    return Try([&](unsigned long& error) {
        other.Close();
        if (!WaitFor(SELECT_READABLE, error)) {
            return false;
        }
        const long handle = BerkeleySocket::Accept(other.m_address, m_handle, error);
        if (handle == -1) {
            return false;
        }
        other.m_handle = handle;
        // The connection has the listener's mode from the system.
        other.m_blocking = m_blocking;
        return true;
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
