// Messages of growing length on their way to the reference host, beside the same two calls of its table made directly.
// The host formats each and writes it to the null device.
#include <benchmark/benchmark.h>
#include <cstdarg>
#include <host/zelkhost.h>
#include <string>
#include <zelk_core/base/ealid.h>
#include <zelk_core/base/lifecycle.h>
#include <zelk_core/base/log.h>

namespace {

constexpr const char* FILE_NAME = "benchmarks/log";
constexpr const char* FORMAT = "[bench] %s\n";

void ByLibrary(Z4::EalLogLevel level, const char* text) {
    Z4::Private::Log(level, FILE_NAME, 1, FORMAT, text);
}

void Print(Z4::EalLogLevel level, const char* format, ...) {
    va_list arguments;
    va_start(arguments, format);
    ZelkHost::LogTable().vprint(Z4::EAL_ID_ZELK_CORE, level, FILE_NAME, 1, format, arguments);
    va_end(arguments);
}

void ByTable(Z4::EalLogLevel level, const char* text) {
    if (ZelkHost::LogTable().is_enabled(Z4::EAL_ID_ZELK_CORE, level) != 0) {
        Print(level, FORMAT, text);
    }
}

template <void LOG(Z4::EalLogLevel, const char*)>
void Printed(benchmark::State& state) {
    const std::string text(static_cast<std::size_t>(state.range()), 'x');
    for (auto _ : state) {
        LOG(Z4::EAL_LOG_WARNING, text.c_str());
    }
}

template <void LOG(Z4::EalLogLevel, const char*)>
void Unprinted(benchmark::State& state) {
    for (auto _ : state) {
        LOG(Z4::EAL_LOG_INFO, "nobody asks for these");
    }
}

void Lengths(benchmark::internal::Benchmark* row) {
    row->RangeMultiplier(8)->Range(8, 32768);
}

BENCHMARK(Printed<ByLibrary>)->Name("log_printed/zelk")->Apply(Lengths);
BENCHMARK(Printed<ByTable>)->Name("log_printed/host_calls")->Apply(Lengths);
BENCHMARK(Unprinted<ByLibrary>)->Name("log_unprinted/zelk");
BENCHMARK(Unprinted<ByTable>)->Name("log_unprinted/host_calls");

} // namespace

int main(int argc, char** argv) {
    ZelkHost::Options options;
    options.logLevels = Z4::EAL_LOG_WARNING;
    options.logFile = "NUL";
    ZelkHost::Install(options);
    Z4::InitializeBase();
    benchmark::AddCustomContext("host_calls",
                                "the host table's two functions, called directly: what the host itself takes");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    Z4::ShutdownBase();
}
