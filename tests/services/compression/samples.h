// Contents to compress.
#pragma once

#include <gtest/gtest.h>
#include <string>
#include <tests/support/random.h>
#include <vector>
#include <zelk_core/services/compression/compression.h>

namespace ZelkTest {

using Z4::CompressionInterface;
using Buffer = std::vector<unsigned char>;

inline Buffer TextSample(std::size_t size) {
    const std::string words = "the quick brown fox jumps over the lazy dog; a stream ends where its maker says so. ";
    Buffer text(size);
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = static_cast<unsigned char>(words[(i + i / 700 * 13) % words.size()]);
    }
    return text;
}

inline Buffer RandomSample(std::size_t size) {
    Buffer bytes(size);
    Input().Fill(bytes.data(), size);
    return bytes;
}

/// Nothing, single bytes, what compresses well, a little, and not at all, below and above both formats' windows.
inline std::vector<Buffer> Samples() {
    return {{},
            {0},
            TextSample(20),
            TextSample(21),
            TextSample(5000),
            TextSample(200000),
            RandomSample(300),
            RandomSample(100000),
            Buffer(150000, 'z')};
}

inline void Feed(CompressionInterface& codec, const Buffer& input, Buffer& output) {
    codec.FeedInputBuffer(input.data(), input.size());
    codec.FeedOutputBuffer(output.data(), output.size());
}

/// What `codec` makes of `input` in `room` bytes by one call; checks that all input is taken and all room accounted
/// for.
inline Buffer Whole(CompressionInterface& codec, const Buffer& input, std::size_t room,
                    int (CompressionInterface::*operation)() = &CompressionInterface::Process) {
    Buffer output(room);
    Feed(codec, input, output);
    EXPECT_EQ((codec.*operation)(), CompressionInterface::DONE);
    EXPECT_EQ(codec.GetAvailableInputSize(), 0u);
    EXPECT_EQ(codec.GetAvailableOutputSize() + codec.GetOutputDataSize(), room);
    output.resize(codec.GetOutputDataSize());
    codec.FeedInputBuffer(nullptr, 0);
    codec.FeedOutputBuffer(nullptr, 0);
    return output;
}

} // namespace ZelkTest
