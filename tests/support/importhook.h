// The system's functions, replaced one at a time for one module: how tests see calls to the system, and let it fail.
#pragma once

#include <windows.h>

#include <cstddef>
#include <cstring>
#include <stdexcept>
#include <string>
#include <type_traits>

namespace ZelkTest {

/// While it lives, calls of the imported function `name` in `module`, which is the library unless said otherwise, go to
/// `replacement`: a function of the same type and calling convention. Ends the test when nothing imports that name.
class ImportHook {
public:
    template <class Function>
    ImportHook(const char* name, Function* replacement, HMODULE module = GetModuleHandleA(ZELK_DLL_FILE))
        : m_slot(Find(name, reinterpret_cast<std::byte*>(module))), m_original(*m_slot) {
        Store(reinterpret_cast<void*>(replacement));
    }
    ~ImportHook() { Store(m_original); }
    ImportHook(const ImportHook&) = delete;
    ImportHook& operator=(const ImportHook&) = delete;

private:
    // A module lists its imports library by library: the names in one table, the addresses, in the same order, in
    // another.
    static void** Find(const char* name, std::byte* module) {
        const auto* const dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(module);
        const auto* const headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(module + dos->e_lfanew);
        const DWORD imports = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
        const auto* library = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(module + imports);
        for (; library->Name != 0; ++library) {
            const auto* entry = reinterpret_cast<const IMAGE_THUNK_DATA*>(module + library->OriginalFirstThunk);
            auto* slot = reinterpret_cast<void**>(module + library->FirstThunk);
            for (; entry->u1.AddressOfData != 0; ++entry, ++slot) {
                const auto* const import =
                    reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(module + entry->u1.AddressOfData);
                if (!IMAGE_SNAP_BY_ORDINAL(entry->u1.Ordinal) && std::strcmp(import->Name, name) == 0) {
                    return slot;
                }
            }
        }
        throw std::invalid_argument(std::string("no import of ") + name);
    }

    void Store(void* function) {
        DWORD protection = 0;
        VirtualProtect(m_slot, sizeof *m_slot, PAGE_READWRITE, &protection);
        *m_slot = function;
        VirtualProtect(m_slot, sizeof *m_slot, protection, &protection);
    }

    void** const m_slot;
    void* const m_original;
};

/// An argument or result of the system's functions from a number.
template <class T>
T FromNumber(unsigned long long number) {
    if constexpr (std::is_pointer_v<T>) {
        return reinterpret_cast<T>(static_cast<ULONG_PTR>(number));
    } else {
        return static_cast<T>(number);
    }
}

/// What functions by ZELK_FAILING() do: they leave `s_error` as the last error, and answer `s_result`.
struct Failure {
    static inline DWORD s_error;
    static inline long s_result;
};

/// The name of a function of the system's, and one that stands in for it and only fails: what an ImportHook takes.
#define ZELK_FAILING(function) #function, ZelkTest::Failing(static_cast <decltype(&::function)>(nullptr))

template <class Result, class... Arguments>
void* Failing(Result(WINAPI*)(Arguments...)) {
    struct Function {
        static Result WINAPI Fail(Arguments...) {
            SetLastError(Failure::s_error);
            return FromNumber<Result>(static_cast<unsigned long long>(Failure::s_result));
        }
    };
    return reinterpret_cast<void*>(Function::Fail);
}

} // namespace ZelkTest
