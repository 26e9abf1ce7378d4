// StringCompressor beside raw deflate and inflate at zlib's usual level, on one short text at a time: what a user would
// call for it is counted whole, zlib's set-up and clean-up included, and the compressor's content detection. The size
// is that of a text of lower-case words; 0 stands for all of many mixed texts, one after another.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <string>
#include <tests/support/rows.h>
#include <tests/support/zlibpeer.h>
#include <vector>
#include <zelk_core/services/compression/stringcompressor.h>
#include <zlib.h>

namespace {

void Require(bool succeeded) {
    if (!succeeded) {
        std::abort();
    }
}

struct Own {
    static unsigned long Compress(const std::string& text, char* out, unsigned long capacity) {
        static Z4::StringCompressor compressor;
        unsigned long size;
        Require(!compressor.Compress(text.data(), static_cast<unsigned long>(text.size()), out, capacity, size, nullptr,
                                     Z4::StringCompressor::DETECT, 0));
        return (size + 3) / 4 * 4;
    }

    static void Expand(const std::string& packed, char* out, unsigned long capacity) {
        static Z4::StringCompressor compressor;
        unsigned long size;
        Require(!compressor.Decompress(packed.data(), out, capacity, size));
    }
};

struct OwnChecked : Own {
    static void Expand(const std::string& packed, char* out, unsigned long capacity) {
        static Z4::StringCompressor compressor;
        unsigned long size;
        Require(!compressor.DecompressChecked(packed.data(), static_cast<unsigned long>(packed.size()), out, capacity,
                                              size));
    }
};

struct Zlib {
    static unsigned long Compress(const std::string& text, char* out, unsigned long capacity) {
        z_stream stream = Stream(text, out, capacity);
        Require(deflateInit2(&stream, Z_DEFAULT_COMPRESSION, Z_DEFLATED, -15, 8, Z_DEFAULT_STRATEGY) == Z_OK);
        Require(deflate(&stream, Z_FINISH) == Z_STREAM_END);
        deflateEnd(&stream);
        return stream.total_out;
    }

    static void Expand(const std::string& packed, char* out, unsigned long capacity) {
        z_stream stream = Stream(packed, out, capacity);
        Require(inflateInit2(&stream, -15) == Z_OK);
        Require(inflate(&stream, Z_FINISH) == Z_STREAM_END);
        inflateEnd(&stream);
    }

private:
    static z_stream Stream(const std::string& in, char* out, unsigned long capacity) {
        z_stream stream{};
        stream.zalloc = ZelkTest::ZlibAllocate;
        stream.zfree = ZelkTest::ZlibFree;
        stream.next_in = reinterpret_cast<Bytef*>(const_cast<char*>(in.data()));
        stream.avail_in = static_cast<uInt>(in.size());
        stream.next_out = reinterpret_cast<Bytef*>(out);
        stream.avail_out = capacity;
        return stream;
    }
};

/// All mixed texts in turn for a size of 0, else the beginning of lower-case words.
std::vector<std::string> Texts(benchmark::State& state) {
    std::vector<std::string> mixed;
    std::string words;
    for (const ZelkTest::Row& row : ZelkTest::Rows("shorttexts.txt")) {
        if (row.Text(0) == "words") {
            words += row.Text(1) + ' ';
        } else {
            mixed.push_back(row.Text(1));
        }
    }
    return state.range(0) == 0 ? mixed : std::vector{words.substr(0, static_cast<std::size_t>(state.range(0)))};
}

template <class Codec>
void Encode(benchmark::State& state) {
    const std::vector<std::string> texts = Texts(state);
    char out[1024];
    for (auto _ : state) {
        for (const std::string& text : texts) {
            benchmark::DoNotOptimize(Codec::Compress(text, out, sizeof(out)));
            benchmark::ClobberMemory();
        }
    }
}

template <class Codec>
void Decode(benchmark::State& state) {
    std::vector<std::string> packed;
    for (const std::string& text : Texts(state)) {
        std::string out(1024, '\0');
        out.resize(Codec::Compress(text, out.data(), 1024));
        packed.push_back(out);
    }
    char out[1024];
    for (auto _ : state) {
        for (const std::string& text : packed) {
            Codec::Expand(text, out, sizeof(out));
            benchmark::ClobberMemory();
        }
    }
}

void Sizes(benchmark::internal::Benchmark* row) {
    row->Arg(0)->Arg(8)->Arg(32)->Arg(128)->Arg(256);
}

BENCHMARK(Decode<Own>)->Name("string_expand/zelk")->Apply(Sizes);
BENCHMARK(Decode<OwnChecked>)->Name("string_expand/zelk_checked")->Apply(Sizes);
BENCHMARK(Decode<Zlib>)->Name("string_expand/zlib")->Apply(Sizes);
BENCHMARK(Encode<Own>)->Name("string_pack/zelk")->Apply(Sizes);
BENCHMARK(Encode<Zlib>)->Name("string_pack/zlib")->Apply(Sizes);

} // namespace

BENCHMARK_MAIN();
