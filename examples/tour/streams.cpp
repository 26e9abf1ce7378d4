#include "tour.h"

#include <chrono>
#include <vector>
#include <zelk_core/zelk_core.h>

namespace {

double Milliseconds(std::chrono::steady_clock::time_point since) {
    return std::chrono::duration<double, std::milli>(std::chrono::steady_clock::now() - since).count();
}

/// The file from the disk, through a compressing stream, into memory.
Z4::Error Compress(const char* path, Z4::MemoryStream& packed, std::uint64_t& size) {
    Z4::FileStream file;
    if (const Z4::Error error = file.Open(path, Z4::EalFile::READ_ONLY); error != Z4::ERR_OK) {
        return error;
    }
    Z4::DeflateStream deflate(packed, Z4::CompressionInterface::CMP_DEFAULT);
    Z4::CopyStream(file, deflate, UINT64_MAX, size);
    const Z4::Error error = deflate.Close();
    const Z4::Error closing = file.Close();
    return error != Z4::ERR_OK ? error : closing;
}

void PrintText(const std::string& content) {
    std::vector<wchar_t> wide(content.size() + 1);
    std::size_t length = 0;
    std::size_t badAt = 0;
    const auto start = std::chrono::steady_clock::now();
    const Z4::StrView text(content.data(), content.size());
    if (Z4::Utf::ToUtf16(wide.data(), wide.size(), text, length, &badAt) == Z4::ERR_OK) {
        Print("  UTF-8, which is %u units of UTF-16, in %.2f ms\n", static_cast<unsigned>(length), Milliseconds(start));
    } else {
        Print("  no UTF-8 from byte %u on\n", static_cast<unsigned>(badAt));
    }
}

} // namespace

bool TourStreams(const char* path, const std::string& content) {
    Chapter("streams", "the file again, by way of streams");
    Z4::InitializeEalUtils();
    Z4::MemoryStream packed;
    std::uint64_t size = 0;
    const auto start = std::chrono::steady_clock::now();
    const Z4::Error error = Compress(path, packed, size);
    Print("  compressed %u bytes to %u in %.2f ms: %s\n", static_cast<unsigned>(size), packed.GetSize(),
          Milliseconds(start), Z4::GetErrorString(error));

    // Read back as data from outside: with a limit for what may come out, and one for each line.
    constexpr std::uint32_t LONGEST_LINE = 1 << 20;
    packed.Seek(0, Z4::SEEK_FROM_BEGIN);
    Z4::InflateStream inflate(packed, content.size());
    Z4::StreamReader reader(inflate, Z4::LITTLE_ENDIAN_ORDER);
    Z4::ZelkString line;
    Z4::ZelkString longest;
    unsigned lines = 0;
    for (; reader.ReadLine(line, LONGEST_LINE); ++lines) {
        longest = line.Size() > longest.Size() ? line : longest;
    }
    Print("  read back %u lines; the longest begins \"%.40s\"\n", lines, longest.CStr());
    const bool cameBack = inflate.GetError() == Z4::ERR_OK && inflate.Tell() == content.size();
    if (!cameBack) {
        Print("  stopped at byte %u: %s\n", static_cast<unsigned>(inflate.Tell()),
              Z4::GetErrorString(inflate.GetError()));
    }
    PrintText(content);

    char text[Z4::GUID::FORMAT_SIZE];
    Z4::GUID::FromName(Z4::GUID_SPACE_URL, path).Format(text, sizeof(text));
    Print("  the path's identifier, the same on every machine: %s\n", text);
    Z4::GUID fresh{};
    if (Z4::GUID::Generate(fresh) == Z4::ERR_OK) {
        fresh.Format(text, sizeof(text), Z4::GUID::BRACED);
        Print("  one that nobody else has: %s\n", text);
    }
    Z4::ShutdownEalUtils();
    return cameBack;
}
