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

/// A file, buffered. Use it while the host's file table is started, see eal_utils/ealfile.h.
///
/// It learns the file's length when it opens it and knows it from then on, so others must not write to the file. What
/// it writes is on its way when Close() has returned ERR_OK; the destructor closes, too, and logs what it could not
/// write.
class Z4_API FileStream final : public BufferedStream {
public:
    /// @param bufferSize in bytes; 0 for none.
    explicit FileStream(std::uint32_t bufferSize = DEFAULT_BUFFER_SIZE);
    ~FileStream() override;

    /// Opens a file, at position 0, with the modes of EalFile::Open(); EAL_FILE_UNBUFFERED is ERR_UNSUPPORTED. Where
    /// the stream is open already, the result is ERR_INVALID, and nothing changes. A stream that never was opened has
    /// the error ERR_NOT_READY.
    [[nodiscard]] Result Open(const char* path, unsigned mode);
    /// Takes over an open file, at its position; after an error it stays the caller's.
    /// @param abilities CAN_READ, CAN_WRITE or both, as the file was opened.
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

/// Reads a whole file.
/// @param content receives it; empty after an error.
/// @param maxSize the largest file that is accepted, in bytes; no memory is taken before that is tested.
/// @return ERR_OVERFLOW for a larger file, ERR_OUT_OF_MEMORY, or the host's error.
[[nodiscard]] Z4_API Private::ErrorCodeWrapper LoadFile(const char* path, Vector<unsigned char>& content,
                                                        std::uint32_t maxSize);
[[nodiscard]] Z4_API Private::ErrorCodeWrapper LoadFile(const char* path, ZelkString& content, std::uint32_t maxSize);
/// Replaces a file by `size` bytes, or makes it. After an error what is left of it is not what was there before.
/// @param data may be null when `size` is 0.
[[nodiscard]] Z4_API Private::ErrorCodeWrapper SaveFile(const char* path, const void* data, std::uint32_t size);

} // namespace Z4
