#include <cstring>
#include <initializer_list>
#include <zelk_core/base/private/processor.h>

namespace Z4::Private {

namespace {

constexpr std::uint32_t KIB = 1024;
constexpr std::uint32_t MIB = 1024 * KIB;

constexpr std::uint32_t Bits(std::uint32_t value, unsigned high, unsigned low) {
    return (value >> low) & ((2u << (high - low)) - 1);
}

struct VendorName {
    char text[13];
    ProcessorVendor vendor;
};

constexpr VendorName VENDOR_NAMES[] = {
    {"GenuineIntel", ProcessorVendor::INTEL},     {"UMC UMC UMC ", ProcessorVendor::UMC},
    {"AuthenticAMD", ProcessorVendor::AMD},       {"AMD ISBETTER", ProcessorVendor::AMD},
    {"CyrixInstead", ProcessorVendor::CYRIX},     {"NexGenDriven", ProcessorVendor::NEXGEN},
    {"CentaurHauls", ProcessorVendor::CENTAUR},   {"RiseRiseRise", ProcessorVendor::RISE},
    {"GenuineTMx86", ProcessorVendor::TRANSMETA}, {"TransmetaCPU", ProcessorVendor::TRANSMETA},
    {"Geode By NSC", ProcessorVendor::NSC},
};

ProcessorVendor IdentifyVendor(const CpuidRegisters& leaf0) {
    char text[12];
    std::memcpy(text, &leaf0.ebx, 4);
    std::memcpy(text + 4, &leaf0.edx, 4);
    std::memcpy(text + 8, &leaf0.ecx, 4);
    for (const VendorName& name : VENDOR_NAMES) {
        if (std::memcmp(text, name.text, sizeof(text)) == 0) {
            return name.vendor;
        }
    }
    return ProcessorVendor::UNKNOWN;
}

/// False for level 0 and for levels that are not kept.
bool StoreLevel(CacheSizes& sizes, std::uint32_t level, std::uint32_t bytes) {
    switch (level) {
    case 1:
        sizes.l1 = bytes;
        return true;
    case 2:
        sizes.l2 = bytes;
        return true;
    case 3:
        sizes.l3 = bytes;
        return true;
    default:
        return false;
    }
}

/// Leaf 4 and AMD's 0x8000001D share one layout: one cache a subleaf, ended by type 0.
bool ReadCacheEnumeration(CpuidFunction cpuid, std::uint32_t leaf, CacheSizes& sizes) {
    // No processor lists more than a handful; the limit ends the loop on a hypervisor that never answers type 0.
    constexpr std::uint32_t MAX_CACHES = 16;
    constexpr std::uint32_t TYPE_NONE = 0;
    constexpr std::uint32_t TYPE_INSTRUCTION = 2;
    bool found = false;
    for (std::uint32_t index = 0; index < MAX_CACHES; ++index) {
        const CpuidRegisters cache = cpuid(leaf, index);
        const std::uint32_t type = Bits(cache.eax, 4, 0);
        if (type == TYPE_NONE) {
            break;
        }
        if (type == TYPE_INSTRUCTION) {
            continue;
        }
        const std::uint32_t ways = Bits(cache.ebx, 31, 22) + 1;
        const std::uint32_t partitions = Bits(cache.ebx, 21, 12) + 1;
        const std::uint32_t lineSize = Bits(cache.ebx, 11, 0) + 1;
        const std::uint32_t sets = cache.ecx + 1;
        found |= StoreLevel(sizes, Bits(cache.eax, 7, 5), ways * partitions * lineSize * sets);
    }
    return found;
}

struct CacheDescriptor {
    std::uint8_t value;
    std::uint8_t level;
    std::uint32_t bytes;
};

// Intel 64 and IA-32 Architectures Software Developer's Manual, volume 2A, CPUID, encoding of leaf 2 descriptors.
constexpr CacheDescriptor CACHE_DESCRIPTORS[] = {
    {0x0A, 1, 8 * KIB},   {0x0C, 1, 16 * KIB},   {0x0D, 1, 16 * KIB},  {0x0E, 1, 24 * KIB},  {0x2C, 1, 32 * KIB},
    {0x60, 1, 16 * KIB},  {0x66, 1, 8 * KIB},    {0x67, 1, 16 * KIB},  {0x68, 1, 32 * KIB},

    {0x1D, 2, 128 * KIB}, {0x21, 2, 256 * KIB},  {0x24, 2, 1 * MIB},   {0x41, 2, 128 * KIB}, {0x42, 2, 256 * KIB},
    {0x43, 2, 512 * KIB}, {0x44, 2, 1 * MIB},    {0x45, 2, 2 * MIB},   {0x48, 2, 3 * MIB},   {0x49, 2, 4 * MIB},
    {0x4E, 2, 6 * MIB},   {0x78, 2, 1 * MIB},    {0x79, 2, 128 * KIB}, {0x7A, 2, 256 * KIB}, {0x7B, 2, 512 * KIB},
    {0x7C, 2, 1 * MIB},   {0x7D, 2, 2 * MIB},    {0x7F, 2, 512 * KIB}, {0x80, 2, 512 * KIB}, {0x82, 2, 256 * KIB},
    {0x83, 2, 512 * KIB}, {0x84, 2, 1 * MIB},    {0x85, 2, 2 * MIB},   {0x86, 2, 512 * KIB}, {0x87, 2, 1 * MIB},

    {0x22, 3, 512 * KIB}, {0x23, 3, 1 * MIB},    {0x25, 3, 2 * MIB},   {0x29, 3, 4 * MIB},   {0x46, 3, 4 * MIB},
    {0x47, 3, 8 * MIB},   {0x4A, 3, 6 * MIB},    {0x4B, 3, 8 * MIB},   {0x4C, 3, 12 * MIB},  {0x4D, 3, 16 * MIB},
    {0xD0, 3, 512 * KIB}, {0xD1, 3, 1 * MIB},    {0xD2, 3, 2 * MIB},   {0xD6, 3, 1 * MIB},   {0xD7, 3, 2 * MIB},
    {0xD8, 3, 4 * MIB},   {0xDC, 3, 1536 * KIB}, {0xDD, 3, 3 * MIB},   {0xDE, 3, 6 * MIB},   {0xE2, 3, 2 * MIB},
    {0xE3, 3, 4 * MIB},   {0xE4, 3, 8 * MIB},    {0xEA, 3, 12 * MIB},  {0xEB, 3, 18 * MIB},  {0xEC, 3, 24 * MIB},
};

bool ReadDescriptor(std::uint8_t value, const ProcessorSignature& processor, CacheSizes& sizes) {
    // One value means another level on the first Xeon MP with a third level.
    if (value == 0x49 && processor.family == 0xF && processor.model == 6) {
        return StoreLevel(sizes, 3, 4 * MIB);
    }
    for (const CacheDescriptor& descriptor : CACHE_DESCRIPTORS) {
        if (descriptor.value == value) {
            return StoreLevel(sizes, descriptor.level, descriptor.bytes);
        }
    }
    return false;
}

bool ReadIntelDescriptors(CpuidFunction cpuid, const ProcessorSignature& processor, CacheSizes& sizes) {
    constexpr std::uint32_t INVALID_REGISTER = 0x80000000;
    CpuidRegisters leaf2 = cpuid(2, 0);
    leaf2.eax &= ~0xFFu; // The lowest byte is a repeat count, which is 1 on every processor ever made.
    bool found = false;
    for (const std::uint32_t word : {leaf2.eax, leaf2.ebx, leaf2.ecx, leaf2.edx}) {
        if ((word & INVALID_REGISTER) != 0) {
            continue;
        }
        for (unsigned shift = 0; shift < 32; shift += 8) {
            found |= ReadDescriptor(static_cast<std::uint8_t>(word >> shift), processor, sizes);
        }
    }
    return found;
}

/// AMD64 Architecture Programmer's Manual, volume 3, appendix E: a size field of 0 means no such cache.
bool ReadAmdSizeFields(CpuidFunction cpuid, CacheSizes& sizes) {
    const std::uint32_t l1 = Bits(cpuid(0x80000005, 0).ecx, 31, 24) * KIB;
    const CpuidRegisters outer = cpuid(0x80000006, 0);
    const std::uint32_t l2 = Bits(outer.ecx, 31, 16) * KIB;
    const std::uint32_t l3 = Bits(outer.edx, 31, 18) * (512 * KIB);
    bool found = l1 != 0 && StoreLevel(sizes, 1, l1);
    found |= l2 != 0 && StoreLevel(sizes, 2, l2);
    found |= l3 != 0 && StoreLevel(sizes, 3, l3);
    return found;
}

} // namespace

ProcessorSignature IdentifyProcessor(CpuidFunction cpuid) {
    const CpuidRegisters leaf1 = cpuid(1, 0);
    return {IdentifyVendor(cpuid(0, 0)), Bits(leaf1.eax, 11, 8), Bits(leaf1.eax, 7, 4), Bits(leaf1.ecx, 31, 31) != 0};
}

bool ReadCachesDeterministic(CpuidFunction cpuid, CacheSizes& sizes) {
    constexpr std::uint32_t TOPOLOGY_EXTENSIONS = 1u << 22;
    if (ReadCacheEnumeration(cpuid, 4, sizes)) {
        return true;
    }
    return (cpuid(0x80000001, 0).ecx & TOPOLOGY_EXTENSIONS) != 0 && ReadCacheEnumeration(cpuid, 0x8000001D, sizes);
}

bool ReadCachesClassical(CpuidFunction cpuid, CacheSizes& sizes) {
    const ProcessorSignature processor = IdentifyProcessor(cpuid);
    return processor.vendor == ProcessorVendor::INTEL ? ReadIntelDescriptors(cpuid, processor, sizes)
                                                      : ReadAmdSizeFields(cpuid, sizes);
}

bool ReadCacheLineSize(CpuidFunction cpuid, std::uint32_t& size) {
    constexpr std::uint32_t CLFLUSH = 1u << 19;
    constexpr std::uint32_t BYTES_PER_UNIT = 8;
    const CpuidRegisters leaf1 = cpuid(1, 0);
    if ((leaf1.edx & CLFLUSH) == 0) {
        return false;
    }
    size = Bits(leaf1.ebx, 15, 8) * BYTES_PER_UNIT;
    return true;
}

} // namespace Z4::Private
