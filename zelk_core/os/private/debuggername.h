// Names threads for a debugger, which learns of it through an exception that it swallows.
#pragma once

#include <windows.h>

namespace Z4::Private {

inline constexpr DWORD DEBUGGER_NAME_EXCEPTION = 0x406D1388;

/// The announcement alone: ends the process unless a debugger or a handler continues it.
inline void RaiseDebuggerName(const char* name, DWORD threadId) {
    constexpr ULONG_PTR TYPE = 0x1000;
    constexpr ULONG_PTR FLAGS = 0;
    const ULONG_PTR words[] = {TYPE, reinterpret_cast<ULONG_PTR>(name), threadId, FLAGS};
    RaiseException(DEBUGGER_NAME_EXCEPTION, 0, 4, words);
}

/// The announcement, harmless when nobody listens. `threadId` 0xFFFFFFFF is the calling thread.
void AnnounceDebuggerName(const char* name, DWORD threadId);

} // namespace Z4::Private
