/// @file
/// Start-up and shut-down of the compression service; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

Z4_API void InitializeCompressionService();
Z4_API void ShutdownCompressionService();

} // namespace Z4
