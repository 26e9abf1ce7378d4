// Hunted here: a window that shows other bytes than the device has, after any order of reads, writes and seeks; errors
// that are forgotten; parts that cannot be, a device that is not reached, and copies that end early.
#include <tests/support/memoryfiles.h>
#include <zelk_core/streams/compressedstream.h>
#include <zelk_core/streams/filestream.h>
#include <zelk_core/streams/memorystream.h>
#include <zelk_core/streams/substream.h>

namespace {

using namespace Z4;
using ZelkTest::MemoryFiles;

class Streams : public ZelkTest::WithFiles {};

/// Random operations on a stream of up to `room` bytes and on a text with a position.
void CompareWithModel(Stream& stream, std::string model, std::uint64_t room, std::uint32_t seed) {
    ZelkTest::Input input(seed);
    std::uint64_t position = 0;
    const bool canWrite = (stream.GetAbilities() & Stream::CAN_WRITE) != 0;
    for (int step = 0; step < 1500; ++step) {
        char buffer[40];
        const std::uint32_t size = input.Below(input.OnceIn(2) ? 5 : sizeof(buffer));
        const std::string rest = position < model.size() ? model.substr(static_cast<std::size_t>(position)) : "";
        std::uint32_t ready = 0;
        std::uint64_t length = 0;
        switch (input.Below(canWrite ? 8 : 6)) {
        case 0:
        case 1:
            ready = stream.Read(buffer, size);
            ASSERT_EQ(std::string(buffer, ready), rest.substr(0, size)) << seed << ' ' << step;
            position += ready;
            break;
        case 2: {
            const std::uint64_t target = input.Below(static_cast<std::uint32_t>(room + 1));
            const std::uint64_t origins[] = {0, position, model.size()};
            const auto origin = static_cast<SeekOrigin>(input.Below(3));
            ASSERT_TRUE(stream.Seek(static_cast<std::int64_t>(target - origins[origin]), origin))
                << seed << ' ' << step;
            position = target;
            break;
        }
        case 3: {
            const void* const data = stream.Peek(ready);
            ASSERT_EQ(data == nullptr, rest.empty()) << seed << ' ' << step;
            ASSERT_EQ(std::string(static_cast<const char*>(data), ready), rest.substr(0, ready));
            break;
        }
        case 4:
            if (size <= rest.size()) {
                ASSERT_TRUE(stream.Skip(size));
                position += size;
            }
            break;
        case 5:
            ASSERT_TRUE(stream.GetLength(length));
            ASSERT_EQ(length, model.size()) << seed << ' ' << step;
            ASSERT_EQ(stream.IsAtEnd(), rest.empty());
            ASSERT_TRUE(!input.OnceIn(4) || stream.Flush());
            break;
        default:
            if (position + size <= room) {
                input.Fill(buffer, size);
                ASSERT_TRUE(stream.Write(buffer, size)) << seed << ' ' << step;
                ZelkTest::Overwrite(model, position, buffer, size);
                position += size;
            }
        }
        ASSERT_EQ(stream.Tell(), position) << seed << ' ' << step;
        ASSERT_EQ(stream.GetError(), ERR_OK);
    }
    ASSERT_TRUE(stream.Seek(0, SEEK_FROM_BEGIN));
    std::string all(model.size() + 1, '\0');
    all.resize(stream.Read(all.data(), static_cast<std::uint32_t>(all.size())));
    ASSERT_EQ(all, model);
}

TEST_F(Streams, EveryClassIsASequenceOfBytes) {
    const std::string text = ZelkTest::Sample(100);
    std::uint32_t seed = 1;
    for (const std::uint32_t buffer : {0u, 1u, 7u, 64u, 65536u}) {
        for (const std::uint32_t largest : {1u, 7u, 0xFFFFFFFFu}) {
            ZelkHost::InjectFileFaults({.largestTransfer = largest});
            for (const unsigned mode : {EalFile::READ_ONLY, EalFile::UPDATE}) {
                Content() = text;
                FileStream file(buffer);
                ASSERT_EQ(file.Open("file", mode), ERR_OK);
                CompareWithModel(file, text, 200, ++seed);
                ASSERT_EQ(file.Close(), ERR_OK);

                Content() = text;
                ASSERT_EQ(file.Open("file", mode), ERR_OK);
                const std::uint32_t size = mode == EalFile::READ_ONLY ? 50 : 100;
                SubStream part(file, 30, size, buffer);
                CompareWithModel(part, text.substr(30, size), 100, ++seed);
                ASSERT_EQ(part.Close(), ERR_OK);
                ASSERT_EQ(file.Close(), ERR_OK);
                ASSERT_EQ(Content().substr(0, 30), text.substr(0, 30));
            }
        }
    }
    MemoryStream view(text.data(), 100);
    CompareWithModel(view, text, 200, ++seed);
    std::string memory = text + std::string(100, 'x');
    MemoryStream fixed(memory.data(), 200, 100);
    CompareWithModel(fixed, text, 200, ++seed);
    MemoryStream growing;
    CompareWithModel(growing, "", 2000, ++seed);
    const std::string held(reinterpret_cast<const char*>(growing.GetData()), growing.GetSize());
    Vector<unsigned char> content;
    ASSERT_TRUE(growing.MoveTo(content) && growing.GetSize() == 0 && growing.Tell() == 0);
    ASSERT_EQ(std::string(content.begin(), content.end()), held);
}

TEST_F(Streams, ErrorsStayUntilTheyAreCleared) {
    MemoryStream stream("abcdef", 6);
    char buffer[8];
    EXPECT_TRUE(stream.ReadExactly(buffer, 4));
    EXPECT_FALSE(stream.ReadExactly(buffer, 8));
    EXPECT_EQ(std::string(buffer, 8), std::string("ef\0\0\0\0\0\0", 8));
    EXPECT_EQ(stream.GetError(), ERR_CORRUPTED_DATA);
    stream.Fail(ERR_TIMEOUT);
    EXPECT_FALSE(stream.Seek(0, SEEK_FROM_BEGIN) || stream.Skip(0) || stream.Flush() || stream.Sync());
    std::uint32_t size = 9;
    std::uint64_t length = 9;
    EXPECT_TRUE(stream.Peek(size) == nullptr && size == 0 && !stream.GetLength(length) && length == 0);
    EXPECT_TRUE(stream.Read(buffer, 1) == 0 && stream.IsAtEnd());
    EXPECT_EQ(stream.GetError(), ERR_CORRUPTED_DATA) << "the first one stays";
    stream.ClearError();
    EXPECT_TRUE(stream.Seek(3, SEEK_FROM_BEGIN));
    stream.Fail(ERR_INVALID);
    EXPECT_FALSE(stream.ReadExactly(buffer, 2));
    stream.ClearError();
    EXPECT_TRUE(stream.ReadExactly(buffer, 2) && buffer[0] == 'd') << "from where it stood";
    EXPECT_FALSE(stream.Write("x", 1));
    EXPECT_EQ(stream.GetError(), ERR_UNSUPPORTED);
    stream.ClearError();
    EXPECT_FALSE(stream.Seek(-7, SEEK_FROM_END));
    EXPECT_TRUE(stream.Close() == ERR_INVALID && stream.Close() == ERR_INVALID && stream.GetAbilities() == 0);
}

TEST_F(Streams, WhatDoesNotFitIsCut) {
    char memory[6] = "abcd";
    MemoryStream fixed(memory, 5, 4);
    EXPECT_TRUE(fixed.Seek(3, SEEK_FROM_BEGIN));
    EXPECT_FALSE(fixed.Write("XYZ", 3));
    EXPECT_EQ(fixed.GetError(), ERR_OVERFLOW);
    EXPECT_STREQ(memory, "abcXY");
    fixed.ClearError();
    EXPECT_TRUE(fixed.Seek(0, SEEK_FROM_BEGIN) && fixed.Read(memory, 6) == 5);
    Vector<unsigned char> content;
    EXPECT_FALSE(fixed.MoveTo(content) || !fixed.Seek(9, SEEK_FROM_BEGIN) || fixed.Write("x", 1));
    MemoryStream growing;
    EXPECT_TRUE(growing.Write("abcdef", 6) && growing.Seek(2, SEEK_FROM_BEGIN));
    growing.Fail(ERR_INVALID);
    growing.ClearError();
    EXPECT_TRUE(growing.Write("X", 1) && std::memcmp(growing.GetData(), "abXdef", growing.GetSize()) == 0);
    EXPECT_TRUE(growing.Seek(0x7FFFFFFF, SEEK_FROM_BEGIN) && !growing.Write("x", 1) && growing.GetSize() == 6);
    EXPECT_EQ(growing.GetError(), ERR_OVERFLOW);
    MemoryStream whole(memory, 5, 5);
    SubStream part(whole, 1, 3);
    EXPECT_TRUE(part.Write("12345", 5)) << "in the buffer";
    EXPECT_FALSE(part.Flush());
    EXPECT_EQ(part.Close(), ERR_OVERFLOW);
    EXPECT_STREQ(memory, "a123Y");
    MemoryStream view(memory, 5);
    SubStream tooLong(view, 3, 100);
    std::uint64_t length = 0;
    EXPECT_TRUE(tooLong.GetLength(length) && length == 2);
}

TEST_F(Streams, WholeFilesAtOnce) {
    const std::string text = ZelkTest::Sample(1000);
    EXPECT_EQ(SaveFile("file", text.data(), 1000), ERR_OK);
    EXPECT_EQ(SaveFile("empty", nullptr, 0), ERR_OK);
    EXPECT_EQ(SaveFile(nullptr, "", 0), ERR_INVALID);
    const struct {
        const char* path;
        std::uint32_t limit;
        Error error;
        std::string content;
    } rows[] = {{"file", 1000, ERR_OK, text},
                {"file", 999, ERR_OVERFLOW, ""},
                {"empty", 0, ERR_OK, ""},
                {"none", 9, ERR_NOT_FOUND, ""}};
    for (const auto& row : rows) {
        Vector<unsigned char> bytes(3);
        ZelkString string("old");
        EXPECT_EQ(LoadFile(row.path, bytes, row.limit), row.error) << row.path;
        EXPECT_EQ(std::string(bytes.begin(), bytes.end()), row.content) << row.path;
        EXPECT_EQ(LoadFile(row.path, string, row.limit), row.error) << row.path;
        EXPECT_EQ(std::string(string.CStr(), string.Size()), row.content) << row.path;
    }
}

TEST_F(Streams, OpeningAgainAndTakingOver) {
    Content() = "0123456789";
    FileStream stream;
    char byte = 0;
    EXPECT_EQ(stream.Read(&byte, 1), 0u);
    EXPECT_EQ(stream.GetError(), ERR_NOT_READY);
    EXPECT_EQ(stream.Open("file", EalFile::READ_ONLY | EAL_FILE_UNBUFFERED), ERR_UNSUPPORTED);
    EXPECT_EQ(stream.Open("none", EalFile::READ_ONLY), ERR_NOT_FOUND);
    for (int round = 0; round < 2; ++round) {
        EalFile file;
        EXPECT_EQ(stream.Open(std::move(file), Stream::CAN_READ), ERR_INVALID) << "not open";
        ASSERT_EQ(file.Open("file", EalFile::UPDATE), ERR_OK);
        EXPECT_EQ(stream.Open(std::move(file), Stream::CAN_SEEK), ERR_INVALID);
        ASSERT_EQ(file.Seek(4, SEEK_FROM_BEGIN), ERR_OK);
        ASSERT_EQ(stream.Open(std::move(file), Stream::CAN_READ), ERR_OK);
        EXPECT_EQ(stream.Open("file", EalFile::READ_ONLY), ERR_INVALID);
        EalFile second;
        ASSERT_EQ(second.Open("file", EalFile::READ_ONLY), ERR_OK);
        EXPECT_EQ(stream.Open(std::move(second), Stream::CAN_READ), ERR_INVALID) << "open already";
        EXPECT_TRUE(stream.ReadExactly(&byte, 1) && byte == '4' && stream.Tell() == 5);
        EXPECT_FALSE(stream.Write("x", 1));
        stream.ClearError();
        EXPECT_TRUE(stream.Sync());
        EXPECT_EQ(stream.Close(), ERR_OK);
        EXPECT_FALSE(stream.Seek(0, SEEK_FROM_BEGIN) || stream.Flush());
        EXPECT_EQ(stream.Close(), ERR_OK);
    }
    EXPECT_EQ(MemoryFiles::flushes, 2);
    using Number = std::uint32_t Z4_CDECL(eal_file_handle);
    for (Number* eal_file_dll_interface::*const slot :
         {&eal_file_dll_interface::buffer_alignment, &eal_file_dll_interface::sector_size}) {
        eal_file_dll_interface table = MemoryFiles::Table();
        table.*slot = [](eal_file_handle) -> std::uint32_t { return 512; };
        SetEalInterface(table);
        EalFile file;
        ASSERT_EQ(file.Open("file", EalFile::UPDATE), ERR_OK);
        EXPECT_EQ(stream.Open(std::move(file), Stream::CAN_READ), ERR_UNSUPPORTED);
    }
}

TEST_F(Streams, PartsSayWhyTheyCannotBe) {
    MemoryStream memory("0123456789", 10);
    InflateStream forward(memory, 10);
    EXPECT_EQ(SubStream(forward, 0, 1).GetError(), ERR_UNSUPPORTED);
    EXPECT_EQ(SubStream(memory, 1ULL << 63, 1).GetError(), ERR_INVALID);
    EXPECT_EQ(SubStream(memory, 1, INT64_MAX).GetError(), ERR_INVALID);
    EXPECT_TRUE(SubStream(memory, 20, 5).IsAtEnd());
    memory.Fail(ERR_CORRUPTED_DATA);
    EXPECT_EQ(SubStream(memory, 0, 1).GetError(), ERR_CORRUPTED_DATA);
}

TEST_F(Streams, SyncReachesTheDeviceThroughOthers) {
    FileStream file;
    ASSERT_EQ(file.Open("file", EalFile::REPLACE), ERR_OK);
    SubStream part(file, 0, 100);
    EXPECT_TRUE(part.Write("part", 4) && part.Sync());
    DeflateStream packed(part, CompressionInterface::CMP_FAST);
    EXPECT_TRUE(packed.Write("more", 4) && packed.Sync());
    EXPECT_EQ(MemoryFiles::flushes, 2);
    file.Fail(ERR_INVALID);
    EXPECT_FALSE(packed.Sync());
    EXPECT_FALSE(part.Sync());
}

TEST_F(Streams, CopiesEndWithTheFirstErrorOfEitherSide) {
    MemoryStream from("0123456789", 10);
    char room[4];
    MemoryStream small(room, sizeof room, 0);
    std::uint64_t copied = 7;
    EXPECT_FALSE(CopyStream(from, small, 100, copied));
    EXPECT_TRUE(copied == 0 && small.GetError() == ERR_OVERFLOW && from.GetError() == ERR_OK);
    MemoryStream to;
    ASSERT_TRUE(from.Seek(0, SEEK_FROM_BEGIN));
    EXPECT_FALSE(CopyStream(from, to, 9, copied));
    EXPECT_TRUE(copied == 9 && from.GetError() == ERR_OVERFLOW);
    EXPECT_FALSE(CopyStream(from, to, 9, copied)) << "a stream that has failed";
    MemoryStream none("", 0);
    EXPECT_FALSE(CopyStream(none, small, 9, copied)) << "nothing, to a stream that has failed";
    from.ClearError();
    EXPECT_TRUE(CopyStream(from, to, 1, copied) && copied == 1 && to.GetSize() == 10);
}

} // namespace
