#include <algorithm>
#include <bit>
#include <zelk_core/base/strformat.h>

namespace Z4 {

char* StrFormat::FormatSize(char* buffer, unsigned size, unsigned long long value, const char* unit, int precision) {
    static constexpr const char* PREFIXES[] = {"", "Ki", "Mi", "Gi", "Ti", "Pi", "Ei"};
    constexpr int MAXIMUM_PRECISION = 9;

    unsigned prefix = value != 0 ? static_cast<unsigned>(std::bit_width(value) - 1) / 10 : 0;
    const unsigned shift = 10 * prefix;
    const unsigned long long mask = (1ULL << shift) - 1;
    const int digits = prefix != 0 ? std::clamp(precision, 0, MAXIMUM_PRECISION) : 0;
    auto whole = static_cast<unsigned>(value >> shift);
    unsigned fraction = 0;
    unsigned one = 1;
    unsigned long long rest = value & mask;
    for (int i = 0; i < digits; ++i) {
        rest *= 10;
        fraction = fraction * 10 + static_cast<unsigned>(rest >> shift);
        rest &= mask;
        one *= 10;
    }
    if (2 * rest > mask && ++fraction == one) {
        fraction = 0;
        ++whole;
    }
    if (whole == 1024) { // never at the last prefix, whose largest number is 16
        whole = 1;
        ++prefix;
    }
    const char* const suffix = unit != nullptr ? unit : "B";
    const char* const separator = prefix != 0 || *suffix != 0 ? " " : "";
    Print(buffer, size, "%u%s%.*u%s%s%s", whole, digits != 0 ? "." : "", digits, fraction, separator, PREFIXES[prefix],
          suffix);
    return buffer;
}

} // namespace Z4
