/// @file
/// A buffer over a device: the base of most streams, and of streams of your own.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/streams/stream.h>

namespace Z4 {

/// Reads and writes a device through a buffer. A class of your own derives from this one, tells the constructor what
/// its device can do, and overrides the operations of the device. Its destructor calls CloseAtEnd(), because the device
/// no longer exists when the destructor of this class runs. One thread at a time uses a stream.
///
/// The buffer is taken from the host's memory at first use; when that is refused, the stream fails with
/// ERR_OUT_OF_MEMORY. Transfers of the buffer's size or more go past it. Moving the position within the bytes that were
/// read keeps them; moving it elsewhere, reading after writing, and writing after reading empty the buffer, which is
/// flushed before.
class Z4_API BufferedStream : public Stream {
public:
    ~BufferedStream() override;

    static constexpr std::uint32_t DEFAULT_BUFFER_SIZE = 65536;

protected:
    /// @param abilities values of Ability, combined by or. Without CAN_SEEK the device is read, or written, strictly
    /// from its beginning to its end.
    /// @param bufferSize in bytes; with 0 there is no buffer.
    explicit BufferedStream(unsigned abilities, std::uint32_t bufferSize = DEFAULT_BUFFER_SIZE);

    /// Reads, or writes, up to `size` bytes at `offset`. Fewer may be transferred; the rest is asked for in another
    /// call.
    /// @param done is 0, and receives how many bytes were transferred, also when the result is an error. After reading
    /// 0 bytes with ERR_OK, the data are taken to end there; writing 0 bytes with ERR_OK is ERR_OUT_OF_RESOURCES.
    virtual Error ReadDevice(void* buffer, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) = 0;
    virtual Error WriteDevice(const void* data, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) = 0;
    /// How many bytes the device holds; called with HAS_LENGTH only.
    virtual Error DeviceLength(std::uint64_t& length) = 0;
    Error SyncDevice() override { return ERR_OK; }
    Error CloseDevice() override { return ERR_OK; }

    /// Close(), for destructors. Nobody learns the result there, so it logs an error of level EAL_LOG_ERROR when
    /// closing fails or when bytes are left that could not be written.
    void CloseAtEnd();
    /// Begins anew at position `offset`, without an error. What the buffer held is dropped.
    void Restart(unsigned abilities, std::uint64_t offset);

    std::uint32_t ReadSlow(void* buffer, std::uint32_t size) override;
    bool Refill() override;
    bool WriteSlow(const void* data, std::uint32_t size) override;
    bool SeekTo(std::uint64_t target) override;
    std::uint64_t Position() const override;
    bool Length(std::uint64_t& length) override;
    bool FlushBuffer() override;

private:
    friend struct Private::Layout<BufferedStream>;

    /// What the buffer holds.
    enum Content : std::uint32_t {
        NO_BYTES,
        READ_BYTES,
        WRITTEN_BYTES, ///< up to the cursor, not yet on the device
    };

    bool TakeBuffer();
    void SetWindow(Content content, std::uint32_t readable, std::uint32_t writable);
    std::uint32_t Unsaved() const;

    std::uint64_t m_offset = 0; ///< on the device, of the buffer's first byte
    unsigned char* m_buffer;
    std::uint32_t m_bufferSize;
    Content m_content = NO_BYTES;
    unsigned char m_single[4] = {}; ///< for Peek() where there is no buffer
};

} // namespace Z4
