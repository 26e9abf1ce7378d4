/// @file
/// Start-up and shut-down of the mathematics; base/lifecycle.h tells how all such pairs work. Vectors, matrices, boxes
/// and distances need neither, and the constants are there before.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

Z4_API void InitializeMath();
Z4_API void ShutdownMath();

} // namespace Z4
