// Faults hunted: streams that are not zlib's own at each level; bytes lost or repeated where a buffer ends; results
// that do not say what happened; a stream that Flush(), Reset() or destruction leaves without its end, or ends
// elsewhere.
#include "samples.h"

#include <gtest/gtest.h>
#include <memory>
#include <tests/support/counts.h>
#include <tests/support/zlibpeer.h>
#include <zelk_core/services/compression/zlib.h>

namespace {

using namespace ZelkTest;
using Z4::ZLibDeflate;
using Z4::ZLibInflate;

constexpr int DONE = CompressionInterface::DONE;
constexpr int NEED_INPUT = CompressionInterface::NEED_INPUT;
constexpr int OUTPUT_FULL = CompressionInterface::OUTPUT_FULL;
constexpr int FAILED = CompressionInterface::FAILED;

/// Repeats `operation` for as long as it fills output buffers of `chunk` bytes. @return its last result.
int Drain(CompressionInterface& codec, Buffer& chunk, Buffer& output, int (CompressionInterface::*operation)()) {
    for (;;) {
        const int result = (codec.*operation)();
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

/// What a whole stream makes of `input` in pieces; those are copies, so that a sanitizer sees any use after them.
Buffer InPieces(CompressionInterface& codec, const Buffer& input, std::size_t inputPiece, std::size_t outputPiece) {
    Buffer output;
    Buffer chunk(outputPiece);
    codec.FeedOutputBuffer(chunk.data(), chunk.size());
    int result = NEED_INPUT;
    for (std::size_t at = 0; at < input.size() && result == NEED_INPUT; at += inputPiece) {
        const std::size_t size = std::min(inputPiece, input.size() - at);
        const auto piece = std::make_unique<unsigned char[]>(size);
        std::copy_n(input.data() + at, size, piece.get());
        codec.FeedInputBuffer(piece.get(), size);
        result = Drain(codec, chunk, output, &CompressionInterface::Process);
        EXPECT_EQ(codec.GetAvailableInputSize(), 0u);
    }
    if (result == NEED_INPUT) {
        result = Drain(codec, chunk, output, &CompressionInterface::Flush);
    }
    EXPECT_EQ(result, DONE);
    codec.FeedInputBuffer(nullptr, 0);
    codec.FeedOutputBuffer(nullptr, 0);
    return output;
}

TEST(ZLib, MakesAndReadsTheStreamsOfZlibItself) {
    constexpr std::pair<int, int> LEVELS[] = {{0, 6}, {1, 1}, {2, 9}, {7, 6}}; // zlib's second
    ZLibInflate inflater;
    for (const auto& [level, zlibLevel] : LEVELS) {
        ZLibDeflate deflater(static_cast<CompressionInterface::cmp_level>(level));
        for (const Buffer& sample : Samples()) {
            SCOPED_TRACE(testing::Message() << sample.size() << " bytes, level " << level);
            const Buffer stream = ZlibDeflate(sample, zlibLevel);
            EXPECT_EQ(Whole(deflater, sample, stream.size() + 1, &CompressionInterface::Flush), stream);
            static_cast<void>(deflater.Reset());
            EXPECT_EQ(Whole(inflater, stream, sample.size() + 1), sample);
            inflater.Reset();
        }
    }
}

/// Every size of pieces in the soak tier, else every small one, a few others, and the greatest.
std::vector<std::size_t> Chunks(std::size_t greatest) {
    std::vector<std::size_t> sizes;
    for (std::size_t size = 1; size <= greatest; ++size) {
        if (SOAK || size <= 8 || size % 13 == 0 || size >= greatest - 1) {
            sizes.push_back(size);
        }
    }
    return sizes;
}

TEST(ZLib, TakesEveryChunking) {
    ZLibDeflate deflater(CompressionInterface::CMP_BEST);
    ZLibInflate inflater;
    const auto expectRoundTrip = [&](const Buffer& sample, std::size_t in, std::size_t out) {
        SCOPED_TRACE(testing::Message() << sample.size() << " bytes, " << in << " in, " << out << " out");
        const Buffer stream = InPieces(deflater, sample, in, out);
        ASSERT_EQ(ZlibInflate(stream, sample.size()), sample);
        ASSERT_EQ(InPieces(inflater, stream, in, out), sample);
        static_cast<void>(deflater.Reset());
        inflater.Reset();
    };
    for (const Buffer& sample : {TextSample(70), RandomSample(45)}) {
        for (const std::size_t in : Chunks(sample.size() + 1)) {
            for (const std::size_t out : Chunks(sample.size() + 1)) {
                expectRoundTrip(sample, in, out);
            }
        }
    }
    expectRoundTrip(TextSample(200000), 4099, 257);
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
        std::size_t inputLeft; ///< at most
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
    ZLibInflate inflater;
    for (const auto& test : cases) {
        SCOPED_TRACE(test.name);
        Buffer output(test.room + 1);
        output.resize(test.room);
        Feed(inflater, test.input, output);
        EXPECT_EQ(inflater.Process(), test.result);
        EXPECT_LE(inflater.GetAvailableInputSize(), test.inputLeft);
        EXPECT_GE(inflater.GetAvailableInputSize(), test.result == DONE ? test.inputLeft : 0);
        EXPECT_EQ(inflater.GetOutputDataSize() + inflater.GetAvailableOutputSize(), test.room);
        // From any state to the next stream.
        EXPECT_EQ(inflater.Flush(), CompressionInterface::NO_RESULT);
        EXPECT_EQ(inflater.Reset(), CompressionInterface::NO_RESULT);
        EXPECT_EQ(Whole(inflater, good, 3001), sample);
        inflater.Reset();
    }
}

TEST(ZLib, FlushGoesOnInTheNextOutputBufferAndEndsOnce) {
    const Buffer sample = RandomSample(1000);
    Buffer stream(2000);
    ZLibDeflate deflater(CompressionInterface::CMP_DEFAULT);
    deflater.FeedInputBuffer(sample.data(), sample.size());
    deflater.FeedOutputBuffer(stream.data(), 100);
    EXPECT_EQ(deflater.Flush(), OUTPUT_FULL);
    EXPECT_EQ(deflater.Process(), OUTPUT_FULL) << "no progress";
    deflater.FeedOutputBuffer(stream.data() + 100, 1900);
    EXPECT_EQ(deflater.Process(), DONE) << "Process() goes on where Flush() was";
    stream.resize(100 + deflater.GetOutputDataSize());
    EXPECT_EQ(ZlibInflate(stream, sample.size()), sample);

    EXPECT_EQ(deflater.Flush(), DONE) << "again";
    deflater.FeedInputBuffer(sample.data(), 1);
    EXPECT_EQ(deflater.Process(), FAILED) << "input behind the end";
    deflater.FeedOutputBuffer(nullptr, 0);
    EXPECT_EQ(deflater.Process(), FAILED) << "no output buffer";
}

TEST(ZLib, ResetFinishesAndBeginsAnew) {
    const Buffer sample = TextSample(2000);
    const Buffer expected = ZlibDeflate(sample, 1);
    ZLibDeflate deflater(CompressionInterface::CMP_FAST);
    for (const std::size_t room : {expected.size() + 1, expected.size(), std::size_t{5}}) {
        Buffer output(room);
        Feed(deflater, sample, output);
        EXPECT_EQ(deflater.Reset(), room >= expected.size() ? DONE : OUTPUT_FULL);
        EXPECT_TRUE(room < expected.size() || std::equal(expected.begin(), expected.end(), output.begin()));
        Buffer next(expected.size());
        Feed(deflater, sample, next);
        EXPECT_EQ(deflater.Process(), NEED_INPUT) << "no longer finishing";
        EXPECT_EQ(deflater.Reset(), DONE);
        EXPECT_EQ(next, expected);
    }
}

TEST(ZLib, DestructionEndsTheStreamInTheBufferLastFed) {
    const Buffer sample = TextSample(500);
    Buffer expected = ZlibDeflate(sample, 6);
    expected.resize(expected.size() + 50, 0xEE);
    Buffer output(expected.size(), 0xEE);
    for (const bool letsGo : {false, true}) {
        const auto deflater = std::make_unique<ZLibDeflate>(CompressionInterface::CMP_DEFAULT);
        const auto gone = std::make_unique<Buffer>(20);
        Feed(*deflater, sample, letsGo ? *gone : output);
        EXPECT_EQ(deflater->Process(), NEED_INPUT);
        if (letsGo) {
            deflater->FeedOutputBuffer(nullptr, 0);
        }
    } // `gone` goes first.
    EXPECT_EQ(output, expected);
}

} // namespace
