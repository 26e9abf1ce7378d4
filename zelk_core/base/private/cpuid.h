// The processor's identification instruction, and what the system lets it do.
#pragma once

#include <cstdint>

namespace Z4::Private {

struct CpuidRegisters {
    std::uint32_t eax, ebx, ecx, edx;
};

/// All zero for a leaf that the processor does not have.
CpuidRegisters Cpuid(std::uint32_t leaf, std::uint32_t subleaf = 0);

/// The register states that the system keeps for each thread: the low half of the extended control register 0. Only
/// where leaf 1 says so (OSXSAVE); other processors know no such instruction.
std::uint32_t SystemStates();

} // namespace Z4::Private
