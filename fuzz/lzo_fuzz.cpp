// Any bytes through the checked LZO wrapper, into room of any size, against LZO itself; and through both compressors
// and both expanders back. The first bytes of the input choose the room. The objects live as long as the program: their
// work memory would cost more than all that is done with it.
#include "body.h"
#include "hostmemory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <lzo/lzo1x.h>
#include <memory>
#include <vector>
#include <zelk_core/services/compression/lzo.h>

namespace {

using Z4::CompressionInterface;
using Bytes = std::vector<unsigned char>;

constexpr std::size_t LONGEST_INPUT = 512;
constexpr std::size_t MOST_ROOM = 2048;

void ExpandAnything(Z4::LzoInflate& inflater, const Bytes& input, std::size_t room) {
    // Blocks of exactly the size, so that the sanitizer sees every access beyond them.
    const auto output = std::make_unique<unsigned char[]>(room);
    inflater.FeedInputBuffer(input.data(), input.size());
    inflater.FeedOutputBuffer(output.get(), room);
    const int result = inflater.Process();

    unsigned char expected[MOST_ROOM];
    lzo_uint expectedSize = room;
    const int lzo = lzo1x_decompress_safe(input.data(), input.size(), expected, &expectedSize, nullptr);
    const bool done = lzo == LZO_E_OK || lzo == LZO_E_INPUT_NOT_CONSUMED;
    Require(result == (done                          ? CompressionInterface::DONE
                       : lzo == LZO_E_OUTPUT_OVERRUN ? CompressionInterface::OUTPUT_FULL
                                                     : CompressionInterface::FAILED));
    Require(inflater.GetOutputDataSize() == expectedSize);
    Require(std::memcmp(output.get(), expected, expectedSize) == 0);
    Require(inflater.GetAvailableInputSize() == (done ? 0 : input.size()));
    Require(inflater.GetAvailableOutputSize() == (done ? room - expectedSize : room));
}

void RoundTrip(Z4::LzoDeflate& deflater, Z4::LzoInflate (&inflaters)[2], const Bytes& input) {
    const std::size_t room = Z4::Lzo::GetSafeDeflateBufferSize(input.size());
    const auto roomy = std::make_unique<unsigned char[]>(room);
    deflater.FeedInputBuffer(input.data(), input.size());
    deflater.FeedOutputBuffer(roomy.get(), room);
    Require(deflater.Process() == CompressionInterface::DONE);
    const Bytes block(roomy.get(), roomy.get() + deflater.GetOutputDataSize());
    for (Z4::LzoInflate& inflater : inflaters) {
        const auto output = std::make_unique<unsigned char[]>(input.size());
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
    static Z4::LzoDeflate fast(CompressionInterface::CMP_FAST);
    static Z4::LzoDeflate best(CompressionInterface::CMP_BEST);
    static Z4::LzoInflate inflaters[] = {Z4::LzoInflate(true), Z4::LzoInflate(false)};
    static const long blocks = g_outstandingBlocks;
    std::uint16_t room;
    if (size < sizeof(room)) {
        return 0;
    }
    std::memcpy(&room, data, sizeof(room));
    const Bytes input(data + sizeof(room), data + std::min(size, sizeof(room) + LONGEST_INPUT));
    ExpandAnything(inflaters[0], input, room % (MOST_ROOM + 1));
    RoundTrip(fast, inflaters, input);
    if (room % 8 == 0) {
        RoundTrip(best, inflaters, input);
    }
    Require(g_outstandingBlocks == blocks);
    return 0;
}
