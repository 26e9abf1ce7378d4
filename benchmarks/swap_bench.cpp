// Swapped arrays beside memcpy and beside a loop over the compiler's own swap, records beside a swap written by hand,
// and identifiers beside the system's functions for them.
#include <windows.h>

#include <benchmark/benchmark.h>
#include <cstring>
#include <rpc.h>
#include <vector>
#include <zelk_core/base/guid.h>
#include <zelk_core/base/structureswap.h>

namespace {

using Z4::StructureSwap;

constexpr std::size_t BYTES = 4096;

alignas(64) unsigned char g_from[BYTES];
alignas(64) unsigned char g_to[BYTES];

void Done(benchmark::State& state) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(BYTES));
}

template <class Bits, auto SWAP>
void OurArray(benchmark::State& state) {
    for (auto _ : state) {
        SWAP(g_to, g_from, BYTES / sizeof(Bits));
        benchmark::ClobberMemory();
    }
    Done(state);
}

void Memcpy(benchmark::State& state) {
    for (auto _ : state) {
        std::memcpy(g_to, g_from, BYTES);
        benchmark::ClobberMemory();
    }
    Done(state);
}

template <class Bits, auto SWAP>
void SwapLoop(benchmark::State& state) {
    for (auto _ : state) {
        for (std::size_t i = 0; i < BYTES; i += sizeof(Bits)) {
            Bits bits;
            std::memcpy(&bits, g_from + i, sizeof(bits));
            bits = SWAP(bits);
            std::memcpy(g_to + i, &bits, sizeof(bits));
        }
        benchmark::ClobberMemory();
    }
    Done(state);
}
std::uint16_t Swap16(std::uint16_t bits) {
    return __builtin_bswap16(bits);
}
std::uint32_t Swap32(std::uint32_t bits) {
    return __builtin_bswap32(bits);
}
std::uint64_t Swap64(std::uint64_t bits) {
    return __builtin_bswap64(bits);
}

BENCHMARK(OurArray<std::uint16_t, StructureSwap::Array16>)->Name("swap16_memcpy/zelk");
BENCHMARK(Memcpy)->Name("swap16_memcpy/memcpy");
BENCHMARK(OurArray<std::uint16_t, StructureSwap::Array16>)->Name("swap16_loop/zelk");
BENCHMARK(SwapLoop<std::uint16_t, Swap16>)->Name("swap16_loop/bswap");
BENCHMARK(OurArray<std::uint32_t, StructureSwap::Array32>)->Name("swap32_memcpy/zelk");
BENCHMARK(Memcpy)->Name("swap32_memcpy/memcpy");
BENCHMARK(OurArray<std::uint32_t, StructureSwap::Array32>)->Name("swap32_loop/zelk");
BENCHMARK(SwapLoop<std::uint32_t, Swap32>)->Name("swap32_loop/bswap");
BENCHMARK(OurArray<std::uint64_t, StructureSwap::Array64>)->Name("swap64_memcpy/zelk");
BENCHMARK(Memcpy)->Name("swap64_memcpy/memcpy");
BENCHMARK(OurArray<std::uint64_t, StructureSwap::Array64>)->Name("swap64_loop/zelk");
BENCHMARK(SwapLoop<std::uint64_t, Swap64>)->Name("swap64_loop/bswap");

struct Header {
    std::uint32_t a, b, c;
    std::uint16_t d, e;
    std::uint64_t f;
    std::uint32_t g, h;
    std::uint16_t i, j;
    std::uint32_t k;
};
constexpr Z4::SwapField FIELDS[] = {{offsetof(Header, a), 3, 4, nullptr}, {offsetof(Header, d), 2, 2, nullptr},
                                    {offsetof(Header, f), 1, 8, nullptr}, {offsetof(Header, g), 2, 4, nullptr},
                                    {offsetof(Header, i), 2, 2, nullptr}, {offsetof(Header, k), 1, 4, nullptr}};
constexpr Z4::SwapLayout LAYOUT{FIELDS, 6, sizeof(Header)};

Header g_header;

void RecordByMembers(benchmark::State& state) {
    for (auto _ : state) {
        StructureSwap::Fields<&Header::a, &Header::b, &Header::c, &Header::d, &Header::e, &Header::f, &Header::g,
                              &Header::h, &Header::i, &Header::j, &Header::k>(g_header);
        benchmark::ClobberMemory();
    }
}
void RecordByHand(benchmark::State& state) {
    for (auto _ : state) {
        Header& h = g_header;
        h.a = Swap32(h.a), h.b = Swap32(h.b), h.c = Swap32(h.c);
        h.d = Swap16(h.d), h.e = Swap16(h.e), h.f = Swap64(h.f);
        h.g = Swap32(h.g), h.h = Swap32(h.h);
        h.i = Swap16(h.i), h.j = Swap16(h.j), h.k = Swap32(h.k);
        benchmark::ClobberMemory();
    }
}
void RecordByLayout(benchmark::State& state) {
    for (auto _ : state) {
        StructureSwap::Record(&g_header, LAYOUT);
        benchmark::ClobberMemory();
    }
}
BENCHMARK(RecordByMembers)->Name("record_members/zelk");
BENCHMARK(RecordByHand)->Name("record_members/by_hand");
BENCHMARK(RecordByLayout)->Name("record_layout/zelk");
BENCHMARK(RecordByHand)->Name("record_layout/by_hand");

constexpr char TEXT[] = "2ed6657d-e927-568b-95e1-2665a8aea6a2";
constexpr Z4::GUID SAMPLE = Z4::operator""_guid(TEXT, 36);

void GuidParse(benchmark::State& state) {
    Z4::GUID guid{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(Z4::GUID::Parse({TEXT, 36}, guid));
        benchmark::DoNotOptimize(guid);
    }
}
void SystemParse(benchmark::State& state) {
    UUID guid;
    unsigned char text[sizeof(TEXT)];
    std::memcpy(text, TEXT, sizeof(TEXT));
    for (auto _ : state) {
        benchmark::DoNotOptimize(UuidFromStringA(text, &guid));
        benchmark::DoNotOptimize(guid);
    }
}
void GuidFormat(benchmark::State& state) {
    char text[Z4::GUID::FORMAT_SIZE];
    for (auto _ : state) {
        benchmark::DoNotOptimize(SAMPLE.Format(text, sizeof(text)));
        benchmark::DoNotOptimize(text);
    }
}
void SystemFormat(benchmark::State& state) {
    UUID guid;
    std::memcpy(&guid, &SAMPLE, sizeof(guid));
    for (auto _ : state) {
        unsigned char* text = nullptr;
        UuidToStringA(&guid, &text);
        benchmark::DoNotOptimize(text);
        RpcStringFreeA(&text);
    }
}
void GuidGenerate(benchmark::State& state) {
    Z4::GUID guid{};
    for (auto _ : state) {
        benchmark::DoNotOptimize(Z4::GUID::Generate(guid));
        benchmark::DoNotOptimize(guid);
    }
}
void SystemGenerate(benchmark::State& state) {
    UUID guid;
    for (auto _ : state) {
        benchmark::DoNotOptimize(UuidCreate(&guid));
        benchmark::DoNotOptimize(guid);
    }
}
BENCHMARK(GuidParse)->Name("guid_parse/zelk");
BENCHMARK(SystemParse)->Name("guid_parse/system");
BENCHMARK(GuidFormat)->Name("guid_format/zelk");
BENCHMARK(SystemFormat)->Name("guid_format/system");
BENCHMARK(GuidGenerate)->Name("guid_generate/zelk");
BENCHMARK(SystemGenerate)->Name("guid_generate/system");

} // namespace

BENCHMARK_MAIN();
