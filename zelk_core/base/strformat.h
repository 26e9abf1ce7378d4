#pragma once

#include <cstdarg>
#include <zelk_core/base/api.h>

namespace Z4 {

class StrFormat {
public:
    Z4_API static int vsnprintf(char* buffer, unsigned size, const char* format, va_list arguments);
    Z4_API static int snprintf(char* buffer, unsigned size, const char* format, ...);
    Z4_API static int vsnprintf(wchar_t* buffer, unsigned size, const wchar_t* format, va_list arguments);
    Z4_API static int snprintf(wchar_t* buffer, unsigned size, const wchar_t* format, ...);
    Z4_API static char* FormatSize(char* buffer, unsigned size, unsigned long long value, const char* unit,
                                   int precision);
};

} // namespace Z4
