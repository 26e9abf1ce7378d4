#include <zelk_core/base/hostnew.h>
#include <zelk_core/streams/memorystream.h>

namespace Z4 {

namespace {

constexpr std::uint32_t FIRST_ROOM = 256;
constexpr std::uint32_t LARGEST = 0x7FFFFFFF;

} // namespace

MemoryStream::MemoryStream() : Stream(CAN_READ | CAN_WRITE | CAN_SEEK | HAS_LENGTH), m_isGrowing(true) {}

// It is not written to, as the stream has no room for that: the window's room ends at the cursor.
MemoryStream::MemoryStream(const void* data, std::uint32_t size)
    : Stream(CAN_READ | CAN_SEEK | HAS_LENGTH),
      m_begin(static_cast<unsigned char*>(const_cast<void*>(data))),
      m_length(size) {
    OpenWindow(0);
}

MemoryStream::MemoryStream(void* memory, std::uint32_t room, std::uint32_t length)
    : Stream(CAN_READ | CAN_WRITE | CAN_SEEK | HAS_LENGTH),
      m_begin(static_cast<unsigned char*>(memory)),
      m_room(room),
      m_length(length < room ? length : room) {
    OpenWindow(0);
}

MemoryStream::~MemoryStream() {
    if (m_isGrowing) {
        Private::FreeToHost(m_begin);
    }
}

std::uint32_t MemoryStream::GetSize() const {
    const auto written = static_cast<std::uint32_t>(m_readEnd - m_begin);
    return written > m_length ? written : m_length;
}

bool MemoryStream::MoveTo(Vector<unsigned char>& content) {
    if (!m_isGrowing || !content.Assign(m_begin, GetSize())) {
        return false;
    }
    Private::FreeToHost(m_begin);
    m_begin = nullptr;
    m_room = 0;
    m_length = 0;
    OpenWindow(0);
    return true;
}

/// `position` is at most the length.
void MemoryStream::OpenWindow(std::uint32_t position) {
    m_gap = 0;
    m_cursor = m_begin + position;
    m_readEnd = m_begin + m_length;
    m_writeEnd = m_room > position ? m_begin + m_room : m_cursor;
}

void MemoryStream::DropWindow() {
    m_length = GetSize();
    Stream::DropWindow();
}

std::uint32_t MemoryStream::ReadSlow(void* buffer, std::uint32_t size) {
    if (!Refill()) {
        return 0;
    }
    const auto ready = static_cast<std::uint32_t>(m_readEnd - m_cursor);
    const std::uint32_t read = size < ready ? size : ready;
    std::memcpy(buffer, m_cursor, read);
    Advance(read);
    return read;
}

// The window holds all there is, unless an error has emptied it.
bool MemoryStream::Refill() {
    if (m_gap == 0) {
        m_length = GetSize();
        OpenWindow(static_cast<std::uint32_t>(m_cursor - m_begin));
    }
    return m_cursor != m_readEnd;
}

bool MemoryStream::Grow(std::uint64_t size) {
    if (size <= m_room) {
        return true;
    }
    if (!m_isGrowing || size > LARGEST) {
        Fail(ERR_OVERFLOW);
        return false;
    }
    std::uint64_t room = m_room != 0 ? 2 * std::uint64_t{m_room} : FIRST_ROOM;
    room = room < size ? size : room > LARGEST ? LARGEST : room;
    const auto bytes = static_cast<std::size_t>(room);
    void* const memory =
        m_begin != nullptr ? Private::ReallocateFromHost(m_begin, bytes, 16) : Private::AllocateFromHost(bytes, 16);
    if (memory == nullptr) {
        Fail(ERR_OUT_OF_MEMORY);
        return false;
    }
    m_begin = static_cast<unsigned char*>(memory);
    m_room = static_cast<std::uint32_t>(room);
    return true;
}

bool MemoryStream::WriteSlow(const void* data, std::uint32_t size) {
    const std::uint64_t position = Position();
    m_length = GetSize();
    std::uint32_t fitting = size;
    if (!Grow(position + size)) {
        const bool isFull = m_error == ERR_OVERFLOW && !m_isGrowing && position < m_room;
        if (!isFull) {
            return false;
        }
        fitting = m_room - static_cast<std::uint32_t>(position);
    }
    if (position > m_length) {
        std::memset(m_begin + m_length, 0, static_cast<std::size_t>(position - m_length));
    }
    std::memcpy(m_begin + position, data, fitting);
    const std::uint32_t end = static_cast<std::uint32_t>(position) + fitting;
    m_length = end > m_length ? end : m_length;
    OpenWindow(end);
    if (m_error != ERR_OK) {
        DropWindow();
    }
    return m_error == ERR_OK;
}

bool MemoryStream::SeekTo(std::uint64_t target) {
    m_length = GetSize();
    if (target <= m_length) {
        OpenWindow(static_cast<std::uint32_t>(target));
        return true;
    }
    OpenWindow(m_length);
    Stream::DropWindow();
    m_gap = target - m_length;
    return true;
}

std::uint64_t MemoryStream::Position() const {
    return m_gap + static_cast<std::uint64_t>(m_cursor - m_begin);
}

bool MemoryStream::Length(std::uint64_t& length) {
    length = GetSize();
    return true;
}

} // namespace Z4
