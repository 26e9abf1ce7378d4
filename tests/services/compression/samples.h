// Contents to compress.
#pragma once

#include <random>
#include <string>
#include <vector>

namespace ZelkTest {

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
    std::mt19937 random(static_cast<unsigned>(size));
    Buffer bytes(size);
    for (unsigned char& byte : bytes) {
        byte = static_cast<unsigned char>(random());
    }
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

} // namespace ZelkTest
