// Compiled like a user's code, which trusts that the stack is aligned to 16 bytes when its functions are called.
#include "stackprobe.h"

#include <cstdint>
#include <emmintrin.h>

unsigned StackMisalignment() {
    alignas(16) volatile unsigned char local[16];
    const volatile std::uintptr_t address = reinterpret_cast<std::uintptr_t>(&local);
    _mm_store_si128(reinterpret_cast<__m128i*>(const_cast<unsigned char*>(local)), _mm_set1_epi8(1));
    return address % 16 + (local[5] - 1u);
}
