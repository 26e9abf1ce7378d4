// An open file of the file table, and how it comes about.
#pragma once

#include <host/internal.h>
#include <memory>

namespace ZelkHost {

/// What a handle of the table stands for. It is destroyed when no operation uses it.
struct File {
    /// Opens the file at `path`, which is UTF-8, in `mode`, an eal_file_mode. A file has any number of readers or one
    /// writer at a time. Throws where there is no memory, or where a path is longer than any string.
    /// @param file untouched when the result is not EAL_FILE_OK.
    static Z4::eal_file_status Open(const char* path, unsigned mode, std::unique_ptr<File>& file);

    File() = default;
    ~File();
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    HANDLE handle = INVALID_HANDLE_VALUE;
    bool writable = false;
    std::uint32_t alignment = 1;  ///< of buffers, offsets and sizes
    HANDLE blockingEnd = nullptr; ///< signalled when a blocking operation has ended
    SlimLock blocking;            ///< one such operation at a time, as there is one event
    unsigned pending = 0;         ///< asynchronous operations; the engine's
};

} // namespace ZelkHost
