#include <bit>
#include <intrin.h>
#include <zelk_core/base/private/cpuid.h>

namespace Z4::Private {

CpuidRegisters Cpuid(std::uint32_t leaf, std::uint32_t subleaf) {
    constexpr std::uint32_t RANGE = 0x80000000; // basic leaves lie below, extended ones above, each with a first that
    int words[4];                               // names the range's last
    __cpuid(words, static_cast<int>(leaf & RANGE));
    if (leaf > static_cast<std::uint32_t>(words[0])) {
        return {};
    }
    __cpuidex(words, static_cast<int>(leaf), static_cast<int>(subleaf));
    return std::bit_cast<CpuidRegisters>(words);
}

std::uint32_t SystemStates() {
    return static_cast<std::uint32_t>(_xgetbv(0));
}

} // namespace Z4::Private
