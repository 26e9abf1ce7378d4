#include <windows.h>
#include <zelk_core/base/dllwrapper.h>

namespace Z4 {

static_assert(sizeof(DllWrapper) == 2 * sizeof(void*), "the table of virtual operations and the handle");

void* Private::LoadDLLHelper(const char* name) {
    return LoadLibraryA(name);
}

void Private::FreeDLLHelper(void* handle) {
    FreeLibrary(static_cast<HMODULE>(handle));
}

} // namespace Z4
