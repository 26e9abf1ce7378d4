#include "examples.h"

//! [example]
void ShowBase() {
    // A checksum that goes on where another one ended, and a hash that the compiler computes.
    const unsigned crc = Z4::Hash::CRC("lazy dog", Z4::Hash::CRC("The "));
    std::printf("%s\n", crc == Z4::Hash::CRC("The lazy dog") ? "in two parts: the same" : "different");
    constexpr unsigned MESH = Z4::Hash::CTCRC32B("mesh", 0xFFFFFFFF);

    // The format is checked against its arguments by the compiler; the buffer is never overrun.
    char line[20];
    const int length = Z4::StrFormat::Print(line, sizeof line, "%08X %s", MESH, "is the identifier of a mesh");
    std::printf("\"%s\", cut from %d characters\n", line, length);

    char size[18];
    std::printf("%s\n", Z4::StrFormat::FormatSize(size, sizeof size, 3'500'000, "B", 1));
    std::printf("%s\n", Z4::GetErrorString(Z4::ERR_TIMEOUT));
}
//! [example]
