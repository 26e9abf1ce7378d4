/// @file
/// Streams over memory: to read what is there, to write into room that is there, or to collect what is written.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/generics/vector.h>
#include <zelk_core/streams/stream.h>

namespace Z4 {

/// A stream over memory of the caller's, which must outlive it, or over memory of its own. Where memory is refused, the
/// stream fails with ERR_OUT_OF_MEMORY, and what it holds stays as it is.
class Z4_API MemoryStream final : public Stream {
public:
    /// Collects what is written in memory of the host's, doubling it as it fills; up to 2 GiB, beyond which
    /// ERR_OVERFLOW stands. It can be read, too.
    MemoryStream();
    /// Reads `size` bytes.
    MemoryStream(const void* data, std::uint32_t size);
    /// Reads and writes `length` bytes with room for `room` of them; beyond that ERR_OVERFLOW stands, and what fits is
    /// written.
    MemoryStream(void* memory, std::uint32_t room, std::uint32_t length);
    ~MemoryStream() override;

    /// What the stream holds, from the beginning; good until the next operation that writes. May be null when it is
    /// empty.
    const unsigned char* GetData() const { return m_begin; }
    std::uint32_t GetSize() const;
    /// Gives what the stream holds to `content`, in the place of what it held, and leaves the stream empty, at position
    /// 0; for a stream that collects. Closed ones have given all to nobody: call this before.
    /// @return false, with nothing lost, when memory is refused, and for other streams.
    bool MoveTo(Vector<unsigned char>& content);

private:
    friend struct Private::Layout<MemoryStream>;

    std::uint32_t ReadSlow(void* buffer, std::uint32_t size) override;
    bool Refill() override;
    bool WriteSlow(const void* data, std::uint32_t size) override;
    bool SeekTo(std::uint64_t target) override;
    std::uint64_t Position() const override;
    bool Length(std::uint64_t& length) override;
    bool FlushBuffer() override { return true; }
    Error SyncDevice() override { return ERR_OK; }
    Error CloseDevice() override { return ERR_OK; }
    void DropWindow() override;

    bool Grow(std::uint64_t size);
    void OpenWindow(std::uint32_t position);

    std::uint64_t m_gap = 0; ///< how far the position lies beyond the end; the window is empty then
    unsigned char* m_begin = nullptr;
    std::uint32_t m_room = 0;
    std::uint32_t m_length = 0; ///< but for what was written within the window since it was opened
    bool m_isGrowing = false;
};

} // namespace Z4
