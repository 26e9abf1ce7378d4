// Hunted here: parts that cannot be, a device that is not reached, and copies that end early.
#include <tests/support/memoryfiles.h>

#include <zelk_core/streams/compressedstream.h>
#include <zelk_core/streams/filestream.h>
#include <zelk_core/streams/memorystream.h>
#include <zelk_core/streams/substream.h>

namespace {

using namespace Z4;

class StreamEdges : public ZelkTest::WithFiles {};

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
