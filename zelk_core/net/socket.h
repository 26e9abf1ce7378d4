/// @file
/// What stream and datagram sockets share: the system's handle, an address, a time-out and the last error.
///
/// Each operation stores its result, which GetLastError() reads. On a closed socket that is ERR_NOT_CONNECTED, and the
/// system is not asked. On an open one it is ERR_OK, or the failure of the system's call in the library's codes. An
/// operation that failed returns false, -1 where it returns a count, and 0 where it reads a size. Functions that look
/// only at the object (IsValid(), GetBlocking(), GetTimeout(), GetHandle(), the address) store nothing.
///
/// One object belongs to one thread at a time: while a thread waits in Receive() or Accept(), no other thread may call
/// anything of that socket, not even Close() to end the wait. A thread that must be stoppable gives its socket a
/// time-out, and between two waits looks at a flag, which the thread that stops it sets before joining it:
///
///     socket.SetTimeout(100); // the longest that stopping takes, in milliseconds
///     while (!stop.load()) {  // std::atomic<bool> stop
///         const long count = socket.Receive(buffer, sizeof buffer);
///         if (count < 0 && socket.GetLastError() == Z4::ERR_TIMEOUT) {
///             continue;
///         }
///         if (count <= 0) {
///             break; // the peer has ended its stream, or the connection is lost
///         }
///         Use(buffer, count);
///     }
///
/// With Accept(), which returns false where Receive() returns -1, it is the same.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/net/berkeleysocket.h>
#include <zelk_core/net/socketaddr.h>

namespace Z4 {

/// The base of TcpSocket and DatagramSocket. One object belongs to one thread at a time; socket.h tells how results are
/// stored, and how to stop a thread that waits. The network must have been started (InitializeOS()) before a socket is
/// made. IPv4 only. Objects on the heap live in the host's memory.
class Z4_API Socket : public HostNew<Socket> {
public:
    /// What Select(long) waits for; combine them by or.
    enum SelectMask : long {
        SELECT_READABLE = 1,
        SELECT_WRITABLE = 2,
        SELECT_FAILED = 4,
    };

    /// Closes the socket.
    virtual ~Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    /// Closes the socket where it is open, then makes a new one, which blocks and has no time-out.
    [[nodiscard]] virtual bool Open() = 0;

    /// The socket is closed afterwards, whatever the system answers, and the stored mode is blocking and the time-out
    /// NO_TIMEOUT again. The address is kept.
    virtual bool Close();

    /// Bind the socket to `port` at the local address that `host` resolves to, or at all local addresses. With port 0
    /// the system chooses one, which GetPortNumber() tells. A name is looked up first, which may take long. A host that
    /// does not resolve is passed on as an address of zeros, which the system refuses.
    Z4_VIRTUAL_PAIR([[nodiscard]] virtual bool Bind(const char* host, unsigned short port),
                    [[nodiscard]] virtual bool Bind(unsigned short port));

    /// Connects the socket to `port` of `host`. A name is looked up first, which may take long; the time-out does not
    /// count here. A host that does not resolve, "0.0.0.0" and port 0 are ERR_INVALID, and the system is not asked.
    ///
    /// A datagram socket then sends to this peer and hears nobody else. A non-blocking stream socket fails with
    /// ERR_NOT_READY while it connects: wait in Select() until it is writable, or until it has failed. GetIpAddress()
    /// and GetPortNumber() do not tell the peer then.
    [[nodiscard]] virtual bool Connect(const char* host, unsigned short port);

    /// Sends to the peer. A blocking socket waits until the system has some room, for its time-out at most; then the
    /// failure is ERR_TIMEOUT. Once there is some, the system takes all of the data, however long it must wait for more
    /// room: send little at a time where the time-out matters. A non-blocking socket takes what there is room for, and
    /// fails with ERR_NOT_READY where there is none.
    /// @param size bytes at `data`; 0x7FFFFFFF at most are sent by one call.
    /// @return bytes taken, which may be fewer than `size`; -1 on failure.
    [[nodiscard]] virtual long Send(const char* data, unsigned long size);

    /// Stores what has arrived, at least one byte of a stream or one whole datagram, and waits for it as Send() does. A
    /// datagram of more than `size` bytes fills the buffer, its rest is lost, and the failure is ERR_OVERFLOW.
    /// @param size room at `data` in bytes.
    /// @return bytes stored; 0 when the peer has ended its stream, and for an empty datagram; -1 on failure.
    [[nodiscard]] virtual long Receive(char* data, unsigned long size);

    /// Wait until the socket is ready for one of the things asked for, for the socket's time-out at most; see
    /// BerkeleySocket::Select(), which also says what the results and failures mean. The first form stores what the
    /// socket is ready for. The second takes a mask of SelectMask and stores nothing.
    Z4_VIRTUAL_PAIR([[nodiscard]] virtual bool Select(bool* readable, bool* writable, bool* failed) const,
                    [[nodiscard]] virtual bool Select(long mask) const);

    /// Whether Bind() may take an address that is still in use.
    virtual bool SetReuseAddr(bool on);
    virtual bool GetReuseAddr() const;

    /// Whether operations that cannot go on wait or fail with ERR_NOT_READY. Where the stored mode is `on` already, the
    /// system is not asked; otherwise `on` is stored even if the system refuses it.
    [[nodiscard]] virtual bool SetBlocking(bool on);
    /// The stored mode.
    virtual bool GetBlocking() const;

    /// Sizes of the system's buffers in bytes; the system may take another size than it was asked for.
    virtual bool SetSendBufSize(unsigned long size);
    virtual unsigned long GetSendBufSize() const;
    virtual bool SetReceiveBufSize(unsigned long size);
    virtual unsigned long GetReceiveBufSize() const;

    /// How many bytes have arrived and wait to be received. -1 on a closed socket, but 0 when the system's call fails.
    virtual long GetPendingDataCount();

    /// Whether the socket is open.
    virtual bool IsValid() const;

    /// Port and dotted address that the socket was bound to, connected to or accepted from, whichever came last, also
    /// after Close(); 0 and "0.0.0.0" before. After a Bind() that the system refused, they tell the address that was
    /// asked for. No name is looked up: GetHostName() is the dotted address, too. The text belongs to this object and
    /// lasts until the next call.
    virtual unsigned short GetPortNumber() const;
    virtual const char* GetIpAddress() const;
    virtual const char* GetHostName() const;

    /// The result of the last operation.
    Error GetLastError() const { return m_lastError; }

    /// How many milliseconds a blocking socket waits in Send(), Receive() and Accept(), and every socket in Select():
    /// BerkeleySocket::NO_TIMEOUT, which is without limit, at first and after Close(); 0 never waits. Connecting and
    /// closing do not heed it.
    void SetTimeout(unsigned long ms) { m_timeout = ms; }
    unsigned long GetTimeout() const { return m_timeout; }

    /// Ends one direction of the connection, or both, as BerkeleySocket::Shutdown() does. The socket stays open.
    bool Shutdown(BerkeleySocket::ShutdownHow how);

    /// The system's handle, -1 for none. The socket keeps it.
    long GetHandle() const { return m_handle; }

    /// Closes the socket, then takes over `handle`: a blocking socket of this kind that no other object owns, or -1 to
    /// stay closed. It must not be the socket's own handle, which would be closed first. The system is not asked for
    /// the handle's address; the object keeps the address it had. GetLastError() is ERR_OK afterwards, and the time-out
    /// is NO_TIMEOUT.
    void Attach(long handle);
    /// Gives the handle away, and whoever takes it closes it. This socket is closed then, and stores no result.
    /// @return the handle; -1 when the socket was closed already.
    [[nodiscard]] long Detach();

protected:
    Socket() = default;
    /// Closes the socket, then takes over all that `other` has and leaves that closed.
    void MoveFrom(Socket& other);
    /// Open(), by one of BerkeleySocket's functions.
    bool OpenWith(long (*open)(unsigned long& error));
    /// Makes a blocking socket with a time-out wait for `mask`, SELECT_READABLE or SELECT_WRITABLE.
    /// @return whether to go on.
    bool WaitFor(SelectMask mask, unsigned long& error) const;
    /// The frame of every operation: `call(error)` on an open socket, its failure stored.
    template <class Call>
    bool Try(Call call) const {
        if (!IsValid()) {
            m_lastError = ERR_NOT_CONNECTED;
            return false;
        }
        unsigned long error = ERR_OK;
        const bool done = call(error);
        m_lastError = static_cast<Error>(error);
        return done;
    }

    /// An option's value as `get` stores it, 0 on failure.
    template <class T>
    T Read(bool (*get)(T& value, long handle, unsigned long& error)) const {
        T value{};
        Try([&](unsigned long& error) { return get(value, m_handle, error); });
        return value;
    }

    SocketAddr m_address;
    long m_handle = -1;
    mutable Error m_lastError = ERR_OK;
    unsigned long m_timeout = BerkeleySocket::NO_TIMEOUT;
    bool m_blocking = true;
    unsigned char m_padding[3] = {};

private:
    friend struct Private::Layout<Socket>;
    bool BindTo(const SocketAddr& address);
    void Reset();
};

} // namespace Z4
