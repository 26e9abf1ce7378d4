// The functions of the debug-help library that WinDbgHelp looks up.
#pragma once

#include <windows.h>

#include <dbghelp.h>

#include <iterator>

namespace Z4::Private {

struct EntryPointName {
    unsigned slot; ///< its place among the addresses that WinDbgHelp keeps
    const char* name;
};

/// The same with the function's type.
template <class Function>
struct EntryPoint : EntryPointName {};

inline constexpr EntryPoint<decltype(::SymInitialize)> SYM_INITIALIZE{{0, "SymInitialize"}};
inline constexpr EntryPoint<decltype(::SymCleanup)> SYM_CLEANUP{{1, "SymCleanup"}};
inline constexpr EntryPoint<decltype(::SymRefreshModuleList)> SYM_REFRESH_MODULE_LIST{{2, "SymRefreshModuleList"}};
inline constexpr EntryPoint<decltype(::SymGetOptions)> SYM_GET_OPTIONS{{3, "SymGetOptions"}};
inline constexpr EntryPoint<decltype(::SymSetOptions)> SYM_SET_OPTIONS{{4, "SymSetOptions"}};
inline constexpr EntryPoint<decltype(::SymGetModuleInfo64)> SYM_GET_MODULE_INFO{{5, "SymGetModuleInfo64"}};
inline constexpr EntryPoint<decltype(::StackWalk64)> STACK_WALK{{6, "StackWalk64"}};
inline constexpr EntryPoint<decltype(::SymFunctionTableAccess64)> SYM_FUNCTION_TABLE_ACCESS{
    {7, "SymFunctionTableAccess64"}};
inline constexpr EntryPoint<decltype(::EnumerateLoadedModules64)> ENUMERATE_LOADED_MODULES{
    {8, "EnumerateLoadedModules64"}};
inline constexpr EntryPoint<decltype(::SymSetSearchPath)> SYM_SET_SEARCH_PATH{{9, "SymSetSearchPath"}};
inline constexpr EntryPoint<decltype(::SymGetSymFromAddr64)> SYM_GET_SYM_FROM_ADDR{{10, "SymGetSymFromAddr64"}};
inline constexpr EntryPoint<decltype(::SymGetLineFromAddr64)> SYM_GET_LINE_FROM_ADDR{{11, "SymGetLineFromAddr64"}};
inline constexpr EntryPoint<decltype(::SymLoadModule64)> SYM_LOAD_MODULE{{12, "SymLoadModule64"}};
inline constexpr EntryPoint<decltype(::SymUnloadModule64)> SYM_UNLOAD_MODULE{{13, "SymUnloadModule64"}};
inline constexpr EntryPoint<decltype(::SymFindFileInPath)> SYM_FIND_FILE_IN_PATH{{14, "SymFindFileInPath"}};
inline constexpr EntryPoint<decltype(::MiniDumpWriteDump)> MINI_DUMP_WRITE_DUMP{{15, "MiniDumpWriteDump"}};
inline constexpr EntryPoint<decltype(::ImageNtHeader)> IMAGE_NT_HEADER{{16, "ImageNtHeader"}};

/// In the order in which they are looked up, which is not that of the slots.
inline constexpr EntryPointName LOOKUP_ORDER[] = {
    SYM_INITIALIZE,
    SYM_REFRESH_MODULE_LIST,
    SYM_GET_OPTIONS,
    SYM_SET_OPTIONS,
    SYM_CLEANUP,
    SYM_GET_MODULE_INFO,
    STACK_WALK,
    SYM_FUNCTION_TABLE_ACCESS,
    ENUMERATE_LOADED_MODULES,
    SYM_SET_SEARCH_PATH,
    SYM_GET_SYM_FROM_ADDR,
    SYM_GET_LINE_FROM_ADDR,
    SYM_LOAD_MODULE,
    SYM_UNLOAD_MODULE,
    SYM_FIND_FILE_IN_PATH,
    MINI_DUMP_WRITE_DUMP,
    IMAGE_NT_HEADER,
};

consteval bool EachSlotIsLookedUpOnce() {
    unsigned slots = 0;
    for (const EntryPointName& entry : LOOKUP_ORDER) {
        slots ^= 1U << entry.slot;
    }
    return slots == (1U << std::size(LOOKUP_ORDER)) - 1;
}
static_assert(EachSlotIsLookedUpOnce());

} // namespace Z4::Private
