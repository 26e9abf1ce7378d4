// Symbol files by their paths.
#pragma once

#include <zelk_core/base/error.h>
#include <zelk_core/services/dbghelp/private/imageview.h>
#include <zelk_core/services/dbghelp/symbolmap.h>

namespace Z4::Private {

/// Reads the file at `path` for the module that `image`, in memory, is.
/// @return what the host's file table or SymbolMap::Read() say.
Error ReadSymbolFile(const char* path, const ImageView& image, SymbolMap& map);

/// Reads the first that fits of: the map beside the module's file `module`, by the names `lib.map` and `lib.dll.map`;
/// that file itself; and the file of debug information that it names.
/// @return ERR_NOT_FOUND when none of these is there, else the error of the first that is.
Error FindSymbolFile(const char* module, const ImageView& image, SymbolMap& map);

} // namespace Z4::Private
