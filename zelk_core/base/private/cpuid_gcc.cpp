#include <cpuid.h>
#include <zelk_core/base/private/cpuid.h>

namespace Z4::Private {

CpuidRegisters Cpuid(std::uint32_t leaf, std::uint32_t subleaf) {
    CpuidRegisters registers{};
    __get_cpuid_count(leaf, subleaf, &registers.eax, &registers.ebx, &registers.ecx, &registers.edx);
    return registers;
}

std::uint32_t SystemStates() {
    std::uint32_t low;
    std::uint32_t high;
    __asm__("xgetbv" : "=a"(low), "=d"(high) : "c"(0));
    return low;
}

} // namespace Z4::Private
