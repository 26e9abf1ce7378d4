#include <windows.h>

#include <winternl.h>
#include <zelk_core/os/tlsshortcut.h>

namespace Z4::TlsShortCut {

std::uint32_t Alloc() {
    return TlsAlloc();
}

void Free(std::uint32_t index) {
    TlsFree(index);
}

void Set(std::uint32_t index, std::uint32_t value) {
    TlsSetValue(index, reinterpret_cast<void*>(value));
}

std::uint32_t Get(std::uint32_t index) {
    // The first slots lie in the thread's own block, where reading costs less than the platform's call does.
    if (index < TLS_MINIMUM_AVAILABLE) {
        return reinterpret_cast<std::uint32_t>(NtCurrentTeb()->TlsSlots[index]);
    }
    return reinterpret_cast<std::uint32_t>(TlsGetValue(index));
}

} // namespace Z4::TlsShortCut
