#include <cstddef>
#include <cstring>
#include <zelk_core/base/strformat.h>
#include <zelk_core/services/runtimetype/variabletype.h>

namespace Z4 {

template <>
struct Private::Layout<VariableType> {
    static_assert(offsetof(VariableType, m_tag) == 0);
    static_assert(sizeof(VariableType) == 4);
};

namespace {

template <class T>
T Read(const void* value) {
    T result;
    std::memcpy(&result, value, sizeof(result));
    return result;
}

unsigned int WideLength(const wchar_t* text) {
    unsigned int length = 0;
    while (text[length] != 0) {
        ++length;
    }
    return length;
}

/// The code point at `text[i]`, moving `i` past it; a zero ends the text.
std::uint32_t DecodeUtf16(const wchar_t* text, unsigned int length, unsigned int& i) {
    constexpr std::uint32_t REPLACEMENT = 0xFFFD;
    const std::uint32_t unit = text[i++];
    if (unit < 0xD800 || unit > 0xDFFF) {
        return unit;
    }
    const std::uint32_t low = i < length ? text[i] : 0;
    if (unit > 0xDBFF || low < 0xDC00 || low > 0xDFFF) {
        return REPLACEMENT;
    }
    ++i;
    return 0x10000 + ((unit - 0xD800) << 10) + (low - 0xDC00);
}

/// @return how many bytes of `bytes` the code point takes.
unsigned int EncodeUtf8(std::uint32_t codePoint, unsigned char bytes[4]) {
    if (codePoint < 0x80) {
        bytes[0] = static_cast<unsigned char>(codePoint);
        return 1;
    }
    const unsigned int count = codePoint < 0x800 ? 2 : codePoint < 0x10000 ? 3 : 4;
    for (unsigned int i = count - 1; i > 0; --i) {
        bytes[i] = static_cast<unsigned char>(0x80 | (codePoint & 0x3F));
        codePoint >>= 6;
    }
    bytes[0] = static_cast<unsigned char>((0xF00U >> count & 0xF0) | codePoint);
    return count;
}

int PrintWide(char* buffer, unsigned int size, const wchar_t* text, unsigned int length) {
    unsigned int written = 0;
    for (unsigned int i = 0; i < length;) {
        unsigned char bytes[4];
        const unsigned int count = EncodeUtf8(DecodeUtf16(text, length, i), bytes);
        for (unsigned int k = 0; k < count; ++k, ++written) {
            if (buffer != nullptr && written + 1 < size) {
                buffer[written] = static_cast<char>(bytes[k]);
            }
        }
    }
    if (buffer != nullptr && size != 0) {
        buffer[written < size ? written : size - 1] = '\0';
    }
    return static_cast<int>(written);
}

} // namespace

unsigned int VariableType::Size(void* value) const {
    if (!IsString() || value == nullptr) {
        return Size();
    }
    if (m_tag == VARIABLE_STRING) {
        const char* const text = Read<const char*>(value);
        return text == nullptr ? 0 : static_cast<unsigned int>(std::strlen(text)) + 1;
    }
    const wchar_t* const text = Read<const wchar_t*>(value);
    return text == nullptr ? 0 : (WideLength(text) + 1) * static_cast<unsigned int>(sizeof(wchar_t));
}

void VariableType::SwapByte(void* value) const {
    if (value == nullptr || IsPointer()) {
        return;
    }
    auto* const bytes = static_cast<unsigned char*>(value);
    for (unsigned int low = 0, high = Size(); low + 1 < high; ++low) {
        --high;
        const unsigned char byte = bytes[low];
        bytes[low] = bytes[high];
        bytes[high] = byte;
    }
}

int VariableType::Print(char* buffer, unsigned int size, void* value) const {
    const auto print = [=](const char* format, auto argument) {
        return StrFormat::snprintf(buffer, size, format, argument);
    };
    switch (value == nullptr ? static_cast<unsigned int>(VARIABLE_NONE) : m_tag) {
    case VARIABLE_BOOL:
        return print("%s", Read<unsigned char>(value) != 0 ? "true" : "false");
    case VARIABLE_CHAR:
        return print("%c", static_cast<int>(Read<unsigned char>(value)));
    case VARIABLE_WCHAR: {
        const wchar_t character = Read<wchar_t>(value);
        return PrintWide(buffer, size, &character, 1);
    }
    case VARIABLE_INT8:
        return print("%d", static_cast<int>(Read<std::int8_t>(value)));
    case VARIABLE_UINT8:
        return print("%u", static_cast<unsigned int>(Read<std::uint8_t>(value)));
    case VARIABLE_INT16:
        return print("%d", static_cast<int>(Read<std::int16_t>(value)));
    case VARIABLE_UINT16:
        return print("%u", static_cast<unsigned int>(Read<std::uint16_t>(value)));
    case VARIABLE_INT32:
        return print("%d", Read<std::int32_t>(value));
    case VARIABLE_UINT32:
        return print("%u", Read<std::uint32_t>(value));
    case VARIABLE_INT64:
        return print("%lld", static_cast<long long>(Read<std::int64_t>(value)));
    case VARIABLE_UINT64:
        return print("%llu", static_cast<unsigned long long>(Read<std::uint64_t>(value)));
    case VARIABLE_FLOAT:
        return print("%g", static_cast<double>(Read<float>(value)));
    case VARIABLE_DOUBLE:
        return print("%.9g", Read<double>(value));
    case VARIABLE_POINTER:
        return print("0x%08X", Read<unsigned int>(value));
    case VARIABLE_STRING: {
        const char* const text = Read<const char*>(value);
        return print("%s", text != nullptr ? text : "(null)");
    }
    case VARIABLE_WSTRING: {
        const wchar_t* const text = Read<const wchar_t*>(value);
        return text != nullptr ? PrintWide(buffer, size, text, WideLength(text)) : print("%s", "(null)");
    }
    default:
        return print("%s", "");
    }
}

} // namespace Z4
