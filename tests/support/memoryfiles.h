// A file table whose files are texts in memory, so that what is built on files runs on every platform. Any number of
// handles may be open on a file, each for everything. Asynchronous transfers complete before they return.
#pragma once

#include <algorithm>
#include <cstring>
#include <gtest/gtest.h>
#include <host/filefaults.h>
#include <map>
#include <string>
#include <tests/support/random.h>
#include <tests/support/testhost.h>
#include <zelk_core/base/ealinterface.h>

namespace ZelkTest {

/// What a write at `offset` makes of a file's content.
inline void Overwrite(std::string& content, std::uint64_t offset, const void* data, std::uint32_t size) {
    if (size != 0) {
        const auto at = static_cast<std::size_t>(offset);
        content.resize(std::max(content.size(), at + size));
        std::memcpy(&content[at], data, size);
    }
}

class MemoryFiles {
public:
    /// The contents by path; a test may look at them and change them.
    static std::map<std::string, std::string>& All() {
        static std::map<std::string, std::string> files;
        return files;
    }
    inline static int openHandles = 0;
    inline static int flushes = 0;

    static Z4::eal_file_dll_interface Table() {
        Z4::eal_file_dll_interface table{};
        table.init = [](unsigned) { return 0; };
        table.shutdown = [] { return 0; };
        table.open = Open;
        table.close = Close;
        table.read = Read;
        table.write = Write;
        table.read_async = Transfer<void, Read>;
        table.write_async = Transfer<const void, Write>;
        table.flush = [](File) {
            ++flushes;
            return Z4::EAL_FILE_OK;
        };
        table.buffer_alignment = [](File) -> std::uint32_t { return 1; };
        table.sector_size = [](File) -> std::uint32_t { return 1; };
        table.separator = [] { return '/'; };
        table.exists = [](const char* path) -> unsigned char { return All().contains(path) ? 1 : 0; };
        table.size = [](File handle, std::uint64_t* size) {
            *size = Of(handle).size();
            return Z4::EAL_FILE_OK;
        };
        return table;
    }

private:
    using Status = Z4::eal_file_status;
    using File = Z4::eal_file_handle;

    static std::string& Of(File handle) { return *static_cast<std::string*>(handle); }

    static Status Z4_CDECL Open(const char* path, unsigned mode, File* handle) {
        *handle = nullptr;
        if (!All().contains(path) && (mode & Z4::EAL_FILE_CREATE) == 0) {
            return Z4::EAL_FILE_NOT_FOUND;
        }
        std::string& content = All()[path];
        if ((mode & Z4::EAL_FILE_TRUNCATE) != 0) {
            content.clear();
        }
        *handle = &content;
        ++openHandles;
        return Z4::EAL_FILE_OK;
    }
    static Status Z4_CDECL Close(File) {
        --openHandles;
        return Z4::EAL_FILE_OK;
    }
    static Status Z4_CDECL Read(File handle, void* buffer, std::uint32_t size, std::uint64_t offset,
                                std::uint32_t* transferred) {
        const std::string& content = Of(handle);
        const std::uint64_t left = content.size() - std::min<std::uint64_t>(content.size(), offset);
        *transferred = static_cast<std::uint32_t>(std::min<std::uint64_t>(size, left));
        std::memcpy(buffer, content.data() + content.size() - left, *transferred);
        return Z4::EAL_FILE_OK;
    }
    static Status Z4_CDECL Write(File handle, const void* buffer, std::uint32_t size, std::uint64_t offset,
                                 std::uint32_t* transferred) {
        Overwrite(Of(handle), offset, buffer, size);
        *transferred = size;
        return Z4::EAL_FILE_OK;
    }
    template <class Data, auto TRANSFER>
    static Status Z4_CDECL Transfer(File handle, Data* buffer, std::uint32_t size, std::uint64_t offset,
                                    Z4::eal_file_completion completion, void* context) {
        std::uint32_t done = 0;
        const Status status = TRANSFER(handle, buffer, size, offset, &done);
        completion(context, status, done);
        return Z4::EAL_FILE_OK;
    }
};

/// Files in memory, with faults on demand, for as long as a test runs.
class WithFiles : public testing::Test {
protected:
    WithFiles() { Z4::SetEalInterface(ZelkHost::WithFileFaults(MemoryFiles::Table())); }
    ~WithFiles() override {
        ZelkHost::InjectFileFaults({});
        EXPECT_EQ(MemoryFiles::openHandles, 0);
        MemoryFiles::All().clear();
        MemoryFiles::flushes = 0;
    }

    static std::string& Content() { return MemoryFiles::All()["file"]; }
};

/// Bytes of which half repeat themselves.
inline std::string Sample(std::size_t size, std::uint32_t seed = 1) {
    Input input(seed);
    std::string text(size, '\0');
    for (std::size_t i = 0; i < size; ++i) {
        text[i] = i > 50 && i / 100 % 2 == 0 ? text[i - 50] : static_cast<char>(input.Bits());
    }
    return text;
}

} // namespace ZelkTest
