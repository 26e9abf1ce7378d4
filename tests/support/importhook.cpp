#include "importhook.h"

#include <windows.h>

#include <cstdio>
#include <cstdlib>
#include <cstring>

namespace ZelkTest {

namespace {

/// Where the library's DLL keeps the address of the function that it imports as `name`.
void** FindImport(const char* name) {
    char* const base = reinterpret_cast<char*>(GetModuleHandleA(ZELK_DLL_FILE));
    const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const IMAGE_DATA_DIRECTORY& directory = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT];
    for (auto* import = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + directory.VirtualAddress);
         import->Name != 0; ++import) {
        auto* names = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + import->OriginalFirstThunk);
        auto* addresses = reinterpret_cast<void**>(base + import->FirstThunk);
        for (; names->u1.AddressOfData != 0; ++names, ++addresses) {
            if ((names->u1.Ordinal & IMAGE_ORDINAL_FLAG) == 0 &&
                std::strcmp(base + names->u1.AddressOfData + sizeof(WORD), name) == 0) {
                return addresses;
            }
        }
    }
    std::fprintf(stderr, "The library does not import %s.\n", name);
    std::abort();
}

void Store(void** place, void* function) {
    DWORD protection = 0;
    VirtualProtect(place, sizeof *place, PAGE_READWRITE, &protection);
    *place = function;
    VirtualProtect(place, sizeof *place, protection, &protection);
}

} // namespace

ImportHook::ImportHook(const char* name, void* replacement) : m_place(FindImport(name)), m_original(*m_place) {
    Store(m_place, replacement);
}

ImportHook::~ImportHook() {
    Store(m_place, m_original);
}

} // namespace ZelkTest
