#include <zelk_core/base/str.h>
#include <zelk_core/base/utf.h>
#include <zelk_core/streams/streamreader.h>

namespace Z4 {

namespace {

/// So much memory is taken on the word of a stream whose length nobody knows.
constexpr std::uint32_t FIRST_PART = 65536;

} // namespace

bool StreamReader::IsPlausible(std::uint64_t count, std::size_t size) {
    if (m_stream->GetError() != ERR_OK || count > m_budget / size) {
        return false;
    }
    std::uint64_t length = 0;
    if ((m_stream->GetAbilities() & Stream::HAS_LENGTH) != 0) {
        const std::uint64_t position = m_stream->Tell();
        if (!m_stream->GetLength(length) || count > (position < length ? length - position : 0) / size) {
            return false;
        }
    }
    m_budget -= count * size;
    return true;
}

std::uint32_t StreamReader::NextPart(std::uint32_t before, std::uint32_t count, std::size_t size) const {
    if ((m_stream->GetAbilities() & Stream::HAS_LENGTH) != 0) {
        return count;
    }
    const auto first = static_cast<std::uint32_t>(FIRST_PART / size);
    const std::uint32_t part = before > first ? before : first;
    return part < count ? part : count;
}

std::uint64_t StreamReader::ReadVarint() {
    std::uint64_t value = 0;
    for (unsigned shift = 0;; shift += 7) {
        const std::uint8_t byte = Read<std::uint8_t>();
        const bool isTooLarge = shift == 63 && byte > 1;
        const bool isOverlong = shift != 0 && byte == 0;
        if (isTooLarge || isOverlong) {
            break;
        }
        value |= std::uint64_t{byte & 0x7FU} << shift;
        if (byte < 0x80) {
            return value;
        }
    }
    m_stream->Fail(ERR_CORRUPTED_DATA);
    return 0;
}

bool StreamReader::ReadBytes(ZelkString& text, std::uint32_t size) {
    text.Clear();
    while (size != 0 && m_stream->GetError() == ERR_OK) {
        const std::uint32_t before = text.Size();
        const std::uint32_t part = NextPart(before, size, 1);
        char* const room = text.Resize(before + part) ? text.Edit() : nullptr;
        if (room == nullptr) {
            m_stream->Fail(ERR_OUT_OF_MEMORY);
        } else if (m_stream->ReadExactly(room + before, part)) {
            size -= part;
        }
    }
    if (m_stream->GetError() != ERR_OK) {
        text.Clear();
    }
    return m_stream->GetError() == ERR_OK;
}

bool StreamReader::ReadString(ZelkString& text, std::uint32_t maxSize) {
    const auto size = Read<std::uint32_t>();
    if (size > maxSize || !IsPlausible(size, 1)) {
        m_stream->Fail(ERR_CORRUPTED_DATA);
    }
    return ReadBytes(text, size);
}

bool StreamReader::ReadUtf8String(ZelkString& text, std::uint32_t maxSize) {
    if (ReadString(text, maxSize) && !Utf::IsValidUtf8(text)) {
        text.Clear();
        m_stream->Fail(ERR_CORRUPTED_DATA);
    }
    return m_stream->GetError() == ERR_OK;
}

bool StreamReader::ReadFixedString(char* text, std::uint32_t fieldSize) {
    const bool isRead = m_stream->ReadExactly(text, fieldSize);
    text[isRead ? fieldSize : 0] = '\0';
    return isRead;
}

/// Leaves the text where it is too long, and at the end of the stream.
bool StreamReader::ReadUpTo(ZelkString& text, std::uint32_t maxSize, char end, bool& isEnded) {
    text.Clear();
    isEnded = false;
    std::uint32_t ready = 0;
    while (!isEnded) {
        const auto* const bytes = static_cast<const char*>(m_stream->Peek(ready));
        if (bytes == nullptr) {
            break;
        }
        const void* const found = std::memchr(bytes, end, ready);
        isEnded = found != nullptr;
        const std::uint32_t size =
            isEnded ? static_cast<std::uint32_t>(static_cast<const char*>(found) - bytes) : ready;
        if (size > maxSize - text.Size() || !IsPlausible(size, 1)) {
            m_stream->Fail(ERR_CORRUPTED_DATA);
        } else if (!text.Append(StrView(bytes, size))) {
            m_stream->Fail(ERR_OUT_OF_MEMORY);
        } else {
            m_stream->Skip(isEnded ? size + 1 : size);
        }
    }
    if (m_stream->GetError() != ERR_OK) {
        text.Clear();
    }
    return m_stream->GetError() == ERR_OK;
}

bool StreamReader::ReadTerminated(ZelkString& text, std::uint32_t maxSize) {
    bool isEnded = false;
    if (ReadUpTo(text, maxSize, '\0', isEnded) && !isEnded) {
        text.Clear();
        m_stream->Fail(ERR_CORRUPTED_DATA);
    }
    return m_stream->GetError() == ERR_OK;
}

bool StreamReader::ReadLine(ZelkString& text, std::uint32_t maxSize) {
    bool isEnded = false;
    if (!ReadUpTo(text, maxSize, '\n', isEnded)) {
        return false;
    }
    if (isEnded && text.EndsWith("\r")) {
        text.Resize(text.Size() - 1);
    }
    return isEnded || !text.IsEmpty();
}

bool StreamReader::ReadRecord(void* record, const SwapLayout& layout) {
    const bool isRead = m_stream->ReadExactly(record, layout.recordSize);
    if (isRead && m_isSwapped) {
        StructureSwap::Record(record, layout);
    }
    return isRead;
}

} // namespace Z4
