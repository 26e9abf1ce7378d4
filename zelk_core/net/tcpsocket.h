/// @file
/// A stream socket: a connection, or a listener that accepts connections.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/net/socket.h>
#include <zelk_core/net/socketgroup.h>

namespace Z4 {

class Z4_API TcpSocket : public Socket, public BerkeleySocketGroupMember<TcpSocket> {
public:
    ~TcpSocket() override;

    /// Opens; GetLastError() tells whether it did.
    TcpSocket();
    /// Opens and connects to `host`; on failure the socket stays open and unconnected.
    TcpSocket(const char* host, unsigned short port);
    /// Opens and binds to `port` on all local addresses; on failure the socket stays open and unbound.
    explicit TcpSocket(unsigned short port);

    TcpSocket(TcpSocket&& other);
    TcpSocket& operator=(TcpSocket&& other);

    [[nodiscard]] bool Open() override;

    /// Closes `other`, then makes it the next connection that waits at this listener, with the peer's address; it
    /// blocks or not as the listener does. A blocking listener with a time-out fails with ERR_TIMEOUT when it has
    /// passed, a non-blocking one with ERR_NOT_READY when nobody waits. The result is stored in the listener. `other`
    /// keeps the last error that its Close() gave, and on failure is as Close() leaves it: closed, blocking, without
    /// time-out. A closed listener leaves `other` as it was. `other` must not be the listener, which would be closed.
    [[nodiscard]] virtual bool Accept(TcpSocket& other) const;
    /// @param backlog how many connections may wait to be accepted.
    [[nodiscard]] virtual bool Listen(unsigned long backlog);

    /// Nagle's algorithm (RFC 896) collects small writes; it is on at first.
    virtual bool SetNagleOnOff(bool on);
    virtual bool GetNagleOnOff() const;
    /// Whether closing waits for data that is still to be sent, and for how long (0 to 65535 seconds, else
    /// ERR_INVALID). On with 0 seconds, closing drops the data and resets the connection.
    virtual bool SetLingerOnOff(bool on);
    virtual bool GetLingerOnOff() const;
    virtual bool SetLingerSeconds(unsigned long seconds);
    virtual unsigned long GetLingerSeconds() const;

protected:
    /// Leaves the socket closed.
    struct Closed {};
    explicit TcpSocket(Closed) {}
};

/// A stream socket made of nothing, which opens it, or of a connected handle, which it then owns.
template <class T>
class StreamSocket : public T {
public:
    StreamSocket() = default;
    explicit StreamSocket(long handle) : T(typename T::Closed()) { this->Attach(handle); }
    StreamSocket(StreamSocket&&) = default;
    StreamSocket& operator=(StreamSocket&&) = default;
};

} // namespace Z4
