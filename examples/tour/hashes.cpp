#include "tour.h"

#include <zelk_core/zelk_core.h>

void TourHashes(const std::string& content) {
    using Z4::Hash;
    Chapter("base", "the file in every hash");
    const auto* const bytes = reinterpret_cast<const unsigned char*>(content.data());
    const auto size = static_cast<unsigned>(content.size());
    Print("   %-8s         %08X\n", "CRC", Hash::CRC(bytes, size));
    Print("   %-8s         %08X\n", "XXH32", Hash::XXH32(bytes, size));
    Print("   %-8s %016llX\n", "XXH64", Hash::XXH64(bytes, size));
    Print("   %-8s         %08X\n", "FNV32", Hash::FNV32(bytes, size));
    Print("   %-8s %016llX\n", "FNV64", Hash::FNV64(bytes, size));
    Print("   %-8s         %08X\n", "Dobbs", Hash::Dobbs(bytes, size));
    Print("   %-8s         %08X\n", "Fast", Hash::Fast(bytes, size));
    Print("   %-8s         %08X\n", "Knuth", Hash::Knuth(bytes, size));

    const unsigned half = size / 2;
    const unsigned inTwoPieces = Hash::CRC(bytes + half, size - half, Hash::CRC(bytes, half));
    Print("   The CRC of both halves, one continuing the other, is %s.\n",
          inTwoPieces == Hash::CRC(bytes, size) ? "the same" : "DIFFERENT");
}
