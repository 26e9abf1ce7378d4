// Hunted here: modes that open, make or empty the wrong file, transfers at the wrong place or of the wrong length,
// completions that come twice or never, threads that outlive the table's last shutdown.
#include "capture.h"

#include <algorithm>
#include <bit>
#include <cstring>
#include <gmock/gmock.h>
#include <host/zelkhost.h>
#include <memory>
#include <tests/support/importhook.h>
#include <vector>

namespace {

using ZelkTest::ImportHook;
using ZelkTest::TemporaryFile;

const Z4::eal_file_dll_interface& g_table = ZelkHost::FileTable();
constexpr unsigned READ_WRITE_CREATE = Z4::EAL_FILE_READ | Z4::EAL_FILE_WRITE | Z4::EAL_FILE_CREATE;

std::string Pattern(std::size_t size) {
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = static_cast<char>(i * 7 + i / 251);
    }
    return text;
}

/// An open file of the table's, closed at the end.
class OpenFile {
public:
    OpenFile(const std::string& path, unsigned mode) : m_status(g_table.open(path.c_str(), mode, &m_handle)) {}
    ~OpenFile() { Close(); }
    OpenFile(const OpenFile&) = delete;
    OpenFile& operator=(const OpenFile&) = delete;

    void Close() {
        if (m_handle != nullptr) {
            EXPECT_EQ(g_table.close(m_handle), Z4::EAL_FILE_OK);
            m_handle = nullptr;
        }
    }

    Z4::eal_file_status Status() const { return m_status; }
    operator Z4::eal_file_handle() const { return m_handle; }

    Z4::eal_file_status Write(const std::string& text, std::uint64_t offset) {
        std::uint32_t written = 0;
        const auto size = static_cast<std::uint32_t>(text.size());
        const Z4::eal_file_status status = g_table.write(m_handle, text.data(), size, offset, &written);
        EXPECT_EQ(written, status == Z4::EAL_FILE_OK ? size : 0);
        return status;
    }

    std::string Read(std::uint32_t size, std::uint64_t offset) {
        std::string text(size, '\0');
        std::uint32_t read = 0xFFFFFFFF;
        EXPECT_EQ(g_table.read(m_handle, text.data(), size, offset, &read), Z4::EAL_FILE_OK);
        text.resize(std::min(read, size));
        return text;
    }

private:
    Z4::eal_file_handle m_handle = reinterpret_cast<Z4::eal_file_handle>(1);
    Z4::eal_file_status m_status;
};

Z4::eal_file_status StatusOfOpen(const std::string& path, unsigned mode) {
    const OpenFile file(path, mode);
    EXPECT_EQ(file.Status() == Z4::EAL_FILE_OK, file != Z4::eal_file_handle{});
    return file.Status();
}

/// Counts the completions of a group of operations and keeps the last one.
class Completions {
public:
    static void Z4_CDECL Complete(void* context, Z4::eal_file_status status, std::uint32_t transferred) {
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
    std::atomic<Z4::eal_file_status> m_status = Z4::EAL_FILE_HOST_SPECIFIC;
    std::atomic<DWORD> m_thread = 0;
};

std::uint64_t SizeOf(Z4::eal_file_handle file) {
    std::uint64_t size = 0;
    EXPECT_EQ(g_table.size(file, &size), Z4::EAL_FILE_OK);
    return size;
}

TEST(HostFiles, BlockingTransfersArePositional) {
    const TemporaryFile name;
    OpenFile file(name.Utf8(), READ_WRITE_CREATE);
    ASSERT_EQ(file.Status(), Z4::EAL_FILE_OK);
    const std::string text = Pattern(100000);
    EXPECT_EQ(file.Write(text.substr(60000), 60000), Z4::EAL_FILE_OK);
    EXPECT_EQ(file.Write(text.substr(0, 60000), 0), Z4::EAL_FILE_OK);
    EXPECT_EQ(file.Write("", 5), Z4::EAL_FILE_OK);
    EXPECT_EQ(g_table.flush(file), Z4::EAL_FILE_OK);

    EXPECT_EQ(SizeOf(file), text.size());
    EXPECT_EQ(file.Read(100000, 0), text);
    EXPECT_EQ(file.Read(10, 12345), text.substr(12345, 10));
    EXPECT_EQ(file.Read(10, 99995), text.substr(99995));
    EXPECT_EQ(file.Read(0, 3), "");
    for (const std::uint64_t offset : {100000ull, 100001ull, 0x100000003ull, 0x7FFFFFFFFFFF0000ull}) {
        EXPECT_EQ(file.Read(10, offset), "") << offset;
    }
    file.Close();
    EXPECT_EQ(name.Content(), text);
}

TEST(HostFiles, AsynchronousTransfersCompleteOnceEach) {
    constexpr std::uint32_t PIECE = 5000;
    constexpr unsigned PIECES = 64;
    const std::string text = Pattern(PIECE * PIECES);
    const TemporaryFile name;
    OpenFile file(name.Utf8(), READ_WRITE_CREATE);
    ASSERT_EQ(file.Status(), Z4::EAL_FILE_OK);
    Completions writes;
    for (unsigned i = PIECES; i-- != 0;) {
        ASSERT_EQ(g_table.write_async(file, &text[i * PIECE], PIECE, i * PIECE, Completions::Complete, &writes),
                  Z4::EAL_FILE_OK);
    }
    ASSERT_TRUE(writes.WaitFor(PIECES));
    EXPECT_EQ(writes.m_status, Z4::EAL_FILE_OK);
    EXPECT_EQ(writes.m_bytes, text.size());
    EXPECT_NE(writes.m_thread, GetCurrentThreadId());

    // Closing waits for all reads, the ones that meet the end of the file included.
    Completions reads;
    std::string copy(text.size() + 2 * PIECE, '\0');
    for (unsigned i = 0; i < PIECES + 2; ++i) {
        ASSERT_EQ(g_table.read_async(file, &copy[i * PIECE], PIECE, i * PIECE + 100, Completions::Complete, &reads),
                  Z4::EAL_FILE_OK);
    }
    file.Close();
    EXPECT_EQ(reads.m_count, PIECES + 2);
    EXPECT_EQ(reads.m_status, Z4::EAL_FILE_OK);
    EXPECT_EQ(reads.m_bytes, text.size() - 100);
    EXPECT_EQ(copy.substr(0, text.size() - 100), text.substr(100));
    Sleep(20);
    EXPECT_EQ(writes.m_count + reads.m_count, 2 * PIECES + 2) << "none comes twice";
}

TEST(HostFiles, ACompletionMayStartTheNextOperationButNotCloseItsFile) {
    struct Chain {
        Z4::eal_file_handle file;
        char byte;
        std::string read;
        Z4::eal_file_status closed;
        static void Z4_CDECL Next(void* context, Z4::eal_file_status status, std::uint32_t transferred) {
            auto& chain = *static_cast<Chain*>(context);
            EXPECT_EQ(status, Z4::EAL_FILE_OK);
            if (transferred == 0) {
                chain.closed = g_table.close(chain.file);
                g_table.shutdown(); // one too many
                return;
            }
            chain.read += chain.byte;
            EXPECT_EQ(g_table.read_async(chain.file, &chain.byte, 1, chain.read.size(), Next, context),
                      Z4::EAL_FILE_OK);
        }
    };
    const TemporaryFile name;
    std::ofstream(name.Path()) << "one by one";
    OpenFile file(name.Utf8(), Z4::EAL_FILE_READ);
    Chain chain{file, 0, "", Z4::EAL_FILE_OK};
    ASSERT_EQ(g_table.read_async(file, &chain.byte, 1, 0, Chain::Next, &chain), Z4::EAL_FILE_OK);
    file.Close();
    EXPECT_EQ(chain.read, "one by one");
    EXPECT_EQ(chain.closed, Z4::EAL_FILE_INVALID_ARGUMENT);
}

TEST(HostFiles, TheLastShutdownEndsTheThreadAndTheNextOperationStartsAnother) {
    const TemporaryFile name;
    OpenFile file(name.Utf8(), READ_WRITE_CREATE);
    const auto completingThread = [&] {
        Completions completions;
        EXPECT_EQ(g_table.write_async(file, "x", 1, 0, Completions::Complete, &completions), Z4::EAL_FILE_OK);
        EXPECT_TRUE(completions.WaitFor(1));
        return OpenThread(SYNCHRONIZE, FALSE, completions.m_thread);
    };
    for (int round = 0; round < 3; ++round) {
        g_table.init(Z4::EAL_FILE_VERSION);
        g_table.init(Z4::EAL_FILE_VERSION);
        const HANDLE thread = completingThread();
        ASSERT_NE(thread, nullptr);
        g_table.shutdown();
        EXPECT_EQ(WaitForSingleObject(thread, 0), static_cast<DWORD>(WAIT_TIMEOUT));
        g_table.shutdown();
        EXPECT_EQ(WaitForSingleObject(thread, 0), WAIT_OBJECT_0);
        g_table.shutdown();
        CloseHandle(thread);
    }
}

BOOL WINAPI ReadAtOnce(HANDLE, void*, DWORD, DWORD*, OVERLAPPED*) {
    return TRUE;
}

BOOL WINAPI RefusePost(HANDLE, DWORD, ULONG_PTR, OVERLAPPED*) {
    return FALSE;
}

TEST(HostFiles, WhatTheSystemWillNotQueueFailsAndNothingWaitsForIt) {
    const TemporaryFile name;
    OpenFile file(name.Utf8(), READ_WRITE_CREATE);
    Completions completions;
    char byte = 0;
    const auto read = [&] { return g_table.read_async(file, &byte, 1, 0, Completions::Complete, &completions); };
    g_table.init(Z4::EAL_FILE_VERSION);
    {
        const ImportHook reading("ReadFile", reinterpret_cast<void*>(ReadAtOnce), GetModuleHandleA(nullptr));
        EXPECT_EQ(read(), Z4::EAL_FILE_OK);
        EXPECT_TRUE(completions.WaitFor(1));
        const ImportHook posting("PostQueuedCompletionStatus", reinterpret_cast<void*>(RefusePost),
                                 GetModuleHandleA(nullptr));
        EXPECT_EQ(read(), Z4::EAL_FILE_HOST_SPECIFIC);
        g_table.shutdown();
    }
    EXPECT_EQ(read(), Z4::EAL_FILE_OK);
    EXPECT_TRUE(completions.WaitFor(2));
    file.Close();
    EXPECT_EQ(completions.m_count, 2u);
}

TEST(HostFiles, OpenModesDoWhatTheySay) {
    constexpr unsigned R = Z4::EAL_FILE_READ;
    constexpr unsigned W = Z4::EAL_FILE_WRITE;
    constexpr unsigned C = Z4::EAL_FILE_CREATE;
    constexpr unsigned T = Z4::EAL_FILE_TRUNCATE;
    constexpr unsigned X = Z4::EAL_FILE_EXCLUSIVE;
    constexpr Z4::eal_file_status OK = Z4::EAL_FILE_OK;
    constexpr Z4::eal_file_status MISSING = Z4::EAL_FILE_NOT_FOUND;
    constexpr Z4::eal_file_status EXISTS = Z4::EAL_FILE_ALREADY_EXISTS;
    constexpr Z4::eal_file_status INVALID = Z4::EAL_FILE_INVALID_ARGUMENT;
    const struct {
        unsigned mode;
        Z4::eal_file_status whenMissing;
        Z4::eal_file_status whenThere;
        const char* contentThen;
    } rows[] = {
        {R, MISSING, OK, "text"},
        {W, MISSING, OK, "text"},
        {R | W, MISSING, OK, "text"},
        {R | C, OK, OK, "text"},
        {W | C, OK, OK, "text"},
        {W | T, MISSING, OK, ""},
        {W | C | T, OK, OK, ""},
        {W | C | X, OK, EXISTS, "text"},
        {W | C | T | X, OK, EXISTS, "text"},
        {0, INVALID, INVALID, "text"},
        {64 | R, INVALID, INVALID, "text"},
        {C, INVALID, INVALID, "text"},
        {R | T, INVALID, INVALID, "text"},
        {W | X, INVALID, INVALID, "text"},
    };
    for (const auto& row : rows) {
        SCOPED_TRACE(row.mode);
        const TemporaryFile missing;
        EXPECT_EQ(StatusOfOpen(missing.Utf8(), row.mode), row.whenMissing);
        EXPECT_EQ(g_table.exists(missing.Utf8().c_str()) != 0, row.whenMissing == OK);
        const TemporaryFile there;
        std::ofstream(there.Path()) << "text";
        EXPECT_EQ(StatusOfOpen(there.Utf8(), row.mode), row.whenThere);
        EXPECT_EQ(there.Content(), row.contentThen);
    }
}

TEST(HostFiles, AFileHasReadersOrOneWriter) {
    const TemporaryFile name;
    const std::string path = name.Utf8();
    {
        const OpenFile writer(path, READ_WRITE_CREATE);
        EXPECT_EQ(StatusOfOpen(path, Z4::EAL_FILE_READ), Z4::EAL_FILE_SHARING_VIOLATION);
        EXPECT_EQ(StatusOfOpen(path, Z4::EAL_FILE_WRITE), Z4::EAL_FILE_SHARING_VIOLATION);
    }
    const OpenFile reader(path, Z4::EAL_FILE_READ);
    EXPECT_EQ(StatusOfOpen(path, Z4::EAL_FILE_READ), Z4::EAL_FILE_OK);
    EXPECT_EQ(StatusOfOpen(path, Z4::EAL_FILE_WRITE), Z4::EAL_FILE_SHARING_VIOLATION);
}

TEST(HostFiles, NamesThatCannotBeOpenedSayWhy) {
    const TemporaryFile name;
    std::ofstream(name.Path()) << "text";
    const std::string folder = name.Utf8().substr(0, name.Utf8().find_last_of(g_table.separator()));
    const struct {
        std::string path;
        unsigned mode;
        Z4::eal_file_status status;
    } rows[] = {{folder, Z4::EAL_FILE_READ, Z4::EAL_FILE_IS_DIRECTORY},
                {folder + "\\none\\file", Z4::EAL_FILE_READ, Z4::EAL_FILE_PATH_NOT_FOUND},
                {folder + "\\a|b", READ_WRITE_CREATE, Z4::EAL_FILE_INVALID_NAME},
                {folder + "\\\xC3", READ_WRITE_CREATE, Z4::EAL_FILE_INVALID_NAME},
                {folder + "\\" + std::string(40000, 'x'), READ_WRITE_CREATE, Z4::EAL_FILE_PATH_TOO_LONG},
                {"NUL", Z4::EAL_FILE_WRITE, Z4::EAL_FILE_NOT_SEEKABLE}};
    for (const auto& row : rows) {
        EXPECT_EQ(StatusOfOpen(row.path, row.mode), row.status) << row.path.substr(0, 200);
        EXPECT_EQ(g_table.exists(row.path.c_str()) != 0, row.path == "NUL") << row.path.substr(0, 200);
    }
    EXPECT_EQ(g_table.exists(nullptr), 0);
    Z4::eal_file_handle handle = nullptr;
    EXPECT_EQ(g_table.open(nullptr, Z4::EAL_FILE_READ, &handle), Z4::EAL_FILE_INVALID_ARGUMENT);
    EXPECT_EQ(g_table.open(name.Utf8().c_str(), Z4::EAL_FILE_READ, nullptr), Z4::EAL_FILE_INVALID_ARGUMENT);
}

/// The statuses of one transfer as read, asynchronous read, write and asynchronous write. Checks that what started
/// completes, and nothing else.
std::vector<Z4::eal_file_status> TransferStatuses(Z4::eal_file_handle file, char* buffer, std::uint32_t size,
                                                  std::uint64_t offset) {
    Completions completions;
    std::uint32_t transferred = 7;
    std::vector<Z4::eal_file_status> statuses = {
        g_table.read(file, buffer, size, offset, &transferred),
        g_table.read_async(file, buffer, size, offset, Completions::Complete, &completions),
        g_table.write(file, buffer, size, offset, &transferred),
        g_table.write_async(file, buffer, size, offset, Completions::Complete, &completions),
    };
    const unsigned started = (statuses[1] == Z4::EAL_FILE_OK ? 1u : 0u) + (statuses[3] == Z4::EAL_FILE_OK ? 1u : 0u);
    EXPECT_TRUE(completions.WaitFor(started));
    Sleep(5);
    EXPECT_EQ(completions.m_count, started);
    return statuses;
}

TEST(HostFiles, TransfersThatCannotStartSayWhy) {
    using testing::Each;
    using testing::ElementsAre;
    const TemporaryFile name;
    char buffer[16] = {};
    {
        const OpenFile file(name.Utf8(), READ_WRITE_CREATE);
        EXPECT_THAT(TransferStatuses(nullptr, buffer, 16, 0), Each(Z4::EAL_FILE_INVALID_HANDLE));
        EXPECT_THAT(TransferStatuses(file, nullptr, 16, 0), Each(Z4::EAL_FILE_INVALID_ARGUMENT));
        for (const std::uint64_t offset : {0xFFFFFFFFFFFFFFFFull, 0xFFFFFFFFFFFFFFFEull, 0x7FFFFFFFFFFFFFF8ull}) {
            EXPECT_THAT(TransferStatuses(file, buffer, 16, offset), Each(Z4::EAL_FILE_INVALID_OFFSET));
        }
        EXPECT_EQ(g_table.read(file, buffer, 16, 0, nullptr), Z4::EAL_FILE_INVALID_ARGUMENT);
        EXPECT_EQ(g_table.read_async(file, buffer, 16, 0, nullptr, nullptr), Z4::EAL_FILE_INVALID_ARGUMENT);
        EXPECT_EQ(g_table.size(file, nullptr), Z4::EAL_FILE_INVALID_ARGUMENT);
    }
    EXPECT_EQ(name.Content(), "");
    std::uint64_t size = 0;
    EXPECT_EQ(g_table.size(nullptr, &size), Z4::EAL_FILE_INVALID_HANDLE);
    EXPECT_EQ(g_table.flush(nullptr), Z4::EAL_FILE_INVALID_HANDLE);
    EXPECT_EQ(g_table.close(nullptr), Z4::EAL_FILE_INVALID_HANDLE);

    const OpenFile reader(name.Utf8(), Z4::EAL_FILE_READ);
    EXPECT_THAT(TransferStatuses(reader, buffer, 16, 0),
                ElementsAre(Z4::EAL_FILE_OK, Z4::EAL_FILE_OK, Z4::EAL_FILE_ACCESS_DENIED, Z4::EAL_FILE_ACCESS_DENIED));
    EXPECT_EQ(g_table.flush(reader), Z4::EAL_FILE_OK);
}

// These fail only after the system has begun with them.
TEST(HostFiles, TransfersFromAndToInaccessibleMemoryFailOnce) {
    const TemporaryFile name;
    OpenFile file(name.Utf8(), READ_WRITE_CREATE);
    file.Write("some text", 0);
    void* const reserved = VirtualAlloc(nullptr, 4096, MEM_RESERVE, PAGE_NOACCESS);
    ASSERT_NE(reserved, nullptr);
    EXPECT_THAT(TransferStatuses(file, static_cast<char*>(reserved), 9, 0),
                testing::Each(Z4::EAL_FILE_INVALID_ARGUMENT));
    VirtualFree(reserved, 0, MEM_RELEASE);
    EXPECT_EQ(file.Read(9, 0), "some text");
}

TEST(HostFiles, UnbufferedTransfersObeyTheAlignment) {
    const TemporaryFile name;
    OpenFile buffered(name.Utf8(), READ_WRITE_CREATE);
    EXPECT_EQ(g_table.buffer_alignment(buffered), 1u);
    EXPECT_EQ(g_table.sector_size(buffered), 1u);
    buffered.Close();

    const OpenFile file(name.Utf8(), READ_WRITE_CREATE | Z4::EAL_FILE_UNBUFFERED);
    ASSERT_EQ(file.Status(), Z4::EAL_FILE_OK);
    const std::uint32_t alignment = g_table.buffer_alignment(file);
    const std::uint32_t sector = g_table.sector_size(file);
    ASSERT_TRUE(std::has_single_bit(alignment) && std::has_single_bit(sector) && sector >= 512);
    const auto release = [](char* block) { ZelkHost::MemoryTable().free(block); };
    const std::unique_ptr<char, decltype(release)> block(
        static_cast<char*>(ZelkHost::MemoryTable().alloc(2 * sector, alignment, 0, 1)));
    std::memset(block.get(), 'u', 2 * sector);
    EXPECT_THAT(TransferStatuses(file, block.get() + 1, sector, 0), testing::Each(Z4::EAL_FILE_INVALID_ARGUMENT));
    EXPECT_THAT(TransferStatuses(file, block.get(), sector - 1, 0), testing::Each(Z4::EAL_FILE_INVALID_ARGUMENT));
    EXPECT_THAT(TransferStatuses(file, block.get(), sector, 1), testing::Each(Z4::EAL_FILE_INVALID_ARGUMENT));
    EXPECT_THAT(TransferStatuses(file, block.get(), 2 * sector, sector), testing::Each(Z4::EAL_FILE_OK));
    EXPECT_EQ(SizeOf(file), 3ull * sector);
}

} // namespace
