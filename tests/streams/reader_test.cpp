// Hunted here: numbers in the wrong order, lengths that are believed, texts that lose or gain a character.
#include <tests/support/memoryfiles.h>

#include <zelk_core/streams/compressedstream.h>
#include <zelk_core/streams/memorystream.h>
#include <zelk_core/streams/streamreader.h>
#include <zelk_core/streams/streamwriter.h>

namespace {

using namespace Z4;

enum class Kind : std::uint16_t {
    THIRD = 3
};

struct Header {
    Kind kind;
    std::uint16_t versions[3];
    float scale;
    bool isOpen;
    GUID id;
};

constexpr GUID SAMPLE = "00112233-4455-6677-8899-aabbccddeeff"_guid;

class Readers : public testing::TestWithParam<ByteOrder> {};

TEST_P(Readers, ReadWhatWritersWrote) {
    MemoryStream stream;
    StreamWriter writer(stream, GetParam());
    const Header header{Kind::THIRD, {1, 2, 0x304}, 0.1F, true, SAMPLE};
    EXPECT_TRUE(
        (writer.WriteRecord<&Header::kind, &Header::versions, &Header::scale, &Header::isOpen, &Header::id>(header)));
    const std::uint64_t lengthPlace = writer.Reserve<std::uint32_t>();
    EXPECT_TRUE(writer.Write(-2.5) && writer.Write(std::int64_t{-7}) && writer.Write('c'));
    EXPECT_TRUE(writer.WriteString("text") && writer.WriteString("") && writer.WriteTerminated("ended"));
    EXPECT_TRUE(writer.WriteFixedString("abc", 5) && writer.WriteFixedString("abcde", 5) && writer.Align(16));
    EXPECT_TRUE(writer.Patch<std::uint32_t>(lengthPlace, 0x01020304));
    Vector<std::uint16_t> numbers;
    for (unsigned i = 0; i < 1500; ++i) {
        numbers.PushBack(static_cast<std::uint16_t>(i * 257));
    }
    EXPECT_TRUE(writer.WriteVector(numbers));
    static constexpr SwapField FIELDS[] = {{0, 1, 4, nullptr}, {4, 2, 2, nullptr}};
    const SwapLayout layout{FIELDS, 2, 8};
    const unsigned char record[8] = {1, 2, 3, 4, 5, 6, 7, 8};
    EXPECT_TRUE(writer.WriteRecord(record, layout));
    // By both orders' definition, not by what wrote it.
    const unsigned char* const bytes = stream.GetData();
    EXPECT_EQ(GetParam() == BIG_ENDIAN_ORDER ? LoadBig<std::uint16_t>(bytes + 6) : LoadLittle<std::uint16_t>(bytes + 6),
              0x304);
    std::uint8_t network[16];
    SAMPLE.ToBytes(network);
    EXPECT_EQ(std::memcmp(bytes + 13, network, 16) == 0, GetParam() == BIG_ENDIAN_ORDER);

    ASSERT_TRUE(stream.Seek(0, SEEK_FROM_BEGIN));
    StreamReader reader(stream, GetParam());
    Header back{};
    EXPECT_TRUE(
        (reader.ReadRecord<&Header::kind, &Header::versions, &Header::scale, &Header::isOpen, &Header::id>(back)));
    EXPECT_TRUE(back.kind == Kind::THIRD && back.versions[2] == 0x304 && back.scale == 0.1F && back.isOpen);
    EXPECT_EQ(back.id, SAMPLE);
    EXPECT_EQ(reader.Read<std::uint32_t>(), 0x01020304u);
    EXPECT_TRUE(reader.Read<double>() == -2.5 && reader.Read<std::int64_t>() == -7 && reader.Read<char>() == 'c');
    ZelkString text;
    EXPECT_TRUE(reader.ReadString(text, 4) && text == "text");
    EXPECT_TRUE(reader.ReadString(text, 0) && text.IsEmpty());
    EXPECT_TRUE(reader.ReadTerminated(text, 5) && text == "ended");
    char field[6];
    EXPECT_TRUE(reader.ReadFixedString(field, 5));
    EXPECT_STREQ(field, "abc");
    EXPECT_TRUE(reader.ReadFixedString(field, 5) && reader.Align(16));
    EXPECT_STREQ(field, "abcde");
    Vector<std::uint16_t> numbersBack;
    EXPECT_TRUE(reader.ReadVector(numbersBack, 1500) && numbersBack == numbers);
    unsigned char recordBack[8];
    EXPECT_TRUE(reader.ReadRecord(recordBack, layout));
    EXPECT_EQ(std::memcmp(record, recordBack, 8), 0);
    EXPECT_TRUE(stream.IsAtEnd() && reader.Read<std::uint8_t>() == 0);
    EXPECT_EQ(stream.GetError(), ERR_CORRUPTED_DATA);
}

INSTANTIATE_TEST_SUITE_P(Orders, Readers, testing::Values(LITTLE_ENDIAN_ORDER, BIG_ENDIAN_ORDER));

TEST(StreamReader, Varints) {
    for (unsigned shift = 0; shift < 64; ++shift) {
        for (const std::uint64_t offset : {0ull, 1ull, ~0ull}) {
            const std::uint64_t value = (1ull << shift) + offset;
            MemoryStream stream;
            StreamWriter(stream, LITTLE_ENDIAN_ORDER).WriteVarint(value);
            StreamWriter(stream, LITTLE_ENDIAN_ORDER).WriteSignedVarint(static_cast<std::int64_t>(value));
            ASSERT_TRUE(stream.Seek(0, SEEK_FROM_BEGIN));
            StreamReader reader(stream, LITTLE_ENDIAN_ORDER);
            ASSERT_EQ(reader.ReadVarint(), value);
            ASSERT_EQ(reader.ReadSignedVarint(), static_cast<std::int64_t>(value));
            ASSERT_TRUE(stream.GetError() == ERR_OK && stream.IsAtEnd());
        }
    }
    for (const StrView bytes :
         {StrView("\x80\x00", 2), StrView("\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\xFF\x02"),
          StrView("\x80\x80\x80\x80\x80\x80\x80\x80\x80\x80\x01"), StrView("\x80"), StrView("")}) {
        MemoryStream stream(bytes.Data(), static_cast<std::uint32_t>(bytes.Size()));
        EXPECT_EQ(StreamReader(stream, LITTLE_ENDIAN_ORDER).ReadVarint(), 0u);
        EXPECT_EQ(stream.GetError(), ERR_CORRUPTED_DATA);
    }
}

TEST(StreamReader, Lines) {
    MemoryStream stream("a\r\n\nlonger\n\rb\r", 16 - 1);
    StreamReader reader(stream, LITTLE_ENDIAN_ORDER);
    ZelkString line;
    for (const char* const expected : {"a", "", "longer", "\rb\r"}) {
        EXPECT_TRUE(reader.ReadLine(line, 6));
        EXPECT_STREQ(line.CStr(), expected);
    }
    EXPECT_FALSE(reader.ReadLine(line, 6));
    EXPECT_EQ(stream.GetError(), ERR_OK);
    ASSERT_TRUE(stream.Seek(0, SEEK_FROM_BEGIN));
    EXPECT_TRUE(reader.ReadLine(line, 2) && reader.ReadLine(line, 0));
    EXPECT_FALSE(reader.ReadLine(line, 5));
    EXPECT_EQ(stream.GetError(), ERR_CORRUPTED_DATA);
}

// Lengths up to 4 GiB in front of a few bytes: an error, and no memory for what is not there.
TEST(StreamReader, LengthsThatLie) {
    for (const std::uint32_t length : {9u, 0x10000u, 0x7FFFFFFFu, 0xFFFFFFFFu}) {
        for (int form = 0; form < 3; ++form) {
            MemoryStream memory;
            StreamWriter(memory, LITTLE_ENDIAN_ORDER).Write(length);
            memory.Write("12345678", 8);
            ASSERT_TRUE(memory.Seek(0, SEEK_FROM_BEGIN));
            MemoryStream packed;
            DeflateStream deflate(packed, CompressionInterface::CMP_FAST);
            deflate.Write(memory.GetData(), memory.GetSize());
            ASSERT_EQ(deflate.Close(), ERR_OK);
            ASSERT_TRUE(packed.Seek(0, SEEK_FROM_BEGIN));
            InflateStream inflate(packed, UINT64_MAX);
            for (Stream* const stream : {static_cast<Stream*>(&memory), static_cast<Stream*>(&inflate)}) {
                StreamReader reader(*stream, LITTLE_ENDIAN_ORDER);
                ZelkString text;
                Vector<std::uint64_t> numbers;
                // The first growth is granted; nothing may ask for more.
                ZelkTest::FailAllocations(stream == &memory ? 1 : 5);
                const bool isRead = form == 0   ? reader.ReadString(text, 0xFFFFFFFF)
                                    : form == 1 ? reader.ReadUtf8String(text, 0xFFFFFFFF)
                                                : reader.ReadVector(numbers, 0xFFFFFFFF);
                ZelkTest::FailAllocations(0);
                EXPECT_FALSE(isRead);
                EXPECT_EQ(stream->GetError(), ERR_CORRUPTED_DATA) << length << ' ' << form;
                EXPECT_TRUE(text.IsEmpty() && numbers.IsEmpty());
            }
        }
    }
    MemoryStream memory("\x04\0\0\0abcd\x04\0\0\0a\xFF\0\0\0\0\x02", 19);
    StreamReader reader(memory, LITTLE_ENDIAN_ORDER);
    ZelkString text;
    reader.SetBudget(7);
    EXPECT_TRUE(reader.ReadUtf8String(text, 4));
    EXPECT_FALSE(reader.ReadString(text, 4)) << "beyond the budget";
    memory.ClearError();
    reader.SetBudget(4);
    ASSERT_TRUE(memory.Seek(8, SEEK_FROM_BEGIN));
    EXPECT_FALSE(reader.ReadUtf8String(text, 4)) << "ill-formed";
    memory.ClearError();
    ASSERT_TRUE(memory.Seek(18, SEEK_FROM_BEGIN));
    EXPECT_FALSE(reader.Read<bool>());
    EXPECT_EQ(memory.GetError(), ERR_CORRUPTED_DATA);
}

TEST(StreamWriter, WhatDoesNotFitIsRefused) {
    MemoryStream stream;
    StreamWriter writer(stream, BIG_ENDIAN_ORDER);
    const auto error = [&] {
        const Error result = stream.GetError();
        stream.ClearError();
        return result;
    };
    EXPECT_FALSE(writer.WriteFixedString("abc", 2));
    EXPECT_EQ(error(), ERR_OVERFLOW);
    EXPECT_FALSE(writer.WriteTerminated({"a\0b", 3}));
    EXPECT_EQ(error(), ERR_INVALID);
    EXPECT_FALSE(writer.Patch<std::uint32_t>(0, 1));
    EXPECT_EQ(error(), ERR_INVALID);
    EXPECT_FALSE(writer.WriteRecord("", SwapLayout{nullptr, 0, 1025}));
    EXPECT_EQ(error(), ERR_OVERFLOW);
    EXPECT_EQ(stream.GetSize(), 0u);
}

} // namespace
