// The one call of the system's select.
#pragma once

#include <zelk_core/net/private/winsock.h>

namespace Z4::Private {

/// Null sets are not waited for. 0xFFFFFFFF milliseconds are no limit.
/// @return as the system's select.
inline int WaitForSets(fd_set* readable, fd_set* writable, fd_set* failed, unsigned long timeoutMs) {
    timeval limit{static_cast<long>(timeoutMs / 1000), static_cast<long>(timeoutMs % 1000) * 1000};
    // The system here ignores the count of handles.
    return select(FD_SETSIZE, readable, writable, failed, timeoutMs == 0xFFFFFFFF ? nullptr : &limit);
}

} // namespace Z4::Private
