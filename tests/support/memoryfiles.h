// A file table whose files are texts in memory, so that what is built on files runs on every platform. Any number of
// handles may be open on a file; nothing is shared or locked. Asynchronous transfers complete before they return.
#pragma once

#include <algorithm>
#include <cstring>
#include <map>
#include <string>
#include <zelk_core/base/ealinterface.h>

namespace ZelkTest {

class MemoryFiles {
public:
    /// The contents by path; a test may look at them and change them.
    static std::map<std::string, std::string>& All() {
        static std::map<std::string, std::string> files;
        return files;
    }
    static int& OpenHandles() {
        static int count = 0;
        return count;
    }
    static int& Flushes() {
        static int count = 0;
        return count;
    }

    static Z4::eal_file_dll_interface Table() {
        Z4::eal_file_dll_interface table{};
        table.init = [](unsigned) { return 0; };
        table.shutdown = [] { return 0; };
        table.open = Open;
        table.close = Close;
        table.read = Read;
        table.write = Write;
        table.read_async = [](Z4::eal_file_handle handle, void* buffer, std::uint32_t size, std::uint64_t offset,
                              Z4::eal_file_completion completion, void* context) {
            std::uint32_t done = 0;
            const Z4::eal_file_status status = Read(handle, buffer, size, offset, &done);
            completion(context, status, done);
            return Z4::EAL_FILE_OK;
        };
        table.write_async = [](Z4::eal_file_handle handle, const void* buffer, std::uint32_t size, std::uint64_t offset,
                               Z4::eal_file_completion completion, void* context) {
            std::uint32_t done = 0;
            const Z4::eal_file_status status = Write(handle, buffer, size, offset, &done);
            completion(context, status, done);
            return Z4::EAL_FILE_OK;
        };
        table.flush = [](Z4::eal_file_handle) {
            ++Flushes();
            return Z4::EAL_FILE_OK;
        };
        table.buffer_alignment = [](Z4::eal_file_handle) -> std::uint32_t { return 1; };
        table.sector_size = [](Z4::eal_file_handle) -> std::uint32_t { return 1; };
        table.separator = [] { return '/'; };
        table.exists = [](const char* path) -> unsigned char { return All().contains(path) ? 1 : 0; };
        table.size = [](Z4::eal_file_handle handle, std::uint64_t* size) {
            *size = Of(handle).text->size();
            return Z4::EAL_FILE_OK;
        };
        return table;
    }

private:
    struct Handle {
        std::string* text;
        unsigned mode;
    };
    static Handle& Of(Z4::eal_file_handle handle) { return *static_cast<Handle*>(handle); }

    static Z4::eal_file_status Z4_CDECL Open(const char* path, unsigned mode, Z4::eal_file_handle* handle) {
        *handle = nullptr;
        const bool isThere = All().contains(path);
        if (!isThere && (mode & Z4::EAL_FILE_CREATE) == 0) {
            return Z4::EAL_FILE_NOT_FOUND;
        }
        if (isThere && (mode & Z4::EAL_FILE_EXCLUSIVE) != 0) {
            return Z4::EAL_FILE_ALREADY_EXISTS;
        }
        std::string& text = All()[path];
        if ((mode & Z4::EAL_FILE_TRUNCATE) != 0) {
            text.clear();
        }
        *handle = new Handle{&text, mode};
        ++OpenHandles();
        return Z4::EAL_FILE_OK;
    }
    static Z4::eal_file_status Z4_CDECL Close(Z4::eal_file_handle handle) {
        delete &Of(handle);
        --OpenHandles();
        return Z4::EAL_FILE_OK;
    }
    static Z4::eal_file_status Z4_CDECL Read(Z4::eal_file_handle handle, void* buffer, std::uint32_t size,
                                             std::uint64_t offset, std::uint32_t* transferred) {
        const std::string& text = *Of(handle).text;
        *transferred = 0;
        if ((Of(handle).mode & Z4::EAL_FILE_READ) == 0) {
            return Z4::EAL_FILE_ACCESS_DENIED;
        }
        if (offset < text.size()) {
            *transferred = static_cast<std::uint32_t>(std::min<std::uint64_t>(size, text.size() - offset));
            std::memcpy(buffer, text.data() + offset, *transferred);
        }
        return Z4::EAL_FILE_OK;
    }
    static Z4::eal_file_status Z4_CDECL Write(Z4::eal_file_handle handle, const void* buffer, std::uint32_t size,
                                              std::uint64_t offset, std::uint32_t* transferred) {
        std::string& text = *Of(handle).text;
        *transferred = 0;
        if ((Of(handle).mode & Z4::EAL_FILE_WRITE) == 0) {
            return Z4::EAL_FILE_ACCESS_DENIED;
        }
        if (size != 0) {
            text.resize(std::max<std::size_t>(text.size(), static_cast<std::size_t>(offset) + size));
            std::memcpy(text.data() + offset, buffer, size);
        }
        *transferred = size;
        return Z4::EAL_FILE_OK;
    }
};

} // namespace ZelkTest
