#include "winsystem.h"

#include <vector>
#include <winternl.h>

namespace ZelkTest {

// GetProcessHandleCount() knows nothing under Wine, so the system's list of all handles is searched for ours.
unsigned CountHandles() {
    struct Entry {
        unsigned short processId;
        unsigned short creatorBackTrace;
        unsigned char type;
        unsigned char flags;
        unsigned short handle;
        void* object;
        ULONG access;
    };
    constexpr auto SYSTEM_HANDLES = static_cast<SYSTEM_INFORMATION_CLASS>(16);
    const auto query = reinterpret_cast<NTSTATUS(WINAPI*)(SYSTEM_INFORMATION_CLASS, void*, ULONG, ULONG*)>(
        reinterpret_cast<void*>(GetProcAddress(GetModuleHandleA("ntdll.dll"), "NtQuerySystemInformation")));
    std::vector<ULONG> answer(1 << 16);
    while (query(SYSTEM_HANDLES, answer.data(), static_cast<ULONG>(answer.size() * sizeof(ULONG)), nullptr) < 0) {
        answer.resize(answer.size() * 2);
    }
    const Entry* const entries = reinterpret_cast<const Entry*>(answer.data() + 1);
    unsigned count = 0;
    for (ULONG i = 0; i < answer[0]; ++i) {
        count += entries[i].processId == static_cast<unsigned short>(GetCurrentProcessId()) ? 1u : 0u;
    }
    return count;
}

} // namespace ZelkTest
