// Faults hunted: codes other than those of data in use; blocks, gaps and counts that are wrong where one block ends and
// the next begins; a size field that overflows; errors that are not told, or told after something was written; damage
// that the checked decoder lets pass. That any text of any content in any room comes out bit for bit as the rules say,
// and back again, and that any bytes are safe to decode, is what fuzz/stringcompressor_fuzz.cpp holds.
#include <cstring>
#include <gtest/gtest.h>
#include <string>
#include <tests/support/guardedpage.h>
#include <tests/support/rows.h>
#include <zelk_core/services/compression/stringcompressor.h>

namespace {

using Z4::Error;
using ZelkTest::Rows;

class Compressor : public Z4::StringCompressor {
public:
    using StringCompressor::CompressSingleBlock;
    using StringCompressor::DetectContent;
};

constexpr unsigned long MAX_BLOCK_LENGTH = Compressor::MAX_BLOCK_LENGTH;
constexpr char UNTOUCHED = '\x5A';

struct Packed {
    Error error = Z4::ERR_OK;
    unsigned long size = 77;
    unsigned long count = 1000;
    std::string memory;
};

Packed Compress(const std::string& text, unsigned long content = Compressor::DETECT, unsigned long capacity = 40'000) {
    const Compressor compressor;
    Packed packed;
    packed.memory.assign(capacity, UNTOUCHED);
    packed.error = compressor.Compress(text.data(), static_cast<unsigned long>(text.size()), packed.memory.data(),
                                       capacity, packed.size, &packed.count, content, 0);
    return packed;
}

std::string Decompress(const std::string& packed, unsigned long capacity) {
    Compressor compressor;
    std::string text(capacity + 1, UNTOUCHED);
    unsigned long size = 99;
    EXPECT_TRUE(!compressor.Decompress(packed.data(), text.data(), capacity, size));
    EXPECT_EQ(text.substr(size), std::string(capacity + 1 - size, UNTOUCHED));
    return text.substr(0, size);
}

/// The text of the first `inSize` bytes, which end where an inaccessible page begins if they are few, or "damaged".
std::string DecompressChecked(const std::string& packed, unsigned long inSize, unsigned long capacity) {
    Compressor compressor;
    const ZelkTest::GuardedPage page;
    const void* const in =
        inSize <= page.SIZE ? std::memcpy(page.End() - inSize, packed.data(), inSize) : packed.data();
    std::string text(capacity, UNTOUCHED);
    unsigned long size = 99;
    const Error error = compressor.DecompressChecked(static_cast<const char*>(in), inSize, text.data(), capacity, size);
    EXPECT_TRUE(error == Z4::ERR_OK || (error == Z4::ERR_CORRUPTED_DATA && size == 0)) << error;
    return error == Z4::ERR_OK ? text.substr(0, size) : "damaged";
}

TEST(StringCompressor, WritesTheBytesOfDataInUse) {
    // A header of 6 characters, 8 bytes and content 2, then 100 101 1100 11100 11110 011100011 in a word.
    const Packed packed = Compress("e a\r\nx");
    EXPECT_EQ(packed.memory.substr(0, packed.size), (std::string{0, 0x30, 2, 0x0A, 0x18, '\xE7', 0x39, '\x97'}));
    const Packed empty = Compress("");
    EXPECT_EQ(empty.memory.substr(0, empty.size), (std::string{0, 0, 1, 5 * 4 + 2}));
}

TEST(StringCompressor, ManyBlocks) {
    for (const unsigned long length : {8184UL, 8185UL, 16368UL, 30000UL}) {
        SCOPED_TRACE(length);
        std::string text(length, ' ');
        for (unsigned long i = 0; i < length; ++i) {
            text[i] = "etaoin.E7"[i * i % 97 % 9];
        }
        const Packed packed = Compress(text);
        EXPECT_EQ(packed.memory[3] & 1, length > MAX_BLOCK_LENGTH ? 1 : 0);
        // One block stores its count, several add theirs.
        EXPECT_EQ(packed.count, length > MAX_BLOCK_LENGTH ? 1000 + length : length);
        for (const unsigned long capacity : {0UL, 8183UL, 8185UL, length - 1, length + 1}) {
            const std::string begin = text.substr(0, capacity);
            EXPECT_TRUE(Decompress(packed.memory, capacity) == begin) << "into " << capacity;
            EXPECT_TRUE(DecompressChecked(packed.memory, (packed.size + 3) / 4 * 4, capacity) == begin) << capacity;
        }
    }
    const std::string text = std::string(MAX_BLOCK_LENGTH, 'a') + std::string(MAX_BLOCK_LENGTH, '7') + "end";
    const Packed packed = Compress(text, Compressor::LOWER_CASE);
    EXPECT_TRUE(Decompress(packed.memory, 20000) == text.substr(0, MAX_BLOCK_LENGTH)) << "to the first empty block";
    EXPECT_EQ(DecompressChecked(packed.memory, packed.size + 3, 20000), std::string(MAX_BLOCK_LENGTH, 'a') + "end");
}

// In content 6 the longest code has 13 bits, "e" 3 and "i" 4, so the size can be set in bytes to the last bit.
TEST(StringCompressor, BlockThatFillsItsSizeField) {
    const std::string longest = std::string(4094, 'U') + "iiii" + std::string(4086, 'e');
    const Packed packed = Compress(longest, 6);
    EXPECT_EQ(packed.size, 8191u);
    EXPECT_TRUE(Decompress(packed.memory, 9000) == longest);
    EXPECT_TRUE(DecompressChecked(packed.memory, 8192, 9000) == longest);
    EXPECT_EQ(Compress(std::string(4094, 'U') + "iiiii" + std::string(4085, 'e'), 6).error, Z4::ERR_OVERFLOW);
    EXPECT_EQ(Compress("eeee" + std::string(9000, 'U'), 6).error, Z4::ERR_OVERFLOW);
}

// A block's last bytes may lie behind the capacity, so that none is left for the next.
TEST(StringCompressor, AnyRoomThatIsTooSmallIsRefused) {
    const std::string text(3 * MAX_BLOCK_LENGTH, 'e');
    const Compressor compressor;
    const unsigned long whole = Compress(text).size;
    std::string out(whole + 3, UNTOUCHED); // as the raw form wants
    unsigned long size = 0;
    EXPECT_TRUE(!compressor.Compress("e", 1, out.data(), 8, size, nullptr, Compressor::DETECT, 0));
    for (unsigned long room = 0; room <= whole; room += (room + 13) % 3073 < 26 ? 1 : 13) {
        EXPECT_EQ(compressor.Compress(text.data(), 3 * MAX_BLOCK_LENGTH, out.data(), room, size, nullptr,
                                      Compressor::DETECT, 0) == Z4::ERR_OK,
                  room + 3 >= whole)
            << room;
    }
}

TEST(StringCompressor, TellsItsErrors) {
    for (const unsigned long content : {0UL, 16UL, 254UL, 256UL, 0xFFFFFFFFUL}) {
        EXPECT_EQ(Compress(std::string(9000, 'a'), content, 0).error, Z4::ERR_UNSUPPORTED) << content;
    }
    const Packed refused = Compress("text", 2, 3);
    EXPECT_TRUE(refused.error == Z4::ERR_INVALID && refused.size == 77);
    Compressor compressor;
    EXPECT_EQ(compressor.DetectContent(nullptr, -1), 5u);
    const std::string text(MAX_BLOCK_LENGTH + 1, 'a');
    std::string out(9000, UNTOUCHED);
    unsigned long size = 77;
    EXPECT_EQ(compressor.CompressSingleBlock(text.data(), MAX_BLOCK_LENGTH + 1, out.data(), 9000, size, nullptr, 255, 0,
                                             false),
              Z4::ERR_INVALID);
    EXPECT_EQ(size, 77u);
    const char withoutContent[] = {0, 8, 2, 2, 0, 0, 0, 0};
    EXPECT_EQ(compressor.Decompress(withoutContent, out.data(), 9000, size), Z4::ERR_UNSUPPORTED);
    for (const char last : {'\x0B', '\x0A'}) { // blocks that end before they begin, more of them and one
        const char endless[] = {0, 8, 0, last, 0, 0, 0, 0};
        unsigned long bytes;
        EXPECT_EQ(compressor.Decompress(endless, out.data(), 9000, size), Z4::ERR_CORRUPTED_DATA);
        EXPECT_EQ(Compressor::GetSize(endless, size, bytes), Z4::ERR_CORRUPTED_DATA);
    }
    EXPECT_EQ(out, std::string(9000, UNTOUCHED));
    EXPECT_EQ(Compressor::Text(static_cast<const char*>(nullptr)).size, 0u);
}

TEST(StringCompressor, DamagedHeadersAndMissingBytesAreFound) {
    for (const ZelkTest::Row& row : Rows("shorttexts.txt")) {
        const Packed packed = Compress(row.Text(1));
        const unsigned long whole = (packed.size + 3) / 4 * 4;
        for (unsigned long size = 0; size < whole; ++size) {
            ASSERT_EQ(DecompressChecked(packed.memory, size, 300), "damaged") << row.Where() << ", " << size;
        }
        for (unsigned bit = 0; bit < 32; ++bit) {
            std::string damaged = packed.memory;
            damaged[bit / 8] = static_cast<char>(damaged[bit / 8] ^ 128 >> bit % 8);
            // One or two characters more or less can go unseen in the last byte, and so can another content.
            const bool canBeHidden = bit == 11 || bit == 12 || (bit >= 26 && bit != 31);
            ASSERT_TRUE(canBeHidden || DecompressChecked(damaged, whole, 300) == "damaged")
                << row.Where() << ", bit " << bit;
        }
    }
}

TEST(StringCompressor, RoomForEveryText) {
    static_assert(Compressor::GetMaxCompressedSize(8184) == 8192 && Compressor::GetMaxCompressedSize(8185) == 8200);
    unsigned long length = 0xFFFFFFFF;
    EXPECT_EQ(Compressor::GetMaxCompressedSize(length), 0xFFFFFFFCu);
    for (length = 0; length < 100; ++length) {
        EXPECT_EQ(Compress(std::string(length, 'U'), 6, Compressor::GetMaxCompressedSize(length)).error, Z4::ERR_OK);
    }
}

} // namespace
