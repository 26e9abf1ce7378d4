// What a socket can be told and asked about itself.
#include <zelk_core/net/private/winsock.h> // before anything else of the system

#include <zelk_core/net/berkeleysocket.h>

namespace Z4 {

namespace {

using Private::ToSocket;

template <class Value>
bool Store(const Value& value, int level, int option, long handle) {
    const char* const bytes = reinterpret_cast<const char*>(&value);
    return setsockopt(ToSocket(handle), level, option, bytes, sizeof value) == 0;
}

bool StoreFlag(bool on, int level, int option, long handle) {
    return Store(static_cast<int>(on), level, option, handle);
}

bool StoreSize(unsigned long size, int option, long handle) {
    return Store(Private::ToSize(size), SOL_SOCKET, option, handle);
}

/// `value` is empty before: the system fills one byte only of some options.
template <class Value>
bool Load(Value& value, int level, int option, long handle) {
    int size = sizeof value;
    return getsockopt(ToSocket(handle), level, option, reinterpret_cast<char*>(&value), &size) == 0;
}

bool LoadFlag(bool& value, int level, int option, long handle) {
    int number = 0;
    if (!Load(number, level, option, handle)) {
        return false;
    }
    value = number != 0;
    return true;
}

bool LoadSize(unsigned long& value, int option, long handle) {
    int number = 0;
    if (!Load(number, SOL_SOCKET, option, handle)) {
        return false;
    }
    value = static_cast<unsigned long>(number);
    return true;
}

bool LoadLinger(linger& record, long handle) {
    return Load(record, SOL_SOCKET, SO_LINGER, handle);
}

} // namespace

bool BerkeleySocket::SetBlocking(bool on, long handle, unsigned long& error) {
    u_long nonBlocking = !on;
    return DoneOrFail(ioctlsocket(ToSocket(handle), static_cast<long>(FIONBIO), &nonBlocking) == 0, error);
}

bool BerkeleySocket::SetReuseAddr(bool on, long handle, unsigned long& error) {
    return DoneOrFail(StoreFlag(on, SOL_SOCKET, SO_REUSEADDR, handle), error);
}

bool BerkeleySocket::GetReuseAddr(bool& value, long handle, unsigned long& error) {
    return DoneOrFail(LoadFlag(value, SOL_SOCKET, SO_REUSEADDR, handle), error);
}

bool BerkeleySocket::SetBroadCast(bool on, long handle, unsigned long& error) {
    return DoneOrFail(StoreFlag(on, SOL_SOCKET, SO_BROADCAST, handle), error);
}

bool BerkeleySocket::GetBroadCast(bool& value, long handle, unsigned long& error) {
    return DoneOrFail(LoadFlag(value, SOL_SOCKET, SO_BROADCAST, handle), error);
}

bool BerkeleySocket::SetSendBufSize(unsigned long size, long handle, unsigned long& error) {
    return DoneOrFail(StoreSize(size, SO_SNDBUF, handle), error);
}

bool BerkeleySocket::GetSendBufSize(unsigned long& value, long handle, unsigned long& error) {
    return DoneOrFail(LoadSize(value, SO_SNDBUF, handle), error);
}

bool BerkeleySocket::SetReceiveBufSize(unsigned long size, long handle, unsigned long& error) {
    return DoneOrFail(StoreSize(size, SO_RCVBUF, handle), error);
}

bool BerkeleySocket::GetReceiveBufSize(unsigned long& value, long handle, unsigned long& error) {
    return DoneOrFail(LoadSize(value, SO_RCVBUF, handle), error);
}

bool BerkeleySocket::SetNagleOnOff(bool on, long handle, unsigned long& error) {
    return DoneOrFail(StoreFlag(!on, IPPROTO_TCP, TCP_NODELAY, handle), error);
}

bool BerkeleySocket::GetNagleOnOff(bool& value, long handle, unsigned long& error) {
    bool noDelay = false;
    if (!LoadFlag(noDelay, IPPROTO_TCP, TCP_NODELAY, handle)) {
        return Fail(error);
    }
    value = !noDelay;
    return true;
}

bool BerkeleySocket::SetLingerOnOff(bool on, long handle, unsigned long& error) {
    linger record{};
    if (!LoadLinger(record, handle)) {
        return Fail(error);
    }
    if ((record.l_onoff != 0) == on) {
        return true;
    }
    record.l_onoff = on;
    return DoneOrFail(Store(record, SOL_SOCKET, SO_LINGER, handle), error);
}

bool BerkeleySocket::GetLingerOnOff(bool& value, long handle, unsigned long& error) {
    linger record{};
    if (!LoadLinger(record, handle)) {
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
    if (!LoadLinger(record, handle)) {
        return Fail(error);
    }
    if (record.l_linger == wanted) {
        return true;
    }
    record.l_linger = wanted;
    return DoneOrFail(Store(record, SOL_SOCKET, SO_LINGER, handle), error);
}

bool BerkeleySocket::GetLingerSeconds(unsigned long& value, long handle, unsigned long& error) {
    linger record{};
    if (!LoadLinger(record, handle)) {
        return Fail(error);
    }
    value = record.l_linger;
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

} // namespace Z4
