// The processor's identification instruction.
#pragma once

#include <cstdint>

namespace Z4::Private {

struct CpuidRegisters {
    std::uint32_t eax, ebx, ecx, edx;
};

/// All zero for a leaf that the processor does not have.
CpuidRegisters Cpuid(std::uint32_t leaf, std::uint32_t subleaf = 0);

} // namespace Z4::Private
