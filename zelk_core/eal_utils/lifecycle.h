/// @file
/// Start-up and shut-down of the helpers over the host's files and threads; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// Starts the core (the host's log and memory tables, unless they are up), then the host's file table, then its thread
/// table. Only the core counts its starts: each call starts file and thread table again, so these tables must count
/// theirs. One thread at a time may be in these two functions.
Z4_API void InitializeEalUtils();
/// Takes back one InitializeEalUtils(): shuts down the host's thread table, then its file table, and gives back one
/// start of the core.
Z4_API void ShutdownEalUtils();

} // namespace Z4
