#include <zelk_core/streams/substream.h>

namespace Z4 {

SubStream::SubStream(Stream& whole, std::uint64_t offset, std::uint64_t length, std::uint32_t bufferSize)
    : BufferedStream(whole.GetAbilities() | CAN_SEEK | HAS_LENGTH, bufferSize),
      m_start(offset),
      m_length(length),
      m_used(0),
      m_whole(&whole) {
    constexpr auto LARGEST = static_cast<std::uint64_t>(INT64_MAX);
    const unsigned abilities = whole.GetAbilities();
    if (offset > LARGEST || length > LARGEST - offset) {
        Fail(ERR_INVALID);
        return;
    }
    if ((abilities & CAN_SEEK) == 0) {
        Fail(ERR_UNSUPPORTED);
        return;
    }
    std::uint64_t end = offset + length;
    if ((abilities & HAS_LENGTH) != 0) {
        std::uint64_t wholeLength = 0;
        if (!whole.GetLength(wholeLength)) {
            Fail(whole.GetError());
            return;
        }
        end = end < wholeLength ? end : wholeLength > offset ? wholeLength : offset;
    }
    m_used = end - offset;
    if ((abilities & CAN_WRITE) == 0) {
        m_length = m_used;
    }
}

SubStream::~SubStream() {
    CloseAtEnd();
}

Error SubStream::ReadDevice(void* buffer, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) {
    const std::uint64_t left = offset < m_used ? m_used - offset : 0;
    const std::uint32_t wanted = size < left ? size : static_cast<std::uint32_t>(left);
    if (wanted != 0 && m_whole->Seek(static_cast<std::int64_t>(m_start + offset), SEEK_FROM_BEGIN)) {
        done = m_whole->Read(buffer, wanted);
    }
    return wanted != 0 ? m_whole->GetError() : ERR_OK;
}

Error SubStream::WriteDevice(const void* data, std::uint32_t size, std::uint64_t offset, std::uint32_t& done) {
    const std::uint64_t left = offset < m_length ? m_length - offset : 0;
    const std::uint32_t wanted = size < left ? size : static_cast<std::uint32_t>(left);
    if (wanted != 0) {
        const std::uint64_t start = m_start + offset;
        if (m_whole->Seek(static_cast<std::int64_t>(start), SEEK_FROM_BEGIN)) {
            m_whole->Write(data, wanted);
            done = static_cast<std::uint32_t>(m_whole->Tell() - start);
        }
        m_used = done != 0 && offset + done > m_used ? offset + done : m_used;
        if (m_whole->GetError() != ERR_OK) {
            return m_whole->GetError();
        }
    }
    return wanted < size ? ERR_OVERFLOW : ERR_OK;
}

Error SubStream::DeviceLength(std::uint64_t& length) {
    length = m_used;
    return ERR_OK;
}

Error SubStream::SyncDevice() {
    return m_whole->Sync() ? ERR_OK : m_whole->GetError();
}

} // namespace Z4
