// Every row `family/zelk_core/bytes` stands beside the peer's, `family/peer/bytes`.
#include <benchmark/benchmark.h>
#include <cstdint>
#include <cstring>
#include <libdeflate.h>
#include <string>
#include <vector>
#include <xxhash.h>
#include <zelk_core/base/hash.h>
#include <zlib.h>

using Z4::Hash;

#define TEXT_OF(macro) #macro
#define TEXT(macro) TEXT_OF(macro)
#define XXHASH_VERSION TEXT(XXH_VERSION_MAJOR) "." TEXT(XXH_VERSION_MINOR) "." TEXT(XXH_VERSION_RELEASE)

namespace {

// The plain loops, as each algorithm's description reads.

std::uint32_t PlainFnv32(const unsigned char* buffer, unsigned size) {
    std::uint32_t hash = 0x811C9DC5;
    for (unsigned i = 0; i < size; ++i) {
        hash ^= buffer[i];
        hash *= 16777619;
    }
    return hash;
}

std::uint64_t PlainFnv64(const unsigned char* buffer, unsigned size) {
    std::uint64_t hash = 0xCBF29CE484222325;
    for (unsigned i = 0; i < size; ++i) {
        hash ^= buffer[i];
        hash *= 0x100000001B3;
    }
    return hash;
}

std::uint32_t PlainKnuth(const unsigned char* buffer, unsigned size) {
    std::uint32_t hash = 0;
    for (unsigned i = 0; i < size; ++i) {
        hash = ((hash << 4) ^ (hash >> 28)) ^ buffer[i];
    }
    return hash;
}

/// Whole groups only.
std::uint32_t PlainFast(const unsigned char* buffer, unsigned size) {
    const auto unit = [](const unsigned char* p) {
        std::uint16_t value;
        std::memcpy(&value, p, sizeof(value));
        return std::uint32_t{value};
    };
    std::uint32_t hash = size;
    const unsigned char* p = buffer;
    for (unsigned groups = size >> 2; groups > 0; --groups) {
        hash += unit(p);
        const std::uint32_t t = (unit(p + 2) << 11) ^ hash;
        hash = (hash << 16) ^ t;
        p += 4;
        hash += hash >> 11;
    }
    hash ^= hash << 3;
    hash += hash >> 5;
    hash ^= hash << 2;
    hash += hash >> 15;
    hash ^= hash << 10;
    return hash;
}

#define LOOKUP2_MIX(a, b, c)          \
    {                                 \
        a -= b, a -= c, a ^= c >> 13; \
        b -= c, b -= a, b ^= a << 8;  \
        c -= a, c -= b, c ^= b >> 13; \
        a -= b, a -= c, a ^= c >> 12; \
        b -= c, b -= a, b ^= a << 16; \
        c -= a, c -= b, c ^= b >> 5;  \
        a -= b, a -= c, a ^= c >> 3;  \
        b -= c, b -= a, b ^= a << 10; \
        c -= a, c -= b, c ^= b >> 15; \
    }

/// Whole blocks only.
std::uint32_t PlainLookup2(const unsigned char* buffer, unsigned size) {
    const auto word = [](const unsigned char* p) {
        std::uint32_t value;
        std::memcpy(&value, p, sizeof(value));
        return value;
    };
    std::uint32_t a = 0x9E3779B9;
    std::uint32_t b = 0x9E3779B9;
    std::uint32_t c = 0;
    const unsigned char* p = buffer;
    for (unsigned blocks = size / 12; blocks > 0; --blocks) {
        a += word(p);
        b += word(p + 4);
        c += word(p + 8);
        LOOKUP2_MIX(a, b, c)
        p += 12;
    }
    c += size;
    LOOKUP2_MIX(a, b, c)
    return c;
}

std::uint32_t PlainCrc(const char* string) {
    const z_crc_t* const table = get_crc_table();
    std::uint32_t crc = 0xFFFFFFFF;
    const auto* p = reinterpret_cast<const unsigned char*>(string);
    for (; *p != 0; ++p) {
        crc = (crc >> 8) ^ table[(crc ^ *p) & 0xFF];
    }
    return ~crc;
}

/// Hashes bytes that start at a cache line, so that it does not matter where the heap happens to put them, and that
/// hold a string of their length.
template <class Function>
void Measure(benchmark::State& state, unsigned size, Function function) {
    constexpr unsigned CACHE_LINE = 64;
    std::vector<unsigned char> memory(CACHE_LINE + size + 1);
    unsigned char* const bytes =
        memory.data() + (CACHE_LINE - reinterpret_cast<std::uintptr_t>(memory.data()) % CACHE_LINE);
    for (unsigned i = 0; i < size; ++i) {
        bytes[i] = static_cast<unsigned char>(1 + (i * 2654435761u >> 20) % 255);
    }
    for (auto _ : state) {
        benchmark::DoNotOptimize(function(bytes, size));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * size);
}

/// A peer's function and its name in the rows.
template <class Function>
struct Peer {
    const char* name;
    Function function;
};

template <class Function>
void AddRows(const std::string& family, const char* who, const std::vector<unsigned>& sizes, Function function) {
    for (const unsigned size : sizes) {
        const std::string name = family + "/" + who + "/" + std::to_string(size);
        auto* const row = benchmark::RegisterBenchmark(name.c_str(), Measure<Function>, size, function);
        if (size >= 16 * 1024 * 1024) {
            row->Repetitions(5); // Each takes long enough by itself.
        }
    }
}

template <class Ours, class... Functions>
void Compare(const std::string& family, const std::vector<unsigned>& sizes, Ours ours, Peer<Functions>... peers) {
    AddRows(family, "zelk_core", sizes, ours);
    (AddRows(family, peers.name, sizes, peers.function), ...);
}

const char* AsString(const unsigned char* buffer) {
    return reinterpret_cast<const char*>(buffer);
}

} // namespace

int main(int argc, char** argv) {
    constexpr unsigned KIB = 1024;
    constexpr unsigned MIB = 1024 * 1024;
    using Bytes = const unsigned char*;

    benchmark::AddCustomContext("zlib", "crc32 of zlib " ZLIB_VERSION " with -O3");
    benchmark::AddCustomContext("libdeflate", "libdeflate_crc32 of libdeflate " LIBDEFLATE_VERSION_STRING
                                              ", by carry-less multiplication in vectors of 16 bytes");
    benchmark::AddCustomContext("xxhash", "the xxHash library " XXHASH_VERSION " with -O3, linked statically");
    benchmark::AddCustomContext("plain",
                                "the published loop, compiled into the caller; of CRC_string, zlib's table and a loop "
                                "up to the terminator");
    // From words to what leaves every cache: how cost grows.
    const std::vector<unsigned> scale{8, 16, 64, 100, 128, 256, KIB, 4 * KIB, 64 * KIB, MIB, 16 * MIB, 64 * MIB};
    Compare(
        "CRC", scale, [](Bytes p, unsigned n) { return Hash::CRC(p, n); },
        Peer{"zlib", [](Bytes p, unsigned n) { return crc32(0, p, n); }},
        Peer{"libdeflate", [](Bytes p, unsigned n) { return libdeflate_crc32(0, p, n); }});
    Compare(
        "CRC_string", {4, 8, 16, 24, KIB}, [](Bytes p, unsigned) { return Hash::CRC(AsString(p)); },
        Peer{"plain", [](Bytes p, unsigned) { return PlainCrc(AsString(p)); }});
    Compare(
        "XXH32", scale, [](Bytes p, unsigned n) { return Hash::XXH32(p, n); },
        Peer{"xxhash", [](Bytes p, unsigned n) { return XXH32(p, n, 0); }});
    Compare(
        "XXH64", scale, [](Bytes p, unsigned n) { return Hash::XXH64(p, n); },
        Peer{"xxhash", [](Bytes p, unsigned n) { return XXH64(p, n, 0); }});
    const std::vector<unsigned> words{20, KIB, MIB};
    Compare(
        "FNV32", words, [](Bytes p, unsigned n) { return Hash::FNV32(p, n); }, Peer{"plain", PlainFnv32});
    Compare(
        "FNV64", words, [](Bytes p, unsigned n) { return Hash::FNV64(p, n); }, Peer{"plain", PlainFnv64});
    const std::vector<unsigned> blocks{24, 1020, MIB - 4};
    Compare(
        "Dobbs", blocks, [](Bytes p, unsigned n) { return Hash::Dobbs(p, n); }, Peer{"plain", PlainLookup2});
    Compare(
        "Fast", words, [](Bytes p, unsigned n) { return Hash::Fast(p, n); }, Peer{"plain", PlainFast});
    Compare(
        "Knuth", words, [](Bytes p, unsigned n) { return Hash::Knuth(p, n); }, Peer{"plain", PlainKnuth});

    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
}
