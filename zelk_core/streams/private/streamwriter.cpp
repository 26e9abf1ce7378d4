#include <zelk_core/base/str.h>
#include <zelk_core/streams/streamwriter.h>

namespace Z4 {

bool StreamWriter::WriteVarint(std::uint64_t value) {
    std::uint8_t bytes[10];
    std::uint32_t count = 0;
    for (; value >= 0x80; value >>= 7) {
        bytes[count++] = static_cast<std::uint8_t>(value | 0x80);
    }
    bytes[count++] = static_cast<std::uint8_t>(value);
    return m_stream->Write(bytes, count);
}

bool StreamWriter::WriteString(StrView text) {
    if (text.Size() > 0xFFFFFFFFU) {
        m_stream->Fail(ERR_OVERFLOW);
        return false;
    }
    const auto size = static_cast<std::uint32_t>(text.Size());
    return Write(size) && m_stream->Write(text.Data(), size);
}

bool StreamWriter::WriteFixedString(StrView text, std::uint32_t fieldSize) {
    if (text.Size() > fieldSize) {
        m_stream->Fail(ERR_OVERFLOW);
        return false;
    }
    const auto size = static_cast<std::uint32_t>(text.Size());
    return m_stream->Write(text.Data(), size) && WriteZeros(fieldSize - size);
}

bool StreamWriter::WriteTerminated(StrView text) {
    const char zero = '\0';
    if (Str::Find(text, {&zero, 1}) != Str::NPOS) {
        m_stream->Fail(ERR_INVALID);
        return false;
    }
    return m_stream->Write(text.Data(), static_cast<std::uint32_t>(text.Size())) && m_stream->Write(&zero, 1);
}

bool StreamWriter::WriteRecord(const void* record, const SwapLayout& layout) {
    if (!m_isSwapped) {
        return m_stream->Write(record, layout.recordSize);
    }
    unsigned char swapped[1024];
    if (layout.recordSize > sizeof(swapped)) {
        m_stream->Fail(ERR_OVERFLOW);
        return false;
    }
    StructureSwap::Record(swapped, record, layout);
    return m_stream->Write(swapped, layout.recordSize);
}

bool StreamWriter::Align(std::uint32_t alignment) {
    const auto over = static_cast<std::uint32_t>(m_stream->Tell() % alignment);
    return WriteZeros(over != 0 ? alignment - over : 0);
}

bool StreamWriter::WriteZeros(std::uint32_t count) {
    static constexpr char ZEROS[64] = {};
    while (count > sizeof(ZEROS)) {
        m_stream->Write(ZEROS, sizeof(ZEROS));
        count -= sizeof(ZEROS);
    }
    return m_stream->Write(ZEROS, count) && m_stream->GetError() == ERR_OK;
}

} // namespace Z4
