// CPUID's registers read in the wrong place, by the answers of processors that this machine is not; and the choice that
// hangs on one of its bits. Vendors and descriptors are pinned: see tables.cpp.
#include <cstring>
#include <gtest/gtest.h>
#include <map>
#include <string>
#include <utility>
#include <zelk_core/base/private/hashcrc.h>
#include <zelk_core/base/private/processorfeatures.h>

using namespace Z4;
using namespace Z4::Private;

namespace {

std::map<std::pair<std::uint32_t, std::uint32_t>, CpuidRegisters> g_answers;

CpuidRegisters Answer(std::uint32_t leaf, std::uint32_t subleaf) {
    const auto found = g_answers.find({leaf, subleaf});
    return found != g_answers.end() ? found->second : CpuidRegisters{};
}

CpuidRegisters VendorLeaf(const std::string& text) {
    CpuidRegisters leaf{};
    std::memcpy(&leaf.ebx, text.data(), 4);
    std::memcpy(&leaf.edx, text.data() + 4, 4);
    std::memcpy(&leaf.ecx, text.data() + 8, 4);
    return leaf;
}

void ExpectCaches(const CacheSizes& sizes, std::uint32_t l1, std::uint32_t l2, std::uint32_t l3) {
    EXPECT_EQ(sizes.l1, l1);
    EXPECT_EQ(sizes.l2, l2);
    EXPECT_EQ(sizes.l3, l3);
}

constexpr std::uint32_t KIB = 1024;
constexpr std::uint32_t UNKNOWN = Platform::UNKNOWN_SIZE;

} // namespace

TEST(Processor, Signature) {
    g_answers = {{{1, 0}, {0x000A0F31, 0, 0x80000000, 0}}};
    const ProcessorSignature zen = IdentifyProcessor(Answer);
    EXPECT_EQ(zen.family, 0xFu);
    EXPECT_EQ(zen.model, 3u);
    EXPECT_TRUE(zen.hypervisorPresent);
    g_answers = {{{1, 0}, {0x000306A9, 0, 0x7FFFFFFF, 0}}};
    const ProcessorSignature core = IdentifyProcessor(Answer);
    EXPECT_EQ(core.family, 6u);
    EXPECT_EQ(core.model, 0xAu);
    EXPECT_FALSE(core.hypervisorPresent);
}

TEST(Processor, EnumeratedCaches) {
    // A Core i7-3770: 32 KiB data, 32 KiB code, 256 KiB, 8 MiB.
    const CpuidRegisters core[] = {{0x1C004121, 0x01C0003F, 0x3F, 0},
                                   {0x1C004122, 0x01C0003F, 0x3F, 0},
                                   {0x1C004143, 0x01C0003F, 0x1FF, 0},
                                   {0x1C03C163, 0x03C0003F, 0x1FFF, 6}};
    // A Zen 3 desktop: 32 KiB, 32 KiB, 512 KiB, 32 MiB, at AMD's own leaf.
    const CpuidRegisters zen[] = {{0x00004121, 0x01C0003F, 0x3F, 0},
                                  {0x00004122, 0x01C0003F, 0x3F, 0},
                                  {0x00004143, 0x01C0003F, 0x3FF, 2},
                                  {0x0003C163, 0x03C0003F, 0x7FFF, 1}};
    g_answers.clear();
    for (std::uint32_t i = 0; i < 4; ++i) {
        g_answers[{4, i}] = core[i];
    }
    CacheSizes sizes;
    EXPECT_TRUE(ReadCachesDeterministic(Answer, sizes));
    ExpectCaches(sizes, 32 * KIB, 256 * KIB, 8192 * KIB);

    g_answers.clear();
    for (std::uint32_t i = 0; i < 4; ++i) {
        g_answers[{0x8000001D, i}] = zen[i];
    }
    CacheSizes amd;
    EXPECT_FALSE(ReadCachesDeterministic(Answer, amd)) << "without the feature bit the leaf means nothing";
    ExpectCaches(amd, UNKNOWN, UNKNOWN, UNKNOWN);
    g_answers[{0x80000001, 0}].ecx = 1u << 22;
    EXPECT_TRUE(ReadCachesDeterministic(Answer, amd));
    ExpectCaches(amd, 32 * KIB, 512 * KIB, 32768 * KIB);
}

TEST(Processor, AHypervisorThatNeverEndsTheListIsLeft) {
    const auto endless = [](std::uint32_t, std::uint32_t) { return CpuidRegisters{0x21, 0x01C0003F, 0x3F, 0}; };
    CacheSizes sizes;
    EXPECT_TRUE(ReadCachesDeterministic(endless, sizes));
    ExpectCaches(sizes, 32 * KIB, UNKNOWN, UNKNOWN);
}

TEST(Processor, ClassicalCaches) {
    // A Pentium III: 0C in EDX is the data cache, 43 the second level; ECX is marked invalid.
    g_answers = {{{0, 0}, VendorLeaf("GenuineIntel")}, {{2, 0}, {0x03020101, 0, 0x800000EC, 0x0C040843}}};
    CacheSizes intel;
    EXPECT_TRUE(ReadCachesClassical(Answer, intel));
    ExpectCaches(intel, 16 * KIB, 512 * KIB, UNKNOWN);

    // An Athlon 64 X2: 64 KiB, 512 KiB, no third level.
    g_answers = {{{0, 0}, VendorLeaf("AuthenticAMD")},
                 {{0x80000005, 0}, {0, 0, 0x40020140, 0}},
                 {{0x80000006, 0}, {0, 0, 0x02008140, 0}}};
    CacheSizes amd;
    EXPECT_TRUE(ReadCachesClassical(Answer, amd));
    ExpectCaches(amd, 64 * KIB, 512 * KIB, UNKNOWN);

    g_answers.clear();
    CacheSizes none;
    EXPECT_FALSE(ReadCachesClassical(Answer, none));
    ExpectCaches(none, UNKNOWN, UNKNOWN, UNKNOWN);
}

TEST(Processor, CacheLineNeedsTheFlushInstruction) {
    std::uint32_t size = 7;
    g_answers = {{{1, 0}, {0, 0x00000800, 0, 0}}};
    EXPECT_FALSE(ReadCacheLineSize(Answer, size));
    EXPECT_EQ(size, 7u);
    g_answers = {{{1, 0}, {0, 0x00000800, 0, 1u << 19}}};
    EXPECT_TRUE(ReadCacheLineSize(Answer, size));
    EXPECT_EQ(size, 64u);
}

// The wider registers are there only where the system keeps them; a processor that cannot tell is not asked.
TEST(Processor, FeaturesNeedTheProcessorAndTheSystem) {
    constexpr std::uint32_t SSSE3 = 1u << 9;
    constexpr std::uint32_t PCLMUL = 1u << 1 | 1u << 19;
    constexpr std::uint32_t OSXSAVE = 1u << 27;
    constexpr CpuidRegisters LEAF7{0, 1u << 5 | 1u << 16 | 1u << 30 | 1u << 31, 1u << 10, 0};
    static std::uint32_t states;
    const auto read = [](std::uint32_t leaf1, CpuidRegisters leaf7, std::uint32_t systemStates, bool bf16 = true) {
        g_answers = {{{1, 0}, {0, 0, leaf1, 0}}, {{7, 0}, leaf7}, {{7, 1}, {bf16 ? 1u << 5 : 0, 0, 0, 0}}};
        states = systemStates;
        const ProcessorFeatures found = ReadFeatures(Answer, [] { return states; });
        return std::string(found.ssse3 ? "s" : "") + (found.pclmul ? "p" : "") + (found.avx2 ? "2" : "") +
               (found.vpclmul ? "v" : "") + (found.fastAvx512 ? "5" : "");
    };
    EXPECT_EQ(read(SSSE3 | PCLMUL | OSXSAVE, LEAF7, 0xE7), "sp2v5");
    EXPECT_EQ(read(SSSE3 | PCLMUL | OSXSAVE, LEAF7, 0xE7, false), "sp2v") << "Ice Lake's clock falls";
    EXPECT_EQ(read(SSSE3 | PCLMUL | OSXSAVE, LEAF7, 0x07), "sp2v") << "the system keeps 32 bytes";
    EXPECT_EQ(read(SSSE3 | PCLMUL | OSXSAVE, LEAF7, 0x03), "sp") << "the system keeps 16 bytes";
    EXPECT_EQ(read(SSSE3 | PCLMUL, LEAF7, 0xE7), "sp") << "nobody knows what the system keeps";
    EXPECT_EQ(read(SSSE3 | OSXSAVE, LEAF7, 0xE7), "s2");
    EXPECT_EQ(read(SSSE3 | PCLMUL | OSXSAVE, {0, 1u << 5, 0, 0}, 0x07), "sp2");
    EXPECT_EQ(read(1u << 1, {}, 0), "") << "no SSE4.1";
}

TEST(Crc, IsFoldedAsWideAsTheProcessorCan) {
    const std::uint32_t features = Cpuid(1).ecx;
    EXPECT_EQ(HasPclmul(), (features & 1u << 1) != 0 && (features & 1u << 19) != 0);
    EXPECT_EQ(ChooseCrc(true, true, true), CrcAvx512);
    EXPECT_EQ(ChooseCrc(true, true, false), CrcVpclmul);
    EXPECT_EQ(ChooseCrc(true, false, false), CrcPclmul);
    EXPECT_EQ(ChooseCrc(false, false, false), CrcPortable);
}
