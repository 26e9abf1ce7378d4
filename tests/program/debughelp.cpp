#include "check.h"

#include <cstring>
#include <zelk_core/zelk_core.h>

namespace {

bool IsNamed(const void* address, const char* name) {
    Z4::SymbolInfo info;
    return Z4::SymbolHandler::Instance().Resolve(address, info) && std::strstr(info.function, name) != nullptr;
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
    Z4::CallStack stack;
    CHECK(stack.Capture(0) >= 3);
}
