// Hunted here: bytes that are lost when a call of the host's fails, an error that nobody hears of, memory that stays.
#include <tests/support/memoryfiles.h>

#include <algorithm>
#include <zelk_core/streams/compressedstream.h>
#include <zelk_core/streams/filestream.h>
#include <zelk_core/streams/memorystream.h>
#include <zelk_core/streams/streamreader.h>
#include <zelk_core/streams/streamwriter.h>

namespace {

using namespace Z4;

class StreamFaults : public ZelkTest::WithFiles {};

/// Writes the text in pieces; where a write or flush fails, clears the error, and that of the stream `beneath`, and
/// goes on behind what was taken.
/// @return how many errors there were.
std::size_t WriteAll(Stream& stream, const std::string& text, std::uint32_t piece, Stream& beneath) {
    std::size_t errors = 0;
    for (bool isDone = false; !isDone;) {
        const std::uint64_t at = stream.Tell();
        const auto size = static_cast<std::uint32_t>(std::min<std::uint64_t>(piece, text.size() - at));
        if (size != 0) {
            stream.Write(text.data() + at, size);
        } else {
            isDone = stream.Flush();
        }
        if (stream.GetError() != ERR_OK) {
            EXPECT_EQ(stream.GetError(), ERR_EAL_SPECIFIC);
            stream.ClearError();
            beneath.ClearError();
            ++errors;
        }
    }
    return errors;
}

TEST_F(StreamFaults, AnyFailedWriteCanBeRepeated) {
    const std::string text = ZelkTest::Sample(300);
    for (const std::uint32_t buffer : {0u, 16u, 1000u}) {
        for (const std::uint32_t piece : {1u, 15u, 40u, 300u}) {
            for (std::size_t n = 1;; ++n) {
                FileStream stream(buffer);
                ASSERT_EQ(stream.Open("file", EalFile::REPLACE), ERR_OK);
                ZelkHost::InjectFileFaults({.calls = ZelkHost::CALL_WRITE, .first = n, .largestTransfer = 11});
                const std::size_t errors = WriteAll(stream, text, piece, stream);
                ASSERT_EQ(stream.Close(), ERR_OK);
                ASSERT_EQ(Content(), text) << buffer << ' ' << piece << ' ' << n;
                const std::size_t failed = ZelkHost::InjectFileFaults({});
                ASSERT_EQ(errors, failed);
                if (failed == 0) {
                    break;
                }
            }
        }
    }
}

// Compressed bytes that the stream beneath has taken in part must neither be lost nor come twice.
TEST_F(StreamFaults, AnyFailedWriteBeneathACompressingStreamCanBeRepeated) {
    const std::string text = ZelkTest::Sample(100000, 3);
    std::string whole;
    std::size_t failed = 1;
    for (std::size_t n = 0; failed != 0 || n <= 1; n = n < 5 ? n + 1 : 3 * n) {
        FileStream file(0);
        ASSERT_EQ(file.Open("file", EalFile::REPLACE), ERR_OK);
        DeflateStream deflate(file, CompressionInterface::CMP_FAST);
        ZelkHost::InjectFileFaults({.calls = ZelkHost::CALL_WRITE, .first = n, .largestTransfer = 1000});
        WriteAll(deflate, text, 30000, file);
        failed = ZelkHost::InjectFileFaults({});
        ASSERT_EQ(deflate.Close(), ERR_OK);
        ASSERT_EQ(file.Close(), ERR_OK);
        whole = n == 0 ? Content() : whole;
        ASSERT_EQ(Content(), whole) << n;
    }
}

TEST_F(StreamFaults, OnlyADestructorThatLosesBytesLogs) {
    const ZelkTest::LogCapture log;
    for (const std::uint64_t room : {4u, 1u}) {
        FileStream stream;
        ASSERT_EQ(stream.Open("file", EalFile::REPLACE), ERR_OK);
        stream.Write("abcd", 4);
        ZelkHost::InjectFileFaults({.room = room});
    }
    {
        FileStream stream;
        ASSERT_EQ(stream.Open("other", EalFile::REPLACE), ERR_OK);
        ZelkHost::InjectFileFaults({.calls = ZelkHost::CALL_CLOSE, .first = 1});
    }
    ZelkHost::InjectFileFaults({});
    log.ExpectOnly(
        {{4, "streams/private/bufferedstream", 100,
          "[Z4::BufferedStream] EAL_LOG_ERROR: A stream was destroyed that could not be written to its end "
          "(3 bytes are left): Ran out of resources. Close streams and look at the result.\n\n"},
         {4, "streams/private/bufferedstream", 100,
          "[Z4::BufferedStream] EAL_LOG_ERROR: A stream was destroyed that could not be written to its end "
          "(0 bytes are left): EAL implementation-specific error. Close streams and look at the result.\n\n"}});
    EXPECT_EQ(Content(), "a");
}

/// Writes and reads through every class; true when all went well.
bool UseAll() {
    // More than a reader takes memory for at once on the word of a stream.
    constexpr std::uint32_t SIZE = 200000;
    FileStream out(64);
    ZelkString text;
    Vector<unsigned char> bytes;
    if (out.Open("file", EalFile::REPLACE) != ERR_OK || !text.Resize(SIZE, 'x') || !bytes.Resize(4)) {
        return false;
    }
    DeflateStream deflate(out, CompressionInterface::CMP_FAST);
    StreamWriter writer(deflate, BIG_ENDIAN_ORDER);
    EXPECT_TRUE(writer.WriteString(text) || deflate.GetError() != ERR_OK);
    EXPECT_TRUE((writer.WriteTerminated("line") && writer.WriteVector(bytes)) || deflate.GetError() != ERR_OK);
    const bool isPacked = deflate.Close() == ERR_OK;
    FileStream in(64);
    if (out.Close() != ERR_OK || !isPacked || in.Open("file", EalFile::READ_ONLY) != ERR_OK) {
        return false;
    }
    InflateStream inflate(in, 2 * SIZE);
    ZelkString back;
    StreamReader reader(inflate, BIG_ENDIAN_ORDER);
    ZelkString line;
    reader.ReadString(back, SIZE);
    EXPECT_TRUE((reader.ReadTerminated(line, 4) && reader.ReadVector(bytes, 4)) || inflate.GetError() != ERR_OK);
    MemoryStream memory;
    memory.Write(back.CStr(), back.Size());
    const bool isWhole = memory.MoveTo(bytes) && std::equal(bytes.begin(), bytes.end(), text.begin(), text.end());
    const Error inflated = inflate.Close();
    EXPECT_NE(inflated, ERR_CORRUPTED_DATA) << "a refusal is no damage";
    return in.Close() == ERR_OK && inflated == ERR_OK && isWhole;
}

/// Calls `useAll()`, which says whether all went well, with each of the host's calls and each allocation failing once.
void ExpectFailures(std::initializer_list<unsigned> calls, bool (*useAll)()) {
    const ZelkTest::LogCapture log;
    for (const unsigned call : calls) {
        std::size_t failed = 1;
        for (std::size_t n = 1; failed != 0; ++n) {
            ZelkHost::InjectFileFaults({.calls = call, .first = n});
            const bool isDone = useAll();
            failed = ZelkHost::InjectFileFaults({});
            ASSERT_EQ(isDone, failed == 0) << call << ' ' << n;
        }
    }
    std::size_t refused = 0;
    for (bool isDone = false; !isDone; ZelkTest::FailAllocations(0)) {
        ASSERT_LT(++refused, 200u);
        ZelkTest::FailAllocations(refused, 1);
        isDone = useAll();
    }
}

TEST_F(StreamFaults, EveryCallAndEveryAllocationMayFail) {
    using namespace ZelkHost;
    ExpectFailures({CALL_OPEN, CALL_CLOSE, CALL_READ, CALL_WRITE, CALL_SIZE}, UseAll);
    ExpectFailures({CALL_OPEN, CALL_CLOSE, CALL_WRITE}, [] { return SaveFile("file", "text", 4) == ERR_OK; });
    // What closing a file says after it was read is of no interest.
    ExpectFailures({CALL_OPEN, CALL_READ, CALL_SIZE}, [] {
        Content() = "text";
        Vector<unsigned char> bytes;
        ZelkString text;
        const bool isRead = LoadFile("file", bytes, 4) == ERR_OK;
        const bool isText = LoadFile("file", text, 4) == ERR_OK;
        EXPECT_TRUE(bytes.Size() == (isRead ? 4 : 0) && text == (isText ? "text" : ""));
        return isRead && isText;
    });
}

} // namespace
