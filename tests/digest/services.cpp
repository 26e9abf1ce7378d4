#include "digest.h"

#include <algorithm>
#include <vector>
#include <zelk_core/services/compression/lzo.h>
#include <zelk_core/services/compression/stringcompressor.h>
#include <zelk_core/services/compression/zlib.h>
#include <zelk_core/services/encryption/cipher.h>
#include <zelk_core/services/random/subtractiverandomgenerator.h>
#include <zelk_core/services/random/zigrandomgenerator.h>

namespace {

// The generators proper have locks, which portable programs lack; those draw from what lies behind the locks.
#if defined(ZELK_CORE_STATIC)
struct Uniform : Z4::Private::SubtractiveSequence {
    void SetSeed(std::uint32_t seed) { Seed(static_cast<std::int32_t>(seed)); }
    std::int32_t RandS32() { return Draw(); }
};
struct Ziggurat : Z4::Private::Ziggurat {
    explicit Ziggurat(std::uint32_t seed) { Seed(seed); }
    float RNOR(float, float) { return Normal(); }
    float REXP() { return Exponential(); }
};
#else
using Uniform = Z4::SubtractiveRandomGenerator;
using Ziggurat = Z4::ZigRandomGenerator;
#endif

using Bytes = std::vector<char>;

/// Text, then noise: one compresses, the other does not.
Bytes Sample(Input& input, unsigned size) {
    Bytes sample(size + 1);
    input.FillText(sample.data(), size);
    input.Fill(sample.data() + size / 4 * 3, size / 4);
    return sample;
}

template <class Cipher>
void AddCipher(Digest& digest) {
    Input input;
    for (unsigned size = 0; size < 200; size += 1 + size / 8) {
        char key[17] = {};
        input.FillText(key, 16);
        Cipher cipher;
        digest.Add(cipher.SetKey(key));
        const Bytes plain = Sample(input, size);
        Bytes secret(size + 16);
        digest.Add(cipher.Encode(plain.data(), secret.data(), size));
        digest.Add(secret.data(), secret.size());
        Bytes nonsense(size + 16);
        digest.Add(cipher.Decode(plain.data(), nonsense.data(), size / 8 * 8));
        digest.Add(nonsense.data(), nonsense.size());
    }
}

/// In pieces of input, as streams come.
template <class Codec>
void AddCodec(Digest& digest, Input& input, std::size_t piece) {
    using Z4::CompressionInterface;
    for (const auto level :
         {CompressionInterface::CMP_DEFAULT, CompressionInterface::CMP_FAST, CompressionInterface::CMP_BEST}) {
        for (const unsigned length : {0u, 1u, 1000u, 100'000u}) {
            const Bytes sample = Sample(input, length);
            Codec codec(level);
            Bytes output(2 * sample.size() + 1000);
            codec.FeedOutputBuffer(output.data(), static_cast<unsigned long>(output.size()));
            for (std::size_t at = 0, size = 0; at < sample.size(); at += size) {
                size = std::min(piece, sample.size() - at);
                codec.FeedInputBuffer(sample.data() + at, static_cast<unsigned long>(size));
                digest.Add(codec.Process());
            }
            const auto flushed = codec.Flush();
            digest.Add(flushed, codec.GetOutputDataSize());
            digest.Add(output.data(), output.size());
        }
    }
}

void AddUniformDraws(Digest& digest, Input&) {
    for (const std::uint32_t seed : {1u, 2u, 12345u, 0x80000000u, 0xFFFFFFFFu}) {
        Uniform generator;
        generator.SetSeed(seed);
        for (int i = 0; i < 2000; ++i) {
            digest.Add(generator.RandS32());
        }
    }
}

void AddZigguratDraws(Digest& digest, Input&) {
    for (const std::uint32_t seed : {1u, 12345u, 0x80000000u, 0xFFFFFFFFu}) {
        Ziggurat generator(seed);
        for (int i = 0; i < 20'000; ++i) {
            digest.Add(generator.RNOR(0, 1));
            digest.Add(generator.REXP());
        }
    }
}

void AddStringCompressor(Digest& digest, Input& input) {
    const Z4::StringCompressor compressor;
    for (unsigned long size = 1; size < 20'000; size += 1 + size / 8) {
        Bytes text(size);
        input.FillText(text.data(), size);
        Bytes output(Z4::StringCompressor::GetMaxCompressedSize(size));
        unsigned long outSize = 0;
        unsigned long encoded = 0;
        const Z4::Error error =
            compressor.Compress(text.data(), size, output.data(), static_cast<unsigned long>(output.size()), outSize,
                                &encoded, Z4::StringCompressor::DETECT, input.Below(8));
        digest.Add(static_cast<std::int32_t>(error), outSize, encoded);
        digest.Add(output.data(), output.size());
    }
}

constexpr Room SERVICES[] = {
    {"uniform-draws", AddUniformDraws},
    {"ziggurat-draws", AddZigguratDraws},
    {"ciphers",
     [](Digest& digest, Input&) {
         AddCipher<Z4::Tea>(digest);
         AddCipher<Z4::XTea>(digest);
     }},
    {"zlib", [](Digest& digest, Input& input) { AddCodec<Z4::ZLibDeflate>(digest, input, 7000); }},
    {"lzo", [](Digest& digest, Input& input) { AddCodec<Z4::LzoDeflate>(digest, input, SIZE_MAX); }},
    {"string-compressor", AddStringCompressor}};

} // namespace

std::span<const Room> ServiceRooms() {
    return SERVICES;
}
