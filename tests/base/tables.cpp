// Prints what the library answers to each number or name that it knows: tables [EXPECTED]. With a file of expected
// lines it prints only those that differ, and fails if any does; without, its output refreshes tests/pinned/tables.txt
// (`make pinned`). A wrong, a missing and a needless entry of a table show, each as one line.
#include <cstdarg>
#include <cstdio>
#include <cstring>
#include <fstream>
#include <set>
#include <string>
#include <vector>
#include <zelk_core/base/error.h>
#include <zelk_core/base/private/processor.h>
#include <zelk_core/eal_utils/ealfile.h>

using namespace Z4;

namespace {

std::vector<std::string> g_rows;

[[gnu::format(printf, 1, 2)]] void Row(const char* format, ...) {
    char text[200];
    va_list arguments;
    va_start(arguments, format);
    std::vsnprintf(text, sizeof text, format, arguments);
    va_end(arguments);
    g_rows.push_back(text);
}

void ErrorTexts() {
    for (int code = -1; code <= ERR_CORRUPTED_DATA + 1; ++code) {
        Row("error %d: %s", code, GetErrorString(static_cast<Error>(code)));
    }
}

// Numbers that are not listed are ERR_UNHANDLED.
void Translations() {
    for (int number = -70000; number <= 70000; ++number) {
        if (const Error error = Private::TranslateSocketError(number); error != ERR_UNHANDLED) {
            Row("socket error %d: %d", number, error);
        }
    }
    for (int status = -1000; status <= 1000; ++status) {
        if (const Error error = EalFile::TranslateError(static_cast<eal_file_status>(status)); error != ERR_UNHANDLED) {
            Row("file status %d: %d", status, error);
        }
    }
}

Private::CpuidRegisters g_vendor;
Private::CpuidRegisters g_signature;
Private::CpuidRegisters g_descriptors;

Private::CpuidRegisters Answer(std::uint32_t leaf, std::uint32_t) {
    return leaf == 0 ? g_vendor : leaf == 1 ? g_signature : leaf == 2 ? g_descriptors : Private::CpuidRegisters{};
}

void SetVendor(const char* text) {
    std::memcpy(&g_vendor.ebx, text, 4);
    std::memcpy(&g_vendor.edx, text + 4, 4);
    std::memcpy(&g_vendor.ecx, text + 8, 4);
}

void Vendors() {
    for (const char* const text : {"GenuineIntel", "UMC UMC UMC ", "AuthenticAMD", "AMD ISBETTER", "CyrixInstead",
                                   "NexGenDriven", "CentaurHauls", "RiseRiseRise", "GenuineTMx86", "TransmetaCPU",
                                   "Geode By NSC", "genuineintel", "            "}) {
        SetVendor(text);
        Row("vendor %s: %u", text, static_cast<unsigned>(Private::IdentifyProcessor(Answer).vendor));
    }
}

/// What a descriptor byte says about the caches of the processor with this signature; nothing where it says nothing. A
/// size of -1 is unknown.
void CacheDescriptor(const char* processor, std::uint32_t signature, unsigned value) {
    SetVendor("GenuineIntel");
    g_signature.eax = signature;
    g_descriptors.edx = value << 8; // not at either end: the lowest byte can be a count, the highest bit a mark
    Private::CacheSizes sizes;
    if (Private::ReadCachesClassical(Answer, sizes)) {
        Row("cache descriptor %02X%s: %d, %d, %d KiB", value, processor, static_cast<int>(sizes.l1) >> 10,
            static_cast<int>(sizes.l2) >> 10, static_cast<int>(sizes.l3) >> 10);
    }
}

void CacheDescriptors() {
    for (unsigned value = 0; value < 256; ++value) {
        CacheDescriptor("", 0x00000652, value);
    }
    CacheDescriptor(" of the Xeon MP", 0x00000F68, 0x49);
}

unsigned CountDifferences(const char* file) {
    std::ifstream stream(file);
    std::multiset<std::string> expected;
    for (std::string line; std::getline(stream, line);) {
        expected.insert(line);
    }
    unsigned differences = 0;
    for (const std::string& row : g_rows) {
        const auto found = expected.find(row);
        if (found != expected.end()) {
            expected.erase(found);
        } else {
            std::printf("+%s\n", row.c_str());
            ++differences;
        }
    }
    for (const std::string& missing : expected) {
        std::printf("-%s\n", missing.c_str());
        ++differences;
    }
    return differences;
}

} // namespace

int main(int argc, char** argv) {
    ErrorTexts();
    Translations();
    Vendors();
    CacheDescriptors();
    if (argc > 1) {
        const unsigned differences = CountDifferences(argv[1]);
        std::printf("%u rows differ\n", differences);
        return differences != 0 ? 1 : 0;
    }
    for (const std::string& row : g_rows) {
        std::puts(row.c_str());
    }
    return 0;
}
