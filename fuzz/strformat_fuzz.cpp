// Any format string, with arguments that match it: nothing is read or stored beyond its block, a short buffer gets the
// beginning of the whole text, wide text follows the narrow rules, and the C library agrees where it has the same.
#include "body.h"

#include <algorithm>
#include <climits>
#include <cmath>
#include <cstdarg>
#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <fuzzer/FuzzedDataProvider.h>
#include <memory>
#include <string>
#include <tests/support/arguments.h>
#include <vector>
#include <zelk_core/base/strformat.h>

namespace {

using ZelkTest::Arguments;
using ZelkTest::ExactCopy;

constexpr int LONGEST_COMPARED = 5000;

/// Each character as a wide one. (The C++ library's wide string class is compiled for larger wide characters here.)
std::vector<wchar_t> Widen(const std::string& text) {
    std::vector<wchar_t> wide(text.size());
    std::transform(text.begin(), text.end(), wide.begin(),
                   [](char character) { return static_cast<wchar_t>(static_cast<unsigned char>(character)); });
    return wide;
}

void Require(bool condition, const char* law, const std::string& format) {
    if (!condition) {
        std::fprintf(stderr, "%s: \"%s\"\n", law, format.c_str());
        std::abort();
    }
}

struct Conversion {
    std::string text;
    std::string flags;
    long long width = 0;
    long long precision = -1;
    std::string length;
    char character = 0;
    std::size_t firstWord = 0;
    std::size_t endWord = 0;
    double floating = 0;
    bool nullString = false;

    bool HasOnlyFlags(const char* allowed) const { return flags.find_first_not_of(allowed) == std::string::npos; }
};

/// Reads a format as it is documented, and makes up an argument for each conversion.
class Reader {
public:
    Reader(const std::string& format, FuzzedDataProvider& data) : m_format(format), m_data(data) {
        while (m_at < m_format.size()) {
            if (m_format[m_at++] == '%') {
                ReadConversion();
            }
        }
    }

    Arguments narrow;
    Arguments wide;
    std::vector<Conversion> conversions;

private:
    std::string TakeWhile(const char* characters) {
        const std::size_t from = m_at;
        m_at = std::min(m_format.find_first_not_of(characters, from), m_format.size());
        return m_format.substr(from, m_at - from);
    }

    bool Take(char character) {
        const bool found = m_at < m_format.size() && m_format[m_at] == character;
        m_at += found ? 1 : 0;
        return found;
    }

    int Star() {
        const int value = m_data.ConsumeBool() ? m_data.ConsumeIntegralInRange(-40, 40) : m_data.ConsumeIntegral<int>();
        AddToBoth(value);
        return value;
    }

    long long Number() {
        const std::string digits = TakeWhile("0123456789");
        return digits.size() > 10 ? LLONG_MAX : std::atoll(digits.c_str());
    }

    void ReadConversion() {
        const std::size_t from = m_at - 1;
        Conversion conversion;
        conversion.firstWord = narrow.Size();
        conversion.flags = TakeWhile("-+ 0#'");
        conversion.width = Take('*') ? std::llabs(Star()) : Number();
        if (Take('.')) {
            conversion.precision = Take('*') ? std::max(Star(), -1) : Number();
        }
        conversion.length = Take('h') ? "h" : !Take('l') ? "" : Take('l') ? "ll" : "l";
        if (m_at == m_format.size()) {
            return;
        }
        conversion.character = m_format[m_at++];
        conversion.text = m_format.substr(from, m_at - from);
        AddArgument(conversion);
        conversion.endWord = narrow.Size();
        conversions.push_back(conversion);
    }

    template <class Value>
    void AddToBoth(Value value) {
        narrow.Add(value);
        wide.Add(value);
    }

    void AddArgument(Conversion& conversion) {
        switch (conversion.character) {
        case 'd':
        case 'i':
        case 'u':
        case 'o':
        case 'x':
        case 'X':
        case 'D':
        case 'O':
        case 'U':
            if (conversion.length == "ll") {
                AddToBoth(m_data.ConsumeIntegral<std::uint64_t>());
            } else {
                AddToBoth(m_data.ConsumeIntegral<std::uint32_t>());
            }
            break;
        case 'p':
            AddToBoth(m_data.ConsumeIntegral<std::uint32_t>());
            break;
        case 'c':
            AddToBoth(std::uint32_t{m_data.ConsumeIntegral<std::uint8_t>()});
            break;
        case 'f':
        case 'g':
            conversion.floating = Floating();
            AddToBoth(conversion.floating);
            break;
        case 's':
            AddString(conversion);
            break;
        default:
            break;
        }
    }

    double Floating() {
        if (m_data.ConsumeBool()) {
            return static_cast<double>(m_data.ConsumeIntegral<std::int32_t>()) / 1000;
        }
        const auto bits = m_data.ConsumeIntegral<std::uint64_t>();
        double value;
        std::memcpy(&value, &bits, sizeof(value));
        return m_data.ConsumeBool() ? value : std::fmod(value, 1e25);
    }

    void AddString(Conversion& conversion) {
        conversion.nullString = m_data.ConsumeIntegralInRange(0, 15) == 0;
        if (conversion.nullString) {
            AddToBoth(std::uint32_t{0});
            return;
        }
        std::string string = m_data.ConsumeRandomLengthString(60).c_str();
        if (conversion.precision < 0 || static_cast<long long>(string.size()) < conversion.precision) {
            string += '\0';
        }
        narrow.AddString(string);
        wide.AddString(Widen(string));
    }

    const std::string& m_format;
    FuzzedDataProvider& m_data;
    std::size_t m_at = 0;
};

template <class Char>
struct Result {
    int length;
    std::vector<Char> text;
};

/// Formats into a block of exactly `size` characters; `odd` puts it to an odd address.
template <class Char>
Result<Char> Format(const Char* format, const Arguments& arguments, unsigned size, bool odd, const std::string& name) {
    const auto words = arguments.Words(0, arguments.Size());
    const auto block = std::make_unique<char[]>(size * sizeof(Char) + (odd ? 1 : 0));
    char* const at = block.get() + (odd ? 1 : 0);
    const int length =
        Z4::StrFormat::vsnprintf(reinterpret_cast<Char*>(at), size, format, reinterpret_cast<va_list>(words.get()));
    std::vector<Char> text(size);
    if (size != 0) {
        std::memcpy(text.data(), at, size * sizeof(Char));
        text.resize(std::min<std::size_t>(size, static_cast<std::size_t>(length) + 1));
        Require(text.back() == 0, "not terminated", name);
        text.pop_back();
    }
    return {length, text};
}

bool IsNearTie(double value, long long precision) {
    double integer;
    const double scaled = std::modf(std::fabs(value), &integer) * std::pow(10, static_cast<double>(precision));
    return std::fabs(std::fmod(scaled, 1) - 0.5) <= scaled * 0x1p-50;
}

#if defined(_WIN32)
/// The C library there has faults of its own, such as "%#.o" of 0.
constexpr bool HAS_REFERENCE = false;
#else
constexpr bool HAS_REFERENCE = true;
#endif

/// Whether the C library's snprintf, too, defines this conversion, in the same way.
bool IsDefinedAlike(const Conversion& conversion) {
    if (conversion.width > 1000 || conversion.precision > 200) {
        return false;
    }
    const bool zeroPad = conversion.flags.find('0') != std::string::npos;
    switch (conversion.character) {
    case 'd':
    case 'i':
        return conversion.HasOnlyFlags("-0+ '") && !(zeroPad && conversion.precision >= 0);
    case 'u':
        return conversion.HasOnlyFlags("-0'") && !(zeroPad && conversion.precision >= 0);
    case 'o':
    case 'x':
    case 'X':
        return conversion.HasOnlyFlags("-0#") && !(zeroPad && conversion.precision >= 0);
    case 's': // the sanitizer, which looks on, takes precision 0 for none
        return conversion.HasOnlyFlags("-") && conversion.length.empty() && !conversion.nullString &&
               conversion.precision != 0;
    case 'c':
        return conversion.HasOnlyFlags("-") && conversion.length.empty();
    case '%':
        return conversion.text == "%%";
    case 'f':
        return conversion.HasOnlyFlags("-0+'") && conversion.length.empty() && std::fabs(conversion.floating) < 1e22 &&
               conversion.floating != 0 && conversion.precision <= 15 &&
               !IsNearTie(conversion.floating, conversion.precision < 0 ? 6 : conversion.precision);
    default:
        return false;
    }
}

void CompareWithSystem(const Conversion& conversion, const Arguments& arguments) {
    const auto words = arguments.Words(conversion.firstWord, conversion.endWord);
    const auto list = reinterpret_cast<va_list>(words.get());
    char own[2000];
    char system[2000];
    const int ownLength = Z4::StrFormat::vsnprintf(own, sizeof(own), conversion.text.c_str(), list);
    const int systemLength = std::vsnprintf(system, sizeof(system), conversion.text.c_str(), list);
    Require(ownLength == systemLength && std::memcmp(own, system, static_cast<std::size_t>(ownLength) + 1) == 0,
            "differs from the C library", conversion.text + "\" \"" + own + "\" \"" + system);
}

std::string MakeFormat(FuzzedDataProvider& data) {
    static constexpr char ALPHABET[] = "%%%%%%-+ 0#'**..123456789hhlllldiuoxXpfffggscDOUe~";
    const bool anyBytes = data.ConsumeBool();
    std::string format = data.ConsumeRandomLengthString(80).c_str();
    if (!anyBytes) {
        for (char& character : format) {
            character = ALPHABET[static_cast<unsigned char>(character) % (sizeof(ALPHABET) - 1)];
        }
    }
    return format;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* bytes, std::size_t size) {
    FuzzedDataProvider data(bytes, size);
    const std::string name = MakeFormat(data);
    const auto format = ExactCopy(name.c_str(), name.size() + 1);
    const std::vector<wchar_t> wideCharacters = Widen(name + '\0');
    const auto wideFormat = ExactCopy(wideCharacters.data(), wideCharacters.size());
    const Reader reader(name, data);

    const int length = Format(format.get(), reader.narrow, 0, false, name).length;
    const auto room = static_cast<unsigned>(std::min(length, LONGEST_COMPARED)) + 1;
    const Result<char> whole = Format(format.get(), reader.narrow, room, false, name);
    const Result<wchar_t> wide = Format(wideFormat.get(), reader.wide, room, data.ConsumeBool(), name);
    Require(whole.length == length && wide.length == length, "length depends on the buffer", name);
    Require(Widen({whole.text.begin(), whole.text.end()}) == wide.text, "wide text differs", name);

    const auto shortRoom = data.ConsumeIntegralInRange(0u, room);
    const Result<char> part = Format(format.get(), reader.narrow, shortRoom, false, name);
    Require(part.length == length, "length depends on the buffer", name);
    Require(part.text.size() <= whole.text.size() && std::equal(part.text.begin(), part.text.end(), whole.text.begin()),
            "short text is no beginning", name);

    for (const Conversion& conversion : reader.conversions) {
        if (HAS_REFERENCE && IsDefinedAlike(conversion)) {
            CompareWithSystem(conversion, reader.narrow);
        }
    }

    const auto value = data.ConsumeIntegral<std::uint64_t>();
    const auto sizeRoom = data.ConsumeIntegralInRange(0u, 40u);
    const char* const unit = data.ConsumeBool() ? "B" : nullptr;
    const int digits = data.ConsumeIntegral<int>();
    const auto sizeText = std::make_unique<char[]>(sizeRoom);
    char wholeSize[64];
    Z4::StrFormat::FormatSize(sizeText.get(), sizeRoom, value, unit, digits);
    Z4::StrFormat::FormatSize(wholeSize, sizeof(wholeSize), value, unit, digits);
    Require(sizeRoom == 0 || sizeText.get() == std::string(wholeSize).substr(0, sizeRoom - 1),
            "a size is cut elsewhere", wholeSize);
    return 0;
}
