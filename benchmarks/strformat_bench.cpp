// StrFormat beside mingw's own snprintf and the one of the system's C library, which both run in this process.
#include <benchmark/benchmark.h>
#include <cstdarg>
#include <cstdio>
#include <string>
#include <vector>
#include <zelk_core/base/strformat.h>

namespace {

struct Own {
    template <class... Arguments>
    static int Print(char* buffer, unsigned size, const char* format, Arguments... arguments) {
        return Z4::StrFormat::snprintf(buffer, size, format, arguments...);
    }
};

struct Mingw {
    template <class... Arguments>
    static int Print(char* buffer, unsigned size, const char* format, Arguments... arguments) {
        return __mingw_snprintf(buffer, size, format, arguments...);
    }
};

struct System {
    template <class... Arguments>
    static int Print(char* buffer, unsigned size, const char* format, Arguments... arguments) {
        return _snprintf(buffer, size, format, arguments...);
    }
};

// Changed in every round, so that no branch can be learnt by heart.
class Numbers {
public:
    unsigned Next() { return m_state = m_state * 1664525 + 1013904223; }

private:
    unsigned m_state = 1;
};

template <class Printer>
void Mixed(benchmark::State& state) {
    char buffer[256];
    Numbers numbers;
    for (auto _ : state) {
        const unsigned number = numbers.Next();
        benchmark::DoNotOptimize(Printer::Print(buffer, sizeof(buffer), "%s: %d items at %f (0x%08X)", "inventory",
                                                static_cast<int>(number >> (number & 31)), number / 65536.0, number));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Mixed<Own>)->Name("snprintf_mixed/zelk");
BENCHMARK(Mixed<Mingw>)->Name("snprintf_mixed/mingw");
BENCHMARK(Mixed<System>)->Name("snprintf_mixed/system");

template <class Printer>
void Integer(benchmark::State& state) {
    char buffer[64];
    Numbers numbers;
    for (auto _ : state) {
        const unsigned number = numbers.Next();
        benchmark::DoNotOptimize(
            Printer::Print(buffer, sizeof(buffer), "%d", static_cast<int>(number >> (number & 31))));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Integer<Own>)->Name("snprintf_integer/zelk");
BENCHMARK(Integer<Mingw>)->Name("snprintf_integer/mingw");
BENCHMARK(Integer<System>)->Name("snprintf_integer/system");

template <class Printer>
void Floating(benchmark::State& state) {
    char buffer[64];
    Numbers numbers;
    for (auto _ : state) {
        benchmark::DoNotOptimize(Printer::Print(buffer, sizeof(buffer), "%f", numbers.Next() / 65536.0));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(Floating<Own>)->Name("snprintf_floating/zelk");
BENCHMARK(Floating<Mingw>)->Name("snprintf_floating/mingw");
BENCHMARK(Floating<System>)->Name("snprintf_floating/system");

template <class Printer>
void String(benchmark::State& state) {
    char buffer[256];
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            Printer::Print(buffer, sizeof(buffer), "loaded %s from %s", "textures/stone/wall_03_diffuse", "archive"));
        benchmark::ClobberMemory();
    }
}
BENCHMARK(String<Own>)->Name("snprintf_string/zelk");
BENCHMARK(String<Mingw>)->Name("snprintf_string/mingw");
BENCHMARK(String<System>)->Name("snprintf_string/system");

template <class Printer>
void StringOfLength(benchmark::State& state) {
    const std::string text(static_cast<std::size_t>(state.range()), 'x');
    std::vector<char> buffer(text.size() + 16);
    for (auto _ : state) {
        benchmark::DoNotOptimize(
            Printer::Print(buffer.data(), static_cast<unsigned>(buffer.size()), "<%s>", text.c_str()));
        benchmark::ClobberMemory();
    }
}

void Lengths(benchmark::internal::Benchmark* row) {
    row->RangeMultiplier(8)->Range(8, 262144);
}

BENCHMARK(StringOfLength<Own>)->Name("snprintf_length/zelk")->Apply(Lengths);
BENCHMARK(StringOfLength<Mingw>)->Name("snprintf_length/mingw")->Apply(Lengths);
BENCHMARK(StringOfLength<System>)->Name("snprintf_length/system")->Apply(Lengths);

} // namespace

int main(int argc, char** argv) {
    benchmark::AddCustomContext("mingw", "the compiler's own snprintf");
    benchmark::AddCustomContext("system", "_snprintf of the system's C library, here Wine's");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
