// Vector beside std::vector. Ours takes its memory from the reference host's plain table, the peer from the C++ heap.
#include <benchmark/benchmark.h>
#include <host/zelkhost.h>
#include <numeric>
#include <string>
#include <vector>
#include <zelk_core/generics/string.h>
#include <zelk_core/generics/vector.h>

namespace {

constexpr unsigned MILLION = 1000000;

// One interface for both.
template <class T>
struct Ours : Z4::Vector<T> {
    void Push(const T& value) { this->PushBack(value); }
    void Empty() { this->Truncate(0); }
    unsigned Count() const { return this->Size(); }
};
template <class T>
struct Peer : std::vector<T> {
    void Push(const T& value) { this->push_back(value); }
    void Empty() { this->clear(); }
    std::size_t Count() const { return this->size(); }
};

template <class Vector>
void PushReused(benchmark::State& state) {
    Vector vector;
    for (auto _ : state) {
        vector.Empty();
        for (unsigned i = 0; i < MILLION; ++i) {
            vector.Push(static_cast<int>(i));
        }
        benchmark::DoNotOptimize(&vector);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(PushReused<Ours<int>>)->Name("push_reused/zelk/1000000");
BENCHMARK(PushReused<Peer<int>>)->Name("push_reused/std/1000000");

template <class Vector>
void PushGrowing(benchmark::State& state) {
    const auto count = static_cast<unsigned>(state.range(0));
    for (auto _ : state) {
        Vector vector;
        for (unsigned i = 0; i < count; ++i) {
            vector.Push(static_cast<int>(i));
        }
        benchmark::DoNotOptimize(&vector);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(PushGrowing<Ours<int>>)->Name("push_growing/zelk")->Arg(1000)->Arg(MILLION);
BENCHMARK(PushGrowing<Peer<int>>)->Name("push_growing/std")->Arg(1000)->Arg(MILLION);

template <class Vector>
Vector Filled(unsigned count) {
    Vector vector;
    for (unsigned i = 0; i < count; ++i) {
        vector.Push(static_cast<int>(i));
    }
    return vector;
}

template <class Vector>
void Iterate(benchmark::State& state) {
    const auto vector = Filled<Vector>(static_cast<unsigned>(state.range(0)));
    for (auto _ : state) {
        int sum = 0;
        for (const int element : vector) {
            sum += element;
        }
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(Iterate<Ours<int>>)->Name("iterate/zelk")->Arg(10000);
BENCHMARK(Iterate<Peer<int>>)->Name("iterate/std")->Arg(10000);

template <class Vector>
void IndexRead(benchmark::State& state) {
    const auto vector = Filled<Vector>(static_cast<unsigned>(state.range(0)));
    for (auto _ : state) {
        int sum = 0;
        for (unsigned i = 0; i < vector.Count(); ++i) {
            sum += vector[i];
        }
        benchmark::DoNotOptimize(sum);
    }
}
BENCHMARK(IndexRead<Ours<int>>)->Name("index_read/zelk")->Arg(10000);
BENCHMARK(IndexRead<Peer<int>>)->Name("index_read/std")->Arg(10000);

template <class Vector>
void IndexWrite(benchmark::State& state) {
    auto vector = Filled<Vector>(static_cast<unsigned>(state.range(0)));
    for (auto _ : state) {
        for (unsigned i = 0; i < vector.Count(); ++i) {
            vector[i] += 3;
        }
        benchmark::ClobberMemory();
    }
}
BENCHMARK(IndexWrite<Ours<int>>)->Name("index_write/zelk")->Arg(10000);
BENCHMARK(IndexWrite<Peer<int>>)->Name("index_write/std")->Arg(10000);

} // namespace

int main(int argc, char** argv) {
    ZelkHost::Install();
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
