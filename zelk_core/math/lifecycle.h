/// @file
/// Start-up and shut-down of the mathematics rooms; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

Z4_API void InitializeMath();
Z4_API void ShutdownMath();

} // namespace Z4
