// Faults hunted: memory from anywhere but the host's table, under another context or alignment; results, crashes and
// leaks where the host refuses any of it; an object that needs more than it says.
#include "samples.h"

#include <cstdlib>
#include <cstring>
#include <gtest/gtest.h>
#include <memory>
#include <tests/support/refusal.h>
#include <zelk_core/base/ealid.h>
#include <zelk_core/services/compression/lzo.h>
#include <zelk_core/services/compression/zlib.h>

namespace {

using namespace ZelkTest;

TEST(CompressionMemory, RefusedAllocationsFailTheWorkAndLeakNothing) {
    const Buffer sample = TextSample(1000);
    Z4::ZLibDeflate zlib(CompressionInterface::CMP_BEST);
    const Buffer stream = Whole(zlib, sample, 2000, &CompressionInterface::Flush);
    Z4::LzoDeflate lzo(CompressionInterface::CMP_BEST);
    const Buffer block = Whole(lzo, sample, 2000);
    using Codec = std::unique_ptr<CompressionInterface>;
    const struct {
        const char* name;
        std::size_t allocations; ///< with the object's own
        const Buffer& input;
        std::size_t room; ///< for expanding a stream at first too little: that needs the window
        Codec (*make)();
    } rows[] = {
        {"ZLibDeflate", 7, sample, 2000, [] { return Codec(new Z4::ZLibDeflate(CompressionInterface::CMP_FAST)); }},
        {"ZLibInflate", 4, stream, 500, [] { return Codec(new Z4::ZLibInflate); }},
        {"LzoDeflate", 2, sample, 2000, [] { return Codec(new Z4::LzoDeflate(CompressionInterface::CMP_FAST)); }},
        {"LzoDeflate, best", 2, sample, 2000, [] { return Codec(new Z4::LzoDeflate(CompressionInterface::CMP_BEST)); }},
        {"LzoInflate", 1, block, 2000, [] { return Codec(new Z4::LzoInflate(true)); }},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.name);
        const std::size_t allocations = ForEachRefusal([&](bool refused) {
            Buffer output(2000);
            const Codec codec = row.make();
            if (codec == nullptr) {
                EXPECT_TRUE(refused);
                return;
            }
            codec->FeedInputBuffer(row.input.data(), row.input.size());
            codec->FeedOutputBuffer(output.data(), row.room);
            EXPECT_EQ(codec->Process() == CompressionInterface::FAILED, refused);
            EXPECT_LE(codec->GetAvailableInputSize(), row.input.size());
            EXPECT_LE(codec->GetOutputDataSize(), output.size());
            // What never had its memory stays failed and can be used all the same.
            EXPECT_TRUE(!refused || codec->Flush() != CompressionInterface::DONE);
            codec->Reset();
            codec->FeedOutputBuffer(nullptr, 0);
        });
        EXPECT_EQ(allocations, row.allocations) << "a change of the table";
    }
}

TEST(CompressionMemory, ComesFromTheHostAndIsNeverTakenForZeroed) {
    static std::vector<void*> s_blocks;
    Z4::eal_mem_dll_interface table{};
    table.alloc = [](std::size_t size, std::size_t alignment, unsigned flags, int id) {
        EXPECT_GT(size, 0u);
        EXPECT_EQ(alignment, size == 56 ? 4u : 1u) << "zlib's record, and everything else";
        EXPECT_EQ(flags, 0u);
        EXPECT_EQ(id, Z4::EAL_ID_ZELK_CORE);
        s_blocks.push_back(std::memset(std::malloc(size), 0xA5, size));
        return s_blocks.back();
    };
    table.free = [](void* block) {
        EXPECT_EQ(std::erase(s_blocks, block), 1u) << "freed twice, or not ours";
        std::free(block);
    };
    Z4::SetEalInterface(table);
    const Buffer sample = TextSample(1000);
    {
        Z4::ZLibDeflate deflate(CompressionInterface::CMP_BEST);
        const Buffer stream = Whole(deflate, sample, 2000, &CompressionInterface::Flush);
        Z4::ZLibInflate inflate;
        EXPECT_EQ(Whole(inflate, stream, 1001), sample);
        Z4::LzoDeflate lzo(CompressionInterface::CMP_BEST);
        Z4::LzoInflate lzoInflate(true);
        EXPECT_EQ(Whole(lzoInflate, Whole(lzo, sample, 2000), 1000), sample);
        EXPECT_EQ(s_blocks.size(), 9u);
    }
    EXPECT_TRUE(s_blocks.empty());
    ReinstallHost();
}

} // namespace
