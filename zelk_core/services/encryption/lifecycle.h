/// @file
/// Start-up and shut-down of the ciphers; base/lifecycle.h tells how all pairs work.
#pragma once

#include <zelk_core/base/api.h>

namespace Z4 {

/// Takes two starts of the core. The ciphers themselves need no more than the host's memory table.
Z4_API void InitializeEncryptionService();
/// Gives them back.
Z4_API void ShutdownEncryptionService();

} // namespace Z4
