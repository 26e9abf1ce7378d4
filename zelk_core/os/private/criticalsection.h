// The system's critical section, as the locks over it and those who wait with one see it.
#pragma once

#include <windows.h>

namespace Z4::Private {

inline CRITICAL_SECTION* Section(void* lock) {
    return static_cast<CRITICAL_SECTION*>(lock);
}

/// How often the calling thread holds the section. Its owner field can read as this thread's id only where this thread
/// wrote it, so that others may change it meanwhile.
inline LONG LevelsHeldHere(const void* lock) {
    const auto* const section = static_cast<const CRITICAL_SECTION*>(lock);
    const HANDLE owner = *static_cast<const volatile HANDLE*>(&section->OwningThread);
    return owner == ULongToHandle(GetCurrentThreadId()) ? section->RecursionCount : 0;
}

} // namespace Z4::Private
