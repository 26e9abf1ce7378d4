// The modules of this process, the names behind addresses of code, and how deep the stack was.
#include "tour.h"

#include <zelk_core/zelk_core.h>

namespace {

const char* FileName(const char* path) {
    const char* name = path;
    for (; *path != '\0'; ++path) {
        if (*path == '\\' || *path == '/') {
            name = path + 1;
        }
    }
    return name;
}

void PrintSymbol(const char* what, const void* address) {
    Z4::SymbolInfo info;
    Z4::SymbolHandler::Instance().Resolve(address, info);
    Print("   %-24s %s+%u in %s\n", what, info.function[0] != '\0' ? info.function : "?",
          static_cast<unsigned>(info.displacement), FileName(info.module));
}

} // namespace

void TourDebugHelp() {
    Chapter("services/dbghelp", "modules, symbols and stacks of this process");
    Z4::StopWatch watch(true);
    Z4::InitializeDbgHelpService();
    const unsigned long long startUp = watch.GetElapsedUSec();
    const bool loaded = Z4::WinDbgHelp::Instance().IsLoaded();
    watch.Stop();
    Print("   %-24s start-up %llu us, symbols %s after %llu us on a thread of their own\n", "dbghelp.dll", startUp,
          loaded ? "there" : "missing", watch.GetElapsedUSec());

    Z4::ProgramModuleDB& modules = Z4::ProgramModuleDB::Instance();
    Print("   %-24s %u are loaded\n", "modules", static_cast<unsigned>(modules.GetCount()));
    PrintSymbol("GetErrorString", reinterpret_cast<const void*>(&Z4::GetErrorString));
    PrintSymbol("TourDebugHelp", reinterpret_cast<const void*>(&TourDebugHelp));
    Print("   %-24s %u bytes of stack at this line\n", "main thread",
          static_cast<unsigned>(Z4::StackSizeMonitorDb::Instance().Sample()));
    Z4::ShutdownDbgHelpService();
}
