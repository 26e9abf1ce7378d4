// Where the names of addresses come from, one after another.
#pragma once

#include <zelk_core/base/error.h>
#include <zelk_core/services/dbghelp/symbolhandler.h>

namespace Z4::Private {

/// Symbols by WinDbgHelp, then those of symbol files and of exports; null when there is no memory. Has the service told
/// of modules that go, so call it when WinDbgHelp has been made. Give it up with Release().
SymbolDataBase* CreateSymbolDataBase();

/// Fills in what lies in memory alone: symbol files, then exports. No lock, no allocation. Any thread.
/// @return whether `address` lies in a module.
bool FindInMemory(const void* address, SymbolInfo& info);

inline constexpr int LONGEST_MODULE = 3 * 260; ///< of the longest path, each character in UTF-8

/// The path of a module's file; empty when there is none or it is too long. Takes the lock of the system's loader.
void WriteModulePath(const void* moduleBase, char (&path)[LONGEST_MODULE]);

/// As SymbolHandler has them.
Error LoadSymbolFile(const void* moduleBase, const char* path);
Error UnloadSymbolFile(const void* moduleBase);
/// Looks into the module at `moduleBase` only.
bool FindFunctionInModule(const void* moduleBase, const char* function, const void*& address);
/// At the shut-down, when nobody asks any more.
void UnloadAllSymbolFiles();

} // namespace Z4::Private
