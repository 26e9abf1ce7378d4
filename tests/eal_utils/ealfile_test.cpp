// Hunted here: bytes lost between a host's short transfers, positions that drift from what was moved, a host that lies,
// files left open.
#include <string>
#include <tests/support/memoryfiles.h>
#include <tests/support/results.h>
#include <utility>
#include <vector>
#include <zelk_core/eal_utils/ealfile.h>

namespace {

using namespace Z4;
using namespace ZelkTest;

class EalFileTest : public WithFiles {};

// Streams are built on transfers at offsets; their tests try these, and short ones, in any order.
TEST_F(EalFileTest, ThePositionMovesByWhatWasTransferredThere) {
    ZelkHost::InjectFileFaults({.largestTransfer = 3});
    EalFile file;
    ASSERT_EQ(file.Open("file", EalFile::UPDATE | EAL_FILE_CREATE), ERR_OK);
    std::uint32_t done = 0;
    EXPECT_TRUE(file.Write("01234567", 8, done) == ERR_OK && done == 8 && file.Tell() == 8);
    EXPECT_TRUE(file.Write("ab", 2, 12, done) == ERR_OK && done == 2 && file.Tell() == 8);
    EXPECT_EQ(Content(), std::string("01234567\0\0\0\0ab", 14));
    char buffer[10];
    EXPECT_TRUE(file.Seek(-3, SEEK_FROM_CURRENT) == ERR_OK && file.Tell() == 5);
    EXPECT_TRUE(file.Read(buffer, 4, done) == ERR_OK && done == 4 && file.Tell() == 9);
    EXPECT_EQ(std::string(buffer, 4), std::string("567\0", 4));
    EXPECT_TRUE(file.Read(buffer, 10, 12, done) == ERR_OK && done == 2 && file.Tell() == 9);
    EXPECT_EQ(std::string(buffer, 2), "ab");
    EXPECT_TRUE(file.Seek(-1, SEEK_FROM_END) == ERR_OK && file.Tell() == 13);
    EXPECT_TRUE(file.Read(buffer, 10, done) == ERR_OK && done == 1 && file.Tell() == 14);
    EXPECT_TRUE(file.Seek(20, SEEK_FROM_BEGIN) == ERR_OK && file.Read(buffer, 10, done) == ERR_OK && done == 0);
    std::uint64_t size = 0;
    EXPECT_TRUE(file.GetSize(size) == ERR_OK && size == 14 && file.Close() == ERR_OK);
}

TEST_F(EalFileTest, OpeningAndClosing) {
    Content() = "text";
    EalFile file;
    EXPECT_EQ(file.Open("none", EalFile::READ_ONLY), ERR_NOT_FOUND);
    ASSERT_EQ(file.Open("file", EalFile::READ_ONLY), ERR_OK);
    EXPECT_EQ(file.Seek(2, SEEK_FROM_BEGIN), ERR_OK);
    EalFile moved = std::move(file);
    EXPECT_FALSE(file.IsOpen()); // NOLINT(bugprone-use-after-move): says what is left
    ExpectEach(ERR_INVALID, moved.Open("file", EalFile::READ_ONLY), file.Open(nullptr, EalFile::READ_ONLY));
    EXPECT_EQ(moved.Tell(), 2u);
    EXPECT_TRUE(EalFile::Exists("file") && EalFile::GetSeparator() == '/');
    EXPECT_FALSE(EalFile::Exists("none") || EalFile::Exists(nullptr));
    ZelkHost::InjectFileFaults({.calls = ZelkHost::CALL_CLOSE, .first = 1, .status = EAL_FILE_TIMEOUT});
    EXPECT_EQ(moved.Close(), ERR_TIMEOUT);
    EXPECT_TRUE(moved.Close() == ERR_OK && moved.Tell() == 0);
}

TEST_F(EalFileTest, MisuseIsInvalidAndMovesNothing) {
    EalFile file;
    char byte = 'x';
    std::uint32_t done = 9;
    std::uint64_t size = 9;
    const auto completion = [](void*, eal_file_status, std::uint32_t) { ADD_FAILURE(); };
    const auto expectInvalid = [&](char* buffer, std::uint64_t offset, eal_file_completion whenDone) {
        ExpectEach(ERR_INVALID, file.Read(buffer, 1, offset, done), file.Write(buffer, 1, offset, done),
                   file.ReadAsync(buffer, 1, offset, whenDone, nullptr),
                   file.WriteAsync(buffer, 1, offset, whenDone, nullptr));
        EXPECT_EQ(done, 0u);
    };
    expectInvalid(&byte, 0, completion);
    ExpectEach(ERR_INVALID, file.GetSize(size), file.Flush(), file.Seek(0, SEEK_FROM_BEGIN));
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(file.GetBufferAlignment() + file.GetSectorSize(), 2u);
    ASSERT_EQ(file.Open("new", EalFile::UPDATE | EAL_FILE_CREATE), ERR_OK);
    EXPECT_EQ(file.Write(nullptr, 0, 0, done), ERR_OK);
    expectInvalid(nullptr, 0, completion);
    expectInvalid(&byte, INT64_MAX, completion);
    expectInvalid(&byte, UINT64_MAX, completion);
    ExpectEach(ERR_INVALID, file.ReadAsync(&byte, 1, 0, nullptr, nullptr),
               file.WriteAsync(&byte, 1, 0, nullptr, nullptr));
    ASSERT_EQ(file.Seek(INT64_MAX, SEEK_FROM_BEGIN), ERR_OK);
    ExpectEach(ERR_INVALID, file.Seek(1, SEEK_FROM_CURRENT), file.Seek(INT64_MIN, SEEK_FROM_CURRENT),
               file.Seek(-1, SEEK_FROM_BEGIN), file.Seek(-1, SEEK_FROM_END), file.Read(&byte, 1, done));
    EXPECT_EQ(file.Tell(), static_cast<std::uint64_t>(INT64_MAX));
}

TEST_F(EalFileTest, HostsThatFailGiveTheErrorAndTheBytesBefore) {
    Content() = "0123456789";
    EalFile file;
    ASSERT_EQ(file.Open("file", EalFile::UPDATE), ERR_OK);
    char buffer[20] = {};
    std::uint32_t done = 0;
    ZelkHost::InjectFileFaults(
        {.calls = ZelkHost::CALL_READ, .first = 3, .status = EAL_FILE_LOCKED, .largestTransfer = 2});
    EXPECT_EQ(file.Read(buffer, 10, done), ERR_ACCESS_DENIED);
    EXPECT_TRUE(done == 4 && file.Tell() == 4);
    ZelkHost::InjectFileFaults({.calls = ZelkHost::CALL_SIZE, .first = 1, .status = EAL_FILE_LOCKED});
    EXPECT_EQ(file.Seek(0, SEEK_FROM_END), ERR_ACCESS_DENIED);

    eal_file_dll_interface lying = MemoryFiles::Table();
    lying.read = [](eal_file_handle, void*, std::uint32_t size, std::uint64_t, std::uint32_t* transferred) {
        *transferred = size + 1;
        return EAL_FILE_OK;
    };
    lying.write = [](eal_file_handle, const void*, std::uint32_t, std::uint64_t, std::uint32_t* transferred) {
        *transferred = 0;
        return EAL_FILE_OK;
    };
    lying.open = [](const char* path, unsigned mode, eal_file_handle* handle) {
        MemoryFiles::Table().open(path, mode, handle);
        return EAL_FILE_TIMEOUT;
    };
    lying.size = [](eal_file_handle, std::uint64_t* size) {
        *size = UINT64_MAX;
        return EAL_FILE_OK;
    };
    SetEalInterface(lying);
    EXPECT_EQ(file.Seek(1, SEEK_FROM_END), ERR_INVALID);
    EXPECT_EQ(file.Read(buffer, 4, 0, done), ERR_UNHANDLED);
    EXPECT_EQ(done, 0u);
    EXPECT_EQ(file.Write("a", 1, 0, done), ERR_OUT_OF_RESOURCES);
    EalFile other;
    EXPECT_EQ(other.Open("file", EalFile::READ_ONLY), ERR_TIMEOUT) << "and the handle is closed";
    lying.open = [](const char*, unsigned, eal_file_handle* handle) {
        *handle = nullptr;
        return EAL_FILE_OK;
    };
    SetEalInterface(lying);
    EXPECT_EQ(other.Open("file", EalFile::READ_ONLY), ERR_UNHANDLED);
    EXPECT_FALSE(other.IsOpen());
}

TEST_F(EalFileTest, AsynchronousTransfersReportOnceOrNotAtAll) {
    using Reports = std::vector<std::pair<eal_file_status, std::uint32_t>>;
    Reports reports;
    const auto completion = [](void* context, eal_file_status status, std::uint32_t transferred) {
        static_cast<Reports*>(context)->emplace_back(status, transferred);
    };
    Content() = "0123456789";
    EalFile file;
    ASSERT_EQ(file.Open("file", EalFile::UPDATE | EAL_FILE_ASYNC), ERR_OK);
    char buffer[5] = {};
    EXPECT_EQ(file.ReadAsync(buffer, 4, 2, completion, &reports), ERR_OK);
    EXPECT_STREQ(buffer, "2345");
    ZelkHost::InjectFileFaults({.calls = ZelkHost::CALL_WRITE_ASYNC, .first = 1});
    EXPECT_EQ(file.WriteAsync("ab", 2, 0, completion, &reports), ERR_EAL_SPECIFIC);
    EXPECT_EQ(ZelkHost::InjectFileFaults({.calls = ZelkHost::CALL_COMPLETION, .first = 1}), 1u);
    EXPECT_EQ(file.WriteAsync("ab", 2, 8, completion, &reports), ERR_OK);
    EXPECT_EQ(Content(), "01234567ab");
    EXPECT_EQ(reports, (Reports{{EAL_FILE_OK, 4}, {EAL_FILE_HOST_SPECIFIC, 0}}));
}

} // namespace
