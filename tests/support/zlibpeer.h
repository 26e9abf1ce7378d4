// zlib used directly. It is built without an allocator, so whoever calls it brings one.
#pragma once

#include <cstdlib>
#include <stdexcept>
#include <vector>
#include <zlib.h>

namespace ZelkTest {

inline void* ZlibAllocate(void*, unsigned items, unsigned size) {
    return std::calloc(items, size);
}

inline void ZlibFree(void*, void* block) {
    std::free(block);
}

inline z_stream ZlibStream(const std::vector<unsigned char>& input, std::vector<unsigned char>& output) {
    z_stream stream{};
    stream.zalloc = ZlibAllocate;
    stream.zfree = ZlibFree;
    stream.next_in = const_cast<unsigned char*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = output.data();
    stream.avail_out = static_cast<uInt>(output.size());
    return stream;
}

inline std::vector<unsigned char> ZlibDeflate(const std::vector<unsigned char>& input, int level) {
    std::vector<unsigned char> output(input.size() + input.size() / 100 + 100);
    z_stream stream = ZlibStream(input, output);
    deflateInit(&stream, level);
    if (deflate(&stream, Z_FINISH) != Z_STREAM_END) {
        throw std::runtime_error("zlib does not deflate");
    }
    output.resize(stream.total_out);
    deflateEnd(&stream);
    return output;
}

} // namespace ZelkTest
