// Where WinDbgHelp lets symbols be searched.
#pragma once

namespace Z4::Private {

inline constexpr unsigned SYMBOL_PATH_SIZE = 4096;

/// Writes the current directory, `_NT_SYMBOL_PATH` and `_NT_ALTERNATE_SYMBOL_PATH`, those that exist, joined by
/// semicolons. One that does not fit is left out.
void WriteSymbolPath(char (&path)[SYMBOL_PATH_SIZE]);

} // namespace Z4::Private
