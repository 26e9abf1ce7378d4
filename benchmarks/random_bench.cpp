// Draws beside the standard library's, and beside the least that a locked draw can cost.
#include <windows.h>

#include <benchmark/benchmark.h>
#include <host/zelkhost.h>
#include <random>
#include <zelk_core/base/lifecycle.h>
#include <zelk_core/services/random/lifecycle.h>
#include <zelk_core/services/random/random.h>

namespace {

constexpr unsigned SEED = 20'240'607;

void SubtractiveDraw(benchmark::State& state) {
    Z4::Private::SubtractiveSequence sequence;
    sequence.Seed(SEED);
    benchmark::DoNotOptimize(&sequence);
    for (auto _ : state) {
        benchmark::DoNotOptimize(sequence.Draw());
    }
}

template <class Engine>
void EngineDraw(benchmark::State& state) {
    Engine engine(SEED);
    benchmark::DoNotOptimize(&engine);
    for (auto _ : state) {
        benchmark::DoNotOptimize(engine());
    }
}

void RawLockedDraw(benchmark::State& state) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    Z4::Private::SubtractiveSequence sequence;
    sequence.Seed(SEED);
    benchmark::DoNotOptimize(&sequence);
    for (auto _ : state) {
        EnterCriticalSection(&section);
        const int value = sequence.Draw();
        LeaveCriticalSection(&section);
        benchmark::DoNotOptimize(value);
    }
    DeleteCriticalSection(&section);
}

template <class Draw>
void RawLockedZiggurat(benchmark::State& state, Draw draw) {
    CRITICAL_SECTION section;
    InitializeCriticalSection(&section);
    Z4::Private::Ziggurat ziggurat;
    ziggurat.Seed(SEED);
    benchmark::DoNotOptimize(&ziggurat);
    for (auto _ : state) {
        EnterCriticalSection(&section);
        const float value = draw(ziggurat);
        LeaveCriticalSection(&section);
        benchmark::DoNotOptimize(value);
    }
    DeleteCriticalSection(&section);
}

template <class Distribution>
void StandardDraw(benchmark::State& state) {
    std::mt19937 engine(SEED);
    Distribution distribution;
    for (auto _ : state) {
        benchmark::DoNotOptimize(distribution(engine));
    }
}

template <class Draw>
void ZelkDraw(benchmark::State& state, Draw draw) {
    Z4::Random::SetSeed(SEED);
    for (auto _ : state) {
        benchmark::DoNotOptimize(draw());
    }
}

template <class Draw>
void ZigguratDraw(benchmark::State& state, Draw draw) {
    Z4::ZigRandomGenerator generator(SEED);
    for (auto _ : state) {
        benchmark::DoNotOptimize(draw(generator));
    }
}

BENCHMARK(SubtractiveDraw)->Name("subtractive_unlocked/zelk");
BENCHMARK(EngineDraw<std::ranlux24_base>)->Name("subtractive_unlocked/ranlux24_base");
BENCHMARK_CAPTURE(ZelkDraw, , Z4::Random::RandS32)->Name("RandS32/zelk");
BENCHMARK(RawLockedDraw)->Name("RandS32/critical_section_and_draw");
BENCHMARK_CAPTURE(ZigguratDraw, , [](Z4::ZigRandomGenerator& g) { return g.RNOR(0, 1); })->Name("normal/zelk_RNOR");
BENCHMARK_CAPTURE(RawLockedZiggurat, , [](Z4::Private::Ziggurat& z) {
    return z.Normal();
})->Name("normal/critical_section_and_draw");
BENCHMARK_CAPTURE(ZelkDraw, , [] { return Z4::Random::Normal(0, 1); })->Name("normal/zelk_Random");
BENCHMARK(StandardDraw<std::normal_distribution<float>>)->Name("normal/std_unlocked");
BENCHMARK_CAPTURE(ZigguratDraw, , [](Z4::ZigRandomGenerator& g) { return g.REXP(); })->Name("exponential/zelk_REXP");
BENCHMARK_CAPTURE(RawLockedZiggurat, , [](Z4::Private::Ziggurat& z) {
    return z.Exponential();
})->Name("exponential/critical_section_and_draw");
BENCHMARK_CAPTURE(ZelkDraw, , Z4::Random::Exponential)->Name("exponential/zelk_Random");
BENCHMARK(StandardDraw<std::exponential_distribution<float>>)->Name("exponential/std_unlocked");

} // namespace

int main(int argc, char** argv) {
    ZelkHost::Install();
    Z4::InitializeRandomService();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    Z4::ShutdownRandomService();
}
