#include <cstddef>
#include <zelk_core/base/assert.h>
#include <zelk_core/net/socket.h>

namespace Z4 {

template <>
struct Private::Layout<Socket> {
    static_assert(offsetof(Socket, m_address) == 4);
    static_assert(offsetof(Socket, m_handle) == 40);
    static_assert(offsetof(Socket, m_lastError) == 44);
    static_assert(offsetof(Socket, m_timeout) == 48);
    static_assert(offsetof(Socket, m_blocking) == 52);
    static_assert(sizeof(Socket) == 56);
};

Socket::~Socket() {
    Attach(-1);
}

void Socket::Reset() {
    m_handle = -1;
    m_blocking = true;
    m_timeout = BerkeleySocket::NO_TIMEOUT;
}

bool Socket::OpenWith(long (*open)(unsigned long& error)) {
    Close();
    unsigned long error = ERR_OK;
    m_handle = open(error);
    m_lastError = static_cast<Error>(error);
    return m_handle != -1;
}

bool Socket::Close() {
    const bool closed = Try([this](unsigned long& error) { return BerkeleySocket::Close(m_handle, error); });
    Reset();
    return closed;
}

void Socket::Attach(long handle) {
    Z4_ASSERT(handle != m_handle || handle == -1, "The handle is not the one that is closed first.");
    unsigned long error = ERR_OK;
    if (m_handle != -1) {
        BerkeleySocket::Close(m_handle, error);
    }
    Reset();
    m_lastError = ERR_OK;
    m_handle = handle;
}

long Socket::Detach() {
    const long handle = m_handle;
    Reset();
    return handle;
}

void Socket::MoveFrom(Socket& other) {
    // All is read first, so that a socket may take over its own.
    const Error lastError = other.m_lastError;
    const bool blocking = other.m_blocking;
    const unsigned long timeout = other.m_timeout;
    m_address = other.m_address;
    Attach(other.Detach());
    m_lastError = lastError;
    m_blocking = blocking;
    m_timeout = timeout;
}

bool Socket::BindTo(const SocketAddr& address) {
    return Try([&](unsigned long& error) {
        m_address = address;
        return BerkeleySocket::Bind(m_address, m_handle, error);
    });
}

bool Socket::Bind(const char* host, unsigned short port) {
    // A closed socket must not wait for name servers.
    return BindTo(IsValid() ? SocketAddr(host, port) : SocketAddr());
}

bool Socket::Bind(unsigned short port) {
    return BindTo(SocketAddr(0UL, port));
}

bool Socket::Connect(const char* host, unsigned short port) {
    return Try([&](unsigned long& error) {
        return BerkeleySocket::Connect(SocketAddr(host, port), m_address, m_handle, error);
    });
}

bool Socket::WaitFor(SelectMask mask, unsigned long& error) const {
    if (!m_blocking || m_timeout == BerkeleySocket::NO_TIMEOUT) {
        return true;
    }
    bool ready = false;
    return BerkeleySocket::Select(mask == SELECT_READABLE ? &ready : nullptr,
                                  mask == SELECT_WRITABLE ? &ready : nullptr, nullptr, m_handle, m_timeout, error);
}

long Socket::Send(const char* data, unsigned long size) {
    long sent = -1;
    Try([&](unsigned long& error) {
        return WaitFor(SELECT_WRITABLE, error) && (sent = BerkeleySocket::Send(data, size, m_handle, error)) >= 0;
    });
    return sent;
}

long Socket::Receive(char* data, unsigned long size) {
    long received = -1;
    Try([&](unsigned long& error) {
        return WaitFor(SELECT_READABLE, error) &&
               (received = BerkeleySocket::Receive(data, size, m_handle, error)) >= 0;
    });
    return received;
}

bool Socket::Select(bool* readable, bool* writable, bool* failed) const {
    return Try([&](unsigned long& error) {
        return BerkeleySocket::Select(readable, writable, failed, m_handle, m_timeout, error);
    });
}

bool Socket::Select(long mask) const {
    bool ready[3];
    return Select((mask & SELECT_READABLE) != 0 ? &ready[0] : nullptr,
                  (mask & SELECT_WRITABLE) != 0 ? &ready[1] : nullptr,
                  (mask & SELECT_FAILED) != 0 ? &ready[2] : nullptr);
}

bool Socket::SetBlocking(bool on) {
    return Try([&](unsigned long& error) {
        if (m_blocking == on) {
            return true;
        }
        m_blocking = on;
        return BerkeleySocket::SetBlocking(on, m_handle, error);
    });
}

bool Socket::GetBlocking() const {
    return m_blocking;
}

bool Socket::SetReuseAddr(bool on) {
    return Try([&](unsigned long& error) { return BerkeleySocket::SetReuseAddr(on, m_handle, error); });
}

bool Socket::GetReuseAddr() const {
    return Read<bool>(BerkeleySocket::GetReuseAddr);
}

bool Socket::SetSendBufSize(unsigned long size) {
    return Try([&](unsigned long& error) { return BerkeleySocket::SetSendBufSize(size, m_handle, error); });
}

unsigned long Socket::GetSendBufSize() const {
    return Read<unsigned long>(BerkeleySocket::GetSendBufSize);
}

bool Socket::SetReceiveBufSize(unsigned long size) {
    return Try([&](unsigned long& error) { return BerkeleySocket::SetReceiveBufSize(size, m_handle, error); });
}

unsigned long Socket::GetReceiveBufSize() const {
    return Read<unsigned long>(BerkeleySocket::GetReceiveBufSize);
}

long Socket::GetPendingDataCount() {
    const unsigned long count = Read<unsigned long>(BerkeleySocket::GetPendingDataCount);
    return IsValid() ? static_cast<long>(count) : -1;
}

bool Socket::IsValid() const {
    return m_handle != -1;
}

unsigned short Socket::GetPortNumber() const {
    return m_address.GetPort();
}

const char* Socket::GetIpAddress() const {
    return m_address.GetIpAddress();
}

const char* Socket::GetHostName() const {
    return GetIpAddress();
}

bool Socket::Shutdown(BerkeleySocket::ShutdownHow how) {
    return Try([&](unsigned long& error) { return BerkeleySocket::Shutdown(how, m_handle, error); });
}

} // namespace Z4
