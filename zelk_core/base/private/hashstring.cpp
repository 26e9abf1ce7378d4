#include <zelk_core/base/private/hashbytes.h>
#include <zelk_core/base/strview.h>

namespace Z4::Private {

static_assert(sizeof(wchar_t) == 2, "a wide string is one of 16-bit units");

Bytes BytesOf(const char* string) {
    return {reinterpret_cast<const unsigned char*>(string), static_cast<unsigned>(TextLength(string))};
}

Bytes BytesOf(const wchar_t* string) {
    return {reinterpret_cast<const unsigned char*>(string),
            static_cast<unsigned>(TextLength(string) * sizeof(wchar_t))};
}

} // namespace Z4::Private
