#include <windows.h>

#include <winternl.h>

#include <cstddef>
#include <cstring>
#include <zelk_core/os/autolock.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

namespace {

using Guard = AutoLock<BlockingLock>;

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
void CopyName(wchar_t (&to)[SIZE], const UNICODE_STRING* from) {
    std::size_t length = from->Length / sizeof(wchar_t);
    length = length < SIZE ? length : SIZE - 1;
    std::memcpy(to, from->Buffer, length * sizeof(wchar_t));
    to[length] = L'\0';
}

} // namespace

Error WinDbgHelp::RegisterDllNotificationCallback(DllNotificationCallback callback, void* context) {
    if (callback == nullptr) {
        return ERR_INVALID;
    }
    const Guard guard(m_observersLock);
    for (unsigned long i = 0; i < m_observerCount; ++i) {
        if (m_observers[i].callback == callback && m_observers[i].context == context) {
            return ERR_ALREADY_EXISTS;
        }
    }
    if (m_observerCount == MAX_OBSERVERS) {
        return ERR_OUT_OF_RESOURCES;
    }
    m_observers[m_observerCount++] = {callback, context};
    return ERR_OK;
}

Error WinDbgHelp::UnregisterDllNotificationCallback(DllNotificationCallback callback, void* context) {
    const Guard guard(m_observersLock);
    unsigned long index = 0;
    while (index < m_observerCount &&
           (m_observers[index].callback != callback || m_observers[index].context != context)) {
        ++index;
    }
    if (index == m_observerCount) {
        return ERR_NOT_FOUND;
    }
    --m_observerCount;
    std::memmove(&m_observers[index], &m_observers[index + 1], (m_observerCount - index) * sizeof(Observer));
    for (Cursor* cursor = m_cursors; cursor != nullptr; cursor = cursor->outer) {
        cursor->next -= index < cursor->next ? 1 : 0;
    }
    return ERR_OK;
}

void Z4_STDCALL WinDbgHelp::OnNotification(unsigned long reason, const void* data, void* object) {
    WinDbgHelp& self = *static_cast<WinDbgHelp*>(object);
    const LoaderNotification& module = *static_cast<const LoaderNotification*>(data);
    const Guard guard(self.m_observersLock);
    if (self.m_observerCount == 0) {
        return;
    }
    LARGE_INTEGER now;
    QueryPerformanceCounter(&now);
    wchar_t baseName[260];
    wchar_t fullName[1024];
    CopyName(baseName, module.baseName);
    CopyName(fullName, module.fullName);
    self.Notify({now.QuadPart, module.base, module.size, baseName, fullName, reason != MODULE_LOADED});
}

void WinDbgHelp::Notify(const DllNotificationData& data) {
    Cursor cursor{0, m_cursors};
    m_cursors = &cursor;
    while (cursor.next < m_observerCount) {
        const Observer observer = m_observers[cursor.next++];
        m_observersLock.Unlock();
        observer.callback(data, observer.context);
        m_observersLock.Lock();
    }
    // Not always the innermost: another thread may have begun meanwhile.
    Cursor** link = &m_cursors;
    while (*link != &cursor) {
        link = &(*link)->outer;
    }
    *link = cursor.outer;
}

} // namespace Z4
