// Hunted here: modes that open, make or empty the wrong file, transfers at the wrong place or of the wrong length,
// completions that come twice or never, threads that outlive the table's last shutdown.
#include "capture.h"

#include <algorithm>
#include <bit>
#include <gmock/gmock.h>
#include <host/zelkhost.h>
#include <map>
#include <tests/os/crowd.h>
#include <tests/support/importhook.h>
#include <tests/support/random.h>
#include <tests/support/rows.h>
#include <tuple>
#include <vector>

namespace {

using namespace Z4;
using ZelkTest::ImportHook;
using ZelkTest::TemporaryFile;

const eal_file_dll_interface& g_table = ZelkHost::FileTable();
constexpr unsigned READ_WRITE_CREATE = EAL_FILE_READ | EAL_FILE_WRITE | EAL_FILE_CREATE;
constexpr unsigned ASYNC_READ_WRITE_CREATE = READ_WRITE_CREATE | EAL_FILE_ASYNC;

/// An open file of the table's, closed at the end.
class OpenFile {
public:
    OpenFile(const std::string& path, unsigned mode) : m_status(g_table.open(path.c_str(), mode, &m_handle)) {}
    ~OpenFile() { Close(); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    void Close() {
        if (m_handle != nullptr) {
            EXPECT_EQ(g_table.close(m_handle), EAL_FILE_OK);
            m_handle = nullptr;
        }
    }

    eal_file_status Status() const { return m_status; }
    operator eal_file_handle() const { return m_handle; }

    void Write(const std::string& text, std::uint64_t offset) {
        std::uint32_t written = 0;
        const auto size = static_cast<std::uint32_t>(text.size());
        EXPECT_EQ(g_table.write(m_handle, text.data(), size, offset, &written), EAL_FILE_OK);
        EXPECT_EQ(written, size);
    }

    std::string Read(std::uint32_t size, std::uint64_t offset) {
        std::string text(size, '\0');
        std::uint32_t read = 0xFFFFFFFF;
        EXPECT_EQ(g_table.read(m_handle, text.data(), size, offset, &read), EAL_FILE_OK);
        text.resize(std::min(read, size));
        return text;
    }

private:
    eal_file_handle m_handle = reinterpret_cast<eal_file_handle>(1);
    eal_file_status m_status;
};

eal_file_status StatusOfOpen(const std::string& path, unsigned mode) {
    const OpenFile file(path, mode);
    EXPECT_EQ(file.Status() == EAL_FILE_OK, file != eal_file_handle{});
    return file.Status();
}

/// Counts the completions of a group of operations and keeps the last one.
class Completions {
public:
    static void Z4_CDECL Complete(void* context, eal_file_status status, std::uint32_t transferred) {
        auto& self = *static_cast<Completions*>(context);
        self.m_status = status;
        self.m_bytes += transferred;
        self.m_thread = GetCurrentThreadId();
        ++self.m_count;
    }

    /// Within ten seconds.
    bool WaitFor(unsigned count) {
        for (int i = 0; m_count < count && i < 10'000; ++i) {
            Sleep(1);
        }
        return m_count == count;
    }

    std::atomic<unsigned> m_count = 0;
    std::atomic<std::uint64_t> m_bytes = 0;
    std::atomic<eal_file_status> m_status = EAL_FILE_HOST_SPECIFIC;
    std::atomic<DWORD> m_thread = 0;
};

std::uint64_t SizeOf(eal_file_handle file) {
    std::uint64_t size = 0;
    EXPECT_EQ(g_table.size(file, &size), EAL_FILE_OK);
    return size;
}

class HostFilesOf : public testing::TestWithParam<unsigned> {};

// All share one handle, and in the plain mode one position of the system's, which the host remembers; whatever fails
// leaves it elsewhere.
TEST_P(HostFilesOf, ThreadsTransferAtPlacesOfTheirOwn) {
    constexpr unsigned THREADS = 4;
    const TemporaryFile name;
    OpenFile file(name.Utf8(), GetParam());
    void* const reserved = VirtualAlloc(nullptr, 4096, MEM_RESERVE, PAGE_NOACCESS);
    const ZelkTest::LoneWrites lone;
    ZelkTest::RunCrowd(THREADS, [&](unsigned thread) {
        for (unsigned round = 0; round < 30; ++round) {
            const std::uint64_t offset = (round % 16 * THREADS + thread) * 100;
            const std::string text(100, static_cast<char>('a' + (thread * 7 + round) % 26));
            file.Write(text, offset);
            std::uint32_t transferred = 7;
            EXPECT_NE(g_table.read(file, reserved, 2, offset, &transferred), EAL_FILE_OK);
            EXPECT_EQ(transferred, 0u);
            EXPECT_EQ(file.Read(100, offset), text);
        }
    });
    VirtualFree(reserved, 0, MEM_RELEASE);
}

INSTANTIATE_TEST_SUITE_P(Modes, HostFilesOf, testing::Values(READ_WRITE_CREATE, ASYNC_READ_WRITE_CREATE));

TEST(HostFiles, LongPaths) {
    const TemporaryFile folder;
    std::filesystem::create_directory(folder.Path());
    const std::wstring leaf(240, L'x');
    const std::string path = folder.Utf8() + "/./" + std::string(leaf.begin(), leaf.end());
    EXPECT_EQ(g_table.exists(path.c_str()), 0);
    EXPECT_EQ(StatusOfOpen(path, READ_WRITE_CREATE), EAL_FILE_OK);
    EXPECT_NE(g_table.exists(path.c_str()), 0);
    EXPECT_EQ(StatusOfOpen(path + "/none", EAL_FILE_READ), EAL_FILE_PATH_NOT_FOUND);
    EXPECT_TRUE(DeleteFileW((LR"(\\?\)" + (folder.Path() / leaf).wstring()).c_str()));
}

TEST(HostFiles, TransfersArePositionalAndCompleteOnce) {
    constexpr std::uint32_t PIECE = 5000;
    constexpr unsigned PIECES = 64;
    std::string text(PIECE * PIECES, '\0');
    ZelkTest::Input().Fill(text.data(), text.size());
    const TemporaryFile name;
    OpenFile file(name.Utf8(), ASYNC_READ_WRITE_CREATE);
    Completions writes;
    for (unsigned i = PIECES; --i != 0;) {
        EXPECT_EQ(g_table.write_async(file, &text[i * PIECE], PIECE, i * PIECE, Completions::Complete, &writes),
                  EAL_FILE_OK);
    }
    file.Write(text.substr(0, PIECE), 0);
    file.Write("", 5);
    ASSERT_TRUE(writes.WaitFor(PIECES - 1));
    EXPECT_EQ(writes.m_status, EAL_FILE_OK);
    EXPECT_EQ(writes.m_bytes, text.size() - PIECE);
    EXPECT_NE(writes.m_thread, GetCurrentThreadId());
    EXPECT_EQ(g_table.flush(file), EAL_FILE_OK);

    const std::uint64_t size = SizeOf(file);
    EXPECT_EQ(size, text.size());
    EXPECT_EQ(file.Read(10, 12345), text.substr(12345, 10));
    EXPECT_EQ(file.Read(10, size - 5), text.substr(text.size() - 5));
    EXPECT_EQ(file.Read(0, 3), "");
    for (const std::uint64_t offset : {size, size + 1, 0x100000003ull, 0x7FFFFFFFFFFF0000ull}) {
        EXPECT_EQ(file.Read(10, offset), "") << offset;
    }

    // Closing waits for all reads, the ones that meet the end of the file included.
    Completions reads;
    std::string copy(text.size() + 2 * PIECE, '\0');
    for (unsigned i = 0; i < PIECES + 2; ++i) {
        EXPECT_EQ(g_table.read_async(file, &copy[i * PIECE], PIECE, i * PIECE + 100, Completions::Complete, &reads),
                  EAL_FILE_OK);
    }
    file.Close();
    EXPECT_EQ(reads.m_count, PIECES + 2);
    EXPECT_EQ(reads.m_status, EAL_FILE_OK);
    EXPECT_EQ(reads.m_bytes, text.size() - 100);
    EXPECT_EQ(copy.substr(0, text.size() - 100), text.substr(100));
    EXPECT_EQ(name.Content(), text);
    Sleep(20);
    EXPECT_EQ(writes.m_count + reads.m_count, 2 * PIECES + 1) << "none comes twice";
}

TEST(HostFiles, ACompletionMayStartTheNextOperationButNotCloseItsFile) {
    struct Chain {
        eal_file_handle file;
        std::string read;
        char byte = 0;
        eal_file_status closed = EAL_FILE_OK;

        void Next() { EXPECT_EQ(g_table.read_async(file, &byte, 1, read.size(), Complete, this), EAL_FILE_OK); }
        static void Z4_CDECL Complete(void* context, eal_file_status, std::uint32_t transferred) {
            auto& chain = *static_cast<Chain*>(context);
            if (transferred != 0) {
                chain.read += chain.byte;
                chain.Next();
            } else {
                chain.closed = g_table.close(chain.file);
                g_table.shutdown(); // one too many
            }
        }
    };
    const TemporaryFile name;
    std::ofstream(name.Path()) << "one by one";
    OpenFile file(name.Utf8(), EAL_FILE_READ | EAL_FILE_ASYNC);
    Chain chain{file, ""};
    chain.Next();
    file.Close();
    EXPECT_EQ(chain.read, "one by one");
    EXPECT_EQ(chain.closed, EAL_FILE_INVALID_ARGUMENT);
}

TEST(HostFiles, TheLastShutdownEndsTheThreadAndTheNextOperationStartsAnother) {
    const TemporaryFile name;
    OpenFile file(name.Utf8(), ASYNC_READ_WRITE_CREATE);
    for (int round = 0; round < 3; ++round) {
        g_table.init(EAL_FILE_VERSION);
        g_table.init(EAL_FILE_VERSION);
        Completions completions;
        EXPECT_EQ(g_table.write_async(file, "x", 1, 0, Completions::Complete, &completions), EAL_FILE_OK);
        EXPECT_TRUE(completions.WaitFor(1));
        const HANDLE thread = OpenThread(SYNCHRONIZE, FALSE, completions.m_thread);
        g_table.shutdown();
        EXPECT_EQ(WaitForSingleObject(thread, 0), static_cast<DWORD>(WAIT_TIMEOUT));
        g_table.shutdown();
        EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0);
        g_table.shutdown();
        CloseHandle(thread);
    }
}

TEST(HostFiles, WhatTheSystemWillNotQueueFailsAndNothingWaitsForIt) {
    const TemporaryFile name;
    OpenFile file(name.Utf8(), ASYNC_READ_WRITE_CREATE);
    Completions completions;
    char byte = 0;
    const auto read = [&] { return g_table.read_async(file, &byte, 1, 0, Completions::Complete, &completions); };
    g_table.init(EAL_FILE_VERSION);
    {
        ZelkTest::Failure::s_result = FALSE;
        ZelkTest::Failure::s_error = ERROR_HANDLE_EOF; // which is no failure: there is nothing to read
        const ImportHook reading(ZELK_FAILING(ReadFile), GetModuleHandleA(nullptr));
        EXPECT_EQ(read(), EAL_FILE_OK);
        EXPECT_TRUE(completions.WaitFor(1));
        const ImportHook posting(ZELK_FAILING(PostQueuedCompletionStatus), GetModuleHandleA(nullptr));
        EXPECT_EQ(read(), EAL_FILE_HOST_SPECIFIC);
        g_table.shutdown();
    }
    EXPECT_EQ(read(), EAL_FILE_OK);
    EXPECT_TRUE(completions.WaitFor(2));
    file.Close();
    EXPECT_EQ(completions.m_count, 2u);
}

TEST(HostFiles, OpenModesDoWhatTheySay) {
    const std::map<std::string, eal_file_status> statuses = {{"ok", EAL_FILE_OK},
                                                             {"not found", EAL_FILE_NOT_FOUND},
                                                             {"already exists", EAL_FILE_ALREADY_EXISTS},
                                                             {"invalid", EAL_FILE_INVALID_ARGUMENT}};
    for (const ZelkTest::Row& row : ZelkTest::Rows("openmodes.txt")) {
        SCOPED_TRACE(row.Where());
        unsigned mode = 0;
        for (const char letter : row.Text(0)) {
            mode |= 1u << std::string("rwctxua?").find(letter); // in the order of eal_file_mode; ? is none
        }
        const TemporaryFile missing;
        EXPECT_EQ(StatusOfOpen(missing.Utf8(), mode), statuses.at(row.Text(1)));
        EXPECT_EQ(g_table.exists(missing.Utf8().c_str()) != 0, row.Text(1) == "ok");
        const TemporaryFile there;
        std::ofstream(there.Path()) << "text";
        EXPECT_EQ(StatusOfOpen(there.Utf8(), mode), statuses.at(row.Text(2)));
        EXPECT_EQ(there.Content(), row.Text(3));
    }
}

TEST(HostFiles, AFileHasReadersOrOneWriter) {
    for (const unsigned first : {EAL_FILE_READ, EAL_FILE_WRITE}) {
        for (const unsigned second : {EAL_FILE_READ, EAL_FILE_WRITE}) {
            const TemporaryFile name;
            const OpenFile file(name.Utf8(), first | EAL_FILE_CREATE);
            const bool bothRead = first == EAL_FILE_READ && second == EAL_FILE_READ;
            EXPECT_EQ(StatusOfOpen(name.Utf8(), second), bothRead ? EAL_FILE_OK : EAL_FILE_SHARING_VIOLATION);
        }
    }
}

TEST(HostFiles, NamesThatCannotBeOpenedSayWhy) {
    const TemporaryFile name;
    std::ofstream(name.Path()) << "text";
    const std::string folder = name.Utf8().substr(0, name.Utf8().find_last_of(g_table.separator()));
    const std::tuple<std::string, unsigned, eal_file_status> rows[] = {
        {folder, EAL_FILE_READ, EAL_FILE_IS_DIRECTORY},
        {folder + "\\none\\file", EAL_FILE_READ, EAL_FILE_PATH_NOT_FOUND},
        {folder + "\\a|b", READ_WRITE_CREATE, EAL_FILE_INVALID_NAME},
        {folder + "\\\xC3", READ_WRITE_CREATE, EAL_FILE_INVALID_NAME},
        {folder + "\\" + std::string(40000, 'x'), READ_WRITE_CREATE, EAL_FILE_PATH_TOO_LONG},
        {"NUL", EAL_FILE_WRITE, EAL_FILE_NOT_SEEKABLE}};
    for (const auto& [path, mode, status] : rows) {
        EXPECT_EQ(StatusOfOpen(path, mode), status) << path.substr(0, 200);
        EXPECT_EQ(g_table.exists(path.c_str()) != 0, path == "NUL") << path.substr(0, 200);
    }
    eal_file_handle handle = nullptr;
    EXPECT_EQ(g_table.exists(nullptr), 0);
    EXPECT_EQ(g_table.open(nullptr, EAL_FILE_READ, &handle), EAL_FILE_INVALID_ARGUMENT);
    EXPECT_EQ(g_table.open(name.Utf8().c_str(), EAL_FILE_READ, nullptr), EAL_FILE_INVALID_ARGUMENT);
}

/// The statuses of one transfer as read, asynchronous read, write and asynchronous write. Checks that what started
/// completes, and nothing else.
std::vector<eal_file_status> TransferStatuses(eal_file_handle file, void* buffer, std::uint32_t size,
                                              std::uint64_t offset) {
    Completions completions;
    std::uint32_t transferred = 7;
    std::vector<eal_file_status> statuses = {
        g_table.read(file, buffer, size, offset, &transferred),
        g_table.read_async(file, buffer, size, offset, Completions::Complete, &completions),
        g_table.write(file, buffer, size, offset, &transferred),
        g_table.write_async(file, buffer, size, offset, Completions::Complete, &completions),
    };
    const unsigned started = (statuses[1] == EAL_FILE_OK ? 1u : 0u) + (statuses[3] == EAL_FILE_OK ? 1u : 0u);
    EXPECT_TRUE(completions.WaitFor(started));
    Sleep(5);
    EXPECT_EQ(completions.m_count, started);
    return statuses;
}

TEST(HostFiles, TransfersThatCannotStartSayWhy) {
    const TemporaryFile names[4];
    alignas(4096) static char buffer[2 * 4096];
    OpenFile file(names[0].Utf8(), ASYNC_READ_WRITE_CREATE);
    const OpenFile reader(names[1].Utf8(), EAL_FILE_READ | EAL_FILE_CREATE | EAL_FILE_ASYNC);
    const OpenFile plain(names[2].Utf8(), READ_WRITE_CREATE);
    const OpenFile unbuffered(names[3].Utf8(), ASYNC_READ_WRITE_CREATE | EAL_FILE_UNBUFFERED);
    file.Write("some text", 0);
    EXPECT_EQ(g_table.buffer_alignment(file), 1u);
    const std::uint32_t sector = g_table.sector_size(unbuffered);
    EXPECT_EQ(g_table.buffer_alignment(unbuffered), sector);
    ASSERT_TRUE(std::has_single_bit(sector) && sector >= 512 && sector <= 4096);
    // Transfers from and to it fail only after the system has begun with them.
    void* const reserved = VirtualAlloc(nullptr, 4096, MEM_RESERVE, PAGE_NOACCESS);
    const struct {
        eal_file_handle file;
        void* buffer;
        std::uint32_t size;
        std::uint64_t offset;
        testing::Matcher<std::vector<eal_file_status>> statuses;
    } rows[] = {
        {nullptr, buffer, 16, 0, testing::Each(EAL_FILE_INVALID_HANDLE)},
        {file, nullptr, 16, 0, testing::Each(EAL_FILE_INVALID_ARGUMENT)},
        {file, reserved, 16, 0, testing::Each(EAL_FILE_INVALID_ARGUMENT)},
        {file, buffer, 16, 0xFFFFFFFFFFFFFFFE, testing::Each(EAL_FILE_INVALID_OFFSET)},
        {file, buffer, 16, 0x7FFFFFFFFFFFFFF8, testing::Each(EAL_FILE_INVALID_OFFSET)},
        {unbuffered, buffer + 1, sector, 0, testing::Each(EAL_FILE_INVALID_ARGUMENT)},
        {unbuffered, buffer, sector - 1, 0, testing::Each(EAL_FILE_INVALID_ARGUMENT)},
        {unbuffered, buffer, sector, 1, testing::Each(EAL_FILE_INVALID_ARGUMENT)},
        {unbuffered, buffer, 2 * sector, sector, testing::Each(EAL_FILE_OK)},
        {reader, buffer, 16, 0,
         testing::ElementsAre(EAL_FILE_OK, EAL_FILE_OK, EAL_FILE_ACCESS_DENIED, EAL_FILE_ACCESS_DENIED)},
        {plain, buffer, 16, 0,
         testing::ElementsAre(EAL_FILE_OK, EAL_FILE_UNSUPPORTED, EAL_FILE_OK, EAL_FILE_UNSUPPORTED)},
    };
    for (const auto& row : rows) {
        EXPECT_THAT(TransferStatuses(row.file, row.buffer, row.size, row.offset), row.statuses) << &row - rows;
    }
    VirtualFree(reserved, 0, MEM_RELEASE);
    EXPECT_EQ(SizeOf(unbuffered), 3ull * sector);
    EXPECT_EQ(g_table.flush(reader), EAL_FILE_OK) << "there is nothing to do";
    file.Close();
    EXPECT_EQ(names[0].Content(), "some text");

    std::uint64_t size = 0;
    EXPECT_EQ(g_table.read(plain, buffer, 16, 0, nullptr), EAL_FILE_INVALID_ARGUMENT);
    EXPECT_EQ(g_table.read_async(plain, buffer, 16, 0, nullptr, nullptr), EAL_FILE_INVALID_ARGUMENT);
    EXPECT_EQ(g_table.size(plain, nullptr), EAL_FILE_INVALID_ARGUMENT);
    EXPECT_EQ(g_table.size(nullptr, &size), EAL_FILE_INVALID_HANDLE);
    EXPECT_EQ(g_table.flush(nullptr), EAL_FILE_INVALID_HANDLE);
    EXPECT_EQ(g_table.close(nullptr), EAL_FILE_INVALID_HANDLE);
}

} // namespace
