/// @file
/// A stream socket: a connection, or a listener that accepts connections.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/net/socket.h>
#include <zelk_core/net/socketgroup.h>

namespace Z4 {

/// See Socket for what all sockets do, and for the thread rule. A server binds, listens and accepts:
///
///     Z4::TcpSocket listener(4321);
///     Z4::TcpSocket connection;
///     if (listener.Listen(8) && listener.Accept(connection)) {
///         Serve(connection);
///     }
class Z4_API TcpSocket : public Socket, public BerkeleySocketGroupMember<TcpSocket> {
public:
    ~TcpSocket() override;

    /// Opens a socket. GetLastError() and IsValid() tell whether it did.
    TcpSocket();
    /// Opens a socket and connects it as Connect() does. When connecting fails, GetLastError() tells why, and the
    /// socket stays open and unconnected.
    TcpSocket(const char* host, unsigned short port);
    /// Opens a socket and binds it to `port` on all local addresses. When binding fails, GetLastError() tells why, and
    /// the socket stays open and unbound.
    explicit TcpSocket(unsigned short port);

    /// Take over the other's connection, address, settings and last error; it is closed then. Assignment first closes
    /// what this socket had; assigning a socket to itself changes nothing.
    TcpSocket(TcpSocket&& other) noexcept;
    TcpSocket& operator=(TcpSocket&& other) noexcept;

    [[nodiscard]] bool Open() override;

    /// Takes the next connection of this listener, and waits for one where the listener blocks. A blocking listener
    /// with a time-out fails with ERR_TIMEOUT when that has passed, a non-blocking one with ERR_NOT_READY when nobody
    /// waits to be accepted. The result is stored in the listener.
    ///
    /// `other` is closed first. On success it is the connection, has the peer's address, and blocks or not as the
    /// listener does; on failure it stays closed. Its last error is that of closing it. A listener that is closed
    /// itself fails with ERR_NOT_CONNECTED and leaves `other` as it was.
    /// @param other a socket other than the listener.
    [[nodiscard]] virtual bool Accept(TcpSocket& other) const;

    /// Makes the bound socket a listener.
    /// @param backlog how many connections may wait to be accepted; the system limits it.
    [[nodiscard]] virtual bool Listen(unsigned long backlog);

    /// Whether small writes are collected by Nagle's algorithm (RFC 896), as they are at first.
    virtual bool SetNagleOnOff(bool on);
    virtual bool GetNagleOnOff() const;
    /// Whether closing waits for data that is still to be sent, and for how many seconds at most: 0 to 65535, more is
    /// ERR_INVALID. On with 0 seconds, closing drops the data and resets the connection.
    virtual bool SetLingerOnOff(bool on);
    virtual bool GetLingerOnOff() const;
    virtual bool SetLingerSeconds(unsigned long seconds);
    virtual unsigned long GetLingerSeconds() const;

protected:
    /// Leaves the socket closed.
    struct Closed {};
    explicit TcpSocket(Closed) {}
};

/// A stream socket of class `T`, TcpSocket or one derived from it, that can also be made of a connected handle, which
/// it then owns. Made of -1 it is closed; the default constructor opens a new socket. The thread rule is that of
/// Socket.
template <class T>
class StreamSocket : public T {
public:
    StreamSocket() = default;
    explicit StreamSocket(long handle) : T(typename T::Closed()) { this->Attach(handle); }
    StreamSocket(StreamSocket&&) noexcept = default;
    StreamSocket& operator=(StreamSocket&&) noexcept = default;
};

} // namespace Z4
