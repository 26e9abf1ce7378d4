// Tea and XTea: what is enciphered deciphers to itself, and the kernels agree with a loop over single blocks. The first
// bytes of the input choose the key and how the buffers lie.
#include "body.h"
#include "hostmemory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <vector>
#include <zelk_core/services/encryption/cipher.h>
#include <zelk_core/services/encryption/private/blocks.h>

namespace {

using namespace Z4;

/// Of more blocks than the kernels take at once, each by itself and after others: two strides of the widest are 512
/// bytes.
constexpr std::size_t LONGEST_INPUT = 600;

struct Choices {
    char key[16];
    std::uint8_t inOffset;
    std::uint8_t outOffset;
    bool inPlace() const { return (inOffset & 0x80) != 0; }
};

using BlockFunction = Private::CipherBlock(Private::CipherBlock block, const std::uint32_t* key);

void ApplyToBlocks(std::vector<char>& data, unsigned long count, BlockFunction* function, const std::uint32_t* key) {
    for (unsigned long i = 0; i < count; ++i) {
        Private::CipherBlock block;
        std::memcpy(&block, &data[8 * i], 8);
        block = function(block, key);
        std::memcpy(&data[8 * i], &block, 8);
    }
}

template <class CipherClass>
void RoundTrip(const Choices& choices, const std::vector<char>& plain, BlockFunction* encode, BlockFunction* decode) {
    char text[17] = {};
    std::memcpy(text, choices.key, 16);
    CipherClass cipher;
    std::uint32_t key[4] = {};
    const bool isKey = std::strlen(text) == 16;
    Require(cipher.SetKey(text) == isKey);
    for (unsigned i = 0; isKey && i < 16; ++i) {
        const int widened = text[i]; // A signed char on every platform that this runs on.
        key[i / 4] |= static_cast<std::uint32_t>(widened) << (i % 4 * 8);
    }

    const auto size = static_cast<unsigned long>(plain.size());
    const unsigned long padded = (size + 7) & ~7ul;
    std::vector<char> expected = plain;
    expected.resize(padded);
    ApplyToBlocks(expected, padded / 8, encode, key);

    // Blocks of exactly the size that may be touched.
    const unsigned inOffset = choices.inOffset % 16;
    const unsigned outOffset = choices.inPlace() ? inOffset : choices.outOffset % 16;
    const auto out = std::make_unique<char[]>(outOffset + padded);
    const auto separate = std::make_unique<char[]>(inOffset + size);
    std::fill_n(out.get(), outOffset + padded, '#'); // Where the padding's zeros belong, too.
    char* const coded = out.get() + outOffset;
    char* const in = choices.inPlace() ? coded : separate.get() + inOffset;
    std::copy(plain.begin(), plain.end(), in);
    Require(cipher.Encode(in, coded, size) == padded);
    Require(std::equal(expected.begin(), expected.end(), coded));

    // From where it lies to where it goes, which may overlap, by less than a block or by more.
    const int shift = choices.outOffset - 128;
    const auto both = std::make_unique<char[]>(padded + static_cast<unsigned>(std::abs(shift)));
    char* const from = both.get() + std::max(0, -shift);
    std::copy(plain.begin(), plain.end(), from);
    Require(cipher.Encode(from, from + shift, size) == padded);
    Require(std::equal(expected.begin(), expected.end(), from + shift));
    std::copy(expected.begin(), expected.end(), from);
    Require(cipher.Decode(from, from + shift, padded) == padded);
    Require(std::equal(plain.begin(), plain.end(), from + shift));

    // Deciphered whole, it is the text again; any prefix is deciphered as far as its blocks go.
    const auto restored = std::make_unique<char[]>(padded);
    Require(cipher.Decode(coded, restored.get(), padded) == padded);
    Require(std::equal(plain.begin(), plain.end(), restored.get()));
    const unsigned long part = choices.outOffset % (padded + 1);
    expected.resize(part);
    ApplyToBlocks(expected, part / 8, decode, key);
    Require(cipher.Decode(coded, coded, part) == part);
    Require(std::equal(expected.begin(), expected.end(), coded));
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    InstallMemory();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* input, std::size_t inputSize) {
    Choices choices;
    if (inputSize < sizeof(choices)) {
        return 0;
    }
    std::memcpy(&choices, input, sizeof(choices));
    const std::vector<char> plain(input + sizeof(choices),
                                  input + std::min(inputSize, sizeof(choices) + LONGEST_INPUT));
    RoundTrip<Tea>(choices, plain, Private::TeaEncodeBlock, Private::TeaDecodeBlock);
    RoundTrip<XTea>(choices, plain, Private::XTeaEncodeBlock, Private::XTeaDecodeBlock);
    RequireNothingLeft();
    return 0;
}
