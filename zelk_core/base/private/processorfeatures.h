// Which instructions beyond those that the library is compiled for may run here: the processor has them, and the system
// keeps their registers for each thread. A source that uses them is marked in zelk_core/CMakeLists.txt and called
// behind the question of the same name. Any thread; only the first call asks the processor.
#pragma once

#include <zelk_core/base/private/processor.h>

namespace Z4::Private {

/// Byte shuffles of 16 bytes.
bool HasSsse3();

/// Carry-less multiplication of 64 bits, and SSE4.1.
bool HasPclmul();

/// Integer vectors of 32 bytes.
bool HasAvx2();

/// Carry-less multiplication in vectors of 32 bytes, and AVX2.
bool HasVpclmul();

/// Vectors of 64 bytes (AVX-512 F, BW and VL, and their carry-less multiplication), on processors that keep their clock
/// with them: Zen 4, Sapphire Rapids and later. Those before slow down all other code of the core for a while.
bool HasFastAvx512();

struct ProcessorFeatures {
    bool ssse3;
    bool pclmul;
    bool avx2;
    bool vpclmul;
    bool fastAvx512;
};

/// `systemStates` is not called where the processor says that it cannot be.
ProcessorFeatures ReadFeatures(CpuidFunction cpuid, std::uint32_t (*systemStates)());

} // namespace Z4::Private
