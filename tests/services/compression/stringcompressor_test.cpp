// Faults hunted: codes other than those of data in use; blocks, gaps and counts that are wrong where one block ends and
// the next begins; a size field that overflows; errors that are not told, or told after something was written; damage
// that the checked decoder lets pass; sizes worse than those of today. That any text in any room comes out bit for bit
// as the rules say, and back again, and that any bytes are safe to decode, is what fuzz/stringcompressor_fuzz.cpp
// holds.
#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/guardedpage.h>
#include <tests/support/shorttexts.h>
#include <vector>
#include <zelk_core/services/compression/stringcompressor.h>

namespace {

using Z4::Error;

class Compressor : public Z4::StringCompressor {
public:
    using StringCompressor::CompressSingleBlock;
    using StringCompressor::DetectContent;
};

constexpr unsigned long MAX_BLOCK_LENGTH = Compressor::MAX_BLOCK_LENGTH;
constexpr char UNTOUCHED = '\x5A';

struct Packed {
    Error error;
    unsigned long size;
    unsigned long count;
    std::string memory; ///< 8 bytes more than the capacity
};

Packed Compress(const std::string& text, unsigned long content, unsigned long flags, unsigned long capacity) {
    const Compressor compressor;
    Packed packed{Z4::ERR_OK, 77, 0, std::string(capacity + 8, UNTOUCHED)};
    packed.error = compressor.Compress(text.data(), static_cast<unsigned long>(text.size()), packed.memory.data(),
                                       capacity, packed.size, &packed.count, content, flags);
    return packed;
}

Packed Compress(const std::string& text, unsigned long content = Compressor::DETECT, unsigned long flags = 0) {
    return Compress(text, content, flags, Compressor::GetMaxCompressedSize(static_cast<unsigned long>(text.size())));
}

/// The codes as text, got out of the library: eight times a character makes as many bytes as its code has bits.
std::string Code(unsigned content, char character) {
    const Packed packed = Compress(std::string(8, character), content);
    std::string code;
    for (unsigned bit = 0; bit < packed.size - 4; ++bit) {
        const char byte = packed.memory[4 + (bit / 8 ^ 3)];
        code += (byte >> (7 - bit % 8) & 1) != 0 ? '1' : '0';
    }
    return code;
}

std::string Decompress(const std::string& packed, unsigned long capacity) {
    Compressor compressor;
    std::string text(capacity + 1, UNTOUCHED);
    unsigned long size = 99;
    EXPECT_TRUE(!compressor.Decompress(packed.data(), text.data(), capacity, size));
    EXPECT_EQ(text.substr(size), std::string(capacity + 1 - size, UNTOUCHED));
    return text.substr(0, size);
}

struct Checked {
    Error error;
    std::string text;
};

/// Small input and output end where an inaccessible page begins.
Checked DecompressChecked(const std::string& packed, unsigned long inSize, unsigned long capacity) {
    Compressor compressor;
    const ZelkTest::GuardedPage inPage;
    const ZelkTest::GuardedPage outPage;
    const bool paged = inSize <= inPage.SIZE && capacity <= outPage.SIZE;
    std::string room(capacity, UNTOUCHED);
    char* const out = paged ? reinterpret_cast<char*>(outPage.End()) - capacity : room.data();
    const char* in = packed.data();
    if (paged) {
        in = static_cast<const char*>(std::memcpy(inPage.End() - inSize, packed.data(), inSize));
    }
    unsigned long size = 99;
    const Error error = compressor.DecompressChecked(in, inSize, out, capacity, size);
    return {error, std::string(out, size)};
}

// Kraft's sum of 1 says that no bit sequence is left without a meaning.
TEST(StringCompressor, EachContentCodesItsClassesInFull) {
    const std::string classes[] = {" !\"#$%&'()*+,-./=@_\\", " abcdefghijklmnopqrstuvwxyz\r\n",
                                   " ABCDEFGHIJKLMNOPQRSTUVWXYZ\r\n", " 0123456789\r\n"};
    for (unsigned content = 1; content < 16; ++content) {
        unsigned space = 0;
        std::vector<std::string> codes;
        for (unsigned byte = 0; byte < 256; ++byte) {
            bool isIn = false;
            for (unsigned bit = 0; bit < 4; ++bit) {
                isIn |= (content >> bit & 1) != 0 && classes[bit].find(static_cast<char>(byte)) != std::string::npos;
            }
            const std::string code = Code(content, static_cast<char>(byte));
            EXPECT_EQ(!code.empty(), isIn) << "content " << content << ", " << byte;
            EXPECT_LE(code.size(), Compressor::MAX_CODE_LENGTH);
            if (!code.empty()) {
                codes.push_back(code);
                space += 1U << (Compressor::MAX_CODE_LENGTH - code.size());
            }
        }
        EXPECT_EQ(space, 1U << Compressor::MAX_CODE_LENGTH) << "content " << content;
        std::sort(codes.begin(), codes.end());
        for (std::size_t i = 1; i < codes.size(); ++i) {
            EXPECT_NE(codes[i].compare(0, codes[i - 1].size(), codes[i - 1]), 0) << codes[i - 1] << ' ' << codes[i];
        }
    }
}

TEST(StringCompressor, WritesTheBytesOfDataInUse) {
    const struct {
        unsigned content;
        char character;
        const char* code;
    } codes[] = {{2, ' ', "101"},    {2, 'e', "100"},    {2, 'a', "1100"}, {2, 'x', "011100011"},
                 {2, '\r', "11100"}, {2, '\n', "11110"}, {6, ' ', "101"},  {6, 'e', "100"}};
    for (const auto& row : codes) {
        EXPECT_EQ(Code(row.content, row.character), row.code) << row.character;
    }
    EXPECT_EQ(Code(6, 'U').size(), 13u);
    // A header of 3 characters, 6 bytes and content 2, then 100 1100 011100011 as the upper half of a word.
    const Packed packed = Compress("eax");
    EXPECT_EQ(packed.memory.substr(0, 8), (std::string{0, 0x18, 1, '\x8A', 0, 0, '\xE3', '\x98'}));
    EXPECT_EQ(packed.size, 6u);
    const Packed empty = Compress("");
    EXPECT_EQ(empty.memory.substr(0, 5), (std::string{0, 0, 1, 5 * 4 + 2, UNTOUCHED}));
    EXPECT_EQ(empty.size, 4u);
}

TEST(StringCompressor, ManyBlocks) {
    for (const unsigned long length : {8183UL, 8184UL, 8185UL, 16368UL, 16369UL, 30000UL}) {
        SCOPED_TRACE(length);
        std::string text(length, ' ');
        for (unsigned long i = 0; i < length; ++i) {
            text[i] = "etaoin.E7"[i * i % 97 % 9];
        }
        const Packed packed = Compress(text);
        const unsigned long whole = (packed.size + 3) / 4 * 4;
        EXPECT_EQ(packed.memory[3] & 1, length > MAX_BLOCK_LENGTH ? 1 : 0);
        unsigned long characters = 0;
        unsigned long bytes = 0;
        EXPECT_TRUE(!Compressor::GetSize(packed.memory.data(), characters, bytes));
        EXPECT_EQ(characters, length);
        EXPECT_LE(bytes, packed.size);
        EXPECT_GE(bytes + 3 * (length / MAX_BLOCK_LENGTH), packed.size);
        for (const unsigned long capacity : {0UL, 1UL, 8183UL, 8185UL, 16000UL, length - 1, length + 1}) {
            const std::string begin = text.substr(0, capacity);
            EXPECT_TRUE(Decompress(packed.memory, capacity) == begin) << "into " << capacity;
            EXPECT_TRUE(DecompressChecked(packed.memory, whole, capacity).text == begin) << "into " << capacity;
        }
        for (unsigned long capacity = packed.size - 10; capacity < packed.size + 10; ++capacity) {
            const Packed little = Compress(text, Compressor::DETECT, 0, capacity);
            EXPECT_EQ(little.memory.substr(capacity + 3), std::string(5, UNTOUCHED)) << capacity;
            EXPECT_TRUE(capacity < packed.size || little.size == packed.size) << capacity;
        }
    }
    // One block stores its count, several add theirs.
    const Compressor compressor;
    unsigned long count = 1000;
    unsigned long size;
    std::string out(20000, ' ');
    const std::string text(9000, 'a');
    EXPECT_TRUE(!compressor.Compress(text.data(), 9000, out.data(), 20000, size, &count, 2, 0));
    EXPECT_EQ(count, 10000u);
    EXPECT_TRUE(!compressor.Compress(text.data(), 8000, out.data(), 20000, size, &count, 2, 0));
    EXPECT_EQ(count, 8000u);
}

// 4094 codes of 13 bits, 4 of 4 and the rest of 3 fill 8191 bytes to the last bit.
TEST(StringCompressor, BlockThatFillsItsSizeField) {
    ASSERT_EQ(Code(6, 'i').size(), 4u);
    const std::string longest = std::string(4094, 'U') + "iiii" + std::string(4086, 'e');
    const std::string tooLong = std::string(4094, 'U') + "iiiii" + std::string(4085, 'e');
    const Packed packed = Compress(longest, 6);
    EXPECT_EQ(packed.size, 8191u);
    EXPECT_TRUE(Decompress(packed.memory, 9000) == longest);
    EXPECT_TRUE(DecompressChecked(packed.memory, 8192, 9000).text == longest);
    EXPECT_EQ(Compress(tooLong, 6).error, Z4::ERR_OVERFLOW);
    EXPECT_EQ(Compress("eeee" + std::string(9000, 'U'), 6).error, Z4::ERR_OVERFLOW);
}

TEST(StringCompressor, DetectsClassesByWhatOnlyTheyHave) {
    const Compressor compressor;
    for (unsigned byte = 0; byte < 256; ++byte) {
        const unsigned char text[] = {static_cast<unsigned char>(byte), '\r', ' ', '\n'};
        const bool isPunctuation =
            (byte >= 0x21 && byte <= 0x2F) || byte == '\\' || byte == '=' || byte == '@' || byte == '_';
        const unsigned expected = byte >= 'a' && byte <= 'z'   ? 2
                                  : byte >= 'A' && byte <= 'Z' ? 4
                                  : byte >= '0' && byte <= '9' ? 8
                                  : isPunctuation              ? 1
                                                               : 5;
        EXPECT_EQ(compressor.DetectContent(text, 4), expected) << byte;
    }
    EXPECT_EQ(compressor.DetectContent(reinterpret_cast<const unsigned char*>("a,Z9"), 4), 15u);
    EXPECT_EQ(compressor.DetectContent(nullptr, 0), 5u);
    EXPECT_EQ(compressor.DetectContent(nullptr, -1), 5u);
}

TEST(StringCompressor, TellsItsErrors) {
    for (const unsigned long content : {0UL, 16UL, 254UL, 256UL, 0xFFFFFFFFUL}) {
        EXPECT_EQ(Compress("text", content, 0, 0).error, Z4::ERR_UNSUPPORTED) << content;
        EXPECT_EQ(Compress(std::string(9000, 'a'), content, 0, 9000).error, Z4::ERR_UNSUPPORTED) << content;
    }
    EXPECT_EQ(Compress("text", 2, 0, 3).error, Z4::ERR_INVALID);
    EXPECT_EQ(Compress("text", 2, 0, 3).size, 77u) << "unchanged";
    Compressor compressor;
    const std::string text(MAX_BLOCK_LENGTH + 1, 'a');
    std::string out(9000, UNTOUCHED);
    unsigned long size = 77;
    EXPECT_EQ(compressor.CompressSingleBlock(text.data(), MAX_BLOCK_LENGTH + 1, out.data(), 9000, size, nullptr, 255, 0,
                                             false),
              Z4::ERR_INVALID);
    EXPECT_EQ(size, 77u);
    EXPECT_EQ(out, std::string(9000, UNTOUCHED));

    unsigned long bytes;
    const char withoutContent[] = {0, 8, 2, 2, 0, 0, 0, 0};
    EXPECT_EQ(compressor.Decompress(withoutContent, out.data(), 9000, size), Z4::ERR_UNSUPPORTED);
    for (const char last : {'\x0B', '\x0A'}) { // blocks that end before they begin, more of them and one
        const char endless[] = {0, 8, 0, last, 0, 0, 0, 0};
        EXPECT_EQ(compressor.Decompress(endless, out.data(), 9000, size), Z4::ERR_CORRUPTED_DATA);
        EXPECT_EQ(size, 0u);
        EXPECT_EQ(Compressor::GetSize(endless, size, bytes), Z4::ERR_CORRUPTED_DATA);
    }
}

TEST(StringCompressor, BlockWithoutCharacters) {
    const std::string text = std::string(MAX_BLOCK_LENGTH, 'a') + std::string(MAX_BLOCK_LENGTH, '7') + "end";
    const Packed packed = Compress(text, 2);
    EXPECT_TRUE(Decompress(packed.memory, 20000) == text.substr(0, MAX_BLOCK_LENGTH));
    EXPECT_EQ(DecompressChecked(packed.memory, packed.size + 3, 20000).text,
              std::string(MAX_BLOCK_LENGTH, 'a') + "end");
}

TEST(StringCompressor, DamagedHeadersAndMissingBytesAreFound) {
    for (const char* const text : ZelkTest::MIXED_TEXTS) {
        const Packed packed = Compress(text);
        const unsigned long whole = (packed.size + 3) / 4 * 4;
        for (unsigned long size = 0; size < whole; ++size) {
            ASSERT_EQ(DecompressChecked(packed.memory, size, 300).error, Z4::ERR_CORRUPTED_DATA) << text << size;
        }
        for (unsigned bit = 0; bit < 32; ++bit) {
            std::string damaged = packed.memory;
            damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 128 >> bit % 8);
            // One or two characters more or less can go unseen in the last byte, and so can another content.
            const bool canBeHidden = bit == 11 || bit == 12 || (bit >= 26 && bit != 31);
            ASSERT_TRUE(canBeHidden || DecompressChecked(damaged, whole, 300).error == Z4::ERR_CORRUPTED_DATA)
                << text << ", bit " << bit;
        }
    }
}

TEST(StringCompressor, RoomForEveryText) {
    static_assert(Compressor::GetMaxCompressedSize(0) == 4);
    static_assert(Compressor::GetMaxCompressedSize(1) == 8);
    static_assert(Compressor::GetMaxCompressedSize(3) == 12);
    static_assert(Compressor::GetMaxCompressedSize(8184) == 8192);
    static_assert(Compressor::GetMaxCompressedSize(8185) == 8200);
    static_assert(Compressor::GetMaxCompressedSize(0xFFFFFFFF) == 0xFFFFFFFC);
    for (unsigned long length = 0; length < 100; ++length) {
        EXPECT_EQ(Compress(std::string(length, 'U'), 6).error, Z4::ERR_OK);
    }
}

template <std::size_t COUNT>
double Ratio(const char* const (&texts)[COUNT]) {
    double before = 0;
    double after = 0;
    for (const char* const text : texts) {
        before += static_cast<double>(std::strlen(text));
        after += static_cast<double>(Compress(text).size);
    }
    return after / before;
}

TEST(StringCompressor, SizesOfUnseenTexts) {
    EXPECT_LE(Ratio(ZelkTest::MIXED_TEXTS), 0.66);
    EXPECT_LE(Ratio(ZelkTest::WORD_TEXTS), 0.56);
}

} // namespace
