// StringCompressor: arbitrary bytes into both decoders, or a round trip of any text with any content and flags. The
// first bytes of the input choose which, and how.
#include "hostmemory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <functional>
#include <memory>
#include <string>
#include <zelk_core/services/compression/stringcompressor.h>

namespace {

using Z4::Error;
using Z4::StringCompressor;

constexpr std::size_t LONGEST_INPUT = 1024;

struct Choices {
    std::uint8_t kind; ///< 1: a round trip; 2: with as much room as it can take; 4: of a content of its own
    std::uint8_t content;
    std::uint16_t room;
};

unsigned long RoundUp(unsigned long size) {
    return (size + 3) / 4 * 4;
}

std::unique_ptr<char[]> ExactCopy(const std::string& bytes) {
    auto block = std::make_unique<char[]>(bytes.size());
    std::copy(bytes.begin(), bytes.end(), block.get());
    return block;
}

void Decode(const Choices& choices, const std::string& bytes) {
    StringCompressor compressor;
    const bool hasRoom = choices.content == 77; // Seldom: much room takes long.
    const unsigned long capacity = choices.room % (hasRoom ? 20000 : 500);
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

void RoundTrip(const Choices& choices, std::string text) {
    StringCompressor compressor;
    const unsigned long content = (choices.kind & 4) != 0 ? choices.content % 21 : StringCompressor::DETECT;
    const unsigned long flags = choices.kind >> 3 & 7;
    const bool hasRoom = (choices.kind & 2) != 0;
    // Many blocks take a thousand times as long as one: seldom, and not so that the fuzzer can prefer them.
    const std::string once = text;
    const bool isLong = std::hash<std::string>()(once) % 2048 == 0;
    while (isLong && !once.empty() && text.size() < 20000) {
        text += once;
    }
    const auto length = static_cast<unsigned long>(text.size());
    const unsigned long bound = StringCompressor::GetMaxCompressedSize(length);
    const unsigned long room = hasRoom ? bound : std::min<unsigned long>(choices.room, bound);
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

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices choices;
    if (size < sizeof(choices)) {
        return 0;
    }
    std::memcpy(&choices, data, sizeof(choices));
    const std::string bytes(data + sizeof(choices), data + std::min(size, sizeof(choices) + LONGEST_INPUT));
    if ((choices.kind & 1) != 0) {
        RoundTrip(choices, bytes);
    } else {
        Decode(choices, bytes);
    }
    return 0;
}
