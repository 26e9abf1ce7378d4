/// @file
/// The system's socket calls for IPv4, one a function, for code that keeps plain handles. Socket and the classes that
/// derive from it are built on these.
///
/// The network must have been started (InitializeOS()); until then the system refuses every call with
/// ERR_DEVICE_NOT_READY. A `handle` is the system's. -1 stands for no socket; the system answers it with ERR_INVALID.
///
/// A function that fails returns false, or -1 where it returns a handle or a count, and stores the reason in `error`,
/// as the number of an Error. One that succeeds leaves `error` as it was; only Select() sets it to ERR_OK. On a
/// non-blocking socket, ERR_NOT_READY means that the operation would have had to wait.
///
/// Any thread may call any function. Two threads may use one handle at once, one to send and one to receive; none may
/// close it while another uses it, as the system soon gives its number to another socket.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/net/socketaddr.h>

namespace Z4 {

/// The system's socket calls, all static. Any thread may call any function; berkeleysocket.h tells what two threads may
/// do with one handle, and how failures are reported.
class BerkeleySocket {
public:
    /// Which directions of a connection end.
    enum ShutdownHow : int {
        SHUTDOWN_RECEIVE = 0,
        SHUTDOWN_SEND = 1, ///< the peer reads what was sent before, then the end of the stream
        SHUTDOWN_BOTH = 2,
    };

    /// As the time-out of Select(): wait without limit.
    static constexpr unsigned long NO_TIMEOUT = 0xFFFFFFFF;

    /// Make a blocking socket, for streams (TCP) or for datagrams (UDP).
    /// @return its handle, -1 on failure.
    [[nodiscard]] Z4_API static long OpenStream(unsigned long& error);
    [[nodiscard]] Z4_API static long OpenDatagram(unsigned long& error);

    /// Closes the socket. `handle` is -1 afterwards, whatever the system answers.
    Z4_API static bool Close(long& handle, unsigned long& error);

    /// Binds the socket to `address` and stores there what it is bound to: where the port was 0, the system has chosen
    /// a free one. `address` is passed on whatever its status says; the system refuses one without a family.
    [[nodiscard]] Z4_API static bool Bind(SocketAddr& address, long handle, unsigned long& error);

    /// Connects the socket to `peer`, which is copied to `connected` on success. An address whose status is not ERR_OK,
    /// or whose family, port or address is 0, is ERR_INVALID, and the system is not asked.
    [[nodiscard]] Z4_API static bool Connect(const SocketAddr& peer, SocketAddr& connected, long handle,
                                             unsigned long& error);

    /// Lets a bound stream socket take connections.
    /// @param backlog how many may wait to be accepted; the system limits it.
    [[nodiscard]] Z4_API static bool Listen(unsigned long backlog, long handle, unsigned long& error);

    /// Takes the next connection of a listening socket, and waits for one where the socket blocks. The connection
    /// blocks, or not, as the listening socket does.
    /// @param peer the other end's address; untouched on failure.
    /// @return the connection's handle, -1 on failure.
    [[nodiscard]] Z4_API static long Accept(SocketAddr& peer, long handle, unsigned long& error);

    /// Send() serves connected sockets. SendTo() sends one datagram to `peer`; an address whose status is not ERR_OK or
    /// whose family is 0 is ERR_INVALID, and the system is not asked.
    /// @param size bytes at `data`; 0x7FFFFFFF at most are sent by one call.
    /// @return bytes taken, which on a stream may be fewer than `size`; -1 on failure.
    [[nodiscard]] Z4_API static long Send(const char* data, unsigned long size, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static long SendTo(const SocketAddr& peer, const char* data, unsigned long size, long handle,
                                            unsigned long& error);

    /// Store what has arrived, at least one byte of a stream or one whole datagram; a blocking socket waits for it. A
    /// datagram of more than `size` bytes fills the buffer, its rest is lost, and the failure is ERR_OVERFLOW.
    /// ReceiveFrom() also stores in `peer` who sent the datagram; on failure `peer` stays as it was.
    /// @param size room at `data` in bytes.
    /// @return bytes stored, 0 at the end of a stream and for an empty datagram; -1 on failure.
    [[nodiscard]] Z4_API static long Receive(char* data, unsigned long size, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static long ReceiveFrom(SocketAddr& peer, char* data, unsigned long size, long handle,
                                                 unsigned long& error);

    /// Ends one direction of a connection, or both; the socket still has to be closed. Other values of `how` reach the
    /// system, too, which answers ERR_INVALID.
    Z4_API static bool Shutdown(ShutdownHow how, long handle, unsigned long& error);

    /// Waits until the socket is ready for one of the things asked for. Null pointers ask for nothing; at least one
    /// must ask, else the failure is ERR_INVALID. What the others point to becomes true or false: whether the socket is
    /// ready for it now. After ERR_TIMEOUT all are false; after another failure they mean nothing.
    /// @param readable data, the end of the stream or a connection to accept can be had without waiting.
    /// @param writable something can be sent without waiting, or connecting has succeeded.
    /// @param failed connecting has failed, or out-of-band data is there.
    /// @param timeoutMs milliseconds; 0 never waits, NO_TIMEOUT waits without limit.
    /// @return whether the socket is ready for any of them; false with ERR_TIMEOUT when the time has passed.
    [[nodiscard]] Z4_API static bool Select(bool* readable, bool* writable, bool* failed, long handle,
                                            unsigned long timeoutMs, unsigned long& error);

    /// @name Options
    /// A setter returns whether the system took the value. A reader stores the system's value in `value` and returns
    /// true; when it fails, `value` keeps what it had. Sizes are in bytes.
    /// @{

    /// Whether operations that cannot go on wait (`on`, as of a new socket) or fail with ERR_NOT_READY.
    [[nodiscard]] Z4_API static bool SetBlocking(bool on, long handle, unsigned long& error);
    /// Whether Bind() may take an address that is still in use.
    Z4_API static bool SetReuseAddr(bool on, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetReuseAddr(bool& value, long handle, unsigned long& error);
    /// Whether a datagram socket may send to broadcast addresses.
    Z4_API static bool SetBroadCast(bool on, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetBroadCast(bool& value, long handle, unsigned long& error);
    /// The system's buffers; it may take another size than it was asked for.
    Z4_API static bool SetSendBufSize(unsigned long size, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetSendBufSize(unsigned long& value, long handle, unsigned long& error);
    Z4_API static bool SetReceiveBufSize(unsigned long size, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetReceiveBufSize(unsigned long& value, long handle, unsigned long& error);
    /// Whether small writes are collected by Nagle's algorithm (RFC 896), as they are on a new socket.
    Z4_API static bool SetNagleOnOff(bool on, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetNagleOnOff(bool& value, long handle, unsigned long& error);
    /// Whether, and for how many seconds, closing waits for data that is still to be sent. The system keeps both in one
    /// record, so two threads must not set them for one handle at the same time. More than 65535 seconds is
    /// ERR_INVALID.
    Z4_API static bool SetLingerOnOff(bool on, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetLingerOnOff(bool& value, long handle, unsigned long& error);
    Z4_API static bool SetLingerSeconds(unsigned long seconds, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetLingerSeconds(unsigned long& value, long handle, unsigned long& error);
    /// How many bytes have arrived and wait to be received.
    [[nodiscard]] Z4_API static bool GetPendingDataCount(unsigned long& value, long handle, unsigned long& error);
    /// @}

private:
    friend class BerkeleySocketGroup;

    static unsigned long TranslateError(int number);
    /// Stores the last socket error of this thread; for `return Fail(error)`.
    static bool Fail(unsigned long& error);
    /// Does so unless the call was done, and returns whether it was.
    static bool DoneOrFail(bool done, unsigned long& error);
    static long CountOrFail(long result, unsigned long& error);
};

} // namespace Z4
