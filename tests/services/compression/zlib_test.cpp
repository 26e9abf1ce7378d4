#include "samples.h"

#include <gtest/gtest.h>
#include <memory>
#include <tests/support/counts.h>
#include <tests/support/zlibpeer.h>
#include <zelk_core/services/compression/zlib.h>

namespace {

using namespace ZelkTest;
using Z4::CompressionInterface;
using Z4::ZLibDeflate;
using Z4::ZLibInflate;

constexpr int DONE = 0;
constexpr int NEED_INPUT = 1;
constexpr int OUTPUT_FULL = 2;
constexpr int FAILED = -1;
constexpr int NO_RESULT = -2;

constexpr CompressionInterface::cmp_level UNNAMED_LEVEL = static_cast<CompressionInterface::cmp_level>(7);
constexpr struct {
    CompressionInterface::cmp_level level;
    int zlibLevel;
} LEVELS[] = {{CompressionInterface::CMP_DEFAULT, 6},
              {CompressionInterface::CMP_FAST, 1},
              {CompressionInterface::CMP_BEST, 9},
              {UNNAMED_LEVEL, 6}};

void Feed(CompressionInterface& codec, const Buffer& input, Buffer& output) {
    codec.FeedInputBuffer(input.data(), input.size());
    codec.FeedOutputBuffer(output.data(), output.size());
}

/// Repeats `operation` for as long as it fills output buffers of `chunk` bytes. @return its last result.
template <class Operation>
int Drain(CompressionInterface& codec, Buffer& chunk, Buffer& output, Operation operation) {
    for (;;) {
        const int result = operation();
        const auto produced = static_cast<std::ptrdiff_t>(codec.GetOutputDataSize());
        EXPECT_EQ(result == OUTPUT_FULL || codec.GetAvailableOutputSize() == 0,
                  static_cast<std::size_t>(produced) == chunk.size());
        output.insert(output.end(), chunk.begin(), chunk.begin() + produced);
        codec.FeedOutputBuffer(chunk.data(), chunk.size());
        if (result != OUTPUT_FULL) {
            return result;
        }
    }
}

/// All of `input` in pieces; the pieces are copies of their own, so that a sanitizer sees any use after them.
int RunInPieces(CompressionInterface& codec, const Buffer& input, std::size_t inputPiece, std::size_t outputPiece,
                Buffer& output) {
    Buffer chunk(outputPiece);
    codec.FeedOutputBuffer(chunk.data(), chunk.size());
    int result = NEED_INPUT;
    for (std::size_t at = 0; at < input.size() && result == NEED_INPUT; at += inputPiece) {
        const std::size_t size = std::min(inputPiece, input.size() - at);
        const auto piece = std::make_unique<unsigned char[]>(size);
        std::copy_n(input.data() + at, size, piece.get());
        codec.FeedInputBuffer(piece.get(), size);
        result = Drain(codec, chunk, output, [&] { return codec.Process(); });
        EXPECT_EQ(codec.GetAvailableInputSize(), 0u);
    }
    if (result == NEED_INPUT) {
        result = Drain(codec, chunk, output, [&] { return codec.Flush(); });
    }
    codec.FeedInputBuffer(nullptr, 0);
    codec.FeedOutputBuffer(nullptr, 0);
    return result;
}

TEST(ZLib, MakesAndReadsTheStreamsOfZlibItself) {
    for (const Buffer& sample : Samples()) {
        for (const auto& [level, zlibLevel] : LEVELS) {
            const Buffer expected = ZlibDeflate(sample, zlibLevel);
            Buffer deflated(expected.size() + 1);
            ZLibDeflate deflater(level);
            Feed(deflater, sample, deflated);
            ASSERT_EQ(deflater.Process(), NEED_INPUT);
            ASSERT_EQ(deflater.GetAvailableInputSize(), 0u);
            ASSERT_EQ(deflater.Flush(), DONE);
            ASSERT_EQ(deflater.GetAvailableOutputSize(), 1u);
            deflated.resize(deflater.GetOutputDataSize());
            EXPECT_EQ(deflated, expected) << sample.size() << " bytes, level " << level;
            EXPECT_EQ(ZlibInflate(deflated, sample.size()), sample);

            Buffer inflated(sample.size() + 1);
            ZLibInflate inflater;
            Feed(inflater, expected, inflated);
            ASSERT_EQ(inflater.Process(), DONE);
            inflated.resize(inflater.GetOutputDataSize());
            EXPECT_EQ(inflated, sample);
        }
    }
}

/// Every size of pieces in the soak tier, else every small one, a few others, and the greatest.
std::vector<std::size_t> Chunks(std::size_t greatest) {
    std::vector<std::size_t> sizes;
    for (std::size_t size = 1; size <= greatest; ++size) {
        if (ZelkTest::SOAK || size <= 8 || size % 13 == 0 || size >= greatest - 1) {
            sizes.push_back(size);
        }
    }
    return sizes;
}

TEST(ZLib, TakesEveryChunking) {
    for (const Buffer& sample : {TextSample(70), RandomSample(45)}) {
        const Buffer stream = ZlibDeflate(sample, 9);
        for (const std::size_t in : Chunks(sample.size() + 1)) {
            for (const std::size_t out : Chunks(sample.size() + 1)) {
                SCOPED_TRACE(testing::Message() << in << " in, " << out << " out");
                Buffer deflated;
                ZLibDeflate deflater(CompressionInterface::CMP_BEST);
                ASSERT_EQ(RunInPieces(deflater, sample, in, out, deflated), DONE);
                ASSERT_EQ(ZlibInflate(deflated, sample.size()), sample);
                Buffer inflated;
                ZLibInflate inflater;
                ASSERT_EQ(RunInPieces(inflater, stream, in, out, inflated), DONE);
                ASSERT_EQ(inflated, sample);
            }
        }
    }
    const Buffer large = TextSample(200000);
    Buffer deflated;
    ZLibDeflate deflater(CompressionInterface::CMP_FAST);
    EXPECT_EQ(RunInPieces(deflater, large, 4099, 257, deflated), DONE);
    Buffer inflated;
    ZLibInflate inflater;
    EXPECT_EQ(RunInPieces(inflater, deflated, 129, 4099, inflated), DONE);
    EXPECT_EQ(inflated, large);
}

TEST(ZLib, InflateJudgesWhatItGets) {
    const Buffer sample = TextSample(3000);
    const Buffer good = ZlibDeflate(sample, 6);
    const Buffer half(good.begin(), good.begin() + static_cast<std::ptrdiff_t>(good.size() / 2));
    Buffer badChecksum = good;
    badChecksum.back() ^= 1;
    Buffer withMore = good;
    withMore.resize(good.size() + 5);
    const struct {
        const char* name;
        Buffer input;
        std::size_t room;
        int result;
        std::size_t inputLeft;
    } cases[] = {
        {"whole", good, 3001, DONE, 0},
        {"with more behind it", withMore, 3001, DONE, 5},
        {"cut short", half, 3001, NEED_INPUT, 0},
        {"nothing", {}, 10, NEED_INPUT, 0},
        {"no room", good, 0, OUTPUT_FULL, good.size()},
        {"not all of the room", half, 10, OUTPUT_FULL, half.size()},
        {"garbage", {'g', 'a', 'r', 'b'}, 3001, FAILED, 4},
        {"wrong checksum", badChecksum, 3001, FAILED, 0},
        {"preset dictionary", {0x78, 0xBB, 0x00, 0x01, 0x00, 0x01, 0, 0}, 10, FAILED, 2},
    };
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        Buffer output(test.room + 1);
        output.resize(test.room);
        ZLibInflate inflater;
        Feed(inflater, test.input, output);
        EXPECT_EQ(inflater.Process(), test.result);
        EXPECT_LE(inflater.GetAvailableInputSize(), test.inputLeft);
        if (test.result == DONE) {
            EXPECT_EQ(inflater.GetAvailableInputSize(), test.inputLeft);
        }
        EXPECT_EQ(inflater.GetOutputDataSize() + inflater.GetAvailableOutputSize(), test.room);

        EXPECT_EQ(inflater.Flush(), NO_RESULT);
        EXPECT_EQ(inflater.Reset(), NO_RESULT);
        Buffer again(sample.size() + 1);
        Feed(inflater, good, again);
        EXPECT_EQ(inflater.Process(), DONE);
        EXPECT_EQ(inflater.GetOutputDataSize(), sample.size());
    }
}

TEST(ZLib, DeflateGoesOnInTheNextOutputBuffer) {
    const Buffer sample = RandomSample(1000);
    Buffer first(100);
    Buffer second(2000);
    ZLibDeflate deflater(CompressionInterface::CMP_DEFAULT);
    Feed(deflater, sample, first);
    EXPECT_EQ(deflater.Flush(), OUTPUT_FULL);
    EXPECT_EQ(deflater.GetOutputDataSize(), first.size());
    EXPECT_EQ(deflater.Process(), OUTPUT_FULL) << "no progress";
    deflater.FeedOutputBuffer(second.data(), second.size());
    EXPECT_EQ(deflater.Process(), DONE) << "Process() goes on where Flush() was";
    first.insert(first.end(), second.begin(),
                 second.begin() + static_cast<std::ptrdiff_t>(deflater.GetOutputDataSize()));
    EXPECT_EQ(ZlibInflate(first, sample.size()), sample);

    EXPECT_EQ(deflater.Flush(), DONE) << "again";
    deflater.FeedInputBuffer(sample.data(), 1);
    EXPECT_EQ(deflater.Process(), FAILED) << "input behind the end";
    deflater.FeedOutputBuffer(nullptr, 0);
    EXPECT_EQ(deflater.Process(), FAILED) << "no output buffer";
}

TEST(ZLib, ResetFinishesAndBeginsAnew) {
    const Buffer sample = TextSample(2000);
    const Buffer expected = ZlibDeflate(sample, 1);
    for (const std::size_t room : {expected.size() + 1, expected.size(), std::size_t{5}}) {
        Buffer output(room);
        ZLibDeflate deflater(CompressionInterface::CMP_FAST);
        Feed(deflater, sample, output);
        EXPECT_EQ(deflater.Reset(), room >= expected.size() ? DONE : OUTPUT_FULL);
        if (room >= expected.size()) {
            output.resize(deflater.GetOutputDataSize());
            EXPECT_EQ(output, expected);
        }
        Buffer next(expected.size() + 1);
        Feed(deflater, sample, next);
        EXPECT_EQ(deflater.Process(), NEED_INPUT) << "no longer finishing";
        EXPECT_EQ(deflater.Flush(), DONE);
        next.resize(deflater.GetOutputDataSize());
        EXPECT_EQ(next, expected);
    }
}

TEST(ZLib, DestructionEndsTheStreamInTheBufferLastFed) {
    const Buffer sample = TextSample(500);
    const Buffer expected = ZlibDeflate(sample, 6);
    Buffer output(expected.size() + 50, 0xEE);
    CompressionInterface* codec = new ZLibDeflate(CompressionInterface::CMP_DEFAULT);
    Feed(*codec, sample, output);
    ASSERT_EQ(codec->Process(), NEED_INPUT);
    delete codec;
    EXPECT_TRUE(std::equal(expected.begin(), expected.end(), output.begin()));
    EXPECT_EQ(Buffer(output.end() - 50, output.end()), Buffer(50, 0xEE));

    codec = new ZLibDeflate(CompressionInterface::CMP_DEFAULT);
    {
        Buffer gone(20);
        Feed(*codec, sample, gone);
        EXPECT_EQ(codec->Process(), NEED_INPUT);
        codec->FeedOutputBuffer(nullptr, 0);
    }
    delete codec;
}

} // namespace
