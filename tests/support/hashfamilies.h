// The hash families brought to one shape, for laws that hold for all.
#pragma once

#include <cstdint>
#include <zelk_core/base/hash.h>

namespace ZelkTest {

/// Families without a seed ignore it.
struct HashFamily {
    const char* name;
    std::uint64_t (*bytes)(const unsigned char* buffer, unsigned size, std::uint32_t seed);
    std::uint64_t (*narrow)(const char* string, std::uint32_t seed);
    std::uint64_t (*wide)(const wchar_t* string, std::uint32_t seed);

    /// `Function` takes the seed and then any form's input.
    template <class Function>
    static constexpr HashFamily Of(const char* name, Function) {
        return {name,
                [](const unsigned char* buffer, unsigned size, std::uint32_t seed) -> std::uint64_t {
                    return Function()(seed, buffer, size);
                },
                [](const char* string, std::uint32_t seed) -> std::uint64_t { return Function()(seed, string); },
                [](const wchar_t* string, std::uint32_t seed) -> std::uint64_t { return Function()(seed, string); }};
    }
};

inline constexpr HashFamily HASH_FAMILIES[] = {
    HashFamily::Of("FNV32", [](auto, auto... in) { return static_cast<std::uint32_t>(Z4::Hash::FNV32(in...)); }),
    HashFamily::Of("FNV64", [](auto, auto... in) { return Z4::Hash::FNV64(in...); }),
    HashFamily::Of("Knuth", [](auto seed, auto... in) { return Z4::Hash::Knuth(in..., seed); }),
    HashFamily::Of("XXH32", [](auto seed, auto... in) { return Z4::Hash::XXH32(in..., seed); }),
    HashFamily::Of("XXH64", [](auto seed, auto... in) { return Z4::Hash::XXH64(in..., std::uint64_t{seed}); }),
    HashFamily::Of("Dobbs", [](auto, auto... in) { return Z4::Hash::Dobbs(in...); }),
    HashFamily::Of("Fast", [](auto, auto... in) { return Z4::Hash::Fast(in...); }),
    HashFamily::Of("CRC", [](auto seed, auto... in) { return Z4::Hash::CRC(in..., seed); }),
};

} // namespace ZelkTest
