// Hunted here: bytes lost between a host's short transfers, positions that drift from what was moved, a host that lies,
// files left open.
#include <gtest/gtest.h>
#include <host/filefaults.h>
#include <string>
#include <tests/support/memoryfiles.h>
#include <tests/support/random.h>
#include <zelk_core/eal_utils/ealfile.h>

namespace {

using namespace Z4;
using ZelkHost::FileFaults;
using ZelkTest::MemoryFiles;

class EalFileTest : public testing::Test {
protected:
    EalFileTest() { SetEalInterface(ZelkHost::WithFileFaults(MemoryFiles::Table())); }
    ~EalFileTest() override {
        ZelkHost::InjectFileFaults({});
        EXPECT_EQ(MemoryFiles::OpenHandles(), 0);
        MemoryFiles::All().clear();
    }
};

TEST_F(EalFileTest, OperationsAgreeWithAModelHoweverShortTransfersAre) {
    ZelkTest::Input input(1);
    for (const std::uint32_t largest : {1u, 3u, 0xFFFFFFFFu}) {
        ZelkHost::InjectFileFaults({.largestTransfer = largest});
        MemoryFiles::All()["file"] = "";
        EalFile file;
        ASSERT_EQ(file.Open("file", EalFile::UPDATE), ERR_OK);
        std::string model;
        std::size_t position = 0;
        for (int step = 0; step < 3000; ++step) {
            char buffer[16];
            const std::uint32_t size = input.Below(sizeof(buffer) + 1);
            const bool isPositional = input.OnceIn(2);
            const std::size_t at = isPositional ? input.Below(300) : position;
            std::uint32_t done = 99;
            if (input.OnceIn(2)) {
                input.Fill(buffer, size);
                ASSERT_EQ(isPositional ? file.Write(buffer, size, at, done) : file.Write(buffer, size, done), ERR_OK);
                ASSERT_EQ(done, size);
                model.resize(size != 0 ? std::max(model.size(), at + size) : model.size());
                model.replace(std::min(at, model.size()), size, buffer, size);
            } else {
                ASSERT_EQ(isPositional ? file.Read(buffer, size, at, done) : file.Read(buffer, size, done), ERR_OK);
                ASSERT_EQ(std::string(buffer, done), at < model.size() ? model.substr(at, size) : "");
            }
            position += isPositional ? 0 : done;
            ASSERT_EQ(file.Tell(), position);
            if (input.OnceIn(4)) {
                const auto target = static_cast<std::int64_t>(input.Below(300));
                const auto here = static_cast<std::int64_t>(position);
                const auto end = static_cast<std::int64_t>(model.size());
                const auto origin = static_cast<SeekOrigin>(input.Below(3));
                ASSERT_EQ(file.Seek(target - (origin == SEEK_FROM_CURRENT ? here
                                              : origin == SEEK_FROM_END   ? end
                                                                          : 0),
                                    origin),
                          ERR_OK);
                position = static_cast<std::size_t>(target);
            }
        }
        ASSERT_EQ(MemoryFiles::All()["file"], model);
        std::uint64_t size = 0;
        EXPECT_EQ(file.GetSize(size), ERR_OK);
        EXPECT_EQ(size, model.size());
        EXPECT_EQ(file.Close(), ERR_OK);
    }
}

TEST_F(EalFileTest, OpeningAndClosing) {
    MemoryFiles::All()["there"] = "text";
    EalFile file;
    EXPECT_EQ(file.Open(nullptr, EalFile::READ_ONLY), ERR_INVALID);
    EXPECT_EQ(file.Open("none", EalFile::READ_ONLY), ERR_NOT_FOUND);
    EXPECT_EQ(file.Open("there", EalFile::NEW_FILE), ERR_ALREADY_EXISTS);
    EXPECT_FALSE(file.IsOpen());
    ASSERT_EQ(file.Open("there", EalFile::READ_ONLY), ERR_OK);
    EXPECT_EQ(file.Seek(2, SEEK_FROM_BEGIN), ERR_OK);
    EXPECT_EQ(file.Open("there", EalFile::READ_ONLY), ERR_INVALID);
    EalFile moved = std::move(file);
    EXPECT_FALSE(file.IsOpen()); // NOLINT(bugprone-use-after-move): says what is left
    EXPECT_EQ(moved.Tell(), 2u);
    EXPECT_TRUE(EalFile::Exists("there"));
    EXPECT_FALSE(EalFile::Exists("none") || EalFile::Exists(nullptr));
    EXPECT_EQ(EalFile::GetSeparator(), '/');
    ZelkHost::InjectFileFaults({.calls = ZelkHost::CALL_CLOSE, .first = 1, .status = EAL_FILE_TIMEOUT});
    EXPECT_EQ(moved.Close(), ERR_TIMEOUT);
    EXPECT_EQ(moved.Close(), ERR_OK);
    EXPECT_EQ(moved.Tell(), 0u);
}

TEST_F(EalFileTest, MisuseIsInvalidAndMovesNothing) {
    EalFile file;
    char byte = 'x';
    std::uint32_t done = 9;
    std::uint64_t size = 9;
    const auto completion = [](void*, eal_file_status, std::uint32_t) { ADD_FAILURE(); };
    const auto expectInvalid = [&](char* buffer, std::uint64_t offset) {
        EXPECT_EQ(file.Read(buffer, 1, offset, done), ERR_INVALID);
        EXPECT_EQ(file.Write(buffer, 1, offset, done), ERR_INVALID);
        EXPECT_EQ(file.ReadAsync(buffer, 1, offset, completion, nullptr), ERR_INVALID);
        EXPECT_EQ(file.WriteAsync(buffer, 1, offset, completion, nullptr), ERR_INVALID);
        EXPECT_EQ(done, 0u);
    };
    expectInvalid(&byte, 0);
    EXPECT_EQ(file.GetSize(size), ERR_INVALID);
    EXPECT_EQ(size, 0u);
    EXPECT_EQ(file.Flush(), ERR_INVALID);
    EXPECT_EQ(file.Seek(0, SEEK_FROM_BEGIN), ERR_INVALID);
    EXPECT_EQ(file.GetBufferAlignment() + file.GetSectorSize(), 2u);
    ASSERT_EQ(file.Open("new", EalFile::UPDATE | EAL_FILE_CREATE), ERR_OK);
    expectInvalid(nullptr, 0);
    expectInvalid(&byte, INT64_MAX);
    expectInvalid(&byte, UINT64_MAX);
    EXPECT_EQ(file.ReadAsync(&byte, 1, 0, nullptr, nullptr), ERR_INVALID);
    ASSERT_EQ(file.Seek(INT64_MAX, SEEK_FROM_BEGIN), ERR_OK);
    EXPECT_EQ(file.Seek(1, SEEK_FROM_CURRENT), ERR_INVALID);
    EXPECT_EQ(file.Seek(INT64_MIN, SEEK_FROM_CURRENT), ERR_INVALID);
    EXPECT_EQ(file.Seek(-1, SEEK_FROM_BEGIN), ERR_INVALID);
    EXPECT_EQ(file.Seek(-1, SEEK_FROM_END), ERR_INVALID);
    EXPECT_EQ(file.Read(&byte, 1, done), ERR_INVALID);
    EXPECT_EQ(file.Tell(), static_cast<std::uint64_t>(INT64_MAX));
}

TEST_F(EalFileTest, HostsThatFailGiveTheErrorAndTheBytesBefore) {
    MemoryFiles::All()["file"] = "0123456789";
    EalFile file;
    ASSERT_EQ(file.Open("file", EalFile::UPDATE), ERR_OK);
    char buffer[20] = {};
    std::uint32_t done = 0;
    ZelkHost::InjectFileFaults(
        {.calls = ZelkHost::CALL_READ, .first = 3, .status = EAL_FILE_LOCKED, .largestTransfer = 2});
    EXPECT_EQ(file.Read(buffer, 10, done), ERR_ACCESS_DENIED);
    EXPECT_EQ(done, 4u);
    EXPECT_EQ(file.Tell(), 4u);
    ZelkHost::InjectFileFaults({.room = 3});
    EXPECT_EQ(file.Write("abcdef", 6, done), ERR_OUT_OF_RESOURCES);
    EXPECT_EQ(done, 3u);
    EXPECT_EQ(MemoryFiles::All()["file"], "0123abc789");

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
    SetEalInterface(lying);
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
    struct Outcome {
        int calls = 0;
        eal_file_status status = EAL_FILE_OK;
        std::uint32_t transferred = 0;
        static void Z4_CDECL Complete(void* context, eal_file_status status, std::uint32_t transferred) {
            auto& self = *static_cast<Outcome*>(context);
            ++self.calls;
            self.status = status;
            self.transferred = transferred;
        }
    };
    MemoryFiles::All()["file"] = "0123456789";
    EalFile file;
    ASSERT_EQ(file.Open("file", EalFile::UPDATE | EAL_FILE_ASYNC), ERR_OK);
    char buffer[4] = {};
    Outcome read;
    EXPECT_EQ(file.ReadAsync(buffer, 4, 2, Outcome::Complete, &read), ERR_OK);
    EXPECT_EQ(std::string(buffer, read.transferred), "2345");
    ZelkHost::InjectFileFaults({.calls = ZelkHost::CALL_WRITE_ASYNC, .first = 1});
    Outcome write;
    EXPECT_EQ(file.WriteAsync("ab", 2, 0, Outcome::Complete, &write), ERR_EAL_SPECIFIC);
    EXPECT_EQ(write.calls, 0);
    EXPECT_EQ(ZelkHost::InjectFileFaults({.calls = ZelkHost::CALL_COMPLETION, .first = 1}), 1u);
    EXPECT_EQ(file.WriteAsync("ab", 2, 0, Outcome::Complete, &write), ERR_OK);
    EXPECT_TRUE(write.calls == 1 && write.status == EAL_FILE_HOST_SPECIFIC && write.transferred == 0);
}

} // namespace
