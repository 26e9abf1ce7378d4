/// @file
/// What stream and datagram sockets share: a handle, an address, the last error.
///
/// Every operation stores its result, which GetLastError() reads: ERR_OK, ERR_NOT_CONNECTED on a closed socket, for
/// which the system is not asked, or the translated failure of the system's call. On failure it returns false, and -1
/// or 0 where it returns a count.
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
#include <zelk_core/net/berkeleysocket.h>
#include <zelk_core/net/socketaddr.h>

namespace Z4 {

/// Start the network (InitializeOS()) before making one. IPv4 only.
class Z4_API Socket : public HostNew<Socket> {
public:
    /// What Select(long) waits for, or-ed.
    enum SelectMask : long {
        SELECT_READABLE = 1,
        SELECT_WRITABLE = 2,
        SELECT_FAILED = 4,
    };

    /// Closes.
    virtual ~Socket();
    Socket(const Socket&) = delete;
    Socket& operator=(const Socket&) = delete;

    /// Closes, then makes a new socket, blocking and without time-out.
    [[nodiscard]] virtual bool Open() = 0;

    /// Whatever the system answers, the socket is closed then, and blocking and time-out are at their first values. The
    /// address is kept.
    virtual bool Close();

    /// Binds to the local address that `host` resolves to, or to all of them; port 0 lets the system choose, and
    /// GetPortNumber() tells. A host that does not resolve is bound as an all-zero address, which the system refuses.
    Z4_VIRTUAL_PAIR([[nodiscard]] virtual bool Bind(const char* host, unsigned short port),
                    [[nodiscard]] virtual bool Bind(unsigned short port));

    /// Connects; a datagram socket then sends to this peer and hears nobody else. ERR_INVALID, without a call, for a
    /// host that does not resolve, for "0.0.0.0" and for port 0. A non-blocking stream socket answers ERR_NOT_READY
    /// and becomes writable when it is connected; the peer's address is then not stored.
    [[nodiscard]] virtual bool Connect(const char* host, unsigned short port);

    /// A blocking socket with a time-out waits so long for the peer at most, then fails with ERR_TIMEOUT.
    /// @return bytes taken, which may be fewer than `size`; -1 on failure.
    [[nodiscard]] virtual long Send(const char* data, unsigned long size);

    /// Waits as Send() does.
    /// @return bytes stored, 0 when the peer has ended its stream; -1 on failure. A datagram that does not fit fills
    /// the buffer and is lost with ERR_OVERFLOW.
    [[nodiscard]] virtual long Receive(char* data, unsigned long size);

    /// Waits for what is asked for by pointers that are not null, for the socket's time-out at most; see
    /// BerkeleySocket::Select(). The second form takes a mask of SelectMask; what became ready is for the next call to
    /// find out.
    Z4_VIRTUAL_PAIR([[nodiscard]] virtual bool Select(bool* readable, bool* writable, bool* failed) const,
                    [[nodiscard]] virtual bool Select(long mask) const);

    /// Lets Bind() take an address that is still in use.
    virtual bool SetReuseAddr(bool on);
    virtual bool GetReuseAddr() const;

    /// Non-blocking operations that would wait fail with ERR_NOT_READY. No call when the mode is the stored one.
    [[nodiscard]] virtual bool SetBlocking(bool on);
    /// The stored mode.
    virtual bool GetBlocking() const;

    /// Sizes of the system's buffers in bytes; the system may take other values than were asked for.
    virtual bool SetSendBufSize(unsigned long size);
    virtual unsigned long GetSendBufSize() const;
    virtual bool SetReceiveBufSize(unsigned long size);
    virtual unsigned long GetReceiveBufSize() const;

    /// Bytes that Receive() would find now; -1 on a closed socket, but 0 when the system's call fails.
    virtual long GetPendingDataCount();

    /// True while there is a handle.
    virtual bool IsValid() const;

    /// Port, and dotted address, that were bound, connected to or accepted from, also after Close(). No name is looked
    /// up: GetHostName() is the dotted address, too. The text lives in this object, until the next call.
    virtual unsigned short GetPortNumber() const;
    virtual const char* GetIpAddress() const;
    virtual const char* GetHostName() const;

    /// The result of the last operation.
    Error GetLastError() const { return m_lastError; }

    /// How long a blocking socket waits in Send(), Receive(), Accept() and Select(): milliseconds,
    /// BerkeleySocket::NO_TIMEOUT at first and after Close(). 0 never waits. Connect() and closing do not heed it.
    void SetTimeout(unsigned long ms) { m_timeout = ms; }
    unsigned long GetTimeout() const { return m_timeout; }

    /// Ends sending, receiving or both, and keeps the socket.
    bool Shutdown(BerkeleySocket::ShutdownHow how);

    /// The system's handle, -1 for none. The socket keeps it.
    long GetHandle() const { return m_handle; }

    /// Closes, then takes over `handle`, a blocking socket of this kind that no other object owns, or -1. The address
    /// is not asked for. The socket's own handle must not be given: it would be closed first.
    void Attach(long handle);
    /// Gives the handle away; the socket is closed then. Whoever takes the handle closes it.
    [[nodiscard]] long Detach();

protected:
    Socket() = default;
    /// Closes, then takes over all that `other` has and leaves it closed.
    void MoveFrom(Socket& other);
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
    friend struct SocketLayout;
    bool BindTo(const SocketAddr& address);
    void Reset();
};

} // namespace Z4
