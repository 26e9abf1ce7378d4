#include <zelk_core/net/private/select.h> // before anything else of the system

#include <zelk_core/net/berkeleysocket.h>

namespace Z4 {

namespace {

using Private::ToHandle;
using Private::ToSize;
using Private::ToSocket;

// The part of a SocketAddr that the system knows comes first in it.
sockaddr* Native(SocketAddr& address) {
    return reinterpret_cast<sockaddr*>(&address);
}
const sockaddr* Native(const SocketAddr& address) {
    return reinterpret_cast<const sockaddr*>(&address);
}
constexpr int NATIVE_SIZE = sizeof(sockaddr_in);

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

bool BerkeleySocket::DoneOrFail(bool done, unsigned long& error) {
    if (!done) {
        Fail(error);
    }
    return done;
}

// The system's -1 is ours, for counts and for handles.
long BerkeleySocket::CountOrFail(long result, unsigned long& error) {
    DoneOrFail(result != -1, error);
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
    return DoneOrFail(closesocket(socket) == 0, error);
}

bool BerkeleySocket::Bind(SocketAddr& address, long handle, unsigned long& error) {
    int size = NATIVE_SIZE;
    return DoneOrFail(bind(ToSocket(handle), Native(address), size) == 0 &&
                          getsockname(ToSocket(handle), Native(address), &size) == 0,
                      error);
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
    return DoneOrFail(listen(ToSocket(handle), ToSize(backlog)) == 0, error);
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
    return CountOrFail(send(ToSocket(handle), data, ToSize(size), 0), error);
}

long BerkeleySocket::SendTo(const SocketAddr& peer, const char* data, unsigned long size, long handle,
                            unsigned long& error) {
    if (peer.m_status != ERR_OK || peer.m_family == 0) {
        error = ERR_INVALID;
        return -1;
    }
    return CountOrFail(sendto(ToSocket(handle), data, ToSize(size), 0, Native(peer), NATIVE_SIZE), error);
}

long BerkeleySocket::Receive(char* data, unsigned long size, long handle, unsigned long& error) {
    return CountOrFail(recv(ToSocket(handle), data, ToSize(size), 0), error);
}

long BerkeleySocket::ReceiveFrom(SocketAddr& peer, char* data, unsigned long size, long handle, unsigned long& error) {
    SocketAddr sender;
    int addressSize = NATIVE_SIZE;
    const int received = recvfrom(ToSocket(handle), data, ToSize(size), 0, Native(sender), &addressSize);
    if (received < 0) {
        Fail(error);
        return -1;
    }
    peer = sender;
    return received;
}

bool BerkeleySocket::Shutdown(ShutdownHow how, long handle, unsigned long& error) {
    static_assert(SHUTDOWN_RECEIVE == SD_RECEIVE);
    static_assert(SHUTDOWN_SEND == SD_SEND);
    static_assert(SHUTDOWN_BOTH == SD_BOTH);
    return DoneOrFail(shutdown(ToSocket(handle), how) == 0, error);
}

bool BerkeleySocket::Select(bool* readable, bool* writable, bool* failed, long handle, unsigned long timeoutMs,
                            unsigned long& error) {
    error = ERR_OK;
    SingleSet readSet(readable, ToSocket(handle));
    SingleSet writeSet(writable, ToSocket(handle));
    SingleSet failedSet(failed, ToSocket(handle));
    const int ready = Private::WaitForSets(readSet.Get(), writeSet.Get(), failedSet.Get(), timeoutMs);
    if (ready == 0) {
        error = ERR_TIMEOUT;
        return false;
    }
    readSet.Report();
    writeSet.Report();
    failedSet.Report();
    return DoneOrFail(ready > 0, error);
}

} // namespace Z4
