// The factory among many classes beside the plain ordered map that one would write instead, and a creation beside a
// call of the creator alone. Below, the containers beside their peers.
#include <algorithm>
#include <benchmark/benchmark.h>
#include <host/zelkhost.h>
#include <map>
#include <random>
#include <string>
#include <vector>
#include <zelk_core/zelk_core.h>

namespace {

using namespace Z4;

constexpr unsigned CLASSES = 10000;

int g_object;

void* Z4_CDECL Create(void*) {
    return &g_object;
}

struct Record {
    CreatorFunction creator;
    const char* name;
};

using StdMap = std::map<std::uint32_t, Record>;
using ZelkMap = Map<std::uint32_t, Record>;

/// Identifiers of class names, in an order of their own.
const std::vector<TypeID>& Types() {
    static const std::vector<TypeID> types = [] {
        std::vector<TypeID> result;
        for (unsigned i = 0; i < CLASSES; ++i) {
            result.emplace_back(Hash::CRC(("Engine::Component" + std::to_string(i)).c_str()));
        }
        std::shuffle(result.begin(), result.end(), std::mt19937(1));
        return result;
    }();
    return types;
}

std::uint32_t IdentifierOf(const TypeID& type) {
    return static_cast<unsigned long>(type);
}

/// Calls `function` with one type after the other of the first `state.range(0)`: all of them in turn, or a few hot
/// ones.
template <class Function>
void ForTypes(benchmark::State& state, Function function) {
    const std::vector<TypeID>& types = Types();
    const auto count = static_cast<std::size_t>(state.range(0));
    std::size_t i = 0;
    for (auto _ : state) {
        function(types[i]);
        i = i + 1 < count ? i + 1 : 0;
    }
}

void LookUpFactory(benchmark::State& state) {
    ClassFactory& factory = ClassFactory::Instance();
    ForTypes(state, [&](TypeID type) { benchmark::DoNotOptimize(factory.IsRegistered(type)); });
}

template <class AnyMap>
AnyMap Filled() {
    AnyMap map;
    for (const TypeID& type : Types()) {
        if constexpr (std::is_same_v<AnyMap, StdMap>) {
            map.emplace(IdentifierOf(type), Record{Create, nullptr});
        } else {
            map.Emplace(IdentifierOf(type), Record{Create, nullptr});
        }
    }
    return map;
}

void LookUpStdMap(benchmark::State& state) {
    const StdMap map = Filled<StdMap>();
    ForTypes(state, [&](TypeID type) { benchmark::DoNotOptimize(map.find(IdentifierOf(type)) != map.end()); });
}

void LookUpMap(benchmark::State& state) {
    const ZelkMap map = Filled<ZelkMap>();
    ForTypes(state, [&](TypeID type) { benchmark::DoNotOptimize(map.Find(IdentifierOf(type)) != map.end()); });
}

void CreateByFactory(benchmark::State& state) {
    ClassFactory& factory = ClassFactory::Instance();
    ForTypes(state, [&](TypeID type) { benchmark::DoNotOptimize(factory.CreateInstance(type)); });
}

void CreateDirectly(benchmark::State& state) {
    CreatorFunction creator = Create;
    benchmark::DoNotOptimize(creator);
    ForTypes(state, [&](TypeID type) {
        benchmark::DoNotOptimize(type);
        benchmark::DoNotOptimize(creator(nullptr));
    });
}

template <class AnyMap>
void Fill(benchmark::State& state) {
    for (auto _ : state) {
        const AnyMap map = Filled<AnyMap>();
        benchmark::DoNotOptimize(&map);
    }
}

template <class AnyMap>
void Iterate(benchmark::State& state) {
    const AnyMap map = Filled<AnyMap>();
    for (auto _ : state) {
        unsigned count = 0;
        for (const auto& entry : map) {
            benchmark::DoNotOptimize(&entry);
            ++count;
        }
        benchmark::DoNotOptimize(count);
    }
}

BENCHMARK(LookUpFactory)->Name("lookup_of_10000_classes/zelk_factory")->Arg(CLASSES)->Arg(16);
BENCHMARK(LookUpStdMap)->Name("lookup_of_10000_classes/std_map")->Arg(CLASSES)->Arg(16);
BENCHMARK(CreateByFactory)->Name("creation/zelk_factory")->Arg(CLASSES)->Arg(16);
BENCHMARK(CreateDirectly)->Name("creation/creator_alone")->Arg(CLASSES)->Arg(16);
BENCHMARK(LookUpMap)->Name("map_find/zelk_map")->Arg(CLASSES)->Arg(16);
BENCHMARK(LookUpStdMap)->Name("map_find/std_map")->Arg(CLASSES)->Arg(16);
BENCHMARK(Fill<ZelkMap>)->Name("map_fill_and_free/zelk_map");
BENCHMARK(Fill<StdMap>)->Name("map_fill_and_free/std_map");
BENCHMARK(Iterate<ZelkMap>)->Name("map_iterate/zelk_map");
BENCHMARK(Iterate<StdMap>)->Name("map_iterate/std_map");

} // namespace

int main(int argc, char** argv) {
    ZelkHost::Options options;
    options.logLevels = 0;
    ZelkHost::Install(options);
    InitializeRuntimeTypeService();
    for (const TypeID& type : Types()) {
        ClassFactory::Instance().RegisterCreatorFunc(Create, type);
    }
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    ShutdownRuntimeTypeService();
}
