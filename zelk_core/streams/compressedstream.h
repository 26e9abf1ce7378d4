/// @file
/// Streams that compress what is written and expand what is read, in the zlib format (RFC 1950).
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/services/compression/compression.h>
#include <zelk_core/streams/bufferedstream.h>

namespace Z4 {

/// Expands what it reads from a stream, which outlives it and is used by nobody else meanwhile. It is read from the
/// beginning to the end only. When its end is reached, the stream beneath stands exactly behind the compressed bytes.
///
/// Damaged data, and such that end early, are ERR_CORRUPTED_DATA, and an error of the stream beneath is this one's,
/// too. ERR_OUT_OF_MEMORY is memory that was refused.
class Z4_API InflateStream final : public BufferedStream {
public:
    /// @param limit the most bytes that may come out; more are ERR_OVERFLOW, after these. A few compressed bytes can
    /// stand for a thousand times as many, so a limit belongs to all data that come from outside.
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

/// Compresses what is written to it into a stream, which outlives it and is used by nobody else meanwhile. Flush()
/// passes on what is finished; only Close() ends the compressed data, and without it they cannot be read to their end.
/// An error of the stream beneath is this one's, too. Where both are cleared, writing goes on, and nothing is lost.
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
