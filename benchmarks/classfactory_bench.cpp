// The factory's look-up beside the maps that one would write instead, and a creation beside a call of the creator
// alone. The size is the number of classes; `predictable` asks for 16 of them in turn. --large adds ten millions.
#include "keys.h"

#include <cstring>
#include <host/zelkhost.h>
#include <map>
#include <unordered_map>
#include <zelk_core/zelk_core.h>

namespace {

using namespace Z4;

int g_object;

void* Z4_CDECL Create(void*) {
    return &g_object;
}

struct Record {
    CreatorFunction creator;
    const char* name;
};

unsigned CountOf(const benchmark::State& state) {
    return static_cast<unsigned>(state.range(0));
}

/// A factory with this many classes; the one before goes.
ClassFactory& FactoryOf(unsigned count) {
    static unsigned registered = 0;
    if (registered != count) {
        ClassFactory::SingletonShutdown();
        ClassFactory::SingletonInit();
        for (unsigned i = 0; i < count; ++i) {
            ClassFactory::Instance().RegisterCreatorFunc(Create, TypeID(Bench::Key(i)));
        }
        registered = count;
    }
    return ClassFactory::Instance();
}

template <class AnyMap>
const AnyMap& MapOf(unsigned count) {
    static AnyMap map;
    if (map.size() != count) {
        map.clear();
        for (unsigned i = 0; i < count; ++i) {
            map.emplace(Bench::Key(i), Record{Create, nullptr});
        }
    }
    return map;
}
using StdMap = std::map<std::uint32_t, Record>;
using StdHashMap = std::unordered_map<std::uint32_t, Record>;

void FindInFactory(benchmark::State& state) {
    ClassFactory& factory = FactoryOf(CountOf(state));
    Bench::ForRandomKeys(state, CountOf(state),
                         [&](std::uint32_t key) { benchmark::DoNotOptimize(factory.IsRegistered(TypeID(key))); });
}
void FindHotInFactory(benchmark::State& state) {
    ClassFactory& factory = FactoryOf(CountOf(state));
    Bench::ForHotKeys(state, [&](std::uint32_t key) { benchmark::DoNotOptimize(factory.IsRegistered(TypeID(key))); });
}

template <class AnyMap>
void FindInMap(benchmark::State& state) {
    const AnyMap& map = MapOf<AnyMap>(CountOf(state));
    Bench::ForRandomKeys(state, CountOf(state),
                         [&](std::uint32_t key) { benchmark::DoNotOptimize(map.find(key) != map.end()); });
}
template <class AnyMap>
void FindHotInMap(benchmark::State& state) {
    const AnyMap& map = MapOf<AnyMap>(CountOf(state));
    Bench::ForHotKeys(state, [&](std::uint32_t key) { benchmark::DoNotOptimize(map.find(key) != map.end()); });
}

void CreateByFactory(benchmark::State& state) {
    ClassFactory& factory = FactoryOf(CountOf(state));
    Bench::ForRandomKeys(state, CountOf(state),
                         [&](std::uint32_t key) { benchmark::DoNotOptimize(factory.CreateInstance(TypeID(key))); });
}
void CreateDirectly(benchmark::State& state) {
    CreatorFunction creator = Create;
    benchmark::DoNotOptimize(creator);
    Bench::ForRandomKeys(state, CountOf(state), [&](std::uint32_t key) {
        benchmark::DoNotOptimize(key);
        benchmark::DoNotOptimize(creator(nullptr));
    });
}

void RegisterAndEnd(benchmark::State& state) {
    FactoryOf(0);
    for (auto _ : state) {
        FactoryOf(CountOf(state));
        FactoryOf(0);
    }
}

void Add(bool isLarge, const char* name, void (*function)(benchmark::State&)) {
    const auto row = benchmark::RegisterBenchmark(name, function);
    row->Arg(1000)->Arg(10000)->Arg(100000)->Arg(1000000);
    if (isLarge) {
        row->Arg(10000000);
    }
}

} // namespace

BENCHMARK(FindHotInFactory)->Name("class_find_predictable/zelk_factory")->Arg(10000);
BENCHMARK(FindHotInMap<StdMap>)->Name("class_find_predictable/std_map")->Arg(10000);
BENCHMARK(FindHotInMap<StdHashMap>)->Name("class_find_predictable/std_unordered_map")->Arg(10000);
BENCHMARK(CreateByFactory)->Name("creation/zelk_factory")->Arg(10000);
BENCHMARK(CreateDirectly)->Name("creation/creator_alone")->Arg(10000);
BENCHMARK(RegisterAndEnd)->Name("class_register_all_and_end/zelk_factory")->Arg(1000)->Arg(10000)->Arg(100000);

int main(int argc, char** argv) {
    ZelkHost::Options options;
    options.logLevels = 0;
    ZelkHost::Install(options);
    InitializeRuntimeTypeService();
    benchmark::Initialize(&argc, argv);
    const bool isLarge = argc > 1 && std::strcmp(argv[1], "--large") == 0;
    Add(isLarge, "class_find_random/zelk_factory", FindInFactory);
    Add(isLarge, "class_find_random/std_map", FindInMap<StdMap>);
    Add(isLarge, "class_find_random/std_unordered_map", FindInMap<StdHashMap>);
    benchmark::RunSpecifiedBenchmarks();
    ShutdownRuntimeTypeService();
}
