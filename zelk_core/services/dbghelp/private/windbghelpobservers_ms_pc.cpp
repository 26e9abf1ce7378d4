#include <windows.h>

#include <winternl.h>

#include <cstddef>
#include <zelk_core/base/assert.h>
#include <zelk_core/base/private/copytext.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

template <>
struct Private::Layout<WinDbgHelp::DllNotificationData> {
    static_assert(offsetof(WinDbgHelp::DllNotificationData, timeStamp) == 0);
    static_assert(offsetof(WinDbgHelp::DllNotificationData, baseAddress) == 8);
    static_assert(offsetof(WinDbgHelp::DllNotificationData, size) == 12);
    static_assert(offsetof(WinDbgHelp::DllNotificationData, baseName) == 16);
    static_assert(offsetof(WinDbgHelp::DllNotificationData, fullName) == 20);
    static_assert(offsetof(WinDbgHelp::DllNotificationData, unloaded) == 24);
    static_assert(sizeof(WinDbgHelp::DllNotificationData) == 32);
};

namespace {

// The loader's notifications, which the system's headers do not declare.
constexpr ULONG MODULE_LOADED = 1;
struct LoaderNotification {
    ULONG flags;
    const UNICODE_STRING* fullName;
    const UNICODE_STRING* baseName;
    void* base;
    ULONG size;
};

template <std::size_t SIZE>
void CopyName(wchar_t (&to)[SIZE], const UNICODE_STRING& from) {
    Private::CopyTruncated(to, static_cast<const wchar_t*>(from.Buffer), from.Length / sizeof(wchar_t));
}

} // namespace

Error WinDbgHelp::RegisterDllNotificationCallback(DllNotificationCallback callback, void* context) {
    return callback != nullptr ? m_observers.Add(callback, context) : ERR_INVALID;
}

Error WinDbgHelp::UnregisterDllNotificationCallback(DllNotificationCallback callback, void* context) {
    return m_observers.Remove(callback, context, GetCurrentThreadId());
}

void Z4_STDCALL WinDbgHelp::OnNotification(unsigned long reason, const void* data, void* object) {
    WinDbgHelp& self = *static_cast<WinDbgHelp*>(object);
    const LoaderNotification& module = *static_cast<const LoaderNotification*>(data);
    const DWORD thread = GetCurrentThreadId();
    Z4_ASSERT(!self.m_observers.IsInside(thread), "An observer loads and frees no modules.");
    if (self.m_observers.IsEmpty()) {
        return;
    }
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    wchar_t baseName[260];
    wchar_t fullName[1024];
    CopyName(baseName, *module.baseName);
    CopyName(fullName, *module.fullName);
    self.m_observers.Notify(
        DllNotificationData{now.QuadPart, module.base, module.size, baseName, fullName, reason != MODULE_LOADED},
        thread);
}

} // namespace Z4
