#include <cstddef>
#include <cstring>
#include <zelk_core/base/byteorder.h>
#include <zelk_core/base/str.h>
#include <zelk_core/base/strformat.h>
#include <zelk_core/base/utf.h>
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

int PrintWide(char* buffer, unsigned int size, WStrView text) {
    std::size_t length = 0;
    Utf::ToUtf8Lossy(buffer, buffer != nullptr ? size : 0, text, length);
    return static_cast<int>(length);
}

} // namespace

unsigned int VariableType::Size(void* value) const {
    if (!IsString() || value == nullptr) {
        return Size();
    }
    if (m_tag == VARIABLE_STRING) {
        const char* const text = Read<const char*>(value);
        return text == nullptr ? 0 : static_cast<unsigned int>(Str::Length(text)) + 1;
    }
    const wchar_t* const text = Read<const wchar_t*>(value);
    return text == nullptr ? 0 : static_cast<unsigned int>((Str::Length(text) + 1) * sizeof(wchar_t));
}

void VariableType::SwapByte(void* value) const {
    if (value == nullptr || IsPointer()) {
        return;
    }
    switch (Size()) {
    case 2:
        return StoreBig(value, LoadLittle<std::uint16_t>(value));
    case 4:
        return StoreBig(value, LoadLittle<std::uint32_t>(value));
    case 8:
        return StoreBig(value, LoadLittle<std::uint64_t>(value));
    default:
        return;
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
        return PrintWide(buffer, size, {&character, 1});
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
        return text != nullptr ? PrintWide(buffer, size, text) : print("%s", "(null)");
    }
    default:
        return print("%s", "");
    }
}

} // namespace Z4
