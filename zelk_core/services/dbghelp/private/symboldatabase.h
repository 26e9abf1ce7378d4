// The service's own source of symbols.
#pragma once

#include <zelk_core/services/dbghelp/symbolhandler.h>

namespace Z4::Private {

/// Symbols through WinDbgHelp; null when there is no memory. Give it up with Release().
SymbolDataBase* CreateSymbolDataBase();

} // namespace Z4::Private
