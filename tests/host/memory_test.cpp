// Hunted here, in all three modes: blocks that overlap, are misaligned or lie where a stray access goes unseen; counts
// that drift from what is held; exceptions of the language's heap that leave the host.
#include "capture.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <host/zelkhost.h>
#include <new>
#include <tests/support/counts.h>
#include <thread>
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

using GuardedMemory = Memory;
using MemoryDeathTest = Memory;
using GuardedMemoryDeathTest = Memory;

TEST_P(Memory, EveryAlignmentAndSizeIsServedExactly) {
    std::vector<char*> blocks;
    std::vector<std::pair<char*, char*>> filled;
    for (std::size_t alignment = 1; alignment <= 128 * 1024; alignment *= 2) {
        // 16, 112, 144 and 32752 fill what the plain heap keeps for them.
        for (const std::size_t size :
             {0u, 1u, 3u, 4u, 5u, 12u, 16u, 100u, 112u, 144u, 4095u, 4096u, 4097u, 32752u, 32753u, 70000u, 300000u}) {
            SCOPED_TRACE(testing::Message() << size << " bytes aligned to " << alignment);
            char* const block = Allocate(size, alignment);
            ASSERT_NE(block, nullptr);
            blocks.push_back(block);
            EXPECT_EQ(Address(block) % alignment, 0u);
            std::memset(block, static_cast<char>(filled.size()), size);
            filled.emplace_back(block, block + size);
            if (GetParam() == MemoryMode::GUARD_END) {
                // No better aligned than asked: only so far from the page's end.
                const std::size_t step = std::min(alignment, PAGE);
                EXPECT_TRUE(IsInaccessible(block + (size + step - 1) / step * step));
            }
            if (GetParam() == MemoryMode::GUARD_START) {
                EXPECT_TRUE(IsInaccessible(block - 1));
            }
            if (IsGuarded()) {
                EXPECT_EQ(IsInaccessible(block), size == 0);
            }
        }
    }
    for (std::size_t i = 0; i < filled.size(); ++i) {
        const auto [first, last] = filled[i];
        EXPECT_EQ(std::count(first, last, static_cast<char>(i)), last - first) << "block " << i << " was overrun";
    }
    std::vector<char*> sorted = blocks;
    std::sort(sorted.begin(), sorted.end());
    EXPECT_EQ(std::adjacent_find(sorted.begin(), sorted.end()), sorted.end()) << "two blocks at one address";
    std::for_each(blocks.begin(), blocks.end(), m_table.free);
    if (IsGuarded()) {
        EXPECT_TRUE(std::all_of(blocks.begin(), blocks.end(), IsInaccessible));
    }
}

TEST_P(Memory, ArgumentsThatCannotBeServedGiveNull) {
    for (const std::size_t alignment : {0u, 3u, 6u, 4097u, 0x80000000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Allocate(16, alignment), nullptr) << alignment;
    }
    for (const std::size_t size : {0x80000000u, 0xFFFFF000u, 0xFFFFFFFFu}) {
        EXPECT_EQ(Allocate(size, 4), nullptr) << size;
    }
    m_table.free(nullptr);
}

TEST_P(Memory, ReallocationKeepsContentAndContext) {
    char* block = Allocate(100, 4);
    std::memset(block, 'a', 100);
    std::size_t before = 100;
    for (const std::size_t size : {101u, 5000u, 40u, 0u, 64u}) {
        block = static_cast<char*>(m_table.realloc(block, size, 64));
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(Address(block) % 64, 0u);
        const std::size_t kept = std::min(size, before);
        EXPECT_EQ(std::count(block, block + kept, 'a'), static_cast<std::ptrdiff_t>(kept));
        EXPECT_EQ(ZelkHost::GetMemoryStatistics(ID).blocks, 1u);
        EXPECT_EQ(ZelkHost::GetMemoryStatistics(ID).bytes, size);
        std::memset(block, 'a', size);
        before = size;
    }
    ZelkHost::FailAllocations(1);
    EXPECT_EQ(m_table.realloc(block, 1000, 4), nullptr);
    EXPECT_EQ(m_table.realloc(block, 1000, 3), nullptr);
    EXPECT_EQ(std::count(block, block + 64, 'a'), 64) << "a refused reallocation leaves the block as it was";
    m_table.free(block);
}

TEST_P(Memory, StatisticsAndNamesBelongToTheirContext) {
    const int id = FreshContext(0);
    const int otherId = FreshContext(1);
    char name[] = "tests";
    m_table.name_id(id, name);
    name[0] = '?';
    m_table.name_id(otherId, nullptr);
    char* const first = Allocate(100, 1, id);
    m_table.free(Allocate(1000000, 16, id));
    m_table.free(Allocate(1, 16, id));
    char* const other = Allocate(7, 1, otherId);

    const std::vector<ZelkHost::MemoryContext> contexts = ZelkHost::GetMemoryContexts();
    const auto named =
        std::find_if(contexts.begin(), contexts.end(), [&](const auto& entry) { return entry.id == id; });
    ASSERT_NE(named, contexts.end());
    EXPECT_EQ(named->name, "tests");
    EXPECT_EQ(named->statistics.blocks, 1u);
    EXPECT_EQ(named->statistics.bytes, 100u);
    EXPECT_EQ(named->statistics.peakBytes, 1000100u);
    EXPECT_EQ(named->statistics.allocations, 3u);
    EXPECT_EQ(ZelkHost::GetMemoryStatistics(otherId).bytes, 7u);
    EXPECT_EQ(ZelkHost::GetMemoryStatistics(0x7E57FFFF).allocations, 0u);
    m_table.free(first);
    m_table.free(other);
}

TEST_P(Memory, RefusesTheAllocationsAskedFor) {
    const struct {
        std::size_t first;
        std::size_t count;
        const char* granted;
    } cases[] = {{1, 1, "-+++++"}, {3, 1, "++-+++"},        {2, 3, "+---++"},
                 {0, 1, "++++++"}, {4, SIZE_MAX, "+++---"}, {7, 1, "++++++"}};
    for (const auto& test : cases) {
        ZelkHost::FailAllocations(test.first, test.count);
        std::string granted;
        for (int i = 0; i < 6; ++i) {
            EXPECT_EQ(Allocate(1, 3), nullptr); // invalid, and so not counted
            char* const block = Allocate(8, 4);
            granted += block != nullptr ? '+' : '-';
            m_table.free(block);
        }
        EXPECT_EQ(granted, test.granted);
        EXPECT_EQ(ZelkHost::FailAllocations(0),
                  static_cast<std::size_t>(std::count(granted.begin(), granted.end(), '-')));
    }
}

TEST_P(Memory, ThreadsShareTheTable) {
    constexpr unsigned ROUNDS = ZelkTest::Repeats(2'000, 20'000);
    const auto work = [](unsigned char tag) {
        char* kept[8] = {};
        std::size_t sizes[8] = {};
        int faults = 0;
        for (unsigned i = 0; i < ROUNDS; ++i) {
            const unsigned slot = i % 8;
            faults += std::count(kept[slot], kept[slot] + sizes[slot], tag) != static_cast<std::ptrdiff_t>(sizes[slot]);
            m_table.free(kept[slot]);
            sizes[slot] = i * 37 % 500;
            kept[slot] = Allocate(sizes[slot], std::size_t{1} << i % 6);
            std::memset(kept[slot], tag, sizes[slot]);
        }
        std::for_each(std::begin(kept), std::end(kept), m_table.free);
        EXPECT_EQ(faults, 0);
    };
    const std::uint64_t before = ZelkHost::GetMemoryStatistics(ID).allocations;
    std::vector<std::jthread> threads;
    for (unsigned char tag = 1; tag <= 4; ++tag) {
        threads.emplace_back(work, tag);
    }
    threads.clear();
    EXPECT_EQ(ZelkHost::GetMemoryStatistics(ID).allocations, before + 4 * ROUNDS);
}

TEST_P(Memory, TheLastShutdownReportsWhatEachContextHolds) {
    char* const block = Allocate(123, 4);
    m_table.name_id(ID, "tests");
    const ZelkTest::CapturedError error;
    m_table.init(Z4::EAL_MEM_VERSION);
    m_table.init(Z4::EAL_MEM_VERSION);
    m_table.shutdown();
    EXPECT_EQ(error.Text(), "");
    m_table.shutdown();
    EXPECT_EQ(error.Text(), "zelk_host: context 0x7E570001 (tests) holds 1 blocks, 123 bytes\n");
    m_table.shutdown();
    EXPECT_EQ(ZelkHost::ReportLeaks(), 1u);
    m_table.free(block);
    EXPECT_EQ(ZelkHost::ReportLeaks(), 0u);
}

TEST_P(Memory, NoSlotLetsARefusalOut) {
    const int id = FreshContext(2);
    const std::string name(100, 'n');
    const std::string path = ZelkTest::TemporaryFile().Utf8();
    char* const block = Allocate(8, 4);
    m_table.init(Z4::EAL_MEM_VERSION);
    Z4::eal_file_handle file = nullptr;
    g_heapRefuses = true;
    m_table.name_id(id, name.c_str());
    char* const refused = Allocate(8, 4, FreshContext(3));
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

TEST_P(MemoryDeathTest, MisusedPointersAbort) {
    char* const block = Allocate(64, 16);
    alignas(16) static char foreign[64];
    EXPECT_DEATH((m_table.free(block), m_table.free(block)), "was freed before");
    EXPECT_DEATH(m_table.free(static_cast<char*>(std::memset(block, 0, 64)) + 32), "is no block");
    EXPECT_DEATH(static_cast<void>(m_table.realloc(foreign + 32, 100, 4)), "is no block");
    m_table.free(block);
}

TEST_P(GuardedMemory, AddressesLastThroughManyBlocks) {
    std::vector<char*> lasting;
    constexpr unsigned BLOCKS = ZelkTest::Repeats(2'000, 100'000);
    for (unsigned i = 0; i < BLOCKS; ++i) {
        char* const block = Allocate(i % 3000, 4);
        ASSERT_NE(block, nullptr) << i;
        if (i % (BLOCKS / 100) == 0) {
            lasting.push_back(block);
        } else {
            m_table.free(block);
        }
    }
    std::for_each(lasting.begin(), lasting.end(), m_table.free);
    // The newest 256 MiB of freed addresses stay inaccessible; older ones are the system's again, to be given out anew.
    constexpr std::size_t LARGE = 27'000'000;
    std::vector<char*> large;
    MEMORY_BASIC_INFORMATION freed{};
    for (int i = 0; i < 10; ++i) {
        large.push_back(Allocate(LARGE, 16));
        ASSERT_NE(large.back(), nullptr);
        m_table.free(large.back());
        if (i == 0) {
            VirtualQuery(large[0], &freed, sizeof freed);
        }
    }
    EXPECT_TRUE(std::all_of(large.begin() + 1, large.end(), IsInaccessible));
    MEMORY_BASIC_INFORMATION oldest{};
    VirtualQuery(large[0], &oldest, sizeof oldest);
    const bool isTakenAnew = std::any_of(large.begin() + 1, large.end(), [&](const char* block) {
        return block < large[0] + LARGE && large[0] < block + LARGE;
    });
    const bool isSomebodyElses = oldest.AllocationBase != freed.AllocationBase || oldest.RegionSize != freed.RegionSize;
    EXPECT_TRUE(oldest.State == MEM_FREE || isTakenAnew || isSomebodyElses);
}

TEST_P(GuardedMemoryDeathTest, WritesBesideABlockAbortWhenItIsFreed) {
    char* const block = Allocate(5, 8);
    EXPECT_DEATH((block[5] = 0, m_table.free(block)),
                 "5 bytes of context 0x7E570001: the byte at offset 5 was written to");
    if (GetParam() == MemoryMode::GUARD_END) {
        EXPECT_DEATH((block[-1] = 0, m_table.free(block)), "the byte at offset -1 was written to");
    }
    m_table.free(block);
}

constexpr MemoryMode GUARDED[] = {MemoryMode::GUARD_END, MemoryMode::GUARD_START};
constexpr MemoryMode ALL[] = {MemoryMode::PLAIN, MemoryMode::GUARD_END, MemoryMode::GUARD_START};

std::string ModeName(const testing::TestParamInfo<MemoryMode>& mode) {
    return mode.param == MemoryMode::PLAIN ? "Plain" : mode.param == MemoryMode::GUARD_END ? "GuardEnd" : "GuardStart";
}

INSTANTIATE_TEST_SUITE_P(Modes, Memory, testing::ValuesIn(ALL), ModeName);
INSTANTIATE_TEST_SUITE_P(Modes, MemoryDeathTest, testing::ValuesIn(ALL), ModeName);
INSTANTIATE_TEST_SUITE_P(Modes, GuardedMemory, testing::ValuesIn(GUARDED), ModeName);
INSTANTIATE_TEST_SUITE_P(Modes, GuardedMemoryDeathTest, testing::ValuesIn(GUARDED), ModeName);

} // namespace
