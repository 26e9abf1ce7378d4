// Every row `codec_level_direction/zelk/bytes` stands beside the same library called directly, over a text. Streams
// are made anew for each pass; LZO's objects, and the work memory of its direct calls, serve for all, as they would for
// their users.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <functional>
#include <host/zelkhost.h>
#include <lzo/lzo1x.h>
#include <memory>
#include <random>
#include <string>
#include <tests/support/zlibpeer.h>
#include <zelk_core/base/ealinterface.h>
#include <zelk_core/services/compression/lzo.h>
#include <zelk_core/services/compression/zlib.h>

namespace {

using Z4::CompressionInterface;
using Bytes = std::vector<unsigned char>;

/// Words of a skewed frequency, which deflate reduces to about a third.
Bytes MakeText(std::size_t size) {
    static const char* const WORDS[] = {"the ",   "of ",     "and ",    "stream ", "buffer ", "input ",  "a ",
                                        "is ",    "output ", "size ",   "memory ", "engine ", "thread ", "lock. ",
                                        "host\n", "table ",  "vector ", "value ",  "caller ", "returns "};
    std::mt19937 random(1);
    std::string text;
    while (text.size() < size) {
        const auto draw = random();
        text += WORDS[std::min(draw % 20, draw / 32 % 20)];
        if (draw >> 28 == 0) {
            text += std::to_string(draw);
        }
    }
    return Bytes(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size));
}

std::size_t RunCodec(CompressionInterface& codec, const Bytes& input, Bytes& output) {
    codec.FeedInputBuffer(input.data(), input.size());
    codec.FeedOutputBuffer(output.data(), output.size());
    static_cast<void>(codec.Process()); // Some classes have no result for one of them.
    static_cast<void>(codec.Flush());
    return codec.GetOutputDataSize();
}

// The direct calls take their memory from the host, too: what is compared is the way to the library.
void* Allocate(void*, unsigned items, unsigned size) {
    return ZelkHost::MemoryTable().alloc(items * size, 1, 0, 1);
}

void Free(void*, void* block) {
    ZelkHost::MemoryTable().free(block);
}

z_stream MakeStream(const Bytes& input, Bytes& output) {
    z_stream stream = ZelkTest::ZlibStream(input, output);
    stream.zalloc = Allocate;
    stream.zfree = Free;
    return stream;
}

/// One way of doing one thing. `output` has room enough; returns how much of it was filled.
using Pass = std::function<std::size_t(const Bytes& input, Bytes& output)>;

Pass DirectDeflate(int level) {
    return [level](const Bytes& input, Bytes& output) {
        z_stream stream = MakeStream(input, output);
        deflateInit(&stream, level);
        deflate(&stream, Z_NO_FLUSH);
        deflate(&stream, Z_FINISH);
        const std::size_t size = stream.total_out;
        deflateEnd(&stream);
        return size;
    };
}

std::size_t DirectInflate(const Bytes& input, Bytes& output) {
    z_stream stream = MakeStream(input, output);
    inflateInit(&stream);
    inflate(&stream, Z_SYNC_FLUSH);
    const std::size_t size = stream.total_out;
    inflateEnd(&stream);
    return size;
}

Pass DirectLzo(bool best) {
    const auto work = std::make_shared<Bytes>(LZO1X_999_MEM_COMPRESS);
    return [best, work](const Bytes& input, Bytes& output) {
        void* const memory = work->data();
        lzo_uint size = output.size();
        if (best) {
            lzo1x_999_compress_level(input.data(), input.size(), output.data(), &size, memory, nullptr, 0, nullptr, 9);
        } else {
            lzo1x_1_compress(input.data(), input.size(), output.data(), &size, memory);
        }
        return std::size_t{size};
    };
}

Pass DirectLzoExpand(bool safe) {
    return [safe](const Bytes& input, Bytes& output) {
        lzo_uint size = output.size();
        (safe ? lzo1x_decompress_safe : lzo1x_decompress)(input.data(), input.size(), output.data(), &size, nullptr);
        return std::size_t{size};
    };
}

Pass WrappedDeflate(CompressionInterface::cmp_level level) {
    return [level](const Bytes& input, Bytes& output) {
        Z4::ZLibDeflate codec(level);
        return RunCodec(codec, input, output);
    };
}

template <class Codec, class Argument>
Pass WrappedLzo(Argument argument) {
    const std::shared_ptr<Codec> codec(new Codec(argument));
    return [codec](const Bytes& input, Bytes& output) { return RunCodec(*codec, input, output); };
}

std::size_t WrappedInflate(const Bytes& input, Bytes& output) {
    Z4::ZLibInflate codec;
    return RunCodec(codec, input, output);
}

/// From words to what leaves every cache. The best levels take so long that they are shown on less.
const std::vector<std::size_t> FEW{4096, 262144};
const std::vector<std::size_t> ALL{8, 64, 512, 4096, 262144, 4194304, 67108864};

struct Row {
    const char* name;
    Pass zelk;
    Pass direct;
    /// What makes the input out of the content; none where it is the content.
    Pass prepare;
    const std::vector<std::size_t>& sizes;
};

void Measure(benchmark::State& state, const Pass& pass, const Bytes& input, std::size_t contentSize) {
    Bytes output(2 * contentSize + 100);
    for (auto _ : state) {
        benchmark::DoNotOptimize(pass(input, output));
    }
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * static_cast<std::int64_t>(contentSize));
}

} // namespace

int main(int argc, char** argv) {
    ZelkHost::Install();
    benchmark::Initialize(&argc, argv);

    const Row rows[] = {
        {"deflate_fast", WrappedDeflate(CompressionInterface::CMP_FAST), DirectDeflate(1), nullptr, ALL},
        {"deflate_default", WrappedDeflate(CompressionInterface::CMP_DEFAULT), DirectDeflate(6), nullptr, ALL},
        {"deflate_best", WrappedDeflate(CompressionInterface::CMP_BEST), DirectDeflate(9), nullptr, FEW},
        {"inflate", WrappedInflate, DirectInflate, DirectDeflate(6), ALL},
        {"lzo_fast", WrappedLzo<Z4::LzoDeflate>(CompressionInterface::CMP_FAST), DirectLzo(false), nullptr, ALL},
        {"lzo_best", WrappedLzo<Z4::LzoDeflate>(CompressionInterface::CMP_BEST), DirectLzo(true), nullptr, FEW},
        {"lzo_expand_safe", WrappedLzo<Z4::LzoInflate>(true), DirectLzoExpand(true), DirectLzo(false), ALL},
        {"lzo_expand_trusting", WrappedLzo<Z4::LzoInflate>(false), DirectLzoExpand(false), DirectLzo(false), ALL},
    };
    const Bytes text = MakeText(ALL.back());
    for (const Row& row : rows) {
        for (const std::size_t size : row.sizes) {
            auto input = std::make_shared<Bytes>(text.begin(), text.begin() + static_cast<std::ptrdiff_t>(size));
            if (row.prepare) {
                Bytes prepared(2 * size + 100);
                prepared.resize(row.prepare(*input, prepared));
                prepared.shrink_to_fit();
                *input = std::move(prepared);
            }
            const std::string name = row.name;
            const std::string bytes = "/" + std::to_string(size);
            const auto add = [&](const char* who, const Pass& pass) {
                auto* const added = benchmark::RegisterBenchmark(
                    (name + who + bytes).c_str(), [=](benchmark::State& state) { Measure(state, pass, *input, size); });
                if (size > 4096) {
                    added->Repetitions(5); // Each takes long enough by itself.
                }
            };
            add("/zelk", row.zelk);
            add("/direct", row.direct);
        }
    }
    benchmark::AddCustomContext("direct", "the same build of zlib or LZO, called as its own users do");
    benchmark::RunSpecifiedBenchmarks();
}
