// Hunted here: a write beyond the room, a failure in the midst of a value that is taken for success, parts that cannot
// be, and copies that end early.
#include <tests/support/memoryfiles.h>

#include <vector>
#include <zelk_core/streams/compressedstream.h>
#include <zelk_core/streams/filestream.h>
#include <zelk_core/streams/memorystream.h>
#include <zelk_core/streams/streamwriter.h>
#include <zelk_core/streams/substream.h>

namespace {

using namespace Z4;

class StreamEdges : public ZelkTest::WithFiles {};

struct Record {
    GUID id = {1, 2, 3, {4}};
    std::uint16_t versions[3] = {1, 2, 3};
    bool isOpen = true;
};
constexpr std::uint32_t RECORD_SIZE = 16 + 6 + 1 + 1 + 16;

bool WriteRecord(StreamWriter& writer) {
    return writer.WriteRecord<&Record::id, &Record::versions, &Record::isOpen, &Record::isOpen, &Record::id>(Record{});
}

bool WriteEverything(Stream& stream, ByteOrder order) {
    StreamWriter writer(stream, order);
    Vector<std::uint16_t> many; // more than are swapped at a time
    for (std::uint16_t i = 0; i < 600; ++i) {
        many.PushBack(i);
    }
    const std::uint64_t place = writer.Reserve<std::uint32_t>();
    return WriteRecord(writer) && writer.WriteString("text") && writer.WriteFixedString("abc", 100) &&
           writer.WriteTerminated("ended") && writer.WriteVector(many) && writer.WriteVarint(300) && writer.Align(64) &&
           writer.Patch<std::uint32_t>(place, 0) && stream.GetError() == ERR_OK;
}

TEST_F(StreamEdges, AWriterFillsAnyRoomAndNoMore) {
    for (const ByteOrder order : {LITTLE_ENDIAN_ORDER, BIG_ENDIAN_ORDER}) {
        MemoryStream whole;
        ASSERT_TRUE(WriteEverything(whole, order));
        for (std::uint32_t room = 0; room < whole.GetSize(); ++room) {
            std::vector<unsigned char> memory(room + 1, 0xEE);
            MemoryStream stream(memory.data(), room, 0);
            ASSERT_FALSE(WriteEverything(stream, order)) << room;
            ASSERT_EQ(stream.GetError(), ERR_OVERFLOW) << room;
            ASSERT_TRUE(stream.GetSize() <= room && memory[room] == 0xEE);
            ASSERT_EQ(std::memcmp(memory.data(), whole.GetData(), stream.GetSize()), 0) << room;
            MemoryStream small(memory.data(), room, 0);
            StreamWriter writer(small, order);
            ASSERT_EQ(WriteRecord(writer), room >= RECORD_SIZE);
        }
    }
}

TEST_F(StreamEdges, PartsSayWhyTheyCannotBe) {
    MemoryStream memory("0123456789", 10);
    InflateStream forward(memory, 10);
    EXPECT_EQ(SubStream(forward, 0, 1).GetError(), ERR_UNSUPPORTED);
    EXPECT_EQ(SubStream(memory, 1ULL << 63, 1).GetError(), ERR_INVALID);
    EXPECT_EQ(SubStream(memory, 1, INT64_MAX).GetError(), ERR_INVALID);
    SubStream behind(memory, 20, 5);
    EXPECT_TRUE(behind.IsAtEnd());
    memory.Fail(ERR_CORRUPTED_DATA);
    EXPECT_EQ(SubStream(memory, 0, 1).GetError(), ERR_CORRUPTED_DATA);
}

TEST_F(StreamEdges, SyncReachesTheDeviceThroughOthers) {
    FileStream file;
    ASSERT_EQ(file.Open("file", EalFile::REPLACE), ERR_OK);
    const int before = ZelkTest::MemoryFiles::flushes;
    SubStream part(file, 0, 100);
    EXPECT_TRUE(part.Write("part", 4) && part.Sync());
    DeflateStream packed(part, CompressionInterface::CMP_FAST);
    EXPECT_TRUE(packed.Write("more", 4) && packed.Sync());
    EXPECT_EQ(ZelkTest::MemoryFiles::flushes, before + 2);
    file.Fail(ERR_INVALID);
    EXPECT_FALSE(packed.Sync());
    EXPECT_FALSE(part.Sync());
}

TEST_F(StreamEdges, CopiesEndWithTheFirstErrorOfEitherSide) {
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
