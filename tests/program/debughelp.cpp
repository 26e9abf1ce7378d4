#include "check.h"

#include <cstring>
#include <zelk_core/zelk_core.h>

namespace {

bool IsNamed(const void* address, const char* name) {
    Z4::SymbolInfo info;
    return Z4::SymbolHandler::Instance().Resolve(address, info) && std::strstr(info.function, name) != nullptr;
}

volatile long g_watched;
unsigned g_hits;

void CheckBreakpoints() {
    unsigned long slot = 0;
    const auto count = [](const Z4::HardwareBreakpoint::Hit& hit, void*) {
        g_hits += hit.address == const_cast<const long*>(&g_watched) ? 1u : 0u;
    };
    const Z4::Error result =
        Z4::HardwareBreakpoint::Set(const_cast<const long*>(&g_watched), sizeof g_watched, Z4::BREAK_ON_WRITE,
                                    Z4::HardwareBreakpoint::ALL_THREADS, count, nullptr, slot);
    if (result != Z4::ERR_UNSUPPORTED) {
        CHECK(result == Z4::ERR_OK);
        g_watched = 1;
        CHECK(Z4::HardwareBreakpoint::Clear(slot) == Z4::ERR_OK);
        g_watched = 2;
        CHECK(g_hits == 1);
    }
    const auto see = [](const char*, const char*, void*) { return ++g_hits == 0; };
    CHECK(Z4::StringBreakpoint::Set("= 7", Z4::StringBreakpoint::FORMATTER, 0, see, nullptr, slot) == Z4::ERR_OK);
    char text[20];
    Z4::StrFormat::Print(text, sizeof text, "x = %d", 7);
    CHECK(Z4::StringBreakpoint::GetHits(slot) == 1);
    CHECK(Z4::StringBreakpoint::Clear(slot) == Z4::ERR_OK);
}

} // namespace

void CheckDebugHelp() {
    Z4::WinDbgHelp& debugHelp = Z4::WinDbgHelp::Instance();
    CHECK(debugHelp.IsLoaded() && debugHelp.IsReady());
    CHECK(Z4::ProgramModuleDB::Instance().GetCount() >= 3);

    // By the debug databases of the program and of the DLL.
#if defined(_MSC_VER) // whose form of it alone the debug-help library is sure to read
    CHECK(IsNamed(reinterpret_cast<const void*>(&CheckDebugHelp), "CheckDebugHelp"));
#endif
    CHECK(IsNamed(reinterpret_cast<const void*>(&Z4::GetErrorString), "GetErrorString"));
    CHECK(Z4::StackSizeMonitorDb::Instance().Sample() > 0);
    CheckBreakpoints();
}
