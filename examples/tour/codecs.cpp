#include "tour.h"

#include <algorithm>
#include <cstring>
#include <functional>
#include <iterator>
#include <vector>
#include <zelk_core/zelk_core.h>

namespace {

using Z4::CompressionInterface;
using Z4::ZLibDeflate;
using Z4::ZLibInflate;

/// One step of a codec: fills `output`, which has room enough, and returns how much of it; 0 says that it failed.
using Step = std::function<std::size_t(const std::string& input, std::string& output)>;

/// A row of the table.
struct Codec {
    const char* name;
    std::size_t (*room)(std::size_t size); ///< that `forward` needs for `size` bytes
    Step forward;
    Step back; ///< with room for exactly the original
};

std::size_t Run(CompressionInterface& codec, const std::string& input, std::string& output) {
    codec.FeedInputBuffer(input.data(), input.size());
    codec.FeedOutputBuffer(output.data(), output.size());
    int result = codec.Process();
    if (result == CompressionInterface::NEED_INPUT) {
        result = codec.Flush();
    }
    const std::size_t produced = codec.GetOutputDataSize();
    // An unfinished stream would be finished by its end.
    codec.FeedOutputBuffer(nullptr, 0);
    return result == CompressionInterface::DONE ? produced : 0;
}

std::size_t DeflateRoom(std::size_t size) {
    return size + size / 1000 + 100;
}

std::size_t LzoRoom(std::size_t size) {
    return Z4::Lzo::GetSafeDeflateBufferSize(size);
}

template <class Compressor, CompressionInterface::cmp_level LEVEL>
std::size_t Compress(const std::string& input, std::string& output) {
    Compressor codec(LEVEL);
    return Run(codec, input, output);
}

std::size_t Inflate(const std::string& input, std::string& output) {
    ZLibInflate codec;
    return Run(codec, input, output);
}

std::size_t ExpandLzo(const std::string& input, std::string& output) {
    Z4::LzoInflate codec(true);
    return Run(codec, input, output);
}

/// What the cipher fills up to.
std::size_t CipherRoom(std::size_t size) {
    return (size + 7) / 8 * 8;
}

constexpr char KEY[] = "sixteen letters!";

template <class Cipher>
std::size_t Encipher(const std::string& input, std::string& output) {
    Cipher cipher;
    return !cipher.SetKey(KEY) ? 0 : cipher.Encode(input.data(), output.data(), input.size());
}

/// The filling stays, so whoever deciphers needs room for it, and the original's size to cut it off.
template <class Cipher>
std::size_t Decipher(const std::string& input, std::string& output) {
    const std::size_t size = output.size();
    output.resize(input.size());
    Cipher cipher;
    if (!cipher.SetKey(KEY)) {
        return 0;
    }
    cipher.Decode(input.data(), output.data(), input.size());
    output.resize(size);
    return size;
}

std::size_t StringRoom(std::size_t size) {
    return Z4::StringCompressor::GetMaxCompressedSize(size);
}

std::size_t CompressString(const std::string& input, std::string& output) {
    return Z4::StringCompressor().Compress(input, output).size;
}

std::size_t ExpandString(const std::string& input, std::string& output) {
    return Z4::StringCompressor().Decompress(input, output).size;
}

/// What the string compressor has codes for; it drops everything else.
std::string PlainText(const std::string& content) {
    std::string text;
    std::copy_if(content.begin(), content.end(), std::back_inserter(text), [](char c) {
        const bool isLetter = (c >= 'a' && c <= 'z') || (c >= 'A' && c <= 'Z');
        return isLetter || (c != '\0' && std::strchr("0123456789 \r\n!\"#$%&'()*+,-./=@_\\", c) != nullptr);
    });
    return text;
}

/// Repeats a step for at least this long, since one pass over a small file takes no time that a clock shows.
double MegabytesPerSecond(const Step& step, const std::string& input, std::string& output, std::size_t contentSize) {
    constexpr unsigned long LEAST_US = 20'000;
    unsigned passes = 0;
    Z4::StopWatch watch(true);
    while (passes == 0 || watch.GetElapsedUSec() < LEAST_US) {
        step(input, output);
        ++passes;
    }
    return static_cast<double>(contentSize) * passes / static_cast<double>(watch.GetElapsedUSec());
}

const Codec CODECS[] = {
    {"zlib, fast", DeflateRoom, Compress<ZLibDeflate, CompressionInterface::CMP_FAST>, Inflate},
    {"zlib, default", DeflateRoom, Compress<ZLibDeflate, CompressionInterface::CMP_DEFAULT>, Inflate},
    {"zlib, best", DeflateRoom, Compress<ZLibDeflate, CompressionInterface::CMP_BEST>, Inflate},
    {"LZO, fast", LzoRoom, Compress<Z4::LzoDeflate, CompressionInterface::CMP_FAST>, ExpandLzo},
    {"LZO, best", LzoRoom, Compress<Z4::LzoDeflate, CompressionInterface::CMP_BEST>, ExpandLzo},
    {"TEA", CipherRoom, Encipher<Z4::Tea>, Decipher<Z4::Tea>},
    {"XTEA", CipherRoom, Encipher<Z4::XTea>, Decipher<Z4::XTea>},
};

const Codec STRING_CODEC = {"text", StringRoom, CompressString, ExpandString};

/// @return whether the content came back.
bool ShowCodec(const Codec& codec, const std::string& content) {
    std::string there(codec.room(content.size()), '\0');
    const std::size_t size = codec.forward(content, there);
    const double forwardSpeed = MegabytesPerSecond(codec.forward, content, there, content.size());
    there.resize(size);
    std::string back(content.size(), '\0');
    const double backSpeed = MegabytesPerSecond(codec.back, there, back, content.size());
    const bool same = size != 0 && codec.back(there, back) == content.size() && back == content;
    Print("   %-16s %10u %9.1f %% %13.1f %13.1f    %s\n", codec.name, static_cast<unsigned>(size),
          100.0 * static_cast<double>(size) / static_cast<double>(content.size()), forwardSpeed, backSpeed,
          same ? "the same" : "DIFFERENT");
    return same;
}

} // namespace

bool TourCodecs(const std::string& content) {
    Chapter("services", "the file through every codec and back");
    if (content.empty()) {
        Print("   The file is empty.\n");
        return true;
    }
    Z4::InitializeCompressionService();
    Z4::InitializeEncryptionService();
    Print("   %-16s %10s %11s %13s %13s    %s\n", "codec", "bytes", "ratio", "there, MB/s", "back, MB/s", "came back");
    bool allSame = true;
    for (const Codec& codec : CODECS) {
        allSame = ShowCodec(codec, content) && allSame;
    }
    const std::string text = PlainText(content);
    if (!text.empty()) {
        allSame = ShowCodec(STRING_CODEC, text) && allSame;
        Print("   The text codec got the %u bytes of plain text in the file.\n", static_cast<unsigned>(text.size()));
    }
    Print("   Each pass makes its object anew, in the guarded memory of this tour.\n");
    Z4::ShutdownEncryptionService();
    Z4::ShutdownCompressionService();
    return allSame;
}
