/// @file
/// Streams over memory: to read what is there, to write into room that is there, or to collect what is written.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/generics/vector.h>
#include <zelk_core/streams/stream.h>

namespace Z4 {

/// A stream over memory of its own, or over memory of the caller's, which must stay there as long as the stream does.
/// One thread at a time uses a stream. When the host refuses memory, the stream fails with ERR_OUT_OF_MEMORY and keeps
/// what it holds.
class Z4_API MemoryStream final : public Stream {
public:
    /// Collects what is written, and can read it, in memory of the host's, which is doubled when it is full. More than
    /// 0x7FFFFFFF bytes are ERR_OVERFLOW.
    MemoryStream();
    /// Reads the `size` bytes from `data` on, which may be null when `size` is 0.
    MemoryStream(const void* data, std::uint32_t size);
    /// Reads and writes in place: `memory` has room for `room` bytes, of which the first `length` are there to be read.
    /// Writing beyond the room is ERR_OVERFLOW, and what fits is written. A `length` above `room` counts as `room`.
    MemoryStream(void* memory, std::uint32_t room, std::uint32_t length);
    ~MemoryStream() override;

    /// The bytes that the stream holds, from the first on; GetSize() tells how many. They stay there until the next
    /// operation that writes, also when the stream has failed or is closed. May be null when there are none.
    const unsigned char* GetData() const { return m_begin; }
    /// How many bytes the stream holds.
    std::uint32_t GetSize() const;
    /// Puts what the stream holds into `content`, in the place of what that held, and leaves the stream empty, at
    /// position 0. It is for a stream with memory of its own; such a one may also have failed or be closed.
    /// @return false, with the stream as it was, when memory for the copy is refused, and for other streams.
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
