/// @file
/// Start-up and shut-down of the mathematics; base/lifecycle.h tells how all such pairs work. Vectors, matrices, boxes
/// and distances work without it, and the constants are there before. Only SIMD vectors, SIMD matrices and boxes that
/// are made by `new` need the host's memory, and with it any one service that is started.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// Takes one start of the core.
Z4_API void InitializeMath();
/// Gives it back.
Z4_API void ShutdownMath();

} // namespace Z4
