#include <fast_float/fast_float.h>
#include <zelk_core/base/private/decimal.h>

namespace Z4::Private {

namespace {

template <class Number>
bool Read(const char* begin, const char* end, Number& value) {
    const fast_float::from_chars_result result = fast_float::from_chars(begin, end, value);
    return result.ec == std::errc() && result.ptr == end;
}

} // namespace

bool ReadDecimal(const char* begin, const char* end, double& value) {
    return Read(begin, end, value);
}

bool ReadDecimal(const char* begin, const char* end, float& value) {
    return Read(begin, end, value);
}

} // namespace Z4::Private
