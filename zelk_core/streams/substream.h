/// @file
/// A part of another stream as a stream of its own: one file out of an archive.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/streams/bufferedstream.h>

namespace Z4 {

/// The bytes from `offset` on, `length` of them, of a stream that can seek and outlives this one. It begins at position
/// 0 and has the abilities of that stream. Several may share one, each moves it to where it needs it; close or flush
/// one that wrote before the stream beneath is used otherwise.
///
/// A length that reaches beyond the end of a stream that is only read is cut to what there is. Writing beyond the
/// length is ERR_OVERFLOW: what fits is written. A range that ends beyond INT64_MAX gives a stream with the error
/// ERR_INVALID. An error of the stream beneath is this one's, too.
class Z4_API SubStream final : public BufferedStream {
public:
    static constexpr std::uint32_t SMALL_BUFFER = 4096;

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
