/// @file
/// Streams over files, and whole files at once.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/eal_utils/ealfile.h>
#include <zelk_core/generics/string.h>
#include <zelk_core/generics/vector.h>
#include <zelk_core/streams/bufferedstream.h>

namespace Z4 {

/// A buffered file. Use it between InitializeEalUtils() and ShutdownEalUtils(); one thread at a time uses a stream. A
/// stream that was never opened has the error ERR_NOT_READY. After Close() it can be opened again.
///
/// The file's length is asked for once, when the file is opened, so nobody else may write to the file meanwhile. When
/// Close() has returned ERR_OK, the system has taken all that was written. The destructor closes the stream, too, and
/// logs an error when something could not be written.
class Z4_API FileStream final : public BufferedStream {
public:
    /// @param bufferSize in bytes; with 0 there is no buffer.
    explicit FileStream(std::uint32_t bufferSize = DEFAULT_BUFFER_SIZE);
    ~FileStream() override;

    /// Opens a file, with the position 0.
    /// @param path in UTF-8.
    /// @param mode a mode of EalFile, such as EalFile::READ_ONLY.
    /// @return ERR_INVALID when the stream is open already; ERR_UNSUPPORTED for a mode with EAL_FILE_UNBUFFERED;
    /// otherwise the result of EalFile::Open(). After an error the stream is as it was.
    [[nodiscard]] Result Open(const char* path, unsigned mode);
    /// Takes over a file that is open, with its position.
    /// @param abilities CAN_READ, CAN_WRITE or both, as the file was opened.
    /// @return ERR_INVALID when the stream is open already, when no file is open in `file`, and for other abilities;
    /// ERR_UNSUPPORTED for a file that was opened with EAL_FILE_UNBUFFERED; otherwise the result of asking for the
    /// file's size. After an error the stream is as it was, and `file` still has the file.
    [[nodiscard]] Result Open(EalFile&& file, unsigned abilities);

private:
    Error ReadDevice(void* buffer, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) override;
    Error WriteDevice(const void* data, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) override;
    Error DeviceLength(std::uint64_t& length) override;
    Error SyncDevice() override;
    Error CloseDevice() override;

    std::uint64_t m_length = 0;
    EalFile m_file;
};

/// Reads a whole file. Any thread may call it, between InitializeEalUtils() and ShutdownEalUtils().
/// @param content receives the bytes of the file; it is empty after an error. A string is also terminated.
/// @param maxSize the largest size, in bytes, that is accepted; it is tested before memory is taken.
/// @return ERR_OVERFLOW for a larger file; ERR_OUT_OF_MEMORY when memory is refused; otherwise the result of EalFile's
/// operations.
[[nodiscard]] Z4_API Private::ErrorCodeWrapper LoadFile(const char* path, Vector<unsigned char>& content,
                                                        std::uint32_t maxSize);
[[nodiscard]] Z4_API Private::ErrorCodeWrapper LoadFile(const char* path, ZelkString& content, std::uint32_t maxSize);
/// Makes a file of `size` bytes, in the place of the one that was there. Any thread may call it, between
/// InitializeEalUtils() and ShutdownEalUtils(). The old content goes as soon as the file is open, so after an error the
/// file may hold a part of the new bytes; when it could not be opened, it is as it was.
/// @param data may be null when `size` is 0.
/// @return the first error of opening, writing and closing, as EalFile has them.
[[nodiscard]] Z4_API Private::ErrorCodeWrapper SaveFile(const char* path, const void* data, std::uint32_t size);

} // namespace Z4
