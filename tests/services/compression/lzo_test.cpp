#include "samples.h"

#include <gtest/gtest.h>
#include <lzo/lzo1x.h>
#include <tests/support/contract.h>
#include <zelk_core/services/compression/lzo.h>

namespace {

using namespace ZelkTest;
using Z4::CompressionInterface;
using Z4::Lzo;
using Z4::LzoDeflate;
using Z4::LzoInflate;

constexpr int DONE = 0;
constexpr int OUTPUT_FULL = 2;
constexpr int FAILED = -1;
constexpr int NO_RESULT = -2;

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

Buffer LzoDecompress(const Buffer& input, std::size_t size) {
    Buffer output(size + 1);
    lzo_uint produced = output.size();
    const int result = lzo1x_decompress_safe(input.data(), input.size(), output.data(), &produced, nullptr);
    output.resize(result == LZO_E_OK ? produced : size + 1);
    return output;
}

TEST(Lzo, MakesAndReadsTheBlocksOfLzoItself) {
    for (const Buffer& sample : Samples()) {
        for (const auto level : {CompressionInterface::CMP_DEFAULT, CompressionInterface::CMP_FAST,
                                 CompressionInterface::CMP_BEST, static_cast<CompressionInterface::cmp_level>(-1)}) {
            SCOPED_TRACE(testing::Message() << sample.size() << " bytes, level " << level);
            const Buffer expected = LzoCompress(sample, level);
            LzoDeflate deflater(level);
            for (int round = 0; round < 2; ++round) {
                Buffer block(Lzo::GetSafeDeflateBufferSize(sample.size()));
                deflater.FeedInputBuffer(sample.data(), sample.size());
                deflater.FeedOutputBuffer(block.data(), block.size());
                ASSERT_EQ(deflater.Process(), DONE);
                EXPECT_EQ(deflater.GetAvailableInputSize(), 0u);
                EXPECT_EQ(deflater.GetAvailableOutputSize(), block.size() - deflater.GetOutputDataSize());
                block.resize(deflater.GetOutputDataSize());
                EXPECT_EQ(block, expected);
                EXPECT_EQ(LzoDecompress(block, sample.size()), sample);
            }
            EXPECT_EQ(deflater.Flush(), NO_RESULT);
            EXPECT_EQ(deflater.Reset(), NO_RESULT);

            for (const bool safe : {false, true}) {
                Buffer content(sample.size());
                LzoInflate inflater(safe);
                inflater.FeedInputBuffer(expected.data(), expected.size());
                inflater.FeedOutputBuffer(content.data(), content.size());
                EXPECT_EQ(inflater.Process(), DONE);
                EXPECT_EQ(inflater.GetOutputDataSize(), sample.size());
                EXPECT_EQ(inflater.GetAvailableInputSize(), 0u);
                EXPECT_EQ(inflater.GetAvailableOutputSize(), 0u);
                EXPECT_EQ(content, sample);
                EXPECT_EQ(inflater.Reset(), NO_RESULT);
            }
        }
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
        {"room to the byte", good, sample.size(), DONE},
        {"more behind the block", withMore, sample.size(), DONE},
        {"too little room", good, sample.size() - 1, OUTPUT_FULL},
        {"no room", good, 0, OUTPUT_FULL},
        {"nothing", {}, 10, FAILED},
        {"cut short", Buffer(good.begin(), good.end() - 4), sample.size(), FAILED},
        {"a match before the start", {18, 'a', 0x20, 200, 255, 255, 17, 0, 0}, sample.size(), FAILED},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        Buffer content(test.room);
        LzoInflate inflater(true);
        inflater.FeedInputBuffer(test.input.data(), test.input.size());
        inflater.FeedOutputBuffer(content.data(), content.size());
        EXPECT_EQ(inflater.Process(), test.result);
        if (test.result == DONE) {
            EXPECT_EQ(content, sample);
        } else {
            EXPECT_EQ(inflater.GetAvailableInputSize(), test.input.size()) << "left as it was";
            EXPECT_EQ(inflater.GetAvailableOutputSize(), test.room) << "left as it was";
        }
    }
}

TEST(Lzo, FlushOfInflateExpandsWhatWasLeftAndLetsGo) {
    const Buffer sample = TextSample(300);
    const Buffer block = LzoCompress(sample, CompressionInterface::CMP_BEST);
    Buffer content(sample.size() + 7);
    LzoInflate inflater(true);
    inflater.FeedInputBuffer(block.data(), block.size());
    inflater.FeedOutputBuffer(content.data(), content.size());
    EXPECT_EQ(inflater.Flush(), NO_RESULT);
    EXPECT_EQ(inflater.GetOutputDataSize(), sample.size());
    EXPECT_TRUE(std::equal(sample.begin(), sample.end(), content.begin()));
    EXPECT_EQ(inflater.GetAvailableInputSize(), 0u);
    EXPECT_EQ(inflater.GetAvailableOutputSize(), 0u);

    content.assign(content.size(), 0);
    inflater.FeedOutputBuffer(content.data(), content.size());
    EXPECT_EQ(inflater.Flush(), NO_RESULT);
    EXPECT_EQ(content, Buffer(content.size(), 0)) << "no input, no work";
    EXPECT_EQ(inflater.GetAvailableOutputSize(), 0u);
}

TEST(Lzo, ReportsBuffersThatAreNotThere) {
    const Buffer sample = TextSample(1000);
    Buffer block(Lzo::GetSafeDeflateBufferSize(sample.size()));
    LzoDeflate deflater(CompressionInterface::CMP_FAST);
    ExpectContract reports(LIBRARY_CHECKS ? 3 : 0);
    deflater.FeedInputBuffer(nullptr, 1);
    deflater.FeedOutputBuffer(nullptr, 1);
    deflater.FeedInputBuffer(sample.data(), sample.size());
    deflater.FeedOutputBuffer(block.data(), block.size() - 1); // The format needs less for this sample.
    EXPECT_EQ(deflater.Process(), DONE);
}

} // namespace
