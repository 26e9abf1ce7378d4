#include <zelk_core/net/private/select.h> // before anything else of the system

#include <zelk_core/net/berkeleysocket.h>

namespace Z4 {

namespace {

// The part of a SocketAddr that the system knows comes first in it.
sockaddr* Native(SocketAddr& address) {
    return reinterpret_cast<sockaddr*>(&address);
}
const sockaddr* Native(const SocketAddr& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}
constexpr int NATIVE_SIZE = sizeof(sockaddr_in);

// The system takes signed lengths. More than this is never sent or received at once.
int Clamp(unsigned long size) {
    constexpr unsigned long LIMIT = 0x7FFFFFFF;
    return static_cast<int>(size < LIMIT ? size : LIMIT);
}

/// A select set of one socket, or none where nobody asks.
class SingleSet {
public:
    SingleSet(bool* result, SOCKET socket) : m_result(result) {
        if (result != nullptr) {
            *result = false;
            m_set.fd_count = 1;
            m_set.fd_array[0] = socket;
        }
    }
    fd_set* Get() { return m_result != nullptr ? &m_set : nullptr; }
    void Report() const {
        if (m_result != nullptr) {
            *m_result = m_set.fd_count != 0;
        }
    }

private:
    bool* m_result;
    fd_set m_set;
};

} // namespace

unsigned long BerkeleySocket::TranslateError(int number) {
    return static_cast<unsigned long>(Private::TranslateSocketError(number));
}

bool BerkeleySocket::Fail(unsigned long& error) {
    error = TranslateError(WSAGetLastError());
    return false;
}

// The system's -1 is ours, for counts and for handles.
long BerkeleySocket::CountOrFail(long result, unsigned long& error) {
    if (result == -1) {
        Fail(error);
    }
    return result;
}

long BerkeleySocket::OpenStream(unsigned long& error) {
    return CountOrFail(ToHandle(socket(AF_INET, SOCK_STREAM, IPPROTO_TCP)), error);
}

long BerkeleySocket::OpenDatagram(unsigned long& error) {
    return CountOrFail(ToHandle(socket(AF_INET, SOCK_DGRAM, IPPROTO_UDP)), error);
}

bool BerkeleySocket::Close(long& handle, unsigned long& error) {
    const SOCKET socket = ToSocket(handle);
    handle = -1;
    return closesocket(socket) == 0 || Fail(error);
}

bool BerkeleySocket::Bind(SocketAddr& address, long handle, unsigned long& error) {
    int size = NATIVE_SIZE;
    return (bind(ToSocket(handle), Native(address), size) == 0 &&
            getsockname(ToSocket(handle), Native(address), &size) == 0) ||
           Fail(error);
}

bool BerkeleySocket::Connect(const SocketAddr& peer, SocketAddr& connected, long handle, unsigned long& error) {
    if (peer.m_status != ERR_OK || peer.m_family == 0 || peer.m_port == 0 || peer.m_address == 0) {
        error = ERR_INVALID;
        return false;
    }
    if (connect(ToSocket(handle), Native(peer), NATIVE_SIZE) != 0) {
        return Fail(error);
    }
    connected = peer;
    return true;
}

bool BerkeleySocket::Listen(unsigned long backlog, long handle, unsigned long& error) {
    return listen(ToSocket(handle), Clamp(backlog)) == 0 || Fail(error);
}

long BerkeleySocket::Accept(SocketAddr& peer, long handle, unsigned long& error) {
    SocketAddr found;
    int size = NATIVE_SIZE;
    const SOCKET socket = accept(ToSocket(handle), Native(found), &size);
    if (socket == INVALID_SOCKET) {
        Fail(error);
        return -1;
    }
    peer = found;
    return ToHandle(socket);
}

long BerkeleySocket::Send(const char* data, unsigned long size, long handle, unsigned long& error) {
    return CountOrFail(send(ToSocket(handle), data, Clamp(size), 0), error);
}

long BerkeleySocket::SendTo(const SocketAddr& peer, const char* data, unsigned long size, long handle,
                            unsigned long& error) {
    if (peer.m_status != ERR_OK || peer.m_family == 0) {
        error = ERR_INVALID;
        return -1;
    }
    return CountOrFail(sendto(ToSocket(handle), data, Clamp(size), 0, Native(peer), NATIVE_SIZE), error);
}

long BerkeleySocket::Receive(char* data, unsigned long size, long handle, unsigned long& error) {
    return CountOrFail(recv(ToSocket(handle), data, Clamp(size), 0), error);
}

long BerkeleySocket::ReceiveFrom(SocketAddr& peer, char* data, unsigned long size, long handle, unsigned long& error) {
    SocketAddr sender;
    int addressSize = NATIVE_SIZE;
    const int received = recvfrom(ToSocket(handle), data, Clamp(size), 0, Native(sender), &addressSize);
    if (received < 0) {
        Fail(error);
        return -1;
    }
    peer = sender;
    return received;
}

bool BerkeleySocket::Shutdown(ShutdownHow how, long handle, unsigned long& error) {
    static_assert(SHUTDOWN_RECEIVE == SD_RECEIVE && SHUTDOWN_SEND == SD_SEND && SHUTDOWN_BOTH == SD_BOTH);
    return shutdown(ToSocket(handle), how) == 0 || Fail(error);
}

bool BerkeleySocket::Select(bool* readable, bool* writable, bool* failed, long handle, unsigned long timeoutMs,
                            unsigned long& error) {
    error = ERR_OK;
    SingleSet readSet(readable, ToSocket(handle));
    SingleSet writeSet(writable, ToSocket(handle));
    SingleSet failedSet(failed, ToSocket(handle));
    const int ready = WaitForSets(readSet.Get(), writeSet.Get(), failedSet.Get(), timeoutMs);
    if (ready == 0) {
        error = ERR_TIMEOUT;
        return false;
    }
    readSet.Report();
    writeSet.Report();
    failedSet.Report();
    return ready > 0 || Fail(error);
}

bool BerkeleySocket::SetOption(int level, int option, int value, long handle, unsigned long& error) {
    const char* const bytes = reinterpret_cast<const char*>(&value);
    return setsockopt(ToSocket(handle), level, option, bytes, sizeof value) == 0 || Fail(error);
}

bool BerkeleySocket::GetOption(int level, int option, int& value, long handle, unsigned long& error) {
    // Some options fill one byte only.
    int raw = 0;
    int size = sizeof raw;
    if (getsockopt(ToSocket(handle), level, option, reinterpret_cast<char*>(&raw), &size) != 0) {
        return Fail(error);
    }
    value = raw;
    return true;
}

bool BerkeleySocket::GetFlag(int level, int option, bool& value, long handle, unsigned long& error) {
    int number = 0;
    if (!GetOption(level, option, number, handle, error)) {
        return false;
    }
    value = number != 0;
    return true;
}

bool BerkeleySocket::GetSize(int option, unsigned long& value, long handle, unsigned long& error) {
    int number = 0;
    if (!GetOption(SOL_SOCKET, option, number, handle, error)) {
        return false;
    }
    value = static_cast<unsigned long>(number);
    return true;
}

bool BerkeleySocket::SetBlocking(bool on, long handle, unsigned long& error) {
    u_long nonBlocking = !on;
    return ioctlsocket(ToSocket(handle), static_cast<long>(FIONBIO), &nonBlocking) == 0 || Fail(error);
}

bool BerkeleySocket::SetReuseAddr(bool on, long handle, unsigned long& error) {
    return SetOption(SOL_SOCKET, SO_REUSEADDR, on, handle, error);
}

bool BerkeleySocket::GetReuseAddr(bool& value, long handle, unsigned long& error) {
    return GetFlag(SOL_SOCKET, SO_REUSEADDR, value, handle, error);
}

bool BerkeleySocket::SetBroadCast(bool on, long handle, unsigned long& error) {
    return SetOption(SOL_SOCKET, SO_BROADCAST, on, handle, error);
}

bool BerkeleySocket::GetBroadCast(bool& value, long handle, unsigned long& error) {
    return GetFlag(SOL_SOCKET, SO_BROADCAST, value, handle, error);
}

bool BerkeleySocket::SetSendBufSize(unsigned long size, long handle, unsigned long& error) {
    return SetOption(SOL_SOCKET, SO_SNDBUF, Clamp(size), handle, error);
}

bool BerkeleySocket::GetSendBufSize(unsigned long& value, long handle, unsigned long& error) {
    return GetSize(SO_SNDBUF, value, handle, error);
}

bool BerkeleySocket::SetReceiveBufSize(unsigned long size, long handle, unsigned long& error) {
    return SetOption(SOL_SOCKET, SO_RCVBUF, Clamp(size), handle, error);
}

bool BerkeleySocket::GetReceiveBufSize(unsigned long& value, long handle, unsigned long& error) {
    return GetSize(SO_RCVBUF, value, handle, error);
}

bool BerkeleySocket::SetNagleOnOff(bool on, long handle, unsigned long& error) {
    return SetOption(IPPROTO_TCP, TCP_NODELAY, !on, handle, error);
}

bool BerkeleySocket::GetNagleOnOff(bool& value, long handle, unsigned long& error) {
    bool noDelay = false;
    if (!GetFlag(IPPROTO_TCP, TCP_NODELAY, noDelay, handle, error)) {
        return false;
    }
    value = !noDelay;
    return true;
}

bool BerkeleySocket::GetPendingDataCount(unsigned long& value, long handle, unsigned long& error) {
    u_long count = 0;
    if (ioctlsocket(ToSocket(handle), static_cast<long>(FIONREAD), &count) != 0) {
        return Fail(error);
    }
    value = count;
    return true;
}

namespace {

bool GetLinger(linger& record, long handle) {
    int size = sizeof record;
    return getsockopt(ToSocket(handle), SOL_SOCKET, SO_LINGER, reinterpret_cast<char*>(&record), &size) == 0;
}

bool SetLinger(const linger& record, long handle) {
    const char* const bytes = reinterpret_cast<const char*>(&record);
    return setsockopt(ToSocket(handle), SOL_SOCKET, SO_LINGER, bytes, sizeof record) == 0;
}

} // namespace

bool BerkeleySocket::SetLingerOnOff(bool on, long handle, unsigned long& error) {
    linger record{};
    if (!GetLinger(record, handle)) {
        return Fail(error);
    }
    if ((record.l_onoff != 0) == on) {
        return true;
    }
    record.l_onoff = on;
    return SetLinger(record, handle) || Fail(error);
}

bool BerkeleySocket::GetLingerOnOff(bool& value, long handle, unsigned long& error) {
    linger record{};
    if (!GetLinger(record, handle)) {
        return Fail(error);
    }
    value = record.l_onoff != 0;
    return true;
}

bool BerkeleySocket::SetLingerSeconds(unsigned long seconds, long handle, unsigned long& error) {
    const u_short wanted = static_cast<u_short>(seconds);
    if (wanted != seconds) {
        error = ERR_INVALID;
        return false;
    }
    linger record{};
    if (!GetLinger(record, handle)) {
        return Fail(error);
    }
    if (record.l_linger == wanted) {
        return true;
    }
    record.l_linger = wanted;
    return SetLinger(record, handle) || Fail(error);
}

bool BerkeleySocket::GetLingerSeconds(unsigned long& value, long handle, unsigned long& error) {
    linger record{};
    if (!GetLinger(record, handle)) {
        return Fail(error);
    }
    value = record.l_linger;
    return true;
}

} // namespace Z4
