// StringCompressor, by the first byte of the input: arbitrary bytes into both decoders, or a round trip of any text
// with any content and flags.
#include "body.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <functional>
#include <fuzzer/FuzzedDataProvider.h>
#include <memory>
#include <string>
#include <zelk_core/services/compression/stringcompressor.h>

namespace {

using Z4::Error;
using Z4::StringCompressor;

constexpr unsigned long LONGEST_INPUT = 100000;

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

unsigned long RoundUp(unsigned long size) {
    return (size + 3) / 4 * 4;
}

std::unique_ptr<char[]> ExactCopy(const std::string& bytes) {
    auto block = std::make_unique<char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block.get());
    return block;
}

void Decode(FuzzedDataProvider& data) {
    StringCompressor compressor;
    const bool hasRoom = data.ConsumeIntegral<std::uint8_t>() == 77;
    const auto capacity = data.ConsumeIntegralInRange<unsigned long>(0, hasRoom ? 20000 : 500);
    const std::string bytes = data.ConsumeRemainingBytesAsString().substr(0, LONGEST_INPUT);
    const auto inSize = static_cast<unsigned long>(bytes.size());
    const auto in = ExactCopy(bytes);
    const auto out = std::make_unique<char[]>(capacity);
    unsigned long size = 1;
    const Error error = compressor.DecompressChecked(in.get(), inSize, out.get(), capacity, size);
    Require(error == Z4::ERR_OK || (error == Z4::ERR_CORRUPTED_DATA && size == 0));
    Require(size <= capacity);

    // Zeros behind it, which end every block and any chain of them.
    static char trustedIn[LONGEST_INPUT + 2 * 8192];
    std::copy(bytes.begin(), bytes.end(), trustedIn);
    const auto trusted = std::make_unique<char[]>(capacity);
    unsigned long trustedSize = 1;
    const Error trustedError = compressor.Decompress(trustedIn, trusted.get(), capacity, trustedSize);
    std::fill_n(trustedIn, inSize, '\0');
    Require(trustedSize <= capacity);
    if (error == Z4::ERR_OK) {
        Require(trustedError == Z4::ERR_OK && trustedSize <= size);
        Require(std::memcmp(trusted.get(), out.get(), trustedSize) == 0);
    }
}

void RoundTrip(FuzzedDataProvider& data) {
    StringCompressor compressor;
    const unsigned long contents[] = {StringCompressor::DETECT, data.ConsumeIntegralInRange<unsigned long>(0, 20)};
    const unsigned long content = contents[data.ConsumeBool() ? 0 : 1];
    const auto flags = data.ConsumeIntegralInRange<unsigned long>(0, 7);
    const bool hasRoom = data.ConsumeBool();
    const auto littleRoom = data.ConsumeIntegral<std::uint16_t>();
    std::string text = data.ConsumeRemainingBytesAsString();
    // Many blocks take a thousand times as long as one: seldom, and not so that the fuzzer can prefer them.
    const std::string once = text;
    const bool isLong = std::hash<std::string>()(once) % 512 == 0;
    while (isLong && !once.empty() && text.size() < 20000) {
        text += once;
    }
    const auto length = static_cast<unsigned long>(text.size());
    const unsigned long bound = StringCompressor::GetMaxCompressedSize(length);
    const unsigned long room = hasRoom ? bound : std::min<unsigned long>(littleRoom, bound);
    const auto in = ExactCopy(text);
    const auto packed =
        std::make_unique<char[]>(hasRoom || length <= StringCompressor::MAX_BLOCK_LENGTH ? room : room + 3);
    unsigned long size = 0;
    unsigned long kept = 0;
    const Error error = compressor.Compress(in.get(), length, packed.get(), room, size, &kept, content, flags);
    if (error != Z4::ERR_OK) {
        Require(error != Z4::ERR_UNSUPPORTED || content == 0 || (content > 15 && content != 255));
        Require(error != Z4::ERR_INVALID || !hasRoom);
        Require(error != Z4::ERR_OVERFLOW || !hasRoom || length >= 8184 * 8 / StringCompressor::MAX_CODE_LENGTH);
        return;
    }
    Require(kept <= length);
    if (!hasRoom && RoundUp(size) > room) {
        return; // the last word may be cut off
    }
    unsigned long characters;
    unsigned long bytes;
    Require(!StringCompressor::GetSize(packed.get(), characters, bytes) && characters == kept && bytes <= size);

    const auto out = std::make_unique<char[]>(kept);
    unsigned long outSize;
    Require(!compressor.DecompressChecked(packed.get(), RoundUp(size), out.get(), kept, outSize) && outSize == kept);
    const auto trusted = std::make_unique<char[]>(kept);
    Require(!compressor.Decompress(packed.get(), trusted.get(), kept, outSize));
    Require(std::memcmp(out.get(), trusted.get(), outSize) == 0);

    Require(kept != length || flags != 0 || text == std::string(out.get(), kept));
    // What came back needs no flags, and none of it is dropped again.
    if (length <= StringCompressor::MAX_BLOCK_LENGTH && content != StringCompressor::DETECT) {
        const auto repacked = std::make_unique<char[]>(bound);
        unsigned long again = 0;
        Require(!compressor.Compress(out.get(), kept, repacked.get(), bound, size, &again, content, 0));
        Require(again == kept && std::memcmp(repacked.get(), packed.get(), size) == 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    if (data.ConsumeBool()) {
        Decode(data);
    } else {
        RoundTrip(data);
    }
    return 0;
}
