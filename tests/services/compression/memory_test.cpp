// Every byte comes from the host's memory table; whatever it refuses, the object has a defined result and leaks
// nothing.
#include "samples.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <set>
#include <tests/support/testhost.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/services/compression/lzo.h>
#include <zelk_core/services/compression/zlib.h>

namespace {

using namespace ZelkTest;
using Z4::CompressionInterface;

/// A memory table that refuses the allocations from one on.
class RefusingMemory {
public:
    /// `granted` allocations succeed.
    explicit RefusingMemory(unsigned granted) {
        s_granted = granted;
        s_requests = 0;
        Z4::eal_mem_dll_interface table{};
        table.alloc = Alloc;
        table.free = Free;
        Z4::SetEalInterface(table);
    }
    ~RefusingMemory() {
        EXPECT_TRUE(s_blocks.empty()) << s_blocks.size() << " blocks left behind";
        ReinstallHost();
    }
    RefusingMemory(const RefusingMemory&) = delete;
    RefusingMemory& operator=(const RefusingMemory&) = delete;

    static unsigned Requests() { return s_requests; }

private:
    static void* Z4_CDECL Alloc(std::size_t size, std::size_t alignment, unsigned flags, int id) {
        EXPECT_GT(size, 0u);
        EXPECT_TRUE(alignment == 1 || alignment == 4 || alignment == __STDCPP_DEFAULT_NEW_ALIGNMENT__) << alignment;
        EXPECT_EQ(flags, 0u);
        EXPECT_EQ(id, Z4::EAL_ID_ZELK_CORE);
        if (s_requests++ >= s_granted) {
            return nullptr;
        }
        // Not zeroed: nothing may count on that.
        void* const block = std::malloc(size);
        std::memset(block, 0xA5, size);
        s_blocks.insert(block);
        return block;
    }

    static void Z4_CDECL Free(void* block) {
        EXPECT_EQ(s_blocks.erase(block), 1u) << "freed twice, or not ours";
        std::free(block);
    }

    static inline unsigned s_granted;
    static inline unsigned s_requests;
    static inline std::set<void*> s_blocks;
};

Buffer Output(CompressionInterface& codec, const Buffer& input, std::size_t room) {
    Buffer output(room);
    codec.FeedInputBuffer(input.data(), input.size());
    codec.FeedOutputBuffer(output.data(), output.size());
    static_cast<void>(codec.Process()); // Some classes have no result for one of them.
    static_cast<void>(codec.Flush());
    output.resize(codec.GetOutputDataSize());
    codec.FeedOutputBuffer(nullptr, 0);
    return output;
}

TEST(CompressionMemory, RefusedAllocationsFailTheWorkAndLeakNothing) {
    const Buffer sample = TextSample(1000);
    Z4::ZLibDeflate zlib(CompressionInterface::CMP_BEST);
    const Buffer stream = Output(zlib, sample, 2000);
    Z4::LzoDeflate lzo(CompressionInterface::CMP_BEST);
    const Buffer block = Output(lzo, sample, 2000);
    const struct {
        const char* name;
        unsigned allocations; ///< with the object's own
        const Buffer& input;
        CompressionInterface* (*make)();
    } classes[] = {
        {"ZLibDeflate", 7, sample,
         []() -> CompressionInterface* { return new Z4::ZLibDeflate(CompressionInterface::CMP_FAST); }},
        {"ZLibInflate", 4, stream, []() -> CompressionInterface* { return new Z4::ZLibInflate; }},
        {"LzoDeflate", 2, sample,
         []() -> CompressionInterface* { return new Z4::LzoDeflate(CompressionInterface::CMP_FAST); }},
        {"LzoDeflate, best", 2, sample,
         []() -> CompressionInterface* { return new Z4::LzoDeflate(CompressionInterface::CMP_BEST); }},
        {"LzoInflate", 1, block, []() -> CompressionInterface* { return new Z4::LzoInflate(true); }},
    };
    for (const auto& test : classes) {
        for (unsigned granted = 0; granted <= test.allocations; ++granted) {
            SCOPED_TRACE(testing::Message() << test.name << ", " << granted << " allocations granted");
            const RefusingMemory memory(granted);
            CompressionInterface* const codec = test.make();
            if (granted == 0) {
                EXPECT_EQ(codec, nullptr);
                continue;
            }
            ASSERT_NE(codec, nullptr);
            Buffer output(2000);
            codec->FeedInputBuffer(test.input.data(), test.input.size());
            // Little room at first: expanding then needs its window.
            codec->FeedOutputBuffer(output.data(), test.allocations == 4 ? 500 : output.size());
            const int result = codec->Process();
            if (granted < test.allocations) {
                EXPECT_EQ(result, CompressionInterface::FAILED);
                EXPECT_LE(codec->GetAvailableInputSize(), test.input.size());
                EXPECT_LE(codec->GetOutputDataSize(), output.size());
                EXPECT_NE(codec->Flush(), CompressionInterface::DONE);
                codec->Reset();
                codec->FeedOutputBuffer(output.data(), output.size());
            } else {
                EXPECT_NE(result, CompressionInterface::FAILED);
                EXPECT_EQ(RefusingMemory::Requests(), test.allocations) << "a change of the table";
            }
            delete codec;
        }
    }
}

} // namespace
