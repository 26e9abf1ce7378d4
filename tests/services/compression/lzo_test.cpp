// Faults hunted: blocks that are not LZO's own, an algorithm other than the level's; results and sizes that do not say
// what happened, above all of checked expansion; Flush() that keeps a buffer; misuse that is not reported.
#include "samples.h"

#include <gtest/gtest.h>
#include <lzo/lzo1x.h>
#include <tests/support/contract.h>
#include <zelk_core/services/compression/lzo.h>

namespace {

using namespace ZelkTest;
using Z4::Lzo;
using Z4::LzoDeflate;
using Z4::LzoInflate;

static_assert(Lzo::GetSafeDeflateBufferSize(0) == 67);
static_assert(Lzo::GetSafeDeflateBufferSize(1024) == 1155);

/// By LZO itself; level 9 is what CMP_BEST asks for.
Buffer LzoCompress(const Buffer& input, CompressionInterface::cmp_level level) {
    Buffer output(Lzo::GetSafeDeflateBufferSize(input.size()));
    Buffer memory(LZO1X_999_MEM_COMPRESS);
    lzo_uint size = 0;
    const int result = level == CompressionInterface::CMP_BEST
                           ? lzo1x_999_compress_level(input.data(), input.size(), output.data(), &size, memory.data(),
                                                      nullptr, 0, nullptr, 9)
                           : lzo1x_1_compress(input.data(), input.size(), output.data(), &size, memory.data());
    output.resize(result == LZO_E_OK ? size : 0);
    return output;
}

TEST(Lzo, MakesAndReadsTheBlocksOfLzoItself) {
    LzoInflate checked(true);
    LzoInflate trusting(false);
    for (const auto level : {CompressionInterface::CMP_DEFAULT, CompressionInterface::CMP_FAST,
                             CompressionInterface::CMP_BEST, static_cast<CompressionInterface::cmp_level>(-1)}) {
        LzoDeflate deflater(level);
        for (const Buffer& sample : Samples()) {
            SCOPED_TRACE(testing::Message() << sample.size() << " bytes, level " << level);
            const Buffer block = LzoCompress(sample, level);
            EXPECT_EQ(Whole(deflater, sample, Lzo::GetSafeDeflateBufferSize(sample.size())), block);
            EXPECT_EQ(Whole(checked, block, sample.size()), sample);
            EXPECT_EQ(Whole(trusting, block, sample.size()), sample);
        }
        EXPECT_EQ(deflater.Flush(), CompressionInterface::NO_RESULT);
        EXPECT_EQ(deflater.Reset(), CompressionInterface::NO_RESULT);
    }
}

TEST(Lzo, CheckedInflateJudgesWhatItGets) {
    const Buffer sample = TextSample(400);
    const Buffer good = LzoCompress(sample, CompressionInterface::CMP_FAST);
    Buffer withMore = good;
    withMore.push_back(0);
    const struct {
        const char* name;
        Buffer input;
        std::size_t room;
        int result;
    } cases[] = {
        {"room to the byte", good, sample.size(), CompressionInterface::DONE},
        {"more behind the block", withMore, sample.size(), CompressionInterface::DONE},
        {"too little room", good, sample.size() - 1, CompressionInterface::OUTPUT_FULL},
        {"no room", good, 0, CompressionInterface::OUTPUT_FULL},
        {"nothing", {}, 10, CompressionInterface::FAILED},
        {"cut short", Buffer(good.begin(), good.end() - 4), sample.size(), CompressionInterface::FAILED},
        {"a match before the start", {18, 'a', 0x20, 200, 255, 255, 17, 0, 0}, 400, CompressionInterface::FAILED},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        const bool done = test.result == CompressionInterface::DONE;
        Buffer content(test.room);
        LzoInflate inflater(true);
        Feed(inflater, test.input, content);
        EXPECT_EQ(inflater.Process(), test.result);
        EXPECT_EQ(inflater.GetAvailableInputSize(), done ? 0 : test.input.size());
        EXPECT_EQ(inflater.GetAvailableOutputSize(), done ? 0 : test.room);
        EXPECT_TRUE(!done || content == sample);
    }
}

TEST(Lzo, FlushOfInflateExpandsWhatWasLeftAndLetsGo) {
    const Buffer sample = TextSample(300);
    const Buffer block = LzoCompress(sample, CompressionInterface::CMP_BEST);
    LzoInflate inflater(true);
    for (const Buffer& input : {block, Buffer()}) {
        Buffer content(sample.size());
        Feed(inflater, input, content);
        EXPECT_EQ(inflater.Flush(), CompressionInterface::NO_RESULT);
        EXPECT_EQ(content, input.empty() ? Buffer(sample.size()) : sample);
        EXPECT_EQ(inflater.GetAvailableInputSize(), 0u);
        EXPECT_EQ(inflater.GetAvailableOutputSize(), 0u);
    }
}

TEST(Lzo, ReportsBuffersThatAreNotThere) {
    const Buffer sample = TextSample(1000);
    Buffer block(Lzo::GetSafeDeflateBufferSize(sample.size()));
    LzoDeflate deflater(CompressionInterface::CMP_FAST);
    const ExpectContract reports(LIBRARY_CHECKS ? 3 : 0);
    deflater.FeedInputBuffer(nullptr, 1);
    deflater.FeedOutputBuffer(nullptr, 1);
    deflater.FeedInputBuffer(sample.data(), sample.size());
    deflater.FeedOutputBuffer(block.data(), block.size() - 1); // The format needs less for this sample.
    EXPECT_EQ(deflater.Process(), CompressionInterface::DONE);
}

} // namespace
