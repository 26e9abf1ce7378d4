// CPUID's registers read in the wrong place, by the answers of processors that this machine is not; and the choice that
// hangs on one of its bits. Vendors and descriptors are pinned: see tables.cpp.
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <tests/support/rows.h>
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

template <class Read>
std::string Caches(Read read) {
    CacheSizes sizes;
    std::string text = read(Answer, sizes) ? "yes" : "no";
    for (const std::uint32_t size : {sizes.l1, sizes.l2, sizes.l3}) {
        text += ' ' + (size == Platform::UNKNOWN_SIZE ? "-1" : std::to_string(size / 1024));
    }
    return text;
}

std::string Describe() {
    const ProcessorSignature signature = IdentifyProcessor(Answer);
    std::uint32_t line = 7;
    const bool hasLine = ReadCacheLineSize(Answer, line);
    EXPECT_TRUE(hasLine || line == 7);
    std::ostringstream text;
    text << std::hex << std::uppercase << signature.family << ':' << signature.model
         << (signature.hypervisorPresent ? " hypervisor" : " bare") << ", enumerated "
         << Caches(ReadCachesDeterministic) << ", classical " << Caches(ReadCachesClassical) << std::dec
         << (hasLine ? ", line " + std::to_string(line) : ", no line");
    return text.str();
}

} // namespace

TEST(Processor, IsWhatItsAnswersSay) {
    for (const ZelkTest::Row& row : ZelkTest::Rows("processor.txt")) {
        g_answers.clear();
        for (std::size_t field = 1; field < row.Size(); ++field) {
            std::istringstream numbers(row.Text(field));
            std::uint32_t leaf;
            std::uint32_t subleaf;
            CpuidRegisters answer;
            numbers >> std::hex >> leaf >> subleaf >> answer.eax >> answer.ebx >> answer.ecx >> answer.edx;
            EXPECT_FALSE(numbers.fail()) << row.Where();
            g_answers[{leaf, subleaf}] = answer;
        }
        EXPECT_EQ(Describe(), row.Text(0)) << row.Where();
    }
}

TEST(Processor, AHypervisorThatNeverEndsTheListIsLeft) {
    const auto endless = [](std::uint32_t, std::uint32_t) { return CpuidRegisters{0x21, 0x01C0003F, 0x3F, 0}; };
    CacheSizes sizes;
    EXPECT_TRUE(ReadCachesDeterministic(endless, sizes));
    EXPECT_TRUE(sizes.l1 == 32 * 1024 && sizes.l2 == Platform::UNKNOWN_SIZE);
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
    EXPECT_EQ(read(SSSE3 | PCLMUL | OSXSAVE, {}, 0xE7), "sp");
    EXPECT_EQ(read(SSSE3 | PCLMUL | OSXSAVE, {0, 1u << 5, 1u << 10, 0}, 0xE7), "sp2v");
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
