// Tea and XTea beside a plain loop over the blocks.
#include <benchmark/benchmark.h>
#include <host/zelkhost.h>
#include <vector>
#include <zelk_core/services/encryption/cipher.h>
#include <zelk_core/services/encryption/lifecycle.h>
#include <zelk_core/services/encryption/private/blocks.h>

namespace {

using namespace Z4;

const char* const KEY = "sixteen letters!";

template <class CipherClass, bool ENCODE>
void Whole(benchmark::State& state) {
    std::vector<char> buffer(static_cast<std::size_t>(state.range()), 'x');
    CipherClass cipher;
    if (!cipher.SetKey(KEY)) {
        state.SkipWithError("the key was refused");
    }
    for (auto _ : state) {
        const auto size = static_cast<unsigned long>(buffer.size());
        if constexpr (ENCODE) {
            benchmark::DoNotOptimize(cipher.Encode(buffer.data(), buffer.data(), size));
        } else {
            benchmark::DoNotOptimize(cipher.Decode(buffer.data(), buffer.data(), size));
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range());
}

using BlockFunction = Private::CipherBlock(Private::CipherBlock block, const std::uint32_t* key);

template <BlockFunction* FUNCTION>
void Plain(benchmark::State& state) {
    std::vector<Private::CipherBlock> buffer(static_cast<std::size_t>(state.range()) / 8, {0x78787878, 0x78787878});
    const std::uint32_t key[] = {0x74786973, 0x206E6565, 0x7474656C, 0x21737265};
    for (auto _ : state) {
        for (Private::CipherBlock& block : buffer) {
            block = FUNCTION(block, key);
        }
        benchmark::ClobberMemory();
    }
    state.SetBytesProcessed(state.iterations() * state.range());
}

void Sizes(benchmark::internal::Benchmark* row) {
    for (const int size : {8, 16, 64, 256, 1024, 65536, 1 << 20}) {
        row->Arg(size);
    }
}

void LargeSizes(benchmark::internal::Benchmark* row) {
    row->Arg(1 << 24)->Arg(1 << 26)->Repetitions(3); // Each takes long enough by itself.
}

BENCHMARK(Whole<Tea, true>)->Name("Tea_Encode/zelk")->Apply(Sizes);
BENCHMARK(Whole<Tea, true>)->Name("Tea_Encode/zelk")->Apply(LargeSizes);
BENCHMARK(Plain<Private::TeaEncodeBlock>)->Name("Tea_Encode/plain")->Apply(Sizes);
BENCHMARK(Plain<Private::TeaEncodeBlock>)->Name("Tea_Encode/plain")->Apply(LargeSizes);
BENCHMARK(Whole<Tea, false>)->Name("Tea_Decode/zelk")->Apply(Sizes);
BENCHMARK(Whole<Tea, false>)->Name("Tea_Decode/zelk")->Apply(LargeSizes);
BENCHMARK(Plain<Private::TeaDecodeBlock>)->Name("Tea_Decode/plain")->Apply(Sizes);
BENCHMARK(Plain<Private::TeaDecodeBlock>)->Name("Tea_Decode/plain")->Apply(LargeSizes);
BENCHMARK(Whole<XTea, true>)->Name("XTea_Encode/zelk")->Apply(Sizes);
BENCHMARK(Whole<XTea, true>)->Name("XTea_Encode/zelk")->Apply(LargeSizes);
BENCHMARK(Plain<Private::XTeaEncodeBlock>)->Name("XTea_Encode/plain")->Apply(Sizes);
BENCHMARK(Plain<Private::XTeaEncodeBlock>)->Name("XTea_Encode/plain")->Apply(LargeSizes);
BENCHMARK(Whole<XTea, false>)->Name("XTea_Decode/zelk")->Apply(Sizes);
BENCHMARK(Whole<XTea, false>)->Name("XTea_Decode/zelk")->Apply(LargeSizes);
BENCHMARK(Plain<Private::XTeaDecodeBlock>)->Name("XTea_Decode/plain")->Apply(Sizes);
BENCHMARK(Plain<Private::XTeaDecodeBlock>)->Name("XTea_Decode/plain")->Apply(LargeSizes);

} // namespace

int main(int argc, char** argv) {
    ZelkHost::Install();
    InitializeEncryptionService();
    benchmark::AddCustomContext("plain", "a loop over single blocks, as the ciphers' descriptions read");
    benchmark::Initialize(&argc, argv);
    benchmark::RunSpecifiedBenchmarks();
    ShutdownEncryptionService();
}
