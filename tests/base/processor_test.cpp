// CPUID's registers read in the wrong place, by the answers of processors that this machine is not; and the choice that
// hangs on one of its bits. Vendors and descriptors are pinned: see tables.cpp.
#include <gtest/gtest.h>
#include <map>
#include <sstream>
#include <string>
#include <tests/support/rows.h>
#include <utility>
#include <zelk_core/base/private/hashcrc.h>
#include <zelk_core/base/private/processor.h>

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

// By the bits in the processor's own words: leaf 1, ECX, bit 1 for the multiplication and bit 19 for SSE4.1.
TEST(Crc, IsFoldedWhereTheProcessorCan) {
    const std::uint32_t features = Cpuid(1).ecx;
    EXPECT_EQ(HasPclmul(), (features & 1u << 1) != 0 && (features & 1u << 19) != 0);
    EXPECT_EQ(ChooseCrc(true), CrcPclmul);
    EXPECT_EQ(ChooseCrc(false), CrcPortable);
}
