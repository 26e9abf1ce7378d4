// The text of numbers: the digits of a double are the successive quotients by powers of ten, as they are defined, and a
// size is shown as the nearest of its precision. Each 12 bytes of the input are a number and how to print it.
#include "body.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <string>
#include <zelk_core/base/strformat.h>

namespace {

using Z4::StrFormat;

struct Choices {
    std::uint64_t bits;
    std::uint16_t exponent;
    std::uint8_t precision;
    std::uint8_t kind;
};
constexpr std::size_t RECORD = 12;

constexpr double LARGEST = 1e64;

void Require(bool holds, const char* law, double value, const std::string& text) {
    if (!holds) {
        std::fprintf(stderr, "%s: %a as %s\n", law, value, text.c_str());
        std::abort();
    }
}

/// The digits, one after the other. Magnitudes up to 1e64.
class Quotients {
public:
    Quotients() {
        for (std::size_t i = 0; i < m_powers.size(); ++i) {
            m_powers[i] = std::strtod(("1e" + std::to_string(i)).c_str(), nullptr);
        }
    }

    std::string Text(double value, unsigned precision) const {
        double rest = std::fabs(value);
        unsigned count = 0;
        while (count <= 64 && rest >= m_powers[count]) {
            ++count;
        }
        std::string text = count != 0 ? Digits(rest, count) : "0";
        if (precision != 0) {
            rest *= m_powers[precision];
            text += '.' + Digits(rest, precision);
        }
        if (rest >= 0.5) {
            auto digit = text.rbegin();
            for (; digit != text.rend() && (*digit == '9' || *digit == '.'); ++digit) {
                *digit = *digit == '.' ? '.' : '0';
            }
            if (digit == text.rend()) {
                text = '1' + text;
            } else {
                ++*digit;
            }
        }
        return (value < 0 ? "-" : "") + text;
    }

private:
    std::string Digits(double& rest, unsigned count) const {
        std::string digits;
        while (count != 0) {
            const double power = m_powers[--count];
            const double digit = std::clamp(std::floor(rest / power), 0.0, 9.0);
            rest -= digit * power;
            digits += static_cast<char>('0' + static_cast<int>(digit));
        }
        return digits;
    }

    std::array<double, 256> m_powers;
};

/// Thousandths, multiples of powers of ten with their neighbours, or any magnitude, each power of two equally often.
double Magnitude(const Choices& choices) {
    switch (choices.kind % 4) {
    case 0:
        return static_cast<double>(choices.bits % 2000000) / 1000;
    case 1: {
        const double edge = static_cast<double>(choices.bits % 9 + 1) * std::pow(10, choices.exponent % 65);
        const double neighbours[] = {std::nextafter(edge, 0), edge, std::nextafter(edge, 2 * edge)};
        return neighbours[choices.bits / 9 % 3];
    }
    default:
        return std::ldexp(static_cast<double>(choices.bits >> 11), choices.exponent % 460 - 300);
    }
}

void PrintNumber(const Choices& choices) {
    static const Quotients quotients;
    const double magnitude = std::min(Magnitude(choices), LARGEST);
    const double value = choices.kind >= 128 ? -magnitude : magnitude;
    const unsigned precision = choices.precision % (choices.kind % 8 == 2 ? 120u : 20u);
    char text[400];
    StrFormat::snprintf(text, sizeof(text), "%.*f", precision, value);
    Require(text == quotients.Text(value, precision), "not the successive quotients", value, text);
}

void PrintSize(const Choices& choices) {
    const unsigned long long value = choices.bits >> (choices.exponent % 53);
    const int precision = choices.precision % 4;
    char text[64];
    StrFormat::FormatSize(text, sizeof(text), value, "", precision);
    char* end = nullptr;
    const double shown = std::strtod(text, &end);
    const int prefix = *end == 0 ? 0 : static_cast<int>(std::string("KMGTPE").find(end[1])) + 1;
    const double exact = std::ldexp(static_cast<double>(value), -10 * prefix);
    const double half = prefix == 0 ? 0 : 0.5 * std::pow(10, -precision);
    Require(std::fabs(shown - exact) <= half + 1e-12 * exact && shown < 1024, "not the nearest size", exact, text);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    for (; size >= RECORD; data += RECORD, size -= RECORD) {
        Choices choices;
        std::memcpy(&choices, data, RECORD);
        PrintNumber(choices);
        PrintSize(choices);
    }
    return 0;
}
