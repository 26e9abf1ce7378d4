#include <zelk_core/base/assert.h>
#include <zelk_core/base/private/core.h>
#include <zelk_core/eal_utils/lifecycle.h>
#include <zelk_core/os/lifecycle.h>
#include <zelk_core/services/dbghelp/breakpoint.h>
#include <zelk_core/services/dbghelp/lifecycle.h>
#include <zelk_core/services/dbghelp/private/breakpoints.h>
#include <zelk_core/services/dbghelp/private/symbolsources.h>
#include <zelk_core/services/dbghelp/programmoduledb.h>
#include <zelk_core/services/dbghelp/stacksizemonitordb.h>
#include <zelk_core/services/dbghelp/windbghelp.h>

namespace Z4 {

namespace {

constinit unsigned g_uses = 0;
constinit SymbolDataBase* g_symbols = nullptr;

} // namespace

void InitializeDbgHelpService() {
    InitializeDbgHelpService(true);
}

void InitializeDbgHelpService(bool loadSymbols) {
    if (++g_uses != 1) {
        return;
    }
    Private::AddCoreUser();
    InitializeEalUtils();
    Private::AddCoreUser();
    InitializeOS();
    WinDbgHelp::SetLoadSymbols(loadSymbols);
    ProgramModuleDB::SingletonInit();
    WinDbgHelp::SingletonInit();
    g_symbols = Private::CreateSymbolDataBase();
    SymbolHandler::SingletonInit();
    SymbolHandler::Instance().SetDataBase(g_symbols);
    SymbolHandler::Instance().SetShuttingDown(false);
    // There is a free place, unless the program has taken all with a WinDbgHelp of its own making; then the list is
    // read once and stays so.
    static_cast<void>(ProgramModuleDB::Instance().Subscribe());
    Private::StartHardwareBreakpoints();
    StackSizeMonitorDb::SingletonInit();
}

void ShutdownDbgHelpService() {
    Z4_ASSERT(g_uses != 0, Private::SHUTDOWN_DUTY);
    if (--g_uses != 0) {
        return;
    }
    StringBreakpoint::ClearAll();
    Private::StopHardwareBreakpoints();
    ProgramModuleDB::SingletonShutdown();
    StackSizeMonitorDb::SingletonShutdown();
    SymbolHandler::Instance().SetShuttingDown(true);
    if (g_symbols != nullptr) {
        g_symbols->Release();
        g_symbols = nullptr;
    }
    SymbolHandler::Instance().SetDataBase(nullptr);
    WinDbgHelp::SingletonShutdown();
    Private::UnloadAllSymbolFiles();
    ShutdownOS();
    Private::RemoveCoreUser();
    ShutdownEalUtils();
    Private::RemoveCoreUser();
}

} // namespace Z4
