#include <zelk_core/services/dbghelp/private/windbghelpcall.h>

namespace Z4 {

bool WinDbgHelp::SymInitialize(void* process, const char* searchPath, bool invade) {
    return Forward(Private::SYM_INITIALIZE, process, searchPath, invade) != 0;
}

bool WinDbgHelp::SymCleanup(void* process) {
    return Forward(Private::SYM_CLEANUP, process) != 0;
}

bool WinDbgHelp::SymRefreshModuleList(void* process) {
    return Forward(Private::SYM_REFRESH_MODULE_LIST, process) != 0;
}

unsigned long WinDbgHelp::SymGetOptions() {
    return Forward(Private::SYM_GET_OPTIONS);
}

unsigned long WinDbgHelp::SymSetOptions(unsigned long options) {
    return Forward(Private::SYM_SET_OPTIONS, options);
}

bool WinDbgHelp::SymGetModuleInfo64(void* process, unsigned long long address, _IMAGEHLP_MODULE64* module) {
    return Forward(Private::SYM_GET_MODULE_INFO, process, address, module) != 0;
}

bool WinDbgHelp::StackWalk64(unsigned long machineType, void* process, void* thread, _tagSTACKFRAME64* frame,
                             void* context, ReadMemoryCallback readMemory,
                             FunctionTableAccessCallback functionTableAccess, GetModuleBaseCallback getModuleBase,
                             TranslateAddressCallback translateAddress) {
    return Forward(Private::STACK_WALK, machineType, process, thread, frame, context, readMemory, functionTableAccess,
                   getModuleBase, translateAddress) != 0;
}

void* WinDbgHelp::SymFunctionTableAccess64(void* process, unsigned long long address) {
    return Forward(Private::SYM_FUNCTION_TABLE_ACCESS, process, address);
}

void* WinDbgHelp::GetAddressOfSymFunctionTableAccess64() {
    WaitUntilReady();
    return m_entryPoints[Private::SYM_FUNCTION_TABLE_ACCESS.slot];
}

bool WinDbgHelp::SymSetSearchPath(void* process, const char* path) {
    return Forward(Private::SYM_SET_SEARCH_PATH, process, path) != 0;
}

bool WinDbgHelp::SymGetSymFromAddr64(void* process, unsigned long long address, unsigned long long* displacement,
                                     _IMAGEHLP_SYMBOL64* symbol) {
    return Forward(Private::SYM_GET_SYM_FROM_ADDR, process, address, displacement, symbol) != 0;
}

bool WinDbgHelp::SymGetLineFromAddr64(void* process, unsigned long long address, unsigned long* displacement,
                                      _IMAGEHLP_LINE64* line) {
    return Forward(Private::SYM_GET_LINE_FROM_ADDR, process, address, displacement, line) != 0;
}

unsigned long long WinDbgHelp::SymLoadModule64(void* process, void* file, const char* imageName, const char* moduleName,
                                               unsigned long long base, unsigned long size) {
    return Forward(Private::SYM_LOAD_MODULE, process, file, imageName, moduleName, base, size);
}

bool WinDbgHelp::SymUnloadModule64(void* process, unsigned long long base) {
    return Forward(Private::SYM_UNLOAD_MODULE, process, base) != 0;
}

bool WinDbgHelp::SymFindFileInPath(void* process, const char* path, const char* name, void* id, unsigned long two,
                                   unsigned long three, unsigned long flags, char* found, FindFileCallback callback,
                                   void* context) {
    return Forward(Private::SYM_FIND_FILE_IN_PATH, process, path, name, id, two, three, flags, found, callback,
                   context) != 0;
}

bool WinDbgHelp::MiniDumpWriteDump(void* process, unsigned long processId, void* file, int dumpType,
                                   _MINIDUMP_EXCEPTION_INFORMATION* exception,
                                   _MINIDUMP_USER_STREAM_INFORMATION* userStream,
                                   _MINIDUMP_CALLBACK_INFORMATION* callback) {
    return Forward(Private::MINI_DUMP_WRITE_DUMP, process, processId, file, static_cast<MINIDUMP_TYPE>(dumpType),
                   exception, userStream, callback) != 0;
}

_IMAGE_NT_HEADERS* WinDbgHelp::ImageNtHeader(void* base) {
    return Forward(Private::IMAGE_NT_HEADER, base);
}

unsigned long WinDbgHelp::UnDecorateSymbolName(const char* name, char* text, unsigned long size, unsigned long flags) {
    PrepareCall();
    const Private::SectionGuard guard(m_lock);
    if (m_unDecorate == nullptr && m_library.IsDLLLoaded()) {
        m_unDecorate = reinterpret_cast<void*>(
            GetProcAddress(static_cast<HMODULE>(m_library.GetDLLHandle()), "UnDecorateSymbolName"));
    }
    if (m_unDecorate == nullptr) {
        SetLastError(ERROR_PROC_NOT_FOUND);
        return 0;
    }
    return reinterpret_cast<decltype(&::UnDecorateSymbolName)>(m_unDecorate)(name, text, size, flags);
}

} // namespace Z4
