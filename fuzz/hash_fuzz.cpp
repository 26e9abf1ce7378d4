// Compares CRC, XXH32 and XXH64 with zlib and the xxHash reference, pieces with the whole, and the forms of each family
// with one another. The first bytes of the input choose seed, alignment and cut.
#define XXH_STATIC_LINKING_ONLY
#define XXH_IMPLEMENTATION
#include <xxhash.h>

#include "body.h"

#include <cstdlib>
#include <cstring>
#include <memory>
#include <tests/support/hashfamilies.h>
#include <zelk_core/base/ealinterface.h>
#include <zelk_core/base/hash.h>
#include <zlib.h>

using Z4::Hash;

namespace {

void Require(bool holds) {
    if (!holds) {
        std::abort();
    }
}

struct Choices {
    std::uint64_t seed;
    std::uint16_t cut;
    std::uint8_t alignment;
};

/// `place` holds bytes with three zeros behind them: a wide string of an odd number of bytes needs them all.
void CompareForms(const unsigned char* place, std::uint32_t seed) {
    const auto* const narrow = reinterpret_cast<const char*>(place);
    const auto* const wide = reinterpret_cast<const wchar_t*>(place);
    const auto length = static_cast<unsigned>(std::strlen(narrow));
    unsigned wideSize = 0;
    while (place[wideSize] != 0 || place[wideSize + 1] != 0) {
        wideSize += 2;
    }
    for (const ZelkTest::HashFamily& family : ZelkTest::HASH_FAMILIES) {
        Require(family.narrow(narrow, seed) == family.bytes(place, length, seed));
        Require(family.wide(wide, seed) == family.bytes(place, wideSize, seed));
    }
    Require(Hash::CTCRC32B(narrow, ~seed) == Hash::CRC(place, length, seed));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    Z4::eal_log_dll_interface log{};
    log.is_enabled = [](int, unsigned) -> unsigned char { return 0; };
    Z4::SetEalInterface(log);
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    Choices choices;
    if (inputSize < sizeof(choices)) {
        return 0;
    }
    std::memcpy(&choices, input, sizeof(choices));
    const auto size = static_cast<unsigned>(inputSize - sizeof(choices));
    const unsigned offset = choices.alignment % 16;
    const auto seed32 = static_cast<std::uint32_t>(choices.seed);

    const auto exact = std::make_unique<unsigned char[]>(offset + size);
    unsigned char* const bytes = exact.get() + offset;
    std::memcpy(bytes, input + sizeof(choices), size);
    const std::uint32_t crc = Hash::CRC(bytes, size, seed32);
    Require(crc == crc32(seed32, bytes, size));
    Require(Hash::XXH32(bytes, size, seed32) == XXH32(bytes, size, seed32));
    Require(Hash::XXH64(bytes, size, choices.seed) == XXH64(bytes, size, choices.seed));
    const unsigned cut = choices.cut % (size + 1);
    Require(Hash::CRC(bytes + cut, size - cut, Hash::CRC(bytes, cut, seed32)) == crc);
    Require(Hash::Knuth(bytes + cut, size - cut, Hash::Knuth(bytes, cut, seed32)) == Hash::Knuth(bytes, size, seed32));
    Require(Hash::CRC(bytes, size, Z4::Private::CRC_TABLE.entries, seed32) == crc);

    const auto terminated = std::make_unique<unsigned char[]>(offset + size + 3);
    std::memcpy(terminated.get() + offset, bytes, size);
    CompareForms(terminated.get() + offset, seed32);
    return 0;
}
