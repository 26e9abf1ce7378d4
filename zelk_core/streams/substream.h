/// @file
/// A part of another stream as a stream of its own: one file out of an archive.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/streams/bufferedstream.h>

namespace Z4 {

/// The `length` bytes from `offset` on of another stream, the whole, which must be able to seek and must outlive this
/// one. The part has positions of its own, from 0 on, and can read and write if the whole can. One thread at a time
/// uses the whole and all its parts.
///
/// Several parts may share a whole: each moves the position of the whole to where it needs it. A part that was written
/// is flushed or closed before the whole, or another part, is used.
///
/// When the whole can only be read and ends before the part would, the part ends there, too. When the whole can be
/// written, writing to the part may make the whole longer; writing beyond `length` is ERR_OVERFLOW, and what fits is
/// written. A part whose end lies beyond INT64_MAX has the error ERR_INVALID from the start, and one of a stream that
/// cannot seek ERR_UNSUPPORTED. When the whole fails, the part fails with the same error; after ClearError() of both
/// it can be used again.
///
/// The destructor closes the part, and logs an error when something could not be written. It does not close the whole.
class Z4_API SubStream final : public BufferedStream {
public:
    /// The usual size of the buffer: the whole has one, too.
    static constexpr std::uint32_t SMALL_BUFFER = 4096;

    /// @param bufferSize in bytes; with 0 there is no buffer.
    SubStream(Stream& whole, std::uint64_t offset, std::uint64_t length, std::uint32_t bufferSize = SMALL_BUFFER);
    ~SubStream() override;

private:
    Error ReadDevice(void* buffer, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) override;
    Error WriteDevice(const void* data, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) override;
    Error DeviceLength(std::uint64_t& length) override;
    Error SyncDevice() override;

    std::uint64_t m_start;
    std::uint64_t m_length;
    std::uint64_t m_used; ///< of a stream that is written, how far there are bytes
    Stream* m_whole;
};

} // namespace Z4
