// Faults hunted: blocks that are not LZO's own, an algorithm other than the level's; Flush() that keeps a buffer;
// misuse that is not reported. That checked expansion judges any bytes as LZO does is what fuzz/lzo_fuzz.cpp holds.
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

TEST(Lzo, FlushOfInflateExpandsWhatWasLeftAndLetsGo) {
    const Buffer sample = TextSample(300);
    const Buffer block = LzoCompress(sample, CompressionInterface::CMP_BEST);
    LzoInflate inflater(true);
    const std::pair<Buffer, std::size_t> rows[] = {{block, sample.size()}, {{}, sample.size()}, {block, 0}};
    for (const auto& [input, room] : rows) {
        Buffer content(room);
        Feed(inflater, input, content);
        EXPECT_EQ(inflater.Flush(), CompressionInterface::NO_RESULT);
        EXPECT_EQ(content, input.empty() || room == 0 ? Buffer(room) : sample);
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
