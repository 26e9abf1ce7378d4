#include <cstddef>
#include <windows.h>
#include <zelk_core/base/dllwrapper.h>

namespace Z4 {

template <>
struct Private::Layout<ThreadSafeDllWrapper<NulLock>> {
    static_assert(offsetof(ThreadSafeDllWrapper<NulLock>, m_handle) == sizeof(void*), "behind the virtual operations");
    static_assert(sizeof(DllWrapper) == 2 * sizeof(void*));
};

void* Private::LoadDLLHelper(const char* name) {
    return LoadLibraryA(name);
}

void Private::FreeDLLHelper(void* handle) {
    FreeLibrary(static_cast<HMODULE>(handle));
}

} // namespace Z4
