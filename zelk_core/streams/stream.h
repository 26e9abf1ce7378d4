/// @file
/// Sequences of bytes that are read and written piece by piece, wherever they lie: files, memory, compressed data,
/// parts of other streams.
///
/// A stream keeps its first error. From then on every operation fails at once: Read() gives no bytes, ReadExactly()
/// gives zeros. So a parser can read on, and look at GetError() once, at its end. ClearError() makes the stream usable
/// again. That the data are at their end is no error.
///
/// Flush() hands what was written on to what lies beneath, Sync() also makes the device store it, and Close() does the
/// last of this and returns the error that the stream has: whoever writes calls it and looks at its result.
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

/// What all streams can do. One stream, together with those that it reads from or writes to, is used by one thread at a
/// time. For a stream of your own derive from BufferedStream.
///
/// Sizes and positions are in bytes. An operation for which the stream lacks the ability is ERR_UNSUPPORTED. Operations
/// that return `bool` return false when they, or one before them, failed; GetError() tells why.
///
/// Reading and writing are compiled into their callers and work in the window, which is the part of the buffer that
/// lies ready at the stream's position; virtual operations are called only where the window ends.
class Z4_API Stream : public HostNew<Stream> {
public:
    using Result = Private::ErrorCodeWrapper;

    /// What a stream can do; combined by or.
    enum Ability : unsigned {
        CAN_READ = 1,
        CAN_WRITE = 2,
        CAN_SEEK = 4,   ///< the position can be moved
        HAS_LENGTH = 8, ///< it is known how many bytes there are
    };

    /// What was written and not flushed is lost, unless the class says that it closes.
    virtual ~Stream();
    Stream(const Stream&) = delete;
    Stream& operator=(const Stream&) = delete;

    /// Reads up to `size` bytes.
    /// @return how many were read: fewer than `size` only where the data end or the stream fails.
    std::uint32_t Read(void* buffer, std::uint32_t size) {
        if (size - 1 < static_cast<std::size_t>(m_readEnd - m_cursor)) [[likely]] {
            std::memcpy(buffer, m_cursor, size);
            Advance(size);
            return size;
        }
        return ReadMore(buffer, size);
    }
    /// Reads `size` bytes. When the data end before, the stream fails with ERR_CORRUPTED_DATA. The part of the buffer
    /// for which there were no bytes is filled with zeros.
    bool ReadExactly(void* buffer, std::uint32_t size) {
        if (size - 1 < static_cast<std::size_t>(m_readEnd - m_cursor)) [[likely]] {
            std::memcpy(buffer, m_cursor, size);
            Advance(size);
            return true;
        }
        return ReadAllMore(buffer, size);
    }
    /// Writes `size` bytes. After a failure the stream may have taken some of them: up to the position that Tell()
    /// gives.
    bool Write(const void* data, std::uint32_t size) {
        if (size - 1 < static_cast<std::size_t>(m_writeEnd - m_cursor)) [[likely]] {
            std::memcpy(m_cursor, data, size);
            m_cursor += size;
            m_readEnd = m_readEnd < m_cursor ? m_cursor : m_readEnd;
            return true;
        }
        return WriteMore(data, size);
    }

    /// The bytes that lie ready at the position, which does not move. They stay there until the next operation.
    /// @param size receives how many there are: at least 1, unless the data are at their end or the stream has failed.
    /// @return null when there are none.
    const void* Peek(std::uint32_t& size);
    /// Passes over `count` bytes. When the data end before, the stream fails with ERR_CORRUPTED_DATA.
    bool Skip(std::uint64_t count);
    /// Moves the position, which may lie beyond the end: reading there gives no bytes, and writing there puts zeros in
    /// between. A position before 0 or beyond INT64_MAX is ERR_INVALID; as every error, that one stays. SEEK_FROM_END
    /// also needs HAS_LENGTH.
    bool Seek(std::int64_t offset, SeekOrigin origin);
    /// The position, counted from the beginning; without CAN_SEEK, how many bytes were read or written so far.
    std::uint64_t Tell() const { return Position(); }
    /// Stores in `length` how many bytes there are, including those that are not flushed yet; 0 after a failure.
    bool GetLength(std::uint64_t& length);
    /// Whether nothing is left to be read; true also when the stream has failed or is closed.
    bool IsAtEnd();

    /// Hands what was written on to what lies beneath. When that fails, the stream keeps the bytes that were not taken:
    /// Flush() can be repeated after ClearError(), and nothing is lost.
    bool Flush();
    /// Flush(), and returns when what was written is on the device, which takes milliseconds.
    bool Sync();
    /// Ends the use of the stream: flushes it, unless it has failed, and lets go of what lies beneath, even when that
    /// fails. From then on, operations that read or write do nothing and fail.
    /// @return the stream's error, which is the first that nobody cleared; ERR_OK when there is none. Closing again
    /// does nothing and returns the same.
    Result Close();

    /// The first error that nobody cleared; ERR_OK when there is none.
    Error GetError() const { return m_error; }
    /// Makes `error` the stream's error, unless it has one already or is closed. Call it when you find that the data
    /// are wrong; ERR_OK changes nothing.
    void Fail(Error error);
    /// Forgets the error. The position is where the failed operation left it.
    void ClearError() { m_error = ERR_OK; }
    /// Values of Ability, combined by or; 0 for a stream that is closed.
    unsigned GetAbilities() const { return m_abilities; }

protected:
    explicit Stream(unsigned abilities) : m_abilities(abilities) {}

    /// Read() for a window that is empty. Operations report errors by Fail(), here and below.
    virtual std::uint32_t ReadSlow(void* buffer, std::uint32_t size) = 0;
    /// Puts at least one byte into the window, which is empty. @return false where the data end, and after an error.
    virtual bool Refill() = 0;
    /// Write() for more bytes than the window has room for.
    virtual bool WriteSlow(const void* data, std::uint32_t size) = 0;
    /// Moves the position to `target`, 0 to INT64_MAX.
    virtual bool SeekTo(std::uint64_t target) = 0;
    virtual std::uint64_t Position() const = 0;
    virtual bool Length(std::uint64_t& length) = 0;
    /// Flush() of a stream that has no error.
    virtual bool FlushBuffer() = 0;
    /// What Sync() does after flushing.
    virtual Error SyncDevice() = 0;
    /// What Close() does after flushing, once.
    virtual Error CloseDevice() = 0;
    /// Empties the window when the stream has failed, so that the next operation sees the error.
    virtual void DropWindow();

    /// The window begins at the cursor, where the position is. Up to `m_readEnd` there are bytes to read, up to
    /// `m_writeEnd` there is room to write. Neither end lies before the cursor.
    unsigned char* m_cursor = nullptr;
    unsigned char* m_readEnd = nullptr;
    unsigned char* m_writeEnd = nullptr;
    Error m_error = ERR_OK;
    unsigned m_abilities;

    /// Moves the position on over bytes of the window.
    void Advance(std::size_t count) {
        m_cursor += count;
        m_writeEnd = m_writeEnd < m_cursor ? m_cursor : m_writeEnd;
    }

private:
    friend struct Private::Layout<Stream>;

    bool Can(unsigned ability);
    std::uint32_t ReadMore(void* buffer, std::uint32_t size);
    bool ReadAllMore(void* buffer, std::uint32_t size);
    bool WriteMore(const void* data, std::uint32_t size);
};

/// Copies what is left of `from`, from its position to its end, to the position of `to`, which is another stream. One
/// thread may use the two meanwhile.
/// @param limit the most bytes that are copied. When there are more, these are copied, and then `from` fails with
/// ERR_OVERFLOW.
/// @param copied receives how many bytes were copied. The piece at which `to` failed is not counted, though `to` may
/// have taken a part of it.
/// @return false when one of the two streams has failed or is closed.
Z4_API bool CopyStream(Stream& from, Stream& to, std::uint64_t limit, std::uint64_t& copied);

} // namespace Z4
