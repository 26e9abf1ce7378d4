#include <cstring>
#include <zelk_core/base/hostnew.h>
#include <zelk_core/base/log.h>
#include <zelk_core/streams/bufferedstream.h>

namespace Z4 {

template <>
struct Private::Layout<BufferedStream> {
    static_assert(sizeof(BufferedStream) == sizeof(Stream) + 16 + 2 * sizeof(void*));
};

namespace {

constexpr Private::Message<unsigned, const char*> UNSAVED{EAL_LOG_ERROR, "streams/private/bufferedstream", 100,
                                                          "[Z4::BufferedStream] EAL_LOG_ERROR: A stream was destroyed "
                                                          "that could not be written to its end (%u bytes are left): "
                                                          "%s. Close streams and look at the result.\n\n"};

} // namespace

BufferedStream::BufferedStream(unsigned abilities, std::uint32_t bufferSize)
    : Stream(abilities), m_buffer(bufferSize == 0 ? m_single : nullptr), m_bufferSize(bufferSize) {
    SetWindow(NO_BYTES, 0, 0);
}

BufferedStream::~BufferedStream() {
    if (m_bufferSize != 0) {
        Private::FreeToHost(m_buffer);
    }
}

void BufferedStream::CloseAtEnd() {
    const bool isWriter = (m_abilities & CAN_WRITE) != 0;
    const bool hadFailed = m_error != ERR_OK;
    const Error error = Close();
    if (isWriter && (Unsaved() != 0 || (error != ERR_OK && !hadFailed))) {
        Private::Log(UNSAVED, Unsaved(), GetErrorString(error));
    }
}

void BufferedStream::Restart(unsigned abilities, std::uint64_t offset) {
    m_abilities = abilities;
    m_error = ERR_OK;
    m_offset = offset;
    SetWindow(NO_BYTES, 0, 0);
}

bool BufferedStream::TakeBuffer() {
    if (m_buffer == nullptr) {
        m_buffer = static_cast<unsigned char*>(Private::AllocateFromHost(m_bufferSize, 16));
        if (m_buffer == nullptr) {
            Fail(ERR_OUT_OF_MEMORY);
            return false;
        }
        SetWindow(NO_BYTES, 0, 0);
    }
    return true;
}

void BufferedStream::SetWindow(Content content, std::uint32_t readable, std::uint32_t writable) {
    m_content = content;
    m_cursor = m_buffer;
    m_readEnd = m_buffer + readable;
    m_writeEnd = m_buffer + writable;
}

std::uint32_t BufferedStream::Unsaved() const {
    return m_content == WRITTEN_BYTES ? static_cast<std::uint32_t>(m_cursor - m_buffer) : 0;
}

std::uint32_t BufferedStream::ReadSlow(void* buffer, std::uint32_t size) {
    auto* const bytes = static_cast<unsigned char*>(buffer);
    std::uint32_t read = 0;
    if (!FlushBuffer()) {
        return 0;
    }
    while (read < size) {
        const std::uint32_t left = size - read;
        std::uint32_t done = 0;
        if (left >= m_bufferSize) {
            m_offset = Position();
            SetWindow(NO_BYTES, 0, 0);
            const Error error = ReadDevice(bytes + read, left, m_offset, done);
            m_offset += done;
            Fail(error);
        } else if (Refill()) {
            const auto ready = static_cast<std::uint32_t>(m_readEnd - m_cursor);
            done = ready < left ? ready : left;
            std::memcpy(bytes + read, m_cursor, done);
            m_cursor += done;
            m_writeEnd = m_cursor;
        }
        read += done;
        if (done == 0 || m_error != ERR_OK) {
            break;
        }
    }
    return read;
}

bool BufferedStream::Refill() {
    if (!FlushBuffer() || !TakeBuffer()) {
        return false;
    }
    m_offset = Position();
    SetWindow(NO_BYTES, 0, 0);
    std::uint32_t done = 0;
    const Error error = ReadDevice(m_buffer, m_bufferSize != 0 ? m_bufferSize : 1, m_offset, done);
    if (error != ERR_OK) {
        Fail(error);
        return false;
    }
    SetWindow(READ_BYTES, done, 0);
    return done != 0;
}

bool BufferedStream::WriteSlow(const void* data, std::uint32_t size) {
    const auto* bytes = static_cast<const unsigned char*>(data);
    if (!TakeBuffer()) {
        return false;
    }
    if (m_content != WRITTEN_BYTES) {
        m_offset = Position();
        SetWindow(WRITTEN_BYTES, 0, m_bufferSize);
    }
    while (size != 0) {
        std::uint32_t done = 0;
        if (m_cursor == m_buffer && size >= m_bufferSize) {
            Error error = WriteDevice(bytes, size, m_offset, done);
            m_offset += done;
            error = error == ERR_OK && done == 0 ? ERR_OUT_OF_RESOURCES : error;
            if (error != ERR_OK) {
                Fail(error);
                return false;
            }
        } else if (m_cursor != m_writeEnd) {
            const auto room = static_cast<std::uint32_t>(m_writeEnd - m_cursor);
            done = size < room ? size : room;
            std::memcpy(m_cursor, bytes, done);
            m_cursor += done;
            m_readEnd = m_cursor;
        } else if (!FlushBuffer()) {
            return false;
        }
        bytes += done;
        size -= done;
    }
    return true;
}

bool BufferedStream::FlushBuffer() {
    if (m_content != WRITTEN_BYTES) {
        return true;
    }
    std::uint32_t unsaved = Unsaved();
    while (unsaved != 0) {
        std::uint32_t done = 0;
        Error error = WriteDevice(m_buffer, unsaved, m_offset, done);
        error = error == ERR_OK && done == 0 ? ERR_OUT_OF_RESOURCES : error;
        m_offset += done;
        unsaved -= done;
        std::memmove(m_buffer, m_buffer + done, unsaved);
        m_cursor = m_buffer + unsaved;
        m_readEnd = m_cursor;
        if (error != ERR_OK) {
            Fail(error);
            DropWindow();
            return false;
        }
    }
    SetWindow(WRITTEN_BYTES, 0, m_bufferSize);
    return true;
}

bool BufferedStream::SeekTo(std::uint64_t target) {
    if (m_content == READ_BYTES && target >= m_offset &&
        target - m_offset <= static_cast<std::uint64_t>(m_readEnd - m_buffer)) {
        m_cursor = m_buffer + (target - m_offset);
        m_writeEnd = m_cursor;
        return true;
    }
    if (target == Position()) {
        return true;
    }
    if (!FlushBuffer()) {
        return false;
    }
    m_offset = target;
    SetWindow(NO_BYTES, 0, 0);
    return true;
}

std::uint64_t BufferedStream::Position() const {
    return m_offset + static_cast<std::uint64_t>(m_cursor - m_buffer);
}

bool BufferedStream::Length(std::uint64_t& length) {
    if (const Error error = DeviceLength(length); error != ERR_OK) {
        Fail(error);
        return false;
    }
    const std::uint64_t written = Unsaved() != 0 ? Position() : 0;
    length = written > length ? written : length;
    return true;
}

} // namespace Z4
