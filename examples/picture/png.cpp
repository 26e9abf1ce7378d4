#include "png.h"

#include <fstream>
#include <string>
#include <zelk_core/zelk_core.h>

namespace {

/// Most significant byte first, as all numbers of the format.
std::string Number(unsigned value) {
    std::string bytes;
    for (int shift = 24; shift >= 0; shift -= 8) {
        bytes += static_cast<char>(value >> shift & 255);
    }
    return bytes;
}

/// Its length, its type, its data and the checksum of the last two.
void WriteChunk(std::ofstream& file, const std::string& type, const std::string& data) {
    const std::string content = type + data;
    const unsigned crc =
        Z4::Hash::CRC(reinterpret_cast<const unsigned char*>(content.data()), static_cast<unsigned>(content.size()));
    file << Number(static_cast<unsigned>(data.size())) << content << Number(crc);
}

} // namespace

bool WritePng(const char* path, unsigned width, unsigned height, const std::vector<unsigned char>& pixels) {
    std::ofstream file(path, std::ios::binary);
    file << "\x89PNG\r\n\x1A\n";
    // Eight bits of each of three colors.
    WriteChunk(file, "IHDR", Number(width) + Number(height) + std::string("\x08\x02\x00\x00\x00", 5));

    // What a byte is more than the one above it packs better than the byte itself.
    constexpr char UP = 2;
    std::string rows;
    const std::size_t rowSize = std::size_t{3} * width;
    for (std::size_t i = 0; i < pixels.size(); ++i) {
        if (i % rowSize == 0) {
            rows += UP;
        }
        rows += static_cast<char>(pixels[i] - (i < rowSize ? 0 : pixels[i - rowSize]));
    }
    Z4::ZLibDeflate deflate(Z4::CompressionInterface::CMP_BEST);
    deflate.FeedInputBuffer(rows.data(), static_cast<unsigned long>(rows.size()));
    int result = Z4::CompressionInterface::OUTPUT_FULL;
    while (result == Z4::CompressionInterface::OUTPUT_FULL) {
        char piece[16384];
        deflate.FeedOutputBuffer(piece, sizeof piece);
        result = deflate.Flush();
        WriteChunk(file, "IDAT", std::string(piece, deflate.GetOutputDataSize()));
    }
    WriteChunk(file, "IEND", "");
    file.close();
    return result == Z4::CompressionInterface::DONE && !file.fail();
}
