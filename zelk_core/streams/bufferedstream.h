/// @file
/// A buffer over a device: the base of most streams, and of streams of your own.
#pragma once

#include <cstdint>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/streams/stream.h>

namespace Z4 {

/// A stream of your own derives from this, says in the constructor what it can do, and overrides the device's
/// operations. Its destructor calls CloseAtEnd(), since the device is gone when this class's runs.
///
/// The buffer comes from the host at first use; a refusal is ERR_OUT_OF_MEMORY. Transfers of its size or more bypass
/// it. A seek within what was read keeps it, another empties it, and so do reading after writing and writing after
/// reading.
class Z4_API BufferedStream : public Stream {
public:
    ~BufferedStream() override;

    static constexpr std::uint32_t DEFAULT_BUFFER_SIZE = 65536;

protected:
    /// @param abilities values of Ability, combined by or. Without CAN_SEEK, the device is read or written strictly in
    /// order.
    /// @param bufferSize in bytes; 0 for none.
    explicit BufferedStream(unsigned abilities, std::uint32_t bufferSize = DEFAULT_BUFFER_SIZE);

    /// Transfers up to `size` bytes at `offset`, in parts or as a whole.
    /// @param done receives how many, with an error too. Reading none with ERR_OK is the end of the data; writing none
    /// is ERR_OUT_OF_RESOURCES.
    virtual Error ReadDevice(void* buffer, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) = 0;
    virtual Error WriteDevice(const void* data, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) = 0;
    virtual Error DeviceLength(std::uint64_t& length) = 0;
    Error SyncDevice() override { return ERR_OK; }
    Error CloseDevice() override { return ERR_OK; }

    /// Close(), for destructors: where that fails, or bytes are left that could not be written, it logs an error, as
    /// nobody looks at the result.
    void CloseAtEnd();
    /// Begins anew at `offset`, with nothing buffered and no error.
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
