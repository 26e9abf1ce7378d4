// Windows Sockets, in the one order of includes that works, and its handles as the library's.
#pragma once

#include <winsock2.h> // before windows.h

#include <ws2tcpip.h>

namespace Z4::Private {

/// The library's handles are the system's, in a signed word.
inline SOCKET ToSocket(long handle) {
    return static_cast<SOCKET>(handle);
}
inline long ToHandle(SOCKET socket) {
    return static_cast<long>(socket);
}

/// The system takes signed sizes: where more than that is asked for, it is asked for the most it takes.
inline int ToSize(unsigned long size) {
    constexpr unsigned long LIMIT = 0x7FFFFFFF;
    return static_cast<int>(size < LIMIT ? size : LIMIT);
}

static_assert(sizeof(SOCKET) == sizeof(long));
static_assert(INVALID_SOCKET == static_cast<SOCKET>(-1L));

} // namespace Z4::Private
