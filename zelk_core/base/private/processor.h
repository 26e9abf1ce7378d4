// What CPUID tells about the processor. Every function asks through the one it is given, so that the answers of other
// processors can be fed to it.
#pragma once

#include <cstdint>
#include <zelk_core/base/platform.h>
#include <zelk_core/base/private/cpuid.h>

namespace Z4::Private {

using CpuidFunction = CpuidRegisters (*)(std::uint32_t leaf, std::uint32_t subleaf);

struct ProcessorSignature {
    ProcessorVendor vendor;
    std::uint32_t family;
    std::uint32_t model;
    bool hypervisorPresent;
};

ProcessorSignature IdentifyProcessor(CpuidFunction cpuid);

/// Data or unified caches by level, in bytes; Platform::UNKNOWN_SIZE where nothing is known.
struct CacheSizes {
    std::uint32_t l1 = Platform::UNKNOWN_SIZE;
    std::uint32_t l2 = Platform::UNKNOWN_SIZE;
    std::uint32_t l3 = Platform::UNKNOWN_SIZE;
};

/// By the leaves that enumerate caches with their geometry (4, or AMD's 0x8000001D). False, with `sizes` untouched,
/// where the processor has neither.
bool ReadCachesDeterministic(CpuidFunction cpuid, CacheSizes& sizes);

/// By the older descriptions: Intel's descriptor bytes (leaf 2) or AMD's size fields (0x80000005 and 0x80000006).
/// False, with `sizes` untouched, when they say nothing.
bool ReadCachesClassical(CpuidFunction cpuid, CacheSizes& sizes);

/// False, with `size` untouched, on a processor without CLFLUSH.
bool ReadCacheLineSize(CpuidFunction cpuid, std::uint32_t& size);

} // namespace Z4::Private
