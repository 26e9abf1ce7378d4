// Windows Sockets, in the one order of includes that works, and the checks that our records are the system's.
#pragma once

#include <winsock2.h> // before windows.h

#include <ws2tcpip.h>

namespace Z4 {

/// The library's handles are the system's, in a signed word.
inline SOCKET ToSocket(long handle) {
    return static_cast<SOCKET>(handle);
}
inline long ToHandle(SOCKET socket) {
    return static_cast<long>(socket);
}
static_assert(sizeof(SOCKET) == sizeof(long) && INVALID_SOCKET == static_cast<SOCKET>(-1L));

} // namespace Z4
