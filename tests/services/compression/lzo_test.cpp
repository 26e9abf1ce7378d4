// Faults hunted: blocks of any size that do not come back; Flush() that keeps a buffer; misuse that is not reported.
// That the blocks stay those of LZO's own at each level is pinned: see tests/digest/services.cpp. That checked
// expansion judges any bytes as LZO does is what fuzz/lzo_fuzz.cpp holds.
#include "samples.h"

#include <gtest/gtest.h>
#include <tests/support/contract.h>
#include <zelk_core/services/compression/lzo.h>

namespace {

using namespace ZelkTest;
using Z4::Lzo;
using Z4::LzoDeflate;
using Z4::LzoInflate;

static_assert(Lzo::GetSafeDeflateBufferSize(0) == 67);
static_assert(Lzo::GetSafeDeflateBufferSize(1024) == 1155);

TEST(Lzo, ReadsItsBlocks) {
    LzoInflate checked(true);
    LzoInflate trusting(false);
    for (const auto level : {CompressionInterface::CMP_FAST, CompressionInterface::CMP_BEST}) {
        LzoDeflate deflater(level);
        for (const Buffer& sample : Samples()) {
            SCOPED_TRACE(testing::Message() << sample.size() << " bytes, level " << level);
            const Buffer block = Whole(deflater, sample, Lzo::GetSafeDeflateBufferSize(sample.size()));
            EXPECT_EQ(Whole(checked, block, sample.size()), sample);
            EXPECT_EQ(Whole(trusting, block, sample.size()), sample);
        }
        EXPECT_EQ(deflater.Flush(), CompressionInterface::NO_RESULT);
        EXPECT_EQ(deflater.Reset(), CompressionInterface::NO_RESULT);
    }
}

TEST(Lzo, FlushOfInflateExpandsWhatWasLeftAndLetsGo) {
    const Buffer sample = TextSample(300);
    LzoDeflate deflater(static_cast<CompressionInterface::cmp_level>(-1)); // as CMP_DEFAULT
    const Buffer block = Whole(deflater, sample, Lzo::GetSafeDeflateBufferSize(sample.size()));
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
