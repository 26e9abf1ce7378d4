#include <zelk_core/base/assert.h>
#include <zelk_core/streams/stream.h>

namespace Z4 {

template <>
struct Private::Layout<Stream> {
    static_assert(sizeof(Stream) == 4 * sizeof(void*) + 8);
};

Stream::~Stream() = default;

bool Stream::Can(unsigned ability) {
    if (m_error != ERR_OK) {
        return false;
    }
    if ((m_abilities & ability) != ability) {
        Fail(ERR_UNSUPPORTED);
        return false;
    }
    Z4_ASSERT(m_readEnd >= m_cursor && m_writeEnd >= m_cursor,
              "Neither end of a stream's window is before its cursor.");
    return true;
}

std::uint32_t Stream::ReadMore(void* buffer, std::uint32_t size) {
    if (!Can(CAN_READ) || size == 0) {
        return 0;
    }
    const auto ready = static_cast<std::uint32_t>(m_readEnd - m_cursor);
    if (ready != 0) {
        std::memcpy(buffer, m_cursor, ready);
        Advance(ready);
    }
    return ready + ReadSlow(static_cast<unsigned char*>(buffer) + ready, size - ready);
}

bool Stream::ReadAllMore(void* buffer, std::uint32_t size) {
    const std::uint32_t read = ReadMore(buffer, size);
    if (read == size) {
        return m_error == ERR_OK;
    }
    std::memset(static_cast<unsigned char*>(buffer) + read, 0, size - read);
    Fail(ERR_CORRUPTED_DATA);
    return false;
}

bool Stream::WriteMore(const void* data, std::uint32_t size) {
    return Can(CAN_WRITE) && (size == 0 || WriteSlow(data, size));
}

const void* Stream::Peek(std::uint32_t& size) {
    size = 0;
    if (m_cursor == m_readEnd && (!Can(CAN_READ) || !Refill())) {
        return nullptr;
    }
    size = static_cast<std::uint32_t>(m_readEnd - m_cursor);
    return m_cursor;
}

bool Stream::Skip(std::uint64_t count) {
    if (count <= static_cast<std::size_t>(m_readEnd - m_cursor)) {
        Advance(static_cast<std::size_t>(count));
        return m_error == ERR_OK;
    }
    if (!Can(CAN_READ)) {
        return false;
    }
    std::uint64_t length = 0;
    if ((m_abilities & (CAN_SEEK | HAS_LENGTH)) == (CAN_SEEK | HAS_LENGTH)) {
        const std::uint64_t position = Position();
        if (!Length(length)) {
            return false;
        }
        const std::uint64_t left = position < length ? length - position : 0;
        if (!SeekTo(position + (count < left ? count : left))) {
            return false;
        }
        count -= count < left ? count : left;
    }
    while (count != 0) {
        std::uint32_t ready = 0;
        if (Peek(ready) == nullptr) {
            Fail(ERR_CORRUPTED_DATA);
            return false;
        }
        const std::size_t skipped = count < ready ? static_cast<std::size_t>(count) : ready;
        Advance(skipped);
        count -= skipped;
    }
    return true;
}

bool Stream::Seek(std::int64_t offset, SeekOrigin origin) {
    if (!Can(origin == SEEK_FROM_END ? CAN_SEEK | HAS_LENGTH : CAN_SEEK)) {
        return false;
    }
    std::uint64_t from = origin == SEEK_FROM_CURRENT ? Position() : 0;
    if (origin == SEEK_FROM_END && !Length(from)) {
        return false;
    }
    // Beyond the range in either direction, the sum of unsigned numbers is too large.
    const std::uint64_t target = from + static_cast<std::uint64_t>(offset);
    if (target > static_cast<std::uint64_t>(INT64_MAX)) {
        Fail(ERR_INVALID);
        return false;
    }
    return SeekTo(target);
}

bool Stream::GetLength(std::uint64_t& length) {
    length = 0;
    if (Can(HAS_LENGTH) && Length(length)) {
        return true;
    }
    length = 0;
    return false;
}

bool Stream::IsAtEnd() {
    std::uint32_t ready = 0;
    return Peek(ready) == nullptr;
}

bool Stream::Flush() {
    return m_error == ERR_OK && m_abilities != 0 && FlushBuffer();
}

bool Stream::Sync() {
    if (!Flush()) {
        return false;
    }
    Fail(SyncDevice());
    return m_error == ERR_OK;
}

Stream::Result Stream::Close() {
    if (m_abilities != 0) {
        if (m_error == ERR_OK) {
            FlushBuffer();
        }
        DropWindow();
        const Error error = CloseDevice();
        m_error = m_error == ERR_OK ? error : m_error;
        m_abilities = 0;
    }
    return m_error;
}

void Stream::Fail(Error error) {
    if (error == ERR_OK || m_error != ERR_OK || m_abilities == 0) {
        return;
    }
    m_error = error;
    DropWindow();
}

void Stream::DropWindow() {
    m_readEnd = m_cursor;
    m_writeEnd = m_cursor;
}

bool CopyStream(Stream& from, Stream& to, std::uint64_t limit, std::uint64_t& copied) {
    copied = 0;
    for (;;) {
        std::uint32_t ready = 0;
        const void* const data = from.Peek(ready);
        if (data == nullptr) {
            return from.GetError() == ERR_OK && to.GetError() == ERR_OK;
        }
        const std::uint64_t left = limit - copied;
        const std::uint32_t size = ready < left ? ready : static_cast<std::uint32_t>(left);
        if (size == 0) {
            from.Fail(ERR_OVERFLOW);
            return false;
        }
        if (!to.Write(data, size)) {
            return false;
        }
        from.Skip(size);
        copied += size;
    }
}

} // namespace Z4
