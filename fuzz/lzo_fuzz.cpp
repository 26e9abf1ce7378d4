// Any bytes through the checked LZO wrapper, into room of any size, against LZO itself; and through both compressors
// and both expanders back. The first bytes of the input choose the room.
#include "body.h"
#include "hostmemory.h"

#include <cstdint>
#include <cstring>
#include <lzo/lzo1x.h>
#include <memory>
#include <vector>
#include <zelk_core/services/compression/lzo.h>

namespace {

using Z4::CompressionInterface;
using Bytes = std::vector<unsigned char>;

void ExpandAnything(const Bytes& input, std::size_t room) {
    // Blocks of exactly the size, so that the sanitizer sees every access beyond them.
    const auto output = std::make_unique<unsigned char[]>(room);
    Z4::LzoInflate inflater(true);
    inflater.FeedInputBuffer(input.data(), input.size());
    inflater.FeedOutputBuffer(output.get(), room);
    const int result = inflater.Process();

    const auto expected = std::make_unique<unsigned char[]>(room);
    lzo_uint expectedSize = room;
    const int lzo = lzo1x_decompress_safe(input.data(), input.size(), expected.get(), &expectedSize, nullptr);
    const bool done = lzo == LZO_E_OK || lzo == LZO_E_INPUT_NOT_CONSUMED;
    Require(result == (done                          ? CompressionInterface::DONE
                       : lzo == LZO_E_OUTPUT_OVERRUN ? CompressionInterface::OUTPUT_FULL
                                                     : CompressionInterface::FAILED));
    Require(inflater.GetOutputDataSize() == expectedSize);
    Require(std::memcmp(output.get(), expected.get(), expectedSize) == 0);
    Require(inflater.GetAvailableInputSize() == (done ? 0 : input.size()));
    Require(inflater.GetAvailableOutputSize() == (done ? room - expectedSize : room));
}

void RoundTrip(const Bytes& input, CompressionInterface::cmp_level level) {
    const std::size_t room = Z4::Lzo::GetSafeDeflateBufferSize(input.size());
    const auto roomy = std::make_unique<unsigned char[]>(room);
    Z4::LzoDeflate deflater(level);
    deflater.FeedInputBuffer(input.data(), input.size());
    deflater.FeedOutputBuffer(roomy.get(), room);
    Require(deflater.Process() == CompressionInterface::DONE);
    const Bytes block(roomy.get(), roomy.get() + deflater.GetOutputDataSize());
    for (const bool safe : {true, false}) {
        const auto output = std::make_unique<unsigned char[]>(input.size());
        Z4::LzoInflate inflater(safe);
        inflater.FeedInputBuffer(block.data(), block.size());
        inflater.FeedOutputBuffer(output.get(), input.size());
        Require(inflater.Process() == CompressionInterface::DONE);
        Require(inflater.GetOutputDataSize() == input.size());
        Require(input.empty() || std::memcmp(output.get(), input.data(), input.size()) == 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    InstallMemory();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    std::uint16_t room;
    if (size < sizeof(room)) {
        return 0;
    }
    std::memcpy(&room, data, sizeof(room));
    const Bytes input(data + sizeof(room), data + size);
    ExpandAnything(input, room);
    // Compressing takes up to 448 KiB of tables each time; a part of the runs is enough.
    if (room % 8 == 0) {
        RoundTrip(input, CompressionInterface::CMP_FAST);
    }
    if (room % 64 == 8) {
        RoundTrip(input, CompressionInterface::CMP_BEST);
    }
    RequireNothingLeft();
    return 0;
}
