/// @file
/// Start-up and shut-down of the compression service; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// Takes two starts of the core. Compression itself needs no more than the host's memory table.
Z4_API void InitializeCompressionService();
/// Gives them back.
Z4_API void ShutdownCompressionService();

} // namespace Z4
