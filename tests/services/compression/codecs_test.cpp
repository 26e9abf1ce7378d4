// Faults hunted in both codecs: results that do not say what happened; a stream that Flush(), Reset() or destruction
// leaves without its end, or ends elsewhere; a buffer that is kept; misuse that is not reported. That streams and
// blocks stay those of zlib and LZO at each level is pinned: see tests/digest/services.cpp. That any stream in pieces
// of any size, and any block, is judged as they do it, and none loses or repeats a byte where a piece ends, is what
// fuzz/inflate_fuzz.cpp and fuzz/lzo_fuzz.cpp hold.
#include <algorithm>
#include <gtest/gtest.h>
#include <memory>
#include <tests/support/contract.h>
#include <tests/support/zlibpeer.h>
#include <utility>
#include <vector>
#include <zelk_core/services/compression/lzo.h>
#include <zelk_core/services/compression/zlib.h>

namespace {

using namespace ZelkTest;
using Buffer = std::vector<unsigned char>;
using Z4::CompressionInterface;
using Z4::Lzo;
using Z4::LzoDeflate;
using Z4::LzoInflate;
using Z4::ZLibDeflate;
using Z4::ZLibInflate;

constexpr int DONE = CompressionInterface::DONE;
constexpr int NEED_INPUT = CompressionInterface::NEED_INPUT;
constexpr int OUTPUT_FULL = CompressionInterface::OUTPUT_FULL;
constexpr int FAILED = CompressionInterface::FAILED;
constexpr int NO_RESULT = CompressionInterface::NO_RESULT;

Buffer TextSample(std::size_t size) {
    constexpr unsigned char WORDS[] =
        "the quick brown fox jumps over the lazy dog; a stream ends where its maker says so. ";
    Buffer text(size);
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = WORDS[i % (sizeof WORDS - 1)];
    }
    return text;
}

void Feed(CompressionInterface& codec, const Buffer& input, Buffer& output) {
    codec.FeedInputBuffer(input.data(), input.size());
    codec.FeedOutputBuffer(output.data(), output.size());
}

TEST(ZLib, FlushGoesOnInTheNextOutputBufferAndEndsOnce) {
    const Buffer sample = TextSample(1000);
    Buffer stream(2000);
    ZLibDeflate deflater(static_cast<CompressionInterface::cmp_level>(7)); // as CMP_DEFAULT
    deflater.FeedInputBuffer(sample.data(), sample.size());
    deflater.FeedOutputBuffer(stream.data(), 20);
    EXPECT_EQ(deflater.Flush(), OUTPUT_FULL);
    EXPECT_EQ(deflater.Process(), OUTPUT_FULL) << "no progress";
    deflater.FeedOutputBuffer(stream.data() + 20, 1980);
    EXPECT_EQ(deflater.Process(), DONE) << "Process() goes on where Flush() was";
    stream.resize(20 + deflater.GetOutputDataSize());
    EXPECT_EQ(stream, ZlibDeflate(sample, 6));

    EXPECT_EQ(deflater.Flush(), DONE) << "again";
    deflater.FeedInputBuffer(sample.data(), 1);
    EXPECT_EQ(deflater.Process(), FAILED) << "input behind the end";
    deflater.FeedOutputBuffer(nullptr, 0);
    EXPECT_EQ(deflater.Process(), FAILED) << "no output buffer";
    // A stream cut short waits for more, with no input at all.
    stream.pop_back();
    Buffer content(sample.size());
    ZLibInflate inflater;
    Feed(inflater, stream, content);
    EXPECT_EQ(inflater.Process(), OUTPUT_FULL);
    inflater.FeedOutputBuffer(content.data(), 1);
    EXPECT_EQ(inflater.Process(), NEED_INPUT);
    EXPECT_EQ(inflater.Flush(), NO_RESULT);
    EXPECT_EQ(inflater.Reset(), NO_RESULT);
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
    const Buffer expected = ZlibDeflate(sample, 6);
    Buffer output(expected.size());
    for (const bool letsGo : {false, true}) {
        const auto deflater = std::make_unique<ZLibDeflate>(CompressionInterface::CMP_DEFAULT);
        Buffer gone(expected.size()); // before the object
        Feed(*deflater, sample, letsGo ? gone : output);
        EXPECT_EQ(deflater->Process(), NEED_INPUT);
        if (letsGo) {
            deflater->FeedOutputBuffer(nullptr, 0);
        }
    }
    EXPECT_EQ(output, expected);
}

static_assert(Lzo::GetSafeDeflateBufferSize(0) == 67);
static_assert(Lzo::GetSafeDeflateBufferSize(1024) == 1155);

TEST(Lzo, FlushOfInflateExpandsWhatWasLeftAndLetsGo) {
    const Buffer sample = TextSample(300);
    LzoDeflate deflater(static_cast<CompressionInterface::cmp_level>(-1)); // as CMP_DEFAULT
    Buffer block(Lzo::GetSafeDeflateBufferSize(sample.size()));
    Feed(deflater, sample, block);
    EXPECT_EQ(deflater.Process(), DONE);
    block.resize(deflater.GetOutputDataSize());
    EXPECT_EQ(deflater.Flush(), NO_RESULT);
    EXPECT_EQ(deflater.Reset(), NO_RESULT);
    LzoInflate inflater(true);
    const std::pair<Buffer, std::size_t> rows[] = {{block, sample.size()}, {{}, sample.size()}, {block, 0}};
    for (const auto& [input, room] : rows) {
        Buffer content(room);
        Feed(inflater, input, content);
        EXPECT_EQ(inflater.Flush(), NO_RESULT);
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
    EXPECT_EQ(deflater.Process(), DONE);
}

} // namespace
