// Vector beside std::vector: `std_on_host` takes its memory from the reference host's table, as ours does; `std` takes
// it from the C++ heap, so that it shows what the table costs. The growth differs, as both are fixed: ours grows by
// half, the peer by the whole, and so allocates less often and moves less.
#include "hostallocator.h"

#include <array>
#include <benchmark/benchmark.h>
#include <vector>
#include <zelk_core/generics/vector.h>

namespace {

constexpr int MILLION = 1000000;

struct Large {
    explicit Large(int value) : words{value} {}

    std::array<int, 16> words;
};

// One interface for all.
template <class T>
struct Ours : Z4::Vector<T> {
    void Push(const T& value) { this->PushBack(value); }
    void Empty() { this->Truncate(0); }
    unsigned Count() const { return this->Size(); }
};
template <class T, class Allocator = std::allocator<T>>
struct Peer : std::vector<T, Allocator> {
    void Push(const T& value) { this->push_back(value); }
    void Empty() { this->clear(); }
    std::size_t Count() const { return this->size(); }
};
template <class T>
using PeerOnHost = Peer<T, Bench::HostAllocator<T>>;

template <class Vector>
void Push(Vector& vector, int count) {
    for (int i = 0; i < count; ++i) {
        vector.Push(typename Vector::value_type(i));
    }
    benchmark::DoNotOptimize(&vector);
    benchmark::ClobberMemory();
}

template <class Vector>
void PushReused(benchmark::State& state) {
    Vector vector;
    for (auto _ : state) {
        vector.Empty();
        Push(vector, MILLION);
    }
}
BENCHMARK(PushReused<Ours<int>>)->Name("push_reused/zelk/1000000");
BENCHMARK(PushReused<PeerOnHost<int>>)->Name("push_reused/std_on_host/1000000");

template <class Vector>
void PushGrowing(benchmark::State& state) {
    const auto count = static_cast<int>(state.range(0));
    for (auto _ : state) {
        Vector vector;
        Push(vector, count);
    }
}
void Sizes(benchmark::internal::Benchmark* row) {
    row->Arg(10)->Arg(1000)->Arg(10000)->Arg(100000)->Arg(MILLION)->Arg(10 * MILLION);
}
BENCHMARK(PushGrowing<Ours<int>>)->Name("push_growing/zelk")->Apply(Sizes);
BENCHMARK(PushGrowing<PeerOnHost<int>>)->Name("push_growing/std_on_host")->Apply(Sizes);
BENCHMARK(PushGrowing<Peer<int>>)->Name("push_growing/std")->Apply(Sizes);
BENCHMARK(PushGrowing<Ours<Large>>)->Name("push_growing_64_bytes/zelk")->Arg(1000)->Arg(MILLION);
BENCHMARK(PushGrowing<PeerOnHost<Large>>)->Name("push_growing_64_bytes/std_on_host")->Arg(1000)->Arg(MILLION);

template <class Vector>
Vector Filled(const benchmark::State& state) {
    Vector vector;
    Push(vector, static_cast<int>(state.range(0)));
    return vector;
}

template <class Vector>
void Iterate(benchmark::State& state) {
    const auto vector = Filled<Vector>(state);
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
    const auto vector = Filled<Vector>(state);
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
    auto vector = Filled<Vector>(state);
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
