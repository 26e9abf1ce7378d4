// Hunted here, in all three modes: blocks that overlap, are misaligned or lie where a stray access goes unseen; counts
// that drift from what is held; exceptions of the language's heap that leave the host.
#include "capture.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <host/zelkhost.h>
#include <new>
#include <set>
#include <tests/os/crowd.h>
#include <tests/support/counts.h>
#include <tests/support/random.h>
#include <vector>

namespace {
std::atomic<bool> g_heapRefuses;
} // namespace

// The language's own heap, which the host takes its records from.
Z4_NOINLINE void* operator new(std::size_t size) {
    void* const block = g_heapRefuses ? nullptr : std::malloc(size);
    return block != nullptr ? block : throw std::bad_alloc();
}
Z4_NOINLINE void operator delete(void* block) noexcept {
    std::free(block);
}
Z4_NOINLINE void operator delete(void* block, std::size_t) noexcept {
    std::free(block);
}

namespace {

using ZelkHost::MemoryMode;
using ZelkHost::MemoryStatistics;

constexpr int ID = 0x7E570001;
constexpr std::size_t PAGE = 4096;

// Probes by touching the byte.
bool IsInaccessible(void* byte) {
    return IsBadReadPtr(byte, 1) != 0 && IsBadWritePtr(byte, 1) != 0;
}

std::uintptr_t Address(const void* pointer) {
    return reinterpret_cast<std::uintptr_t>(pointer);
}

class Memory : public testing::TestWithParam<MemoryMode> {
protected:
    void SetUp() override { ZelkHost::Install({.memoryMode = GetParam()}); }

    void TearDown() override {
        ZelkHost::FailAllocations(0);
        EXPECT_EQ(ZelkHost::GetMemoryStatistics(ID).blocks, 0u);
        EXPECT_EQ(ZelkHost::GetMemoryStatistics(ID).bytes, 0u);
    }

    static bool IsGuarded() { return GetParam() != MemoryMode::PLAIN; }

    static char* Allocate(std::size_t size, std::size_t alignment, int id = ID) {
        return static_cast<char*>(m_table.alloc(size, alignment, 0, id));
    }

    /// A context that no other test uses, in no mode: a peak never falls.
    static int FreshContext(int test) { return ID + 16 * (1 + test) + static_cast<int>(GetParam()); }

    static inline const Z4::eal_mem_dll_interface& m_table = ZelkHost::MemoryTable();
};

TEST_P(Memory, EveryAlignmentAndSizeIsServedExactly) {
    std::set<char*> blocks;
    std::vector<std::pair<char*, char*>> filled;
    for (std::size_t alignment = 1; alignment <= 128 * 1024; alignment *= 2) {
        // 16, 112, 144 and 32752 fill what the plain heap keeps for them.
        for (const std::size_t size :
             {0u, 1u, 3u, 4u, 5u, 12u, 16u, 100u, 112u, 144u, 4095u, 4096u, 4097u, 32752u, 32753u, 70000u, 300000u}) {
            SCOPED_TRACE(testing::Message() << size << " bytes aligned to " << alignment);
            char* const block = Allocate(size, alignment);
            ASSERT_TRUE(block != nullptr && blocks.insert(block).second);
            EXPECT_EQ(Address(block) % alignment, 0u);
            std::memset(block, static_cast<char>(filled.size()), size);
            filled.emplace_back(block, block + size);
            if (GetParam() == MemoryMode::GUARD_END) {
                // No better aligned than asked: only so far from the page's end.
                const std::size_t step = std::min(alignment, PAGE);
                EXPECT_TRUE(IsInaccessible(block + (size + step - 1) / step * step));
            }
            EXPECT_TRUE(GetParam() != MemoryMode::GUARD_START || IsInaccessible(block - 1));
            EXPECT_TRUE(!IsGuarded() || IsInaccessible(block) == (size == 0));
        }
    }
    for (std::size_t i = 0; i < filled.size(); ++i) {
        const auto [first, last] = filled[i];
        EXPECT_EQ(std::count(first, last, static_cast<char>(i)), last - first) << "block " << i << " was overrun";
    }
    std::for_each(blocks.begin(), blocks.end(), m_table.free);
    EXPECT_TRUE(!IsGuarded() || std::all_of(blocks.begin(), blocks.end(), IsInaccessible));
}

TEST_P(Memory, ArgumentsThatCannotBeServedGiveNull) {
    for (const std::size_t alignment : {0u, 3u, 6u, 4097u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Allocate(16, alignment), nullptr) << alignment;
    }
    for (const std::size_t size : {0x80000000u, 0xFFFFF000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Allocate(size, 4), nullptr) << size;
    }
    m_table.free(nullptr);
    char* block = Allocate(64, 4);
    std::memset(block, 'a', 64);
    ZelkHost::FailAllocations(1, 2);
    EXPECT_EQ(m_table.realloc(block, 1000, 3), nullptr) << "invalid, and so not counted";
    EXPECT_EQ(m_table.realloc(block, 1000, 4), nullptr);
    EXPECT_EQ(m_table.realloc(block, 1000, 4), nullptr);
    EXPECT_EQ(ZelkHost::FailAllocations(0), 2u);
    EXPECT_EQ(std::count(block, block + 64, 'a'), 64) << "a refused reallocation leaves the block as it was";
    block = static_cast<char*>(m_table.realloc(block, 1000, 4));
    EXPECT_NE(block, nullptr) << "nothing is refused any more";
    m_table.free(block);
}

TEST_P(Memory, ThreadsShareTheTable) {
    const unsigned ROUNDS = ZelkTest::Repeats(2'000, 20'000);
    constexpr unsigned THREADS = 4;
    constexpr unsigned SLOTS = 8;
    const std::uint64_t before = ZelkHost::GetMemoryStatistics(ID).allocations;
    ZelkTest::RunCrowd(THREADS, [&](unsigned index) {
        ZelkTest::Input input(index);
        std::pair<char*, std::size_t> slots[SLOTS];
        std::generate(std::begin(slots), std::end(slots), [] { return std::pair(Allocate(0, 1), std::size_t{0}); });
        for (unsigned i = 0; i < ROUNDS; ++i) {
            const unsigned slot = input.Below(SLOTS);
            const char mark = static_cast<char>('a' + index * SLOTS + slot);
            const std::size_t alignment = std::size_t{1} << input.Below(8);
            const std::size_t newSize = input.Below(input.OnceIn(8) ? 9000 : 300) / 4 * input.Below(4);
            auto& [block, size] = slots[slot];
            block = static_cast<char*>(m_table.realloc(block, newSize, alignment));
            ASSERT_TRUE(block != nullptr && Address(block) % alignment == 0);
            ASSERT_TRUE(std::all_of(block, block + std::min(size, newSize), [=](char byte) { return byte == mark; }));
            size = newSize;
            std::memset(block, mark, size);
        }
        std::for_each(std::begin(slots), std::end(slots), [](const auto& slot) { m_table.free(slot.first); });
    });
    EXPECT_EQ(ZelkHost::GetMemoryStatistics(ID).allocations - before, THREADS * (SLOTS + ROUNDS));
}

TEST_P(Memory, TheLastShutdownReportsWhatEachContextHolds) {
    const int id = FreshContext(0);
    char name[] = "tests";
    m_table.name_id(id, nullptr);
    m_table.name_id(id, name);
    name[0] = '?';
    char* const block = Allocate(123, 4, id);
    m_table.free(Allocate(1000, 4, id));
    m_table.free(Allocate(1, 4, id));
    const ZelkTest::CapturedError error;
    m_table.init(Z4::EAL_MEM_VERSION);
    m_table.init(Z4::EAL_MEM_VERSION);
    m_table.shutdown();
    EXPECT_EQ(error.Text(), "");
    m_table.shutdown();
    char report[80];
    std::snprintf(report, sizeof report, "zelk_host: context 0x%08X (tests) holds 1 blocks, 123 bytes\n", id);
    EXPECT_EQ(error.Text(), report);
    m_table.shutdown();
    EXPECT_EQ(ZelkHost::ReportLeaks(), 1u);
    const std::vector<ZelkHost::MemoryContext> contexts = ZelkHost::GetMemoryContexts();
    const auto context = std::find_if(contexts.begin(), contexts.end(), [=](auto& entry) { return entry.id == id; });
    ASSERT_NE(context, contexts.end());
    EXPECT_EQ(context->name, "tests");
    EXPECT_EQ(context->statistics.peakBytes, 1123u);
    EXPECT_EQ(ZelkHost::GetMemoryStatistics(0x7E57FFFF).allocations, 0u);
    m_table.free(block);
    EXPECT_EQ(ZelkHost::ReportLeaks(), 0u);
}

TEST_P(Memory, NoSlotLetsARefusalOut) {
    const int id = FreshContext(1);
    const std::string name(100, 'n');
    const std::string path = ZelkTest::TemporaryFile().Utf8();
    char* const block = Allocate(8, 4);
    m_table.init(Z4::EAL_MEM_VERSION);
    Z4::eal_file_handle file = nullptr;
    g_heapRefuses = true;
    m_table.name_id(id, name.c_str());
    char* const refused = Allocate(8, 4, FreshContext(2));
    m_table.shutdown(); // reports the block
    const Z4::eal_file_status status = ZelkHost::FileTable().open(path.c_str(), Z4::EAL_FILE_READ, &file);
    const bool exists = ZelkHost::FileTable().exists(path.c_str()) != 0;
    const Z4::eal_thread_handle thread = ZelkHost::ThreadTable().create(
        id, 0, Z4::EAL_THREAD_PRIORITY_NORMAL, [](void*) {}, nullptr);
    g_heapRefuses = false;
    EXPECT_EQ(refused, nullptr);
    EXPECT_EQ(status, Z4::EAL_FILE_HOST_SPECIFIC);
    EXPECT_FALSE(exists);
    EXPECT_EQ(thread, nullptr);
    m_table.free(block);
}

TEST_P(Memory, MisuseAborts) {
    char* const block = Allocate(64, 16);
    alignas(16) static char foreign[64];
    EXPECT_DEATH((m_table.free(block), m_table.free(block)), "was freed before");
    EXPECT_DEATH(m_table.free(static_cast<char*>(std::memset(block, 0, 64)) + 32), "is no block");
    EXPECT_DEATH(static_cast<void>(m_table.realloc(foreign + 32, 100, 4)), "is no block");
    m_table.free(block);
    if (IsGuarded()) {
        char* const odd = Allocate(5, 8);
        EXPECT_DEATH((odd[5] = 0, m_table.free(odd)),
                     "5 bytes of context 0x7E570001: the byte at offset 5 was written to");
        if (GetParam() == MemoryMode::GUARD_END) {
            EXPECT_DEATH((odd[-1] = 0, m_table.free(odd)), "the byte at offset -1 was written to");
        }
        m_table.free(odd);
    }
}

// Of freed addresses the newest 256 MiB stay reserved; older ones are the system's again.
TEST_P(Memory, FreedAddressesWaitForTheirTurn) {
    if (!IsGuarded()) {
        GTEST_SKIP() << "other modes use them again at once";
    }
    std::set<char*> blocks;
    for (int i = 0; i < 15; ++i) {
        char* const block = *blocks.insert(Allocate(27'000'000, 16)).first;
        ASSERT_NE(block, nullptr);
        m_table.free(block);
    }
    // Where one was, a newer one may begin elsewhere, or something of the system's.
    std::set<void*> reserved;
    for (char* const block : blocks) {
        MEMORY_BASIC_INFORMATION region{};
        if (VirtualQuery(block, &region, sizeof region) != 0 && region.State == MEM_RESERVE) {
            reserved.insert(region.AllocationBase);
        }
    }
    EXPECT_NEAR(static_cast<double>(reserved.size()), 9, 2);
}

INSTANTIATE_TEST_SUITE_P(Plain, Memory, testing::Values(MemoryMode::PLAIN));
INSTANTIATE_TEST_SUITE_P(GuardEnd, Memory, testing::Values(MemoryMode::GUARD_END));
INSTANTIATE_TEST_SUITE_P(GuardStart, Memory, testing::Values(MemoryMode::GUARD_START));

} // namespace
