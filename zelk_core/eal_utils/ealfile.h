/// @file
/// Files, by the host's file table.
///
/// Use it between InitializeEalUtils() and ShutdownEalUtils(). Paths are UTF-8. For buffered and typed reading and
/// writing see the streams, streams/filestream.h.
#pragma once

#include <cstdint>
#include <utility>
#include <zelk_core/base/api.h>
#include <zelk_core/base/ealinterface.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/layout.h>

namespace Z4 {

/// What an offset is counted from.
enum SeekOrigin : int {
    SEEK_FROM_BEGIN = 0,   ///< from position 0
    SEEK_FROM_CURRENT = 1, ///< from where the position is
    SEEK_FROM_END = 2,     ///< from behind the last byte; offsets within the data are negative
};

/// One open file of the host's, or none, with a position of its own. Positions, offsets and sizes are in bytes.
///
/// Several threads may call the operations that take an offset, GetSize(), Flush() and the asynchronous ones at once.
/// Open(), Close(), Seek(), moving the object, and reading and writing at the position are for one thread, while no
/// other uses the object.
///
/// The result is ERR_INVALID where no file is open, for a null buffer with a size above 0, and for a range of bytes
/// that ends beyond INT64_MAX; nothing is done then. All other errors are the host's, as TranslateError() puts them.
class EalFile {
public:
    using Result = Private::ErrorCodeWrapper;

    /// @name Modes for Open()
    /// The common ones; others combine values of eal_file_mode.
    /// @{
    static constexpr unsigned READ_ONLY = EAL_FILE_READ;               ///< reads a file that exists
    static constexpr unsigned UPDATE = EAL_FILE_READ | EAL_FILE_WRITE; ///< reads and writes a file that exists
    /// Writes a file, which is made, or emptied when it exists.
    static constexpr unsigned REPLACE = EAL_FILE_WRITE | EAL_FILE_CREATE | EAL_FILE_TRUNCATE;
    /// Makes a file and writes it; one that exists is ERR_ALREADY_EXISTS.
    static constexpr unsigned NEW_FILE = EAL_FILE_WRITE | EAL_FILE_CREATE | EAL_FILE_EXCLUSIVE;
    /// @}

    constexpr EalFile() = default;
    /// Closes the file. Nobody learns the result, so whoever writes calls Close() before.
    Z4_API ~EalFile();
    /// Takes over the file and the position of `other`, where no file is open afterwards. An assignment closes the file
    /// that was open here.
    EalFile(EalFile&& other) noexcept
        : m_position(std::exchange(other.m_position, 0)), m_handle(std::exchange(other.m_handle, nullptr)) {}
    EalFile& operator=(EalFile&& other) noexcept {
        EalFile moved(std::move(other));
        std::swap(m_position, moved.m_position);
        std::swap(m_handle, moved.m_handle);
        return *this;
    }

    /// Opens a file, with the position 0.
    /// @param mode one of the modes above.
    /// @return ERR_INVALID, with nothing changed, when a file is open here already and for a null path; ERR_UNHANDLED
    /// when the host reports success and gives no file.
    [[nodiscard]] Z4_API Result Open(const char* path, unsigned mode);
    /// Waits until the asynchronous transfers have ended, and closes the file. Whatever the result is, no file is open
    /// here afterwards. Where none was open before, the result is ERR_OK.
    Z4_API Result Close();
    [[nodiscard]] bool IsOpen() const { return m_handle != nullptr; }
    /// The host's own; null where no file is open.
    eal_file_handle GetHandle() const { return m_handle; }

    /// Reads `size` bytes at the position, which moves behind them, or at `offset`, which leaves the position alone.
    /// When the host gives fewer, it is asked for the rest, until it gives none.
    /// @param transferred receives how many bytes were read, also when the result is an error. When they are fewer than
    /// `size` and the result is ERR_OK, the file ends behind them.
    /// @return ERR_UNHANDLED, with `transferred` 0, when the host claims to have read more than it was asked for.
    [[nodiscard]] Z4_API Result Read(void* buffer, std::uint32_t size, std::uint32_t& transferred);
    [[nodiscard]] Z4_API Result Read(void* buffer, std::uint32_t size, std::uint64_t offset,
                                     std::uint32_t& transferred) const;
    /// Writes `size` bytes at the position, which moves behind them, or at `offset`, which leaves the position alone. A
    /// file that ends before that grows.
    /// @param transferred receives how many bytes were written, also when the result is an error; ERR_OK means all.
    /// @return ERR_OUT_OF_RESOURCES when the host reports success and takes no bytes; ERR_UNHANDLED as above.
    [[nodiscard]] Z4_API Result Write(const void* buffer, std::uint32_t size, std::uint32_t& transferred);
    [[nodiscard]] Z4_API Result Write(const void* buffer, std::uint32_t size, std::uint64_t offset,
                                      std::uint32_t& transferred) const;

    /// Moves the position, which may lie beyond the end of the file: reading there gives no bytes, writing there makes
    /// the file grow.
    /// @return ERR_INVALID for a position before 0 or beyond INT64_MAX. After every error the position stays as it was.
    [[nodiscard]] Z4_API Result Seek(std::int64_t offset, SeekOrigin origin);
    /// The position; 0 where no file is open.
    std::uint64_t Tell() const { return m_position; }
    /// Stores the file's size in bytes in `size`; 0 when the result is an error.
    [[nodiscard]] Z4_API Result GetSize(std::uint64_t& size) const;
    /// Returns when everything whose writing had ended before the call is on the device, which takes milliseconds.
    [[nodiscard]] Z4_API Result Flush() const;
    /// Of how many bytes the address of each buffer must be a multiple: 1, unless the file was opened with
    /// EAL_FILE_UNBUFFERED. It is 1 where no file is open.
    Z4_API std::uint32_t GetBufferAlignment() const;
    /// Of how many bytes each offset and each size must be a multiple; 1 in the same cases.
    Z4_API std::uint32_t GetSectorSize() const;

    /// Starts a transfer of a file that was opened with EAL_FILE_ASYNC, and returns without waiting for it.
    ///
    /// After ERR_OK the host calls `completion` once, with `context`, on a thread of its own, possibly before this call
    /// returns; until then the buffer is the host's: nobody else touches or frees it. The completion learns how many
    /// bytes were transferred, which can be fewer than `size`; nobody asks for the rest. It may start further
    /// transfers, but not close the file. After any other result it is never called.
    /// @return ERR_UNSUPPORTED for a file that was opened without EAL_FILE_ASYNC; ERR_INVALID for a null `completion`.
    [[nodiscard]] Z4_API Result ReadAsync(void* buffer, std::uint32_t size, std::uint64_t offset,
                                          eal_file_completion completion, void* context) const;
    [[nodiscard]] Z4_API Result WriteAsync(const void* buffer, std::uint32_t size, std::uint64_t offset,
                                           eal_file_completion completion, void* context) const;

    /// Whether there is a file `path`; false for a directory and for null.
    [[nodiscard]] Z4_API static bool Exists(const char* path);
    /// The character between the folders of a path.
    [[nodiscard]] Z4_API static char GetSeparator();
    /// The Error that stands for a status of the host's; ERR_UNHANDLED for a number that eal_file_status does not list.
    /// Any thread may call it at any time, also before any service is started.
    [[nodiscard]] Z4_API static Result TranslateError(eal_file_status status);

private:
    friend struct Private::Layout<EalFile>;

    std::uint64_t m_position = 0;
    eal_file_handle m_handle = nullptr;
};

} // namespace Z4
