/// @file
/// Sequences of bytes that are read and written piece by piece, wherever they lie: files, memory, compressed data,
/// parts of other streams.
///
/// A stream keeps its first error. After it every operation fails at once and reads give zeros, so a parser need look
/// at GetError() only once, at its end. ClearError() makes the stream usable again. The end of the data is no error.
///
/// Flush() hands bytes on to what lies beneath, Sync() also makes the device write, and Close() reports the first error
/// of the stream's life that nobody cleared: whoever writes calls it and looks at its result.
#pragma once

#include <cstddef>
#include <cstdint>
#include <cstring>
#include <zelk_core/base/api.h>
#include <zelk_core/base/error.h>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/layout.h>
#include <zelk_core/eal_utils/ealfile.h>

namespace Z4 {

/// One stream, used by one thread at a time. Classes of your own derive from BufferedStream.
///
/// Most operations are compiled into their callers: they work within the window, the bytes that lie ready at the
/// cursor, and call a virtual operation only where it ends.
class Z4_API Stream : public HostNew<Stream> {
public:
    using Result = Private::ErrorCodeWrapper;

    enum Ability : unsigned {
        CAN_READ = 1,
        CAN_WRITE = 2,
        CAN_SEEK = 4,
        HAS_LENGTH = 8,
    };

    virtual ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    /// Reads up to `size` bytes. An operation that the stream has no ability for is ERR_UNSUPPORTED, here and below.
    /// @return how many; fewer only at the end or after an error.
    std::uint32_t Read(void* buffer, std::uint32_t size) {
        if (size - 1 < static_cast<std::size_t>(m_readEnd - m_cursor)) [[likely]] {
            std::memcpy(buffer, m_cursor, size);
            Advance(size);
            return size;
        }
        return ReadMore(buffer, size);
    }
    /// Reads `size` bytes. An early end is ERR_CORRUPTED_DATA. What of the buffer could not be read is filled with
    /// zeros.
    bool ReadExactly(void* buffer, std::uint32_t size) {
        if (size - 1 < static_cast<std::size_t>(m_readEnd - m_cursor)) [[likely]] {
            std::memcpy(buffer, m_cursor, size);
            Advance(size);
            return true;
        }
        return ReadAllMore(buffer, size);
    }
    /// Writes `size` bytes. After a failure Tell() says up to which the stream has taken them.
    bool Write(const void* data, std::uint32_t size) {
        if (size - 1 < static_cast<std::size_t>(m_writeEnd - m_cursor)) [[likely]] {
            std::memcpy(m_cursor, data, size);
            m_cursor += size;
            m_readEnd = m_readEnd < m_cursor ? m_cursor : m_readEnd;
            return true;
        }
        return WriteMore(data, size);
    }

    /// What lies ready to be read, without a copy and without reading it: `size` bytes, at least one unless the stream
    /// is at its end or has failed. Good until the next operation.
    const void* Peek(std::uint32_t& size);
    /// Reads `count` bytes without looking at them. An early end is ERR_CORRUPTED_DATA.
    bool Skip(std::uint64_t count);
    /// Moves the position, also beyond the end, where reads find nothing; a write there leaves zeros between. A
    /// position before 0 or beyond INT64_MAX is ERR_INVALID.
    bool Seek(std::int64_t offset, SeekOrigin origin);
    /// The position, in bytes from the beginning; without CAN_SEEK, how many bytes were read or written.
    std::uint64_t Tell() const { return Position(); }
    /// How many bytes there are, those included that are not flushed yet; 0 with a failure.
    bool GetLength(std::uint64_t& length);
    /// Whether nothing is left to be read; true also after an error.
    bool IsAtEnd();

    /// Hands what was written on to what lies beneath. A failed one keeps the bytes that were not taken: after
    /// ClearError(), it can be repeated, and nothing is lost.
    bool Flush();
    /// Flush(), and returns when the bytes are on the device, which takes milliseconds.
    bool Sync();
    /// Flush(), unless the stream has failed, and lets go of what lies beneath, whatever happens. Operations of a
    /// closed stream do nothing and fail.
    /// @return the first error that nobody cleared; the same when called again.
    Result Close();

    Error GetError() const { return m_error; }
    /// Makes `error` the stream's, unless it has one already or is closed: for who finds that the data are wrong.
    void Fail(Error error);
    void ClearError() { m_error = ERR_OK; }
    /// Values of Ability, combined by or; 0 for a stream that is closed.
    unsigned GetAbilities() const { return m_abilities; }

protected:
    explicit Stream(unsigned abilities) : m_abilities(abilities) {}

    /// Reads when the window is empty; as Read(). Errors are reported by Fail(), here and below.
    virtual std::uint32_t ReadSlow(void* buffer, std::uint32_t size) = 0;
    /// Puts at least one byte into the empty window. @return false at the end.
    virtual bool Refill() = 0;
    /// Writes where the window has too little room.
    virtual bool WriteSlow(const void* data, std::uint32_t size) = 0;
    /// @param target 0 to INT64_MAX.
    virtual bool SeekTo(std::uint64_t target) = 0;
    virtual std::uint64_t Position() const = 0;
    virtual bool Length(std::uint64_t& length) = 0;
    virtual bool FlushBuffer() = 0;
    virtual Error SyncDevice() = 0;
    virtual Error CloseDevice() = 0;
    /// Empties the window, so that every operation comes to see the error.
    virtual void DropWindow();

    /// The window: from the cursor on, bytes to read up to `m_readEnd` and room to write up to `m_writeEnd`. Neither
    /// end lies before the cursor.
    unsigned char* m_cursor = nullptr;
    unsigned char* m_readEnd = nullptr;
    unsigned char* m_writeEnd = nullptr;
    Error m_error = ERR_OK;
    unsigned m_abilities;

private:
    friend struct Private::Layout<Stream>;

    void Advance(std::size_t count) {
        m_cursor += count;
        m_writeEnd = m_writeEnd < m_cursor ? m_cursor : m_writeEnd;
    }
    bool Can(unsigned ability);
    std::uint32_t ReadMore(void* buffer, std::uint32_t size);
    bool ReadAllMore(void* buffer, std::uint32_t size);
    bool WriteMore(const void* data, std::uint32_t size);
};

/// Copies from where `from` stands up to its end.
/// @param limit the most bytes that are copied; where there are more, `from` fails with ERR_OVERFLOW.
/// @param copied receives how many were.
/// @return false when one of the two streams failed.
Z4_API bool CopyStream(Stream& from, Stream& to, std::uint64_t limit, std::uint64_t& copied);

} // namespace Z4
