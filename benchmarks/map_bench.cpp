// Map beside std::map: `std_on_host` takes its memory from the reference host's table, as ours does; `std` takes it
// from the C++ heap, so that it shows what the table costs. Which is the faster search depends on the branch predictor:
// ours has no branch that depends on a key, the peer's has one per level. So there are two rows, named by what the
// predictor can do. The size is the number of entries; --large adds ten millions, which take minutes.
#include "hostallocator.h"
#include "keys.h"

#include <benchmark/benchmark.h>
#include <cstring>
#include <map>
#include <zelk_core/generics/map.h>

namespace {

struct Value {
    void (*function)();
    const char* name;
};

// One interface for all.
struct Ours : Z4::Map<std::uint32_t, Value> {
    void Add(std::uint32_t key) { Emplace(key, Value{nullptr, nullptr}); }
    bool Has(std::uint32_t key) const { return Find(key) != end(); }
};
template <class Allocator>
struct Peer : std::map<std::uint32_t, Value, std::less<>, Allocator> {
    void Add(std::uint32_t key) { this->emplace(key, Value{nullptr, nullptr}); }
    bool Has(std::uint32_t key) const { return this->find(key) != this->end(); }
};
using Entry = std::pair<const std::uint32_t, Value>;
using OnHeap = Peer<std::allocator<Entry>>;
using OnHost = Peer<Bench::HostAllocator<Entry>>;

unsigned CountOf(const benchmark::State& state) {
    return static_cast<unsigned>(state.range(0));
}

template <class AnyMap>
void FillWith(AnyMap& map, unsigned count) {
    for (unsigned i = 0; i < count; ++i) {
        map.Add(Bench::Key(i));
    }
}

/// Kept, as filling a large one takes longer than measuring it.
template <class AnyMap>
const AnyMap& Filled(unsigned count) {
    static std::map<unsigned, AnyMap> maps;
    AnyMap& map = maps[count];
    if (map.begin() == map.end()) {
        FillWith(map, count);
    }
    return map;
}

template <class AnyMap>
void FillAndFree(benchmark::State& state) {
    for (auto _ : state) {
        AnyMap map;
        FillWith(map, CountOf(state));
        benchmark::DoNotOptimize(&map);
    }
}

template <class AnyMap>
void Iterate(benchmark::State& state) {
    const AnyMap& map = Filled<AnyMap>(CountOf(state));
    for (auto _ : state) {
        unsigned count = 0;
        for (const auto& entry : map) {
            benchmark::DoNotOptimize(&entry);
            ++count;
        }
        benchmark::DoNotOptimize(count);
    }
}

template <class AnyMap>
void FindRandom(benchmark::State& state) {
    const AnyMap& map = Filled<AnyMap>(CountOf(state));
    Bench::ForRandomKeys(state, CountOf(state), [&](std::uint32_t key) { benchmark::DoNotOptimize(map.Has(key)); });
}

template <class AnyMap>
void FindPredictable(benchmark::State& state) {
    const AnyMap& map = Filled<AnyMap>(CountOf(state));
    Bench::ForHotKeys(state, [&](std::uint32_t key) { benchmark::DoNotOptimize(map.Has(key)); });
}

template <class AnyMap>
void Register(const std::string& who, bool isLarge) {
    const auto add = [&](const char* what, void (*function)(benchmark::State&), std::initializer_list<long> sizes) {
        const auto row = benchmark::RegisterBenchmark((what + ("/" + who)).c_str(), function);
        for (const long size : sizes) {
            row->Arg(size);
        }
        if (isLarge) {
            row->Arg(10000000);
        }
    };
    add("map_fill_and_free", FillAndFree<AnyMap>, {1000, 10000, 100000});
    add("map_iterate", Iterate<AnyMap>, {1000, 10000, 100000, 1000000});
    add("map_find_random", FindRandom<AnyMap>, {1000, 10000, 100000, 1000000});
    benchmark::RegisterBenchmark(("map_find_predictable/" + who).c_str(), FindPredictable<AnyMap>)->Arg(10000);
}

} // namespace

int main(int argc, char** argv) {
    ZelkHost::Install();
    benchmark::Initialize(&argc, argv);
    const bool isLarge = argc > 1 && std::strcmp(argv[1], "--large") == 0;
    Register<Ours>("zelk", isLarge);
    Register<OnHost>("std_on_host", isLarge);
    Register<OnHeap>("std", isLarge);
    benchmark::RunSpecifiedBenchmarks();
}
