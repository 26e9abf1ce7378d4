// Any bytes through the inflating wrapper, cut into pieces of input and output, against zlib called once; and through
// the deflating wrapper and back. The first bytes of the input choose the pieces and the level.
#include "body.h"
#include "hostmemory.h"

#include <algorithm>
#include <cstdint>
#include <cstring>
#include <tests/support/zlibpeer.h>
#include <zelk_core/services/compression/zlib.h>

namespace {

using Z4::CompressionInterface;
using Bytes = std::vector<unsigned char>;

/// What is expanded at most: small inputs can expand a thousandfold.
constexpr std::size_t LIMIT = 1 << 13;

struct Choices {
    std::uint8_t inputPiece;
    std::uint8_t outputPiece;
    std::uint8_t level;
};

struct Outcome {
    int result;
    Bytes output;
    std::size_t inputLeft;
};

/// Feeds copies of exact size, so that the sanitizer sees every access beyond a piece or after it was replaced.
class Pieces {
public:
    Pieces(const Bytes& input, const Choices& choices)
        : m_input(input), m_inputPiece(choices.inputPiece + 1u), m_output(choices.outputPiece + 1u) {}

    Outcome Run(CompressionInterface& codec, bool flush) {
        codec.FeedOutputBuffer(m_output.data(), m_output.size());
        while (m_outcome.result == CompressionInterface::NEED_INPUT && m_at < m_input.size()) {
            const std::size_t size = std::min(m_inputPiece, m_input.size() - m_at);
            const Bytes piece(m_input.begin() + static_cast<std::ptrdiff_t>(m_at),
                              m_input.begin() + static_cast<std::ptrdiff_t>(m_at + size));
            codec.FeedInputBuffer(piece.data(), piece.size());
            Drain(codec, [&] { return codec.Process(); });
            m_at += size - codec.GetAvailableInputSize();
        }
        codec.FeedInputBuffer(nullptr, 0);
        if (flush) {
            Drain(codec, [&] { return codec.Flush(); });
        }
        codec.FeedOutputBuffer(nullptr, 0);
        m_outcome.inputLeft = m_input.size() - m_at;
        return m_outcome;
    }

private:
    template <class Operation>
    void Drain(CompressionInterface& codec, Operation operation) {
        do {
            m_outcome.result = operation();
            const std::size_t produced = codec.GetOutputDataSize();
            Require(produced + codec.GetAvailableOutputSize() == m_output.size());
            m_outcome.output.insert(m_outcome.output.end(), m_output.begin(),
                                    m_output.begin() + static_cast<std::ptrdiff_t>(produced));
            m_output = Bytes(m_output.size());
            codec.FeedOutputBuffer(m_output.data(), m_output.size());
        } while (m_outcome.result == CompressionInterface::OUTPUT_FULL && m_outcome.output.size() < LIMIT);
    }

    const Bytes& m_input;
    std::size_t m_at = 0;
    std::size_t m_inputPiece;
    Bytes m_output;
    Outcome m_outcome{CompressionInterface::NEED_INPUT, {}, 0};
};

void CompareWithZlib(const Bytes& input, const Outcome& outcome) {
    if (outcome.output.size() >= LIMIT) {
        return;
    }
    Bytes expected(LIMIT + 1);
    z_stream stream = ZelkTest::ZlibStream(input, expected);
    inflateInit(&stream);
    const int result = inflate(&stream, Z_SYNC_FLUSH);
    expected.resize(stream.total_out);
    if (outcome.result != CompressionInterface::FAILED) {
        Require(outcome.output == expected);
        Require((result == Z_STREAM_END) == (outcome.result == CompressionInterface::DONE));
        Require(result != Z_STREAM_END || stream.avail_in == outcome.inputLeft);
    } else {
        // How far either gets before it sees the fault depends on the pieces.
        Require(result == Z_DATA_ERROR || result == Z_NEED_DICT);
        const std::size_t common = std::min(expected.size(), outcome.output.size());
        Require(std::equal(expected.begin(), expected.begin() + static_cast<std::ptrdiff_t>(common),
                           outcome.output.begin()));
    }
    inflateEnd(&stream);
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int*, char***) {
    InstallMemory();
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
    Choices choices;
    if (size < sizeof(choices)) {
        return 0;
    }
    std::memcpy(&choices, data, sizeof(choices));
    const Bytes input(data + sizeof(choices), data + size);
    {
        Z4::ZLibInflate inflater;
        CompareWithZlib(input, Pieces(input, choices).Run(inflater, false));
        if (choices.level % 4 == 0) {
            inflater.Reset();
            CompareWithZlib(input, Pieces(input, choices).Run(inflater, false));
        }
    }
    // Compressing sets up 256 KiB of tables each time; a part of the runs is enough.
    if (choices.level % 16 < 3) {
        Bytes stream;
        {
            Z4::ZLibDeflate deflater(static_cast<CompressionInterface::cmp_level>(choices.level % 16));
            const Outcome outcome = Pieces(input, choices).Run(deflater, true);
            Require(outcome.result == CompressionInterface::DONE || outcome.output.size() >= LIMIT);
            stream = outcome.output;
        }
        if (stream.size() < LIMIT) {
            Z4::ZLibInflate inflater;
            const Outcome back = Pieces(stream, choices).Run(inflater, false);
            Require(back.output.size() >= LIMIT || (back.result == CompressionInterface::DONE && back.output == input));
        }
    }
    RequireNothingLeft();
    return 0;
}
