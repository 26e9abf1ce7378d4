/// @file
/// The socket calls of the system, one a function, with their failures as the library's codes.
///
/// For code that keeps plain handles; Socket and its descendants are built on these. A handle is the system's, -1 for
/// none, which every function here answers with ERR_INVALID from the system. `error` is written on failure only, save
/// that Select() first sets it to ERR_OK. The network must have been started (InitializeOS()), otherwise everything
/// fails with ERR_DEVICE_NOT_READY. Any thread.
///
/// On a non-blocking socket, ERR_NOT_READY means that the operation would have to wait.
#pragma once

#include <zelk_core/base/api.h>
#include <zelk_core/net/socketaddr.h>

namespace Z4 {

class BerkeleySocket {
public:
    /// What is no longer wanted of a connection.
    enum ShutdownHow : int {
        SHUTDOWN_RECEIVE = 0,
        SHUTDOWN_SEND = 1, ///< the peer reads what was sent, then the end of the stream
        SHUTDOWN_BOTH = 2,
    };

    /// Wait without limit, for Select().
    static constexpr unsigned long NO_TIMEOUT = 0xFFFFFFFF;

    /// @return the new socket's handle, -1 on failure.
    [[nodiscard]] Z4_API static long OpenStream(unsigned long& error);
    [[nodiscard]] Z4_API static long OpenDatagram(unsigned long& error);

    /// Closes, and sets `handle` to -1 in any case.
    Z4_API static bool Close(long& handle, unsigned long& error);

    /// Binds, then stores in `address` what the system made of it: with port 0 it chooses a free one.
    [[nodiscard]] Z4_API static bool Bind(SocketAddr& address, long handle, unsigned long& error);

    /// Connects to `peer` and copies it to `connected` on success. ERR_INVALID, without a call, for an address that is
    /// not usable or whose family, port or address is 0.
    [[nodiscard]] Z4_API static bool Connect(const SocketAddr& peer, SocketAddr& connected, long handle,
                                             unsigned long& error);

    [[nodiscard]] Z4_API static bool Listen(unsigned long backlog, long handle, unsigned long& error);

    /// @return the handle of the connection, whose other end is stored in `peer`; -1 on failure.
    [[nodiscard]] Z4_API static long Accept(SocketAddr& peer, long handle, unsigned long& error);

    /// @return bytes taken, which may be fewer than `size`; -1 on failure.
    [[nodiscard]] Z4_API static long Send(const char* data, unsigned long size, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static long SendTo(const SocketAddr& peer, const char* data, unsigned long size, long handle,
                                            unsigned long& error);

    /// @return bytes stored, 0 at the end of a stream; -1 on failure. A datagram that does not fit fills the buffer and
    /// is lost with ERR_OVERFLOW.
    [[nodiscard]] Z4_API static long Receive(char* data, unsigned long size, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static long ReceiveFrom(SocketAddr& peer, char* data, unsigned long size, long handle,
                                                 unsigned long& error);

    /// `how` reaches the system unchanged; unknown values are ERR_INVALID.
    Z4_API static bool Shutdown(ShutdownHow how, long handle, unsigned long& error);

    /// Waits until the socket is ready for something that is asked for by a pointer that is not null. Each such result
    /// is set: false at first, then whether the socket is ready for it. On failure they mean nothing.
    /// @param readable data, the end of the stream or a connection to accept can be had without waiting
    /// @param writable something can be sent without waiting, or connecting has succeeded
    /// @param failed connecting has failed, or out-of-band data is there
    /// @param timeoutMs milliseconds; 0 never waits, NO_TIMEOUT waits without limit
    /// @return false with ERR_TIMEOUT when nothing became ready; ERR_INVALID when nothing was asked for.
    [[nodiscard]] Z4_API static bool Select(bool* readable, bool* writable, bool* failed, long handle,
                                            unsigned long timeoutMs, unsigned long& error);

    /// @name Options
    /// Setters return success; readers store the value in `value`, and leave it on failure. Sizes are in bytes.
    /// @{
    [[nodiscard]] Z4_API static bool SetBlocking(bool on, long handle, unsigned long& error);
    Z4_API static bool SetReuseAddr(bool on, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetReuseAddr(bool& value, long handle, unsigned long& error);
    Z4_API static bool SetBroadCast(bool on, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetBroadCast(bool& value, long handle, unsigned long& error);
    Z4_API static bool SetSendBufSize(unsigned long size, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetSendBufSize(unsigned long& value, long handle, unsigned long& error);
    Z4_API static bool SetReceiveBufSize(unsigned long size, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetReceiveBufSize(unsigned long& value, long handle, unsigned long& error);
    /// Nagle's algorithm (RFC 896) collects small writes; it is on at first.
    Z4_API static bool SetNagleOnOff(bool on, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetNagleOnOff(bool& value, long handle, unsigned long& error);
    /// Whether closing waits for data that is still to be sent, and how long; nothing is written where the value is
    /// what it should be. More than 65535 seconds is ERR_INVALID.
    Z4_API static bool SetLingerOnOff(bool on, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetLingerOnOff(bool& value, long handle, unsigned long& error);
    Z4_API static bool SetLingerSeconds(unsigned long seconds, long handle, unsigned long& error);
    [[nodiscard]] Z4_API static bool GetLingerSeconds(unsigned long& value, long handle, unsigned long& error);
    /// Bytes that Receive() would find now.
    [[nodiscard]] Z4_API static bool GetPendingDataCount(unsigned long& value, long handle, unsigned long& error);
    /// @}

private:
    friend class BerkeleySocketGroup;

    static unsigned long TranslateError(int number);
    /// Stores the last socket error of this thread; for `return Fail(error)`.
    static bool Fail(unsigned long& error);
    static long CountOrFail(long result, unsigned long& error);
    static bool SetOption(int level, int option, int value, long handle, unsigned long& error);
    static bool GetOption(int level, int option, int& value, long handle, unsigned long& error);
    static bool GetFlag(int level, int option, bool& value, long handle, unsigned long& error);
    static bool GetSize(int option, unsigned long& value, long handle, unsigned long& error);
};

} // namespace Z4
