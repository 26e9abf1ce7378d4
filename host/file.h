// An open file of the file table, and how it comes about.
#pragma once

#include <host/internal.h>
#include <memory>
#include <string>

namespace ZelkHost {

/// What a handle of the table stands for. It is destroyed when no operation uses it.
struct File {
    /// Opens the file at `path`, which is UTF-8, in `mode`, an eal_file_mode. A file has any number of readers or one
    /// writer at a time. Throws where there is no memory, or where a path is longer than any string.
    /// @param file untouched when the result is not EAL_FILE_OK.
    /// Files that are not EAL_FILE_ASYNC are opened without overlapped transfers: each of those would signal an event,
    /// which can take a multiple of the transfer's own time.
    static Z4::eal_file_status Open(const char* path, unsigned mode, std::unique_ptr<File>& file);

    File() = default;
    ~File();
    File(const File&) = delete;
    File& operator=(const File&) = delete;

    static constexpr std::uint64_t NOWHERE = UINT64_MAX;

    HANDLE handle = INVALID_HANDLE_VALUE;
    bool writable = false;
    bool isAsync = false;
    std::uint32_t alignment = 1; ///< of buffers, offsets and sizes
    SlimLock blocking;           ///< one blocking operation at a time, as there is one position, and one event
    /// Where the system's own pointer stands, so that transfers in a row need not move it; NOWHERE where it is unknown.
    std::uint64_t position = 0;
    HANDLE blockingEnd = nullptr; ///< of an asynchronous file: signalled when a blocking operation has ended
    unsigned pending = 0;         ///< asynchronous operations; the engine's
};

/// `path`, in the form that the system takes whatever its length is: `path` itself unless it is long.
std::wstring SystemPath(const std::wstring& path);

} // namespace ZelkHost
