// Faults hunted: streams that are not zlib's own at each level; results that do not say what happened; a stream that
// Flush(), Reset() or destruction leaves without its end, or ends elsewhere. That any stream in pieces of any size is
// judged as zlib itself does, and none loses or repeats a byte where a piece ends, is what fuzz/inflate_fuzz.cpp holds.
#include "samples.h"

#include <gtest/gtest.h>
#include <memory>
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
            EXPECT_EQ(inflater.Flush(), CompressionInterface::NO_RESULT);
            EXPECT_EQ(inflater.Reset(), CompressionInterface::NO_RESULT);
        }
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
    // A stream cut short waits for more, with no input at all.
    stream.pop_back();
    Buffer content(sample.size());
    ZLibInflate inflater;
    Feed(inflater, stream, content);
    EXPECT_EQ(inflater.Process(), OUTPUT_FULL);
    inflater.FeedOutputBuffer(content.data(), 1);
    EXPECT_EQ(inflater.Process(), NEED_INPUT);
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

} // namespace
