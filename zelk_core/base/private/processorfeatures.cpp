#include <atomic>
#include <zelk_core/base/private/processorfeatures.h>

namespace Z4::Private {

namespace {

constexpr bool HasAll(std::uint32_t word, std::uint32_t bits) {
    return (word & bits) == bits;
}

/// The features as they are remembered; the word is 0 before the processor was asked.
constexpr std::uint32_t ASKED = 1u << 0;
constexpr std::uint32_t SSSE3 = 1u << 1;
constexpr std::uint32_t PCLMUL = 1u << 2;
constexpr std::uint32_t AVX2 = 1u << 3;
constexpr std::uint32_t VPCLMUL = 1u << 4;
constexpr std::uint32_t FAST_AVX512 = 1u << 5;

/// Threads that meet the first question together all find the same, so the order of their stores is indifferent.
constinit std::atomic<std::uint32_t> g_features{0};

std::uint32_t AskOnce() {
    const ProcessorFeatures found = ReadFeatures(Cpuid, SystemStates);
    const std::uint32_t features = ASKED | found.ssse3 * SSSE3 | found.pclmul * PCLMUL | found.avx2 * AVX2 |
                                   found.vpclmul * VPCLMUL | found.fastAvx512 * FAST_AVX512;
    g_features.store(features, std::memory_order_relaxed);
    return features;
}

bool Has(std::uint32_t feature) {
    const std::uint32_t known = g_features.load(std::memory_order_relaxed);
    return ((known != 0 ? known : AskOnce()) & feature) != 0;
}

} // namespace

// Intel 64 and IA-32 Architectures Software Developer's Manual, volume 2A, CPUID, leaves 1 and 7; volume 1,
// section 13.3.
ProcessorFeatures ReadFeatures(CpuidFunction cpuid, std::uint32_t (*systemStates)()) {
    constexpr std::uint32_t LEAF1_PCLMULQDQ = 1u << 1;
    constexpr std::uint32_t LEAF1_SSSE3 = 1u << 9;
    constexpr std::uint32_t LEAF1_SSE41 = 1u << 19;
    constexpr std::uint32_t LEAF1_OSXSAVE = 1u << 27;
    constexpr std::uint32_t LEAF7_AVX2 = 1u << 5;
    constexpr std::uint32_t LEAF7_AVX512_F_BW_VL = 1u << 16 | 1u << 30 | 1u << 31;
    constexpr std::uint32_t LEAF7_VPCLMULQDQ = 1u << 10;
    constexpr std::uint32_t LEAF7_1_AVX512_BF16 = 1u << 5;
    constexpr std::uint32_t STATES_AVX = 0x6;
    constexpr std::uint32_t STATES_AVX512 = 0xE6;

    const std::uint32_t leaf1 = cpuid(1, 0).ecx;
    const CpuidRegisters leaf7 = cpuid(7, 0);
    const std::uint32_t states = HasAll(leaf1, LEAF1_OSXSAVE) ? systemStates() : 0;
    ProcessorFeatures features{};
    features.ssse3 = HasAll(leaf1, LEAF1_SSSE3);
    features.pclmul = HasAll(leaf1, LEAF1_PCLMULQDQ | LEAF1_SSE41);
    features.avx2 = HasAll(states, STATES_AVX) && HasAll(leaf7.ebx, LEAF7_AVX2);
    features.vpclmul = features.avx2 && features.pclmul && HasAll(leaf7.ecx, LEAF7_VPCLMULQDQ);
    // No bit tells whether the clock stays; these numbers came with the first processors where it does.
    features.fastAvx512 = features.vpclmul && HasAll(states, STATES_AVX512) &&
                          HasAll(leaf7.ebx, LEAF7_AVX512_F_BW_VL) && HasAll(cpuid(7, 1).eax, LEAF7_1_AVX512_BF16);
    return features;
}

bool HasSsse3() {
    return Has(SSSE3);
}

bool HasPclmul() {
    return Has(PCLMUL);
}

bool HasAvx2() {
    return Has(AVX2);
}

bool HasVpclmul() {
    return Has(VPCLMUL);
}

bool HasFastAvx512() {
    return Has(FAST_AVX512);
}

} // namespace Z4::Private
