/// @file
/// Start-up and shut-down of the ciphers; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

Z4_API void InitializeEncryptionService();
Z4_API void ShutdownEncryptionService();

} // namespace Z4
