// The host's file table beside the system's own calls, and streams beside both, the C library's files and the standard
// library's streams. Files are small enough for the system's cache. Times are elapsed ones: the system works for both.
#include <windows.h>

#include <benchmark/benchmark.h>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <host/zelkhost.h>
#include <string>
#include <vector>
#include <zelk_core/eal_utils/ealfile.h>
#include <zelk_core/eal_utils/lifecycle.h>
#include <zelk_core/services/compression/zlib.h>
#include <zelk_core/streams/compressedstream.h>
#include <zelk_core/streams/filestream.h>
#include <zelk_core/streams/memorystream.h>
#include <zelk_core/streams/streamreader.h>
#include <zelk_core/streams/streamwriter.h>
#include <zlib.h>

namespace {

using namespace Z4;

constexpr std::uint32_t FILE_SIZE = 8 << 20;

std::string g_path;
std::vector<char> g_data(FILE_SIZE);

/// In the system's folder for temporary files; removed at the end.
struct TestFile {
    TestFile() {
        char folder[MAX_PATH];
        GetTempPathA(MAX_PATH, folder);
        g_path = std::string(folder) + "zelk_files_bench_" + std::to_string(GetCurrentProcessId());
        std::uint32_t state = 1;
        for (std::size_t i = 0; i < g_data.size(); ++i) {
            state = state * 1664525 + 1013904223;
            g_data[i] = static_cast<char>(i % 64 < 40 && i >= 64 ? g_data[i - 64] : static_cast<char>(state >> 24));
        }
        if (SaveFile(g_path.c_str(), g_data.data(), FILE_SIZE) != ERR_OK) {
            std::abort();
        }
    }
    ~TestFile() { DeleteFileA(g_path.c_str()); }
};

void Done(benchmark::State& state, std::int64_t bytes) {
    state.SetBytesProcessed(static_cast<std::int64_t>(state.iterations()) * bytes);
}

// Each iteration reads the next piece, from the beginning again at the end.

void RawRead(benchmark::State& state) {
    const HANDLE file = CreateFileA(g_path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    const auto size = static_cast<DWORD>(state.range(0));
    std::uint32_t at = 0;
    for (auto _ : state) {
        DWORD done = 0;
        ReadFile(file, g_data.data(), size, &done, nullptr);
        at += done;
        if (at == FILE_SIZE) {
            SetFilePointer(file, 0, nullptr, FILE_BEGIN);
            at = 0;
        }
    }
    Done(state, size);
    CloseHandle(file);
}
void HostRead(benchmark::State& state) {
    const eal_file_dll_interface& table = ZelkHost::FileTable();
    eal_file_handle file = nullptr;
    table.open(g_path.c_str(), EAL_FILE_READ, &file);
    const auto size = static_cast<std::uint32_t>(state.range(0));
    std::uint64_t at = 0;
    for (auto _ : state) {
        std::uint32_t done = 0;
        table.read(file, g_data.data(), size, at, &done);
        at = at + done < FILE_SIZE ? at + done : 0;
    }
    Done(state, size);
    table.close(file);
}
void StreamRead(benchmark::State& state) {
    FileStream stream;
    static_cast<void>(stream.Open(g_path.c_str(), EalFile::READ_ONLY));
    const auto size = static_cast<std::uint32_t>(state.range(0));
    for (auto _ : state) {
        if (stream.Read(g_data.data(), size) != size) {
            stream.Seek(0, SEEK_FROM_BEGIN);
        }
    }
    Done(state, size);
}
void FRead(benchmark::State& state) {
    std::FILE* const file = std::fopen(g_path.c_str(), "rb");
    const auto size = static_cast<std::size_t>(state.range(0));
    for (auto _ : state) {
        if (std::fread(g_data.data(), 1, size, file) != size) {
            std::rewind(file);
        }
    }
    Done(state, static_cast<std::int64_t>(size));
    std::fclose(file);
}
BENCHMARK(HostRead)->Name("host_read/zelk")->Arg(4096)->Arg(65536)->Arg(1048576)->UseRealTime();
BENCHMARK(RawRead)->Name("host_read/raw")->Arg(4096)->Arg(65536)->Arg(1048576)->UseRealTime();
BENCHMARK(StreamRead)->Name("stream_read/zelk")->Arg(65536)->UseRealTime();
BENCHMARK(RawRead)->Name("stream_read/raw")->Arg(65536)->UseRealTime();
BENCHMARK(StreamRead)->Name("stream_read_small/zelk")->Arg(4096)->UseRealTime();
BENCHMARK(FRead)->Name("stream_read_small/fread")->Arg(4096)->UseRealTime();

void RawOpen(benchmark::State& state) {
    for (auto _ : state) {
        CloseHandle(CreateFileA(g_path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr));
    }
}
void HostOpen(benchmark::State& state) {
    const eal_file_dll_interface& table = ZelkHost::FileTable();
    for (auto _ : state) {
        eal_file_handle file = nullptr;
        table.open(g_path.c_str(), EAL_FILE_READ, &file);
        table.close(file);
    }
}
BENCHMARK(HostOpen)->Name("host_open/zelk")->UseRealTime();
BENCHMARK(RawOpen)->Name("host_open/raw")->UseRealTime();

// Typed values, 32 bits each; every iteration handles one.

template <ByteOrder ORDER>
void TypedRead(benchmark::State& state) {
    FileStream stream;
    static_cast<void>(stream.Open(g_path.c_str(), EalFile::READ_ONLY));
    StreamReader reader(stream, ORDER);
    std::uint32_t left = FILE_SIZE / 4;
    for (auto _ : state) {
        benchmark::DoNotOptimize(reader.Read<std::uint32_t>());
        if (--left == 0) {
            stream.Seek(0, SEEK_FROM_BEGIN);
            left = FILE_SIZE / 4;
        }
    }
}
void IfstreamRead(benchmark::State& state) {
    std::ifstream stream(g_path, std::ios::binary);
    std::uint32_t left = FILE_SIZE / 4;
    for (auto _ : state) {
        char bytes[4];
        stream.read(bytes, 4);
        benchmark::DoNotOptimize(bytes);
        if (--left == 0) {
            stream.seekg(0);
            left = FILE_SIZE / 4;
        }
    }
}
BENCHMARK(TypedRead<LITTLE_ENDIAN_ORDER>)->Name("read32_little/zelk")->UseRealTime();
BENCHMARK(IfstreamRead)->Name("read32_little/ifstream")->UseRealTime();
BENCHMARK(TypedRead<BIG_ENDIAN_ORDER>)->Name("read32_big/zelk")->UseRealTime();
BENCHMARK(IfstreamRead)->Name("read32_big/ifstream")->UseRealTime();

void TypedWrite(benchmark::State& state) {
    FileStream stream;
    static_cast<void>(stream.Open((g_path + "w").c_str(), EalFile::REPLACE));
    StreamWriter writer(stream, LITTLE_ENDIAN_ORDER);
    std::uint32_t value = 0;
    for (auto _ : state) {
        writer.Write(++value);
        if (value % (FILE_SIZE / 4) == 0) {
            stream.Seek(0, SEEK_FROM_BEGIN);
        }
    }
    stream.Close();
    DeleteFileA((g_path + "w").c_str());
}
void OfstreamWrite(benchmark::State& state) {
    std::ofstream stream(g_path + "w", std::ios::binary);
    std::uint32_t value = 0;
    for (auto _ : state) {
        ++value;
        stream.write(reinterpret_cast<const char*>(&value), 4);
        if (value % (FILE_SIZE / 4) == 0) {
            stream.seekp(0);
        }
    }
    stream.close();
    DeleteFileA((g_path + "w").c_str());
}
BENCHMARK(TypedWrite)->Name("write32/zelk")->UseRealTime();
BENCHMARK(OfstreamWrite)->Name("write32/ofstream")->UseRealTime();

// 1 MiB in pieces of 64 KiB, level 6, into memory that is there.

constexpr std::uint32_t PACKED_SIZE = 1 << 20;
constexpr std::uint32_t PIECE = 65536;
std::vector<unsigned char> g_packed(2 * PACKED_SIZE);

std::uint32_t PackOnce() {
    MemoryStream memory(g_packed.data(), static_cast<std::uint32_t>(g_packed.size()), 0);
    DeflateStream stream(memory, CompressionInterface::CMP_DEFAULT);
    for (std::uint32_t at = 0; at < PACKED_SIZE; at += PIECE) {
        stream.Write(g_data.data() + at, PIECE);
    }
    stream.Close();
    return memory.GetSize();
}
void OurDeflate(benchmark::State& state) {
    for (auto _ : state) {
        benchmark::DoNotOptimize(PackOnce());
    }
    Done(state, PACKED_SIZE);
}
/// zlib's memory from the process heap, as the host's table takes it.
z_stream Bare() {
    z_stream stream{};
    stream.zalloc = [](void*, unsigned items, unsigned size) { return std::malloc(items * size); };
    stream.zfree = [](void*, void* block) { std::free(block); };
    return stream;
}
void BareDeflate(benchmark::State& state) {
    for (auto _ : state) {
        z_stream stream = Bare();
        deflateInit2_(&stream, 6, Z_DEFLATED, 15, 8, Z_DEFAULT_STRATEGY, ZLIB_VERSION, sizeof(stream));
        stream.next_out = g_packed.data();
        stream.avail_out = static_cast<unsigned>(g_packed.size());
        for (std::uint32_t at = 0; at < PACKED_SIZE; at += PIECE) {
            stream.next_in = reinterpret_cast<Bytef*>(g_data.data() + at);
            stream.avail_in = PIECE;
            deflate(&stream, at + PIECE == PACKED_SIZE ? Z_FINISH : Z_NO_FLUSH);
        }
        deflateEnd(&stream);
    }
    Done(state, PACKED_SIZE);
}
void OurInflate(benchmark::State& state) {
    const std::uint32_t size = PackOnce();
    std::vector<unsigned char> out(PIECE);
    for (auto _ : state) {
        MemoryStream memory(g_packed.data(), size);
        InflateStream stream(memory, PACKED_SIZE);
        while (stream.Read(out.data(), PIECE) == PIECE) {
        }
    }
    Done(state, PACKED_SIZE);
}
void BareInflate(benchmark::State& state) {
    const std::uint32_t size = PackOnce();
    std::vector<unsigned char> out(PIECE);
    for (auto _ : state) {
        z_stream stream = Bare();
        inflateInit2_(&stream, 15, ZLIB_VERSION, sizeof(stream));
        stream.next_in = g_packed.data();
        stream.avail_in = size;
        do {
            stream.next_out = out.data();
            stream.avail_out = PIECE;
        } while (inflate(&stream, Z_NO_FLUSH) == Z_OK);
        inflateEnd(&stream);
    }
    Done(state, PACKED_SIZE);
}
BENCHMARK(OurDeflate)->Name("deflate_stream/zelk")->Unit(benchmark::kMillisecond);
BENCHMARK(BareDeflate)->Name("deflate_stream/zlib")->Unit(benchmark::kMillisecond);
BENCHMARK(OurInflate)->Name("inflate_stream/zelk")->Unit(benchmark::kMillisecond);
BENCHMARK(BareInflate)->Name("inflate_stream/zlib")->Unit(benchmark::kMillisecond);

} // namespace

int main(int argc, char** argv) {
    ZelkHost::Install();
    InitializeEalUtils();
    {
        const TestFile file;
        benchmark::Initialize(&argc, argv);
        benchmark::RunSpecifiedBenchmarks();
    }
    ShutdownEalUtils();
    return 0;
}
