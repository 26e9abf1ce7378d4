/// @file
/// Streams that compress what is written and expand what is read, in the zlib format (RFC 1950).
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/services/compression/compression.h>
#include <zelk_core/streams/bufferedstream.h>

namespace Z4 {

/// Reads compressed bytes from another stream and gives what they stand for, from the beginning to the end; it can
/// neither seek nor write. The stream beneath must outlive this one, and nobody else uses it meanwhile. One thread at a
/// time uses the two. When IsAtEnd() is true without an error, the stream beneath stands exactly behind the compressed
/// bytes.
///
/// Damaged data, and data that end early, make the stream fail with ERR_CORRUPTED_DATA. When the stream beneath fails,
/// this one fails with the same error; when memory is refused, with ERR_OUT_OF_MEMORY.
class Z4_API InflateStream final : public BufferedStream {
public:
    /// @param limit the most bytes that may come out. When there are more, these can be read, and then the stream fails
    /// with ERR_OVERFLOW. Compressed bytes can stand for a thousand times as many, so name a limit that you can afford
    /// for data from outside.
    InflateStream(Stream& from, std::uint64_t limit);
    ~InflateStream() override;

private:
    class Expander;

    Error ReadDevice(void* buffer, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) override;
    Error WriteDevice(const void* data, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) override;
    Error DeviceLength(std::uint64_t& length) override;
    Error Expand(void* buffer, std::uint32_t size, std::uint32_t& done);

    std::uint64_t m_left; ///< of the limit
    Stream* m_from;
    Expander* m_expander; ///< null when memory was refused
    bool m_isDone = false;
};

/// Compresses what is written to it, and writes the compressed bytes to another stream. That one must outlive this one,
/// and nobody else uses it meanwhile. One thread at a time uses the two.
///
/// Flush() passes on the compressed bytes that are finished. Only Close() ends the compressed data; without it they
/// cannot be read to their end. It does not close the stream beneath. When that fails, this stream fails with the same
/// error; after ClearError() of both, writing goes on, and nothing is lost. When memory is refused, the stream fails
/// with ERR_OUT_OF_MEMORY. The destructor closes, too, and logs an error when that fails.
class Z4_API DeflateStream final : public BufferedStream {
public:
    DeflateStream(Stream& to, CompressionInterface::cmp_level level);
    ~DeflateStream() override;

private:
    class Packer;

    Error ReadDevice(void* buffer, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) override;
    Error WriteDevice(const void* data, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) override;
    Error DeviceLength(std::uint64_t& length) override;
    Error SyncDevice() override;
    Error CloseDevice() override;

    Stream* m_to;
    Packer* m_packer; ///< null when memory was refused
};

} // namespace Z4
