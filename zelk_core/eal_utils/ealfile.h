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
    SEEK_FROM_BEGIN = 0,
    SEEK_FROM_CURRENT = 1,
    SEEK_FROM_END = 2,
};

/// One open file of the host's, or none, with a position of its own.
///
/// The operations that take an offset, those that ask or flush, and the asynchronous ones may be called by several
/// threads at once; Open(), Close(), Seek() and the operations at the position only while no other thread uses the
/// object. Everything that works on an open file is ERR_INVALID where none is open. So is a null buffer with a size,
/// and a range that ends beyond INT64_MAX. Other errors are the host's, as TranslateError() puts them.
class EalFile {
public:
    using Result = Private::ErrorCodeWrapper;

    /// @name Modes for Open()
    /// The common ones; others combine values of eal_file_mode.
    /// @{
    static constexpr unsigned READ_ONLY = EAL_FILE_READ;
    static constexpr unsigned UPDATE = EAL_FILE_READ | EAL_FILE_WRITE; ///< a file that exists
    static constexpr unsigned REPLACE = EAL_FILE_WRITE | EAL_FILE_CREATE | EAL_FILE_TRUNCATE;
    static constexpr unsigned NEW_FILE = EAL_FILE_WRITE | EAL_FILE_CREATE | EAL_FILE_EXCLUSIVE;
    /// @}

    constexpr EalFile() = default;
    /// Closes; its result is lost, so a writer calls Close() before.
    Z4_API ~EalFile();
    EalFile(EalFile&& other) noexcept
        : m_position(std::exchange(other.m_position, 0)), m_handle(std::exchange(other.m_handle, nullptr)) {}
    EalFile& operator=(EalFile&& other) noexcept {
        EalFile moved(std::move(other));
        std::swap(m_position, moved.m_position);
        std::swap(m_handle, moved.m_handle);
        return *this;
    }

    /// Opens a file, at position 0.
    /// @return ERR_INVALID, with nothing changed, for a null path and where a file is open.
    [[nodiscard]] Z4_API Result Open(const char* path, unsigned mode);
    /// Waits for the asynchronous transfers and closes. The object is closed afterwards whatever the result is; where
    /// it was before, that is ERR_OK.
    Z4_API Result Close();
    [[nodiscard]] bool IsOpen() const { return m_handle != nullptr; }
    /// The host's own; null where no file is open.
    eal_file_handle GetHandle() const { return m_handle; }

    /// Reads `size` bytes at the position, or at `offset`, which leaves the position alone. The host is asked again
    /// until it has given all or nothing more.
    /// @param transferred receives how many bytes were read, with an error too; the position moves by so many. Fewer
    /// than `size` with ERR_OK say that the file ends there.
    /// @return ERR_UNHANDLED, with no bytes, when the host claims more than it was asked for.
    [[nodiscard]] Z4_API Result Read(void* buffer, std::uint32_t size, std::uint32_t& transferred);
    [[nodiscard]] Z4_API Result Read(void* buffer, std::uint32_t size, std::uint64_t offset,
                                     std::uint32_t& transferred) const;
    /// Writes likewise. A file that ends before grows.
    /// @return ERR_OUT_OF_RESOURCES when the host takes no more bytes; never ERR_OK with fewer than `size`.
    [[nodiscard]] Z4_API Result Write(const void* buffer, std::uint32_t size, std::uint32_t& transferred);
    [[nodiscard]] Z4_API Result Write(const void* buffer, std::uint32_t size, std::uint64_t offset,
                                      std::uint32_t& transferred) const;

    /// Moves the position, also beyond the end of the file.
    /// @return ERR_INVALID, with the position as it was, for one before 0 or beyond INT64_MAX.
    [[nodiscard]] Z4_API Result Seek(std::int64_t offset, SeekOrigin origin);
    std::uint64_t Tell() const { return m_position; }
    /// The file's size in bytes; 0 with an error.
    [[nodiscard]] Z4_API Result GetSize(std::uint64_t& size) const;
    /// Returns when all that was written is on the device, which takes milliseconds.
    [[nodiscard]] Z4_API Result Flush() const;
    /// Of how many bytes buffers' addresses, and offsets and sizes, must be multiples: 1 but for EAL_FILE_UNBUFFERED.
    Z4_API std::uint32_t GetBufferAlignment() const;
    Z4_API std::uint32_t GetSectorSize() const;

    /// Starts a transfer of a file that was opened with EAL_FILE_ASYNC, and returns. After ERR_OK, `completion` is
    /// called once with `context`, on a thread of the host's, possibly before this call returns; the buffer is the
    /// host's until then. After another result it is never called. Transfers may be short. A completion may start
    /// further transfers, but not close the file.
    /// @return ERR_UNSUPPORTED for a file of another mode, ERR_INVALID for a null `completion`.
    [[nodiscard]] Z4_API Result ReadAsync(void* buffer, std::uint32_t size, std::uint64_t offset,
                                          eal_file_completion completion, void* context) const;
    [[nodiscard]] Z4_API Result WriteAsync(const void* buffer, std::uint32_t size, std::uint64_t offset,
                                           eal_file_completion completion, void* context) const;

    /// Whether there is a file `path`; false for a directory and for null.
    [[nodiscard]] Z4_API static bool Exists(const char* path);
    /// The character between the folders of a path.
    [[nodiscard]] Z4_API static char GetSeparator();
    /// The Error for a status of the host's; ERR_UNHANDLED for a number that is none. Needs no started service.
    [[nodiscard]] Z4_API static Result TranslateError(eal_file_status status);

private:
    friend struct Private::Layout<EalFile>;

    std::uint64_t m_position = 0;
    eal_file_handle m_handle = nullptr;
};

} // namespace Z4
