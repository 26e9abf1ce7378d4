// Hunted here: numbers in the wrong order, lengths that are believed, texts that lose or gain a character, a write
// beyond the room, a failure in the midst of a value that is taken for success. How much memory a length may cost, and
// that all streams are read alike, is the replayed fuzzer's.
#include <gtest/gtest.h>
#include <map>
#include <string_view>
#include <tests/support/rows.h>
#include <vector>
#include <zelk_core/streams/memorystream.h>
#include <zelk_core/streams/streamreader.h>
#include <zelk_core/streams/streamwriter.h>

namespace {

using namespace Z4;
using namespace std::string_view_literals;

struct Header {
    enum class Kind : std::uint16_t {
        THIRD = 3
    } kind;
    std::uint16_t versions[3];
    float scale;
    bool isOpen;
    GUID id;
};

constexpr GUID SAMPLE = "00112233-4455-6677-8899-aabbccddeeff"_guid;
constexpr std::uint32_t HEADER_SIZE = 2 + 6 + 4 + 1 + 16;
constexpr SwapField FIELDS[] = {{0, 1, 4, nullptr}, {4, 2, 2, nullptr}};
constexpr SwapLayout LAYOUT{FIELDS, 2, 8};
constexpr unsigned char RECORD[8] = {1, 2, 3, 4, 5, 6, 7, 8};

Vector<std::uint16_t> Numbers() {
    Vector<std::uint16_t> many; // more than are swapped at a time
    for (std::uint16_t i = 0; i < 600; ++i) {
        many.PushBack(i);
    }
    return many;
}

bool WriteHeader(StreamWriter& writer) {
    const Header header{Header::Kind::THIRD, {1, 2, 0x304}, 0.1F, true, SAMPLE};
    return writer.WriteRecord<&Header::kind, &Header::versions, &Header::scale, &Header::isOpen, &Header::id>(header);
}

/// One of each kind; the first stays 0 when not all fits.
bool WriteEverything(Stream& stream, ByteOrder order) {
    StreamWriter writer(stream, order);
    const std::uint64_t place = writer.Reserve<std::uint32_t>();
    return WriteHeader(writer) && writer.Write(-2.5) && writer.Write(std::int64_t{-7}) && writer.Write('c') &&
           writer.WriteString("text") && writer.WriteString("") && writer.WriteTerminated("ended") &&
           writer.WriteFixedString("abc", 100) && writer.WriteFixedString("abcde", 5) && writer.Align(16) &&
           writer.Align(16) && writer.WriteVector(Numbers()) && writer.WriteRecord(RECORD, LAYOUT) &&
           writer.Patch<std::uint32_t>(place, 0x01020304) && stream.GetError() == ERR_OK;
}

class Readers : public testing::TestWithParam<ByteOrder> {};

TEST_P(Readers, ReadWhatWritersWrote) {
    const bool isBig = GetParam() == BIG_ENDIAN_ORDER;
    MemoryStream stream;
    ASSERT_TRUE(WriteEverything(stream, GetParam()));
    // By both orders' definition, not by what wrote it.
    const unsigned char* const bytes = stream.GetData();
    EXPECT_EQ(isBig ? LoadBig<std::uint16_t>(bytes + 10) : LoadLittle<std::uint16_t>(bytes + 10), 0x304);
    std::uint8_t network[16];
    SAMPLE.ToBytes(network);
    EXPECT_EQ(std::memcmp(bytes + 17, network, 16) == 0, isBig);

    ASSERT_TRUE(stream.Seek(0, SEEK_FROM_BEGIN));
    StreamReader reader(stream, GetParam());
    EXPECT_EQ(reader.Read<std::uint32_t>(), 0x01020304u);
    Header back{};
    reader.ReadRecord<&Header::kind, &Header::versions, &Header::scale, &Header::isOpen, &Header::id>(back);
    EXPECT_TRUE(back.kind == Header::Kind::THIRD && back.versions[2] == 0x304 && back.scale == 0.1F && back.isOpen);
    EXPECT_EQ(back.id, SAMPLE);
    EXPECT_TRUE(reader.Read<double>() == -2.5 && reader.Read<std::int64_t>() == -7 && reader.Read<char>() == 'c');
    ZelkString text;
    EXPECT_TRUE(reader.ReadString(text, 4) && text == "text");
    EXPECT_TRUE(reader.ReadString(text, 0) && text.IsEmpty());
    EXPECT_TRUE(reader.ReadTerminated(text, 5) && text == "ended");
    char field[101];
    EXPECT_TRUE(reader.ReadFixedString(field, 100) && field == "abc"sv);
    EXPECT_TRUE(reader.ReadFixedString(field, 5) && field == "abcde"sv && reader.Align(16));
    Vector<std::uint16_t> numbers;
    EXPECT_TRUE(reader.ReadVector(numbers, 600) && numbers == Numbers());
    unsigned char record[8];
    EXPECT_TRUE(reader.ReadRecord(record, LAYOUT) && std::memcmp(record, RECORD, 8) == 0);
    EXPECT_TRUE(stream.IsAtEnd() && stream.GetError() == ERR_OK);
}

TEST_P(Readers, AWriterFillsAnyRoomAndNoMore) {
    MemoryStream whole;
    ASSERT_TRUE(WriteEverything(whole, GetParam()) && StreamWriter(whole, GetParam()).Patch<std::uint32_t>(0, 0));
    for (std::uint32_t room = 0; room < whole.GetSize(); ++room) {
        std::vector<unsigned char> memory(room + 1, 0xEE);
        MemoryStream stream(memory.data(), room, 0);
        ASSERT_FALSE(WriteEverything(stream, GetParam())) << room;
        ASSERT_EQ(stream.GetError(), ERR_OVERFLOW) << room;
        ASSERT_TRUE(stream.GetSize() <= room && memory[room] == 0xEE);
        ASSERT_EQ(std::memcmp(memory.data(), whole.GetData(), stream.GetSize()), 0) << room;
        MemoryStream small(memory.data(), room, 0);
        StreamWriter writer(small, GetParam());
        ASSERT_EQ(WriteHeader(writer), room >= HEADER_SIZE);
    }
}

INSTANTIATE_TEST_SUITE_P(Orders, Readers, testing::Values(LITTLE_ENDIAN_ORDER, BIG_ENDIAN_ORDER));

TEST(StreamReader, Varints) {
    for (unsigned shift = 0; shift < 64; ++shift) {
        for (const std::uint64_t offset : {0ull, 1ull, ~0ull}) {
            const std::uint64_t value = (1ull << shift) + offset;
            MemoryStream stream;
            StreamWriter writer(stream, LITTLE_ENDIAN_ORDER);
            ASSERT_TRUE(writer.WriteVarint(value) && writer.WriteSignedVarint(static_cast<std::int64_t>(value)));
            ASSERT_TRUE(stream.Seek(0, SEEK_FROM_BEGIN));
            StreamReader reader(stream, LITTLE_ENDIAN_ORDER);
            ASSERT_EQ(reader.ReadVarint(), value);
            ASSERT_EQ(reader.ReadSignedVarint(), static_cast<std::int64_t>(value));
            ASSERT_TRUE(stream.GetError() == ERR_OK && stream.IsAtEnd());
        }
    }
}

TEST(StreamReader, Lines) {
    constexpr std::string_view TEXT = "a\r\n\nlonger\n\rb\r";
    MemoryStream stream(TEXT.data(), TEXT.size());
    StreamReader reader(stream, LITTLE_ENDIAN_ORDER);
    ZelkString line;
    for (const char* const expected : {"a", "", "longer", "\rb\r"}) {
        EXPECT_TRUE(reader.ReadLine(line, 6));
        EXPECT_STREQ(line.CStr(), expected);
    }
    EXPECT_FALSE(reader.ReadLine(line, 6));
    EXPECT_EQ(stream.GetError(), ERR_OK) << "the end is none";
}

/// Whether anything is read.
const std::map<std::string, bool (*)(StreamReader& reader, ZelkString& text)> READS = {
    {"flag", [](StreamReader& reader, ZelkString&) { return reader.Read<bool>(); }},
    {"number", [](StreamReader& reader, ZelkString&) { return reader.Read<std::uint32_t>() != 0; }},
    {"identifier", [](StreamReader& reader, ZelkString&) { return !reader.Read<GUID>().IsNil(); }},
    {"varint", [](StreamReader& reader, ZelkString&) { return reader.ReadVarint() != 0; }},
    {"numbers",
     [](StreamReader& reader, ZelkString&) {
         Vector<std::uint64_t> elements(3);
         return reader.ReadVector(elements, 3) || !elements.IsEmpty();
     }},
    {"line", [](StreamReader& reader, ZelkString& text) { return reader.ReadLine(text, 5); }},
    {"terminated", [](StreamReader& reader, ZelkString& text) { return reader.ReadTerminated(text, 5); }},
    {"utf8", [](StreamReader& reader, ZelkString& text) { return reader.ReadUtf8String(text, 5); }},
};

TEST(StreamReader, WhatIsWrongIsReadAsNothing) {
    ZelkString text;
    for (const ZelkTest::Row& row : ZelkTest::Rows("reader.txt")) {
        const std::string bytes = row.Text(1);
        MemoryStream stream(bytes.data(), static_cast<std::uint32_t>(bytes.size()));
        StreamReader reader(stream, LITTLE_ENDIAN_ORDER);
        EXPECT_FALSE(READS.at(row.Text(0))(reader, text)) << row.Where();
        EXPECT_TRUE(stream.GetError() == ERR_CORRUPTED_DATA && text.IsEmpty()) << row.Where();
    }
    MemoryStream stream("\4\0\0\0abcd\4\0\0\0abcd", 16);
    StreamReader reader(stream, LITTLE_ENDIAN_ORDER);
    reader.SetBudget(7);
    EXPECT_TRUE(reader.ReadString(text, 5));
    EXPECT_FALSE(reader.ReadString(text, 5)) << "beyond the budget";
    stream.ClearError();
    EXPECT_FALSE(reader.ReadLine(text, 5)) << "beyond the budget";
    stream.ClearError();
    EXPECT_FALSE(reader.ReadArray(static_cast<double*>(nullptr), 0xFFFFFFFF));
    EXPECT_EQ(stream.GetError(), ERR_INVALID);
}

TEST(StreamWriter, WhatDoesNotFitIsRefused) {
    const auto expectRefused = [](Error error, bool (*write)(StreamWriter&)) {
        MemoryStream stream;
        StreamWriter writer(stream, BIG_ENDIAN_ORDER);
        EXPECT_FALSE(write(writer));
        EXPECT_EQ(stream.GetError(), error);
        EXPECT_EQ(stream.GetSize(), 0u);
    };
    expectRefused(ERR_OVERFLOW, [](StreamWriter& writer) { return writer.WriteFixedString("abc", 2); });
    expectRefused(ERR_INVALID, [](StreamWriter& writer) { return writer.WriteTerminated({"a\0b", 3}); });
    expectRefused(ERR_INVALID, [](StreamWriter& writer) { return writer.Patch<std::uint32_t>(0, 1); });
    expectRefused(ERR_INVALID, [](StreamWriter& writer) { return writer.Patch<std::uint32_t>(9, 1); });
    expectRefused(ERR_OVERFLOW, [](StreamWriter& writer) { return writer.WriteRecord("", {nullptr, 0, 1025}); });
}

} // namespace
