// Any bytes through the inflating wrapper, cut into pieces of input and output, against zlib called once; and through
// the deflating wrapper and back. The first bytes of the input choose the pieces and the level. The objects live as
// long as the program and are reset, as their contract has it: to make one costs more than all that is done with it.
#include "body.h"
#include "hostmemory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <iterator>
#include <memory>
#include <tests/support/zlibpeer.h>
#include <utility>
#include <zelk_core/services/compression/zlib.h>

namespace {

using Z4::CompressionInterface;
using Bytes = std::vector<unsigned char>;

constexpr std::size_t LONGEST_INPUT = 192;
/// What is expanded at most: small inputs can expand a thousandfold.
constexpr std::size_t LIMIT = 512;

struct Choices {
    std::uint8_t inputPiece;
    std::uint8_t outputPiece;
    std::uint8_t level;
};

struct Outcome {
    int result = CompressionInterface::NEED_INPUT;
    Bytes output;
    std::size_t inputLeft = 0;
};

/// Feeds copies of exact size, so that the sanitizer sees every access beyond a piece or after it was replaced. Only
/// the first pieces are as small as chosen: with many of them each run would take several times as long.
class Pieces {
public:
    Pieces(const Bytes& input, const Choices& choices)
        : m_input(input), m_inputPiece(choices.inputPiece + 1u), m_output(choices.outputPiece + 1u) {}

    Outcome Run(CompressionInterface& codec, bool flush) {
        m_outcome.output.reserve(LIMIT + m_output.size() + LATER_PIECES);
        codec.FeedOutputBuffer(m_output.data(), m_output.size());
        while (m_outcome.result == CompressionInterface::NEED_INPUT && m_at < m_input.size()) {
            const std::size_t size = std::min(m_inputPiece, m_input.size() - m_at);
            const auto piece = std::make_unique<unsigned char[]>(size);
            std::memcpy(piece.get(), m_input.data() + m_at, size);
            codec.FeedInputBuffer(piece.get(), size);
            Drain(codec, &CompressionInterface::Process);
            m_at += size - codec.GetAvailableInputSize();
            m_inputPiece = LATER_PIECES;
        }
        codec.FeedInputBuffer(nullptr, 0);
        if (flush) {
            Drain(codec, &CompressionInterface::Flush);
        }
        codec.FeedOutputBuffer(nullptr, 0);
        codec.Reset();
        m_outcome.inputLeft = m_input.size() - m_at;
        return std::move(m_outcome);
    }

private:
    static constexpr std::size_t LATER_PIECES = 128;

    void Drain(CompressionInterface& codec, int (CompressionInterface::*operation)()) {
        do {
            m_outcome.result = (codec.*operation)();
            const std::size_t produced = codec.GetOutputDataSize();
            Require(produced + codec.GetAvailableOutputSize() == m_output.size());
            if (produced != 0) {
                const std::size_t before = m_outcome.output.size();
                m_outcome.output.resize(before + produced);
                std::memcpy(m_outcome.output.data() + before, m_output.data(), produced);
                m_output = Bytes(LATER_PIECES);
                codec.FeedOutputBuffer(m_output.data(), m_output.size());
            }
        } while (m_outcome.result == CompressionInterface::OUTPUT_FULL && m_outcome.output.size() < LIMIT);
    }

    const Bytes& m_input;
    std::size_t m_at = 0;
    std::size_t m_inputPiece;
    Bytes m_output;
    Outcome m_outcome;
};

void CompareWithZlib(const Bytes& input, const Outcome& outcome) {
    static z_stream stream = [] {
        z_stream made{};
        made.zalloc = ZelkTest::ZlibAllocate;
        made.zfree = ZelkTest::ZlibFree;
        inflateInit(&made);
        return made;
    }();
    if (outcome.output.size() >= LIMIT) {
        return;
    }
    unsigned char expected[LIMIT + 1];
    inflateReset(&stream);
    stream.next_in = const_cast<unsigned char*>(input.data());
    stream.avail_in = static_cast<uInt>(input.size());
    stream.next_out = expected;
    stream.avail_out = sizeof expected;
    const int result = inflate(&stream, Z_SYNC_FLUSH);
    const std::size_t size = stream.total_out;
    if (outcome.result != CompressionInterface::FAILED) {
        Require(outcome.output.size() == size && std::memcmp(expected, outcome.output.data(), size) == 0);
        Require((result == Z_STREAM_END) == (outcome.result == CompressionInterface::DONE));
        Require(result != Z_STREAM_END || stream.avail_in == outcome.inputLeft);
    } else {
        // How far either gets before it sees the fault depends on the pieces.
        Require(result == Z_DATA_ERROR || result == Z_NEED_DICT);
        Require(std::memcmp(expected, outcome.output.data(), std::min(size, outcome.output.size())) == 0);
    }
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    InstallMemory();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    static Z4::ZLibInflate inflater;
    static Z4::ZLibDeflate deflaters[] = {Z4::ZLibDeflate(CompressionInterface::CMP_DEFAULT),
                                          Z4::ZLibDeflate(CompressionInterface::CMP_FAST),
                                          Z4::ZLibDeflate(CompressionInterface::CMP_BEST)};
    // With inflate's window, which is made once and kept.
    static const long blocksAtMost = g_outstandingBlocks + 1;
    Choices choices;
    if (size < sizeof(choices)) {
        return 0;
    }
    std::memcpy(&choices, data, sizeof(choices));
    const Bytes input(data + sizeof(choices), data + std::min(size, sizeof(choices) + LONGEST_INPUT));
    CompareWithZlib(input, Pieces(input, choices).Run(inflater, false));
    // Compressing takes several times as long as expanding, and any input serves: a part of the runs is enough.
    if (choices.level % 16 < std::size(deflaters)) {
        const Outcome deflated = Pieces(input, choices).Run(deflaters[choices.level % 16], true);
        Require(deflated.result == CompressionInterface::DONE);
        const Outcome back = Pieces(deflated.output, choices).Run(inflater, false);
        Require(back.result == CompressionInterface::DONE && back.output == input);
    }
    Require(g_outstandingBlocks <= blocksAtMost);
    return 0;
}
