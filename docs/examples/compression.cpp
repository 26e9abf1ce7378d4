#include "examples.h"

//! [example]
void ShowCompression() {
    using Z4::CompressionInterface;
    const std::string text(1000, 'z');
    char packed[200];
    Z4::ZLibDeflate deflate(CompressionInterface::CMP_BEST);
    deflate.FeedInputBuffer(text.data(), static_cast<unsigned long>(text.size()));
    deflate.FeedOutputBuffer(packed, sizeof packed);
    const bool isPacked = deflate.Flush() == CompressionInterface::DONE; // OUTPUT_FULL would ask for more room
    const unsigned long size = deflate.GetOutputDataSize();

    char back[1000];
    Z4::ZLibInflate inflate; // any bytes may come: damaged ones are FAILED
    inflate.FeedInputBuffer(packed, size);
    inflate.FeedOutputBuffer(back, sizeof back);
    const bool isBack = inflate.Process() == CompressionInterface::DONE && std::string(back, sizeof back) == text;
    std::printf("%d %d\n", isPacked, isBack); // 1 1

    // Names and chat lines are too short for streams; this needs no memory and no common dictionary.
    char small[Z4::StringCompressor::GetMaxCompressedSize(40)];
    const auto result = Z4::StringCompressor().Compress("meet me at the old mill", small);
    std::printf("%lu of 23 bytes, %lu characters lost\n", result.size, result.droppedCount);
}
//! [example]
