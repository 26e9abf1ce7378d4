// Hunted here: bytes that depend on how they were cut, damage that passes, a parent that is left elsewhere. That any
// bytes are read alike before and after is what fuzz/stream_fuzz.cpp holds.
#include <tests/support/memoryfiles.h>

#include <zelk_core/streams/compressedstream.h>
#include <zelk_core/streams/memorystream.h>

namespace {

using namespace Z4;

class CompressedStreams : public ZelkTest::WithFiles {};

std::string Packed(const std::string& text, std::uint32_t piece, bool flushes = false) {
    MemoryStream memory;
    DeflateStream deflate(memory, CompressionInterface::CMP_DEFAULT);
    for (std::size_t at = 0; at < text.size(); at += piece) {
        deflate.Write(text.data() + at, static_cast<std::uint32_t>(std::min<std::size_t>(piece, text.size() - at)));
        EXPECT_TRUE(!flushes || deflate.Flush());
    }
    EXPECT_EQ(deflate.Tell(), text.size());
    EXPECT_EQ(deflate.Close(), ERR_OK);
    return {reinterpret_cast<const char*>(memory.GetData()), memory.GetSize()};
}

TEST_F(CompressedStreams, ThereAndBack) {
    for (const std::size_t size : {0u, 1u, 100000u}) {
        const std::string text = ZelkTest::Sample(size);
        const std::string packed = Packed(text, 65536);
        EXPECT_EQ(Packed(text, 777), packed);
        EXPECT_EQ(Packed(text, 3000, true), packed) << "no data are cut by a flush";
        const std::string followed = packed + "behind";
        MemoryStream from(followed.data(), static_cast<std::uint32_t>(followed.size()));
        InflateStream inflate(from, size);
        std::string back(size + 10, '\0');
        back.resize(inflate.Read(back.data(), static_cast<std::uint32_t>(back.size())));
        EXPECT_TRUE(back == text && inflate.IsAtEnd() && inflate.Tell() == size && inflate.Close() == ERR_OK) << size;
        EXPECT_EQ(from.Tell(), packed.size()) << "exactly behind the compressed bytes";
    }
}

TEST_F(CompressedStreams, DamageAndEarlyEndsAreErrors) {
    const std::string text = ZelkTest::Sample(2000);
    const std::string packed = Packed(text, 65536);
    const auto inflated = [](const std::string& from, std::uint64_t limit) {
        MemoryStream memory(from.data(), static_cast<std::uint32_t>(from.size()));
        InflateStream inflate(memory, limit);
        std::string out(4000, '\0');
        const std::uint32_t size = inflate.Read(out.data(), 4000);
        return std::pair(inflate.GetError(), out.substr(0, size));
    };
    for (std::size_t cut = 0; cut < packed.size(); ++cut) {
        const auto [error, front] = inflated(packed.substr(0, cut), 4000);
        ASSERT_EQ(error, ERR_CORRUPTED_DATA) << cut;
        ASSERT_TRUE(text.starts_with(front));
    }
    for (std::size_t i = 0; i < packed.size(); i += 7) {
        std::string damaged = packed;
        damaged[i] = static_cast<char>(damaged[i] ^ 0x10);
        ASSERT_EQ(inflated(damaged, 4000).first, ERR_CORRUPTED_DATA) << i;
    }
    for (const std::uint64_t limit : {0ull, 1ull, 1999ull}) {
        const auto [error, front] = inflated(packed, limit);
        EXPECT_EQ(error, ERR_OVERFLOW) << limit;
        EXPECT_EQ(front, text.substr(0, static_cast<std::size_t>(limit)));
    }
    EXPECT_EQ(inflated(packed, 2000), std::pair(ERR_OK, text));
    MemoryStream memory(text.data(), 10);
    InflateStream inflate(memory, 10);
    EXPECT_FALSE(inflate.Seek(0, SEEK_FROM_BEGIN));
    EXPECT_EQ(inflate.GetError(), ERR_UNSUPPORTED);
    const ZelkTest::LogCapture quiet(0);
    MemoryStream closed;
    DeflateStream deflate(closed, CompressionInterface::CMP_FAST);
    EXPECT_TRUE(deflate.Write("a", 1) && closed.Close() == ERR_OK);
    EXPECT_EQ(deflate.Close(), ERR_INVALID) << "nobody takes what is left";
    ZelkTest::FailAllocations(1);
    DeflateStream refused(memory, CompressionInterface::CMP_FAST);
    ZelkTest::FailAllocations(0);
    EXPECT_EQ(refused.Close(), ERR_OUT_OF_MEMORY);
}

} // namespace
