#include "digest.h"

#include <zelk_core/base/hash.h>
#include <zelk_core/base/strformat.h>
#include <zelk_core/base/structureswap.h>

namespace {

/// The same format in both character types.
struct Format {
    const char* narrow;
    const wchar_t* wide;
};
#define FORMAT(text) \
    { text, L##text }

constexpr Format INTEGERS[] = {FORMAT("%d"),    FORMAT("%5i|"),   FORMAT("%-8u|"), FORMAT("%08X"),   FORMAT("%#o"),
                               FORMAT("% .4d"), FORMAT("%+06hd"), FORMAT("%#-9x"), FORMAT("%12.7u|")};
constexpr Format LONG_INTEGERS[] = {FORMAT("%lld"), FORMAT("%+24llu|"), FORMAT("%#.18llx"), FORMAT("%-26.20lli|")};
constexpr Format NUMBERS[] = {FORMAT("%f"), FORMAT("%.0f"),     FORMAT("%12.3f|"), FORMAT("%-+20.9f|"),
                              FORMAT("%g"), FORMAT("%016.12g"), FORMAT("%.30f")};

template <class Value>
void AddTexts(Digest& digest, const Format& format, Value value) {
    char narrow[40];
    digest.Add(Z4::StrFormat::snprintf(narrow, sizeof narrow, format.narrow, value));
    digest.Add(narrow, std::strlen(narrow));
    wchar_t wide[80];
    digest.Add(Z4::StrFormat::snprintf(wide, 80, format.wide, value));
    for (const wchar_t* p = wide; *p != 0; ++p) {
        digest.Add(static_cast<std::uint32_t>(*p));
    }
}

double AnyMagnitude(Input& input) {
    double value = static_cast<double>(input.Number(1));
    value *= static_cast<double>(input.Bits());
    for (std::uint32_t i = input.Below(24); i > 0; --i) {
        value *= input.Below(2) != 0 ? 1000.0 : 0.001;
    }
    return value;
}

void AddFormatter(Digest& digest, Input& input) {
    for (int round = 0; round < 500; ++round) {
        for (const Format& format : INTEGERS) {
            AddTexts(digest, format, input.Bits() >> input.Below(32));
        }
        for (const Format& format : LONG_INTEGERS) {
            AddTexts(digest, format, input.LongBits() >> input.Below(64));
        }
        for (const Format& format : NUMBERS) {
            AddTexts(digest, format, AnyMagnitude(input));
        }
        char text[40];
        digest.Add(Z4::StrFormat::FormatSize(text, sizeof text, input.LongBits() >> input.Below(64), "B", round % 10),
                   0);
        digest.Add(text, std::strlen(text));
    }
}

void AddHashes(Digest& digest, Input& input) {
    using Z4::Hash;
    std::uint32_t table[256];
    Hash::CreateCrcTable(0x82F63B78, table);
    alignas(16) unsigned char data[1100];
    for (unsigned size = 0; size < 1024; size += 1 + size / 16) {
        input.Fill(data, sizeof data);
        const unsigned char* const buffer = data + input.Below(16);
        const std::uint32_t seed = input.Bits();
        digest.Add(Hash::FNV32(buffer, size), Hash::FNV64(buffer, size), Hash::Knuth(buffer, size, seed),
                   Hash::XXH32(buffer, size, seed));
        digest.Add(Hash::XXH64(buffer, size, input.LongBits()));
        digest.Add(Hash::Dobbs(buffer, size), Hash::Fast(buffer, size), Hash::CRC(buffer, size, seed),
                   Hash::CRC(buffer, size, table, seed));

        // Strings have the hash of their bytes.
        char text[1024] = {};
        input.FillText(text, size);
        digest.Add(Hash::CTCRC(text, seed), Hash::CTCRC32B(text, seed));
    }
}

void AddByteOrder(Digest& digest, Input& input) {
    using Z4::StructureSwap;
    static constexpr Z4::SwapField FIELDS[] = {
        {0, 3, 2, nullptr}, {8, 2, 4, nullptr}, {17, 1, 8, nullptr}, {25, 1, 16, nullptr}};
    static constexpr Z4::SwapLayout LAYOUT{FIELDS, 4, 43};
    unsigned char data[1024];
    unsigned char swapped[1024];
    for (unsigned size = 0; size < sizeof data; size += 1 + size / 16) {
        input.Fill(data, sizeof data);
        std::memset(swapped, 0, sizeof swapped);
        StructureSwap::Array16(swapped, data, size / 2);
        digest.Add(swapped, size);
        StructureSwap::Array32(swapped, data, size / 4);
        digest.Add(swapped, size);
        StructureSwap::Array64(swapped, data, size / 8);
        digest.Add(swapped, size);
        StructureSwap::Record(swapped, data, LAYOUT, size / LAYOUT.recordSize);
        digest.Add(swapped, size);
        digest.Add(Z4::LoadBig<std::uint64_t>(data + size % 64));
        digest.Add(Z4::LoadLittle<std::uint32_t>(data + size % 64));
    }
}

} // namespace

constexpr Room BASE[] = {{"formatter", AddFormatter}, {"hashes", AddHashes}, {"byte-order", AddByteOrder}};
std::span<const Room> BaseRooms() {
    return BASE;
}
