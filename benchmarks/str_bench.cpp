// Texts: numbers beside the standard library's and the C library's, UTF beside the system's conversions, searches and
// comparisons beside the standard library's and the C library's.
#include <windows.h>

#include <benchmark/benchmark.h>
#include <charconv>
#include <cstring>
#include <fast_float/fast_float.h>
#include <string>
#include <string_view>
#include <zelk_core/base/str.h>
#include <zelk_core/base/utf.h>

namespace {

using Z4::Str;
using Z4::StrView;
using Z4::Utf;

constexpr const char* NUMBERS[] = {"17", "-4096", "2147483647", "0", "-99", "123456", "8", "-1000000"};

template <class Read>
void EachNumber(benchmark::State& state, const char* const (&texts)[8], Read read) {
    std::string_view views[8];
    for (int i = 0; i < 8; ++i) {
        views[i] = texts[i];
    }
    unsigned i = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(read(views[i++ % 8]));
    }
}

void OurInt(benchmark::State& state) {
    EachNumber(state, NUMBERS, [](std::string_view text) {
        int value = 0;
        static_cast<void>(Str::ToInt({text.data(), text.size()}, value));
        return value;
    });
}
void FromChars(benchmark::State& state) {
    EachNumber(state, NUMBERS, [](std::string_view text) {
        int value = 0;
        std::from_chars(text.data(), text.data() + text.size(), value);
        return value;
    });
}
void Strtol(benchmark::State& state) {
    EachNumber(state, NUMBERS, [](std::string_view text) { return std::strtol(text.data(), nullptr, 10); });
}
BENCHMARK(OurInt)->Name("int_from_chars/zelk");
BENCHMARK(FromChars)->Name("int_from_chars/from_chars");
BENCHMARK(OurInt)->Name("int_strtol/zelk");
BENCHMARK(Strtol)->Name("int_strtol/strtol");

constexpr const char* SHORT_DOUBLES[] = {"0.5", "-1.25", "3.14159", "100", "2.5e3", "0.001", "-7", "65536.75"};
constexpr const char* LONG_DOUBLES[] = {"0.12345678901234567",     "2.2250738585072014e-308", "-9.8765432109876543e+12",
                                        "1.7976931348623157e308",  "6.0221407600000001e23",   "0.30000000000000004",
                                        "-1.6021766339999999e-19", "123456789.01234567"};
void OurDouble(benchmark::State& state, const char* const (&texts)[8]) {
    EachNumber(state, texts, [](std::string_view text) {
        double value = 0;
        static_cast<void>(Str::ToDouble({text.data(), text.size()}, value));
        return value;
    });
}
void FastFloat(benchmark::State& state, const char* const (&texts)[8]) {
    EachNumber(state, texts, [](std::string_view text) {
        double value = 0;
        fast_float::from_chars(text.data(), text.data() + text.size(), value);
        return value;
    });
}
void Strtod(benchmark::State& state, const char* const (&texts)[8]) {
    EachNumber(state, texts, [](std::string_view text) { return std::strtod(text.data(), nullptr); });
}
BENCHMARK_CAPTURE(OurDouble, s, SHORT_DOUBLES)->Name("double_short/zelk");
BENCHMARK_CAPTURE(FastFloat, s, SHORT_DOUBLES)->Name("double_short/fast_float");
BENCHMARK_CAPTURE(OurDouble, s, LONG_DOUBLES)->Name("double_17/zelk");
BENCHMARK_CAPTURE(FastFloat, s, LONG_DOUBLES)->Name("double_17/fast_float");
BENCHMARK_CAPTURE(OurDouble, s, LONG_DOUBLES)->Name("double_17_strtod/zelk");
BENCHMARK_CAPTURE(Strtod, s, LONG_DOUBLES)->Name("double_17_strtod/strtod");

constexpr std::size_t TEXT_SIZE = 16384;

std::string Repeated(const char* text, std::size_t size) {
    std::string repeated;
    while (repeated.size() < size) {
        repeated += text;
    }
    return repeated;
}
const std::string ASCII = Repeated("The quick brown fox jumps over the lazy dog. ", TEXT_SIZE);
const std::string GERMAN =
    Repeated("Der Bär läuft über die grüne Wiese und frißt das Gras, bis der Jäger kommt. ", TEXT_SIZE);
const std::string CHINESE = Repeated("天地玄黄，宇宙洪荒。日月盈昃，辰宿列张。寒来暑往，秋收冬藏。", TEXT_SIZE);

std::wstring Wide(const std::string& text) {
    std::wstring wide(text.size() + 1, L'\0');
    std::size_t length = 0;
    static_cast<void>(Utf::ToUtf16(wide.data(), wide.size(), {text.data(), text.size()}, length));
    wide.resize(length);
    return wide;
}

void OurToUtf16(benchmark::State& state, const std::string& text) {
    std::wstring wide(text.size() + 1, L'\0');
    std::size_t length = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Utf::ToUtf16(wide.data(), wide.size(), {text.data(), text.size()}, length));
        benchmark::ClobberMemory();
    }
}
void SystemToUtf16(benchmark::State& state, const std::string& text) {
    std::wstring wide(text.size() + 1, L'\0');
    for (auto _ : state) {
        benchmark::DoNotOptimize(MultiByteToWideChar(CP_UTF8, MB_ERR_INVALID_CHARS, text.data(),
                                                     static_cast<int>(text.size()), wide.data(),
                                                     static_cast<int>(wide.size())));
        benchmark::ClobberMemory();
    }
}
void OurToUtf8(benchmark::State& state, const std::string& text) {
    const std::wstring wide = Wide(text);
    std::string narrow(text.size() + 1, '\0');
    std::size_t length = 0;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Utf::ToUtf8(narrow.data(), narrow.size(), {wide.data(), wide.size()}, length));
        benchmark::ClobberMemory();
    }
}
void SystemToUtf8(benchmark::State& state, const std::string& text) {
    const std::wstring wide = Wide(text);
    std::string narrow(text.size() + 1, '\0');
    for (auto _ : state) {
        benchmark::DoNotOptimize(WideCharToMultiByte(CP_UTF8, WC_ERR_INVALID_CHARS, wide.data(),
                                                     static_cast<int>(wide.size()), narrow.data(),
                                                     static_cast<int>(narrow.size()), nullptr, nullptr));
        benchmark::ClobberMemory();
    }
}
BENCHMARK_CAPTURE(OurToUtf16, a, ASCII)->Name("utf16_ascii/zelk");
BENCHMARK_CAPTURE(SystemToUtf16, a, ASCII)->Name("utf16_ascii/system");
BENCHMARK_CAPTURE(OurToUtf16, g, GERMAN)->Name("utf16_german/zelk");
BENCHMARK_CAPTURE(SystemToUtf16, g, GERMAN)->Name("utf16_german/system");
BENCHMARK_CAPTURE(OurToUtf16, c, CHINESE)->Name("utf16_chinese/zelk");
BENCHMARK_CAPTURE(SystemToUtf16, c, CHINESE)->Name("utf16_chinese/system");
BENCHMARK_CAPTURE(OurToUtf8, a, ASCII)->Name("utf8_ascii/zelk");
BENCHMARK_CAPTURE(SystemToUtf8, a, ASCII)->Name("utf8_ascii/system");
BENCHMARK_CAPTURE(OurToUtf8, g, GERMAN)->Name("utf8_german/zelk");
BENCHMARK_CAPTURE(SystemToUtf8, g, GERMAN)->Name("utf8_german/system");
BENCHMARK_CAPTURE(OurToUtf8, c, CHINESE)->Name("utf8_chinese/zelk");
BENCHMARK_CAPTURE(SystemToUtf8, c, CHINESE)->Name("utf8_chinese/system");

/// Text that holds what is sought at its end only.
std::string Haystack(std::size_t size) {
    std::string text = ASCII.substr(0, size);
    text.replace(size - 13, 13, "the lazy cat!");
    return text;
}
void OurFind(benchmark::State& state) {
    const std::string text = Haystack(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(Str::Find({text.data(), text.size()}, {"the lazy cat!", 13}));
    }
}
void ViewFind(benchmark::State& state) {
    const std::string text = Haystack(static_cast<std::size_t>(state.range(0)));
    for (auto _ : state) {
        benchmark::DoNotOptimize(std::string_view(text).find(std::string_view("the lazy cat!", 13)));
    }
}
BENCHMARK(OurFind)->Name("find/zelk")->Arg(64)->Arg(16384);
BENCHMARK(ViewFind)->Name("find/string_view")->Arg(64)->Arg(16384);

void OurEqualNoCase(benchmark::State& state) {
    const std::string text = ASCII.substr(0, static_cast<std::size_t>(state.range(0)));
    std::string other = text;
    Str::ToUpper(other.data(), other.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(Str::EqualsNoCase({text.data(), text.size()}, {other.data(), other.size()}));
    }
}
void Stricmp(benchmark::State& state) {
    const std::string text = ASCII.substr(0, static_cast<std::size_t>(state.range(0)));
    std::string other = text;
    Str::ToUpper(other.data(), other.size());
    for (auto _ : state) {
        benchmark::DoNotOptimize(_stricmp(text.c_str(), other.c_str()));
    }
}
BENCHMARK(OurEqualNoCase)->Name("equal_nocase/zelk")->Arg(24)->Arg(1024);
BENCHMARK(Stricmp)->Name("equal_nocase/stricmp")->Arg(24)->Arg(1024);

void OurLength(benchmark::State& state) {
    const std::string text = ASCII.substr(0, static_cast<std::size_t>(state.range(0)));
    const char* pointer = text.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(pointer);
        benchmark::DoNotOptimize(Str::Length(pointer));
    }
}
void Strlen(benchmark::State& state) {
    const std::string text = ASCII.substr(0, static_cast<std::size_t>(state.range(0)));
    const char* pointer = text.c_str();
    for (auto _ : state) {
        benchmark::DoNotOptimize(pointer);
        benchmark::DoNotOptimize(std::strlen(pointer));
    }
}
BENCHMARK(OurLength)->Name("length/zelk")->Arg(24)->Arg(1024);
BENCHMARK(Strlen)->Name("length/strlen")->Arg(24)->Arg(1024);

} // namespace

BENCHMARK_MAIN();
